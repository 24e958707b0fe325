#!/usr/bin/env bash
# Do the Debian packages build, and are they in order?  Builds them from a copy of the tree, has lintian look at them, and
# tries them out in a clean system, as root or with sudo. Needs the Debian packages that `./dev package` installs.
#
#     scripts/package.sh [directory]        default: build/package; the packages are left there
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "${1:-$root/build/package}"
work=$(cd "${1:-$root/build/package}" && pwd)
version=$(dpkg-parsechangelog -l "$root/debian/changelog" -S Version)
upstream=${version%-*}
source=$work/coremd-$upstream
say() { printf '\n== %s\n' "$*"; }

say "building coremd $version in $source"
rm -rf "$work"/coremd-* "$work"/coremd_* "$work"/*.{deb,log} "$work"/missing
mkdir "$source"
tar -C "$root" --create --exclude-vcs --exclude=./build --exclude=__pycache__ . | tar -C "$source" --extract --no-same-owner
tar -C "$work" --create --xz --file "$work/coremd_$upstream.orig.tar.xz" --exclude=debian --sort=name --owner=0 --group=0 \
    --numeric-owner --mtime="@$(dpkg-parsechangelog -l "$root/debian/changelog" -S Timestamp)" "coremd-$upstream"

# As builders do it, in two goes: what one of them needs, the other does without. A program that is not there ends with 127.
build() { # words of dpkg-buildpackage, programs that it has to do without
    local missing=$work/missing
    mkdir "$missing"
    for program in "${@:2}"; do
        printf '#!/bin/sh\nexit 127\n' >"$missing/$program"
        chmod +x "$missing/$program"
    done
    (cd "$source" && PATH=$missing:$PATH DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:-} terse" dpkg-buildpackage --no-sign "$1") \
        >>"$work/build.log" 2>&1 || { tail -n 40 "$work/build.log" >&2; exit 1; }
    rm -r "$missing"
}
build --build=source,all c++ cc g++ gcc cmake ninja esbuild
build --build=any mkdocs dh_mkdocs
grep -E '^100% tests passed|^Total Test time' "$work/build.log" ||
    [[ ${DEB_BUILD_OPTIONS:-} == *nocheck* ]] || { echo "no test ran" >&2; exit 1; }
(cd "$work" && ls -sh1 -- *.deb)

say "lintian: whatever it says fails"
allow_root=()
((EUID != 0)) || allow_root=(--allow-root)
lintian "${allow_root[@]}" --pedantic --display-experimental --display-info \
    --fail-on error,warning,info,pedantic,experimental "$work"/coremd_*.changes
echo "lintian $(dpkg-query -W -f '${Version}' lintian) has nothing to say, but for what debian/ knows better:"
cat "$source"/debian/source/lintian-overrides "$source"/debian/*.lintian-overrides

as_root=()
((EUID == 0)) || as_root=(sudo)
"${as_root[@]}" "$root/scripts/check-packages.sh" "$work"
