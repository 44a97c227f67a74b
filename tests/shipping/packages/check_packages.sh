#!/usr/bin/env bash
# Makes the packages, unpacks them, and builds and runs programs with the result:
# check_packages.sh SOURCE_FOLDER BUILD_FOLDER WORK_FOLDER
#
# BUILD_FOLDER is a build of the project with the tool. The tool's package is made from it, because
# building the tool again would take long.
set -euo pipefail

source_folder=$1
build=$2
work=$3

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

export SOURCE_DATE_EPOCH=1700000000 LC_ALL=C.UTF-8 # as package.sh sets it
packages=$work/packages
rm -rf "$work"
mkdir -p "$work"
WYX_BUILD_TOOL=OFF "$source_folder/scripts/package.sh" "$packages"
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$source_folder/CMakeLists.txt")
major=${version%%.*}
(cd "$build" && cpack -G DEB -D "CPACK_COMPONENTS_ALL=tool;tool_debug" -B "$work/tool" >"$work/log" 2>&1) ||
    { cat "$work/log"; exit 1; }
mv "$work"/tool/*.deb "$packages"
"$source_folder/scripts/make_sbom.py" "$packages" >"$packages/libwyx_commlib-$version.spdx.json"

revision=$version-0wyx1
architecture=$(dpkg --print-architecture)
expected="libwyx-commlib$major libwyx-commlib$major-dbgsym libwyx-commlib-dev libwyx-commlib-static
    wyx wyx-dbgsym"
root=$work/root
for name in $expected; do
    package=$packages/${name}_${revision}_$architecture.deb
    [[ -e $package ]] || { fail "no $package"; continue; }
    dpkg-deb -x "$package" "$root"
    field() { dpkg-deb -f "$package" "$1"; }
    [[ $(field Package) == "$name" ]] || fail "$name calls itself $(field Package)"
    [[ $(field Version) == "$revision" ]] || fail "$name has the version $(field Version)"
    [[ $(field Depends) == *"libwyx-commlib$major (= $revision)"* || $name == "libwyx-commlib$major" ||
        $(field Depends) == "wyx (= $revision)" ||
        $(field Depends) == "libwyx-commlib-dev (= $revision)" ]] ||
        fail "$name depends on $(field Depends)"
    ((${#name} && $(field Description | head -n 1 | wc -c) <= 80)) || fail "$name: the synopsis is too long"
    # All files are root's, readable by everyone, writable by no one else, and have the given time.
    while read -r mode owner size date time path _; do
        [[ $owner == root/root && $mode =~ ^[dl-]rw.r.[x-]r.[x-]$|^l && $date == 2023-11-14 ]] ||
            fail "$name: $mode $owner $date $time $path ($size)"
    done < <(TZ=UTC0 dpkg-deb -c "$package")
    control=$work/control/$name
    (mkdir -p "$control" && cd "$root" && dpkg-deb -e "$package" "$control" &&
        md5sum --quiet -c "$control/md5sums") || fail "$name: the sums of its files are wrong"
    [[ -z $(find "$control" -name 'p*inst' -o -name 'p*rm') ]] || fail "$name has scripts"
    case $name in
    libwyx-commlib-dev | wyx-dbgsym) expected_kind=no ;;
    wyx) expected_kind=foreign ;;
    *) expected_kind=same ;;
    esac
    [[ $(field Multi-Arch) == "$expected_kind" ]] || fail "$name: Multi-Arch $(field Multi-Arch)"
    for file in copyright changelog.gz changelog.Debian.gz; do
        [[ -s $root/usr/share/doc/$name/$file ]] || fail "$name has no $file"
    done
done
if grep -rqaF -e "$source_folder" -e "$work" "$root"; then
    fail "these files name a folder of the build: $(grep -rlaF -e "$source_folder" -e "$work" "$root")"
fi

# Every export is in the list from which packages of programs get their dependencies.
diff <(sed -n 's/^ \(.*\)@Base .*/\1/p' "$work/control/libwyx-commlib$major/symbols" | sort) \
    <(sort "$source_folder"/{src/commlib,platform}/exports.txt) ||
    fail "the list of symbols differs from the exports"

# The libraries have no path to one another; libraries and tool are stripped, and their debug
# information is found by build-id.
libdir=$(dirname "$(find "$root" -name libwyx_commlib.so)")
for library in libwyx_commlib libwyx_os_adapter; do
    file=$libdir/$library.so.$version
    [[ $(readlink "$libdir/$library.so") == "$library.so.$major" ]] ||
        fail "$library.so links to the wrong file"
    [[ $(readlink "$libdir/$library.so.$major") == "$library.so.$version" ]] ||
        fail "$library.so.$major links to the wrong file"
    [[ $(readelf -d "$file") != *RUNPATH* ]] || fail "$library has a RUNPATH"
done
for file in "$libdir"/libwyx_{commlib,os_adapter}.so."$version" "$root/usr/bin/wyx"; do
    name=$(basename "$file")
    [[ $(readelf -SW "$file") != *.debug_info* ]] || fail "$name still has its debug information"
    id=$(LC_ALL=C readelf -n "$file" | sed -n 's/.*Build ID: //p')
    ((${#id} == 40)) || fail "$name has a build-id of $((${#id} / 2)) bytes, not 20"
    debug=$root/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
    [[ -e $debug && $(readelf -SW "$debug") == *.debug_info* ]] ||
        fail "$name: no debug information for the build-id $id"
    # It has lines of the project's own sources, which crash reports need.
    (($(readelf --debug-dump=decodedline "$debug" 2>/dev/null | grep -c '\.cpp') > 0)) ||
        fail "$name: its debug information has no lines of its sources"
done

# Programs in C and C++, built with pkg-config and with CMake, as after an installation.
# pkg-config accepts no spaces in the name of a root.
cd "$work"
export PKG_CONFIG_SYSROOT_DIR=root PKG_CONFIG_LIBDIR=$libdir/pkgconfig LD_LIBRARY_PATH=$libdir
unset PKG_CONFIG_PATH
grep -qx 'prefix=/usr' "$libdir/pkgconfig/wyx_commlib.pc" || fail "the prefix in wyx_commlib.pc is wrong"
if command -v pkg-config >/dev/null; then
    read -ra flags < <(pkg-config --cflags --libs wyx_commlib)
    mkdir "$work/run"
    "${CC:-cc}" "$source_folder/tests/shipping/install/consumer/consumer.c" -o "$work/run/consumer" \
        "${flags[@]}" -Wl,-rpath-link,"$libdir" && (cd "$work/run" && ./consumer) ||
        fail "a C program cannot be built or run"
    read -ra flags < <(pkg-config --static --cflags --libs wyx_commlib)
    "${CC:-cc}" -static "$source_folder/tests/shipping/install/consumer/consumer.c" \
        -o "$work/run/consumer_static" "${flags[@]}" &&
        (cd "$work/run" && LD_LIBRARY_PATH='' ./consumer_static) ||
        fail "a static C program cannot be built or run"
fi
[[ $(readelf -SW "$libdir/libwyx_commlib.a") != *.debug_info* ]] ||
    fail "the archive has debug information"
cmake -S "$source_folder/tests/shipping/install/consumer" -B "$work/consumer" -G Ninja \
    -D CMAKE_PREFIX_PATH="$root/usr" >"$work/log" 2>&1 &&
    cmake --build "$work/consumer" >>"$work/log" 2>&1 &&
    ctest --test-dir "$work/consumer" --no-tests=error >>"$work/log" 2>&1 ||
    { cat "$work/log"; fail "programs cannot be built with find_package, or do not run"; }
"$root/usr/bin/wyx-adapter-suite" >/dev/null || fail "wyx-adapter-suite fails"
[[ $("$root/usr/bin/wyx" --version) == *"$version"* ]] || fail "wyx --version does not print $version"
for file in man/man1/wyx.1.gz man/man3/wyx_crc.3.gz man/man3/XELP_CRC_32.3.gz \
    bash-completion/completions/wyx zsh/vendor-completions/_wyx fish/vendor_completions.d/wyx.fish; do
    [[ -s $root/usr/share/$file ]] || fail "no $file"
done

# The archive has the files that git knows, and the same packages can be made from it later.
archive=libwyx_commlib-$version
[[ -z $(TZ=UTC0 tar -tvf "$packages/$archive.tar.xz" | grep -v '^-rw.r-.r-. 0/0 .* 2023-11-14 22:13 ') ]] ||
    fail "the source archive has wrong owners, modes or times"
tar -C "$work" -xf "$packages/$archive.tar.xz"
if git -C "$source_folder" rev-parse --git-dir >/dev/null 2>&1; then
    diff <(git -C "$source_folder" ls-files | LC_ALL=C sort) \
        <(cd "$work/$archive" && find . -type f -o -type l | sed 's,^\./,,' | LC_ALL=C sort) ||
        fail "the source archive does not have the files that git knows"
fi
sleep 1
WYX_BUILD_TOOL=OFF "$work/$archive/scripts/package.sh" "$work/again" >/dev/null
for file in "$work"/again/*.deb "$work"/again/*.tar.xz; do
    cmp "$file" "$packages/$(basename "$file")" || fail "not the same bytes: $file"
done
(cd "$work/again" && sha256sum --quiet -c SHA256SUMS && (($(wc -l <SHA256SUMS) == 6))) ||
    fail "SHA256SUMS does not match the files"

# The bill of materials has every file with its sum, and what it needs.
licence=NONE
[[ ! -e $source_folder/LICENSE ]] || licence=$(<"$source_folder/LICENSE")
"$source_folder/tests/shipping/packages/check_sbom.py" "$packages" "$licence" ||
    fail "the bill of materials is wrong"

# The file LICENSE states the licence for the packages, the archive and the bill.
text="Made-up licence for a test, copyright of nobody $RANDOM"
echo "$text" >"$work/$archive/LICENSE"
WYX_BUILD_TOOL=OFF "$work/$archive/scripts/package.sh" "$work/again" >/dev/null
for package in "$work"/again/*.deb; do
    name=$(dpkg-deb -f "$package" Package)
    [[ $(dpkg-deb --fsys-tarfile "$package" | tar -xO "./usr/share/doc/$name/copyright") == *"$text"* ]] ||
        fail "$name does not have the licence"
done
[[ $(tar -xOf "$work/again/$archive.tar.xz" "$archive/LICENSE") == "$text" ]] ||
    fail "the archive does not have the licence"
"$source_folder/tests/shipping/packages/check_sbom.py" "$work/again" "$text" ||
    fail "the bill of materials does not have the licence"

((failures == 0)) && echo "packages: as they should be"
exit $((failures != 0))
