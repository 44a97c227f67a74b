# Completion of wyx for bash. Sections and keys are those of the file on the command line.

# _wyx_names CURRENT COMMAND...: completes to the lines that a command writes
_wyx_names() {
    local current=$1 name
    shift
    COMPREPLY=()
    while IFS= read -r name; do
        if [[ $name == "$current"* ]]; then
            COMPREPLY+=("$(printf %q "$name")")
        fi
    done < <("$@" 2>/dev/null)
}

# _wyx_plain WORD: a word of the command line without its quotes. Nothing in it is expanded but a
# tilde: completing must not run what somebody is typing.
_wyx_plain() {
    local word=${1//[\\\"\']/}
    printf '%s' "${word/#~\//$HOME/}"
}

_wyx() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local verb="" ini="" word skip="" operands=()
    local at
    for ((at = 1; at < COMP_CWORD; ++at)); do
        word=${COMP_WORDS[at]}
        if [[ -n $skip ]]; then
            skip=""
        elif [[ $word == -* && $word != - ]]; then
            case $word in
            -w | --wrap | --show | --restore | --files0-from | --shown) skip=yes ;;
            esac
        elif [[ -z $verb ]]; then
            verb=$word
        elif [[ $verb == ini && -z $ini ]]; then
            ini=$word
        else
            operands+=("$word")
        fi
    done

    case $previous in
    --show | --restore)
        mapfile -t COMPREPLY < <(compgen -W "newest" -- "$current")
        return
        ;;
    -w | --wrap | --shown)
        COMPREPLY=()
        return
        ;;
    esac

    local options="-h --help" verbs=""
    case $verb:$ini in
    :)
        options+=" -V --version"
        verbs="sum base64 addr ini"
        ;;
    sum:) options+=" --crc16 --crc32 --md5 -c --check -q --quiet -s --status --json" ;;
    base64:) options+=" -d --decode -w --wrap" ;;
    addr:) options+=" --json" ;;
    ini:) verbs="get set del sections keys list check recover roundtrip" ;;
    ini:set) options+=" --create --json" ;;
    ini:check) options+=" -e --errors --strict --json" ;;
    ini:recover) options+=" --show --restore --json" ;;
    ini:roundtrip) options+=" --files0-from --shown --json" ;;
    ini:*) options+=" --json" ;;
    esac

    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ -n $verbs ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$current")
    elif [[ $verb == addr ]]; then
        COMPREPLY=()
    elif [[ $ini =~ ^(get|set|del|keys)$ ]] && ((${#operands[@]} > 0)); then
        local file
        file=$(_wyx_plain "${operands[0]}")
        if ((${#operands[@]} == 1)); then
            _wyx_names "$current" "${COMP_WORDS[0]}" ini sections -- "$file"
        elif [[ $ini != keys ]] && ((${#operands[@]} == 2)); then
            _wyx_names "$current" "${COMP_WORDS[0]}" ini keys -- "$file" \
                "$(_wyx_plain "${operands[1]}")"
        fi
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -F _wyx wyx
