# Do the installed examples compile with what pkg-config says, and print what they should?  With the shared library and
# with the archive.
. "$(dirname "$0")/common.sh"
use_pkg_config_of "$prefix"
library=$(library_directory "$prefix")
examples=$prefix/share/doc/coreMD/examples
mkdir -p "$work/examples"

run() { # example, its program
    local name=${1//./_}
    (cd "$work/examples" && LD_LIBRARY_PATH=$library "$2") >"$work/examples/$name.txt" || fail "$1 ends with $?"
    diff -u "$source_root/examples/expected/$name.txt" "$work/examples/$name.txt" || fail "$1 prints something else"
}

count=0
for path in "$examples"/*; do
    example=${path##*/}
    program=$work/examples/${example//./_}
    needs=(coreMD)
    case $example in
        conditioned.c) needs=(coreMD-host coreMD) ;;
        background_snapshot.cpp) needs=(coreMD-host-classes coreMD) ;;
        partly_h264.cpp)                                    # decodes; its own test runs it
            needs=(coreMD-host-classes coreMD libavformat libavcodec libavutil)
            if ! pkg-config --exists "${needs[@]}"; then
                echo "left out: $example, needs FFmpeg's libraries"
                continue
            fi
            ;;
    esac
    case $example in
        *.c) compile=("$CC" -std=c11 "${warnings[@]}") ;;
        *.cpp) compile=("$CXX" -std=c++20 "${warnings[@]}") ;;
        *) fail "what is $example?" ;;
    esac
    compile+=(-O1 "$path" -pthread)
    # shellcheck disable=SC2046  # words are meant
    "${compile[@]}" -o "$program" $(pkg-config --cflags --libs "${needs[@]}") || fail "$example does not compile"
    [[ $example != partly_h264.cpp ]] || continue
    run "$example" "$program"
    [[ $(LD_LIBRARY_PATH=$library ldd "$program") == *"libcoreMD.so.1 => $library"* ]] || fail "$example is linked otherwise"
    count=$((count + 1))
    [[ ${needs[0]} == coreMD ]] || continue

    archive=$(pkg-config --static --cflags --libs coreMD | sed 's/-lcoreMD/-l:libcoreMD.a/')
    # shellcheck disable=SC2086
    "${compile[@]}" -o "$program-static" $archive || fail "$example does not compile with the archive"
    run "$example" "$program-static"
    [[ $(ldd "$program-static") != *libcoreMD* ]] || fail "$example is linked otherwise"
done
((count == 5)) || fail "$count examples instead of 5"

# The words of pkg-config may stand before the source.
# shellcheck disable=SC2046
"$CC" $(pkg-config --cflags --libs coreMD) "$examples/minimal.c" -o "$work/examples/words_first" ||
    fail "library before source does not link"
run minimal.c "$work/examples/words_first"
