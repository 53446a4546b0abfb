#!/usr/bin/env bash
# Every way the driver can fail, each run with standard input closed: the
# message naming the file, one "Press Enter key to exit." and no wait, status 1.
# A command line that cannot be used: one line on standard error, status 2.
# --help and --version answer at once with status 0. At a terminal the exit
# prompt waits for Enter, and the message is in the output while it waits.
. "$2/tests/e2e/analysis_common.bash"
failed=0
report() { printf 'FAIL (%s): %s\n' "$1" "$2"; failed=1; }

# run ARGS...: the program with standard input closed; sets out, err and status.
# The timeout turns a wait for a key into a failure instead of a hang.
run() {
    out=$(timeout 30 "$PROG" "$@" <&- 2>stderr.txt)
    status=$?
    err=$(cat stderr.txt)
}

# failure WHAT TAIL ARGS...: status 1, the output ends with TAIL (a glob
# pattern) and the exit prompt, which stands once; no question was asked
# unless the dialogue had to run to reach the failure.
failure() {
    local what=$1 tail=$2$'\nPress Enter key to exit.'
    shift 2
    run "$@"
    [ "$status" = 1 ] || report "$what" "status $status"
    # shellcheck disable=SC2053
    [[ "$(printf '%s\n' "$out" | tail -n "$(printf '%s\n' "$tail" | wc -l)")" == $tail ]] ||
        report "$what" $'output\n'"$out"$'\nshould end with\n'"$tail"
    [ "$(printf '%s\n' "$out" | grep -c 'Press Enter key')" = 1 ] || report "$what" "not one exit prompt"
}
asks_nothing() { printf '%s\n' "$out" | grep -q '^# ' && report "$1" "a question was asked"; }

# usage WHAT ARGS...: status 2, nothing on standard output, one line on standard error.
usage() {
    local what=$1
    shift
    run "$@"
    [ "$status" = 2 ] || report "$what" "status $status"
    [ -z "$out" ] && [ "$(printf '%s\n' "$err" | wc -l)" = 1 ] && [[ "$err" == "halvorin: "* ]] ||
        report "$what" "output '$out', error '$err'"
}

copy_example rutile
mkdir folder.prf folder.MEM
touch data.hkl
printf '$PREFERENCES\nnotes.txt\n' > unknown.prf
printf '$PREFERENCES\n# no data file named\n' > empty.prf
printf '$PREFERENCES\nnothere.mem\n' > nothere.prf
printf '$PREFERENCES\nx.mep\nx.out\nx.pgrid\nx.fba\nx_eps.raw\n1\n' > negative_mep.prf
touch x.mep
printf 'Rutile\n4.5937 4.5937 2.9587 90 90 90\n136 1 16 16 12\nx\n0\n0 76 0\ngone.ffo\n' > gone.alb
sed 's/^136 1 48 48 32$/136 1 2000 2000 500/' rutile.mem > huge.mem
sed 's/^rutile.mem$/huge.mem/' rutile.prf > huge.prf

failure "unsupported extension" "The file type is not supported:"$'\n'"$WORK/notes.txt" notes.txt
asks_nothing "unsupported extension"
failure "no extension" "The file type is not supported:"$'\n'"$WORK/plain" "$WORK/plain"
asks_nothing "no extension"
failure "no argument, end of input at the first prompt" "The file type is not supported:"$'\n'"$WORK/"
failure "missing condition file" "Input file could not be opened."$'\n'"$WORK/missing.prf"$'\n'"Failed to read condition file:"$'\n'"$WORK/missing.prf" missing.prf
failure "directory as condition file" "Failed to read condition file:"$'\n'"$WORK/folder.prf" folder.prf
# The extra argument is ignored.
failure "condition file naming an unknown type" "Failed to read condition file:"$'\n'"$WORK/unknown.prf" unknown.prf extra.mem
failure "condition file without data file" "Failed to read condition file:"$'\n'"$WORK/empty.prf" empty.prf
failure "condition file naming a missing data file" "Input file could not be opened."$'\n'"$WORK/nothere.mem" nothere.prf
failure "missing data file" "Input file could not be opened."$'\n'"$WORK/missing.fcf" missing.fcf
asks_nothing "missing data file"
# The extension is lower-cased: a data set, refused because it is a directory.
failure "directory as data file, upper-case extension" "Input file could not be opened."$'\n'"$WORK/folder.MEM" folder.MEM
asks_nothing "directory as data file"
failure ".hkl file: the dialogue, then no reader" "Failed to read input file:"$'\n'"$WORK/data.hkl" ./data.hkl
# A .mep data set declared with a negative scattering length has no reader.
failure ".mep with a negative channel" "Failed to read input file:"$'\n'"$WORK/x.mep" negative_mep.prf
failure "Alb file naming a missing list" "Input file could not be opened."$'\n'"$WORK/gone.ffo" gone.alb
# A failed Alb route leaves no data file name.
failure "missing Alb file" "Failed to read input file:"$'\n' missing.alb
failure "grid beyond any memory" "The grid of 2000 x 2000 x 500 voxels needs at least * GB of memory;"$'\n'"this computer has * GB. Choose a coarser grid." huge.prf
failure "template run, missing template" "Input file could not be opened."$'\n'"$WORK/nope.prf"$'\n'"Failed to read condition file:"$'\n'"$WORK/nope.prf" --conditions nope.prf rutile.mem
failure "template run, unsupported data" "The file type is not supported:"$'\n'"$WORK/notes.txt" --conditions rutile.prf notes.txt
failure "template run, missing data" "Input file could not be opened."$'\n'"$WORK/gone.fcf" -c rutile.prf gone.fcf

usage "unknown option" --bogus rutile.prf
usage "option after the input" rutile.prf -x
usage "--conditions without its file" rutile.mem --conditions
usage "template that is no condition file" --conditions rutile.mem rutile.mem
usage "template without data file" --conditions rutile.prf
usage "template with two data files" -c rutile.prf a.fcf b.fcf
usage "condition file as template data" -c rutile.prf huge.prf
[ ! -e rutile.out ] || report "usage errors" "an analysis ran"

# A name typed at the first prompt that cannot be opened ends the dialogue there.
out=$(printf 'missing.mem\n0\n' | timeout 30 "$PROG")
status=$?
[ "$status" = 1 ] && [ "$(printf '%s\n' "$out" | grep -c '^# ')" = 1 ] &&
    [ "$(printf '%s\n' "$out" | tail -n 3)" = "Input file could not be opened.
$WORK/missing.mem
Press Enter key to exit." ] || report "missing name at the prompt" "status $status, output $out"

run --help
[ "$status" = 0 ] && [ -z "$err" ] || report "--help" "status $status, error '$err'"
for word in "Usage: halvorin" "--conditions TEMPLATE.prf DATA" ".fcf" ".BayMEM" "BASE.pgrid" "Settings" \
    "Exit status" "Examples:" "halvorin-summary"; do
    [[ "$out" == *"$word"* ]] || report "--help" "no '$word'"
done
out=$(OMP_NUM_THREADS=3 timeout 30 "$PROG" --version <&-)
status=$?
[ "$status" = 0 ] && [[ "$out" == "halvorin "[0-9]* ]] && [[ "$out" == *"FFTW:    fftw-3"* ]] &&
    [[ "$out" == *"Threads: 3 "* ]] || report "--version" "status $status, output $out"

# At a terminal the exit prompt waits for Enter; output to a file is written
# line by line, so the message is there while the program waits.
/usr/bin/python3 - "$PROG" <<'EOF' || report "terminal" "see above"
import os, pty, subprocess, sys, time
try:
    master, slave = pty.openpty()
except OSError as e:
    print(f"no terminal to test the wait at the exit prompt: {e}")
    sys.exit(0)
with open("waiting.txt", "w") as log:
    run = subprocess.Popen([sys.argv[1], "folder.prf"], stdin=slave, stdout=log, stderr=subprocess.STDOUT)
for _ in range(300):
    if "Press Enter key" in open("waiting.txt").read() or run.poll() is not None:
        break
    time.sleep(0.1)
if run.poll() is not None or "Press Enter key" not in open("waiting.txt").read():
    sys.exit("the program did not wait at the exit prompt")
os.write(master, b"\n")
if run.wait(timeout=30) != 1:
    sys.exit(f"status {run.returncode} after Enter")
EOF
exit $failed
