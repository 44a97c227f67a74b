# To be sourced. temp_folder [OPTION...]: makes a temporary folder, with the options of mktemp, and
# prints its name.
temp_folder() {
    mktemp -d "$@" 2>/dev/null || {
        echo "cannot make a folder in ${TMPDIR:-/tmp}: set TMPDIR to one that you can write to" >&2
        return 1
    }
}
