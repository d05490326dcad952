# Takes the members that have no comment of their own out of the second half of a class's or a group's page, whose
# empty boxes say what the list in its first half has said, and headings that then have nothing under them. Links to
# such a member lead to its line in the list. Give the page twice: the first reading finds them.
function anchor(line) { sub(/^<a id="/, "", line); sub(/".*/, "", line); return line }

# keep: the heading held back, then the member or line.
function keep(text) {
    if (text != "" && heading != "") { printf "%s\n", heading; heading = "" }
    printf "%s\n", text
}

NR == FNR {
    if (/^<tr class="memitem:[a-z0-9]+">/) { row = $0; sub(/^<tr class="memitem:/, "", row); sub(/".*/, "", row); listed[row] = 1 }
    if (/^<a id="[a-z0-9]+" name=/) at = anchor($0)
    if (in_empty && /^(<dl class="section examples">|<\/dl>)/) next # which the class names, too
    if (in_empty && /[^ ]/) { if (/^<\/div>$/ && at in listed) empty[at] = 1; in_empty = 0 }
    if (/<div class="memdoc">$/) in_empty = 1
    next
}
/^<a id="[a-z0-9]+" name=/ && anchor($0) in empty { dropping = 1; next }
dropping { # to the second end of a part after the start of its text
    if (/<div class="memdoc">$/) ends = 2
    else if (ends > 0 && /^<\/div>$/ && --ends == 0) dropping = 0
    next
}
match($0, /<h2 class="groupheader">[A-Za-z&; ]* Documentation<\/h2>$/) {
    heading = substr($0, RSTART)
    if (RSTART > 1) printf "%s\n", substr($0, 1, RSTART - 1)
    next
}
/^(<hr\/>|<\/div><!-- contents -->)/ { heading = "" }
/^<tr class="memitem:/ {
    row = $0; sub(/^<tr class="memitem:/, "", row); sub(/".*/, "", row)
    if (row in empty) sub(/^<tr /, "<tr id=\"" row "\" ")
}
{ keep($0) }
