#!/bin/sh
# Makes the sample scene and combines it both ways: demo.sh BUILD_DIRECTORY [OUTPUT_DIRECTORY]
set -eu
build=$1
out=${2:-demo}
mkdir -p "$out"
cd "$out"

size() { wc -c <"$1" | awk '{ printf "%.2f MB", $1 / 1e6 }'; }

"$build/bin/examples/make_sample_scene" . >sample.log
inputs="-i sample_250m.zel -i sample_500m.zel -ib sample_1000m.zel"
# shellcheck disable=SC2086  # a list of arguments
"$build/bin/zel_combine" $inputs -o composite.zel -overwrite >composite.log
# shellcheck disable=SC2086
"$build/bin/zel_combine" -same_res $inputs -o one_grid.zel -overwrite >one_grid.log

echo "One scene at three resolutions:"
grep '^wrote' sample.log | sed 's/^wrote \.\//  /'
echo
echo "The header of the one-grid file:"
sed -n '/^ZEL lib version/,/^Histogram flag/{/^$/d;s/^/  /p;}' one_grid.log
echo
"$build/bin/examples/quicklook" one_grid.zel 1 40
echo
echo "Made in $(pwd):"
echo "  composite.zel  $(size composite.zel)  the three files, byte for byte, in one"
echo "  one_grid.zel   $(size one_grid.zel)  all four channels on the 1000 m grid, with histograms"
[ -x "$build/bin/zel" ] || exit 0
"$build/bin/zel" look one_grid.zel --width 500 --overwrite -o one_grid.png 2>look.log
echo "  one_grid.png   $(size one_grid.png)  a picture of it"
echo
"$build/bin/zel" info one_grid.zel
