#!/usr/bin/env bash
# The Patterson route on squared amplitudes of a non-symmorphic crystal (rutile,
# P 42/m n m), written by tools/make_patterson_data.py: as a .mep data set it
# ends satisfied with ZSPA and with L-BFGS, and both maps lie closer to the
# model's Patterson function (computed by cctbx) than the Fourier synthesis of
# the data does. The same numbers as a LIST 4 .fcf through an .alb control
# file are read as F squared with the total F(000) squared (from the control
# file, or squared from the .fcf's own F(000)) and give the .mep route's map.
. "$2/tests/e2e/analysis_common.bash"
MAP=$(dirname "$PROG")/halvorin-map
cp "$SRC"/tests/data/patterson/* "$SRC/examples/rutile.prf" "$WORK/" || fail "test data missing"

satisfied() { grep -qx "      The constraints have been satisfied." "$1" || fail "$1: constraints not satisfied"; }

for algorithm in 0 1; do
    cp rutile_sq.mep mep$algorithm.mep
    cp rutile.prf mep$algorithm.prf
    set_value mep$algorithm.prf 0 mep$algorithm.mep
    set_value mep$algorithm.prf 7 $algorithm
    set_value mep$algorithm.prf 15 3000
    run_halvorin mep$algorithm.prf mep$algorithm.log
    satisfied mep$algorithm.out
    grep -qx "  Space group: P 4/m m m" mep$algorithm.out || fail "mep$algorithm: not in the Patterson symmetry"
    "$MAP" -q mep$algorithm.pgrid -o mep$algorithm.xsf || fail "halvorin-map mep$algorithm.pgrid"
    echo "algorithm $algorithm: $(report_value mep$algorithm.out "  Number of cycles = " 5) cycles"
done
/usr/bin/python3 "$SRC/tests/e2e/patterson_check.py" against rutile_sq_maps.txt mep0.xsf mep1.xsf ||
    fail "MEM maps against the model's Patterson"

# The total of the control file, then the .fcf's own F(000), squared. A control
# file leaves the default algorithm, whose generated unobserved reflections go
# to L-BFGS: its map is the .mep route's L-BFGS map.
run_halvorin rutile_sq.alb alb.log
grep -qx "  in the unit cell (neutron diffraction): 5776, 0" rutile_sq.out || fail "alb: total is not F(000) squared"
satisfied rutile_sq.out
[ "$(report_value rutile_sq.out "     NREF1(F) =" 3)" = 37 ] || fail "alb: the observed rows are not those of the .mep"
/usr/bin/python3 "$SRC/tests/e2e/patterson_check.py" same mep1.pgrid rutile_sq.pgrid || fail ".fcf and .mep maps differ"

sed 's/^0 5776.0000 0$/0 0 0/; s/rutile_sq.fcf/own.fcf/' rutile_sq.alb > own.alb
sed 's/^_shelx_refln_list_code 4$/&\n_exptl_crystal_F_000 76/' rutile_sq.fcf > own.fcf
run_halvorin own.alb own.log
grep -qx "  in the unit cell (neutron diffraction): 5776, 0" own.out || fail "own F(000): total is not its square"
# Hostile control files: a missing list, a list of no known kind, F squared all zero.
printf "   1   1   0  1418.2  42.1\n" > data.hkl
awk '/^ *-?[0-9]+ +-?[0-9]+ +-?[0-9]+ / { $5 = "0.00" } { print }' rutile_sq.fcf > zero.fcf
for case in "none.fcf:Input file could not be opened." "data.hkl:there is no reader for this one:" \
            "zero.fcf:No reflection of the data rises above three standard uncertainties:"; do
    sed "s/rutile_sq.fcf/${case%%:*}/" rutile_sq.alb > hostile.alb
    "$PROG" hostile.alb </dev/null >hostile.log 2>&1 && fail "${case%%:*}: exit status 0 after a failure"
    grep -qF "${case#*:}" hostile.log && grep -q "Press Enter key to exit." hostile.log ||
        fail "${case%%:*}: $(tail -3 hostile.log)"
done
echo "PASS"
