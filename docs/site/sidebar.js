// Opens the groups of the tree at the side, from the top down until it is full, so that most pages are
// one click away.
window.addEventListener("load", function () {
    "use strict";
    var tree = document.getElementById("nav-tree"), left = 50;

    function open() {
        var arrows = tree.querySelectorAll("#nav-tree-contents > ul > li > ul > li > .item .arrow");
        // Doxygen makes the tree from scripts that it loads after the page.
        if (!tree.querySelector(".selected") && --left > 0) {
            setTimeout(open, 40);
            return;
        }
        var wasOff = jQuery.fx.off;
        jQuery.fx.off = true;
        arrows.forEach(function (arrow) {
            if (!arrow.closest("li").querySelector("li") && tree.scrollHeight <= tree.clientHeight) {
                arrow.click();
            }
        });
        jQuery.fx.off = wasOff;
    }

    if (tree && tree.clientHeight > 0) { // a narrow screen has a menu instead
        open();
    }
});
