#!/usr/bin/env bash
# A shell offers the completions that wyx reports: check_completion.sh SHELL COMPLETIONS_FOLDER WYX
set -euo pipefail

shell=$1
completions=$2
wyx=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '[net]\nport=1\nproxy=2\n[two words]\nk=1\n' >"$work/f.ini"
mkdir "$work/bin" "$work/home"
ln -s "$wyx" "$work/bin/wyx"
cd "$work"
export HOME=$work/home XDG_CONFIG_HOME=$work/home PATH=$work/bin:$PATH

# offers WORD...: what the shell offers for the last word, one per line, sorted
offers() {
    case $shell in
    bash)
        bash -c 'source "$1"; shift; COMP_WORDS=(wyx "$@"); COMP_CWORD=$#; _wyx
            printf "%s\n" "${COMPREPLY[@]}"' bash "$completions/wyx.bash" "$@"
        ;;
    fish)
        fish --no-config -c 'source $argv[1]; complete -C "wyx $argv[2..-1]"' \
            "$completions/wyx.fish" "$@" | cut -f 1
        ;;
    zsh)
        # Outside its line editor, zsh has no completion builtins.
        zsh -f -c '
            _call_program() { shift; eval "$@" }
            _files() { print -l -- $PREFIX*(N) }
            compadd() { print -l -- $names }
            file=$1; shift; words=(wyx "$@"); CURRENT=$#words; PREFIX=$words[-1]
            source $file' zsh "$completions/_wyx" "$@"
        ;;
    esac | LC_ALL=C sort
}

failed=0
# expect OFFERS WORD...
expect() {
    local offered
    offered=$(offers "${@:2}" | paste -s -d '|')
    if [[ $offered != "$1" ]]; then
        echo "wyx ${*:2}: offered '$offered', not '$1'"
        failed=1
    fi
}

expect "addr" a
expect "check|del|get|help|keys|list|merge|recover|sections|set" ini ""
expect "--ignore-missing" sum --i
expect "f.ini" ini get f
expect "net" ini get f.ini n
expect "port|proxy" ini get f.ini net p
expect "port=|proxy=" ini set f.ini net p
expect "proxy=" ini set f.ini net port=1 pro
expect "newest" ini recover --show n
expect "" ini get none.ini n
# A name with a space is offered as it must be typed in the shell.
[[ $shell == bash ]] && expect 'two\ words' ini get f.ini t
exit $failed
