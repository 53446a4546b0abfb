#!/usr/bin/env bash
# What a user meets around an analysis: the program reached through a link in
# a directory on PATH, a directory given as input, output that goes to a file
# line by line, a grid too large for any memory, and a grid left to the
# program (0 0 0) whose density file still holds F(000).
. "$2/tests/e2e/analysis_common.bash"
copy_example rutile
set_value rutile.prf 15 3

# A link on PATH: the data files lie beside the real executable, not the link.
mkdir bin && ln -s "$PROG" bin/halvorin
PATH="$WORK/bin:$PATH" halvorin rutile.prf </dev/null >linked.txt 2>&1
grep -q "Failed to open" linked.txt && fail "data files not found through a link"
grep -q "Space group: P 42/m n m" rutile.out || fail "the linked program did not take the space group"

# A directory ends with the usual message, not in an endless loop.
mkdir folder.prf folder.mem
timeout 20 "$PROG" folder.prf </dev/null >dir.txt 2>&1 || fail "a directory as condition file: status $?"
grep -q "Press Enter key to exit." dir.txt || fail "a directory as condition file: no exit prompt"
timeout 20 "$PROG" folder.mem </dev/null >dir.txt 2>&1 || fail "a directory as data file: status $?"
grep -q "Input file could not be opened." dir.txt || fail "a directory as data file: no message"

# Line-buffered output: the failure is in the file while the program still
# waits for Enter.
mkfifo key
exec 3<>key
"$PROG" folder.prf <key >waiting.txt 2>&1 &
pid=$!
for _ in $(seq 50); do grep -q "Press Enter key" waiting.txt && break; sleep 0.1; done
grep -q "Press Enter key" waiting.txt || { kill $pid; fail "nothing written while the program waits"; }
echo >&3
wait $pid
exec 3>&-

# A grid that no memory holds is refused before anything is allocated for it.
sed 's/^136 1 48 48 32$/136 1 2000 2000 500/' rutile.mem > huge.mem
sed 's/^rutile.mem$/huge.mem/' rutile.prf > huge.prf
timeout 20 "$PROG" huge.prf </dev/null >huge.txt 2>&1 || fail "a huge grid: status $?"
grep -q "voxels needs at least" huge.txt || fail "a huge grid was not refused"

# Grid 0 0 0: chosen from the resolution, and the density still holds F(000).
sed -i 's/^136 1 48 48 32$/136 1 0 0 0/' rutile.mem
grep -q "^136 1 0 0 0$" rutile.mem || fail "grid line not replaced"
run_halvorin rutile.prf console.txt
nx=$(int_at rutile.pgrid 112); ny=$(int_at rutile.pgrid 116); nz=$(int_at rutile.pgrid 120)
volume=$(awk -v v="$(fact rutile volume)" -v n=$((nx * ny * nz)) 'BEGIN { printf "%.12g", v / n }')
check_density rutile.pgrid "$volume" "$(fact rutile f000_plus)" 0
echo "link, directory, line buffering and a chosen grid of $nx x $ny x $nz behave"
