# Helpers of the end-to-end tests, sourced by tests/e2e/*.sh, whose arguments
# are the program and the source directory. Every script works in a scratch
# directory of its own (its physical path, which messages name), removed when
# it ends, on copies of the bundled examples, so that no run writes into the
# source tree.
set -u
PROG=$(readlink -f "$1")
SRC=$2
WORK=$(cd "$(mktemp -d "${TMPDIR:-/tmp}/halvorin_e2e_XXXXXX")" && pwd -P)
trap 'rm -rf "$WORK"' EXIT
cd "$WORK" || exit 1

fail() { echo "FAIL: $*" >&2; exit 1; }

# copy_example NAME [DIR]: the example's condition and data files into DIR (default $WORK).
copy_example() {
    local dir=${2:-$WORK}
    mkdir -p "$dir"
    cp "$SRC/examples/$1.prf" "$SRC/examples/$1.mem" "$dir/" || fail "example $1 missing"
}

# fact NAME KEY: a value of a sidecar of known facts, the example's unless FACTS names another directory.
fact() { awk -v k="$2" '$1 == k { $1 = ""; sub(/^ /, ""); print; exit }' "${FACTS:-$SRC/examples}/$1.facts"; }

# set_value PRF INDEX VALUE: replaces value line INDEX of a condition file
# (0 = the data file name, 6 = start densities, 13 = feedback, 18 = prior, ...).
set_value() {
    awk -v want="$2" -v value="$3" '
        /^[ \t]*(#|$)/ { print; next }
        { n++; if (n - 2 == want) print value; else print }' "$1" > "$1.new" && mv "$1.new" "$1"
}

# run_halvorin PRF LOG: one analysis with no standard input.
run_halvorin() {
    "$PROG" "$1" </dev/null >"$2" 2>&1 || fail "exit status $? for $1"
    grep -q "Total Elapsed time" "$2" || fail "no elapsed-time summary in $2"
}

# report_value REPORT PATTERN FIELD [OCCURRENCE]: a number from a report line.
report_value() {
    awk -v p="$2" -v f="$3" -v want="${4:-1}" 'index($0, p) == 1 && ++n == want { print $f; exit }' "$1"
}

# third_list_rows REPORT: rows of the report's list of unobserved or partially observed reflections.
third_list_rows() { awk '/^Unobserved or partially observed/ { on = 1; getline; next } on && NF { n++ } END { print n + 0 }' "$1"; }

# cycle0_constr LOG: CONSTR of cycle 0 from the console output.
cycle0_constr() { awk '/^ CYCLE 0:/ { getline; print $3; exit }' "$1"; }

# int_at FILE OFFSET: a little-endian 32-bit integer of a binary file.
int_at() { od -An -t d4 -j "$2" -N 4 "$1" | tr -d ' '; }

# check_grid_file PGRID NSYMOP NASYM VALUES: the file size from the layout.
check_grid_file() {
    local file=$1 nops=$2 nasym=$3 values=$4 size expected
    size=$(stat -c %s "$file")
    if [ "$(int_at "$file" 100)" = 1 ]; then
        [ "$(int_at "$file" 152)" = "$nops" ] || fail "$file: operator count $(int_at "$file" 152), want $nops"
        expected=$((152 + 12 + 48 * nops + 12 + (4 + 4 * values) * nasym))
    else
        expected=$((152 + 4 * values * nasym))
    fi
    [ "$(int_at "$file" 124)" = "$nasym" ] || fail "$file: NASYM $(int_at "$file" 124), want $nasym"
    [ "$size" = "$expected" ] || fail "$file: $size bytes, layout gives $expected"
}

# check_density PGRID VOXELVOLUME FPLUS FMINUS: every positive value positive,
# every negative-channel value negative, and each channel's orbits, with sizes
# counted from the file's own operators, holding its F(000).
check_density() {
    paste <(od -An -v -w4 -t d4 "$1") <(od -An -v -w4 -t f4 "$1") | awk -v vv="$2" -v fp="$3" -v fm="$4" '
        { word[NR - 1] = $1; real[NR - 1] = $2 }
        END {
            type = word[25]; nx = word[28]; ny = word[29]; nz = word[30]; nasym = word[31]
            values = (fp != 0) + (fm != 0); at = 38; nops = 1
            op[0] = 1; op[4] = 1; op[8] = 1
            if (type == 1) {
                nops = word[38]; norig = word[40]; at = 41
                for (i = 0; i < 12 * nops; i++) op[i] = word[at + i]
                at += 12 * nops + 3 * norig
            }
            for (v = 0; v < nasym; v++) {
                m = 1
                if (type == 1) {
                    idx = word[at++]
                    x = idx % (nx + 1); y = int(idx / (nx + 1)) % (ny + 1); z = int(idx / ((nx + 1) * (ny + 1)))
                    delete seen; m = 0
                    for (n = 0; n < nops; n++) {
                        o = 12 * n
                        X = ((op[o] * x + op[o + 3] * y + op[o + 6] * z + op[o + 9]) % nx + nx) % nx
                        Y = ((op[o + 1] * x + op[o + 4] * y + op[o + 7] * z + op[o + 10]) % ny + ny) % ny
                        Z = ((op[o + 2] * x + op[o + 5] * y + op[o + 8] * z + op[o + 11]) % nz + nz) % nz
                        if (!((X, Y, Z) in seen)) { seen[X, Y, Z] = 1; m++ }
                    }
                }
                if (fp != 0) { r = real[at++]; if (!(r > 0)) bad++; plus += m * r * vv }
                if (fm != 0) { r = real[at++]; if (!(r < 0)) bad++; minus += m * r * vv }
            }
            printf "orbits hold %.6f and %.6f, %d values of the wrong sign\n", plus, minus, bad
            tol = 1e-4 * (fp < 0 ? -fp : fp) + 1e-4
            if (bad > 0 || plus - fp > tol || fp - plus > tol || minus - fm > tol || fm - minus > tol) exit 1
        }' || fail "density of $1 is not positive or does not hold F(000) = $3, $4"
}

# example_density PGRID NAME: check_density with the volume and F(000) of the example's facts.
example_density() {
    check_density "$1" "$(awk -v v="$(fact $2 volume)" -v n="$(fact $2 n_voxel_cell)" 'BEGIN { printf "%.12g", v / n }')" \
        "$(fact $2 f000_plus)" "$(fact $2 f000_minus)"
}
