# Completion of wyx for bash: the tool itself offers the words that fit.

# _wyx_plain WORD: a word of the command line without its quotes and backslashes. Nothing but ~/ at
# its beginning is expanded: completing must not run what somebody is typing.
_wyx_plain() {
    local word=${1//[\\\"\']/}
    printf '%s' "${word/#~\//$HOME/}"
}

_wyx() {
    local words=() at line
    for ((at = 1; at <= COMP_CWORD; ++at)); do
        # The shell splits KEY=VALUE and --option=VALUE around the "=".
        if ((at > 1)) && [[ ${COMP_WORDS[at]} == "=" || ${COMP_WORDS[at - 1]} == "=" ]]; then
            words[-1]+=$(_wyx_plain "${COMP_WORDS[at]}")
        else
            words+=("$(_wyx_plain "${COMP_WORDS[at]}")")
        fi
    done
    COMPREPLY=()
    while IFS= read -r line; do
        if [[ $line == files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
            return
        fi
        COMPREPLY+=("$(printf %q "${line%%$'\t'*}")")
    done < <("${COMP_WORDS[0]}" __complete "${words[@]}" 2>/dev/null)
    if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *= ]]; then
        compopt -o nospace 2>/dev/null
    fi
}

complete -F _wyx wyx
