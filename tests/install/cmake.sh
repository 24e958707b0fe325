# Does find_package find what was installed?
. "$(dirname "$0")/common.sh"
arguments=(-DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLES="$prefix/share/doc/coreMD/examples" -DHOSTS="$here/hosts")
try_project "$here/find_package_c" "$work/find_package_c" "${arguments[@]}"
try_project "$here/find_package" "$work/find_package" "${arguments[@]}" -DCOREMD_WISH="$version"
