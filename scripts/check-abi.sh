#!/usr/bin/env bash
# Does a host compiled against the last release still run with this library?
#
#     scripts/check-abi.sh             compares the library with abi/, the interface of the last release; then breaks copies
#                                      of the library on purpose, each of which must be noticed
#     scripts/check-abi.sh --update    writes abi/ anew: with a release, never to silence the check
#
# The interface is what coreMD.h declares: functions, records, version node, SONAME. GetDetector and the classes behind it
# are no part of it. A function that was added is fine. Needs abidw and abidiff.       CXX: the compiler, g++ if not set
set -euo pipefail
cd "$(dirname "$0")/.."
compiler=${CXX:-g++}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
major=$(sed -n 's/^#define COREMD_VERSION_MAJOR *//p' include/coreMD.h)
baseline=abi/libcoreMD.so.$major.abi

# Types are read from the interface's own source alone: the rest is compiled once, without debug information.
read -ra flags <<<"$(scripts/library-flags.sh)"
compile=("$compiler" -Iinclude "${flags[@]}" -O0)
compile_one='source=$1; shift; "$@" -c "$source" -o "$0/$(echo "$source" | tr / _).o"'
find src -name '*.cpp' ! -path 'src/core/*' -print0 |
    xargs -0 -P "$(nproc)" -I '{}' sh -c "$compile_one" "$work" '{}' "${compile[@]}"

# library NAME [SONAME]: builds from core and include below $work/NAME, and writes NAME.abi.
library() {
    local copy=$work/$1
    (cd "$copy" && "${compile[@]}" "-ffile-prefix-map=$copy/=" -g -c src/core/coreMD.cpp -o core.o)
    "$compiler" -shared -Wl,-soname,"${2:-libcoreMD.so.$major}" -Wl,--version-script="$copy/src/coreMD.map" "$work"/*.o \
        "$copy/core.o" -o "$copy/libcoreMD.so"
    abidw --headers-dir "$copy/include" --exported-interfaces-only --drop-private-types --drop-undefined-syms \
        --suppressions abi/interface.abignore --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed \
        --out-file "$copy.abi" "$copy/libcoreMD.so"
}
copy() { # NAME: of what the interface is made of
    mkdir -p "$work/$1/src/core"
    cp -r include "$work/$1"
    cp src/core/coreMD.cpp "$work/$1/src/core"
    cp src/coreMD.map "$work/$1/src"
}
compare() { abidiff --no-added-syms "$baseline" "$work/$1.abi"; }

copy current
library current
if [[ ${1:-} == --update ]]; then
    cp "$work/current.abi" "$baseline"
    echo "wrote $baseline"
    exit 0
fi
if ! compare current; then
    echo "check-abi: not the interface of $baseline; CONTRIBUTING.md says what that means" >&2
    exit 1
fi
echo "check-abi: the interface of $baseline"

# change NAME FILE SED: a copy with one change.
change() {
    copy "$1"
    sed -i "$3" "$work/$1/$2"
    ! cmp -s "$2" "$work/$1/$2" || { echo "check-abi: nothing to change for '$1'" >&2; exit 1; }
}
notice() { # NAME [SONAME]
    library "$@"
    if compare "$1" >"$work/$1.txt"; then
        echo "check-abi: does not notice: $1" >&2
        exit 1
    fi
    echo "check-abi: notices: $1: $(grep -m 1 -E 'changed|removed|[1-9][0-9]* Removed|[1-9][0-9]* Changed' "$work/$1.txt")"
}
change removed-function src/coreMD.map 's/ h36;//'
notice removed-function
change grown-record include/coreMD.h 's/^    float minObjectHeight;/    float minObjectDepth;\n&/'
notice grown-record
swap='/^    int32_t width; /{s/width/height/;b};s/^    int32_t height; /    int32_t width; /'
change swapped-fields include/coreMD.h "$swap"
notice swapped-fields
widen='s/h35(DetectorHandle\* handle, int32_t value)/h35(DetectorHandle* handle, int64_t value)/'
change wider-argument include/coreMD.h "$widen"
sed -i "$widen" "$work/wider-argument/src/core/coreMD.cpp"
notice wider-argument
change other-node src/coreMD.map 's/^COREMD_1 /COREMD_2 /'
notice other-node
copy other-soname
notice other-soname "libcoreMD.so.$((major + 1))"

# And the other way round: one more function is no reason to complain.
change one-more-function src/coreMD.map 's/ h36;/ h36; h37;/'
echo 'extern "C" COREMD_API void h37(); void h37() {}' >>"$work/one-more-function/src/core/coreMD.cpp"
library one-more-function
compare one-more-function >"$work/added.txt" || { echo "check-abi: complains about an added function" >&2; exit 1; }
abidiff "$baseline" "$work/one-more-function.abi" >"$work/added.txt" || true
grep -q 'h37' "$work/added.txt" || { echo "check-abi: does not see an added function" >&2; exit 1; }
echo "check-abi: one more function is fine"
