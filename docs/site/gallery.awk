# Puts a picture, the first of its page, and a sentence for each example into the page of the gallery, which Doxygen
# makes a list of links. First file: docs/gallery.dox; second: the page. `folder` has the pictures.
NR == FNR {
    if (/^\/\*\* @example /) { ++count; file = $3; said = 0 }
    else if (/^@image html / && !(file in picture)) picture[file] = $3
    else if (/^[^\/@*]/ && !said) {
        about[file] = about[file] (about[file] == "" ? "" : " ") $0
        if (match(about[file], /\.( |$)/)) { about[file] = substr(about[file], 1, RSTART); said = 1 }
    }
    next
}
/<li><a class="el" href="[^"]*-example.html">/ {
    match($0, /href="[^"]*/)
    link = substr($0, RSTART, RLENGTH) "\""
    file = $0; gsub(/<\/?(li|a)[^>]*>/, "", file)
    print "<li><a class=\"el\" id=\"" picture[file] "\" " link ">" file "</a><p>" about[file] "</p>"
    print "<div class=\"image\">\n<object type=\"image/svg+xml\" data=\"" picture[file] "\"></object>\n</div></li>"
    next
}
/<\/div><ul>$/ { sub(/<ul>$/, "<ul class=\"gallery\">") }
{ print }
