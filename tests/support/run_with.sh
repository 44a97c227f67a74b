#!/usr/bin/env bash
# Runs a test that needs programs which a machine may lack: run_with.sh "PROGRAM..." COMMAND...
# If one is missing, says how to install it and exits with 77, which CTest takes for skipped.
set -euo pipefail

# The Debian package that has a program, if their names differ.
declare -A package_of=([abidiff]=abigail-tools [abidw]=abigail-tools [clang++]=clang [dpkg-deb]=dpkg
    [dpkg-shlibdeps]=dpkg-dev [md5sum]=coreutils [objcopy]=binutils [xz]=xz-utils)

if [[ ! -e /dev/fd/0 ]]; then
    echo "skipped: no /dev/fd, which scripts of Bash need: is /proc mounted?"
    exit 77
fi
missing=() packages=()
for program in $1; do
    if ! command -v "$program" >/dev/null; then
        missing+=("$program")
        package=${package_of[$program]:-$program}
        [[ " ${packages[*]} " == *" $package "* ]] || packages+=("$package")
    fi
done
if ((${#missing[@]})); then
    echo "skipped: no ${missing[*]}: scripts/install_packages.sh ${packages[*]}"
    exit 77
fi
shift
exec "$@"
