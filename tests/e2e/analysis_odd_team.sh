#!/usr/bin/env bash
# A team of three splits the grid planes, the cell and the voxel runs unevenly
# (no example grid divides by three): the report figures must still be those
# of one thread to printed precision.
set -u
PROG=$(readlink -f "$1")
SRC=$2
. "$SRC/tests/e2e/analysis_common.bash"
new_workdir
figures() {
    grep -E '^ +(lambda1|Number of cycles|CONSTR|wCONSTR|CONF|C[0-9]+ |Information Entropy)' "$1" | head -20
}
for example in rutile rutile_n; do
    for n in 1 3; do
        copy_example $example "$WORK/$n"
        (cd "$WORK/$n" && OMP_NUM_THREADS=$n run_halvorin $example.prf console.txt) || exit 1
    done
    figures "$WORK/1/$example.out" > "$WORK/one.txt"
    figures "$WORK/3/$example.out" > "$WORK/three.txt"
    [ -s "$WORK/one.txt" ] || fail "$example: no result block"
    diff "$WORK/one.txt" "$WORK/three.txt" || fail "$example: reports differ between 1 and 3 threads"
done
echo "same figures with 1 and 3 threads"
