#!/bin/sh
# kill_test.sh WYX [N]: kills 'wyx ini set' N times (200) at random moments. Each time the file must
# hold the whole old content or the whole new one, and no file may be left that another program would
# load. The next change must remove what is left.
set -eu
wyx=$1 count=${2:-200}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
{
    echo '[a]'
    echo 'k=old'
    i=0
    while [ $i -lt 20000 ]; do
        echo "key$i = value"
        i=$((i + 1))
    done
} >old.ini
sed 's/^k=old$/k=new/' old.ini >new.expected
mv old.ini old.expected
cp old.expected f.ini
begin=$(date +%s%N)
"$wyx" ini set f.ini a k=new
most=$((($(date +%s%N) - begin) * 5 / 4 / 1000000)) # in milliseconds: 5/4 of the time of a run
killed=0 changed=0 left=0
i=0
while [ $i -lt "$count" ]; do
    cp old.expected f.ini
    "$wyx" ini set f.ini a k=new 2>/dev/null &
    pid=$!
    sleep "$(awk -v seed="$$$i" -v most="$most" 'BEGIN { srand(seed); print rand() * most / 1000 }')"
    kill -KILL $pid 2>/dev/null || true
    if wait $pid 2>/dev/null; then :; else killed=$((killed + 1)); fi
    if cmp -s f.ini new.expected; then
        changed=$((changed + 1))
    elif ! cmp -s f.ini old.expected; then
        echo "kill $i: f.ini is neither the old file nor the new one" >&2
        exit 1
    fi
    for name in .[!.]* *; do
        case $name in
        .f.ini.wyx-??????~) left=$((left + 1)) ;;
        f.ini | old.expected | new.expected | '.[!.]*') ;;
        *) echo "kill $i: left $name" >&2 && exit 1 ;;
        esac
    done
    i=$((i + 1))
done
"$wyx" ini set f.ini a k=last
test "$(ls -A | wc -l)" -eq 3 || {
    echo "the next change has left: $(ls -A)" >&2
    exit 1
}
echo "$count runs, $killed killed, $changed of them after the change; $left leftovers, all removed"
test "$killed" -gt $((count / 4))
