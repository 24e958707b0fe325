#!/usr/bin/env bash
# How many instructions does one block of one frame take?  Lets callgrind count those of whole frames handed over, on 240x135
# blocks, with the loops for AVX2 and with those for every x86-64 processor. Instructions are the same on every machine and
# in every run; time is not.
#
# The C library fills and copies by instructions that repeat themselves, of which every byte counts as one: its functions are
# left out of the sums, and shown beside them.
#
#     scripts/count-instructions.sh [BUILD]              the table; fails where a sum is above its limit. BUILD: a release
#                                                        build by g++, build/release if none is given
#     scripts/count-instructions.sh --functions [BUILD]  the same, and what every function takes of it
#     scripts/count-instructions.sh --prove [BUILD]      are more instructions noticed?
#
# Ends with 77, and the reason, where nothing can be counted.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
action=table
case ${1:-} in
--functions | --prove)
    action=${1#--}
    shift
    ;;
esac
build=$(realpath -m "${1:-$root/build/release}")
program=$build/CountedPass
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

columns=240 rows=135 frames=52 # two seconds and a bit: twice, every block renews its sample

# Of a scene, a level: instructions a block that may not be exceeded, the C library left out. A little above what they are.
limits="still avx2 22.0
noise avx2 31.5
still plain 47.5
noise plain 69.0"

fail() {
    echo "count-instructions: $*" >&2
    exit 1
}
skip() {
    echo "count-instructions: not counted: $*" >&2
    exit 77
}
command -v valgrind >/dev/null || skip "valgrind is not installed"
[[ -x $program ]] || fail "no $program"
grep -qw avx2 /proc/cpuinfo || skip "this processor lacks AVX2"

# Lines of instructions a block, function; those of the C library are called so.
count() { # scene, level
    local asked=()
    [[ $2 != plain ]] || asked=(COREMD_TEST_LEVEL=plain)
    env "${asked[@]}" valgrind --tool=callgrind --toggle-collect=HandOverCounted --callgrind-out-file="$work/counts" \
        "$program" "$1" $columns $rows $frames >"$work/log" 2>&1 || {
        cat "$work/log" >&2
        exit 1
    }
    callgrind_annotate --threshold=100 "$work/counts" | awk -v blocks=$((columns * rows * frames)) '
        $1 !~ /^[0-9][0-9,]*$/ || $2 !~ /^\(/ || /PROGRAM TOTALS/ { next }
        { taken = $1; gsub(",", "", taken); name = $0; sub(/^[^)]*\)[ ]*/, "", name)
          isLibrary = name ~ /mem(set|cpy|move)_.*\/libc/
          sub(/^[^:]*:/, "", name); sub(/[( ][^:]*$/, "", name); sub(/\(.*/, "", name)
          printf "%.3f\t%s\n", taken / blocks, isLibrary ? "C library" : name }' >"$work/functions"
    [[ -s $work/functions ]] || fail "nothing was counted"
}
sum_of() { # library: 0 all else, 1 the C library
    awk -F'\t' -v library="$1" '($2 == "C library") == library { sum += $1 } END { printf "%.1f", sum }' "$work/functions"
}
is_above() { awk "BEGIN { exit !($1 > $2) }"; }

if [[ $action == prove ]]; then
    count still plain
    taken=$(sum_of 0)
    limit=$(awk '$1 == "still" && $2 == "avx2" { print $3 }' <<<"$limits")
    is_above "$taken" "$limit" || fail "loops of half the width are not noticed: $taken, the limit is $limit"
    echo "noticed: $taken instructions a block where the limit is $limit"
    exit 0
fi

status=0
printf '%-8s%-8s%14s%14s%14s\n' scene loops instructions "C library" limit
while read -r scene level limit; do
    count "$scene" "$level"
    taken=$(sum_of 0)
    printf '%-8s%-8s%14s%14s%14s\n' "$scene" "$level" "$taken" "$(sum_of 1)" "$limit"
    if [[ $action == functions ]]; then
        sort -rn "$work/functions" | awk -F'\t' '$1 >= 0.05 { printf "    %6.2f  %s\n", $1, $2 }'
    fi
    if is_above "$taken" "$limit"; then
        echo "count-instructions: $scene, loops for $level: $taken instructions a block, more than $limit" >&2
        status=1
    fi
done <<<"$limits"
exit $status
