#!/bin/sh
# Do handles in different threads share anything?  Builds ThreadsTest with ThreadSanitizer and runs it.
#
#     scripts/check-tsan.sh [build directory]         CXX: the compiler, g++ if not set; build/tsan if no directory is given
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
build=$(realpath -m "${1:-$root/build/tsan}")
compiler=${CXX:-g++}

cannot() {  # what was not checked did not pass
    echo "check-tsan: not checked: $1" >&2
    exit 1
}
command -v "$compiler" >/dev/null 2>&1 || cannot "no $compiler"
probe=$(mktemp -d) || exit 1
trap 'rm -rf "$probe"' EXIT
trap 'exit 1' HUP INT TERM
printf 'int main() { return 0; }\n' >"$probe/probe.cpp"
"$compiler" -fsanitize=thread -o "$probe/probe" "$probe/probe.cpp" 2>/dev/null || cannot "$compiler has no ThreadSanitizer"
# It dies at once where the kernel spreads addresses further than it expects: run without that then.
run=""
if ! "$probe/probe" 2>/dev/null; then
    run="setarch $(uname -m) -R"
    $run "$probe/probe" 2>/dev/null || cannot "ThreadSanitizer does not run on this kernel"
fi

(cd "$root" && cmake --preset tsan -B "$build" -DCMAKE_CXX_COMPILER="$compiler") >"$probe/log" 2>&1 &&
    cmake --build "$build" --target ThreadsTest >>"$probe/log" 2>&1 || { cat "$probe/log"; exit 1; }
export TSAN_OPTIONS="halt_on_error=0 exitcode=66 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
$run "$build/ThreadsTest" --gtest_brief=1
status=$?
[ "$status" -eq 0 ] && echo "check-tsan: no data race"
exit $status
