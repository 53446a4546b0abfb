#!/bin/sh
# Runs cycle_bench on every data set with one thread and with all threads,
# prints a table and keeps the raw numbers in BUILD/bench/cycles.csv.
# Usage: run_bench.sh BUILD [repetitions]
set -e
build=${1:-build}
repeats=${2:-9}
threads=$(nproc)
csv=$build/bench/cycles.csv
echo "set,grid,NASYM,reflections,path,threads,zspa_ms,lbfgs_ms,floor_ms,zspa_ratio,lbfgs_ratio,bytes_per_voxel,repetitions" > "$csv"
for set in direct cubic p1 p21c; do
  for t in 1 $threads; do
    OMP_NUM_THREADS=$t OMP_WAIT_POLICY=passive "$build/bench/cycle_bench" $set $repeats "$build" >> "$csv"
  done
done
# Speed-up from 1 to all threads: of a ZSPA attempt, an L-BFGS evaluation and the floor.
awk -F, -v all="$threads" '
NR == 1 { next }
{ key = $1; if ($6 == 1) { z1[key] = $7; l1[key] = $8; f1[key] = $9 } else { zn[key] = $7; ln[key] = $8; fn[key] = $9 } row[NR] = $0 }
END {
  printf "%-7s %-6s %8s %7s %-6s %3s %10s %10s %10s %6s %6s %7s\n", "set", "grid", "NASYM", "refl", "path", "thr", "ZSPA ms", "L-BFGS ms", "floor ms", "ZSPA/f", "LBFGS/f", "B/voxel"
  for (i = 2; i <= NR; ++i) { split(row[i], c, ",")
    printf "%-7s %-6s %8d %7d %-6s %3d %10.2f %10.2f %10.2f %6.2f %6.2f %7.0f\n", c[1], c[2], c[3], c[4], c[5], c[6], c[7], c[8], c[9], c[10], c[11], c[12] }
  printf "\nspeed-up from 1 to %d threads\n%-7s %8s %8s %8s\n", all, "set", "ZSPA", "L-BFGS", "floor"
  for (k in z1) if (k in zn) printf "%-7s %8.2f %8.2f %8.2f\n", k, z1[k] / zn[k], l1[k] / ln[k], f1[k] / fn[k]
}' "$csv"
echo "raw numbers: $csv"
