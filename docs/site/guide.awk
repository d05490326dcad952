# Puts what the first page says of the guide's pages in place of their bare list. First file: index.html; second: the
# page of the list.
NR == FNR {
    if (/>[^>]*gallery<\/a> has longer/) on = 0
    if (on) text = text $0 "\n"
    if (/The guide<\/h1>/) on = 1
    next
}
/^<ul>$/ { printf "%s", text; listed = 1 }
!listed { print }
/^<\/ul>$/ { listed = 0 }
