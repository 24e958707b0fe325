#!/usr/bin/env bash
# What does a machine have on which nothing was installed yet?  Makes such a system in a folder: the same Debian as here,
# from where this machine gets its own packages, and able to get more from there. Needs root and debootstrap.
#
#     scripts/make-root.sh FOLDER [PACKAGE...]         PACKAGE: what it has beyond the least that Debian can be
#
# A folder that holds anything else is refused. FOLDER.made-by-coreMD stays beside it, for the next call.
set -euo pipefail
system=$1
shift
fail() {
    echo "make-root: $*" >&2
    exit 1
}
((EUID == 0)) || fail "only root can set up another system"

suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
sources=$(apt-get indextargets --format 'deb $(REPO_URI) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian')
mirror=$(awk -v suite="$suite" '$3 == suite && $4 == "main" { print $2; exit }' <<<"$sources")
[[ -n $mirror ]] || fail "apt on this machine knows no mirror of Debian $suite: does it need apt-get update?"

# Whatever stands there goes, so it must be known that it came from here: a mark beside it says so.
mark=$system.made-by-coreMD
if [[ -e $system && ! -e $mark && -n $(ls -A "$system") ]]; then
    fail "$system holds something that this did not make"
fi
mkdir -p "$(dirname "$system")"
touch "$mark"
rm -rf --one-file-system "$system"
mkdir -p "$system"
packages=$(IFS=, && echo "ca-certificates${*:+,$*}")
log=$system.log
debootstrap --variant=minbase --include="$packages" "$suite" "$system" "$mirror" >"$log" 2>&1 ||
    { cat "$log" >&2; fail debootstrap; }

# Packages come the same way as here: sources, proxies, certificates, how apt asks for them. Downloads are not kept.
echo "$sources" >"$system/etc/apt/sources.list"
apt-config dump Acquire | grep -vE '^Acquire::(IndexTargets|Changelogs)' >"$system/etc/apt/apt.conf.d/80host"
printf 'DPkg::Post-Invoke { "rm -f /var/cache/apt/archives/*.deb"; };\n' >"$system/etc/apt/apt.conf.d/90no-archives"
for certificate in /usr/local/share/ca-certificates/*.crt; do
    [[ -e $certificate ]] && cp "$certificate" "$system/usr/local/share/ca-certificates/"
done
chroot "$system" update-ca-certificates >"$log" 2>&1 || { cat "$log" >&2; fail update-ca-certificates; }
rm -f "$system"/var/cache/apt/archives/*.deb "$log"
