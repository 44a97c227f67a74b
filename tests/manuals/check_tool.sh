#!/usr/bin/env bash
# Every verb and option that the help of wyx tells is in its manual page and in each completion, and
# the completions offer it where it belongs: check_tool.sh WYX PAGE COMPLETIONS_FOLDER
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

# bash is asked what it offers; the other two files are read.
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
