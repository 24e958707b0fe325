#!/usr/bin/env bash
# Does a host compiled against the last release still run with these libraries?
#
#     scripts/check-abi.sh             compares libcoreMD and libcoreMD-host with abi/, the interfaces of the last release;
#                                      then breaks copies of them on purpose, each of which must be noticed
#     scripts/check-abi.sh --update    writes abi/ anew: with a release, never to silence the check
#
# The interfaces are what coreMD.h and coreMD-host.h declare: functions, records, version nodes, SONAMEs. GetDetector and the
# classes behind it are no part of them. A function that was added is fine. Needs abidw and abidiff.
#                                                                                        CXX: the compiler, g++ if not set
set -euo pipefail
cd "$(dirname "$0")/.."
compiler=${CXX:-g++}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
major=$(sed -n 's/^#define COREMD_VERSION_MAJOR *//p' include/coreMD.h)
read -ra flags <<<"$(scripts/library-flags.sh)"
compile=("$compiler" -Iinclude "${flags[@]/#-I/-I$PWD/}" "-I$PWD/host" -O0)
# take NAME ROOM DOOR MAP HEADER: the library that is spoken of from here on; the sources in DOOR define its functions.
# Types are read from these alone: the rest of ROOM is compiled once, without debug information.
take() {
    name=$1 room=$2 door=$3 map=$4 header=$5
    baseline=abi/lib$name.so.$major.abi
    rm -rf "${work:?}"/*
    local compile_one='source=$1; shift; "$@" -c "$source" -o "$0/$(echo "$source" | tr / _).o"'
    find "$room" -name '*.cpp' ! -path "$door/*" -print0 |
        xargs -0 -P "$(nproc)" -I '{}' sh -c "$compile_one" "$work" '{}' "${compile[@]}"
}

# library COPY [SONAME]: builds from what $work/COPY holds, and writes COPY.abi.
library() {
    local copy=$work/$1 source
    for source in "$copy/$door"/*.cpp; do
        [[ $source != */main.cpp ]] || continue
        (cd "$copy" && "${compile[@]}" "-ffile-prefix-map=$copy/=" -g -c "${source#"$copy/"}" -o "$(basename "$source").o")
    done
    "$compiler" -shared -Wl,-soname,"${2:-lib$name.so.$major}" -Wl,--version-script="$copy/$map" "$work"/*.o "$copy"/*.o \
        -o "$copy/lib$name.so"
    abidw --headers-dir "$copy/include" --exported-interfaces-only --drop-private-types --drop-undefined-syms \
        --suppressions abi/interface.abignore --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed \
        --out-file "$copy.abi" "$copy/lib$name.so"
}
copy() { # COPY: of what the interface is made of
    mkdir -p "$work/$1"
    cp -r --parents include "$door" "$map" "$work/$1"
}
compare() { abidiff --no-added-syms "$baseline" "$work/$1.abi"; }

say() { echo "check-abi: lib$name: $*"; }
fail() {
    say "$@" >&2
    exit 1
}
as_released() {
    copy current
    library current
    if [[ $update ]]; then
        cp "$work/current.abi" "$baseline"
        say "wrote $baseline"
    else
        compare current || fail "not the interface of $baseline; CONTRIBUTING.md says what that means"
        say "the interface of $baseline"
    fi
}

# change COPY FILE SED: a copy with one change.
change() {
    copy "$1"
    sed -i "$3" "$work/$1/$2"
    ! cmp -s "$2" "$work/$1/$2" || fail "nothing to change for '$1'"
}
notice() { # COPY [SONAME]
    library "$@"
    ! compare "$1" >"$work/$1.txt" || fail "does not notice: $1"
    say "notices: $1: $(grep -m 1 -E 'changed|removed|[1-9][0-9]* Removed|[1-9][0-9]* Changed' "$work/$1.txt")"
}

# broken FUNCTION FIELD NEXT DECLARATION: must be noticed. A function goes; a record grows before a field, and has it behind
# the next one; an argument that the declaration has in 32 bits gets 64; node and SONAME are others.
broken() {
    change removed-function "$map" "s/ $1;//"
    notice removed-function
    change grown-record "$header" "s/^    int32_t $2; /    int32_t more;\n&/"
    notice grown-record
    change swapped-fields "$header" "/^    int32_t $2; /{s/$2/$3/;b};s/^    int32_t $3; /    int32_t $2; /"
    notice swapped-fields
    local widen="s/$4/${4/int32_t/int64_t}/"
    change wider-argument "$header" "$widen"
    sed -i "$widen" "$work/wider-argument/$door"/*.cpp
    notice wider-argument
    change other-node "$map" 's/^\(COREMD[A-Z_]*\)_1 {/\1_2 {/'
    notice other-node
    copy other-soname
    notice other-soname "lib$name.so.$((major + 1))"
}

# And the other way round: one more function is no reason to complain.
extended() { # FUNCTION: one that there is
    change one-more-function "$map" "s/ $1;/& coreMD_OneMore;/"
    local sources=("$work/one-more-function/$door"/*.cpp)
    local visible='__attribute__((visibility("default")))'
    echo "extern \"C\" $visible void coreMD_OneMore(); void coreMD_OneMore() {}" >>"${sources[0]}"
    library one-more-function
    compare one-more-function >"$work/added.txt" || fail "complains about an added function"
    abidiff "$baseline" "$work/one-more-function.abi" >"$work/added.txt" || true
    grep -q 'coreMD_OneMore' "$work/added.txt" || fail "does not see an added function"
    say "one more function is fine"
}

update=
[[ ${1:-} != --update ]] || update=yes
take coreMD src src/core src/coreMD.map include/coreMD.h
as_released
if [[ ! $update ]]; then
    broken h36 width height 'h35(DetectorHandle\* handle, int32_t value)'
    extended h36
fi
take coreMD-host host host/c host/c/coreMD-host.map include/coreMD-host.h
as_released
if [[ ! $update ]]; then
    broken coreMD_Reduce left top 'coreMD_DisturbanceName(int32_t kind)'
    extended coreMD_Reduce
fi
