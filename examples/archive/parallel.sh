#!/bin/sh
# An archive by GNU parallel: parallel.sh RECIPE MANIFEST OUT [BATCH [JOBS]]
# Run it again to resume. On several machines: PARALLEL='--sshloginfile nodes --workdir .'.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
recipe=$1 manifest=$2 out=$3 batch=${4:-10} jobs=${5:-100%}

tasks=$(zel run "$recipe" --manifest "$manifest" --batch "$batch" --shards)
mkdir -p "$out/logs"
seq "$tasks" | parallel --quote --will-cite --jobs "$jobs" --joblog "$out/parallel.log" \
    "$here/task.sh" "$recipe" "$manifest" "$out" "$batch" {} "$tasks"
"$here/finish.sh" "$out"
