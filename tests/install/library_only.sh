# Is a build without tests and tools only the library, with whatever warnings a compiler of tomorrow has?  And does the
# manual list every option?  Configured as the manual says; nothing is built.
. "$(dirname "$0")/common.sh"
directory=$work/library_only
manual=$source_root/docs/getting-started.md
rm -rf "$directory"

# The words of the manual, with another directory, for sources in a folder with a blank in its name.
folder="$work/a folder"
ln -sfn "$source_root" "$folder"
command=$(sed -n 's/^cmake -B build\/library \(.*\)/\1/p' "$manual")
[[ -n $command ]] || fail "docs/getting-started.md configures no library"
# shellcheck disable=SC2086  # words are meant
cmake -S "$folder" -B "$directory" -G Ninja $command >"$directory.log" 2>&1 ||
    { cat "$directory.log" >&2; fail "$command"; }

# What scripts compile with: options without a blank, seen from the sources.
flags=$("$folder/scripts/library-flags.sh" "$directory")
[[ " $flags " == *" -Isrc "*" -ffp-contract=off "* && $flags != *folder* ]] || fail "library-flags.sh says $flags"

steps=$(ninja -C "$directory" -n | tail -n 1 | sed -n 's/^\[[0-9]*\/\([0-9]*\)\].*/\1/p')
((steps > 30 && steps < 110)) || fail "$steps steps: more than the library, or less"
strict() { grep -c -- ' -Werror' "$1/build.ninja" || true; }
[[ $(strict "$directory") == 0 ]] || fail "a warning ends the build"
! grep -E 'gtest|mdscan' "$directory/build.ninja" || fail "something else is built, too"
cmake -S "$folder" -B "$directory" -DCOREMD_WERROR=ON >>"$directory.log" 2>&1
[[ $(strict "$directory") != 0 ]] || fail "that warnings end the build would not be noticed"

# Every option that is offered.
offered=$(sed -nE 's/^ *(option|set)\((COREMD_[A-Z_]+) .*/\2/p' "$source_root"/{,tests/,fuzz/}CMakeLists.txt |
    LC_ALL=C sort -u)
listed=$(sed -nE 's/^\| `(COREMD_[A-Z_]+)` .*/\1/p' "$manual" | LC_ALL=C sort -u)
diff <(echo "$offered") <(echo "$listed") || fail "docs/getting-started.md lists other options (>) than CMake offers (<)"
