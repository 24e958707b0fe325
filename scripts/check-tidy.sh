#!/usr/bin/env bash
# Does clang-tidy find anything in what is shipped?  Runs the checks of .clang-tidy over the library, the host's part and the
# tools; ends with 1 on a finding. Minutes: clang-tidy parses every source anew.
#
#     scripts/check-tidy.sh [PATTERN...]         only sources whose path in the project begins so: src/zones, video
#
# TIDY_BUILD: folder to configure in, build/tidy if not set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${TIDY_BUILD:-$root/build/tidy}")
tidy=$(command -v run-clang-tidy-14 || command -v run-clang-tidy) ||
    { echo "check-tidy: run-clang-tidy is not installed" >&2; exit 1; }
(($#)) || set -- src/ host/ video/ tools/

mkdir -p "$build"
(cd "$root" && cmake --preset tidy -B "$build") >"$build/log" 2>&1 || { cat "$build/log" >&2; exit 1; }
if ! "$tidy" -quiet -p "$build" -j "$(nproc)" "${@/#/^$root/}" >"$build/findings" 2>>"$build/log"; then
    sed 's/\x1b\[[0-9;]*m//g' "$build/findings" | grep ' error: ' | LC_ALL=C sort -u >&2 || true
    echo "check-tidy: .clang-tidy says which checks are off, $build/findings more about these" >&2
    exit 1
fi
count=$(grep -c '^[^ ]*clang-tidy[^ ]* ' "$build/findings" || true)
((count > 0)) || { echo "check-tidy: no source was looked at" >&2; exit 1; }
echo "check-tidy: nothing is found in $count sources"
