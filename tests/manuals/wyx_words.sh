# The words that a user of wyx can type, as its own help tells them. To be sourced.

# wyx_help WYX VERB...: the help, without colours
wyx_help() {
    NO_COLOR=1 "$@" --help
}

# wyx_verbs WYX VERB...: the verbs below
wyx_verbs() {
    wyx_help "$@" | sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9]\{1,\}\) .*/\1/p'
}

# wyx_options WYX VERB...: short and long options, one a line
wyx_options() {
    wyx_help "$@" | sed -n '/^Options:/,/^$/s/^  \(-[^ ]*\).*/\1/p' | tr , '\n'
}

# wyx_words WYX: lines "VERB WORD" for each verb and option; VERB is "-" for none, "ini get" and such
wyx_words() {
    local verb below
    wyx_options "$1" | sed 's/^/-\t/'
    for verb in $(wyx_verbs "$1"); do
        printf -- '-\t%s\n' "$verb"
        wyx_options "$1" "$verb" | sed "s/^/$verb\t/"
        for below in $(wyx_verbs "$1" "$verb"); do
            printf '%s\t%s\n' "$verb" "$below"
            wyx_options "$1" "$verb" "$below" | sed "s/^/$verb $below\t/"
        done
    done
}
