# To be sourced. temp_folder: makes a temporary folder in TMPDIR, and prints its name.
# shellcheck shell=bash
temp_folder() {
    mktemp -d 2>/dev/null || {
        echo "cannot make a folder in ${TMPDIR:-/tmp}: set TMPDIR to one that you can write to" >&2
        return 1
    }
}
