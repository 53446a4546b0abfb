#!/bin/sh
# Whole analyses by ZSPA (algorithm 0), L-BFGS (1) and the dual Newton solver
# (4), each with 1 and 2 threads, on every bundled example and on the generated
# 192^3 P 2_1/c set, all in one run so that they share the machine's load.
# Prints cycles (transform pairs), L-BFGS's evaluations, seconds of the analysis, the final CONSTR and
# the verdict of each report, and the sum of the seconds of every algorithm.
# Usage: run_algorithms.sh BUILD [cycle limit] [ZSPA limit on p21c] [L-BFGS limit on p21c]
# SETS, ALGS and THREADS (environment) choose the data sets, the algorithms and
# the team sizes; a machine shared with others can take an hour for everything.
# The proof on the big set alone, ZSPA given the cycles to outlast algorithm 4:
#   SETS=p21c ALGS="4 0" THREADS="2 1" run_algorithms.sh build 5000 1400
set -e
build=${1:-build}
limit=${2:-5000}
zspa_big=${3:-$limit}
lbfgs_big=${4:-1000}
src=$(cd "$(dirname "$0")/.." && pwd)
prog=$(cd "$build" && pwd)/halvorin
dir=$(mktemp -d /tmp/halvorin_algorithms_XXXXXX)
cp "$src"/examples/*.mem "$src"/examples/*.prf "$dir"
"$build/bench/cycle_bench" p21c write "$dir"
# The 3,141-reflection P 1 21 1 set, when asked for: SETS="p21".
case " ${SETS:-} " in *" p21 "*) /usr/bin/python3 "$src/bench/make_p21_set.py" "$dir" > /dev/null ;; esac
sed 's/rutile/p21c/' "$dir/rutile.prf" > "$dir/p21c.prf"
cd "$dir"

# Replaces value line N of a condition file (0 = the data file name).
set_value() {
  awk -v n="$2" -v v="$3" 'BEGIN { k = -2 }
    /^[ \t]*#/ || /^[ \t]*$/ { print; next }
    { k++; if (k == n) print v; else print }' "$1" > "$1.tmp" && mv "$1.tmp" "$1"
}

csv=results.csv
echo "set,algorithm,threads,cycles,evaluations,seconds,constr,verdict" > $csv
for set in ${SETS:-rutile zno rutile_n nacl p21c}; do
  for alg in ${ALGS:-4 0 1}; do
    cycles=$limit
    [ $set = p21c ] && [ $alg = 0 ] && cycles=$zspa_big
    [ $set = p21c ] && [ $alg = 1 ] && cycles=$lbfgs_big
    for t in ${THREADS:-1 2}; do
      run=${set}_a${alg}_t$t
      cp $set.prf $run.prf
      set_value $run.prf 0 $set.mem
      set_value $run.prf 7 $alg
      set_value $run.prf 15 $cycles
      OMP_NUM_THREADS=$t OMP_WAIT_POLICY=passive "$prog" $run.prf < /dev/null > $run.log 2>&1
      out=$set.out
      n=$(sed -n 's/^  Number of cycles = //p' $out)
      s=$(sed -n 's/^ *MEM analysis = *\([0-9.]*\) s$/\1/p' $out | tail -n 1)
      c=$(sed -n '/End of MEM analysis/,$ s/^  CONSTR = *\([^ ]*\).*/\1/p' $out)
      e=$(sed -n 's/^L-BFGS: [0-9]* cycles, \([0-9]*\) evaluations.*/\1/p' $run.log)
      grep -q 'have been satisfied' $out && v=satisfied || v="not satisfied"
      grep -q '^Algorithm 4 handed over' $run.log && v="$v (handed to L-BFGS)"
      echo "$set,$alg,$t,$n,$e,$s,$c,$v" >> $csv
      echo "$set,$alg,$t,$n,$e,$s,$c,$v"
    done
  done
done
echo
awk -F, 'NR > 1 { sum[$2 "," $3] += $6; if ($1 == "p21c") big[$2 "," $3] = $6 }
  END { for (k in sum) { split(k, a, ","); printf "algorithm %s, %s thread(s): all sets %.1f s, p21c %.1f s\n", a[1], a[2], sum[k], big[k] } }' $csv | sort
echo "raw numbers: $dir/$csv"
