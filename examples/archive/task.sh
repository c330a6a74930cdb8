#!/bin/sh
# One task of an archive: task.sh RECIPE MANIFEST OUT BATCH TASK TASKS
set -u

# Some failed scenes (status 1) are no reason to stop: they are in the log. Any other status is.
status=0
zel run "$1" --manifest "$2" --batch "$4" --shard "$5/$6" --skip-existing --root "$3" --log "$3/logs/$5.jsonl" ||
    status=$?
[ "$status" -le 1 ] || exit "$status"
