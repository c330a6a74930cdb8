"""The example that draws a channel: it says why it cannot, and draws what is no number as a
blank."""
import math
import os
import subprocess
import sys
import unittest
from array import array
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tool"))
from harness import TOOL, ToolTest, main
from sample import sample
from zelfile import PREFIX_SIZE, container

BIN = Path(os.environ.get("ZEL_BIN_DIR") or Path(TOOL).parent)
PROGRAM = BIN / "examples" / "quicklook"


@unittest.skipUnless(PROGRAM.exists(), "the example programs are not built")
class Quicklook(ToolTest):
    def quicklook(self, *words):
        """(status, standard output, standard error)"""
        done = subprocess.run([str(PROGRAM), *map(str, words)], cwd=self.dir, timeout=60,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE)
        return done.returncode, done.stdout.decode("latin-1"), done.stderr.decode("latin-1")

    def scene(self, rows):
        """Writes f, whose channel 0 has these floats."""
        f = sample(1000.0, len(rows[0]), len(rows), (4,))
        f.channels[0].rows = [array("f", row) for row in rows]
        return self.put("f", f)

    def drawn(self, rows, *words):
        self.scene(rows)
        status, out, err = self.quicklook("f", 0, *words)
        self.assertEqual((status, err), (0, ""))
        head, *picture = out.split("\n")
        self.assertEqual(head, "channel 0, label 0, f")
        return picture[:-1]

    def test_every_second_line_is_drawn_from_dark_to_bright(self):
        self.assertEqual(self.drawn([[0, 1, 8, 9], [0, 0, 0, 0], [4, 5, 2, 3]]), [" .%@", "=+:-"])

    def test_what_is_no_number_is_a_blank_and_leaves_the_shades(self):
        self.assertEqual(self.drawn([[math.nan, 1, 9, 0]]), [" .@ "])
        self.assertEqual(self.drawn([[9, math.nan, 1, 0]]), ["@ . "])
        self.assertEqual(self.drawn([[math.nan] * 3]), ["   "])

    def test_infinite_values_are_the_ends_of_the_shades(self):
        self.assertEqual(self.drawn([[math.inf, -math.inf, 0, 1, 9]]), ["@  .@"])

    def test_the_largest_range_is_drawn(self):
        top = 3.4028234663852886e38
        self.assertEqual(self.drawn([[-top, top, 0]]), [" @="])

    def test_columns_are_bounded(self):
        rows = [[float(x % 2) for x in range(3000)]]
        for columns, width in ((0, 1), (-5, 1), (1000, 1000), (1001, 1000), (2147483647, 1000)):
            self.assertEqual(len(self.drawn(rows, columns)[0]), width, columns)

    def test_words_that_are_no_numbers_give_the_usage(self):
        self.scene([[1.0]])
        for words in (("f",), ("f", "x"), ("f", ""), ("f", "0", "1x"), ("f", "9" * 20)):
            status, out, err = self.quicklook(*words)
            self.assertEqual((status, out), (2, ""), words)
            self.assertEqual(err, "usage: %s FILE CHANNEL [COLUMNS]\n" % PROGRAM)

    def test_the_reason_of_a_file_that_does_not_open_is_reported(self):
        self.put("f", self.scene([[1.0]])[:PREFIX_SIZE + 100])
        status, out, err = self.quicklook("f", 0)
        self.assertEqual((status, out), (1, ""))
        said = err.split("\n")
        self.assertEqual(len(said), 3, err)
        self.assertIn("corrupt file f: cut short in DataComment at offset", said[0])
        self.assertEqual(said[1:], ["%s: cannot open f" % PROGRAM, ""])

    def test_the_reason_of_a_composite_that_does_not_open_is_reported(self):
        part = sample(1000.0, 8, 6, (1,))
        whole = part.bytes()
        self.put("f", container([(whole, 1000.0), (whole[:PREFIX_SIZE + 100], 500.0)]))
        status, out, err = self.quicklook("f", 0)
        self.assertEqual((status, out), (255, ""))
        said = err.split("\n")
        self.assertEqual(len(said), 3, err)
        self.assertIn("corrupt file f: cut short in DataComment at offset", said[0])
        self.assertEqual(said[1:], ["Error opening file f", ""])

    def test_warnings_are_reported(self):
        """Resolutions of which one is no multiple of the other."""
        parts = [(sample(1000.0, 8, 6, (1,)).bytes(), 1000.0),
                 (sample(300.0, 27, 20, (1,)).bytes(), 300.0)]
        self.put("f", container(parts))
        status, out, err = self.quicklook("f", 0)
        self.assertEqual((status, out.count("\n")), (0, 4))
        self.assertRegex(
            err, r"^ZELOpenCompositeReadOnlyFile: warning: the resolutions of file f .*\n$")

    def test_a_missing_channel_is_reported(self):
        self.scene([[1.0]])
        for channel in (1, -1, 5000):
            self.assertEqual(self.quicklook("f", channel),
                             (1, "", "%s: f has no channel %d\n" % (PROGRAM, channel)))


if __name__ == "__main__":
    main()
