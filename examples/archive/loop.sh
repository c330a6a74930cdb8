#!/bin/sh
# An archive without an engine, one task after the other: loop.sh RECIPE MANIFEST OUT [BATCH]
# Run it again to resume.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
recipe=$1 manifest=$2 out=$3 batch=${4:-10}

tasks=$(zel run "$recipe" --manifest "$manifest" --batch "$batch" --shards)
mkdir -p "$out/logs"
failed=0
for task in $(seq "$tasks"); do
    "$here/task.sh" "$recipe" "$manifest" "$out" "$batch" "$task" "$tasks" || failed=1
done
[ $failed = 0 ] || exit 1
"$here/finish.sh" "$out"
