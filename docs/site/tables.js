// Says in each cell of a wide table what its column is called: on a phone such tables stand cell under cell.
document.addEventListener("DOMContentLoaded", () => {
    "use strict";
    for (const table of document.querySelectorAll("table.markdownTable")) {
        const [head, ...rows] = table.rows, names = [...head.cells].map(cell => cell.textContent.trim());
        if (names.length < 4) continue;
        table.classList.add("wide");
        for (const row of rows) [...row.cells].forEach((cell, i) => { cell.dataset.column = names[i]; });
    }
});
