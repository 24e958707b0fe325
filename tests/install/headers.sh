# Does every installed header compile alone, twice in a row, with every compiler at hand?  coreMD.h as C11, C++17 and
# C++20, the others as C++20. And do the others leave the global namespace to the host?
. "$(dirname "$0")/common.sh"
directory=$work/headers
rm -rf "$directory"
mkdir "$directory"

count=0
while read -r header; do
    name=${header//\//_}
    printf '#include <%s>\n#include <%s>\n' "$header" "$header" >"$directory/$name.cpp"
    printf '#if defined(NDEBUG) != defined(HOST_IS_SILENT)\n#error "decides about NDEBUG"\n#endif\n' >>"$directory/$name.cpp"
    count=$((count + 1))
done < <(cd "$prefix/include" && find . -name '*.h' -o -name '*.hpp' | sed 's|^\./||')
((count >= 16)) || fail "$count headers only"
cp "$directory/coreMD.h.cpp" "$directory/coreMD.c"
cp "$directory/coreMD-host.h.cpp" "$directory/coreMD-host.c"

check() { "$@" "${warnings[@]}" -I"$prefix/include" -fsyntax-only || fail "$*"; }

# The preprocessor knows whether NDEBUG stays.
for program in "$directory"/*.cpp; do
    "$CXX" -std=c++20 -DNDEBUG -DHOST_IS_SILENT -I"$prefix/include" -E "$program" >/dev/null || fail "$program with NDEBUG"
done

compilers=0
for compilers_of in "gcc g++" "clang clang++"; do
    read -r c cxx <<<"$compilers_of"
    if ! command -v "$c" >/dev/null || ! command -v "$cxx" >/dev/null; then
        echo "left out: no $c"
        continue
    fi
    check "$c" -std=c11 "$directory/coreMD.c" "$directory/coreMD-host.c"
    check "$c" -std=c89 "$directory/coreMD-host.c"
    check "$cxx" -std=c++17 "$directory/coreMD.h.cpp"
    check "$cxx" -std=c++20 "$directory"/*.cpp
    compilers=$((compilers + 1))
done
((compilers > 0)) || fail "no compiler"

# What a header brings outside of our namespaces and of coreMD.h, as the preprocessor leaves it: nothing.
global_declarations() { # header, include directory
    "$CXX" -std=c++20 -w -I"$2" -E -x c++ "$1" | awk -v own="$2/coreMD" '
        /^# [0-9]+ "/ { split($0, part, "\""); kept = index(part[2], own) == 1 && part[2] != own ".h"; next }
        kept && !/^ *#/ { gsub(/"[^"]*"/, "\"\""); text = text " " $0 }
        END { for (i = 1; i <= length(text); ++i) {
                  sign = substr(text, i, 1)
                  if (sign == "}") --depth
                  if (!depth) outside = outside sign
                  if (sign == "{") ++depth
              }
              gsub(/namespace (MD|Utils|Host|coremd)(::[A-Za-z]+)* *\{\}/, "", outside)
              gsub(/^ +| +$/, "", outside)
              print outside }'
}
while read -r header; do
    declared=$(global_declarations "$prefix/include/$header" "$prefix/include")
    [[ -z $declared ]] || fail "$header declares globally: $declared"
done < <(cd "$prefix/include" && find coreMD.hpp coreMD -name '*.h' -o -name '*.hpp')

# That check itself: a header whose namespace was taken away is noticed.
mkdir -p "$directory/open/coreMD/utils"
sed '/namespace MD/d' "$prefix/include/coreMD/utils/Blocks.h" >"$directory/open/coreMD/utils/Blocks.h"
[[ $(global_declarations "$directory/open/coreMD/utils/Blocks.h" "$directory/open") == "struct BlockRange"* ]] ||
    fail "global declarations are not noticed"

# The first check itself: a header that lacks an include is noticed.
sed 's/#include <coreMD.h>//' "$prefix/include/coreMD/zones/MDZone.h" >"$directory/broken.h"
printf '#include "broken.h"\n' >"$directory/broken.cpp"
says "does not name a type" "$CXX" -std=c++20 -I"$prefix/include" -fsyntax-only "$directory/broken.cpp"

# And one that takes NDEBUG away.
printf '#undef NDEBUG\n#include "%s"\n' "$directory/coreMD.h.cpp" >"$directory/broken.cpp"
says "decides about NDEBUG" "$CXX" -std=c++20 -DNDEBUG -DHOST_IS_SILENT -I"$prefix/include" -fsyntax-only \
    "$directory/broken.cpp"
