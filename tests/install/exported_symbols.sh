#!/usr/bin/env bash
# exported_symbols.sh LIBRARY STATIC SOVERSION: the shared library shows the public interface, whole and with nothing
# beside it, calls itself by its number, and needs no library but those of the language.
source "$(dirname "$0")/say.sh"
library=$1 static=$2 soversion=$3
command -v nm >/dev/null || skip "nm is not installed"

symbols=$(nm -DC --defined-only "$library" | sed -E 's/^[0-9a-f]* +. //')
[ "$(wc -l <<<"$symbols")" -gt 300 ] || fail "expected the whole interface, found only $(wc -l <<<"$symbols") symbols"
ours='(vtable for |typeinfo (name )?for |VTT for |guard variable for |(non-)?virtual thunk to )?(qv|qf)[A-Za-z_]|draw[A-Za-z]+Result\(qvUITablet&|operator[^a-z]+\(qv'
# A template of the standard library is named with the type that it returns, which may be one of ours.
foreign=$(grep -vE "^($ours)" <<<"$symbols" || true; grep -E "^[^(]* (std|__gnu_cxx)::" <<<"$symbols" || true)
[ -z "$foreign" ] || fail "expected only names of the public interface; these stand beside it:
$foreign"
internal=$(grep -E "qv_kernels|qvtool|Kernels|_GLOBAL__N|\(anonymous namespace\)|street_finder_access|StreetFinderAccess" <<<"$symbols" || true)
[ -z "$internal" ] || fail "expected no internal name; these are visible:
$internal"

# What the sources mark as visible goes through the list of names in packaging/exports.map.
kept_back=$(comm -23 \
    <(readelf -sW "$static" | awk '$5 == "GLOBAL" && $6 == "DEFAULT" && $7 != "UND" { print $8 }' | sort -u) \
    <(nm -D --defined-only "$library" | awk '{ print $3 }' | sort -u) | c++filt)
[ -z "$kept_back" ] || fail "expected packaging/exports.map to let these through, which are marked with QV_EXPORT:
$kept_back"

dynamic=$(readelf -dW "$library")
expect "SONAME" "libqvstreet.so.$soversion" "$(sed -nE 's/.*SONAME.*\[(.*)\]/\1/p' <<<"$dynamic")"
needed=$(sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p' <<<"$dynamic" | grep -vE '^(libstdc\+\+|libm|libc|libgcc_s|ld-linux.*)\.so' || true)
[ -z "$needed" ] || fail "expected no library but those of the language, found $needed"
[[ $dynamic != *RPATH* && $dynamic != *RUNPATH* ]] || fail "expected no search path inside the library"
