#!/usr/bin/env bash
# What a user meets around an analysis: the program reached through a link in
# a directory on PATH, and a grid left to the program (0 0 0) whose density
# file still holds F(000).
. "$2/tests/e2e/analysis_common.bash"
copy_example rutile
set_value rutile.prf 15 3

# A link on PATH: the data files lie beside the real executable, not the link.
mkdir bin && ln -s "$PROG" bin/halvorin
PATH="$WORK/bin:$PATH" halvorin rutile.prf </dev/null >linked.txt 2>&1
grep -q "Failed to open" linked.txt && fail "data files not found through a link"
grep -q "Space group: P 42/m n m" rutile.out || fail "the linked program did not take the space group"

# Grid 0 0 0: chosen from the resolution, and the density still holds F(000).
sed -i 's/^136 1 48 48 32$/136 1 0 0 0/' rutile.mem
grep -q "^136 1 0 0 0$" rutile.mem || fail "grid line not replaced"
run_halvorin rutile.prf console.txt
nx=$(int_at rutile.pgrid 112); ny=$(int_at rutile.pgrid 116); nz=$(int_at rutile.pgrid 120)
volume=$(awk -v v="$(fact rutile volume)" -v n=$((nx * ny * nz)) 'BEGIN { printf "%.12g", v / n }')
check_density rutile.pgrid "$volume" "$(fact rutile f000_plus)" 0
echo "link and a chosen grid of $nx x $ny x $nz behave"
