#!/usr/bin/env bash
# Restart and prior files: a second run that restarts from the written grid
# file begins near the constraint; a _prior.pgrid file is read as the prior;
# a grid file of another grid is refused with its messages, and the run goes
# on from flat densities. The feedback file follows feedbackOutput 0 and 2.
. "$2/tests/e2e/analysis_common.bash"
copy_example rutile
run_halvorin rutile.prf first.txt
flat0=$(cycle0_constr first.txt)
cp rutile.pgrid written.pgrid
cp rutile.out first.out

# Restart from the written density, listing the individual reflections only.
set_value rutile.prf 6 1
set_value rutile.prf 13 0
run_halvorin rutile.prf restart.txt
restart0=$(cycle0_constr restart.txt)
awk -v c="$restart0" 'BEGIN { exit !(c < 1.05) }' || fail "restart begins at CONSTR $restart0"
awk -v c="$flat0" 'BEGIN { exit !(c > 10) }' || fail "flat start at CONSTR $flat0"
grep -qx "  Calculation was restarted from densities recorded in a file." rutile.out || fail "restart not reported"
grep -qx "      The constraints have been satisfied." rutile.out || fail "restart not satisfied"
grep -q "Failed to read\|inconsistent" restart.txt && fail "restart file refused"
nF=$(fact rutile nref_f)
[ "$(sed -n 2p rutile.fba)" = "$nF" ] || fail "feedbackOutput 0 lists $(sed -n 2p rutile.fba), want $nF"
[ "$(awk 'NF == 5' rutile.fba | wc -l)" = "$nF" ] || fail "feedbackOutput 0 lines"

# The written density as prior from a flat start, and no feedback file.
cp written.pgrid rutile_prior.pgrid
set_value rutile.prf 6 0
set_value rutile.prf 13 2
set_value rutile.prf 18 1
rm -f rutile.fba
run_halvorin rutile.prf prior.txt
grep -q "Failed to read prior\|inconsistent" prior.txt && fail "prior refused"
[ -e rutile.fba ] && fail "feedbackOutput 2 wrote a feedback file"
grep -qx "                     Feedback data file: $WORK/rutile.fba" rutile.out || fail "report does not name the feedback file"
# ZSPA itself does not use the prior; the entropy of the result is measured against it.
entropy=$(report_value first.out "  Information Entropy (+) = " 5)
prior_entropy=$(report_value rutile.out "  Information Entropy (+) = " 5)
[ "$entropy" != "$prior_entropy" ] || fail "the prior changed nothing: entropy $entropy"

# A grid file of another grid: 50 voxels along a instead of 48.
set_value rutile.prf 6 1
set_value rutile.prf 18 0
cp written.pgrid rutile.pgrid
printf '\062\000\000\000' | dd of=rutile.pgrid bs=1 seek=112 conv=notrunc status=none
run_halvorin rutile.prf mismatch.txt
grep -qx "Error! Number of voxels are inconsistent." mismatch.txt || fail "no mismatch message"
grep -qx "MEM input file: 48 x 48 x 32, (NASYM=$(fact rutile n_voxel_asym)): ($WORK/rutile.mem)" mismatch.txt ||
    fail "mismatch: run line"
grep -qx "Voxel data file: 50 x 48 x 32, (NASYM=$(fact rutile n_voxel_asym)): ($WORK/rutile.pgrid)" mismatch.txt ||
    fail "mismatch: file line"
grep -qx "The calculation will be started from flat densities." mismatch.txt || fail "mismatch: flat start"
[ "$(cycle0_constr mismatch.txt)" = "$flat0" ] || fail "mismatch did not start flat"
grep -qx "      The constraints have been satisfied." rutile.out || fail "mismatch run not satisfied"
echo "cycle 0: flat $flat0, restart $restart0; entropy $entropy, against the prior $prior_entropy"
