#!/usr/bin/env bash
# Are the built packages fit for use?  Installs them into a clean system, looks which library the loader takes there, removes
# them, looks for what they left behind, and has autopkgtest run debian/tests in a copy of that system. Needs root.
#
#     scripts/check-packages.sh <directory>     holds the packages; the clean system stays in <directory>/root for next time
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(cd "$1" && pwd)
system=$work/root
packages=(libcoremd1 libcoremd-host1 libcoremd-dev coremd-tools python3-coremd gstreamer1.0-coremd coremd-doc)
say() { printf '\n== %s\n' "$*"; }
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
((EUID == 0)) || fail "a clean system can only be set up and entered by root"

inside() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} chroot "$system" "$@"
}
quietly() { "$@" >"$work/apt.log" 2>&1 || { cat "$work/apt.log" >&2; fail "$*"; }; }

# A clean system with compilers. Set up anew if a run broke off.
if [[ ! -e $work/root.ready ]]; then
    say "setting up a clean Debian in $system"
    "$root/scripts/make-root.sh" "$system"
    quietly inside apt-get update
    quietly inside apt-get install -y --no-install-recommends gcc g++ libc6-dev make cmake pkg-config
else
    say "using the clean Debian in $system"
fi
rm -f "$work/root.ready"

# What the packages depend on comes first, so that everything that differs later is theirs.
files=()
for package in "${packages[@]}"; do
    files+=("$(find "$work" -maxdepth 1 -name "${package}_*.deb")")
    [[ -n ${files[-1]} ]] || fail "no package $package in $work"
done
own=$(IFS='|' && echo "${packages[*]}")
dependencies=$(for file in "${files[@]}"; do dpkg-deb -f "$file" Pre-Depends Depends; done |
    sed 's/^[A-Za-z-]*: //' | tr ',' '\n' | sed 's/^ *//' | grep -vE "^($own)( |\$)" | LC_ALL=C sort -u | paste -sd,)
say "their dependencies: ${dependencies//,/, }"
quietly inside apt-get update
quietly inside apt-get satisfy -y --no-install-recommends "$dependencies"
listing() { # of everything but this script's own folder, with types and where links lead
    (cd "$system" && find . \( -path ./test -o -path ./proc -o -path ./sys \) -prune -o -printf '%p %y %l\n') | LC_ALL=C sort
}
mkdir -p "$system/test"
listing >"$work/before.txt"

say "installing ${packages[*]}"
cp "${files[@]}" "$root/samples/crossing.mp4" "$system/test"
cp -r "$root/tests/install/hosts" "$system/test"
quietly inside sh -c 'apt-get install -y --no-install-recommends /test/*.deb'
grep "newly installed" "$work/apt.log"
grep -q "^0 upgraded, ${#packages[@]} newly installed, 0 to remove" "$work/apt.log" ||
    fail "something else than the packages was installed: their dependencies are not complete"

say "the unit of workers"
bash "$root/tests/deploy/unit.sh" "$system/lib/systemd/system" "$system/usr/bin/mdscan"

# Every line that runs inside is printed.
version=$("$root/scripts/library-version.sh")
inside bash -euo pipefail -s "$version" <<'INSIDE'
cd /test
run() { printf '$ %s\n' "$*" >&2; eval "$@" </dev/null; }
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
examples=/usr/share/doc/coremd-doc/examples
printf '\n== a host, the scanner\n'
[[ $(run 'pkg-config --modversion coreMD') == "$1" ]] || fail "another version than $1"
run "cc $examples/minimal.c"' $(pkg-config --cflags --libs coreMD) -o minimal_c'
run './minimal_c'
run 'mdscan crossing.mp4 | tee events.jsonl'
[[ $(grep -c '"type":"event"' events.jsonl) == 4 ]] || fail "other events than four"

printf '\n== a broken precondition\n'
run 'cc hosts/broken_precondition.c -lcoreMD -o broken_precondition'
! run './broken_precondition 2>&1 | tee broken.txt' || fail "goes on"
grep -qF 'Assertion `!*ptr'"' failed" broken.txt || fail "says something else"
INSIDE

say "removing ${packages[*]}"
quietly inside apt-get purge -y "${packages[@]}"
listing >"$work/after.txt"
diff "$work/before.txt" "$work/after.txt" || fail "left behind (>) or lost (<)"
rm -rf "$system/test"
touch "$work/root.ready"
echo "nothing is left: $(wc -l <"$work/after.txt") files and folders, as before"

say "what deploy/Dockerfile runs, in a copy of that system"
rm -rf "$work/container"
cp -a "$system" "$work/container"
mkdir "$work/container/packages"
cp "${files[@]}" "$work/container/packages"
step=$(sed -n '/^RUN /,/[^\\]$/p' "$root/deploy/Dockerfile" | sed '1s/^RUN --mount=[^ ]* *//')
system=$work/container quietly inside sh -ec "$step"
system=$work/container inside setpriv --reuid 65534 --regid 65534 --clear-groups mdscan --version
rm -rf "$work/container"

say "autopkgtest"
rm -rf "$work/autopkgtest" "$work/autopkgtest.results"
cp -a "$system" "$work/autopkgtest"
autopkgtest --output-dir "$work/autopkgtest.results" "$work"/coremd_*.dsc "${files[@]}" \
    -- chroot "$work/autopkgtest" >"$work/autopkgtest.log" 2>&1 || { cat "$work/autopkgtest.log" >&2; fail autopkgtest; }
cat "$work/autopkgtest.results/summary"
[[ $(grep -c ' PASS$' "$work/autopkgtest.results/summary") == $(grep -c '^Tests:' "$root/debian/tests/control") ]] ||
    fail "tests were left out"
rm -rf "$work/autopkgtest" "$work/autopkgtest.results"
