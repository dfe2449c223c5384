#!/bin/bash
# Builds the engine for other processors and checks that it is the same engine there: the benchmark's node total, the bytes
# of a book, and the sessions that read and write files. What this machine cannot run itself runs under qemu-user, ten times
# as slow. Usage: tools/crosscheck.sh [PRESET...], by default linux-32 linux-arm64 linux-s390x. Needs a release build with
# its tests (make test) to compare with. Debian: g++-i686-linux-gnu g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user.
# Prints one line per preset; exit status 0 when all agree.
set -eu
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- linux-32 linux-arm64 linux-s390x
here=$PWD
native=${VESK_NATIVE:-$here/build/release}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

runner_of() {
    case $1 in
        linux-arm64) command -v qemu-aarch64 ;;
        linux-s390x) command -v qemu-s390x ;;
    esac
}

# book NAME COMMAND...: builds a book with the engine and keeps its bytes.
book() {
    local name=$1
    shift
    rm -rf "$folder/run"
    mkdir "$folder/run"
    cp tests/data/engine-games.pgn "$folder/run/book.pgn"
    (cd "$folder/run" && echo mkbook | "$@" -c -nolog >/dev/null)
    mv "$folder/run/book.opn" "$folder/$name.opn"
}

expected=$(git log --format=%B | grep -oE '^Bench: [0-9]+$' | head -n 1 | cut -d' ' -f2)
book native "$native/vesk"
status=0
for preset in "$@"; do
    start=$SECONDS
    runner=$(runner_of "$preset" || true)
    engine=$here/build/$preset/vesk
    cmake --preset "$preset" -DVESK_WERROR=ON >/dev/null
    cmake --build --preset "$preset" --target vesk -- -j"${JOBS:-2}" >/dev/null
    built=$SECONDS
    # shellcheck disable=SC2086  # no runner, no word
    last=$(cd "$folder" && $runner "$engine" -nolog -bench </dev/null | tail -n 1)
    nodes=$(grep -oE 'nodes= [0-9]+' <<<"$last" | cut -d' ' -f2)
    rate=$(grep -oE 'nps= [0-9]+' <<<"$last" | cut -d' ' -f2)
    benched=$SECONDS
    # shellcheck disable=SC2086
    book "$preset" $runner "$engine"
    verdict=same
    [ "$nodes" = "$expected" ] || verdict="signature $nodes, not $expected"
    cmp -s "$folder/native.opn" "$folder/$preset.opn" || verdict="$verdict; another book"
    VESK_PROGRAM=$engine ${runner:+env VESK_RUNNER="$runner"} "$native/tests/sessions/test_script" --gtest_brief=1 \
        --gtest_filter='*/book:*/bookply:*/load:*/ownfiles:*/parameters:*/save:*/scan:*/standardgames' \
        >"$folder/sessions" 2>&1 || verdict="$verdict; other sessions"
    printf '%-12s %s; %s nodes at %s a second, %s bytes; built in %d s, benchmark %d s, files %d s\n' "$preset" "$verdict" \
        "$nodes" "$rate" "$(stat -c %s "$engine")" $((built - start)) $((benched - built)) $((SECONDS - benched))
    if [ "$verdict" != same ]; then
        status=1
        tail -n 20 "$folder/sessions"
    fi
done
exit $status
