#!/usr/bin/env bash
# Builds and installs the libraries with the commands of the README. Then asks for what needs packages, as
# on a machine without these packages: check_alone.sh SOURCE_FOLDER WORK_FOLDER
set -euo pipefail

source_folder=$1
work=$2
rm -rf "$work"
mkdir -p "$work"
cd "$work"

# The commands as they are, except for the folders.
commands=$(sed -n '/^The libraries alone need/,/^```$/p' "$source_folder/README.md" | grep '^cmake ')
[[ $(wc -l <<<"$commands") == 3 ]] || { echo "no such commands in README.md: $commands"; exit 1; }
commands=${commands//-S ./-S \"$source_folder\"}
without=() # as on a machine without the packages
for package in GTest nlohmann_json Python3 PkgConfig ZLIB OpenSSL benchmark; do
    without+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done
commands=${commands/-S /${without[*]} -S }
echo "$commands"
CMAKE_GENERATOR="Unix Makefiles" PREFIX="$work/prefix" bash -ec "$commands" >log 2>&1 ||
    { cat log; exit 1; }
for file in include/wyx_commlib/commlib.h include/wyx_os_adapter/os_adapter.h; do
    [[ -s prefix/$file ]] || { echo "not installed: $file"; exit 1; }
done
[[ -n $(find prefix -name libwyx_commlib.so) ]] || { echo "no library is installed"; exit 1; }

# asks OPTION PACKAGE DEBIAN_PACKAGE: with the option, the message must name the missing package and say
# how to do without it
asks() {
    rm -rf asks
    if cmake -S "$source_folder" -B asks "$1=ON" -DWYX_BUILD_TOOL=ON "-DCMAKE_DISABLE_FIND_PACKAGE_$2=ON" >log 2>&1; then
        echo "$1 does not need $2"
        exit 1
    fi
    message=$(tr -s '\n ' ' ' <log) # CMake breaks the lines of a message
    if [[ $message != *"$2"*"apt-get install $3. To do without: $1=OFF"* ]]; then
        echo "the message does not say what to do without $2: $message"
        exit 1
    fi
}
asks -DWYX_BUILD_TESTS GTest libgtest-dev
asks -DWYX_BUILD_TESTS nlohmann_json nlohmann-json3-dev
echo "alone: as it should be"
