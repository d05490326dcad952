# Turns docs/guide/programs.md into comments for Doxygen: a class that is named after "For" gets the program below it,
# with what it prints, and a link to each page of the guide that names it, to the section that does so most often. Files:
# the other pages of the guide and then that page, from docs/with_labels.
FNR == 1 {
    page = FILENAME
    sub(/.*\//, "", page)
    sub(/\.md$/, "", page)
    label = "md_docs_guide_" page
    title = heading = substr($0, 3)
    pages[++page_count] = page
}

page != "programs" && /^```/ { code = !code }
page != "programs" && !code {
    if (match($0, /^##+ /)) {
        heading = title ": " substr($0, RLENGTH + 1)
        sub(/ *\{#.*/, "", heading)
        label = $0
        gsub(/.*\{#|\}.*/, "", label)
    }
    n = split($0, span, "`")
    for (i = 2; i <= n; i += 2) {
        sub(/[^A-Za-z0-9].*/, "", span[i]) # of "mlRootSolve::quadratic_solve" the class
        if (++times[label, span[i]] > most[page, span[i]]) {
            most[page, span[i]] = times[label, span[i]]
            place[page, span[i]] = "@ref " label " \"" heading "\""
        }
    }
}
page != "programs" { next }

function places(class, i, found) {
    for (i = 1; i <= page_count; ++i)
        if ((pages[i], class) in place) found = found "- " place[pages[i], class] "\n"
    return found
}
function give(n, i) {
    for (i = 2; i <= n; i += 2)
        printf "/** @class %s\n@details\n@par A short program\n@code{.cpp}\n%s@endcode\n" \
            "This prints\n@verbatim\n%s@endverbatim\n@par In the guide\n" \
            "%s- @ref md_docs_guide_programs \"Programs for other classes\"\n*/\n", name[i], code, text, places(name[i])
}
/^## / { code = text = names = "" }
/^For `/ { naming = 1 }
naming { names = names " " $0; if ($0 == "") naming = 0 }
/^```$/ {
    if (into == "text") give(split(names, name, "`"))
    into = ""
    next
}
/^```/ { into = substr($0, 4); next }
into == "cpp" { code = code $0 "\n" }
into == "text" { text = text $0 "\n" }
