#!/usr/bin/env bash
# halvorin-prior end to end: the pure procrystal prior of the model behind
# rutile.mem reproduces its data (computed independently, with cctbx) at
# cycle 0; analyses with prior type 1 end satisfied with ZSPA, L-BFGS and,
# on the two-channel neutron data, Cambridge; bad input is one line on
# standard error, a non-zero status and no file.
. "$2/tests/e2e/analysis_common.bash"
PRIOR=$(dirname "$PROG")/halvorin-prior
[ -x "$PRIOR" ] || fail "no $PRIOR"
copy_example rutile
copy_example rutile_n
cp "$SRC/examples/rutile.cif" .

"$PRIOR" rutile.cif rutile.prf -w 0 > make.txt || fail "exit status $? making the prior"
grep -qx "Prior:         $WORK/rutile_prior.pgrid" make.txt || fail "prior path not printed"
grep -qx "Blend:         W = 0: 1 procrystal + 0 uniform" make.txt || fail "W not printed"
check_grid_file rutile_prior.pgrid 16 "$(fact rutile n_voxel_asym)" 1
set_value rutile.prf 18 1
run_halvorin rutile.prf zspa.txt
c0=$(cycle0_constr zspa.txt)
awk -v c="$c0" 'BEGIN { exit !(c < 1.1) }' || fail "the procrystal prior starts at CONSTR $c0, not at the data"
grep -qx "      The constraints have been satisfied." rutile.out || fail "ZSPA with a prior not satisfied"

"$PRIOR" rutile.cif rutile.prf -q || fail "exit status $? making the default prior"
set_value rutile.prf 7 1
run_halvorin rutile.prf lbfgs.txt
grep -q "Failed to read prior\|inconsistent" lbfgs.txt && fail "prior refused"
grep -qx "      The constraints have been satisfied." rutile.out || fail "L-BFGS with a prior not satisfied"

"$PRIOR" rutile.cif rutile_n.prf --neutron > neutron.txt || fail "exit status $? making the neutron prior"
grep -q "^Negative:      total -6.8760 (F(000) -6.8760)" neutron.txt || fail "negative channel: $(cat neutron.txt)"
set_value rutile_n.prf 7 2
set_value rutile_n.prf 18 1
run_halvorin rutile_n.prf cambridge.txt
grep -qx "      The constraints have been satisfied." rutile_n.out || fail "Cambridge with a neutron prior not satisfied"

# Refusals: one line each, status 1 (2 for the command line), nothing written.
rm -f rutile_prior.pgrid
sed 's/_cell_length_a 4.5937/_cell_length_a 4.7/' rutile.cif > long.cif
sed '/^_atom_site_label/,$d' rutile.cif | sed '$d' > empty.cif
sed 's/^O1 O /O1 Qq /' rutile.cif > element.cif
refuse() {
    local want=$1; shift
    "$PRIOR" "$@" > out.txt 2> err.txt
    local status=$?
    [ "$status" = "$want" ] || fail "status $status, not $want, for $*"
    [ "$(wc -l < err.txt)" = 1 ] || fail "not one line for $*: $(cat err.txt)"
    grep -q "^halvorin-prior: " err.txt || fail "unnamed message for $*"
    [ -e rutile_prior.pgrid ] && fail "a file written for $*"
    return 0
}
refuse 1 long.cif rutile.prf
refuse 1 empty.cif rutile.prf
refuse 1 element.cif rutile.prf
refuse 1 rutile.cif missing.prf
refuse 2 rutile.cif rutile.prf --uniform-fraction 1.2
refuse 2 rutile.cif
"$PRIOR" --help | grep -q "^Usage: halvorin-prior MODEL DATA" || fail "no usage"
# Through a link on PATH the space-group tables are found beside the real program.
mkdir bin && ln -s "$PRIOR" bin/halvorin-prior
PATH="$WORK/bin:$PATH" halvorin-prior rutile.cif rutile.prf -q || fail "status $? through a link"
echo "cycle 0 with the procrystal prior: CONSTR $c0"
