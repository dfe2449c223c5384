#!/bin/bash
# Makes what is published of the current commit, from a clean clone: a package of Debian, a .tar.gz with a program for every
# Linux, and, where the cross compiler is installed, a .zip with vesk.exe. Prints sizes and SHA-256. The same commit and
# compilers give the same bytes, wherever this runs. Usage: tools/release.sh [FOLDER], build/packages by default; JOBS sets how
# many compilers run at once.
set -euo pipefail
umask 022
out=${1:-$(dirname "$0")/../build/packages}
mkdir -p "$out"
out=$(cd "$out" && pwd)
cd "$(dirname "$0")/.."

commit=$(git rev-parse HEAD)
# Every time in the packages is that of the commit.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH LC_ALL=C TZ=UTC
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
git clone --quiet --no-hardlinks . "$scratch/vesk"
cd "$scratch/vesk"
git checkout --quiet --detach "$commit"

# build PRESET: builds a preset and packs it.
build() {
    cmake --preset "$1" -DVESK_TESTS=OFF && cmake --build --preset "$1" -- -j"${JOBS:-2}" && (cd "build/$1" && cpack)
}

# pack PRESET PATTERN: builds a preset and puts its package, a file of this pattern, into the folder.
pack() {
    echo "== $1"
    if ! build "$1" >"$scratch/log" 2>&1; then
        tail -n 40 "$scratch/log" >&2
        echo "$1: failed" >&2
        exit 1
    fi
    # shellcheck disable=SC2206  # a pattern
    local packages=(build/$1/$2)
    cp "${packages[@]}" "$out"
    made+=("${packages[@]##*/}")
}

made=()
pack debian 'vesk_*.deb'
pack static 'vesk-*.tar.gz'
if ! command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1; then
    echo "== windows: left out, the cross compiler is not installed (Debian: g++-mingw-w64-x86-64-posix)"
elif ! grep -q '"windows"' CMakePresets.json; then
    echo "== windows: left out, this version has no preset for it"
elif ! command -v zip >/dev/null 2>&1; then
    echo "== windows: left out, zip is not installed"
else
    pack windows 'vesk-*.zip'
fi

cd "$out"
wc -c "${made[@]}" | sed '/ total$/d'
sha256sum "${made[@]}"
