#!/usr/bin/env bash
# make_prefix.sh BUILD PREFIX: installs the three components and moves them to PREFIX, so that whoever uses that prefix
# finds nothing where it was installed.
source "$(dirname "$0")/say.sh"
build=$1 prefix=$2
first=$prefix.first
rm -rf "$first" "$prefix"
for component in runtime development command; do
    run "$prefix.log" cmake --install "$build" --prefix "$first" --component "$component"
done
mv "$first" "$prefix"

for file in bin/qvstreet libqvstreet.so libqvstreet.a include/qvstreet/qvstreet.h cmake/qvstreet/qvstreetConfig.cmake \
    pkgconfig/qvstreet.pc man1/qvstreet.1 bash-completion/completions/qvstreet; do
    [ -n "$(find "$prefix" -path "*/$file")" ] || fail "expected .../$file in the installed prefix $prefix"
done
# Debug information names sources; what a host reads must not.
if grep -rIlF -e "$first" -e "$build" "$prefix"; then
    fail "expected no path of the build or of the first prefix in the files named above"
fi
