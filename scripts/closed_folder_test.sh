#!/usr/bin/env bash
# Runs tests that start programs or open files by their full names, in a folder that other users may
# not enter (root's home is one) and whose name has a space and a letter beyond ASCII:
# scripts/closed_folder_test.sh
set -euo pipefail

cd "$(dirname "$0")/.."
source scripts/temp_folder.sh
work=$(temp_folder) # closed to others, as mktemp makes it
trap 'rm -rf "$work"' EXIT
project="$work/wyx für alle"
mkdir "$project"
tar -c --exclude=./build --exclude=./.git . | tar -x -C "$project"
cd "$project"

cmake --preset release
cmake --build --preset release --target tool_tests system_calls_test preload_test \
    wyx_preloaded_adapter ini_parser_test ini_parser_save_test
ctest --preset release --no-tests=error \
    -R '^(tool_.*|system_calls|preload|ini_parser|ini_parser_save)_test$'
