#!/usr/bin/env bash
# halvorin-map on the grids of the bundled examples: the maps read back by an
# independent reader, the peaks on the atoms, the picture of a section, and
# one-line errors for files it cannot use.
. "$2/tests/e2e/analysis_common.bash"
MAP=$(dirname "$PROG")/halvorin-map
check() { /usr/bin/python3 "$SRC/tests/e2e/map_check.py" "$@"; }
for e in rutile rutile_n zno; do
    copy_example $e
    run_halvorin $e.prf $e.log
done

# The summary: the total charge is F(000), and the two largest peaks lie on
# the two kinds of atom.
for e in rutile rutile_n zno; do
    "$MAP" $e.pgrid > $e.summary || fail "summary of $e"
    check peaks $e $e.summary $(fact $e grid) || fail "peaks of $e"
done
charge() { awk -v c="$2" '$1 == c { print $5 }' "$1"; }
near() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a - b < 1e-3 && b - a < 1e-3) }'; }
near "$(charge rutile.summary total)" "$(fact rutile f000_plus)" || fail "rutile charge"
near "$(charge rutile_n.summary positive)" "$(fact rutile_n f000_plus)" || fail "rutile_n positive charge"
near "$(charge rutile_n.summary negative)" "$(fact rutile_n f000_minus)" || fail "rutile_n negative charge"

# CCP4 maps read back by gemmi; the neutron channels keep their signs.
maps() { "$MAP" -q "$@" || fail "halvorin-map $*"; }
maps rutile.pgrid -o rutile.ccp4
maps zno.pgrid -o zno.mrc
maps rutile_n.pgrid --channel positive -o plus.map
maps rutile_n.pgrid --channel negative -o minus.map
readback() {
    check ccp4 "$1" $(fact $2 space_group_number) $(fact $2 grid) "$3" "$4"
    case $? in 0) ;; 77) echo "python3-gemmi missing: $1 not read back" ;; *) fail "read-back of $1" ;; esac
}
readback rutile.ccp4 rutile "$(fact rutile f000_plus)" 1
readback zno.mrc zno "$(fact zno f000_plus)" 1
readback plus.map rutile_n "$(fact rutile_n f000_plus)" 1
readback minus.map rutile_n "$(fact rutile_n f000_minus)" -1
# The whole cell as a grid without operators comes back unchanged, in P 1.
if check p1grid rutile.ccp4 whole.pgrid; then
    maps whole.pgrid -o whole.ccp4
    check ccp4 whole.ccp4 1 $(fact rutile grid) "$(fact rutile f000_plus)" 1 || fail "read-back of whole.ccp4"
    cmp -s <(tail -c 294912 rutile.ccp4) <(tail -c 294912 whole.ccp4) || fail "whole-cell values differ"
fi

# A section z = 1/2 through rutile: Ti at the centre brightest, O less, the gaps darkest.
"$MAP" rutile.pgrid --png half.png --plane ab --offset 0.5 > picture.txt || fail "picture"
check png half.png picture.txt || fail "picture of rutile"

# Files that cannot be used: one line on the error stream and status 1.
refuse() {
    local file=$1
    shift
    "$MAP" "$file" "$@" > out.txt 2> err.txt
    local status=$?
    [ $status -ne 0 ] && [ $status -lt 128 ] || fail "$file $*: status $status"
    [ "$(wc -l < err.txt)" = 1 ] && grep -q "^halvorin-map: " err.txt || fail "$file $*: $(cat err.txt)"
}
printf 'text, not a grid\n' > text.pgrid
head -c 100 rutile.pgrid > short_header.pgrid
head -c 5000 rutile.pgrid > short_body.pgrid
{ cat rutile.pgrid; printf 'tail'; } > long.pgrid
# The first voxel's index (after 152 header bytes and 24 + 16 x 48 of operators) beyond the grid.
cp rutile.pgrid bad_index.pgrid
printf '\377\377\377\177' | dd of=bad_index.pgrid bs=1 seek=944 conv=notrunc status=none
# A negative operator count.
cp rutile.pgrid bad_ops.pgrid
printf '\377\377\377\377' | dd of=bad_ops.pgrid bs=1 seek=152 conv=notrunc status=none
for f in text short_header short_body long bad_index bad_ops missing; do refuse $f.pgrid; done
refuse rutile.pgrid --plane 1,2
refuse rutile.pgrid --png a.png --plane 0,0,0
refuse rutile.pgrid -o no_such_dir/rutile.ccp4
refuse rutile.pgrid --png no_such_dir/rutile.png
echo "map companion checks passed"
