#!/usr/bin/env bash
# Do packages for 64-bit ARM come out of an x86-64 machine fit for use?  Builds them in a clean system with Debian's cross
# compiler, and a host in C against them; installs them into a clean ARM system that QEMU runs, uses the scanner
# and the host, and removes them. Needs root, the packages that `./dev check` installs, and the network.
#
#     scripts/check-cross-packages.sh [FOLDER]      build/cross-package; the packages and both systems are left there
#
# Where no QEMU is registered with the kernel, a user namespace of its own gets one: nothing changes for the machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "${1:-$root/build/cross-package}"
work=$(cd "${1:-$root/build/cross-package}" && pwd)
builder=$work/builder user=$work/arm64
packages=(libcoremd1 libcoremd-host1 libcoremd-dev coremd-tools)
say() { printf '\n== %s\n' "$*"; }
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
((EUID == 0)) || fail "only root can set up another system"
[[ $(dpkg --print-architecture) == amd64 ]] || fail "this crosses from amd64"

quietly() { "$@" >"$work/log" 2>&1 || { tail -n 40 "$work/log" >&2; fail "$*"; }; }
environment=(env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
    ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"})
in_builder() { "${environment[@]}" chroot "$builder" "$@"; }

# A process of another user namespace in which the kernel hands ARM programs to QEMU. Files see the same root in it.
in_namespace() {
    local go status=0 process
    go=$(mktemp -u)
    mkfifo "$go"
    # shellcheck disable=SC2016
    unshare --user --mount sh -c 'read -r _ <"$0"; exec "$@"' "$go" bash -c '
        set -e
        mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc
        elf="\\x7fELF\\x02\\x01\\x01\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x02\\x00\\xb7\\x00"
        mask="\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\x00\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\xfe\\xff\\xff\\xff"
        printf "%s" ":qemu-aarch64:M::$elf:$mask:/usr/bin/qemu-aarch64-static:F" >/proc/sys/fs/binfmt_misc/register
        exec "$@"' bash "$@" &
    process=$!
    until [[ $(readlink /proc/$process/ns/user) != $(readlink /proc/self/ns/user) ]]; do
        kill -0 $process 2>/dev/null || { rm "$go"; fail "this kernel makes no user namespaces"; }
        sleep 0.05
    done
    echo "0 0 65536" >/proc/$process/uid_map
    echo "0 0 65536" >/proc/$process/gid_map
    echo go >"$go"
    rm "$go"
    wait $process || status=$?
    return $status
}
emulated() { # with mounts of its own, which end with it
    if [[ -e /proc/sys/fs/binfmt_misc/qemu-aarch64 ]]; then unshare --mount "$@"; else in_namespace "$@"; fi
}
in_user() {
    # shellcheck disable=SC2016
    emulated sh -c 'mount --rbind /dev "$0/dev" && exec "$@"' "$user" "${environment[@]}" chroot "$user" "$@"
}

say "a clean system with a cross compiler"
rm -f "$work"/*.deb
"$root/scripts/make-root.sh" "$builder"
quietly in_builder dpkg --add-architecture arm64
quietly in_builder apt-get update
quietly in_builder apt-get install -y --no-install-recommends crossbuild-essential-arm64 dpkg-dev debhelper fakeroot

version=$(dpkg-parsechangelog -l "$root/debian/changelog" -S Version)
say "building coremd $version for arm64"
source=/build/coremd-${version%-*}
mkdir -p "$builder$source"
tar -C "$root" --create --exclude-vcs --exclude=./build --exclude=__pycache__ . |
    tar -C "$builder$source" --extract --no-same-owner
profiles=cross,nocheck
quietly in_builder sh -c "cd $source && apt-get build-dep -y --no-install-recommends -a arm64 -P $profiles --arch-only ."
quietly in_builder sh -c "cd $source && DEB_BUILD_OPTIONS='nocheck terse' \
    dpkg-buildpackage --host-arch arm64 --build=any --no-sign -P$profiles"
files=()
for package in "${packages[@]}"; do
    files+=("$(find "$builder/build" -maxdepth 1 -name "${package}_*_arm64.deb")")
    [[ -n ${files[-1]} ]] || fail "no package $package"
done
cp "${files[@]}" "$work"
(cd "$work" && ls -sh1 -- *.deb)

say "a host in C, built against them beside this machine's own packages"
mkdir "$builder/test"
cp "${files[@]}" "$root/examples/minimal.c" "$builder/test"
quietly in_builder sh -c 'apt-get install -y --no-install-recommends /test/libcoremd*.deb'
quietly in_builder sh -c 'cd /test && aarch64-linux-gnu-gcc minimal.c -o minimal_c \
    $(aarch64-linux-gnu-pkg-config --cflags --libs coreMD)'

say "a clean 64-bit ARM system"
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
mirror=$(awk '$1 == "deb" { print $2; exit }' "$builder/etc/apt/sources.list")
[[ ! -e $user || -e $user.made-by-coreMD ]] || fail "$user holds something that this did not make"
touch "$user.made-by-coreMD"
rm -rf --one-file-system "$user"
quietly emulated mmdebstrap --mode=root --architectures=arm64 --variant=minbase --include=ca-certificates \
    --skip=check/qemu,check/empty "$suite" "$user" "$mirror"
for part in sources.list apt.conf.d/80host; do cp "$builder/etc/apt/$part" "$user/etc/apt/$part"; done
mkdir -p "$user/usr/local/share/ca-certificates" "$user/test"
find "$builder/usr/local/share/ca-certificates" -type f -exec cp {} "$user/usr/local/share/ca-certificates" \;
quietly in_user update-ca-certificates
quietly in_user apt-get update

say "installing ${packages[*]}, using and removing them"
cp "${files[@]}" "$builder/test/minimal_c" "$root/samples/crossing.mp4" "$user/test"
quietly in_user sh -c 'apt-get install -y --no-install-recommends /test/*.deb'
cat >"$user/test/use" <<'INSIDE'
#!/bin/bash
set -euo pipefail
cd /test
run() { printf '$ %s\n' "$*" >&2; eval "$@"; }
run 'uname -m'
run 'mdscan --version'
run 'mdscan crossing.mp4 >events.jsonl'
run './minimal_c >moved.txt'
INSIDE
chmod +x "$user/test/use"
in_user /test/use
cat "$user/test/events.jsonl"
[[ $(grep -c '"type":"event"' "$user/test/events.jsonl") == 4 ]] || fail "other events than four"
diff "$root/examples/expected/minimal_c.txt" "$user/test/moved.txt" || fail "the host in C found something else"
quietly in_user apt-get purge -y "${packages[@]}"
left=$(in_user find /usr /etc /var/lib -iname '*coremd*' -o -name 'mdscan*')
[[ -z $left ]] || fail "left behind: $left"
say "the packages for arm64 are fit for use"
