#!/usr/bin/env bash
# Expected failures of the driver: one message, the exit prompt, and status 0
# even with standard input closed.
set -u
prog=$(cd "$(dirname "$1")" && pwd -P)/$(basename "$1")
work=$(cd "$(mktemp -d "${TMPDIR:-/tmp}/halvorin_e2eXXXXXX")" && pwd -P)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0

# Runs the program and checks its status and the last lines of its output.
expect_tail() {
    local what=$1 expected=$2
    shift 2
    local out status
    out=$("$prog" "$@" </dev/null)
    status=$?
    local lines
    lines=$(printf '%s\n' "$expected" | wc -l)
    if [ "$status" -ne 0 ]; then
        echo "FAIL ($what): status $status"
        failed=1
    elif [ "$(printf '%s\n' "$out" | tail -n "$lines")" != "$expected" ]; then
        echo "FAIL ($what): output ends with"
        printf '%s\n' "$out" | tail -n "$lines"
        echo "expected"
        printf '%s\n' "$expected"
        failed=1
    fi
}

expect_tail "unsupported extension" \
"The file type is not supported:
$work/notes.txt
Press Enter key to exit." notes.txt

# A path without any extension comes back from the dialogue unasked.
out=$("$prog" "$work/plain" </dev/null)
if printf '%s\n' "$out" | grep -q '^# '; then
    echo "FAIL (no extension): a question was asked"
    failed=1
fi
expect_tail "no extension" \
"The file type is not supported:
$work/plain
Press Enter key to exit." "$work/plain"

expect_tail "missing condition file" \
"Input file could not be opened.
$work/missing.prf
Failed to read condition file:
$work/missing.prf
Press Enter key to exit." missing.prf

# The condition file names a data file of unknown type; the extra argument is ignored.
printf '$PREFERENCES\nnotes.txt\n' > cond.prf
expect_tail "condition file naming unknown type" \
"Failed to read condition file:
$work/cond.prf
Press Enter key to exit." cond.prf extra.mem

# A condition file that ends after its keyword line: the empty line at the
# end stands as the data file name, which has no type.
printf '$PREFERENCES\n# no data file named\n' > empty.prf
expect_tail "condition file without data file" \
"Failed to read condition file:
$work/empty.prf
Press Enter key to exit." empty.prf

# The extension is lower-cased (the dialogue runs, then the missing file fails
# to read), and .hkl passes the dialogue but has no reader.
touch data.hkl
expect_tail "upper-case extension" \
"Failed to read input file:
$work/data.MEM
Press Enter key to exit." data.MEM
expect_tail "hkl file" \
"Failed to read input file:
$work/data.hkl
Press Enter key to exit." ./data.hkl

exit $failed
