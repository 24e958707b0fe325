# Can the project be part of another one, without noise?  Built unoptimised: that it links and runs is the question.
. "$(dirname "$0")/common.sh"

# A copy of what is needed to build, without builds and the like: FetchContent copies the whole directory.
rm -rf "$work/project" "$work/fetching"
mkdir "$work/project"
cp -r "$source_root"/{CMakeLists.txt,LICENSE,cmake,examples,host,include,src} "$work/project"
cp -r "$here/fetch_content" "$work/fetching"
cp "$source_root/examples/minimal.cpp" "$work/fetching/first.cpp"

declare -A project=([add_subdirectory]=$here/subproject [FetchContent]=$work/fetching)
for way in add_subdirectory FetchContent; do
    directory=$work/$way
    try_project "${project[$way]}" "$directory" -DCOREMD="$work/project" -DHOSTS="$here/hosts" \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0
    ! grep -iE 'warning|mdscan|gtest|GoogleTest' "$directory.log" || fail "$way is not quiet"
    ! find "$directory" -name '*selftest*' -perm -u+x -type f | grep . || fail "$way builds what nobody asked for"
    DESTDIR=$directory.stage cmake --install "$directory" --prefix /usr >/dev/null
    installed=$(cd "$directory.stage" && find . -type f)
    [[ $installed == ./usr/bin/reduce ]] || fail "$way installs $installed"
    rm -rf "$directory.stage"
done
