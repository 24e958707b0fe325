# Do debian/ and the library agree on the version and on the C interface, and the files of debian/ on where the project is?
# Nothing is built here.
. "$(dirname "$0")/common.sh"
debian=$source_root/debian
package_version=$(sed -n '1s/^coremd (\(.*\)-[^-]*) .*/\1/p' "$debian/changelog")
[[ $package_version == "$version" ]] || fail "debian/changelog is about $package_version, coreMD.h about $version"

# Whoever uses the classes behind GetDetector depends on this very version.
this_version="| libcoremd1 (>= $version), libcoremd1 (<< ${version%.*}.$((${version##*.} + 1))~)"
grep -qxF "$this_version" "$debian/libcoremd1.symbols" || fail "debian/libcoremd1.symbols lacks: $this_version"

agreed=$(grep -v '[:(]' "$source_root/tests/public/exported_symbols.txt")
listed=$(sed -En 's/^ ([A-Za-z0-9_]+)@COREMD_(1|CLASSES) .*/\1/p' "$debian/libcoremd1.symbols" | LC_ALL=C sort)
diff <(echo "$agreed") <(echo "$listed") || fail "debian/libcoremd1.symbols lists other functions than exported_symbols.txt"

# One place, one address, neither of them an example.
place=$(sed -n 's/^Homepage: //p' "$debian/control")
[[ $place == https://* ]] || fail "debian/control names no place: '$place'"
for line in "control:Vcs-Browser: $place" "control:Vcs-Git: $place.git" "copyright:Source: $place" \
    "upstream/metadata:Repository: $place.git" "upstream/metadata:Repository-Browse: $place"; do
    grep -qxF "${line#*:}" "$debian/${line%%:*}" || fail "debian/${line%%:*} lacks: ${line#*:}"
done
grep -qF "$place.git refs/tags/v" "$debian/watch" || fail "debian/watch looks elsewhere than at $place.git"
maintainer=$(sed -n 's/^Maintainer: //p' "$debian/control")
[[ $(sed -n 's/^ -- \(.*>\)  .*/\1/p' "$debian/changelog" | head -n 1) == "$maintainer" ]] ||
    fail "debian/changelog is signed by somebody else than $maintainer"
! grep -rnE '[.@]example|example\.(org|com|net)' "$debian" || fail "an address that is an example"

# What is needed for the packages of one architecture only is not asked for when those for all are built, and vice versa.
! grep -nE -- '--with' "$debian/rules" || fail "debian/rules loads what not every build has"
[[ $(sed -n 's/^Build-Depends: //p' "$debian/control") == debhelper-compat* ]] || fail "Build-Depends is for all builds"

# Whoever links a library depends on what its -dev package asks for; on i386 it takes SSE2.
for symbols in "$debian"/*.symbols; do
    grep -qxF '* Build-Depends-Package: libcoremd-dev' "$symbols" || fail "${symbols##*/} names no -dev package"
    grep -A 5 "^Package: $(basename "$symbols" .symbols)\$" "$debian/control" |
        grep -q '^Depends: sse2-support \[i386\], ' ||
        fail "${symbols##*/}: its package may be installed where SSE2 is missing"
done
