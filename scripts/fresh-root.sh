#!/usr/bin/env bash
# Runs both commands of the README in a new Debian 12 that has nothing but git: what the project needs
# and its own files do not install is missing there. As root; takes some 1.5 GB below the directory.
#
#   scripts/fresh-root.sh [DIRECTORY [COMMAND...]]      default: build/fresh-root, demo.sh and test.sh
#
# The packages come from where this machine gets its own. What is committed is what is tried.
source "$(dirname "$0")/common.sh"
[ "$(id -u)" -eq 0 ] || fail "run as root: a new root directory is made and entered"
install_deps root

directory=$started_in/${1:-}
[[ ${1:-} != /* ]] || directory=$1
[ $# -gt 0 ] || directory=$root/build/fresh-root
[ $# -eq 0 ] || shift
[ $# -gt 0 ] || set -- './scripts/demo.sh && ./scripts/test.sh'

# The first address in this machine's own list of package sources, in either of its two forms.
mirror=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.sources /etc/apt/sources.list.d/*.list 2>/dev/null |
    sed -nE 's/^URIs:[[:space:]]*([^[:space:]]+).*/\1/p; s/^deb([[:space:]]+\[[^]]*\])?[[:space:]]+([^[:space:]]+).*/\2/p' | head -1) || true
[ -n "$mirror" ] || fail "this machine names no package source"

if [ ! -x "$directory/usr/bin/git" ]; then
    note "debootstrap into $directory"
    mkdir -p "$directory"
    debootstrap --variant=minbase --include=git bookworm "$directory" "$mirror" >"$directory.log" 2>&1 || {
        tail -n 40 "$directory.log" >&2
        fail "debootstrap failed"
    }
    rm -f "$directory"/etc/apt/sources.list
    cp -a /etc/apt/sources.list.d/*.sources "$directory/etc/apt/sources.list.d/" 2>/dev/null || true
    [ ! -s /etc/apt/sources.list ] || cp /etc/apt/sources.list "$directory/etc/apt/"
    # Proxies and the like; not what this machine does after installing.
    for file in /etc/apt/apt.conf.d/*; do
        grep -qE 'Post-Invoke|Pre-Install|Pre-Invoke' "$file" || cp "$file" "$directory/etc/apt/apt.conf.d/"
    done
    cp /etc/resolv.conf /etc/hosts "$directory/etc/"
fi

note "clone"
rm -rf "$directory/work"
mkdir -p "$directory/work"
git clone -q --no-hardlinks "$root" "$directory/work/project"
git -C "$directory/work/project" log -1 --format='%h %s'

mounted=()
unmount() {
    local index
    for ((index = ${#mounted[@]} - 1; index >= 0; index--)); do
        # Busy when the run was stopped; whoever removes the directory must not meet the real /dev in it.
        umount "$directory/${mounted[index]}" 2>/dev/null || umount --lazy "$directory/${mounted[index]}" || true
    done
}
trap unmount EXIT
for place in proc dev; do
    if [ "$place" = proc ]; then
        mount -t proc proc "$directory/proc" || continue
    else
        mount --bind /dev "$directory/dev" || continue
    fi
    mounted+=("$place")
done

note "run: $*"
start=$SECONDS
chroot "$directory" /usr/bin/env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    TERM="${TERM:-dumb}" bash -c "cd /work/project && $*" </dev/null
echo "fresh root: done in $((SECONDS - start)) s"
