# Puts drawn pictures, as docs/plots/theme.sed leaves them in `folder`, into a page in place of Doxygen's links to them:
# so they follow the page's theme. Captions name them.
/^<object type="image\/svg\+xml"/ {
    match($0, /data="[^"]*/)
    name = substr($0, RSTART + 6, RLENGTH - 6)
    while ((getline line <(folder "/" name ".html")) > 0) {
        sub(/^<svg /, "&aria-labelledby=\"" name "\" ", line)
        print line
    }
    close(folder "/" name ".html")
    next
}
/^<div class="caption">/ && name != "" { sub(/>/, " id=\"" name "\">"); name = "" }
{ print }
