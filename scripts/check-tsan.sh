#!/bin/sh
# Do handles in different threads share anything?  Builds ThreadsTest with ThreadSanitizer and runs it.
#
#     scripts/check-tsan.sh [build directory]         CXX: the compiler, g++ if not set; build/tsan if no directory is given
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
build=$(realpath -m "${1:-$root/build/tsan}")
compiler=${CXX:-g++}

command -v "$compiler" >/dev/null 2>&1 || { echo "check-tsan: skipped, no $compiler"; exit 0; }
probe=$(mktemp -d) || exit 1
trap 'rm -rf "$probe"' EXIT
trap 'exit 1' HUP INT TERM
printf 'int main() { return 0; }\n' >"$probe/probe.cpp"
if ! "$compiler" -fsanitize=thread -o "$probe/probe" "$probe/probe.cpp" 2>/dev/null; then
    echo "check-tsan: skipped, $compiler has no ThreadSanitizer"
    exit 0
fi
# It dies at once where the kernel spreads addresses further than it expects: run without that then.
run=""
if ! "$probe/probe" 2>/dev/null; then
    run="setarch $(uname -m) -R"
    $run "$probe/probe" 2>/dev/null || { echo "check-tsan: skipped, ThreadSanitizer does not run on this kernel"; exit 0; }
fi

(cd "$root" && cmake --preset tsan -B "$build" -DCMAKE_CXX_COMPILER="$compiler") >"$probe/log" 2>&1 &&
    cmake --build "$build" --target ThreadsTest >>"$probe/log" 2>&1 || { cat "$probe/log"; exit 1; }
export TSAN_OPTIONS="halt_on_error=0 exitcode=66 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
$run "$build/ThreadsTest" --gtest_brief=1
status=$?
[ "$status" -eq 0 ] && echo "check-tsan: no data race"
exit $status
