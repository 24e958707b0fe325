# What does bad use get?  A message that names the trouble: when a host is configured, compiled, or started.
. "$(dirname "$0")/common.sh"
use_pkg_config_of "$prefix"
examples=$prefix/share/doc/coreMD/examples
trouble=$work/mistakes
rm -rf "$trouble"
mkdir "$trouble"

configure() { # prefix, wished version
    rm -rf "$trouble/configured"
    cmake -S "$here/find_package" -B "$trouble/configured" -G Ninja -DCMAKE_PREFIX_PATH="$1" -DCOREMD_WISH="$2" \
        -DEXAMPLES="$examples" -DHOSTS="$here/hosts"
}

echo "-- configured: another version"
says 'compatible with requested version "2.0"' configure "$prefix" 2.0
says "version: $version" configure "$prefix" 2.0
says "requested version \"1.99\"" configure "$prefix" 1.99
says "has version '$version', required version is '>= 2.0'" pkg-config --print-errors --exists 'coreMD >= 2.0'

echo "-- configured: no header, the header of another installation"
cp -r "$prefix" "$trouble/tree"
rm "$trouble/tree/include/coreMD.h"
says "include/coreMD.h is missing: install the development files again" configure "$trouble/tree" 1.0
sed 's/^\(#define COREMD_VERSION_MINOR\) .*/\1 99/' "$prefix/include/coreMD.h" >"$trouble/tree/include/coreMD.h"
other_version=${version%%.*}.99.${version##*.}
says "is of version $other_version, the library of $version: install one of them again" configure "$trouble/tree" 1.0

echo "-- compiled: without the header's directory, for an older C++"
says "coreMD.h: No such file" "$CC" -E "$examples/minimal.c"
# shellcheck disable=SC2046  # words are meant
says "coreMD.hpp needs C++20" "$CXX" -std=c++17 $(pkg-config --cflags coreMD) -fsyntax-only "$examples/minimal.cpp"

echo "-- started: no library, an older one"
for source in "$examples"/{minimal.c,background_snapshot.cpp} "$here/hosts/uses_classes.cpp"; do
    compile=("$CC")
    [[ $source == *.c ]] || compile=("$CXX" -std=c++20)
    name=${source##*/}
    # shellcheck disable=SC2046
    "${compile[@]}" "$source" -o "$trouble/${name%.*}" -Wl,-z,lazy \
        $(pkg-config --cflags --libs coreMD-host-classes coreMD)
done
says "libcoreMD.so.1: cannot open shared object file" "$trouble/minimal"

older() { # name, version script, options: an older library, in a directory of that name
    mkdir "$trouble/$1"
    printf '%s' "$2" >"$trouble/$1.map"
    "$CC" -shared -fPIC -Wl,-soname,libcoreMD.so.1 -Wl,--version-script="$trouble/$1.map" "$here/hosts/older_library.c" \
        -o "$trouble/$1/libcoreMD.so.1" "${@:3}"
}
with() { LD_LIBRARY_PATH="$trouble/$1" "$trouble/$2"; } # library, program
older other_node 'COREMD_0 { global: *; };'
says "version \`COREMD_1' not found (required by" with other_node minimal
older without_classes 'COREMD_1 { global: *; };'
says "version \`COREMD_CLASSES' not found (required by" with without_classes uses_classes
older without_query 'COREMD_1 { global: *; }; COREMD_CLASSES { };'
says "undefined symbol: coreMD_Version, version COREMD_1" with without_query background_snapshot
older with_query 'COREMD_1 { global: *; }; COREMD_CLASSES { };' -DVERSION=9901
says "compiled for another coreMD" with with_query background_snapshot
with with_query minimal >"$trouble/minimal.txt" || fail "an older library with all that a host needs is refused"
