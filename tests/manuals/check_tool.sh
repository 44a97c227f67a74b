#!/usr/bin/env bash
# Every verb and option that the help of wyx tells is in its manual page and in each completion, and
# the completions offer it where it belongs; bash and fish (if it is there) are asked, the file for zsh
# is read: check_tool.sh WYX PAGE COMPLETIONS_FOLDER
set -euo pipefail

wyx=$1
page=$2
completions=$3
source "$(dirname "$0")/wyx_words.sh"

words=$(wyx_words "$wyx")
count=$(wc -l <<<"$words")
if ((count < 60)); then
    echo "the help tells only $count words: it is not understood"
    exit 1
fi
failed=0
missing() {
    echo "$1 does not have: $2"
    failed=1
}

# The page has the verbs in its synopsis, the options as mdoc marks them.
while IFS=$'\t' read -r verb word; do
    case $word in
    --*) grep -Eq -- "F[l] (.*(, |\| )?)-${word#--}( |$)" "$page" || missing "$page" "$word" ;;
    -*) grep -Eq -- "Fl (.*(, |\| )?)?${word#-}( |$)" "$page" || missing "$page" "$word" ;;
    *) grep -Eq -- "^\.Cm (${verb#-} ?)?$word( |$)" "$page" || missing "$page" "$verb $word" ;;
    esac
done <<<"$words"

# fish, in one go: for each word, whether it is among what is offered for its first character.
if command -v fish >/dev/null; then
    home=$(mktemp -d)
    trap 'rm -rf "$home"' EXIT
    while read -r line; do
        missing "wyx.fish, asked," "$line"
    done < <(HOME=$home XDG_CONFIG_HOME=$home fish --no-config -c '
        source $argv[1]
        set -l tab (printf "\t")
        while read -l -d $tab verb word
            set -l line (string trim "wyx "(string replace -r "^-\$" "" -- $verb))
            set -l first (string match -r "^--|^." -- $word)
            contains -- $word (complete -C "$line $first" | string replace -r "$tab.*" "")
            or echo "$verb $word"
        end
    ' "$completions/wyx.fish" <<<"$words")
fi

source "$completions/wyx.bash"
while IFS=$'\t' read -r verb word; do
    [[ $verb == - ]] && verb=""
    read -ra COMP_WORDS <<<"wyx $verb"
    COMP_WORDS+=("$word")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _wyx 2>/dev/null
    [[ " ${COMPREPLY[*]} " == *" $word "* ]] || missing wyx.bash "$verb $word"
    case $word in
    --*)
        grep -q -- "$word\[\|,$word}" "$completions/_wyx" || missing _wyx "$word"
        grep -Eq -- " -l ${word#--}( |$)" "$completions/wyx.fish" || missing wyx.fish "$word"
        ;;
    -*)
        grep -q -- "{$word," "$completions/_wyx" || missing _wyx "$word"
        grep -Eq -- " -s ${word#-} " "$completions/wyx.fish" || missing wyx.fish "$word"
        ;;
    *)
        grep -q "'$word:" "$completions/_wyx" || missing _wyx "$word"
        grep -q -- "-a $word " "$completions/wyx.fish" || missing wyx.fish "$word"
        ;;
    esac
done <<<"$words"

((failed)) || echo "$count words are in the page and in the completions"
exit $failed
