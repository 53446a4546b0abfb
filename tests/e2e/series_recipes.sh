#!/usr/bin/env bash
# A series of data sets with one template condition file: the ten .fcf files of
# the rutile temperature series through the GNU parallel recipe, one through
# the Slurm array script, and halvorin-summary over the reports, as text and
# as CSV read by Python's csv module. Each analysis must have run its own data
# set: the density peak on Ti falls as the displacement parameters grow.
. "$2/tests/e2e/analysis_common.bash"
BIN=$(dirname "$PROG")
SUMMARY=$BIN/halvorin-summary
cp -r "$SRC/examples/series" series || fail "examples/series missing"
cd series || exit 1
temperatures="100 150 200 250 300 350 400 450 500 550"
data=()
for t in $temperatures; do data+=("rutile_${t}K.fcf"); done
cp series.prf template.orig

command -v parallel >/dev/null || fail "GNU parallel is not installed (make deps installs it)"
HALVORIN=$PROG JOBS=2 ./run_parallel.sh series.prf "${data[@]}" >summary.txt 2>recipe.err </dev/null ||
    fail "run_parallel.sh: status $?: $(cat recipe.err)"
cmp -s series.prf template.orig || fail "the template was changed"
ls ./*.prf | grep -qv series.prf && fail "a condition file was written beside the data"

# A data set that fails makes the recipe fail, and its log says why.
HALVORIN=$PROG ./run_parallel.sh series.prf missing.fcf >/dev/null 2>&1 </dev/null && fail "a failed analysis passed the recipe"
grep -q "Input file could not be opened." missing.log || fail "no log of the failed analysis"

# The text table: a header and one satisfied line per data set, in order.
[ "$(wc -l <summary.txt)" = 11 ] || fail "summary: $(cat summary.txt)"
[ "$(awk 'NR > 1 { printf "%s %s|", $1, $7 }' summary.txt)" = "$(for t in $temperatures; do printf 'rutile_%sK.fcf yes|' $t; done)" ] ||
    fail "summary lines: $(cat summary.txt)"

# The CSV, from another directory: data sets are named relative to it.
(cd .. && "$SUMMARY" --csv series/rutile_*K.out) >summary.csv || fail "CSV: status $?"
/usr/bin/python3 - summary.csv $temperatures <<'EOF' || fail "CSV check"
import csv, sys
rows = list(csv.DictReader(open(sys.argv[1], newline="")))
assert list(rows[0].keys()) == ["data set", "algorithm", "cycles", "CONSTR", "RF", "wRF", "satisfied", "seconds"], rows[0]
names = sorted(f"series/rutile_{t}K.fcf" for t in sys.argv[2:])
assert sorted(r["data set"] for r in rows) == names, [r["data set"] for r in rows]
for r in rows:
    assert r["algorithm"] == "ZSPA" and r["satisfied"] == "yes", r
    assert 0 < int(r["cycles"]) <= 3000 and abs(float(r["CONSTR"]) - 1) < 0.01, r
    assert 0 < float(r["RF"]) < 0.05 and 0 < float(r["wRF"]) < 0.05 and float(r["seconds"]) >= 0, r
EOF

# A data set name with a comma and quotes survives the CSV.
sed "s|MEM data set file: .*|MEM data set file: $WORK/series/odd, \"name\".fcf|" rutile_100K.out >odd.out
"$SUMMARY" --csv odd.out | /usr/bin/python3 -c 'import csv, sys; assert list(csv.reader(sys.stdin))[1][0] == "odd, \"name\".fcf"' ||
    fail "a quoted name in the CSV"

# Each report names its own data set, and the Ti peak falls with temperature.
for t in $temperatures; do
    grep -q "MEM data set file: $WORK/series/rutile_${t}K.fcf$" rutile_${t}K.out || fail "report of ${t} K"
    "$BIN/halvorin-map" rutile_${t}K.pgrid | awk '$1 == 1 && NF == 6 { print $5 }'
done | awk 'NR > 1 && !($1 < last) { exit 1 } { last = $1 }' || fail "the Ti peak does not fall with temperature"

# The Slurm array script, as task 4 of the list would run it.
printf '%s\n' "${data[@]}" >series.list
rm rutile_250K.out
SLURM_ARRAY_TASK_ID=4 SLURM_CPUS_PER_TASK=1 HALVORIN=$PROG bash slurm_array.sh series.prf series.list ||
    fail "slurm_array.sh: status $?"
grep -q "Total Elapsed time" rutile_250K.log || fail "no log of the Slurm task"
"$SUMMARY" rutile_250K.out | grep -q '^rutile_250K.fcf .* yes ' || fail "the Slurm task: $(cat rutile_250K.log)"
SLURM_ARRAY_TASK_ID=11 HALVORIN=$PROG bash slurm_array.sh series.prf series.list 2>/dev/null
[ $? = 2 ] || fail "a task beyond the list"

# A template of two-channel data carries its choice to another .mem file.
mkdir neutron && cp "$SRC/examples/rutile_n.mem" neutron/copy.mem
cp "$SRC/examples/rutile_n.prf" .
sed -i 's/^5000$/20/' rutile_n.prf
"$PROG" --conditions rutile_n.prf neutron/copy.mem </dev/null >neutron.log || fail "neutron template: status $?"
grep -q "neutron diffraction): 23.212, -6.876" neutron/copy.out || fail "the template's negative channel was lost"

# The summary's own failures: a missing and an unfinished report are named on
# standard error, the others still listed, status 1; usage errors give 2.
head -n 40 rutile_100K.out >cut.out
"$SUMMARY" rutile_100K.out missing.out cut.out >partial.txt 2>partial.err
[ $? = 1 ] && [ "$(wc -l <partial.txt)" = 2 ] && [ "$(wc -l <partial.err)" = 2 ] ||
    fail "unreadable reports: $(cat partial.txt partial.err)"
grep -q "missing.out: cannot be opened" partial.err && grep -q "cut.out: not a finished report" partial.err ||
    fail "messages: $(cat partial.err)"
"$SUMMARY" 2>/dev/null; [ $? = 2 ] || fail "summary without reports"
"$SUMMARY" --bogus rutile_100K.out 2>/dev/null; [ $? = 2 ] || fail "summary, unknown option"
"$SUMMARY" --help | grep -q "^Usage: halvorin-summary" || fail "summary --help"

# The version that --version shows is the one the reports carry.
[ "$("$PROG" --version | head -n 1)" = "halvorin $(awk '/Halvorin ver\./ { print $3; exit }' rutile_100K.out)" ] ||
    fail "--version and the report disagree"
exit 0
