#!/usr/bin/env bash
# Builds the library as a DLL for Windows with Debian's cross compiler, and runs its tests and the examples under wine.
#
#     ./scripts/windows.sh            everything: installs what is missing, optimised as it is shipped, all unit tests,
#                                     every scene compared with what this machine gives
#     ./scripts/windows.sh --quick    the DLL, the examples and some of the tests, at -O1; installs nothing
#     ./scripts/windows.sh --build DIR ...    builds under DIR instead of build/windows
#
# Ends with status 77, and says why, where this cannot be done.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

quick=false
build=$PWD/build/windows
while [ $# -gt 0 ]; do
    case $1 in
        --quick) quick=true ;;
        --build) build=$(realpath -m "${2:?--build wants a folder}"); shift ;;
        *) sed -n '2,10s/^# \{0,1\}//p' scripts/windows.sh; [[ $1 = -h || $1 = --help ]]; exit ;;
    esac
    shift
done

cannot() {
    echo "Not tried on Windows: $*" >&2
    exit 77
}

# The cross compiler, wine, and the sources of GoogleTest.
packages=(g++-mingw-w64-x86-64-posix wine64 googletest)
if ! $quick; then
    source scripts/packages.sh
    qv_install g++ cmake ninja-build "${packages[@]}"
fi
for tool in x86_64-w64-mingw32-g++-posix cmake ninja; do
    command -v "$tool" >/dev/null 2>&1 || cannot "there is no $tool (Debian packages: ${packages[*]})"
done
googletest=${QVSTREET_GOOGLETEST:-/usr/src/googletest}
[ -f "$googletest/CMakeLists.txt" ] || cannot "there are no sources of GoogleTest in $googletest"
wine=$(PATH=$PATH:/usr/lib/wine command -v wine64 wine | head -1) || true
[ -n "$wine" ] || cannot "there is no wine (Debian package wine64)"

# Nothing of the user's own wine is touched, and nothing is shown.
mkdir -p "$build"
export WINEPREFIX=$build/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
unset DISPLAY
# Its services would outlive this script for a while.
trap 'PATH=$PATH:/usr/lib/wine wineserver -k >/dev/null 2>&1 || true' EXIT
runtime=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
threads=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libwinpthread-1.dll)")
export WINEPATH="Z:${runtime//\//\\};Z:$(realpath "$threads" | tr / '\\')"
timeout 120 "$wine" cmd /c exit >/dev/null 2>&1 || cannot "wine does not run here"

# configure FOLDER BUILD-TYPE [CMAKE-OPTION...]
configure() {
    cmake -G Ninja -S tests/windows/suite -B "$1" -DCMAKE_BUILD_TYPE="$2" -DQVSTREET_GOOGLETEST="$googletest" \
        "${@:3}" >/dev/null
}

cross=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw.cmake")
programs=(minimal_host camera_host live_host derived_finder theta_host)
if $quick; then
    tests=(quick_tests)
    configure "$build/quick" RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 "${cross[@]}"
    cmake --build "$build/quick" --target qvstreet catches "${programs[@]}" "${tests[@]}" -j "$(nproc)" -- --quiet
    bin=$build/quick/bin
else
    tests=(platform_tests frontend_tests projection_tests candidates_tests streetfinder_tests blankregion_tests
           endtoend_tests)
    configure "$build/full" Release "${cross[@]}"
    cmake --build "$build/full" -j "$(nproc)" -- --quiet
    bin=$build/full/bin
fi

examples=$PWD/tests/examples
for program in "${programs[@]}"; do
    arguments=
    [ "$program" = live_host ] && arguments="3;12"
    (cd "$build" && cmake -DLAUNCHER="$wine" -DPROGRAM="$bin/$program.exe" "-DARGUMENTS=$arguments" \
        -DEXPECTED="$examples/expected/$program.txt" -P "$examples/check_output.cmake")
    echo "$program: prints what it prints here"
done
caught=$("$wine" "$bin/catches.exe" | wc -l)
echo "catches: $caught exceptions of the DLL caught by class, base and std::exception"
# They remove a file that is still open, which Windows does not allow.
except=AnglePair.EveryCoupleIsTracedWithItsSignedDotProduct:AnglePair.WithoutACoupleNothingIsTraced
except+=:GenAndScore.OpensAndClosesTheTraceItselfWhenNobodyElseDid
for test in "${tests[@]}"; do
    if ! "$wine" "$bin/$test.exe" --gtest_brief=1 --gtest_filter="-$except" >"$build/$test.log" 2>&1; then
        cat "$build/$test.log" >&2
        exit 1
    fi
    echo "$test: $(tr -d '\r' <"$build/$test.log" | grep -F '[  PASSED  ]')"
done
$quick && exit 0

configure "$build/native" Release
cmake --build "$build/native" --target scene_json -j "$(nproc)" -- --quiet
"$build/native/bin/scene_json" >"$build/native.jsonl"
"$wine" "$bin/scene_json.exe" | tr -d '\r' >"$build/windows.jsonl"
/usr/bin/python3 -B tests/windows/compare_scenes.py "$build/native.jsonl" "$build/windows.jsonl"
