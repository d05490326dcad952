# Adds the links that Doxygen leaves out: from the name of a free function in code to its documentation, and from a
# source in a class's comment to its row of the bibliography, which gets an anchor. Files: searchdata.xml,
# bibliography.md and the pages, each of which is written anew with ".linked" after its name.
function value(line) { sub(/^[^>]*>/, "", line); sub(/<\/field>.*/, "", line); return line }

# A title, or its first four words and as many more of them as there are.
function pattern(title, word, n, i, tail, regex) {
    sub(/^[^A-Za-z0-9]+/, "", title)
    n = split(title, word, /[^A-Za-z0-9]+/)
    if (word[n] == "") --n
    for (i = n; i > 4; --i) tail = "([^A-Za-z0-9<>]+" word[i] tail ")?"
    for (; i > 1; --i) regex = "[^A-Za-z0-9<>]+" word[i] regex
    return word[1] regex tail
}

function linked(text, url) { return "<a class=\"el\" href=\"" url "\">" text "</a>" }

# The line with a link around the first match of the regex, which is not inside one.
function with_link(line, regex, url) {
    if (!match(line, regex)) return line
    return substr(line, 1, RSTART - 1) linked(substr(line, RSTART, RLENGTH), url) substr(line, RSTART + RLENGTH)
}

function link_functions(line, done, code, name) {
    while (match(line, /<code>[A-Za-z_0-9]+(\([^<]*\))?<\/code>/)) {
        code = substr(line, RSTART + 6, RLENGTH - 13)
        name = code
        sub(/\(.*/, "", name)
        if (name in function_url && !((page, name) in member) &&
                (page ~ /^(class|group)/ || code != name || !(name in member)))
            code = linked(name, function_url[name]) substr(code, length(name) + 1)
        done = done substr(line, 1, RSTART - 1) "<code>" code "</code>"
        line = substr(line, RSTART + RLENGTH)
    }
    return done line
}

function link_sources(line, i) {
    for (i = 1; i <= sources; ++i) {
        if (line ~ title[i]) line = with_link(line, title[i], "md_docs_bibliography.html#" id[i])
        else line = with_link(line, brief[i], "md_docs_bibliography.html#" id[i])
    }
    return line
}

FNR == 1 { ++file; page = FILENAME; sub(/.*\//, "", page); if (file > 2) out = FILENAME ".linked" }

file == 1 {
    if ($0 ~ /<field name="type">/) type = value($0)
    if ($0 ~ /<field name="name">/) name = value($0)
    if ($0 ~ /<field name="url">/ && type == "function") {
        url = value($0)
        if (n = index(name, "::")) {
            sub(/#.*/, "", url)
            name = substr(name, n + 2)
            member[name]
            member[url, name]
        } else if (!(name in function_url) && name != "sum") { # other libraries have one, of which the guide speaks
            function_url[name] = url
        }
    }
    next
}

# | A. Author, B. Other: Title. Journal 1 (1999) 1-2 [DOI](https://doi.org/...) | followed by |
file == 2 {
    split(substr($0, 3), cell, " \\| ")
    if (n = index(cell[1], ": ")) {
        author[++sources] = substr(cell[1], 1, n + 1)
        rest = substr(cell[1], n + 2)
        year = match(rest, /(\(|, )(19|20)[0-9][0-9](\)| |$)/) ? substr(rest, RSTART, RLENGTH) : ""
        gsub(/[^0-9]/, "", year)
        sub(/[.] .*/, "", rest)
        title[sources] = pattern(rest)
        surname = author[sources]
        sub(/[,:].*/, "", surname)
        sub(/.* /, "", surname)
        brief[sources] = surname " \\(" (year == "" ? "no year" : year) "\\)"
        id[sources] = tolower(surname) year
        gsub(/[^a-z0-9]/, "", id[sources])
    }
    next
}

page == "md_docs_bibliography.html" && /<td class="markdownTableBody/ {
    for (i = 1; i <= sources; ++i)
        if (n = index($0, ">" author[i])) {
            rest = substr($0, n + 1 + length(author[i]))
            if (match(rest, title[i]) == 1) sub(/<td /, "<td id=\"" id[i] "\" ")
        }
}
/<b>Source:<\/b>/ { $0 = link_sources($0) }
/<code>/ { $0 = link_functions($0) }
{ print >out }
