# Does the installation put every file where it belongs, and nothing anywhere else?  Installs below a DESTDIR, compares with
# installed_files.txt, then moves the whole prefix: what the other tests use has never been where it was installed to.
. "$(dirname "$0")/common.sh"

rm -rf "$work"
mkdir -p "$work"
DESTDIR=$work/stage cmake --install "$build" --prefix /opt/coreMD >"$work/install.log"
[[ $(cd "$work/stage" && find . -mindepth 1 -maxdepth 2 | LC_ALL=C sort | paste -sd' ') == "./opt ./opt/coreMD" ]] ||
    fail "something is outside /opt/coreMD: $(find "$work/stage" -maxdepth 2)"
mv "$work/stage/opt/coreMD" "$prefix"

sed "s/@VERSION@/$version/" "$here/installed_files.txt" >"$work/expected_files.txt"
(cd "$prefix" && find . -type f -o -type l | sed 's|^\./||' | LC_ALL=C sort) >"$work/files.txt"
diff -u "$work/expected_files.txt" "$work/files.txt" || fail "the installed files are not those of installed_files.txt"

# Links lead to the library, no path of the build is left anywhere in text, and none of the loader's.
[[ $(readlink -f "$prefix"/lib/libcoreMD.so) == "$prefix/lib/libcoreMD.so.$version" ]] || fail "libcoreMD.so leads elsewhere"
! grep -rIl -e "$build" -e "$source_root" -e "$work/stage" -e /opt/coreMD "$prefix" || fail "the build's paths are installed"
! readelf -d "$prefix/lib/libcoreMD.so" | grep -E 'R(UN)?PATH' || fail "the library has a path of its own"

# The scanner finds its library by itself.
XDG_CONFIG_HOME=/nonexistent "$prefix/bin/mdscan" "$source_root/samples/crossing.mp4" >"$work/events.jsonl" ||
    fail "mdscan ends with $?"
[[ $(grep -c '"type":"event"' "$work/events.jsonl") == 4 ]] || fail "mdscan finds other events than four"
