#!/usr/bin/env bash
# Refinement output (.fcf) analysed end to end, on the files of tests/data/fcf
# written by tools/make_examples.py. Every column set reaches the constraint
# with the setting, operator count and split into observed and weak
# reflections that the facts state; the weak ones fill the report's third
# list. A .fcf and its .mem twin give the same cell, setting, operator count
# and cycle-0 CONSTR. The origin-shifted zirconia is "Custom" and its final
# structure factors are those of the standard setting with the phase shift.
# A file without F(000) ends with a message that names the item.
. "$2/tests/e2e/analysis_common.bash"
export LC_ALL=C
DATA=$SRC/tests/data/fcf
cp "$DATA"/* "$WORK/"
FACTS=$WORK

# analyse NAME DATAFILE RESOLUTION: a run of DATAFILE with the shared settings.
analyse() {
    cp fcf.prf "$1.prf"
    set_value "$1.prf" 0 "$2"
    set_value "$1.prf" 19 "$3"
    run_halvorin "$1.prf" "$1.log"
}

for name in zro2 zro2_shifted zno zno_friedel rutile_list; do
    resolution=0.15
    case $name in zro2*) resolution=0.25 ;; esac  # the shift of a/4 must be whole voxels
    analyse $name $name.fcf $resolution
    out=$name.out
    grep -qx "      The constraints have been satisfied." $out || fail "$name: constraints not satisfied"
    symbol=$(fact $name space_group_symbol)
    grep -qx "  Space group: $symbol" $out || fail "$name: space group $(grep 'Space group:' $out), want $symbol"
    if [ "$symbol" != Custom ]; then
        [ "$(report_value $out "  Space group number:" 4)" = "$(fact $name space_group_number)" ] || fail "$name: group number"
        [ "$(report_value $out "  Setting number:" 3)" = "$(fact $name setting)" ] || fail "$name: setting"
    fi
    [ "$(int_at $name.pgrid 152)" = "$(fact $name n_sym_op)" ] || fail "$name: $(int_at $name.pgrid 152) operators"
    [ "$(report_value $out "     NREF1(F) =" 3)" = "$(fact $name nref_f)" ] || fail "$name: NREF1"
    [ "$(report_value $out "     NREF3(E) =" 3)" = "$(fact $name nref_e)" ] || fail "$name: NREF3"
    [ "$(third_list_rows $out)" = "$(fact $name nref_e)" ] || fail "$name: third list has $(third_list_rows $out) rows"
    echo "$name: $(report_value $out "  Number of cycles = " 5) cycles"
done

# The same data as .mem and as .fcf.
for name in zro2 zno; do
    cp $name.mem ${name}_mem.mem  # outputs are named after the data file
    analyse ${name}_mem ${name}_mem.mem 0.25
    for line in "         a =" "     alpha =" "  Space group:" "  Space group number:" "  Setting number:"; do
        [ "$(grep -m1 "^$line" $name.out)" = "$(grep -m1 "^$line" ${name}_mem.out)" ] || fail "$name: '$line' differs"
    done
    [ "$(int_at $name.pgrid 152)" = "$(int_at ${name}_mem.pgrid 152)" ] || fail "$name: operator counts differ"
    awk -v a="$(cycle0_constr $name.log)" -v b="$(cycle0_constr ${name}_mem.log)" \
        'BEGIN { d = a - b; if (d < 0) d = -d; exit !(a > 0 && d <= 1e-5 * a) }' ||
        fail "$name: cycle-0 CONSTR $(cycle0_constr $name.log) from .fcf, $(cycle0_constr ${name}_mem.log) from .mem"
done

# FMEM of the shifted setting against the standard one times exp(2 pi i h.t).
read -r tx ty tz <<<"$(fact zro2_shifted origin_shift)"
structure_factors() { awk '/List of structure factors/ { on = 1; getline; next } on && NF == 13 { print $1, $2, $3, $6, $7 } on && !NF { exit }' "$1"; }
join <(structure_factors zro2.out | awk '{ print $1 ":" $2 ":" $3, $4, $5 }' | sort) \
     <(structure_factors zro2_shifted.out | awk '{ print $1 ":" $2 ":" $3, $4, $5 }' | sort) |
    awk -v tx="$tx" -v ty="$ty" -v tz="$tz" '
        { split($1, h, ":"); p = 2 * 3.141592653589793 * (h[1] * tx + h[2] * ty + h[3] * tz)
          re = $2 * cos(p) - $3 * sin(p); im = $2 * sin(p) + $3 * cos(p)
          d = (re - $4) ^ 2 + (im - $5) ^ 2; m = $2 ^ 2 + $3 ^ 2
          if (d > 1e-6 * m + 1e-6) bad++; n++ }
        END { printf "shifted setting: %d structure factors compared, %d differ\n", n, bad; exit !(n > 250 && bad == 0) }' ||
    fail "the shifted setting does not give the phase-shifted structure factors"

# No F(000): no analysis, a message that says what to add.
grep -v "_exptl_crystal_F_000" zro2.fcf > nof000.fcf
cp fcf.prf nof000.prf
set_value nof000.prf 0 nof000.fcf
"$PROG" nof000.prf </dev/null >nof000.log 2>&1
grep -q "_exptl_crystal_F_000" nof000.log || fail "no F(000): the message does not name the item"
grep -q "Press Enter key to exit." nof000.log || fail "no F(000): not the exit sequence"
[ ! -e nof000.out ] || fail "no F(000): a report was written"
