# Turns docs/guide/programs.md into comments for Doxygen: a class that is named after "For" gets the program below it,
# with what it prints, and the links after "more". So each class's page shows its program.
function links(text, found) {
    while (match(text, /\[[^]]*\]\([a-z_]*\.md\)/)) {
        split(substr(text, RSTART + 1, RLENGTH - 2), part, /\]\(/)
        sub(/\.md$/, "", part[2])
        found = found "@ref md_docs_guide_" part[2] " \"" part[1] "\", "
        text = substr(text, RSTART + RLENGTH)
    }
    return found
}
function give(n, i) {
    for (i = 1; i <= n; ++i)
        if (name[i] ~ /^[a-z]+[A-Z0-9]/)
            printf "/** @class %s\n@details\n@par A short program\n@code{.cpp}\n%s@endcode\nThis prints\n@verbatim\n%s@endverbatim\n" \
                "More: %s@ref md_docs_guide_programs \"programs for other classes\".\n*/\n", name[i], code, text, more
}
/^## / { code = text = names = "" }
/^For `/ { naming = 1 }
naming { names = names " " $0; if ($0 == "") naming = 0 }
/^```$/ {
    if (into == "text") {
        more = links(names)
        sub(/; more: .*/, "", names)
        give(split(names, name, "`"))
    }
    into = ""
    next
}
/^```/ { into = substr($0, 4); next }
into == "cpp" { code = code $0 "\n" }
into == "text" { text = text $0 "\n" }
