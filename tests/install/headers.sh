# Does every installed header compile alone, twice in a row, with every compiler at hand?  coreMD.h as C11, C++17 and
# C++20, the others as C++20.
. "$(dirname "$0")/common.sh"
directory=$work/headers
rm -rf "$directory"
mkdir "$directory"

count=0
while read -r header; do
    name=${header//\//_}
    printf '#include <%s>\n#include <%s>\n' "$header" "$header" >"$directory/$name.cpp"
    count=$((count + 1))
done < <(cd "$prefix/include" && find . -name '*.h' -o -name '*.hpp' | sed 's|^\./||')
((count >= 18)) || fail "$count headers only"
cp "$directory/coreMD.h.cpp" "$directory/coreMD.c"

check() { "$@" "${warnings[@]}" -I"$prefix/include" -fsyntax-only || fail "$*"; }
compilers=0
for compilers_of in "gcc g++" "clang clang++"; do
    read -r c cxx <<<"$compilers_of"
    if ! command -v "$c" >/dev/null || ! command -v "$cxx" >/dev/null; then
        echo "left out: no $c"
        continue
    fi
    check "$c" -std=c11 "$directory/coreMD.c"
    check "$cxx" -std=c++17 "$directory/coreMD.h.cpp"
    check "$cxx" -std=c++20 "$directory"/*.cpp
    compilers=$((compilers + 1))
done
((compilers > 0)) || fail "no compiler"

# The check itself: a header that lacks an include is noticed.
sed 's/#include <coreMD.h>//' "$prefix/include/coreMD/zones/MDZone.h" >"$directory/broken.h"
printf '#include "broken.h"\n' >"$directory/broken.cpp"
says "does not name a type" "$CXX" -std=c++20 -I"$prefix/include" -fsyntax-only "$directory/broken.cpp"
