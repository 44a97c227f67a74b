#!/usr/bin/env bash
# The manual pages are well formed, and describe all that the headers declare:
# check_pages.sh lint MAN_FOLDER
# check_pages.sh complete MAN_FOLDER SOURCE_FOLDER
set -euo pipefail

man=$2
failed=0

case $1 in
lint)
    # Pages refer to one another before they are installed, and name the library in the footer.
    if mandoc -T lint "$man"/man1/*.1 "$man"/man3/wyx_*.3 2>&1 |
        grep -v 'STYLE: referenced manual not found: \|STYLE: operating system explicitly' |
        grep -v '^mandoc: outdated mandoc.db'; then
        failed=1
    fi
    ;;
complete)
    source_folder=$3
    exports=$(cat "$source_folder"/src/commlib/exports.txt "$source_folder"/platform/exports.txt)
    for header in "$source_folder"/include/wyx_commlib/*.h \
        "$source_folder"/platform/{os_adapter,bounded}.h; do
        stem=$(basename "$header" .h)
        case $stem in
        commlib) continue ;;     # which only includes the others
        status_text) continue ;; # which has no exports
        types) stem=commlib ;;
        esac
        page=$man/man3/wyx_$stem.3
        if [[ ! -e $page ]]; then
            echo "$page is missing"
            failed=1
            continue
        fi
        # Prototypes, by another method than the one that makes them: joined from the page, as in
        # the header.
        flat=$(sed 's|/\*.*\*/||; /\/\*/,/\*\//d' "$header" | tr -s ' \n' ' ')
        synopsis=$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p' "$page")
        count=0
        while read -r name; do
            case $flat in
            *[\ \*]"$name("*) ;;
            *) continue ;;
            esac
            count=$((count + 1))
            type=$(grep -B 1 "^\.Fn $name " <<<"$synopsis" | sed -n 's/^\.Ft //p') || true
            list=$(sed -n "s/^\.Fn $name \"\(.*\)\"$/\1/p" <<<"$synopsis" | sed 's/" "/, /g')
            prototype="WYX_API $type $name($list)"
            prototype=${prototype//\* /\*}
            if [[ $flat != *"$prototype"* ]]; then
                echo "$page: not as in the header: $prototype"
                failed=1
            fi
            grep -q "^\.Ss $name$" "$page" || { echo "$page: does not describe $name"; failed=1; }
            if [[ $(readlink "$man/man3/$name.3") != "wyx_$stem.3" ]]; then
                echo "$man/man3/$name.3 does not lead to the page"
                failed=1
            fi
        done < <(grep -v '^MD5Transform$\|^Encode$\|^Decode$\|^QAL_CHARset$' <<<"$exports")
        # Enumerators with their numbers.
        while read -r enumerator; do
            grep -qF ".It Li \"$enumerator\"" "$page" ||
                { echo "$page: does not have $enumerator"; failed=1; }
        done < <(grep -Eo '^ +[A-Z]\w+ = [0-9]+' "$header" | sed 's/^ *//')
        echo "$(basename "$page"): $count calls"
        [[ $stem == commlib ]] || ((count > 0)) || { echo "$page: no call found"; failed=1; }
    done
    ;;
esac
exit $failed
