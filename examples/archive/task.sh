#!/bin/sh
# One task of an archive: task.sh RECIPE MANIFEST OUT BATCH TASK TASKS
set -u
log=$3/logs/$5.jsonl

# A line that was cut, when a machine was lost, would be damage in the midst of the log.
[ ! -s "$log" ] || [ -z "$(tail -c 1 "$log")" ] || sed -i '$d' "$log"

# Some failed scenes (status 1) are no reason to stop: they are in the log. Any other status is.
status=0
zel run "$1" --manifest "$2" --batch "$4" --shard "$5/$6" --skip-existing --root "$3" --log "$log" ||
    status=$?
[ "$status" -le 1 ] || exit "$status"
