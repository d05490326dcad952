# Puts drawn pictures, as docs/plots/theme.sed leaves them in `folder`, into a page in place of Doxygen's links to them:
# so they follow the page's theme. Captions name them. All have letters of one size where there is room.
/^<object type="image\/svg\+xml"/ {
    match($0, /data="[^"]*/)
    name = substr($0, RSTART + 6, RLENGTH - 6)
    while ((getline line <(folder "/" name ".html")) > 0) {
        sub(/^<svg /, "&aria-labelledby=\"" name "\" ", line)
        if (match(line, /viewBox="0 0 [0-9]+/))
            sub(/viewBox=/, "style=\"max-width: " substr(line, RSTART + 13, RLENGTH - 13) * 1.1 "px\" &", line)
        print line
    }
    close(folder "/" name ".html")
    next
}
/^<div class="caption">/ && name != "" { sub(/>/, " id=\"" name "\">"); name = "" }
{ print }
