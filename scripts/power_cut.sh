#!/usr/bin/env bash
# Cuts the power in the middle of saves, on an ext4 file system in a file: scripts/power_cut.sh [CUTS]
#
# A client of the library saves a file on the mounted image and is killed at each of its system
# calls in turn. At that moment the image is copied as the device holds it, without what waits in the
# page cache: that is what a power cut leaves. The copy is mounted, which replays its journal, and the
# old content or the whole new content must be there, under the target's name or the new file's.
#
# Needs root and loop devices; where it cannot mount it says so and ends with 77. BUILD names a build
# folder of any preset without sanitizers (build/release).
set -euo pipefail

most=${1:-1000}
source_folder=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$source_folder/build/release}
client=$build/tests/syscalls/save_client
fault=$build/tests/syscalls/libwyx_fault.so
for file in "$client" "$fault"; do
    [[ -e $file ]] || { echo "$file is not built" >&2; exit 1; }
done
if ((EUID != 0)) || ! command -v mkfs.ext4 >/dev/null; then
    echo "skipped: needs root and mkfs.ext4" >&2
    exit 77
fi

work=$(mktemp -d)
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
exec 3>&2 2>/dev/null # the shell tells of every killed client
for ((at = 1; at <= most; ++at)); do
    rm -f "$work"/disk/net* "$work/log"
    printf '%s' "$old" >"$target"
    sync -f "$target"
    status=0
    LD_PRELOAD=$fault WYX_FAULT_LOG=$work/log WYX_FAULT_AT=$at WYX_FAULT_DO="die before" \
        "$client" "$target" a k new || status=$?

    # The image holds what the file system wrote to its device; what waits in its cache is not there.
    cp --sparse=always "$work/image" "$work/cut"
    mount -o loop "$work/cut" "$work/copy"
    content=$(cat "$work/copy/net.ini" 2>/dev/null; printf .) || true
    whole=0
    for beside in "$work"/copy/net*.ibk; do
        [[ -e $beside && $(cat "$beside"; printf .) == "$new." ]] && whole=1
    done
    exists=0
    [[ -e $work/copy/net.ini ]] && exists=1
    umount "$work/copy"

    if ((status == 0)); then
        [[ $content == "$new." ]] || { echo "cut after a save that succeeded: $content" >&3; exit 1; }
        break # it was not killed any more: that was the last call
    fi
    if ((exists)); then
        [[ $content == "$old." || $content == "$new." ]] ||
            { echo "cut at call $at: neither old nor new: $content" >&3; exit 1; }
    else
        ((whole)) || { echo "cut at call $at: the content is lost" >&3; exit 1; }
        missing=$((missing + 1))
    fi
done
echo "$((at - 1)) cuts, after $missing of them the target was missing and the new file whole"
