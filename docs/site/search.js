// The search field of the site: lunr finds the entries of search-data.js, this file asks for them.
(function () {
    "use strict";

    // What people call a thing in other libraries; each word of a row stands for the others.
    var SYNONYMS = [
        ["free", "release", "deallocate", "memfreed", "ownership"],
        ["leak", "release", "ownership", "accounting"],
        ["memory", "malloc", "allocate", "allocation", "heap", "ownership"],
        ["read", "get", "lookup", "value", "query"],
        ["write", "set", "change", "edit"],
        ["save", "store", "write"],
        ["delete", "remove", "erase", "del"],
        ["add", "insert", "append"],
        ["hash", "map", "dictionary", "table"],
        ["list", "linked"],
        ["walk", "iterate", "loop", "traverse", "visit"],
        ["hex", "hexadecimal", "digest"],
        ["digest", "md5", "checksum"],
        ["checksum", "crc"],
        ["ip", "ipv4", "ipv6", "address"],
        ["config", "configuration", "ini"],
        ["decode", "base64"],
        ["encode", "base64"],
        ["status", "error", "code", "errno", "errors"],
        ["fast", "speed", "benchmark", "benchmarks", "performance", "slow"],
        ["thread", "threads", "mutex", "lock", "concurrent", "concurrency", "multithreaded"],
        ["safe", "safety"],
        ["crash", "power", "durable", "durability", "atomic", "fsync"],
        ["link", "linking", "cmake", "pkg", "config"],
        ["install", "package", "packages", "deb"],
        ["replace", "own", "custom", "porting"],
        ["adapter", "platform", "port", "os"],
        ["ndk", "android", "gradle", "aar", "phone"],
        ["java", "kotlin", "jni"],
        ["python", "ctypes", "bindings"],
        ["rust", "ffi", "bindings"],
        ["cpp", "wyx.hpp"],
        ["size", "footprint"],
        ["abi", "binary", "compatible", "compatibility"],
        ["licence", "license", "copyright"],
        ["vulnerability", "security", "cve"],
        ["cli", "tool", "shell", "command"]
    ];
    // Words that say nothing about what is wanted.
    var SILENT = ("a an and are as at be by can do does for from how i if in is it its me my of on or " +
        "please should so that the there this to use using was what when where which who why with " +
        "you your").split(" ");
    var WEIGHT = { page: 1.6, section: 1.25, call: 1, status: 1, part: 0.6, name: 0.5 };
    var MOST = 10, MOST_OF_A_PAGE = 3;
    var index;

    function words(text) {
        var all = text.toLowerCase().replace(/c\+\+/g, "cpp").match(/[a-z0-9_](?:[a-z0-9_.]*[a-z0-9_])?/g) || [];
        var telling = all.filter(function (word) { return SILENT.indexOf(word) < 0; });
        return telling.length > 0 ? telling : all;
    }

    function tokens(text) {
        return words(String(text || "")).map(function (word) { return new lunr.Token(word, {}); });
    }

    // "linked" is the word for lists, and no form of "link", which asks how to link a program.
    function stem(token) {
        return token.toString() === "linked" ? token : lunr.stemmer(token);
    }

    function makeIndex() {
        lunr.Pipeline.registerFunction(stem, "stem");
        return lunr(function () {
            var builder = this;
            this.tokenizer = tokens;
            this.pipeline.reset();
            this.pipeline.add(stem);
            this.searchPipeline.reset();
            this.searchPipeline.add(stem);
            this.ref("at");
            this.field("title", { boost: 6 });
            this.field("names", { boost: 5 });
            this.field("where", { boost: 2 });
            this.field("text");
            searchData.forEach(function (entry, at) {
                // A name without the prefix that all names have counts as much as the whole name.
                builder.add({ at: at, title: entry.title.replace(/^(XELP|MOX)_/, ""),
                              names: entry.names, where: entry.where, text: entry.text });
            });
        });
    }

    function synonyms(word) {
        var found = [];
        SYNONYMS.forEach(function (row) {
            if (row.indexOf(word) >= 0) {
                found = found.concat(row);
            }
        });
        return found.filter(function (other) { return other !== word; });
    }

    // Each word is looked for by itself, so that entries with all words come first.
    function scores(word) {
        // What looks like a name is not looked for in texts.
        var fields = word.indexOf("_") < 0 ? index.fields : ["title", "names"];
        return index.query(function (query) {
            query.term(word, { boost: 10, fields: fields });
            query.term(word, { boost: 3, fields: fields, usePipeline: false,
                               wildcard: lunr.Query.wildcard.TRAILING });
            synonyms(word).forEach(function (other) { query.term(other, { boost: 2 }); });
            if (word.length > 4 && !/\d/.test(word)) {
                query.term(word, { boost: 0.3, editDistance: 1 });
            }
        });
    }

    function find(text) {
        index = index || makeIndex();
        var wanted = words(text), sums = {};
        wanted.forEach(function (word) {
            var found = scores(word), best = found.length > 0 ? found[0].score : 1;
            found.forEach(function (result) {
                var sum = sums[result.ref] = sums[result.ref] || { score: 0, count: 0 };
                sum.score += result.score / best;
                sum.count += 1;
            });
        });
        var order = Object.keys(sums).map(function (at) {
            var entry = searchData[at], share = sums[at].count / wanted.length;
            return { entry: entry, score: sums[at].score * share * share * WEIGHT[entry.kind] };
        }).sort(function (a, b) { return b.score - a.score; });
        var ofPage = {};
        return order.filter(function (result) {
            var page = result.entry.url.split("#")[0];
            ofPage[page] = (ofPage[page] || 0) + 1;
            return ofPage[page] <= MOST_OF_A_PAGE;
        }).slice(0, MOST).map(function (result) { return result.entry; });
    }

    function element(tag, name, text) {
        var made = document.createElement(tag);
        made.className = name;
        made.textContent = text;
        return made;
    }

    function item(entry) {
        var link = element("a", entry.kind, "");
        link.href = entry.url;
        link.appendChild(element("span", "found-title", entry.title));
        link.appendChild(element("span", "found-where", entry.where));
        link.appendChild(element("span", "found-text", entry.shown));
        var made = element("li", "", "");
        made.appendChild(link);
        return made;
    }

    function start() {
        var field = document.getElementById("find-text"), list = document.getElementById("find-list");

        function close() {
            list.hidden = true;
            field.setAttribute("aria-expanded", "false");
        }
        function show() {
            list.textContent = "";
            if (field.value.trim() === "") {
                close();
                return;
            }
            var found = find(field.value);
            found.forEach(function (entry) { list.appendChild(item(entry)); });
            if (found.length === 0) {
                list.appendChild(element("li", "found-none", "Nothing found. Try a call, a status or one word."));
            }
            list.hidden = false;
            field.setAttribute("aria-expanded", "true");
        }
        function move(event, from) {
            var links = Array.prototype.slice.call(list.querySelectorAll("a"));
            var next = links.indexOf(from) + (event.key === "ArrowDown" ? 1 : -1);
            event.preventDefault();
            (links[next] || field).focus();
        }

        field.addEventListener("input", show);
        field.addEventListener("focus", show);
        field.addEventListener("keydown", function (event) {
            var first = list.querySelector("a");
            if (event.key === "Enter" && first && !list.hidden) {
                close();
                location.href = first.href;
            } else if (event.key === "ArrowDown" && first) {
                move(event, null);
            }
        });
        list.addEventListener("keydown", function (event) {
            if (event.key === "ArrowDown" || event.key === "ArrowUp") {
                move(event, document.activeElement);
            }
        });
        list.addEventListener("click", close); // the place may be on this page
        document.addEventListener("keydown", function (event) {
            var typing = /^(INPUT|TEXTAREA)$/.test(document.activeElement.tagName);
            if (event.key === "Escape") {
                close();
                field.blur();
            } else if (event.key === "/" && !typing) {
                event.preventDefault();
                field.focus();
            }
        });
        document.addEventListener("click", function (event) {
            // sidebar.js clicks, too.
            if (event.isTrusted && !document.getElementById("find").contains(event.target)) {
                close();
            }
        });
    }

    document.addEventListener("DOMContentLoaded", start);
}());
