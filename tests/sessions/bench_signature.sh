#!/bin/bash
# Compares the benchmark's node total with the newest "Bench:" line of the history, which every change of the search must
# carry, and the short benchmark's total under share/strong.rc with the one that this file names. Usage: bench_signature.sh
# ENGINE SOURCE_FOLDER. Exit status 77 = no history to compare with. VESK_RUNNER in the environment runs an engine of another
# system.
set -u
engine=$1
source_folder=$2
expected=$(git -C "$source_folder" log --format=%B 2>/dev/null | grep -oE '^Bench: [0-9]+$' | head -n 1 | cut -d' ' -f2)
if [[ -z $expected ]]; then
    echo "no history with a Bench line"
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
total=$(${VESK_RUNNER:-} "$engine" -nolog -bench </dev/null | grep -oE 'nodes= [0-9]+' | cut -d' ' -f2)
echo "expected $expected, got $total"
[[ $total == "$expected" ]] || exit 1

cp "$source_folder/share/strong.rc" . || exit 1
expected=$(grep -oE '^# Signature: [0-9]+ nodes' strong.rc)
last=$(${VESK_RUNNER:-} "$engine" -nolog -rc strong.rc bench </dev/null 2>&1 | tail -n 1)
echo "$expected; $last"
[[ -n $expected && $last == "${expected#*: } "* ]]
