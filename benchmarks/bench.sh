#!/bin/sh
# What combining costs beside what a user would do instead, on a scene of about 510 MB in the page
# cache: bench.sh BUILD_DIRECTORY [ROUNDS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$1
rounds=${2:-5}
data=$build/bench-scene
if [ ! -e "$data/complete" ]; then
    echo "making the scene in $data"
    python3 "$here/make_scene.py" "$data"
    touch "$data/complete"
fi
python3 "$here/compare.py" "$build/bin/zel_combine" "$data" "$rounds"
echo
"$build/bin/zel_benchmarks" --benchmark_min_time=0.2
