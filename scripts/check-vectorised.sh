#!/usr/bin/env bash
# Does g++ vectorise every marked loop, for x86-64, AVX2 and x86-64-v3, and for 64-bit ARM if asked?
#
# A mark is a macro that stands for `GCC ivdep`, on a line of its own before a `for`. Compiles every source that holds a
# marked loop, or includes a header that does, with the project's own flags, and reads what the vectoriser says about each:
# there must be at least one instance of the loop, and no instance (of a template, in a caller) may have stayed scalar.
#
#     scripts/check-vectorised.sh [LEVEL...]          names every loop that is not vectorised, and why; exits 1 if one is not
#     scripts/check-vectorised.sh --prove [LEVEL...]  spoils loops in a copy of the sources: those must be named, no others
#
# CXX: the compiler, a g++; g++ if not set. The level aarch64 has a compiler of its own, Debian's g++-aarch64-linux-gnu;
# scripts/ports.sh asks for it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

# Functions whose loops may stay scalar on a level because its instruction set has nothing for them, as "LEVEL FILE
# FUNCTION", each with its reason. One whose loops are all vectorised, or that is gone, has no place here.
exceptions=(
    "aarch64 host/kernels/BlockMean.cpp DivideSums"     # its last loop multiplies numbers of 64 bits, which NEON cannot
)

fail() {
    echo "check-vectorised: $*" >&2
    exit 1
}

# The project's own compile commands of src/ and host/, as lines of directory, source, command.
write_commands() { # level
    local build=$work/build-$1 target=(-DCMAKE_CXX_COMPILER="${CXX:-g++}" -DCOREMD_MARCH="$1")
    [[ $1 != aarch64 ]] || target=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/aarch64.cmake")
    cmake -G Ninja -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release "${target[@]}" \
          -DCOREMD_TESTS=OFF -DCOREMD_TOOLS=OFF -DCOREMD_BENCH=OFF -DCOREMD_INSTALL=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
          >"$work/log" 2>&1 || fail "cannot configure for $1: $(tail -n 20 "$work/log")"
    awk -v root="$root/" '
        function value(line) { sub(/^[^:]*: "/, "", line); sub(/",?$/, "", line); gsub(/\\"/, "\"", line); return line }
        /^ *"directory": / { directory = value($0) }
        /^ *"command": /   { command = value($0); sub(/ -o [^ ]+ -c /, " -c ", command) }
        /^ *"file": /      { source = substr(value($0), length(root) + 1)
                             if (source ~ /^(src|host)\// && !(source in seen)) print directory "\t" source "\t" command
                             seen[source] }' "$build/compile_commands.json" >"$work/commands"
    [[ -s $work/commands ]] || fail "no compile commands for $1"
}

# Every marked loop of the sources: file, first and last line of its header, column of the header's end, function.
write_loops() {
    local files marks
    files=$(cd "$root" && find include src host -name '*.h' -o -name '*.hpp' -o -name '*.cpp' | LC_ALL=C sort)
    marks=$(cd "$root" && sed -nE 's/^ *# *define +([A-Za-z_0-9]+) +_Pragma\("GCC ivdep"\).*/\1/p' $files | paste -sd'|')
    [[ -n $marks ]] || fail "no macro stands for the mark"
    (cd "$root" && awk -v mark="^ *($marks)\$" '
        function lost() { print "check-vectorised: no loop behind the mark of " marked >"/dev/stderr"; exit 1 }
        FNR == 1 && marked != "" { lost() }
        FNR == 1                 { name = "?" }
        /^[A-Za-z].*\(/          { name = substr($0, 1, index($0, "(") - 1); sub(/.*[ *&:]/, "", name) }
        $0 ~ mark                { if (marked != "") lost(); marked = FILENAME ":" FNR; first = depth = 0; next }
        marked == "" || (!first && /^ *(\/\/.*)?$/) { next }
        !first                   { if ($0 !~ /^ *for \(/) lost(); first = FNR }
        { for (column = 1; column <= length($0) && marked != ""; ++column) {
              sign = substr($0, column, 1)
              if (sign == "(") ++depth
              if (sign == ")" && --depth == 0) {
                  print FILENAME "\t" first "\t" FNR "\t" column "\t" name
                  marked = ""
              }
          } }' $files) >"$work/loops" || fail "cannot read the marks"
    [[ -s $work/loops ]] || fail "no marked loop"
}

# Keeps the commands of sources that hold a marked loop or include a header that does.
keep_marked_sources() {
    local directory source command
    cut -f1 "$work/loops" | sort -u | sed "s|^|$root/|" >"$work/marked"
    while IFS=$'\t' read -r directory source command; do
        printf 'cd %q && %s -MM -MF %q\n' "$directory" "$command" "$work/depends-${source//\//-}"
    done <"$work/commands" >"$work/jobs"
    run_jobs
    while IFS=$'\t' read -r directory source command; do
        if tr -s ' \\' '\n' <"$work/depends-${source//\//-}" | grep -xFf "$work/marked" >/dev/null; then
            printf '%s\t%s\t%s\n' "$directory" "$source" "$command"
        fi
    done <"$work/commands" >"$work/marked-commands"
    [[ -s $work/marked-commands ]] || fail "no source to compile"
}

# As many at a time as there are processors.
run_jobs() {
    tr '\n' '\0' <"$work/jobs" | xargs -0 -n 1 -P "$(nproc)" bash -c 2>"$work/log" ||
        fail "cannot compile: $(head -n 20 "$work/log")"
}

# What the vectoriser says, lines of file:line:column: text, files relative to the tree.
write_remarks() { # tree, further options...
    local tree=$1 directory source command
    shift
    rm -f "$work"/remarks-*
    while IFS=$'\t' read -r directory source command; do
        printf 'cd %q && %s -o %q -fdump-tree-vect-optimized-missed=%q\n' "$directory" "${command//"$root/"/"$tree/"} $*" \
               "$work/object-${source//\//-}" "$work/remarks-${source//\//-}"
    done <"$work/marked-commands" >"$work/jobs"
    run_jobs
    sed -nE "s|^$tree/([^ ]+: (optimized\|missed): )|\1|p" "$work"/remarks-* >"$work/remarks"
}

# One line per marked loop: vectorised, scalar or absent; file:line; function.
write_verdicts() {
    awk -F'\t' '
        FNR == NR { for (line = $2; line <= $3; ++line) loop[$1 ":" line] = FNR
                    where[FNR] = $1 ":" $2 "\t" $5; loops = FNR; next }
        { split($0, part, ":"); at = part[1] ":" part[2]
          if (!(at in loop)) next
          if ($0 ~ /optimized: +loop vectorized/) vectorised[loop[at]]
          if ($0 ~ /missed: +couldn.t vectorize loop/) scalar[loop[at]] }
        END { for (i = 1; i <= loops; ++i)
                  print (i in scalar ? "scalar" : i in vectorised ? "vectorised" : "absent") "\t" where[i] }
        ' "$work/loops" "$work/remarks" >"$work/verdicts"
}

# Names what is not vectorised, and exceptions without need.
report() { # level
    local verdict place name status=0
    : >"$work/excused"
    while IFS=$'\t' read -r verdict place name; do
        [[ $verdict != vectorised ]] || continue
        if printf '%s\n' "${exceptions[@]}" | grep -xF "$1 ${place%:*} $name" >/dev/null; then
            echo "$1 ${place%:*} $name" >>"$work/excused"
            continue
        fi
        status=1
        if [[ $verdict == absent ]]; then
            echo "$place: no source compiles $name to a loop for $1"
            continue
        fi
        echo "$place: $name is not vectorised for $1"
        grep -F "$place:" "$work/remarks" | grep -E 'missed: .*(not|bad|could)' | sort -u | sed -n '1,8s/^/    /p'
    done <"$work/verdicts"
    if printf '%s\n' "${exceptions[@]}" | grep "^$1 " | grep -vxFf "$work/excused" >"$work/stale"; then
        sed 's/^/no exception any more: /' "$work/stale"
        status=1
    fi
    return $status
}

prepare() { # level
    write_loops
    write_commands "$1"
    keep_marked_sources
}

check() { # level
    prepare "$1"
    write_remarks "$root"
    write_verdicts
    report "$1" || return 1
    echo "$1: $(grep -c ^vectorised "$work/verdicts") of $(wc -l <"$work/loops") marked loops are vectorised," \
        "the others excepted"
}

# Puts an opaque call into every second marked loop, then into the others: exactly those must be named, beside what is named
# without it.
prove() { # level
    local half named spoiled
    exceptions=()
    prepare "$1"
    write_remarks "$root"
    write_verdicts
    awk '!/^vectorised/ { print $2 }' "$work/verdicts" >"$work/scalar"
    for half in 0 1; do
        rm -rf "$work/tree"
        mkdir "$work/tree"
        cp -r "$root/include" "$root/src" "$root/host" "$work/tree"
        while IFS=$'\t' read -r file first last column name; do
            sed -i "$last s/^\(.\{$((column - 1))\}\))/\1, Opaque())/" "$work/tree/$file"
        done < <(awk -v half="$half" 'NR % 2 == half' "$work/loops")
        echo 'void Opaque();' >"$work/opaque.h"
        write_remarks "$work/tree" -include "$work/opaque.h"
        write_verdicts
        report "$1" >"$work/report" || true
        named=$(sed -nE 's/^([^ ]+:[0-9]+): .* is not vectorised .*/\1/p' "$work/report" | sort)
        spoiled=$(awk -v half="$half" 'NR % 2 == half { print $1 ":" $2 }' "$work/loops" | sort -u - "$work/scalar")
        [[ $named == "$spoiled" ]] ||
            fail "spoiled (<) and named (>) loops differ:"$'\n'"$(diff <(echo "$spoiled") <(echo "$named"))"
    done
    echo "$1: each of $(wc -l <"$work/loops") marked loops is named when a call spoils it"
}

action=check
if [[ ${1:-} == --prove ]]; then
    action=prove
    shift
fi
((${#@})) || set -- x86-64 x86-64-v3
status=0
for level in "$@"; do
    "$action" "$level" || status=1
done
exit $status
