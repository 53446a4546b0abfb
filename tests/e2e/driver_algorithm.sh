#!/usr/bin/env bash
# The optimiser dispatch: an unknown algorithm code runs no cycles and reports
# the starting density; code 3 runs ZSPA and then the Cambridge algorithm and
# keeps the report of the second pass.
set -u
prog=$(cd "$(dirname "$1")" && pwd -P)/$(basename "$1")
src=$2
work=$(cd "$(mktemp -d "${TMPDIR:-/tmp}/halvorin_e2eXXXXXX")" && pwd -P)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

cp "$src/examples/rutile.mem" "$work/" || fail "no example data set"
cd "$work" || exit 1

# Writes cond.prf from the example with the given algorithm and cycle limit.
make_conditions() {
    awk -v algorithm="$1" -v cycles="$2" '
        pending && !/^#/ && NF { print pending_value; pending = 0; next }
        /^# Optimization algorithm\./ { pending = 1; pending_value = algorithm }
        /^# Maximum number of cycles\./ { pending = 1; pending_value = cycles }
        { print }' "$src/examples/rutile.prf" > cond.prf
}

make_conditions 7 50
out=$("$prog" cond.prf </dev/null) || fail "status $?"
printf '%s\n' "$out" | grep -q ' CYCLE 0:' || fail "cycle 0 missing: $out"
printf '%s\n' "$out" | grep -q ' CYCLE [1-9]' && fail "an optimiser ran for code 7"
grep -q '^  Testing algorithm$' rutile.out || fail "report does not name the testing algorithm"
printf '%s\n' "$out" | grep -q '^  Elapsed times:$' || fail "no time summary"

rm -f rutile.out
make_conditions 3 20
out=$("$prog" cond.prf </dev/null) || fail "status $?"
[ -f rutile.out ] || fail "no report for code 3"
grep -q '^  Testing algorithm$' rutile.out || fail "code 3 report label"
exit 0
