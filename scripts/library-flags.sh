#!/usr/bin/env bash
# With which options does the build compile a source of the library?  Prints them on one line, to compile it otherwise: less
# what names the compiler, files, warnings and the instruction set level. Folders of the sources are as seen from there,
# wherever that is: who takes the options works there. cmake/Rules.cmake is where they are written.
#
#     scripts/library-flags.sh [build directory]       build/release if none is given; configured first where it is not yet
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
source=$root/src/core/coreMD.cpp

if [[ ! -e $build/compile_commands.json ]]; then
    configured=$(cd "$root" && cmake --preset release -B "$build" 2>&1) || { echo "$configured" >&2; exit 1; }
fi
command=$(grep -B 1 -F "\"file\": \"$source\"" "$build/compile_commands.json" | sed -n 's/^ *"command": "//p') &&
    [[ $command ]] || { echo "library-flags: nothing compiles $source in $build" >&2; exit 1; }

# Without the root no word has a blank, and none needs the quotation marks that it had for them.
command=${command//"$root/"/}
command=${command//\\\"/}
read -ra words <<<"${command%% -o *}"
flags=()
for word in "${words[@]}"; do
    case $word in
    -W* | -march=* | -ffile-prefix-map=*) ;;
    -*) flags+=("$word") ;;
    esac
done
echo "${flags[*]}"
