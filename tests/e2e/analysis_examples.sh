#!/usr/bin/env bash
# The non-centrosymmetric (zinc oxide) and the two-channel neutron (rutile with
# negative Ti scattering) examples: each reaches the constraint, its grid file
# has the size of the layout, and every channel of the density has its sign
# and holds its F(000). The neutron report shows both entropies.
set -u
PROG=$(readlink -f "$1")
SRC=$2
. "$SRC/tests/e2e/analysis_common.bash"
new_workdir
for example in zno rutile_n; do
    dir="$WORK/$example"
    copy_example $example "$dir"
    cd "$dir"
    run_halvorin $example.prf console.txt
    grep -qx "      The constraints have been satisfied." $example.out || fail "$example: constraints not satisfied"
    fplus=$(fact $example f000_plus)
    fminus=$(fact $example f000_minus)
    values=1
    awk -v m="$fminus" 'BEGIN { exit !(m != 0) }' && values=2
    check_grid_file $example.pgrid "$(fact $example n_sym_op)" "$(fact $example n_voxel_asym)" $values
    [ "$(int_at $example.pgrid 104)" = "$values" ] || fail "$example: channel count"
    volume=$(awk -v v="$(fact $example volume)" -v n="$(fact $example n_voxel_cell)" 'BEGIN { printf "%.12g", v / n }')
    check_density $example.pgrid "$volume" "$fplus" "$fminus"
    entropies=$(grep -c "^  Information Entropy" $example.out)
    [ "$entropies" = "$values" ] || fail "$example: $entropies entropy lines"
    echo "$example: $(report_value $example.out "  Number of cycles = " 5) cycles"
done
