#!/bin/sh
# Makes one log of those of all tasks: finish.sh OUT
set -eu
cd "$1/logs"
zel merge ./*.jsonl -o ../run.jsonl --overwrite
