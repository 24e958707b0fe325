# Do debian/ and the library agree on the version and on the C interface?  Nothing is built here.
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
