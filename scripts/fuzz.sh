#!/usr/bin/env bash
# Does any input break what must always hold?  Builds the fuzzers with clang's sanitizers and runs every target, one after
# another, on a copy of its corpus.  Ends with 1 on a finding, and says where the input is.
#
#     scripts/fuzz.sh [SECONDS]     per target, 60 if not given
#
# FUZZ_BUILD: folder to build in, build/fuzz if not set.  FUZZ_TARGETS: the targets to run, all if not set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
build=$(realpath -m "${FUZZ_BUILD:-$root/build/fuzz}")
if ! [[ $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "usage: scripts/fuzz.sh [SECONDS]" >&2
    exit 2
fi

mkdir -p "$build"
log=$build/build.log
(cd "$root" && cmake --preset fuzz -B "$build") >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
cmake --build "$build" --target fuzzers >"$log" 2>&1 || { cat "$log" >&2; exit 1; }

# The targets that were built: without FFmpeg's libraries there is one less.
targets=()
for source in "$root"/fuzz/*Fuzz.cpp; do
    target=$(basename "$source" .cpp)
    [[ -z ${FUZZ_TARGETS:-} || " $FUZZ_TARGETS " == *" $target "* ]] || continue
    if [[ -x $build/$target ]]; then
        targets+=("$target")
    else
        echo "fuzz: $target left out, its libraries are missing"
    fi
done
((${#targets[@]})) || { echo "fuzz: no target" >&2; exit 1; }

# Options that one target needs.
options_of() {
    case $1 in
    DetectFuzz) echo "-max_len=600" ;;
    MemoryFuzz) echo "-max_len=2048" ;;
    ZoneMaskFuzz) echo "-max_len=4096" ;;
    BlockReducerFuzz) echo "-max_len=1024" ;;
    MediaFuzz) echo "-max_len=65536 -rss_limit_mb=3072" ;;
    esac
}

status=0
printf '%-18s %12s %10s %10s %8s  %s\n' target executions coverage features seconds result
for target in "${targets[@]}"; do
    work=$build/fuzzing/$target
    mkdir -p "$work/corpus" "$work/findings"
    cp "$root/fuzz/corpus/$target"/* "$work/corpus/"
    log=$work/log
    result="no finding"
    before=$(find "$work/findings" -type f | LC_ALL=C sort)
    # shellcheck disable=SC2046
    UBSAN_OPTIONS=print_stacktrace=1 "$build/$target" -max_total_time="$seconds" -len_control=5 -timeout=30 \
        -print_final_stats=1 $(options_of "$target") -artifact_prefix="$work/findings/" "$work/corpus" >"$log" 2>&1 ||
        result=FINDING
    last=$(grep -E '^#[0-9]+.* cov: ' "$log" | tail -n 1 || true)
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    coverage=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$last")
    features=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$last")
    printf '%-18s %12s %10s %10s %8s  %s\n' \
        "$target" "${executions:-?}" "${coverage:-?}" "${features:-?}" "$seconds" "$result"
    if [[ $result == FINDING ]]; then
        status=1
        grep -m 3 -E 'claim does not hold|ERROR: |runtime error|Assertion' "$log" || tail -n 5 "$log"
        found=$(comm -13 <(echo "$before") <(find "$work/findings" -type f | LC_ALL=C sort) | tail -n 1)
        echo "fuzz: the input is ${found:-not known}, all that was said is in $log"
        [[ -z $found ]] || echo "fuzz: again with: $build/$target $found"
    fi
done
exit $status
