#!/usr/bin/env bash
# Cuts the power in the middle of saves, on an ext4 file system in a file: scripts/power_cut.sh
#
# A client of the library saves a file on the mounted image and is killed before each of its system
# calls in turn. At that moment the image is copied twice: as the device holds it, without what is still
# in the page cache, and after everything was flushed. A power cut leaves one of the two, or something in
# between. The copies are mounted, which replays their journal. The target must have the old content or
# the whole new content; if it is missing, the new file must have the whole new content.
#
# ext4 flushes more than it is asked to: when a new file is flushed, its directory entry is, too. That
# can hide a missing flush, so power_cut_test then checks every combination of what a device may lose.
#
# Needs root and loop devices; if it cannot mount, it says so and exits with 77. BUILD names the build
# folder (default: build/release); its preset must have neither sanitizers nor coverage.
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$source_folder/build/release}
client=$build/tests/library/syscalls/save_client
fault=$build/tests/library/syscalls/libwyx_fault.so
model=$build/tests/library/syscalls/power_cut_test
for file in "$client" "$fault" "$model"; do
    [[ -e $file ]] || { echo "$file is not built" >&2; exit 1; }
done
if ((EUID != 0)) || ! command -v mkfs.ext4 >/dev/null; then
    echo "skipped: needs root and mkfs.ext4" >&2
    exit 77
fi

source "$(dirname "$0")/temp_folder.sh"
work=$(temp_folder)
cleanup() {
    for folder in "$work/disk" "$work/copy"; do
        mountpoint -q "$folder" && umount "$folder"
    done
    rm -rf "$work"
}
trap cleanup EXIT
mkdir "$work/disk" "$work/copy"
truncate -s 32M "$work/image"
mkfs.ext4 -q "$work/image"
if ! mount -o loop "$work/image" "$work/disk" 2>/dev/null; then
    echo "skipped: cannot mount a loop device here" >&2
    exit 77
fi

old=$'[a]\nk=old\n'
new=$'[a]\nk=new\n'
target=$work/disk/net.ini
missing=0

# Mounts a copy of the image, and fails if it holds neither content whole, or if the save succeeded but
# the new content is not there.
look_at() {
    local content beside whole=0 exists=0
    mount -o loop "$1" "$work/copy"
    content=$(cat "$work/copy/net.ini" 2>/dev/null; printf .) || true
    for beside in "$work"/copy/net*.ibk; do
        [[ -e $beside && $(cat "$beside"; printf .) == "$new." ]] && whole=1
    done
    [[ -e $work/copy/net.ini ]] && exists=1
    umount "$work/copy"
    if ((status == 0)); then
        [[ $content == "$new." ]] || fail "cut after a save that succeeded: $content"
    elif ((exists)); then
        [[ $content == "$old." || $content == "$new." ]] ||
            fail "cut at call $at: neither old nor new: $content"
    else
        ((whole)) || fail "cut at call $at: the content is lost"
        missing=$((missing + 1))
    fi
}

fail() {
    echo "$*" >&3
    exit 1
}

exec 3>&2 2>/dev/null # the shell reports every killed client
for ((at = 1; ; ++at)); do
    rm -f "$work"/disk/net* "$work/log"
    printf '%s' "$old" >"$target"
    sync -f "$target"
    status=0
    LD_PRELOAD=$fault WYX_FAULT_LOG=$work/log WYX_FAULT_AT=$at WYX_FAULT_DO="die before" \
        "$client" "$target" a k new || status=$?

    cp --sparse=always "$work/image" "$work/lost"
    sync -f "$work/disk"
    cp --sparse=always "$work/image" "$work/kept"
    look_at "$work/lost"
    look_at "$work/kept"
    ((status != 0)) || break # it was not killed: that was the last call
done
((missing > 0)) || fail "the target was never missing"
"$model" >&3
exec 2>&3
echo "$((2 * at)) cuts, after $missing of them the target was missing and the new file whole"
