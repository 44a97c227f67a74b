#!/usr/bin/env bash
# Runs the commands of the README in a bare Debian system: scripts/fresh_machine.sh [FOLDER]
#
# FOLDER (default: a new temporary one) keeps the system's files, some 3 GiB. There, the user root builds
# only the libraries, then runs scripts/test.sh and scripts/demo.sh, in a clone in the home folder of root,
# which others cannot enter. An ordinary user runs both scripts in the source archive, without name
# resolution, in a folder whose name has a space and a letter beyond ASCII. Packages come from where this
# machine gets its own. Needs root's rights; installs debootstrap and git if they are missing. /proc and
# /dev/pts are mounted for this script alone; with WYX_MOUNT=0 they are not mounted, and the tests that need
# them are skipped.
set -euo pipefail

[[ -z ${1:-} ]] || set -- "$(realpath -m "$1")"
cd "$(dirname "$0")/.."
source scripts/temp_folder.sh
((EUID == 0)) || { echo "only root can install a system in a folder" >&2; exit 1; }
scripts/install_packages.sh debootstrap git
if [[ ${WYX_MOUNT:-1} == 1 ]]; then
    WYX_MOUNT=2 exec unshare --mount scripts/fresh_machine.sh "$@" # mounts end with this script
fi
root=${1:-$(temp_folder)}/root
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
# The first of apt's addresses with the release's own codename, which its updates, for one, do not have.
mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' "Created-By: Packages" |
    sed -n "s/ $release\$//p" | sort -u | head -n 1)
: "${mirror:?apt names no address of packages for $release}"

if [[ ! -e $root/etc/debian_version ]]; then
    debootstrap --variant=minbase "$release" "$root" "$mirror" >/dev/null
fi
if [[ $WYX_MOUNT == 2 ]]; then
    mkdir -p "$root/dev/pts"
    mount -t proc proc "$root/proc"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$root/dev/pts"
fi
cp -r /etc/apt/apt.conf.d /etc/apt/sources.list* "$root/etc/apt/"
cp -L /etc/resolv.conf "$root/etc/"
cp -u /var/cache/apt/archives/*.deb "$root/var/cache/apt/archives/" 2>/dev/null || true

# in_root USER COMMAND...: runs the command as after a login, without this script's environment
in_root() {
    local user=$1 start=$SECONDS
    shift
    echo
    echo "##### $user: $*"
    chroot "$root" su - "$user" -s /bin/bash -c "$*"
    echo "##### $user: $*: $((SECONDS - start)) s"
}

chroot "$root" apt-get -qq update
chroot "$root" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq install --no-install-recommends g++ cmake make >/dev/null
rm -rf "$root/root/libwyx_commlib"
git clone -q . "$root/root/libwyx_commlib"
chmod 700 "$root/root"
in_root root "cd libwyx_commlib && PREFIX=/opt/wyx && $(sed -n '/^The libraries alone need/,/^```$/p' README.md |
    grep '^cmake ' | paste -sd '&' | sed 's/&/ \&\& /g')"
chroot "$root" apt-get -qq install --no-install-recommends git >/dev/null # like anyone who has cloned it
in_root root "cd libwyx_commlib && bash scripts/test.sh"
in_root root "cd libwyx_commlib && bash scripts/demo.sh"

chroot "$root" userdel -r newcomer 2>/dev/null || true
chroot "$root" useradd -m newcomer
home="$root/home/newcomer/wyx für alle"
mkdir -p "$home"
git archive HEAD | tar -x -C "$home"
chroot "$root" chown -R newcomer: "/home/newcomer"
rm "$root/etc/resolv.conf" # no name resolution any more
in_root newcomer "cd 'wyx für alle' && bash scripts/test.sh"
in_root newcomer "cd 'wyx für alle' && bash scripts/demo.sh"
