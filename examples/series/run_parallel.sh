#!/usr/bin/env bash
# A series of data sets on one machine with GNU parallel: as many analyses at a
# time as there are cores, each a process of its own with one thread, all with
# the settings of one template condition file. The outputs of each analysis and
# its console log (<base>.log) lie beside its data set; the summary of the
# reports ends the run.
#
# Usage: run_parallel.sh TEMPLATE.prf DATA...
#   JOBS=n          analyses at a time (default: the number of cores)
#   HALVORIN=path   the program (default: halvorin on PATH); halvorin-summary
#                   is taken from the same directory
# Exit status: 0 when every analysis ran to its end, otherwise 1.
set -u
if [ $# -lt 2 ]; then
    echo "usage: run_parallel.sh TEMPLATE.prf DATA..." >&2
    exit 2
fi
template=$1
shift
prog=$(command -v "${HALVORIN:-halvorin}") || { echo "run_parallel.sh: halvorin not found" >&2; exit 2; }

# One thread per analysis: independent analyses use the cores better than
# threads within one, and idle threads must not spin on a shared machine.
export OMP_NUM_THREADS=1 OMP_WAIT_POLICY=passive
parallel --will-cite --jobs "${JOBS:-$(nproc)}" \
    "$prog" --conditions "$template" {} '>' {.}.log '2>&1' '</dev/null' ::: "$@"
failed=$?

reports=()
for data in "$@"; do reports+=("${data%.*}.out"); done
"$(dirname "$prog")/halvorin-summary" "${reports[@]}" || failed=1
[ "$failed" -eq 0 ]
