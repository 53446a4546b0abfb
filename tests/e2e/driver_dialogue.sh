#!/usr/bin/env bash
# The console dialogue driven through a pipe: it asks for the data file first,
# takes the answers in order, and writes the condition file when asked to.
. "$2/tests/e2e/analysis_common.bash"

mkdir sub
# Answers: name (quoted, CR LF line ends), type, start, algorithm, LM_type,
# lambda, x, t, E, feedback, eps, fractions, save, cycles.
answers=$'"sub/quartz.mem"  \r\n1\r\n0\r\n0\r\n0\r\n0.004\r\n1.5\r\n0.02\r\n1.25\r\n2\r\n1\r\n1 0.5 0 0 0 0 0 0.125\r\n1\r\n345\r\n'
out=$(printf '%s' "$answers" | "$PROG")
status=$?
[ "$status" -eq 0 ] || fail "status $status"

first=$(printf '%s\n' "$out" | grep -m 1 '^#')
[ "$first" = "# The name of the MEM data set file (*.fos, *.mem, *.fcf, *.BayMEM) or condition file (*.prf)." ] \
    || fail "first line is: $first"
printf '%s\n' "$out" | grep -qx '# Maximum number of cycles.' || fail "last question not asked"
printf '%s\n' "$out" | tail -n 3 | head -n 1 | grep -qx 'Failed to read input file:' \
    || fail "the empty data file was not reported"

prf=sub/quartz.prf
[ -f "$prf" ] || fail "$prf not written"

# Every value line of the written file, in order; ZSPA asks for no prior.
[ "$(grep -v '^#' "$prf" | grep -v '^$' | tr '\n' '|')" = \
  '$PREFERENCES|quartz.mem|quartz.out|quartz.pgrid|quartz.fba|quartz_eps.raw|1|0|0|1|0|0.004 1.5|0.02|1.25|2|1|345|1|1 0.5 0 0 0 0 0 0.125|0|' ] ||
    fail "values written: $(grep -v '^#' "$prf" | tr '\n' '|')"
printf '%s\n' "$out" | grep -q '# Which prior densities' && fail "ZSPA asked for a prior"

# The written file is read back as a condition file: no question, and the run
# goes on to the data set it names.
out=$("$PROG" "$prf" </dev/null)
printf '%s\n' "$out" | grep -q '^# ' && fail "questions asked for a condition file"
expected="Failed to read input file:
$WORK/sub/quartz.mem
Press Enter key to exit."
[ "$(printf '%s\n' "$out" | tail -n 3)" = "$expected" ] || fail "second run ended with: $out"

# End of input at the first question ends the dialogue at once.
out=$("$PROG" </dev/null)
[ $? -eq 0 ] || fail "status at end of input"
printf '%s\n' "$out" | grep -qx 'The file type is not supported:' || fail "end of input: $out"
exit 0
