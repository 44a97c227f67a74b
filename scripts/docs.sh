#!/usr/bin/env bash
# Builds the documentation as a site, build/docs/html/index.html: scripts/docs.sh [FOLDER]
#
# Installs Doxygen, its theme and the search library if they are missing (Debian). Fails on any
# warning and on any broken link. FOLDER replaces build/docs.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh doxygen doxygen-awesome-css libjs-lunr python3

export LC_ALL=C.UTF-8
site=${1:-build/docs}
mkdir -p "$site"
WYX_SITE=$(cd "$site" && pwd)
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
echo "written: $site/html/index.html"
