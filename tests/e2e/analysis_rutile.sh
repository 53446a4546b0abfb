#!/usr/bin/env bash
# A complete ZSPA analysis of the rutile example, checked against facts that
# must hold whatever the iteration did: the constraint is reached, the density
# is positive and holds F(000), the grid file has the size of its layout, the
# report lists the data file's reflections with their crystallographic
# multiplicities, and the feedback file lists what the settings ask for.
set -u
PROG=$(readlink -f "$1")
SRC=$2
. "$SRC/tests/e2e/analysis_common.bash"
start_example rutile
run_halvorin rutile.prf console.txt

for f in rutile.out rutile.pgrid rutile_eps.raw rutile.fba; do
    [ -s "$f" ] || fail "$f not written"
done
ls | grep -q '\.tmp$' && fail "temporary files left behind"

out=rutile.out
grep -qx "      The constraints have been satisfied." $out || fail "constraints not satisfied"
constr=$(report_value $out "  CONSTR = " 3 2)
rf0=$(report_value $out "  CONSTR = " 6 1)
rf=$(report_value $out "  CONSTR = " 6 2)
awk -v c="$constr" 'BEGIN { exit !(c - 1 < 0.0002) }' || fail "final CONSTR $constr"
awk -v a="$rf" -v b="$rf0" 'BEGIN { exit !(a < b / 3) }' || fail "RF $rf not far below cycle 0's $rf0"
cycles=$(report_value $out "  Number of cycles = " 5)
[ "$cycles" -gt 1 ] || fail "no cycles run"

# The grid file: layout size and a positive density that holds 76 electrons.
nasym=$(fact rutile n_voxel_asym)
[ "$(report_value $out "  Number of voxels in the asymmetric unit = " 9)" = "$nasym" ] || fail "NASYM"
check_grid_file rutile.pgrid "$(fact rutile n_sym_op)" "$nasym" 1
volume=$(fact rutile volume)
ncell=$(fact rutile n_voxel_cell)
check_density rutile.pgrid "$(awk -v v="$volume" -v n="$ncell" 'BEGIN { printf "%.12g", v / n }')" \
    "$(fact rutile f000_plus)" 0

# The report's individual list against the data file, row by row. M is the
# number of distinct equivalents in the Laue class 4/mmm of P 42/m n m.
awk '
    function abs(x) { return x < 0 ? -x : x }
    function mult(h, k, l,   a, b, c) {
        a = abs(h); b = abs(k); c = abs(l)
        if (a == 0 && b == 0) return c == 0 ? 1 : 2
        special = (a == b || a == 0 || b == 0)
        if (c == 0) return special ? 4 : 8
        return special ? 8 : 16
    }
    function near(x, y) { return abs(x - y) <= 1e-4 * abs(y) + 1e-4 }
    FNR == 1 { file++ }
    file == 1 && (/^[ \t]*#/ || NF == 0) { next }
    file == 1 && ++logical == 6 { nF = $1; next }
    file == 1 && logical > 6 && n < nF { n++; H[n] = $1; K[n] = $2; L[n] = $3; RE[n] = $4; IM[n] = $5; S[n] = $6; next }
    file == 2 && /List of structure factors/ { list = 1; getline; next }
    file == 2 && list && NF == 0 { list = 0 }
    file == 2 && list {
        r++
        if ($1 != H[r] || $2 != K[r] || $3 != L[r]) { print "row " r ": " $0; bad++ }
        if (!near($4, RE[r]) || !near($5, IM[r]) || !near($9, S[r])) { print "values of row " r ": " $0; bad++ }
        if ($10 != mult($1, $2, $3)) { print "multiplicity of row " r ": " $0; bad++ }
    }
    END { if (r != n || n == 0) { print r " rows for " n " reflections"; bad++ } exit bad > 0 }
' rutile.mem $out || fail "report's structure factors disagree with rutile.mem"

# Reflections that are only calculated are listed after their own head.
nE=$(awk '/^Unobserved or partially observed/ { on = 1; getline; next } on && NF > 0 { n++ } END { print n + 0 }' $out)
[ "$nE" = "$(fact rutile nref_e)" ] || fail "$nE listed-only reflections"

# feedbackOutput 1 lists F, G and E reflections.
total=$(($(fact rutile nref_f) + $(fact rutile nref_g) + $(fact rutile nref_e)))
[ "$(sed -n 1p rutile.fba)" = '$FB-MEM-DATA' ] || fail "feedback marker"
[ "$(sed -n 2p rutile.fba)" = "$total" ] || fail "feedback count $(sed -n 2p rutile.fba), want $total"
[ "$(awk 'NF == 5' rutile.fba | wc -l)" = "$total" ] || fail "feedback lines"

# The histogram counts every individual reflection once.
[ "$(awk -F', ' '{ n += $2 } END { print n }' rutile_eps.raw)" = "$(fact rutile nref_f)" ] || fail "histogram total"
echo "rutile: $cycles cycles, CONSTR $constr, RF $rf0 -> $rf"
