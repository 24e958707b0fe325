#!/usr/bin/env bash
# Does a machine on which nothing was installed need more than what the README says?  Makes a minimal Debian system with git,
# clones HEAD inside it and runs the README's two commands there. Prints what each cost and how its output ends, then removes
# the system. Root, or sudo; needs debootstrap.
#
#     scripts/check-fresh.sh [COMMAND...]         './dev scan' and './dev test' if none is given
#
# FRESH_ROOT: folder of the system, build/fresh if not set.  FRESH_KEEP=1: the system stays.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
((EUID == 0)) || exec sudo FRESH_ROOT="${FRESH_ROOT:-}" FRESH_KEEP="${FRESH_KEEP:-}" "$0" "$@"
system=$(realpath -m "${FRESH_ROOT:-$root/build/fresh}")
(($#)) || set -- './dev scan' './dev test'
# Armed once the system was made: until then the folder may be anybody's.
remove() { [[ -n ${FRESH_KEEP:-} ]] || rm -rf --one-file-system "$system" "$system.output" "$system.made-by-coreMD"; }
trap 'exit 1' HUP INT TERM

# Mounts are seen by the command alone, and whatever it leaves running ends with it.
inside() {
    # shellcheck disable=SC2016  # the inner shell expands
    unshare --mount --pid --fork --kill-child bash -euc '
        mount -t proc proc "$0/proc"
        mount --rbind /dev "$0/dev"
        exec env -i HOME=/root TERM=dumb PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
            ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} chroot "$0" "$@"
        ' "$system" "$@"
}

echo "check-fresh: making a minimal system in $system"
mkdir -p "$(dirname "$system")"
"$root/scripts/make-root.sh" "$system" git
trap remove EXIT
# What packages cost is told apart: it depends on the network and on Debian.
cat >"$system/usr/local/bin/apt-get" <<'WRAPPER'
#!/bin/bash
TIMEFORMAT='%R %U %S'
{ time /usr/bin/apt-get "$@" 2>&3; } 3>&2 2>>/root/apt-times
WRAPPER
chmod +x "$system/usr/local/bin/apt-get"
git -c safe.directory="$root" -C "$root" bundle create -q "$system/root/coreMD.bundle" HEAD
inside git -c advice.detachedHead=false clone -q /root/coreMD.bundle /root/coreMD
head=$(git -c safe.directory="$root" -C "$root" log -1 --format='%h %s')
echo "check-fresh: $(chroot "$system" dpkg-query -W | wc -l) packages; a clone of $head"

TIMEFORMAT='%R %U %S'
for command in "$@"; do
    echo
    echo "\$ $command"
    : >"$system/root/apt-times"
    # shellcheck disable=SC2016
    if ! times=$({ time inside bash -c 'cd /root/coreMD && eval "$0"' "$command" >"$system.output" 2>&1; } 2>&1); then
        tail -n 100 "$system.output"
        echo "check-fresh: '$command' fails on a fresh machine" >&2
        exit 1
    fi
    grep '^dev: installing' "$system.output" || true
    echo ...
    tail -n 5 "$system.output"
    { cat "$system/root/apt-times" && echo "$times"; } | awk -v command="$command" '
        { wall = $1; cpu = $2 + $3; walls += wall; cpus += cpu }
        END { walls -= wall; cpus -= cpu
              printf "check-fresh: %s: %.0f CPU seconds in %.0f s; packages %.0f in %.0f s before that\n",
                     command, cpu - cpus, wall - walls, cpus, walls }'
done
echo
echo "check-fresh: nothing was missing"
