#!/usr/bin/env bash
# Is every source as .clang-format wants it, and no line longer than it allows, in scripts and CMake files neither?  Part of
# the tests.
# usage: scripts/check-format.sh [--fix]     --fix: applies the format; what is still too long is named
set -euo pipefail
cd "$(dirname "$0")/.."
# Another version writes another dialect.
format=$(command -v clang-format-14 || command -v clang-format) && [[ $("$format" --version) == *"version 14."* ]] ||
    { echo "check-format: needs clang-format 14" >&2; exit 1; }
limit=$(sed -n 's/^ColumnLimit: *//p' .clang-format)

files() { # patterns of names...
    if [[ -e .git ]]; then
        git ls-files -z -- "$@"
    else                                                    # archives have no git
        local names=() pattern
        for pattern in "$@"; do names+=(-o -name "${pattern##*/}"); done
        find . -path ./build -prune -o '(' "${names[@]:1}" ')' -type f -print0
    fi
}
sources() { files '*.c' '*.cpp' '*.h' '*.hpp'; }
scripts() { files '*.sh' '*.py' '*.cmake' '*CMakeLists.txt' dev .ci/run; }

if [[ ${1:-} == --fix ]]; then
    sources | xargs -0 -P "$(nproc)" -n 40 "$format" -i
fi
status=0
sources | xargs -0 -P "$(nproc)" -n 40 "$format" --dry-run -Werror || status=1
long=$({ sources && scripts; } |
    xargs -0 awk -v limit="$limit" 'length > limit { print FILENAME ":" FNR ": " length " columns" }')
if [[ -n $long ]]; then
    printf '%s\n' "$long" >&2
    status=1
fi
((status == 0)) || echo "check-format: run scripts/check-format.sh --fix" >&2
exit $status
