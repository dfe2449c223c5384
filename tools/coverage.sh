#!/bin/sh
# Which lines of src/ the tests and the fuzz targets' corpora run: builds for coverage with clang, runs both, and prints a
# row for each file, the total last. Argument: a folder with further inputs, one folder inside for each target (optional).
set -eu
[ $# -eq 0 ] || more=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."
build=build/coverage
cmake -S . -B $build -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ -DVESK_ARCH=native -DVESK_TESTS=ON \
    -DCMAKE_CXX_FLAGS="-O1 -DNDEBUG -fprofile-instr-generate -fcoverage-mapping" >/dev/null
cmake --build $build -- -j"$(nproc)" >/dev/null
profiles=$PWD/$build/profiles
rm -rf "$profiles"
# Counters of several processes are added up in a file of each binary.
LLVM_PROFILE_FILE="$profiles/%4m.profraw"
export LLVM_PROFILE_FILE
# Engines that may not write files of any size, or have hardly any memory, cannot write their counters.
ctest --test-dir $build -LE slow -E 'bench_signature|script.logends|script.memory' -j"$(nproc)" --output-on-failure
if [ $# -gt 0 ]; then
    for corpus in "$more"/*/; do
        $build/fuzz/replay_"$(basename "$corpus")" "$corpus" >/dev/null 2>$build/replay.log || {
            cat $build/replay.log >&2
            exit 1
        }
    done
fi
llvm-profdata merge -o $build/all.profdata "$profiles"/*.profraw
objects=$(find $build/tests $build/fuzz -type f -perm -u+x ! -name '*.so' | sed 's/^/-object /')
# shellcheck disable=SC2086  # a list of words
llvm-cov report $build/vesk $objects -instr-profile $build/all.profdata -ignore-filename-regex='/(tests|fuzz|tools)/' |
    awk 'BEGIN {print "file, lines, lines never run, share of lines run"}
        /%/ {printf "%-36s %8s %8s %8s\n", $1, $8, $9, $10}'
