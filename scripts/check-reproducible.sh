#!/usr/bin/env bash
# Do the packages come out as the same bytes wherever, whenever and by whomever they are built?  Builds them twice with
# Debian's reprotest: the second time in another path of another length, as another user, in another year, time zone,
# language, home and umask, with other environment and command path. Needs root, or sudo.
#
#     scripts/check-reproducible.sh [--build=all|any|binary]       as dpkg-buildpackage knows it; binary if not given
#
# build/reproducible stays where something differs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
((EUID == 0)) || exec sudo "$0" "$@"
work=$root/build/reproducible
rm -rf "$work"
mkdir -p "$work/sources/coremd"
tar -C "$root" --create --exclude-vcs --exclude=./build --exclude=__pycache__ . |
    tar -C "$work/sources/coremd" --extract --no-same-owner

# What another user can reach. First a sudo that takes the "-h localhost" which reprotest says and new ones refuse.
mkdir "$work/bin"
printf '#!/bin/sh\n[ "$1 $2" != "-h localhost" ] || shift 2\nexec /usr/bin/sudo "$@"\n' >"$work/bin/sudo"
chmod +x "$work/bin/sudo"
export PATH=$work/bin:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin

vary=-all,+build_path,+environment,+exec_path,+home,+locales,+time,+timezone,+umask
vary+=,+user_group,user_group.available+=games:games            # a user that every Debian has
build="cd coremd && { DEB_BUILD_OPTIONS='nocheck terse' \
    dpkg-buildpackage --no-sign ${1:---build=binary} >../log 2>&1 ||
    { tail -n 40 ../log >&2; exit 1; }; }"
reprotest --min-cpus="$(nproc)" --vary="$vary" --no-diffoscope --store-dir="$work/packages" \
    -c "$build" "$work/sources" '*.deb' >"$work/log" 2>&1 ||
    { tail -n 60 "$work/log" >&2; echo "check-reproducible: see $work/packages" >&2; exit 1; }
echo "check-reproducible: the same bytes twice:" "$(cd "$work/packages/control" && find . -name '*.deb' -printf '%f ')"
rm -rf "$work"
