#!/usr/bin/env python3
"""The benchmarks themselves: a wrong output is found before it is timed, and figures become the
right words."""
import importlib.util
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
TOOL = os.environ.get("ZEL_COMBINE") or ROOT / "build" / "bin" / "zel_combine"
sys.path.insert(0, str(ROOT / "benchmarks"))

import bench  # noqa: E402
import check_container  # noqa: E402
import fit  # noqa: E402
import plot  # noqa: E402
import rows  # noqa: E402
import timing  # noqa: E402


class InDirectory(unittest.TestCase):
    def setUp(self):
        self.dir = Path(tempfile.mkdtemp(prefix="zel_bench_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)

    def change(self, path, at):
        data = bytearray(path.read_bytes())
        data[at] ^= 1
        path.write_bytes(data)


class Containers(InDirectory):
    SIZES = (1500, 1300)

    def setUp(self):
        super().setUp()
        self.inputs = [self.dir / "a", self.dir / "b"]
        for path, size in zip(self.inputs, self.SIZES):
            path.write_bytes(b"ZEL" + bytes(range(10)) + bytes([size % 251]) * (size - 13))
        numbers = list(self.SIZES) + [0] * 98
        directory = struct.pack("<ii", 0, 2) + struct.pack("<100i", 0, 1500, *[0] * 98) + \
            bytes(400) + struct.pack("<100i", *numbers)
        first, second = (path.read_bytes() for path in self.inputs)
        self.out = self.dir / "out"
        self.out.write_bytes(first[:13] + directory + first[1221:] + second)

    def faults(self):
        return check_container.faults(self.out, self.inputs)

    def test_files_end_to_end_after_a_directory_are_right(self):
        self.assertEqual(self.faults(), [])

    def test_a_changed_byte_is_found_wherever_it_is(self):
        for at in (1, 13, 17, 21, 25, 821, 1221, 1499, 1500, 2799):
            self.change(self.out, at)
            self.assertEqual(len(self.faults()), 1, at)
            self.change(self.out, at)

    def test_a_byte_too_many_is_found(self):
        self.out.write_bytes(self.out.read_bytes() + b"x")
        self.assertEqual(len(self.faults()), 1)


@unittest.skipUnless(importlib.util.find_spec("numpy"), "numpy is not installed")
@unittest.skipUnless(Path(TOOL).exists(), "zel_combine is not built")
class Grids(InDirectory):
    def setUp(self):
        super().setUp()
        import check_grid
        import scene
        self.components = scene.standard(2)
        self.paths = scene.make(self.dir, self.components)
        self.out = self.dir / "out"
        inputs = [word for path in self.paths for word in ("-i", str(path))]
        subprocess.run([str(TOOL), "-same_res", *inputs, "-o", str(self.out), "-overwrite"],
                       check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        self.faults = lambda: check_grid.faults(self.out, self.paths, self.components)
        self.start = check_grid.Output(self.out, self.components).start

    def histogram(self, slot):
        """Where the counts of a slot begin and how many they are, all slots before having some."""
        data = self.out.read_bytes()
        at = 1221 + 2040 + 14 + 20000
        for number in range(slot + 1):
            bins = struct.unpack_from("<h", data, at + 283)[0]
            counts = at + 283 + 10
            at = counts + 4 * bins + 1
        return counts, bins

    def test_the_output_of_the_tool_is_what_numpy_makes_of_the_inputs(self):
        self.assertEqual(self.faults(), [])

    def test_a_changed_pixel_is_found(self):
        for place in (0, 40, 1700, 20000, 40000):
            self.change(self.out, self.start + place)
            self.assertEqual(self.faults(), ["line 0 is not that of the inputs"], place)
            self.change(self.out, self.start + place)

    def test_counts_that_are_not_there_are_found(self):
        for slot in (4, 8):  # kelvin, reflectance
            data = bytearray(self.out.read_bytes())
            counts, bins = self.histogram(slot)
            data[counts:counts + 4 * bins] = bytes(4 * bins)
            self.out.write_bytes(data)
        self.assertEqual([fault.split(":")[0] for fault in self.faults()],
                         ["channel 20", "channel 3"])

    def test_a_line_too_few_is_found(self):
        self.out.write_bytes(self.out.read_bytes()[:-1])
        self.assertEqual(self.faults(), ["the file does not have 2 lines"])


class Fits(unittest.TestCase):
    def test_exponents_of_powers(self):
        self.assertAlmostEqual(fit.exponent([1, 2, 4, 8], [3, 6, 12, 24]), 1)
        self.assertAlmostEqual(fit.exponent([1, 2, 4, 8], [3, 12, 48, 192]), 2)

    def test_a_straight_line_with_a_start_deviates_by_nothing(self):
        self.assertAlmostEqual(fit.deviation([1, 2, 4, 8], [12, 14, 18, 26]), 0)

    def test_the_deviation_is_that_of_the_worst_point(self):
        # Through (0, 1), (1, 1), (2, 4) goes 0.5 + 1.5 x: off by 0.5, 1 and 0.5.
        self.assertAlmostEqual(fit.deviation([0, 1, 2], [1, 1, 4]), 1)


class Words(unittest.TestCase):
    ROW = rows.Row("key", "work", "peer", 0.5, 0.2)

    def test_verdicts_at_the_bounds(self):
        self.assertEqual([rows.met(self.ROW, v) for v in (0.2, 0.21, 0.5, 0.51)],
                         ["goal", "must", "must", "no"])

    def test_a_row_without_a_figure_is_not_judged(self):
        self.assertEqual(rows.cells(self.ROW, None), ("work", "peer", "n/a", "0.50", "0.20", "-"))

    def test_the_figure_of_the_peer_follows(self):
        self.assertEqual(rows.cells(self.ROW, {"value": 0.25, "peer": 960.2})[2], "0.25 (960)")

    def test_keys_are_single_and_of_a_work(self):
        keys = [row.key for row in rows.ROWS]
        self.assertEqual(len(keys), len(set(keys)))
        self.assertEqual(bench.keys_of(bench.WORK), set(keys))

    def test_only_what_is_between_the_markers_is_replaced(self):
        page = "a\n%s\nold\n%s\nb\n" % (plot.BEGIN, plot.END)
        self.assertEqual(plot.with_section(page, "new"), page.replace("old", "new"))


class Timing(InDirectory):
    def test_every_command_runs_once_in_each_round_and_once_before(self):
        log = self.dir / "log"
        commands = {name: timing.Command(["sh", "-c", "echo %s >>%s" % (name, log)])
                    for name in "ab"}
        times = timing.in_turn(commands, 2)
        self.assertEqual(log.read_text().split(), ["a", "b"] * 3)
        self.assertEqual([len(times[name]) for name in "ab"], [2, 2])

    def test_outputs_are_removed_before_each_run(self):
        out = self.dir / "out"
        fails_when_there = timing.Command(["sh", "-c", "test ! -e %s && touch %s" % (out, out)])
        timing.in_turn({"a": fails_when_there}, 2, [out])
        self.assertFalse(out.exists())

    def test_a_command_that_fails_is_no_measurement(self):
        with self.assertRaises(timing.Failed):
            timing.in_turn({"a": timing.Command(["false"])}, 1)

    def test_the_ratio_is_the_median_of_those_of_the_rounds(self):
        self.assertEqual(timing.ratio({"a": [1, 6, 9], "b": [2, 2, 3]}, "a", "b"), 3)


if __name__ == "__main__":
    unittest.main()
