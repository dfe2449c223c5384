#!/bin/sh
# Makes sure that compiler, make and CMake are there: installs what is missing where it may (root on a Debian system), else
# names the packages and ends with status 1. Arguments: what else is wanted: googletest, for the tests; benchmark; tools, each
# named like its package: clang, clang-format, clang-tidy; windows stands for what builds and tests the program for Windows.
set -u

have_header() {
    printf '#include <%s>\n' "$1" | c++ -std=c++20 -x c++ -E - >/dev/null 2>&1
}

missing=""
command -v c++ >/dev/null 2>&1 || missing="$missing g++"
command -v cmake >/dev/null 2>&1 || missing="$missing cmake"
command -v make >/dev/null 2>&1 || missing="$missing make"
for wanted in "$@"; do
    case $wanted in
        googletest)
            have_header gtest/gtest.h || missing="$missing libgtest-dev"
            have_header gmock/gmock.h || missing="$missing libgmock-dev"
            ;;
        benchmark) have_header benchmark/benchmark.h || missing="$missing libbenchmark-dev" ;;
        windows)
            command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1 || missing="$missing g++-mingw-w64-x86-64-posix"
            [ -x /usr/lib/wine/wine64 ] || command -v wine64 >/dev/null 2>&1 || missing="$missing wine64"
            ;;
        python3-matplotlib) /usr/bin/python3 -c 'import matplotlib' >/dev/null 2>&1 || missing="$missing $wanted" ;;
        pgn-extract) [ -x /usr/games/pgn-extract ] || missing="$missing pgn-extract" ;;
        *) command -v "$wanted" >/dev/null 2>&1 || missing="$missing $wanted" ;;
    esac
done
[ -z "$missing" ] && exit 0

if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null 2>&1; then
    echo "installing:$missing"
    export DEBIAN_FRONTEND=noninteractive
    # shellcheck disable=SC2086  # a list of words
    apt-get update -q && apt-get install -y -q --no-install-recommends $missing && exit 0
fi
echo "Please install these packages first:$missing" >&2
exit 1
