#!/usr/bin/env bash
# The route that generates unobserved reflections runs to the end from an .alb
# control file naming an .ffo list and from a .mep data set: the control file's
# lines are echoed, the analysis runs in the Patterson symmetry, and the report
# lists the generated reflections with "-" for the values they lack. Outputs
# are named after the data file.
# Usage: alb_route.sh <path-to-halvorin> <source-dir>
. "$2/tests/e2e/analysis_common.bash"

cp "$SRC"/tests/data/readers/{rutile.alb,rutile_p.ffo,zno.mep} "$WORK/" || fail "test data missing"

run_halvorin rutile.alb alb.log
for echo in "waev length: 0.71073" "intensities: F" "lambda1: 0.01" "SCIO: 1.0" "Space group: P 4/m m m"; do
    grep -qF "$echo" alb.log || fail "no line '$echo' in the log of rutile.alb"
done
grep -q "^scale=" alb.log || fail "no Wilson line for rutile.alb"

run_halvorin zno.mep mep.log
grep -q "^scale=" mep.log && fail "a .mep data set printed the Wilson line"
grep -qF "Space group: P 6/m m m" mep.log || fail "zno.mep not analysed in P 6/m m m"

for report in rutile_p.out zno.out; do
    generated=$(awk '/^Unobserved or partially observed reflections/ { on = 1; getline; next }
                     on && NF == 9 && $4 == "-" && $5 == "-" && $8 == "-" && $9 == "-" { n++ }
                     on && NF == 0 { on = 0 }
                     END { print n + 0 }' "$report")
    [ "$generated" -gt 100 ] || fail "$report lists $generated generated reflections with '-'"
done
echo "PASS"
