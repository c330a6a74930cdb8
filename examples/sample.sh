#!/bin/sh
# Samples a scene with zel: sample.sh BUILD_DIRECTORY [OUTPUT_DIRECTORY]
# It is the Landsat scene of gulf.par where $ZEL_TEST_DATA/scenes has it, else the sample scene.
set -eu
examples=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
out=${2:-samples}
mkdir -p "$out"
cd "$out"

landsat=${ZEL_TEST_DATA:-}/scenes/landsat8_gulf_30m.zel
if [ -n "${ZEL_TEST_DATA:-}" ] && [ -f "$landsat" ]; then
    ln -sf "$landsat" .
    parameters=$examples/gulf.par
else
    "$build/bin/examples/make_sample_scene" . >sample.log
    "$build/bin/zel_combine" -same_res -i sample_250m.zel -i sample_500m.zel -ib sample_1000m.zel \
        -o one_grid.zel -overwrite >one_grid.log
    parameters=$examples/coast.par
fi
"$build/bin/zel" sample "$parameters" --overwrite
