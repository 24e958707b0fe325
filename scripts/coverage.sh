#!/bin/sh
# Which lines and branches of the library do the tests reach?
#
# Builds without optimisation and with --coverage, runs all tests, prints the coverage of src/ and host/ with every line and
# branch that was not reached. Ends with 1 below 98 % of the lines or 95 % of the branches. docs/coverage.md says why what is
# left cannot be reached. Not counted: the failing arms of assertions (each has a death test, in a process whose counts are
# lost), and the arms that the compiler adds for exceptions.
#
#     scripts/coverage.sh [build directory]           build/coverage if none is given; needs gcovr
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
build=$(realpath -m "${1:-$root/build/coverage}")
command -v gcovr >/dev/null 2>&1 || { echo "coverage: gcovr is not installed"; exit 1; }

log=$(mktemp) || exit 1
trap 'rm -f "$log"' EXIT
trap 'exit 1' HUP INT TERM

(cd "$root" && cmake --preset coverage -B "$build") >"$log" 2>&1 && cmake --build "$build" >>"$log" 2>&1 ||
    { tail -n 40 "$log"; exit 1; }
find "$build" -name '*.gcda' -delete
(cd "$build" && ctest --no-tests=error -j "$(nproc)" >"$log" 2>&1) || { tail -n 40 "$log"; exit 1; }
tail -n 3 "$log"

asserted='.*\b(assert|MD_ASSERT_AT|MD_UNLESS|MD_UNLESS_IN)\(.*'
gcovr --root "$root" --object-directory "$build" --filter "$root/src/" --filter "$root/host/" \
    --exclude-lines-by-pattern "$asserted" --exclude-branches-by-pattern "$asserted" \
    --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
    --txt "$build/lines.txt" --branches --json "$build/coverage.json" "$build" >/dev/null || exit 1
report() { gcovr --root "$root" --add-tracefile "$build/coverage.json" "$@"; }
report --txt "$build/lines.txt" && cat "$build/lines.txt"
report --branches --txt "$build/branches.txt" && grep -v '100%' "$build/branches.txt"
report --print-summary --fail-under-line 98 --fail-under-branch 95 --json-summary "$build/summary.json"
