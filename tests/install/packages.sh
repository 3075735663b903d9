#!/usr/bin/env bash
# packages.sh BUILD COMPILER: makes the three .deb packages of a finished build, looks into them, unpacks them into a
# folder and works from there.
source "$(dirname "$0")/say.sh"
here=$(cd "$(dirname "$0")" && pwd)
build=$1 compiler=$2
for tool in dpkg-deb dpkg-shlibdeps file; do
    command -v $tool >/dev/null || skip "$tool is not installed"
done
scratch
run "$SCRATCH/log" cpack --config "$build/CPackConfig.cmake" -G DEB -B "$SCRATCH/packages"
cd "$SCRATCH/packages"

version=$("$build/tools/qvstreet" --version | cut -d ' ' -f 2)
for package in libqvstreet0 libqvstreet-dev qvstreet; do
    deb=$(compgen -G "${package}_${version}_*.deb") || fail "expected a package $package of version $version, found: $(ls)"
    expect "Version of $package" "$version" "$(dpkg-deb -f "$deb" Version)"
    [[ $(dpkg-deb -f "$deb" Description) == "street finder for camera images of wafers - "* ]] ||
        fail "expected the summary of $package in the first line of its description"
    files=$(dpkg-deb -c "$deb")
    ! grep -vE '^[-dlrwx]+ root/root ' <<<"$files" | grep . || fail "expected everything in $package to belong to root"
    for paper in copyright changelog.gz; do
        [[ $files == *"./usr/share/doc/$package/$paper"* ]] || fail "expected $paper in $package: $files"
    done
    dpkg-deb -x "$deb" "$SCRATCH/root"
    dpkg-deb -x "$deb" "$SCRATCH/$package"
    dpkg-deb -e "$deb" "$SCRATCH/$package.control"
done
changes=$(zcat "$SCRATCH/root/usr/share/doc/qvstreet/changelog.gz" | sed -nE '1s/.*\(([^)]*)\).*/\1/p')
expect "the newest version in packaging/debian/changelog" "$version" "$changes"
expect "what libqvstreet-dev depends on" "libqvstreet0 (= $version)" "$(dpkg-deb -f libqvstreet-dev_*.deb Depends)"
[[ $(dpkg-deb -f libqvstreet0_*.deb Depends) == *libstdc++6* ]] || fail "expected libqvstreet0 to depend on libstdc++6"
[[ $(dpkg-deb -f qvstreet_*.deb Depends) == *libpng16* ]] || fail "expected qvstreet to depend on libpng"
grep -q "^libqvstreet 0 libqvstreet0" "$SCRATCH/libqvstreet0.control/shlibs" || fail "expected a shlibs file in libqvstreet0"
grep -q ldconfig "$SCRATCH/libqvstreet0.control/triggers" || fail "expected libqvstreet0 to ask for ldconfig"

# Each file is in the package that needs it.
for pair in "libqvstreet0 libqvstreet.so.0" "libqvstreet-dev libqvstreet.so" "libqvstreet-dev libqvstreet.a" \
    "libqvstreet-dev qvstreet.h" "libqvstreet-dev qvstreetConfig.cmake" "libqvstreet-dev qvstreet.pc" \
    "qvstreet qvstreet.1.gz"; do
    [ -n "$(find "$SCRATCH/${pair% *}" -name "${pair#* }")" ] || fail "expected ${pair#* } in ${pair% *}"
done
[ -x "$SCRATCH/qvstreet/usr/bin/qvstreet" ] || fail "expected the command in qvstreet"
for binary in "$SCRATCH/root/usr/bin/qvstreet" $(find "$SCRATCH/root" -type f -name 'libqvstreet.*'); do
    ! readelf -SW "$binary" | grep '\.debug_info' >/dev/null || fail "expected $binary to be stripped"
done
# Neither the build nor the machine that packed is named.
if grep -rlF -e "$build" -e "$(realpath "$here/../..")/" "$SCRATCH/root"; then
    fail "expected no path of the build in the files named above"
fi

"$SCRATCH/root/usr/bin/qvstreet" --version >/dev/null
found=$("$SCRATCH/root/usr/bin/qvstreet" find --mode coarse --width 20 --max 50 "$here/../../examples/images/wafer_coarse.png" | grep -c '"score"')
[ "$found" -ge 4 ] || fail "expected the packaged command to find streets in a sample image, found $found"
"$here/find_package.sh" "$SCRATCH/root/usr" qvstreet::qvstreet "$compiler"

if command -v lintian >/dev/null; then
    # A package for one machine is in no archive, and need not say which bug asked for it; cpack calls ldconfig by scripts.
    suppressed=initial-upload-closes-no-bugs,no-code-sections,maintscript-calls-ldconfig
    # What is configured for another prefix than /usr has its libraries outside of Debian's folder of the architecture.
    compgen -G "$SCRATCH/root/usr/lib/*-linux-*" >/dev/null || suppressed+=,pkg-config-unavailable-for-cross-compilation
    complaints=$(lintian --allow-root --fail-on none --suppress-tags "$suppressed" ./*.deb 2>/dev/null | grep -E '^[EW]:' || true)
    [ -z "$complaints" ] || fail "expected nothing to complain about for lintian: $complaints"
fi
