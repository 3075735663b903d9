# Sourced by the other scripts: installs the Debian packages that are missing, and nothing when all are there.

# What a build of the library and the command needs.
QV_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libpng-dev libtiff-dev libturbojpeg0-dev libcli11-dev nlohmann-json3-dev)
# What the tests need on top. All but the first two only let tests run that are skipped without them: Octave reads the
# trace, Chromium opens the report, a second compiler and one for Windows (with Wine) compile what hosts compile.
QV_TEST_PACKAGES=(libgtest-dev libbenchmark-dev locales octave chromium chromium-driver
    clang g++-mingw-w64-x86-64-posix wine64 googletest
    abigail-tools dpkg-dev doxygen man-db groff bash-completion file
    python3 python3-dev pybind11-dev python3-numpy python3-pil python3-matplotlib python3-pytest mypy
    python3-pip python3-venv python3-setuptools python3-wheel python3-distributed)
# What the benchmarks need on top; OpenCV and FFTW are the yardsticks that our times are put beside.
QV_BENCH_PACKAGES=(libbenchmark-dev libopencv-dev libfftw3-dev)

qv_is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# qv_install PACKAGE...
qv_install() {
    if ! command -v dpkg-query >/dev/null 2>&1; then
        echo "This is not a Debian system; make sure that you have the equivalents of: $*" >&2
        return 0
    fi
    local missing=() package
    for package in "$@"; do
        qv_is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null 2>&1; then
            echo "These packages are missing, and there is neither root nor sudo to install them: ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing from Debian: ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update -qq &&
           "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
               "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        echo "The packages could not be installed: ${missing[*]}" >&2
        return 1
    fi
    rm -f "$log"
}
