#!/bin/bash
# Proves that the program that holds the engine for several levels of x86-64 runs on every processor: no function outside
# a level's namespace has an instruction that old processors lack, and under an emulator each of four processors gets its
# level and the nodes that this machine counts. Usage: tools/levels.sh ENGINE [DEPTH], the benchmark's own without DEPTH.
# Wants objdump and qemu-x86_64 (Debian: binutils, qemu-user). Exit status: 0, 1 for a fault, 77 when these are missing.
set -u
engine=$(realpath "$1")
depth=${2:+-d $2}
failed=0
for tool in objdump qemu-x86_64; do
    command -v $tool >/dev/null || { echo "$tool is missing"; exit 77; }
done
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

# TZCNT is not looked for: it is how BSF reads when compilers write it for both. The second list leaves out what SSE2 has.
objdump -d --no-show-raw-insn "$engine" | awk '
    /^[0-9a-f]+ <.*>:$/ { name = $2; level = name ~ /level_bmi2/ ? 3 : name ~ /level_popcnt/ ? 2 : 1; next }
    level < 3 && $2 ~ /^(v[a-z]+|andn|blsr|blsi|blsmsk|bextr|bzhi|lzcnt|mulx|pdep|pext|rorx|sarx|shlx|shrx)$/ { found[name " " $2] }
    level < 2 && $2 ~ /^(popcnt|crc32|pshufb|ph(add|sub)[a-z]+|palignr|pabs[bwd]|psign[bwd]|pmulhrsw|pmaddubsw|pmuldq|pmulld)$/ { found[name " " $2] }
    level < 2 && $2 ~ /^(pm(in|ax)(sb|sd|uw|ud)|ptest|pblend[a-z]+|blend[a-z]+|pinsr[bdq]|pextr[bdq]|round[sp][sd])$/ { found[name " " $2] }
    level < 2 && $2 ~ /^(pmov[sz]x[a-z]+|pcmp(eq|gt)q|pcmp[ei]str[im]|packusdw|h(add|sub)p[sd]|addsubp[sd]|mov(ddup|shdup|sldup)|lddqu)$/ { found[name " " $2] }
    END { for (f in found) { print "above its level:", f; bad = 1 } exit bad }' || failed=1

# run COMMAND...: the benchmark's node total.
run() {
    # shellcheck disable=SC2086  # words
    "$@" -nolog -bench $depth </dev/null | grep -oE 'nodes= [0-9]+' | cut -d' ' -f2
}

expected=$(run "$engine")
[[ -n $expected ]] || failed=1
echo "nodes on this machine, $("$engine" --version </dev/null | grep -oE 'level .*'): $expected"
# A processor with BMI2 but slow PEXT, EPYC, gets the level without.
while read -r cpu level; do
    chosen=$(qemu-x86_64 -cpu "$cpu" "$engine" --version </dev/null 2>/dev/null | sed -n 's/.*level //p')
    nodes=$(run qemu-x86_64 -cpu "$cpu" "$engine" 2>/dev/null)
    echo "$cpu: level $chosen, nodes $nodes"
    [[ $chosen == "$level" && $nodes == "$expected" ]] || failed=1
done <<CPUS
core2duo x86-64
Nehalem x86-64-popcnt
EPYC x86-64-popcnt
Haswell x86-64-bmi2
CPUS
exit $failed
