#!/usr/bin/env bash
# Does the library run on every x86-64 processor, although some of its loops are compiled for AVX2 too?
#
# Looks into the objects of a build: no function that another source could bring along as well may come from the object
# with AVX2, since the linker keeps one of them for the whole program, nor anything that runs before main; all other
# objects do without AVX. Then runs 2000 frames on processors without and with AVX2, where qemu-x86_64 (Debian: qemu-user)
# can pretend to be them, and compares the digests.
#
#     scripts/check-levels.sh [build directory]             build/release if none is given
#     scripts/check-levels.sh --prove [build directory]     are planted faults noticed?
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
action=check
if [[ ${1:-} == --prove ]]; then
    action=prove
    shift
fi
build=$(realpath -m "${1:-$root/build/release}")
objects=$build/src/CMakeFiles/coreMD_objects.dir
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "check-levels: $*" >&2
    exit 1
}

# Lines of functions, with a mark if they use what AVX brought: encodings whose names begin with v, and wider registers.
functions_of() { # object
    objdump -d --no-show-raw-insn "$1" | awk '
        /^[0-9a-f]+ <.*>:$/ { name = $2; gsub(/[<>:]/, "", name); if (!(name in uses)) uses[name] = "-" }
        /^ +[0-9a-f]+:\tv[a-z0-9]+ .*%[xyz]mm/ || /%[yz]mm|%k[1-7]/ { uses[name] = "avx" }
        END { for (name in uses) print uses[name], name }'
}

# Names, and why each of them must not be there.
faults_of_avx2() { # object
    nm --defined-only "$1" | awk '$2 ~ /^[WVuBCD]$/ { print $3, "(" $2 ")" }' | c++filt |
        sed 's/$/: others may bring it too/'
    nm --defined-only "$1" | awk '$2 ~ /^[TR]$/ { print $3 }' | c++filt | grep -v '^MD::Kernels::Avx2::' |
        sed 's/$/: is not of the level/' || true
    objdump -h "$1" | awk '$2 ~ /^\.(init_array|ctors)/ { print $2 ": runs on every processor, before main" }'
}
faults_of_plain() { # object
    functions_of "$1" | sed -n 's/^avx \(.*\)/\1: uses AVX/p' | c++filt
}

check() {
    local object faults=0 plain=0 levels=$objects/detector/kernels/KernelsAvx2.cpp.o
    [[ -e $levels ]] || fail "no $levels"
    functions_of "$levels" | grep '^avx' >/dev/null || fail "nothing uses AVX in ${levels##*/}"
    faults_of_avx2 "$levels" >"$work/faults"
    while read -r object; do
        [[ $object != "$levels" ]] || continue
        plain=$((plain + 1))
        faults_of_plain "$object" | sed "s|^|${object##*/}: |" >>"$work/faults"
    done < <(find "$objects" -name '*.o')
    ((plain > 20)) || fail "only $plain objects in $objects"
    if [[ -s $work/faults ]]; then
        cat "$work/faults"
        fail "some processors would meet what they do not know"
    fi
    echo "${levels##*/} brings $(nm --defined-only "$levels" | grep -c ' T ') loops and nothing that others may bring;" \
        "$plain other objects do without AVX"

    local digest first
    first=$("$build/StreamDigest")
    digest=$(COREMD_TEST_LEVEL=plain "$build/StreamDigest")
    [[ $digest == "$first" ]] || fail "the plain loops compute $digest, those of this processor $first"
    echo "$first on this processor, and with the plain loops"
    if ! command -v qemu-x86_64 >/dev/null; then
        echo "left out: other processors, for want of qemu-x86_64"
        return
    fi
    # Conroe knows nothing of SSE4, Nehalem of AVX, SandyBridge of AVX2.
    echo 'int main(void) { __asm__ volatile("vpaddb %ymm0, %ymm0, %ymm0"); return 0; }' >"$work/avx2.c"
    "${CC:-cc}" "$work/avx2.c" -o "$work/avx2"
    for processor in Conroe Nehalem SandyBridge Haswell; do
        if qemu-x86_64 -cpu "$processor" "$work/avx2" >"$work/log" 2>&1; then
            [[ $processor == Haswell ]] || fail "qemu's $processor knows AVX2: it proves nothing"
        elif [[ $processor == Haswell ]]; then
            echo "left out: $processor, whose AVX2 this qemu does not know"
            continue
        fi
        digest=$(qemu-x86_64 -cpu "$processor" "$build/StreamDigest" 2>"$work/log") || fail "$processor: $(<"$work/log")"
        [[ $digest == "$first" ]] || fail "$processor computes $digest, this processor $first"
        echo "$digest on $processor"
    done
}

# Without optimisation, what is inline stays a function that every source brings: the check must name it. None of those
# may use AVX even so: headers are for every processor, whoever includes them.
prove() {
    local flags
    flags=$("$root/scripts/library-flags.sh" "$build")
    cd "$root"
    # shellcheck disable=SC2086  # words are meant
    {
        "${CXX:-g++}" $flags -O0 -c src/detector/kernels/KernelsAvx2.cpp -o "$work/levels.o"
        "${CXX:-g++}" $flags -mavx -c src/statistics/kernels/WindowSums.cpp -o "$work/plain.o"
    }
    faults_of_avx2 "$work/levels.o" >"$work/faults"
    grep -q 'others may bring it too' "$work/faults" || fail "functions of headers are not noticed"
    grep -v '^\.' "$work/faults" >"$work/functions" || true
    echo "noticed: $(wc -l <"$work/functions") functions of headers, as $(sed -n 1p "$work/functions")"
    echo 'int valueAtStart(); namespace { [[maybe_unused]] const int start = valueAtStart(); }' >"$work/start.h"
    "${CXX:-g++}" $flags -include "$work/start.h" -c src/detector/kernels/KernelsAvx2.cpp -o "$work/start.o"
    faults_of_avx2 "$work/start.o" >"$work/faults"
    grep -q 'before main' "$work/faults" || fail "what runs before main is not noticed"
    echo "noticed: $(grep 'before main' "$work/faults")"
    nm --defined-only "$work/levels.o" | awk '$2 ~ /^[WVu]$/ { print $3 }' | sort >"$work/weak"
    functions_of "$work/levels.o" | sed -n 's/^avx //p' | sort >"$work/avx"
    [[ -s $work/avx ]] || fail "nothing uses AVX without optimisation"
    comm -12 "$work/weak" "$work/avx" >"$work/both"
    [[ ! -s $work/both ]] || fail "of a header, but for AVX2: $(c++filt <"$work/both")"
    echo "without optimisation $(wc -l <"$work/weak") functions of headers are there, and none of them uses AVX"
    faults_of_plain "$work/plain.o" >"$work/faults"
    grep -q 'uses AVX' "$work/faults" || fail "a plain source compiled for AVX is not noticed"
    echo "noticed: $(sed -n 1p "$work/faults")"
}

"$action"
