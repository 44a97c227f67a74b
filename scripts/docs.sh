#!/usr/bin/env bash
# Builds the documentation as a site, FOLDER/html/index.html: scripts/docs.sh [FOLDER]
#
# FOLDER is build/docs by default; FOLDER/html is deleted first. Installs Doxygen, its theme and the search
# library if they are missing (Debian). Fails if Doxygen warns or a link between the pages is broken.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
WYX_SITE=$(realpath -m "${1:-$root/build/docs}")
cd "$root"
scripts/install_packages.sh doxygen doxygen-awesome-css libjs-lunr python3

export LC_ALL=C.UTF-8
mkdir -p "$WYX_SITE"
WYX_THEME=${WYX_THEME:-/usr/share/doxygen-awesome-css}
WYX_LUNR=${WYX_LUNR:-/usr/share/javascript/lunr/lunr.min.js}
WYX_VERSION=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
WYX_DRAWINGS=$(echo docs/images/*.svg)
: "${WYX_VERSION:?CMakeLists.txt names no version}"
export WYX_SITE WYX_THEME WYX_LUNR WYX_VERSION WYX_DRAWINGS PYTHONDONTWRITEBYTECODE=1

rm -rf "$WYX_SITE/html"
doxygen -l "$WYX_SITE/layout-default.xml"
doxygen -w html "$WYX_SITE/header-default.html" "$WYX_SITE/footer.html" "$WYX_SITE/doxygen.css"
docs/site/header.py "$WYX_SITE/header-default.html" >"$WYX_SITE/header.html"
docs/site/layout.py "$WYX_SITE/layout-default.xml" >"$WYX_SITE/layout.xml"
doxygen docs/site/Doxyfile
bench/compare/page.py docs/bench-sample.json benchmarks.html >"$WYX_SITE/html/bench-sample.html"
docs/site/make_index.py "$WYX_SITE" >"$WYX_SITE/html/search-data.js"
docs/site/check_links.py "$WYX_SITE/html"
echo "written: $WYX_SITE/html/index.html"
