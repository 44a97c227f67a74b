#!/usr/bin/env bash
# Formats every C and C++ file of the tree: scripts/format.sh [--check]
#
# With --check, changes nothing and fails if a file would change. Versions of clang-format differ; the
# tree uses version 14. With another version, formats nothing and exits with 77.
set -euo pipefail

cd "$(dirname "$0")/.."
version=$(clang-format --version | sed 's/.*version \([0-9]*\).*/\1/')
if [[ $version != 14 ]]; then
    echo "skipped: clang-format is version $version, not 14"
    exit 77
fi
case ${1-} in
'') options=(-i) ;;
--check) options=(--dry-run -Werror) ;;
*) echo "usage: scripts/format.sh [--check]" >&2; exit 2 ;;
esac
find bench examples include platform src tests tools -name '*.[ch]' -o -name '*.[ch]pp' |
    xargs clang-format "${options[@]}"
