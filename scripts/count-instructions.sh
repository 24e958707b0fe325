#!/usr/bin/env bash
# How many instructions does a frame take?  Lets callgrind count those of whole frames handed over, scenes of the benchmarks,
# with the loops for AVX2 and with those for every x86-64 processor: a block of a still scene, of camera noise, and of one
# object covering the grid, beyond those of noise; an object of a lattice; a frame of random noise, in thousands.
# Instructions are the same on every machine and in every run; time is not.
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

# Scene, loops, blocks, frames, what it is counted by, and how many may not be exceeded, the C library left out: a little
# above what they are. 50 frames are two seconds: in that time, every block renews its sample twice.
counted="still avx2 240x135 50 block 21.6
noise avx2 240x135 50 block 30.5
still plain 240x135 50 block 47.5
noise plain 240x135 50 block 67.0
lattice avx2 480x270 3 object 820
random avx2 240x135 25 thousand 6750
cover avx2 240x135 6 beyond-noise 70.0"

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

# Lines of instructions per what is counted, function; those of the C library are called so.
count() { # scene, level, grid, frames, unit
    local asked=() things divisor blocks=$((${3%x*} * ${3#*x}))
    [[ $2 != plain ]] || asked=(COREMD_TEST_LEVEL=plain)
    env "${asked[@]}" valgrind --tool=callgrind --instr-atstart=no --toggle-collect=HandOverCounted \
        --callgrind-out-file="$work/counts" "$program" "$1" "${3%x*}" "${3#*x}" "$4" >"$work/things" 2>"$work/log" || {
        (($? != 77)) || skip "built without valgrind/callgrind.h"
        cat "$work/log" >&2
        exit 1
    }
    things=$(cat "$work/things")
    case $5 in
    object) divisor=$things ;;
    thousand) divisor=1000 ;;
    *) divisor=$blocks ;;
    esac
    callgrind_annotate --threshold=100 "$work/counts" | awk -v divisor="$divisor" -v frames="$4" '
        $1 !~ /^[0-9][0-9,]*$/ || $2 !~ /^\(/ || /PROGRAM TOTALS/ { next }
        { taken = $1; gsub(",", "", taken); name = $0; sub(/^[^)]*\)[ ]*/, "", name)
          isLibrary = name ~ /mem(set|cpy|move)_.*\/libc/
          sub(/^[^:]*:/, "", name); sub(/[( ][^:]*$/, "", name); sub(/\(.*/, "", name)
          printf "%.3f\t%s\n", taken / divisor / frames, isLibrary ? "C library" : name }' >"$work/functions"
    [[ -s $work/functions ]] || fail "nothing was counted"
}
sum_of() { # library: 0 all else, 1 the C library
    awk -F'\t' -v library="$1" '($2 == "C library") == library { sum += $1 } END { printf "%.1f", sum }' "$work/functions"
}
is_above() { awk "BEGIN { exit !($1 > $2) }"; }

minus() { awk "BEGIN { printf \"%.1f\", $1 - $2 }"; }

if [[ $action == prove ]]; then
    count still plain 240x135 25 block
    taken=$(sum_of 0)
    limit=$(awk '$1 == "still" && $2 == "avx2" { print $6 }' <<<"$counted")
    is_above "$taken" "$limit" || fail "loops of half the width are not noticed: $taken, the limit is $limit"
    echo "noticed: $taken instructions a block where the limit is $limit"
    exit 0
fi

status=0 noise=0 noise_library=0
printf '%-8s%-8s%-10s%-14s%14s%14s%10s\n' scene loops blocks per instructions "C library" limit
while read -r scene level grid frames unit limit; do
    count "$scene" "$level" "$grid" "$frames" "$unit"
    taken=$(sum_of 0) library=$(sum_of 1)
    if [[ $scene/$level == noise/avx2 ]]; then
        noise=$taken noise_library=$library
    elif [[ $unit == beyond-noise ]]; then
        taken=$(minus "$taken" "$noise") library=$(minus "$library" "$noise_library")
    fi
    printf '%-8s%-8s%-10s%-14s%14s%14s%10s\n' "$scene" "$level" "$grid" "$unit" "$taken" "$library" "$limit"
    if [[ $action == functions ]]; then
        sort -rn "$work/functions" | awk -F'\t' '$1 >= 0.05 { printf "    %6.2f  %s\n", $1, $2 }'
    fi
    if is_above "$taken" "$limit"; then
        echo "count-instructions: $scene, loops for $level: $taken instructions ($unit), more than $limit" >&2
        status=1
    fi
done <<<"$counted"
exit $status
