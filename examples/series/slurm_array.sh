#!/usr/bin/env bash
# A series of data sets on a Slurm cluster: one array task per data set, each
# an analysis of its own with the settings of one template condition file and
# the cores that Slurm gives the task. The outputs and the console log
# (<base>.log) lie beside each data set.
#
#   ls "$PWD"/data/*.fcf > series.list
#   sbatch --array=1-$(wc -l < series.list) slurm_array.sh series.prf series.list
#   halvorin-summary data/*.out            # when every task has ended
#
# Task n runs the data set on line n of the list. A task whose analysis
# failed ends with status 1 (2 for a usage error), which sacct shows.
#SBATCH --job-name=halvorin
#SBATCH --cpus-per-task=4
#SBATCH --mem=8G
#SBATCH --time=01:00:00
#SBATCH --output=halvorin_%A_%a.slurm.log
set -u
template=$1
list=$2
data=$(sed -n "${SLURM_ARRAY_TASK_ID}p" "$list")
if [ -z "$data" ]; then
    echo "slurm_array.sh: no line ${SLURM_ARRAY_TASK_ID} in $list" >&2
    exit 2
fi
export OMP_NUM_THREADS=${SLURM_CPUS_PER_TASK:-1}
exec "${HALVORIN:-halvorin}" --conditions "$template" "$data" >"${data%.*}.log" 2>&1 </dev/null
