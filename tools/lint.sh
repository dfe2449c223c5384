#!/bin/sh
# Runs clang-tidy over the engine's sources (or over the files given), with the commands of the release build.
set -eu
cd "$(dirname "$0")/.."
tools/install_dependencies.sh clang clang-tidy
# Compile commands of clang, so that no option of another compiler is in the way.
cmake -S . -B build/lint -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=clang++ -DVESK_ARCH=native \
    -DVESK_TESTS=OFF >/dev/null
[ $# -gt 0 ] || set -- $(find src -name '*.cpp' | sort)
printf '%s\n' "$@" | xargs -P "${JOBS:-2}" -n 4 clang-tidy --quiet -p build/lint --warnings-as-errors='*'
