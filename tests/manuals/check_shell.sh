#!/usr/bin/env bash
# A shell reads the completion without an error: check_shell.sh SHELL FILE
# Ends with 77 where the shell is missing.
set -euo pipefail

if ! command -v "$1" >/dev/null; then
    echo "skipped: $1 is not installed"
    exit 77
fi
errors=$("$1" -n "$2" 2>&1) || { echo "$errors"; exit 1; }
[[ -z $errors ]] || { echo "$errors"; exit 1; }
