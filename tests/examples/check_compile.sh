#!/usr/bin/env bash
# Whether the public headers and the examples compile without a warning.
#
#     check_compile.sh COMPILER STANDARD ROOT
set -euo pipefail
compiler=$1 standard=$2 root=$3

if ! command -v "$compiler" >/dev/null 2>&1; then
    echo "$compiler is not installed"
    exit 77
fi

# check INCLUDE-OPTION... SOURCE
check() {
    "$compiler" "-std=$standard" -fsyntax-only -Wall -Wextra -Wconversion -Wshadow -Wdouble-promotion -Wpedantic -Werror \
        -I"$root" "$@"
}

check -x c++ - <<<'#include "qvstreet/qvstreet.h"'
for example in "$root"/examples/*.cpp; do
    case $example in */opencv_host.cpp) continue ;; esac
    check "$example"
done
