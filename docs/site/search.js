// The site's search: an index of search_data.js, made by lunr when the box is first used. It needs no server, so it
// works from a local file too.
(function () {
    "use strict";
    const site = document.currentScript.dataset.site;
    const most = 12; // results shown
    let index = null;
    let loading = null;

    function load(name) {
        return new Promise((resolve, reject) => {
            const script = document.createElement("script");
            script.src = site + name;
            script.onload = resolve;
            script.onerror = reject;
            document.head.append(script);
        });
    }

    // "mlConjugateGradients" is found by "conjugate", too.
    function parted(name) {
        return name + " " + name.replace(/^ml_?/, "").replace(/([a-z])([A-Z])/g, "$1 $2").replace(/[_:]+/g, " ");
    }

    function build() {
        index = lunr(function () {
            this.ref("at");
            this.pipeline.remove(lunr.stopWordFilter); // "least" is a word of mathematics
            this.field("title", {boost: 8});
            this.field("words", {boost: 10});
            this.field("text");
            searchData.forEach(([title, words, , text], at) =>
                this.add({at, title: parted(title), words, text}, {boost: title.includes("::") ? 1 : 2}));
        });
    }

    function ready() {
        loading = loading || Promise.all([load("lunr.min.js"), load("search_data.js")]).then(build);
        return loading;
    }

    // First what people call so, then what has all words, then what has all as beginnings, then what has one, then what is spelt nearly so.
    function find(words) {
        const terms = lunr.tokenizer(words).map(String).filter(Boolean);
        const all = lunr.Query.presence.REQUIRED;
        const ways = [
            () => ({presence: all, fields: ["words"]}),
            () => ({presence: all}),
            () => ({presence: all, usePipeline: false, wildcard: lunr.Query.wildcard.TRAILING}),
            () => ({}),
            term => ({usePipeline: false, editDistance: term.length > 7 ? 2 : 1}),
        ];
        const found = new Set();
        for (const way of ways) {
            if (found.size >= most) break;
            index.query(query => terms.forEach(term => query.term(term, way(term))))
                .forEach(result => found.add(result.ref));
        }
        return [...found].slice(0, most).map(at => searchData[at]);
    }

    function show(list, results) {
        list.replaceChildren(...results.map(([title, , url, text]) => {
            const item = document.createElement("li"), link = document.createElement("a");
            const name = document.createElement("b"), about = document.createElement("span");
            link.href = site + url;
            name.textContent = title;
            about.textContent = text.slice(0, 90);
            link.append(name, about);
            item.append(link);
            return item;
        }));
        if (results.length === 0) list.textContent = "Nothing was found.";
        list.hidden = false;
    }

    document.addEventListener("DOMContentLoaded", () => {
        const box = document.getElementById("MSearchField");
        const list = document.getElementById("search-results");
        const search = () => ready().then(() => {
            if (box.value.trim() === "") list.hidden = true;
            else show(list, find(box.value));
        });
        box.addEventListener("focus", ready);
        box.addEventListener("input", search);
        document.addEventListener("keydown", event => {
            const links = [...list.querySelectorAll("a")], at = links.indexOf(document.activeElement);
            if (event.key === "/" && !/^(INPUT|TEXTAREA)$/.test(document.activeElement.tagName)) {
                event.preventDefault();
                box.focus();
            } else if (event.key === "Escape") {
                list.hidden = true;
            } else if (event.key === "Enter" && document.activeElement === box && links.length > 0) {
                links[0].click();
            } else if (!list.hidden && (event.key === "ArrowDown" || event.key === "ArrowUp")) {
                event.preventDefault();
                const next = at + (event.key === "ArrowDown" ? 1 : -1);
                (links[next] || box).focus();
            }
        });
        document.addEventListener("click", event => {
            if (!event.target.closest("#site-search")) list.hidden = true;
        });
    });
    window.siteSearch = words => ready().then(() => find(words).map(([title]) => title)); // for the site's test
})();
