#!/usr/bin/env bash
# With which options does the build compile a source of the library?  Prints them on one line, to compile it otherwise: less
# what names the compiler, files, warnings and the instruction set level. cmake/Rules.cmake is where they are written.
#
#     scripts/library-flags.sh [build directory]       build/release if none is given; configured first where it is not yet
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
source=$root/src/core/coreMD.cpp

if [[ ! -e $build/compile_commands.json ]]; then
    configured=$(cd "$root" && cmake --preset release -B "$build" 2>&1) || { echo "$configured" >&2; exit 1; }
fi
command=$(grep -m 1 -F -- "-c $source\"" "$build/compile_commands.json") ||
    { echo "library-flags: nothing compiles $source in $build" >&2; exit 1; }
read -ra words <<<"$(sed 's/^ *"command": "//; s/ -o [^ ]* -c .*//' <<<"$command")"
flags=()
for word in "${words[@]}"; do
    case $word in
    -W* | -march=*) ;;
    -*) flags+=("$word") ;;
    esac
done
echo "${flags[*]}"
