#!/bin/sh
# Does every source and every header compile alone, with nothing but the two include directories?
#
#     scripts/check-alone.sh [build directory]        whose rules are followed, build/release if none is given
#                                                     CXX: the compiler, g++ if not set
set -u
root=$(cd "$(dirname "$0")/.." && pwd) || exit 1
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
cd "$root" || exit 1

flags=$(scripts/library-flags.sh "${1:-build/release}") || exit 1
check='"$0" $3 -fsyntax-only "$1" 2>"$2/log.$$" || {
    echo "not alone: $1"
    cat "$2/log.$$"
    exit 1
}'
compiler=${CXX:-g++}

{
    find src -name '*.cpp' | LC_ALL=C sort
    find include src -name '*.h' -o -name '*.hpp' | LC_ALL=C sort | while read -r header; do
        # A header of its own, twice: it must guard itself too.
        name=$work/$(printf '%s' "$header" | tr '/' '_').cpp
        printf '#include "%s"\n#include "%s"\n' "${header#*/}" "${header#*/}" >"$name"
        printf '%s\n' "$name"
    done
} >"$work/list"

[ -s "$work/list" ] || { echo "found nothing to check"; exit 1; }
status=0
xargs -P 2 -I '{}' sh -c "$check" "$compiler" '{}' "$work" "$flags" <"$work/list" || status=1
[ "$status" -eq 0 ] && echo "$(wc -l <"$work/list") files compile alone"
exit $status
