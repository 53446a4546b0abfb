#!/usr/bin/env bash
# The console dialogue driven through a pipe: it asks for the data file first,
# takes the answers in order, and writes the condition file when asked to.
# Every question shows the value an empty answer keeps, and a dialogue
# answered with empty lines only runs exactly those values.
. "$2/tests/e2e/analysis_common.bash"

# same_analysis REPORT REPORT: the settings blocks agree word for word, paths
# aside, and numbers to 1e-6 (the transforms' plans may change the last digit
# of the figures of cycle 0), and so does the verdict.
same_analysis() {
    block() { sed -n '/Data and settings/,/End of MEM analysis/p; /constraints have/p' "$1" | grep -v 'file:'; }
    paste -d '\t' <(block "$1") <(block "$2") | awk -F '\t' '
        { n = split($1, a, " "); if (split($2, b, " ") != n) exit 1
          for (i = 1; i <= n; i++) if (a[i] != b[i]) {
              if (a[i] !~ /^[-+.0-9E]+$/) exit 1
              d = a[i] - b[i]; m = a[i] < 0 ? -a[i] : a[i]
              if ((d < 0 ? -d : d) > 1e-6 * m) exit 1 } }'
}

# A neutron data set with a negative scattering length, under another name.
mkdir sub && cp "$SRC/examples/rutile_n.mem" sub/quartz.mem
export OMP_NUM_THREADS=1
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
printf '%s\n' "$out" | grep -q 'Total Elapsed time' || fail "the analysis did not end"

prf=sub/quartz.prf
[ -f "$prf" ] || fail "$prf not written"

# Every value line of the written file, in order; ZSPA asks for no prior.
[ "$(grep -v '^#' "$prf" | grep -v '^$' | tr '\n' '|')" = \
  '$PREFERENCES|quartz.mem|quartz.out|quartz.pgrid|quartz.fba|quartz_eps.raw|1|0|0|1|0|0.004 1.5|0.02|1.25|2|1|345|1|1 0.5 0 0 0 0 0 0.125|0|' ] ||
    fail "values written: $(grep -v '^#' "$prf" | tr '\n' '|')"
printf '%s\n' "$out" | grep -q '# Which prior densities' && fail "ZSPA asked for a prior"

# The written file is read back as a condition file: no question, and the
# same analysis of the data set it names.
mv sub/quartz.out first.out
out=$("$PROG" "$prf" </dev/null) || fail "the saved settings: status $?"
printf '%s\n' "$out" | grep -q '^# ' && fail "questions asked for a condition file"
same_analysis first.out sub/quartz.out || fail "the saved settings run another analysis"
grep -q 'neutron diffraction): 23.212, -6.876' sub/quartz.out || fail "the negative density was not declared"

# Empty lines only. Each question (a block of '#' lines after a blank line)
# ends with its "(Enter: value)" line, and the run goes to its end.
mkdir defaults replay
cp "$SRC/examples/rutile.mem" defaults/ && cp "$SRC/examples/rutile.mem" replay/
yes '' | head -n 40 | "$PROG" defaults/rutile.mem >defaults.txt || fail "a run on defaults: status $?"
grep -q "Total Elapsed time" defaults.txt || fail "the run on defaults did not end"
awk 'prev == "" && /^# / { questions++ }
     /^\(Enter: / { if (prev !~ /^#/) bad = 1; hints++ }
     { prev = $0 }
     END { if (bad || questions < 10 || questions != hints) { print questions, hints; exit 1 } }' defaults.txt ||
    fail "not every question shows its default"

# The same dialogue answered with the values shown, and with the answer 1 to
# "save a preferences file", must run the same analysis: so the values shown
# are the values used. The saved file holds them too.
sed -n 's/^(Enter: \(.*\))$/\1/p' defaults.txt > hints.txt
save=$(awk '/^# 1. Yes \(\*.prf is output\)\.$/ { getline; if (/^\(Enter: /) print n + 1; exit } /^\(Enter: / { n++ }' defaults.txt)
[ -n "$save" ] || fail "no question on saving the settings"
awk -v save="$save" 'NR == save { print 1; next } { print }' hints.txt | "$PROG" replay/rutile.mem >replay.txt ||
    fail "the replayed run: status $?"
[ -f replay/rutile.prf ] || fail "the replayed run saved no settings"
# Type, start and algorithm are the first three questions and value lines 7 to 9.
[ "$(grep -v '^#' replay/rutile.prf | grep -v '^$' | sed -n 7,9p)" = "$(head -n 3 hints.txt)" ] ||
    fail "type, start or algorithm saved differ from the defaults shown"
same_analysis defaults/rutile.out replay/rutile.out || fail "the defaults shown are not the defaults run"
[ "$(ls defaults/*.fba 2>/dev/null | wc -l)" = "$(ls replay/*.fba 2>/dev/null | wc -l)" ] ||
    fail "a feedback file in one run only"
exit 0
