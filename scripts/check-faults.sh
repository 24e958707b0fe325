#!/usr/bin/env bash
# Does the test suite notice small faults?  Plants each fault of tests/faults/faults.patch into a copy of the project, builds
# the library with it, and runs the tests, built once from the sound sources, until one fails.
# usage: scripts/check-faults.sh [NAME...]     all faults, or those named; prints a table, exits 1 if one goes unnoticed
#        scripts/check-faults.sh --applies     only whether each can still be planted
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$root/build/faults
tree=$work/tree
patches=$work/patches

rm -rf "$patches"
mkdir -p "$patches"
awk -v dir="$patches" '/^fault / { file = sprintf("%s/%03d-%s", dir, ++count, $2); next } { print > file }' \
    "$root/tests/faults/faults.patch"

if [[ ${1:-} == --applies ]]; then
    status=0
    for patch in "$patches"/*; do
        patch -s -F0 --dry-run -d "$root" -p1 <"$patch" >/dev/null || {
            echo "check-faults: $(basename "$patch") does not apply" >&2
            status=1
        }
    done
    echo "check-faults: looked at $(ls "$patches" | wc -l) faults"
    exit $status
fi

rm -rf "$tree"
mkdir -p "$tree"
(cd "$root" && git ls-files -z | xargs -0 cp --parents -t "$tree")

# Tests reach the library through shared objects: a fault costs the compilation of what it touches and one link.
(cd "$tree" && cmake --preset faults -B "$work/build") >"$work/log"

# From the quickest to the slowest.
tests=(BackgroundKernelTest LearningKernelTest ForegroundKernelTest DiffStateKernelTest WindowSumsKernelTest
       SegmentationKernelTest ObjectTrimmingKernelTest UtilsTest UtilsPicturesTest FrameStatisticsTest
       H264PartlyStatisticTest MDZoneTest MotionObjectTest MotionObjectPoolTest PaintedBoxesTest BlocksTest CellBoxTest
       CoreTest CallingOrderTest ShadowReachTest
       $(cd "$root/tests/detector" && printf '%s\n' *Test.cpp | sed 's/\.cpp$//')
       ShadowKernelTest ObjectMergerTest FrameStatisticsModelTest PipelineTest PipelineMPEG4Test PipelinePartlyTest
       PipelineShadowTest GoldenTest DifferentialTest)

ninja -C "$work/build" coreMD coreMD_everything "${tests[@]}" >>"$work/log"

# Prints the first failing case, or nothing.
first_failure() {
    local name filter output
    for name in "${tests[@]}"; do
        filter='*'
        [[ $name == DifferentialTest ]] && filter='*Shard*'
        if ! output=$(cd "$work" && COREMD_DIFF_FRAMES=40000 timeout 300 "$work/build/$name" --gtest_filter="$filter" \
                      --gtest_brief=1 --gtest_fail_fast 2>&1); then
            grep -m1 -oP '^\[  FAILED  \] \K[^ ,]+' <<<"$output" || echo "$name (ends the process)"
            return
        fi
    done
}

failure=$(first_failure)
if [[ -n $failure ]]; then
    echo "check-faults: $failure fails without any fault" >&2
    exit 1
fi
unnoticed=0 count=0
for patch in "$patches"/*; do
    name=$(basename "$patch")
    name=${name#*-}
    if (($#)) && [[ " $* " != *" $name "* ]]; then continue; fi
    count=$((count + 1))
    patch -s -F0 -d "$tree" -p1 <"$patch"
    if ninja -C "$work/build" coreMD coreMD_everything >"$work/log" 2>&1; then
        noticed=$(first_failure)
    else
        noticed=""
        echo "$name: does not compile" >&2
    fi
    patch -s -F0 -R -d "$tree" -p1 <"$patch"
    printf '%-34s %s\n' "$name" "${noticed:-NOT NOTICED}"
    [[ -n $noticed ]] || unnoticed=$((unnoticed + 1))
done
echo "$count faults, $unnoticed not noticed"
((unnoticed == 0))
