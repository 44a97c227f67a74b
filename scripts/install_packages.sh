#!/usr/bin/env bash
# Installs those of the given Debian packages that are missing: scripts/install_packages.sh PACKAGE...
#
# Does nothing, and needs no rights, if all of them are installed. On a system without apt-get it
# only names them.
set -euo pipefail

if ! command -v apt-get >/dev/null; then
    echo "no apt-get here: make sure that the equivalents of these Debian packages are installed: $*" >&2
    exit 0
fi
missing=()
for package in "$@"; do
    # A package that was removed but left its configuration is known, but not installed.
    if [[ $(dpkg-query -W -f '${Status}' "$package" 2>/dev/null) != *" installed" ]]; then
        missing+=("$package")
    fi
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "not root and no sudo: install these packages first: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

install() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -y -o DPkg::Lock::Timeout=300 install --no-install-recommends \
        "${missing[@]}" </dev/null
}

echo "installing: ${missing[*]}"
# The package lists are fetched only if those at hand (none on a fresh machine) are not enough.
if ! install >/dev/null 2>&1; then
    "${as_root[@]}" apt-get -qq -o DPkg::Lock::Timeout=300 update </dev/null
    install >/dev/null
fi
