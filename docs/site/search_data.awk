# Turns Doxygen's searchdata.xml into the script search_data.js: one entry [title, words, url, text] for each page of
# the guide, group, class, type and function; overloads share one. First file: pages' titles, "<page> <title>"; second:
# search_words.txt; last: the XML.
function quoted(s) {
    gsub(/&lt;/, "<", s); gsub(/&gt;/, ">", s); gsub(/&quot;/, "\"", s); gsub(/&#39;/, "'", s); gsub(/&amp;/, "\\&", s)
    gsub(/\\/, "\\\\", s); gsub(/"/, "\\\"", s)
    return "\"" s "\""
}
function value(line) { sub(/^[^>]*>/, "", line); sub(/<\/field>$/, "", line); return line }

FNR == 1 { ++file; if (file == 3) print "var searchData = [" }
file == 1 { page = $1; sub(/^[^ ]* /, ""); title[page] = $0; next }
file == 2 { if ($0 !~ /^#/ && split($0, part, / : /) == 2) { n = split(part[2], name, / +/)
                for (i = 1; i <= n; ++i) { words[name[i]] = words[name[i]] " " part[1]; line[name[i]] = FNR } } next }
/<doc>/ { delete field }
/<field name="[a-z]*">/ { key = $2; gsub(/name="|">.*/, "", key); field[key] = value($0) }
/<\/doc>/ {
    name_ = field["name"]
    if (field["type"] !~ /^(class|concept|enum|function|group|page|struct)$/) next
    if (field["type"] == "function" && seen[name_]++) next
    n = split(name_, part, "::")
    if (n > 1 && (part[n] == part[n - 1] || part[n] ~ /^~|^operator/)) next # constructors lead to their class
    shown = name_ in title ? title[name_] : field["type"] == "group" ? field["keywords"] : name_
    print "[" quoted(shown) "," quoted(words[name_]) "," quoted(field["url"]) "," quoted(field["text"]) "],"
    known[name_] = 1
}
END {
    print "];"
    for (name_ in words)
        if (!(name_ in known)) { print "search_words.txt:" line[name_] ": there is no " name_ > "/dev/stderr"; failed = 1 }
    exit failed
}
