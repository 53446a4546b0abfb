#!/usr/bin/env bash
# Algorithm 4 end to end: a data set answered with every default runs it and
# ends satisfied, as do the .fcf files of the tests; 1, 2 and 3 threads print
# the same results; data whose C cannot reach 1 end at the cycle limit with a
# verdict, written files and no not-a-number; a prior with zeros is not used.
. "$2/tests/e2e/analysis_common.bash"

# Every question answered with Enter.
defaults() { printf '\n%.0s' $(seq 1 20); }

copy_example zno "$WORK/default"
(cd "$WORK/default" && defaults | "$PROG" zno.mem > console.txt 2>&1) || fail "default run failed"
grep -q '^start dual Newton optimization' "$WORK/default/console.txt" || fail "the default is not algorithm 4"
grep -q '^ NEWTON ' "$WORK/default/console.txt" || fail "no Newton step lines"
grep -q 'have been satisfied' "$WORK/default/zno.out" || fail "default run not satisfied"
for f in zno.pgrid zno.fba zno_eps.raw; do [ -s "$WORK/default/$f" ] || fail "default run wrote no $f"; done
example_density "$WORK/default/zno.pgrid" zno

for fcf in zno zro2 rutile_list zno_friedel zro2_shifted; do
    mkdir -p "$WORK/fcf" && cp "$SRC/tests/data/fcf/$fcf.fcf" "$WORK/fcf/"
    (cd "$WORK/fcf" && defaults | "$PROG" $fcf.fcf > $fcf.txt 2>&1) || fail "$fcf.fcf failed"
    grep -q '^start dual Newton optimization' "$WORK/fcf/$fcf.txt" || fail "$fcf.fcf: not algorithm 4"
    grep -q 'have been satisfied' "$WORK/fcf/$fcf.out" || fail "$fcf.fcf: not satisfied"
done

# The printed results with 1, 2 and 3 threads.
for n in 1 2 3; do
    copy_example rutile "$WORK/t$n"
    set_value "$WORK/t$n/rutile.prf" 7 4
    (cd "$WORK/t$n" && OMP_NUM_THREADS=$n run_halvorin rutile.prf console.txt) || exit 1
    grep -E '^ +(CONSTR|wCONSTR|CONF) =|lambda1|Information Entropy' "$WORK/t$n/rutile.out" > "$WORK/t$n/results"
    cmp -s "$WORK/t$n/results" "$WORK/t1/results" ||
        fail "$n threads: $(cat "$WORK/t$n/results") against 1 thread: $(cat "$WORK/t1/results")"
done

# sigma a thousand times too small: C stays far above 1.
copy_example rutile "$WORK/hostile"
awk '/^ *-?[0-9]+ +-?[0-9]+ +-?[0-9]+ +[-0-9.]+ +[-0-9.]+ +[0-9.]+ *$/ { $6 = $6 / 1000 } { print }' \
    "$SRC/examples/rutile.mem" > "$WORK/hostile/rutile.mem"
set_value "$WORK/hostile/rutile.prf" 7 4
set_value "$WORK/hostile/rutile.prf" 15 120
(cd "$WORK/hostile" && run_halvorin rutile.prf console.txt) || exit 1
grep -q 'have not been satisfied' "$WORK/hostile/rutile.out" || fail "hostile data: no verdict of failure"
grep -qi 'nan' "$WORK/hostile/rutile.out" "$WORK/hostile/console.txt" && fail "hostile data: not-a-number"
[ "$(report_value "$WORK/hostile/rutile.out" "  Number of cycles = " 5)" -le 120 ] || fail "hostile data: past the limit"
for f in rutile.pgrid rutile.fba rutile_eps.raw; do [ -s "$WORK/hostile/$f" ] || fail "hostile data wrote no $f"; done

# A prior with a zero in it is not used: the run goes on with the flat prior.
copy_example rutile "$WORK/prior"
cp "$WORK/t1/rutile.pgrid" "$WORK/prior/rutile_prior.pgrid"
printf '\0\0\0\0' | dd of="$WORK/prior/rutile_prior.pgrid" bs=1 seek=$(( $(stat -c %s "$WORK/prior/rutile_prior.pgrid") - 4 )) conv=notrunc 2>/dev/null
set_value "$WORK/prior/rutile.prf" 7 4
set_value "$WORK/prior/rutile.prf" 18 1
(cd "$WORK/prior" && run_halvorin rutile.prf console.txt) || exit 1
grep -q 'Flat prior will be used' "$WORK/prior/console.txt" || fail "a prior with a zero was used"
grep -q 'Prior density distribution is uniform' "$WORK/prior/rutile.out" || fail "report names a prior file"
grep -q 'have been satisfied' "$WORK/prior/rutile.out" || fail "run with a refused prior not satisfied"
echo "zno default: $(report_value "$WORK/default/zno.out" "  Number of cycles = " 5) cycles; hostile: $(report_value "$WORK/hostile/rutile.out" "  CONSTR =" 3 2)"
exit 0
