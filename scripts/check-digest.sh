#!/bin/sh
# Do all compilers, levels and instruction sets compute the same bits?
#
# Compiles the library's sources with tests/pipeline/StreamDigest.cpp once per variant, by the rules of a build and with
# options that differ, runs each on 2000 frames, with the loops that this processor takes and with those that every processor
# can take, and compares the digests; the build's own StreamDigest is one of them. Prints a table; leaves a variant out, with
# the reason, where the compiler or the processor lacks something. Ends with 1 if two digests differ, or if a changed frame
# does not change the digest.
#
#     scripts/check-digest.sh [build directory]       build/release if none is given
#
# CHECK_DIGEST_EXTRA="g++ -O2 -march=native" adds a variant, CHECK_DIGEST_MORE=1 those that are rarely of interest.
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
build=$(realpath -m "${1:-$root/build/release}")
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
cd "$root" || exit 1

rules="$(scripts/library-flags.sh "$build") -Itests/kit" || exit 1
program="tests/pipeline/StreamDigest.cpp tests/kit/LevelOfTest.cpp"
sources=$(find src -name '*.cpp' ! -path src/core/main.cpp | LC_ALL=C sort)

processor_has() { # all of these features
    for feature in "$@"; do
        grep -qw "$feature" /proc/cpuinfo 2>/dev/null || return 1
    done
}

v3="avx2 bmi1 bmi2 fma movbe f16c"
v4="avx512f avx512bw avx512vl avx512dq avx512cd"
built="as built"
[ -x "$build/StreamDigest" ] || built="g++ -O3"
variants="$built
g++ -O0
g++ -O3 -march=x86-64-v3
clang++ -O3
${CHECK_DIGEST_EXTRA:-}"
[ -z "${CHECK_DIGEST_MORE:-}" ] || variants="$variants
g++ -O3 -march=x86-64-v2
g++ -O3 -march=x86-64-v4
clang++ -O3 -march=x86-64-v3
clang++ -O0"

reason_to_skip() { # of the variant in $1
    [ "$1" != "as built" ] || return
    compiler=${1%% *}
    command -v "$compiler" >/dev/null 2>&1 || { echo "no $compiler"; return; }
    case $1 in
        *x86-64-v3*) processor_has $v3 || { echo "the processor lacks AVX2 and its company"; return; } ;;
        *x86-64-v4*) processor_has $v3 $v4 || { echo "the processor lacks AVX-512"; return; } ;;
    esac
    printf 'int main() { return 0; }\n' >"$work/probe.cpp"
    $1 -o "$work/probe" "$work/probe.cpp" 2>/dev/null || echo "the compiler does not know these options"
}

compile() { # variant, number. The variant's options come last: an extra one may break a rule, to see it noticed.
    if [ "$1" = "as built" ]; then
        ln -s "$build/StreamDigest" "$work/digest$2"
    elif ! ${1%% *} $rules ${1#* } $sources $program -o "$work/digest$2" >"$work/log$2" 2>&1; then
        echo "compilation failed" >"$work/result$2"
        return
    fi
    "$work/digest$2" >"$work/result$2" 2>>"$work/log$2" || echo "run failed" >"$work/result$2"
    COREMD_TEST_LEVEL=plain "$work/digest$2" >"$work/plain$2" 2>>"$work/log$2" || echo "run failed" >"$work/plain$2"
}

# Two at a time.
number=0
waiting=""
IFS_SAVED=$IFS
IFS='
'
for variant in $variants; do
    IFS=$IFS_SAVED
    number=$((number + 1))
    printf '%s\n' "$variant" >"$work/variant$number"
    reason=$(reason_to_skip "$variant")
    if [ -n "$reason" ]; then
        printf 'skipped: %s\n' "$reason" >"$work/result$number"
        continue
    fi
    compile "$variant" "$number" &
    if [ -n "$waiting" ]; then
        wait "$waiting"
    fi
    waiting=$!
done
IFS=$IFS_SAVED
wait

status=0
first=""
runs=0
i=0
while [ "$i" -lt "$number" ]; do
    i=$((i + 1))
    result=$(cat "$work/result$i")
    note=""
    case $result in
        skipped*) ;;
        *failed) status=1; note=$(tail -n 5 "$work/log$i") ;;
        *)
            runs=$((runs + 1))
            [ -n "$first" ] || { first=$result; firstBinary="$work/digest$i"; }
            [ "$result" = "$first" ] || { status=1; note="  DIFFERS"; }
            plain=$(cat "$work/plain$i")
            [ "$plain" = "$first" ] || { status=1; note="$note  DIFFERS in plain loops: $plain"; }
            ;;
    esac
    printf '%-32s %s%s\n' "$(cat "$work/variant$i")" "$result" "$note"
done

if [ "$runs" -lt 2 ]; then
    echo "nothing to compare: fewer than two variants ran"
    exit 1
fi
if [ "$("$firstBinary" 700)" = "$first" ]; then
    echo "a changed frame left the digest as it was: it proves nothing"
    status=1
fi
exit $status
