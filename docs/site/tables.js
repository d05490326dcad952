// Says in each cell of a table what its column is called: on a phone wide tables stand cell under cell. And lets long
// names break between their parts, and short pieces of code nowhere.
document.addEventListener("DOMContentLoaded", () => {
    "use strict";
    const parted = name => name.replace(/([a-z]{3})(?=[A-Z])/g, "$1<wbr>");
    const title = document.querySelector(".headertitle .title");
    if (title !== null) title.innerHTML = title.innerHTML.replace(/^[A-Za-z0-9]{24,}/, parted);
    for (const table of document.querySelectorAll("table.markdownTable")) {
        const [head, ...rows] = table.rows, names = [...head.cells].map(cell => cell.textContent.trim());
        for (const code of table.querySelectorAll("code"))
            code.innerHTML = code.innerHTML.replace(/::(?![^<]*>)/g, "::<wbr>")
                .replace(/\bml[A-Za-z]{28,}\b(?![^<]*>)/g, parted);
        if (names.length < 3) continue;
        table.classList.add("wide");
        for (const row of rows) [...row.cells].forEach((cell, i) => { cell.dataset.column = names[i]; });
    }
    for (const code of document.querySelectorAll(".contents code"))
        if (code.textContent.length < 24) code.classList.add("short");
        else if (code.textContent.startsWith("#include"))
            code.innerHTML = code.innerHTML.replace(/\/(?![^<]*>)/g, "/<wbr>");
});
