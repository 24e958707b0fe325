#!/usr/bin/env bash
# What does it cost?  Builds the benchmarks as released, as processors without AVX2 run
# them, and for x86-64-v3 as a whole, runs them, prints the tables, and writes
# docs/performance.md with its plot.  The machine should have nothing else to do.
#
#     scripts/bench.sh              everything, about ten minutes
#     scripts/bench.sh --quick      the main table only, below two minutes; prints, writes nothing
#
# BENCH_LEVELS: presets to run, all three if not set.  BENCH_REPETITIONS: at most so many per figure.
# BENCH_BUILD: folder of the builds, build/ if not set.  BENCH_DOCS: folder to write to, docs/ if not set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BENCH_BUILD:-$root/build}
docs=${BENCH_DOCS:-$root/docs}
quick=
case ${1:-} in
'') ;;
--quick) quick=1 ;;
*)
    echo "usage: scripts/bench.sh [--quick]" >&2
    exit 2
    ;;
esac

# The features that a level adds, as the processor names them; the first that is missing is printed.
missing_feature() {
    local features=() feature
    [[ $1 != *-v3 ]] || features+=(cx16 lahf_lm popcnt sse4_1 sse4_2 ssse3 avx avx2 bmi1 bmi2 f16c fma abm movbe)
    for feature in "${features[@]}"; do
        if ! grep -qw "$feature" /proc/cpuinfo; then
            echo "$feature"
            return
        fi
    done
}

if [[ -n $quick ]]; then
    levels=${BENCH_LEVELS:-release}
else
    levels=${BENCH_LEVELS:-release-plain release release-v3}
fi
runnable=()
for level in $levels; do
    missing=$(missing_feature "$level")
    if [[ -n $missing ]]; then
        echo "bench: $level skipped: the processor lacks $missing"
    else
        runnable+=("$level")
    fi
done
((${#runnable[@]})) || runnable=(release)

results=$build/bench
mkdir -p "$results"
rm -f "$results"/*.json
log=$results/log
: >"$log"
fail() {
    tail -n 40 "$log" >&2
    echo "bench: $1; all that was said is in $log" >&2
    exit 1
}

for level in "${runnable[@]}"; do
    echo "bench: building $level" >&2
    (cd "$root" && cmake --preset "$level" -B "$build/$level" -DCOREMD_BENCH=ON) >>"$log" 2>&1 ||
        fail "$level cannot be configured"
    cmake --build "$build/$level" --target benchmarks >>"$log" 2>&1 || fail "$level cannot be built"
    grep -hE 'not found: no (benchmarks|peers?)' "$log" | sort -u | sed 's/^-- /bench: skipped: /' || true
    [[ -x $build/$level/coreMD_bench ]] || fail "Google Benchmark is missing"
    sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/$level/CMakeCache.txt" >"$results/compiler"
done

# program, preset, part of the results' name, filter
run() {
    echo "bench: running $1 of $2: $3" >&2
    "$build/$2/$1" --benchmark_filter="$4" --benchmark_out="$results/$2-$3.json" --benchmark_out_format=json \
        --benchmark_context="level=$2" --benchmark_display_aggregates_only=true >>"$log" 2>&1 || fail "$1 of $2 failed"
}

# The build of which everything is measured: the one that everybody gets.
main=${runnable[0]}
for level in "${runnable[@]}"; do
    [[ $level != release ]] || main=$level
done

mainTable='^pass/(still|noise|random|lattice|cover|shadow5|shadow100)/standard/1/warm/240x135'
mainTable+='|^pass/moving/standard/(1|4|16)/warm/240x135|^pass/noise/standard/1/cold/240x135'
mainTable+='|^pass/lattice/standard/1/warm/480x270'
for level in "${runnable[@]}"; do
    if [[ $level == "$main" && -z $quick ]]; then
        run coreMD_bench "$level" passes '^pass/'
    else
        run coreMD_bench "$level" passes "$mainTable"
    fi
    run coreMD_kernel_bench "$level" stages '^stage/shadow.*/240x135'
done
if [[ -z $quick ]]; then
    run coreMD_kernel_bench "$main" kernels '^(kernel|stage)/'
    run coreMD_bench "$main" scaling '^scaling/'
    run coreMD_memory_bench "$main" memory '^memory/'
fi
run coreMD_bench "$main" others '^(peer|host)/'

# A count is the same on every day, but only where the tests and valgrind are; the report says so where it is missing.
counts=$results/instructions
: >"$counts"
if [[ -z $quick ]] && cmake --build "$build/$main" --target CountedPass >>"$log" 2>&1; then
    echo "bench: counting instructions" >&2
    "$root/scripts/count-instructions.sh" "$build/$main" >"$counts" 2>>"$log" || true
fi

compiler=$("$(cat "$results/compiler")" --version | sed -n 1p)
# As the compiler is called for one source of the library, less what names folders, warnings and the level.
flags=$(sed -n '/coreMD_objects.dir\/core\/coreMD.cpp.o:/,/FLAGS = /s/^ *FLAGS = //p' "$build/$main/build.ninja" |
    tr ' ' '\n' | grep -vE '^-(ffile-prefix-map|W|march)' | paste -sd ' ')
arguments=(--main "$main" --instructions "$counts" --compiler "$compiler" --flags="$flags" "$results")
if [[ -n $quick ]]; then
    python3 "$root/bench/report.py" --quick "${arguments[@]}"
    exit 0
fi
python3 "$root/bench/report.py" --plot-data "$results/plot" --document "$results/performance.md" "${arguments[@]}"
(cd "$results" && gnuplot -e "data='plot'; output='performance.svg'" "$root/bench/plot.gnuplot") >>"$log" 2>&1 ||
    fail "no plot"
mv "$results/performance.svg" "$results/performance.md" "$docs/"
echo "bench: written to ${docs#"$PWD"/}/performance.md"
