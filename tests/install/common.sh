# What do all install tests share?  Sourced by them; each is called as
#
#     bash <test>.sh <project root> <build directory> <work directory> <C compiler> <C++ compiler>
#
# The first one, tree.sh, leaves an installed tree in <work directory>/installed.
set -euo pipefail
source_root=$1 build=$2 work=$3
export CC=$4 CXX=$5
prefix=$work/installed
here=$source_root/tests/install
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
unset DESTDIR CMAKE_PREFIX_PATH LD_LIBRARY_PATH LD_BIND_NOW PKG_CONFIG_LIBDIR

version=$("$source_root/scripts/library-version.sh")

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# The words of a C and a C++ compiler that builds against the tree in $1.
library_directory() { dirname "$(find "$1" -name 'libcoreMD.so')"; }
use_pkg_config_of() { export PKG_CONFIG_PATH; PKG_CONFIG_PATH=$(library_directory "$1")/pkgconfig; }

# says TEXT COMMAND..: the command fails and what it says, line breaks aside, holds the text.
says() {
    local text=$1 output
    shift
    if output=$("$@" 2>&1); then
        echo "$output" >&2
        fail "succeeds: $*"
    fi
    output=$(tr -s ' \n' '  ' <<<"$output")
    [[ $output == *"$text"* ]] || fail "does not say '$text': $* says: $output"
    echo "says '$text': ${*##*/}"
}

# Configures, builds and tests the project in $1 in the directory $2; further arguments are for its configuration.
try_project() {
    local project=$1 directory=$2
    shift 2
    rm -rf "$directory"
    cmake -S "$project" -B "$directory" -G Ninja "$@" >"$directory.log" 2>&1 &&
        cmake --build "$directory" >>"$directory.log" 2>&1 &&
        ctest --test-dir "$directory" --output-on-failure --no-tests=error >>"$directory.log" 2>&1 ||
        { cat "$directory.log" >&2; fail "$project with $*"; }
}
