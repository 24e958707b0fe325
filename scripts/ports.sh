#!/usr/bin/env bash
# Does the library compute the same bits on every machine, and keep its promises there?  Builds it for each with Debian's
# cross compilers, compares the digest of 2000 frames with this machine's, and runs the tests of the interface and of whole
# scenes, with an emulator: QEMU, Wine, Node. Of all targets, the table in docs/platforms.md is written anew; of some, only
# their rows. What a target lacks here is a failure: ./dev ports installs it.
#
#     scripts/ports.sh [TARGET...]              all if none is given
#     scripts/ports.sh --bits [TARGET...]       compares the digests, runs no tests
#     scripts/ports.sh --packages [TARGET...]   what Debian calls what they need
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
page=$root/docs/platforms.md
targets=(aarch64 armhf i386 riscv64 s390x windows wasm)

fail() {
    echo "ports: $*" >&2
    exit 1
}

describe() { # target: its name in the table, its runner, its packages
    case $1 in
    aarch64) echo "64-bit ARM|qemu-aarch64|g++-aarch64-linux-gnu qemu-user" ;;
    armhf) echo "32-bit ARM|qemu-arm|g++-arm-linux-gnueabihf qemu-user" ;;
    i386) echo "32-bit x86 with SSE2|qemu-i386|g++-i686-linux-gnu qemu-user" ;;
    riscv64) echo "64-bit RISC-V|qemu-riscv64|g++-riscv64-linux-gnu qemu-user" ;;
    s390x) echo "IBM Z, big-endian|qemu-s390x|g++-s390x-linux-gnu qemu-user" ;;
    windows) echo "64-bit Windows|wine|g++-mingw-w64-x86-64-posix wine wine64" ;;
    wasm) echo "WebAssembly|node|emscripten nodejs" ;;
    *) fail "no target $1: ${targets[*]}" ;;
    esac
}

if [[ ${1:-} == --packages ]]; then
    (($# > 1)) || set -- "$1" "${targets[@]}"
    for target in "${@:2}"; do
        description=$(describe "$target")
        echo "googletest ${description##*|}"
    done
    exit
fi
bits_only=
if [[ ${1:-} == --bits ]]; then
    bits_only=yes
    shift
fi
(($#)) || set -- "${targets[@]}"
for target in "$@"; do describe "$target" >/dev/null; done

# What this machine makes of the stream; the golden one, for check-digest.sh compares all compilers here with it.
here=$root/build/release/StreamDigest
(cd "$root" && cmake --preset release && cmake --build --preset release --target StreamDigest) >/dev/null
golden=$("$here")
other=$("$here" 700)
[[ $golden != "$other" ]] || fail "a changed frame left the digest as it was: it proves nothing"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
export WINEPREFIX=$work/wine    # nobody's settings

run_program() { # target, name, words...: by the emulator of its build
    local build=$root/build/$1 words
    words=$(sed -n 's/^set(CMAKE_CROSSCOMPILING_EMULATOR \(.*\))$/\1/p' "$root/cmake/toolchains/$1.cmake")
    [[ -n $words ]] || fail "no emulator in the toolchain file of $1"
    local program=$build/$2
    for suffix in .exe .js; do [[ ! -e $program$suffix ]] || program+=$suffix; done
    # shellcheck disable=SC2086
    $words "$program" "${@:3}" | tr -d '\r'
}

compiler_of() { # target
    local compiler
    compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER \(.*\))$/\1/p' "$root/cmake/toolchains/$1.cmake")
    if [[ -z $compiler ]]; then
        echo "Emscripten $(em++ --version | sed -nE '1s/.*\) ([0-9.]+).*/\1/p')"
    else
        echo "$compiler $("$compiler" -dumpfullversion)"
    fi
}

status=0
for target in "$@"; do
    IFS='|' read -r name runner _ <<<"$(describe "$target")"
    (cd "$root" && cmake --preset "$target" &&
        cmake --build --preset "$target" ${bits_only:+--target StreamDigest}) >"$work/log" 2>&1 || {
        tail -n 40 "$work/log" >&2
        fail "the build for $target failed"
    }
    digest=$(run_program "$target" StreamDigest)
    if [[ $digest != "$golden" ]]; then
        status=1
        echo "ports: $digest on $target, $golden here" >&2
        continue
    fi
    if [[ $target == aarch64 && -z $bits_only ]]; then
        "$root/scripts/check-vectorised.sh" aarch64 || status=1
    fi
    passed=none
    [[ -n $bits_only ]] || (cd "$root" && ctest --preset "$target") >"$work/log" 2>&1 || {
        tail -n 60 "$work/log" >&2
        status=1
        echo "ports: tests failed on $target" >&2
        continue
    }
    if [[ -z $bits_only ]]; then
        passed=$(sed -nE 's/^100% tests passed, 0 tests failed out of ([0-9]+)$/\1/p' "$work/log")
        [[ -n $passed ]] || fail "cannot read how many tests ran on $target"
    fi
    row="| $name | \`$target\` | $(compiler_of "$target") | $runner | $passed | \`$digest\` |"
    echo "$row"
    TARGET=$target ROW=$row awk '
        BEGIN { row = ENVIRON["ROW"]; mark = "| `" ENVIRON["TARGET"] "` |" }
        index($0, mark) { print row; written = 1; next }
        /^<!-- end of the table -->$/ && !written { print row; written = 1 }
        { print }' "$page" >"$work/page"
    cat "$work/page" >"$page"
done
exit $status
