#!/usr/bin/env bash
# The manual pages are well formed, and describe all that the headers declare:
# check_pages.sh lint MAN_FOLDER
# check_pages.sh complete MAN_FOLDER SOURCE_FOLDER
set -euo pipefail

man=$2
failed=0

fail() {
    echo "$1"
    failed=1
}

case $1 in
lint)
    # Pages refer to one another before they are installed, and name the library in the footer.
    if mandoc -T lint "$man"/man1/*.1 "$man"/man3/*.3 2>&1 |
        grep -v 'STYLE: referenced manual not found: \|STYLE: operating system explicitly' |
        grep -v '^mandoc: outdated mandoc.db'; then
        failed=1
    fi
    # An operand that only begins with a bracket is not optional.
    if [[ -e $man/man1/wyx.1 ]]; then
        grep -qx '\.Ar \[SECTION\.\]KEY=VALUE \.\.\.' "$man/man1/wyx.1" ||
            fail "wyx(1): the operands of 'set' are not those of the grammar"
    fi
    # Here the pages that they refer to must exist.
    while read -r name section; do
        [[ -e $man/man$section/$name.$section ]] || fail "no page $name($section)"
    done < <(sed -n 's/^\.\(It \)\?Xr \([^ ]*\) \([1-9]\).*/\2 \3/p' "$man"/man3/* | sort -u)
    # The heading that readers with groff see.
    if command -v groff >/dev/null; then
        heading=$(groff -mandoc -Tascii "$man/man3/XELP_CRC_32.3" | sed -n 1p)
        [[ $heading == *" libwyx_commlib Library Functions Manual "* ]] ||
            fail "XELP_CRC_32(3) has the heading '$heading'"
    fi
    ;;
complete)
    source_folder=$3
    exports=$(cat "$source_folder"/src/commlib/exports.txt "$source_folder"/platform/exports.txt)
    for header in "$source_folder"/include/wyx_commlib/*.h \
        "$source_folder"/platform/{os_adapter,bounded}.h; do
        stem=$(basename "$header" .h)
        case $stem in
        commlib) continue ;; # which only includes the others
        types) stem=commlib ;;
        esac
        overview=$man/man3/wyx_$stem.3
        [[ -e $overview ]] || { fail "$overview is missing"; continue; }
        # Prototypes, checked by a method that does not depend on the one that makes the pages: joined
        # from the page, they are as in the header.
        flat=$(sed 's|/\*.*\*/||; /\/\*/,/\*\//d' "$header" | tr -s ' \n' ' ')
        count=0
        while read -r name; do
            case $flat in
            *[\ \*]"$name("*) ;;
            *) continue ;;
            esac
            count=$((count + 1))
            page=$man/man3/$name.3
            case $(readlink "$page") in
            '') # the call has a page of its own
                grep -q "^\.It Xr $name 3$" "$overview" || fail "$overview: does not list $name"
                [[ $(grep -c '^\.Nm\|^\.Xr' "$page") -lt 10 ]] || fail "$page: is not about one call"
                for section in SYNOPSIS DESCRIPTION EXAMPLES 'SEE ALSO'; do
                    grep -q "^\.Sh $section$" "$page" || fail "$page: has no section $section"
                done
                # Every status that it returns has its number.
                for status in $(sed -n '/^\.Sh RETURN/,/^\.Sh [ES]/p' "$page" | grep -Eo 'XELP_ERR_\w+'); do
                    [[ $status == *_OK ]] || grep -qx "\.It Li \"$status = [1-9][0-9]*\"" "$page" ||
                        fail "$page: $status is not among the errors with its number"
                done
                ;;
            "wyx_${stem}_blocks.3")
                grep -q "^\.Ss $name$" "$page" || fail "$page: does not describe $name"
                ;;
            *) fail "$page leads to the wrong page" ;;
            esac
            synopsis=$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p' "$page")
            type=$(grep -B 1 "^\.Fn $name " <<<"$synopsis" | sed -n 's/^\.Ft //p') || true
            list=$(sed -n "s/^\.Fn $name \"\(.*\)\"$/\1/p" <<<"$synopsis" | sed 's/" "/, /g')
            prototype="WYX_API $type $name($list)"
            prototype=${prototype//\* /\*}
            [[ $flat == *"$prototype"* ]] || fail "$page: not as in the header: $prototype"
        done < <(grep -v '^MD5Transform$\|^Encode$\|^Decode$\|^QAL_CHARset$' <<<"$exports")
        # Enumerators with their numbers.
        while read -r enumerator; do
            grep -qF ".It Li \"$enumerator\"" "$overview" || fail "$overview: does not have $enumerator"
        done < <(grep -Eo '^ +[A-Z]\w+ = [0-9]+' "$header" | sed 's/^ *//')
        echo "$(basename "$overview"): $count calls"
        case $stem in
        commlib | status_text) ;; # nothing to export
        *) ((count > 0)) || fail "$overview: no call found" ;;
        esac
    done
    ;;
esac
exit $failed
