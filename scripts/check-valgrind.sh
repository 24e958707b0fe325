#!/bin/sh
# Does anything read what was never written, or lose memory?  Runs tests under valgrind's memcheck, which sees uninitialised
# values that the sanitizers do not. Death tests are left out: their children end in the middle. So is the one that asks how
# much memory is held, for memcheck keeps what is given back.
#
#     scripts/check-valgrind.sh [build directory]     build/valgrind if none is given
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
build=$(realpath -m "${1:-$root/build/valgrind}")

# Whole scenes of every kind, the C interface, the pass, snapshots, merger and pools; the element of GStreamer.
tests="PipelineTest PipelineShadowTest PipelinePartlyTest CoreTest DetectTest BackgroundStorageTest ObjectMergerTest
       MotionObjectPoolTest CoremdElementTest"
suppressions="--suppressions=$root/scripts/valgrind.supp"
kept_by_glib=/usr/share/glib-2.0/valgrind/glib.supp
[ ! -e "$kept_by_glib" ] || suppressions="$suppressions --suppressions=$kept_by_glib"

command -v valgrind >/dev/null 2>&1 || {
    echo "check-valgrind: not checked: valgrind is not installed" >&2
    exit 1
}
log=$(mktemp) || exit 1
trap 'rm -f "$log" "$log.registry"' EXIT
trap 'exit 1' HUP INT TERM
export GST_PLUGIN_PATH="$build/gstreamer" GST_REGISTRY="$log.registry" GST_REGISTRY_FORK=no

# Plain x86-64 code with line numbers: memcheck need not know newer instructions.
(cd "$root" && cmake --preset valgrind -B "$build") >"$log" 2>&1 || { cat "$log"; exit 1; }
status=0
for test in $tests; do
    if [ -z "$(find "$root/tests" -name "$test.cpp")" ]; then
        echo "check-valgrind: no $test in this tree" >&2
        status=1
        continue
    fi
    cmake --build "$build" --target "$test" >"$log" 2>&1 || { cat "$log"; exit 1; }
    "$build/$test" --gtest_brief=1 --gtest_filter=none >/dev/null 2>&1    # looks at GStreamer's plugins, once for all
    # shellcheck disable=SC2086     # suppressions are words
    if valgrind --quiet --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite,possible $suppressions \
        "$build/$test" --gtest_brief=1 --gtest_filter=-'*Death*:*IsFatal*:ElementMemory.*' >"$log" 2>&1; then
        echo "$test: $(grep -m 1 -o "[0-9]* tests\? from.*ran" "$log"), no error, no leak"
    else
        cat "$log"
        echo "$test: FAILED"
        status=1
    fi
done
exit $status
