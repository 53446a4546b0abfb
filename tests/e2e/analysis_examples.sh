#!/usr/bin/env bash
# Every bundled example, run on a copy: the console prints the preparation
# summary and cycle 0 in the program's formats with the numbers of the
# example's facts file, the report states its F(000) and lambda, the
# constraint is reached, the grid file has the size of its layout, and every
# channel of the density has its sign and holds its F(000). The
# centrosymmetric examples give the same report figures with 1, 2 and 3
# threads, three splitting the planes of rutile's grid and the voxel runs
# unevenly (reductions over threads and the FFT library's measured plans may
# change the last bits of a sum; the zinc oxide iteration amplifies them until
# even two runs with one thread differ in the third digit after several
# hundred cycles).
. "$2/tests/e2e/analysis_common.bash"
figures() { grep -E '^ +(lambda1|Number of cycles|CONSTR|wCONSTR|CONF|C[0-9]+ |Information Entropy)' "$1" | head -20; }
awk_true() { awk "BEGIN { exit !($1) }"; }

for prf in "$SRC"/examples/*.prf; do
    ex=$(basename "$prf" .prf)
    f() { fact $ex "$1"; }
    threads="1 2 3"
    [ "$(f centric)" = 1 ] || threads=1
    for n in $threads; do
        copy_example $ex "$WORK/$ex.$n"
        (cd "$WORK/$ex.$n" && OMP_NUM_THREADS=$n run_halvorin $ex.prf console.txt) || exit 1
        diff <(figures "$WORK/$ex.1/$ex.out") <(figures "$WORK/$ex.$n/$ex.out") || fail "$ex: reports differ between 1 and $n threads"
    done
    cd "$WORK/$ex.1"
    [ -n "$(figures $ex.out)" ] || fail "$ex: no result block"

    # The preparation summary, printed again from the facts.
    read -r a b c alpha beta gamma <<<"$(f cell)"
    read -r nx ny nz <<<"$(f grid)"
    vline=$(grep -m1 '^         V = ' console.txt)
    awk_true "${vline#*= } - $(f volume) < 0.001 && $(f volume) - ${vline#*= } < 0.001" || fail "$ex: $vline"
    summary=$(printf '\n  Title: %s\n\n  Lattice parameters:\n' "$(f title)"
        printf '         a = %9.5f     b = %9.5f      c = %9.5f\n' "$a" "$b" "$c"
        printf '     alpha = %9.5f  beta = %9.5f  gamma = %9.5f\n%s\n\n' "$alpha" "$beta" "$gamma" "$vline"
        printf '  Space group: %s\n  Space group number: %d\n  Setting number: %d\n\n' \
            "$(f space_group_symbol)" "$(f space_group_number)" "$(f space_group_setting)"
        printf '  Numbers of reflections used in MEM analysis:\n     NREF1(F) = %d\n     NREF2(G) = %d\n     NREF3(E) = %d\n\n' \
            "$(f nref_f)" "$(f nref_g)" "$(f nref_e)"
        printf '  Number of voxels in the asymmetric unit = %d\n' "$(f n_voxel_asym)"
        printf '        Number of voxels in the unit cell = %d (%d X %d X %d)\n\n CYCLE 0:' "$(f n_voxel_cell)" "$nx" "$ny" "$nz")
    [[ "$(cat console.txt)" == *"$summary"* ]] || fail "$ex: summary differs from the facts:$summary"
    # Direct sums over the tables while they cost no more than a transform.
    path=$(awk -v asym="$(f n_voxel_asym)" -v refl="$(($(f nref_f) + $(f nref_g) + $(f nref_e)))" -v centric="$(f centric)" \
        -v n="$(f n_voxel_cell)" 'BEGIN { print (asym * refl * (centric ? 1 : 2) > n / log(n) * 100.0 ? "FFT" : "DFT") }')
    grep -qx "Use $path routine." console.txt || fail "$ex: expected 'Use $path routine.'"
    # Cycle 0 from a uniform start: the numbers read back and printed again give the lines.
    read -r _ _ C _ _ CONF _ _ CONG <<<"$(grep -A1 '^ CYCLE 0:$' console.txt | tail -1)"
    read -r _ _ D _ _ RF _ _ WRF <<<"$(grep -A2 '^ CYCLE 0:$' console.txt | tail -1)"
    expected=$(printf ' CYCLE 0:\n CONSTR = %15.7E CONF = %15.7E CONG = %15.7E\n  DELTA = %15.7E   RF = %15.6f  wRF = %15.6f\n' \
        "$C" "$CONF" "$CONG" "$D" "$RF" "$WRF")
    [ "$(grep -A3 '^ CYCLE 0:$' console.txt; echo .)" = "$expected"$'\n\n.' ] || fail "$ex: cycle 0 lines and the empty line after them"
    awk_true "$C > 1 && $D == 0 && $RF > 0 && ($(f nref_g) > 0 || $CONG == 0)" || fail "$ex: cycle 0: $C $D $RF $CONG"
    # Later cycles in formats of their own: the multiples of 10, and the last.
    [ "$(grep -E '^ CYCLE [0-9]+: Lambda=' console.txt | awk '{ n = $2 + 0 } n % 10 { k++ } END { print k + 0 }')" -le 1 ] ||
        fail "$ex: cycles printed other than the multiples of 10 and the last"
    [ "$(grep -E '^ CYCLE [0-9]+: Lambda=' console.txt | tail -1 | awk '{ print $2 + 0 }')" = \
      "$(report_value $ex.out "  Number of cycles = " 5)" ] || fail "$ex: the last cycle is not printed"
    read -r _ _ _ L <<<"$(grep '^ CYCLE 10:' console.txt | tr '=' ' ')"
    read -r _ _ C _ _ CONF _ _ CONG <<<"$(grep -A1 '^ CYCLE 10:' console.txt | tail -1)"
    read -r _ _ D _ _ RF _ _ WRF <<<"$(grep -A2 '^ CYCLE 10:' console.txt | tail -1)"
    expected=$(printf ' CYCLE 10: Lambda=%E\n CONSTR = %13.6E  CONF = %13.6E  CONG = %13.6E\n  DELTA = %13.6E    RF =  %-12.6f   wRF =  %-12.6f\n' \
        "$L" "$C" "$CONF" "$CONG" "$D" "$RF" "$WRF")
    [ "$(grep -A3 '^ CYCLE 10:' console.txt; echo .)" = "$expected"$'\n\n.' ] || fail "$ex: cycle 10 lines"

    # The report, the grid file and the density.
    grep -qx "  in the unit cell (neutron diffraction): $(awk -v p="$(f f000_plus)" -v m="$(f f000_minus)" 'BEGIN { print p + 0 ", " m + 0 }')" $ex.out ||
        fail "$ex: F(000) line"
    awk_true "$(report_value $ex.out "                   Initial lambda1 = " 4) == $(f lambda)" || fail "$ex: initial lambda"
    grep -qx "      The constraints have been satisfied." $ex.out || fail "$ex: constraints not satisfied"
    values=1
    awk_true "$(f f000_minus) != 0" && values=2
    check_grid_file $ex.pgrid "$(f n_sym_op)" "$(f n_voxel_asym)" $values
    [ "$(int_at $ex.pgrid 104)" = "$values" ] || fail "$ex: channel count"
    example_density $ex.pgrid $ex
    [ "$(grep -c "^  Information Entropy" $ex.out)" = "$values" ] || fail "$ex: entropy lines"
    echo "$ex: $(report_value $ex.out "  Number of cycles = " 5) cycles"
done

# The rutile report in detail: its individual list against the data file, row
# by row, M being the number of distinct equivalents in the Laue class 4/mmm;
# the listed-only reflections after their own head; a feedback file with F, G
# and E reflections; and a histogram that counts each individual reflection once.
cd "$WORK/rutile.1"
ls | grep -q '\.tmp$' && fail "temporary files left behind"
constr=$(report_value rutile.out "  CONSTR = " 3 2)
awk_true "$constr - 1 < 0.0002 && $(report_value rutile.out "  CONSTR = " 6 2) < $(report_value rutile.out "  CONSTR = " 6 1) / 3" ||
    fail "final CONSTR $constr or RF"
[ "$(report_value rutile.out "  Number of voxels in the asymmetric unit = " 9)" = "$(fact rutile n_voxel_asym)" ] || fail "NASYM"
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
' rutile.mem rutile.out || fail "report's structure factors disagree with rutile.mem"
[ "$(third_list_rows rutile.out)" = "$(fact rutile nref_e)" ] || fail "$(third_list_rows rutile.out) listed-only reflections"
total=$(($(fact rutile nref_f) + $(fact rutile nref_g) + $(fact rutile nref_e)))
[ "$(sed -n 1p rutile.fba)" = '$FB-MEM-DATA' ] || fail "feedback marker"
[ "$(sed -n 2p rutile.fba)" = "$total" ] && [ "$(awk 'NF == 5' rutile.fba | wc -l)" = "$total" ] || fail "feedback lines"
[ "$(awk -F', ' '{ n += $2 } END { print n }' rutile_eps.raw)" = "$(fact rutile nref_f)" ] || fail "histogram total"
echo "rutile: CONSTR $constr"
