#!/bin/sh
# An archive by Slurm: slurm.sh RECIPE MANIFEST OUT [BATCH [option of sbatch ...]]
# Submits an array job and a job that merges the logs, and prints the number of the second. All paths
# must be the same on all machines. Submit again to resume.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
recipe=$(realpath "$1") manifest=$(realpath "$2") out=$3 batch=${4:-10}
[ $# -lt 4 ] || shift
shift 3

tasks=$(zel run "$recipe" --manifest "$manifest" --batch "$batch" --shards)
most=$(scontrol show config | sed -n 's/^MaxArraySize *= *//p')
if [ "$tasks" -ge "$most" ]; then
    echo "slurm.sh: $tasks tasks, but an array has at most $((most - 1)): take a larger batch" >&2
    exit 2
fi
mkdir -p "$out/logs"
out=$(realpath "$out")
array=$(sbatch --parsable --job-name=zel --ntasks=1 --array="1-$tasks" --output="$out/logs/%a.out" "$@" \
    "$here/array.sbatch" "$here" "$recipe" "$manifest" "$out" "$batch" "$tasks")
sbatch --parsable --job-name=zel-finish --ntasks=1 --dependency="afterok:$array" \
    --kill-on-invalid-dep=yes --output="$out/finish.out" "$@" "$here/finish.sh" "$out"
