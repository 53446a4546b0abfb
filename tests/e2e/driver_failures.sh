#!/usr/bin/env bash
# Expected failures of the driver: one message naming the file, the exit
# prompt, and status 0 even with standard input closed.
. "$2/tests/e2e/analysis_common.bash"
failed=0

# ends_with WHAT MESSAGE FILE ARGS...: the output ends with MESSAGE, FILE and the exit prompt.
ends_with() {
    local what=$1 expected out status
    expected=$(printf '%s\n%s\nPress Enter key to exit.' "$2" "$3")
    shift 3
    out=$("$PROG" "$@" </dev/null)
    status=$?
    if [ "$status" -ne 0 ] || [ "$(printf '%s\n' "$out" | tail -n "$(printf '%s\n' "$expected" | wc -l)")" != "$expected" ]; then
        printf 'FAIL (%s): status %s, output\n%s\nexpected to end with\n%s\n' "$what" "$status" "$out" "$expected"
        failed=1
    fi
}

ends_with "unsupported extension" "The file type is not supported:" "$WORK/notes.txt" notes.txt
# A path without any extension comes back from the dialogue unasked.
ends_with "no extension" "The file type is not supported:" "$WORK/plain" "$WORK/plain"
"$PROG" "$WORK/plain" </dev/null | grep -q '^# ' && { echo "FAIL (no extension): a question was asked"; failed=1; }
ends_with "missing condition file" $'Input file could not be opened.\n'"$WORK/missing.prf"$'\nFailed to read condition file:' \
    "$WORK/missing.prf" missing.prf
# The condition file names a data file of unknown type; the extra argument is ignored.
printf '$PREFERENCES\nnotes.txt\n' > cond.prf
ends_with "condition file naming unknown type" "Failed to read condition file:" "$WORK/cond.prf" cond.prf extra.mem
# A condition file that ends after its keyword line: the empty line at the
# end stands as the data file name, which has no type.
printf '$PREFERENCES\n# no data file named\n' > empty.prf
ends_with "condition file without data file" "Failed to read condition file:" "$WORK/empty.prf" empty.prf
# The extension is lower-cased (the dialogue runs, then the missing file fails
# to read), and .hkl passes the dialogue but has no reader.
touch data.hkl
ends_with "upper-case extension" "Failed to read input file:" "$WORK/data.MEM" data.MEM
ends_with "hkl file" "Failed to read input file:" "$WORK/data.hkl" ./data.hkl
exit $failed
