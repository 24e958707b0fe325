# Does the dynamic loader choose the library that was built for the processor, and do all of them compute the same bits?
# Builds and installs the library for every level, then forces the loader to each in turn.
. "$(dirname "$0")/common.sh"
levels=(x86-64-v3 x86-64-v4)
if [[ $(uname -m) != x86_64 ]]; then
    echo "left out: not an x86-64 machine"
    exit 0
fi
work=$work/hwcaps
rm -rf "$work"
mkdir -p "$work"

# Only what is asked for here: the shared libraries.
cmake -S "$source_root" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCOREMD_TESTS=OFF -DCOREMD_TOOLS=OFF \
    -DCOREMD_HWCAPS="$(IFS=';' && echo "${levels[*]}")" >"$work/build.log" 2>&1 &&
    cmake --build "$work/build" --target coreMD "${levels[@]/#/coreMD_}" >>"$work/build.log" 2>&1 &&
    cmake --install "$work/build" --prefix "$work/installed" --component coreMD_runtime >>"$work/build.log" 2>&1 ||
    { cat "$work/build.log" >&2; fail "the library for ${levels[*]}"; }
libraries=$(dirname "$(find "$work/installed" -maxdepth 3 -name libcoreMD.so.1)")
file_of() { # level, or none
    [[ $1 == none ]] && echo "$libraries/libcoreMD.so.1" || echo "$libraries/glibc-hwcaps/$1/libcoreMD.so.1"
}

# Each level exports the same, is for the processors that it says, and the plain one for all.
registers() { objdump -d "$(file_of "$1")" | grep -oE '%[yz]mm[0-9]+|%k[1-7]' | LC_ALL=C sort -u | paste -sd' '; }
for level in "${levels[@]}"; do
    cmp <(nm -D --defined-only "$(file_of none)" | cut -c18-) <(nm -D --defined-only "$(file_of "$level")" | cut -c18-) ||
        fail "the library for $level exports something else"
done
[[ -z $(registers none) ]] || fail "the library for all processors uses $(registers none)"
[[ $(registers x86-64-v3) == *%ymm* && $(registers x86-64-v3) != *%k* ]] || fail "x86-64-v3 uses $(registers x86-64-v3)"
[[ $(registers x86-64-v4) == *%k* ]] || fail "x86-64-v4 uses $(registers x86-64-v4)"

# Hosts: one that prints a digest of whole streams, one that opens the file it is told to.
# shellcheck disable=SC2046  # words are meant
"$CXX" $("$source_root/scripts/library-flags.sh" "$build") -O1 -I"$source_root/tests/kit" \
    "$source_root/tests/pipeline/StreamDigest.cpp" -o "$work/digest" "$(file_of none)"
"$CC" -std=c11 "${warnings[@]}" "$here/hosts/open_by_path.c" -o "$work/open_by_path" -ldl

# chosen PROGRAM..: which file of the library the loader takes; the program's output is in $work/output.
chosen() {
    LD_DEBUG=libs LD_LIBRARY_PATH=$libraries "$@" 2>"$work/loader.log" >"$work/output" || fail "$* ends with $?"
    sed -n 's/.*calling init: \(.*libcoreMD.*\)/\1/p' "$work/loader.log"
}

loader=$(readelf -l "$work/digest" | sed -n 's/.*interpreter: \(.*\)\]/\1/p')
best=none
first=
for level in none "${levels[@]}"; do
    if [[ $level != none ]]; then
        if ! "$loader" --help | grep "$level (supported, searched)" >/dev/null; then
            echo "left out: this processor is not $level"
            continue
        fi
        best=$level
    fi
    file=$(chosen "$loader" --glibc-hwcaps-mask "$level" "$work/digest")
    [[ $file == "$(file_of "$level")" ]] || fail "for $level the loader takes '$file'"
    digest=$(<"$work/output")
    echo "$digest ${file#"$work/installed/"}"
    first=${first:-$digest}
    [[ $digest == "$first" ]] || fail "$level computes $digest, the library for all processors $first"
done
[[ $("$loader" --library-path "$libraries" "$work/digest" 700) != "$first" ]] || fail "a changed frame is not noticed"

# Unforced it takes the best one; a library opened by its path is the very one.
file=$(chosen "$work/digest")
[[ $file == "$(file_of "$best")" ]] || fail "the loader takes '$file', $best would be better"
echo "by itself: ${file#"$work/installed/"}"
file=$(chosen "$work/open_by_path" libcoreMD.so.1)
[[ $file == "$(file_of "$best")" ]] || fail "dlopen by name takes '$file', $best would be better"
file=$(chosen "$work/open_by_path" "$(file_of none)")
[[ $file == "$(file_of none)" ]] || fail "dlopen by path takes '$file'"
