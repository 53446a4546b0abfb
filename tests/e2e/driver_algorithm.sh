#!/usr/bin/env bash
# The optimiser dispatch: an unknown algorithm code runs no cycles and reports
# the starting density; code 3 runs ZSPA and then the Cambridge algorithm and
# keeps the report of the second pass.
. "$2/tests/e2e/analysis_common.bash"
copy_example rutile

set_value rutile.prf 7 7    # algorithm
set_value rutile.prf 15 50  # cycles
run_halvorin rutile.prf console.txt
grep -q ' CYCLE 0:' console.txt || fail "cycle 0 missing"
grep -q ' CYCLE [1-9]' console.txt && fail "an optimiser ran for code 7"
grep -q '^  Testing algorithm$' rutile.out || fail "report does not name the testing algorithm"

rm -f rutile.out
set_value rutile.prf 7 3
set_value rutile.prf 15 20
run_halvorin rutile.prf console.txt
grep -q '^  Testing algorithm$' rutile.out || fail "code 3 report label"
exit 0
