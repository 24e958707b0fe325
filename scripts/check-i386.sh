#!/usr/bin/env bash
# Does a library for 32-bit x86 processors compute the same bits?  Builds it with Debian's compiler for i386, warnings being
# errors, and compares what it makes of 2000 frames with what the library of this machine does. Where the kernel runs no
# such programs, qemu does. Skips, with the reason, where the compiler or both are missing.
#
#     scripts/check-i386.sh [build directory]       holds this machine's StreamDigest; build/release if none is given
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${1:-$root/build/release}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
skip() {
    echo "check-i386: skipped: $*"
    exit 0
}
fail() {
    echo "check-i386: $*" >&2
    exit 1
}
host=i686-linux-gnu
command -v $host-g++ >/dev/null || skip "no $host-g++ (Debian: g++-$host)"

# Everything a library-only build has: shared objects, archives, self-test.
cmake -S "$root" -B "$work/build" -G Ninja -DCMAKE_C_COMPILER=$host-gcc -DCMAKE_CXX_COMPILER=$host-g++ \
    -DCMAKE_BUILD_TYPE=Release -DCOREMD_TESTS=OFF -DCOREMD_TOOLS=OFF -DCOREMD_WERROR=ON >"$work/log" 2>&1 &&
    cmake --build "$work/build" >>"$work/log" 2>&1 || { tail -n 40 "$work/log" >&2; fail "the library does not compile"; }

# Programs are linked statically: the machine has no loader for them.
cd "$root"
read -ra flags <<<"$(scripts/library-flags.sh "$work/build")"
program() { # name, source, words
    $host-g++ "${flags[@]}" -static -Itests/kit "${@:3}" "$2" "$work/build/src/libcoreMD.a" -o "$work/$1"
}
program digest tests/pipeline/StreamDigest.cpp
runner=()
if ! "$work/digest" 1 >/dev/null 2>&1; then
    command -v qemu-i386 >/dev/null ||
        skip "the library compiles, but this kernel runs no 32-bit programs (Debian: qemu-user)"
    runner=(qemu-i386)
fi
there=$("${runner[@]}" "$work/digest")
here=$("$build/StreamDigest" 2>/dev/null) || fail "no StreamDigest in $build: cmake --build it first"
echo "check-i386: $there on i386${runner:+ by ${runner[0]}}, $here here"
[[ $there == "$here" ]] || fail "other bits than here"
[[ $("${runner[@]}" "$work/digest" 700) != "$there" ]] || fail "a changed frame left the digest as it was: it proves nothing"
program selftest src/core/main.cpp
diff tests/public/selftest_output.txt <("${runner[@]}" "$work/selftest") || fail "the self-test says something else"
