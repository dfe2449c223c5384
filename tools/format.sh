#!/bin/sh
# Formats every source file of the project in place; with --check only tells which ones would change (status 1 then).
set -eu
cd "$(dirname "$0")/.."
mode=-i
[ "${1:-}" = "--check" ] && mode="--dry-run --Werror"
# shellcheck disable=SC2086  # two words
find src tests bench fuzz tools -name '*.h' -o -name '*.cpp' | sort | xargs clang-format $mode
