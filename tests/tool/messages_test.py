"""Messages of the tool that go to standard error, and to a terminal only."""
import os
import re
import subprocess
import time

from harness import TOOL, ToolTest, main, question
from sample import sample
from vorn_case import TEXT, VornTest, scene
from vornfile import feature_header


class Progress(ToolTest):
    """Drawn on a terminal from a second on; a question that waits for its answer takes that long."""

    def drawn(self, answer=b"y\n", wait=1.1):
        self.put("a", sample())
        self.put("b", sample(500.0))
        self.put("out", b"old")
        ours, theirs = os.openpty()
        self.addCleanup(os.close, ours)
        run = subprocess.Popen([TOOL, "-i", "a", "-i", "b", "-o", "out"], cwd=self.dir,
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=theirs)
        os.close(theirs)
        asked = b""
        while not asked.endswith(question("out").encode()):
            byte = run.stdout.read(1)
            self.assertTrue(byte, asked)
            asked += byte
        time.sleep(wait)
        run.communicate(answer, timeout=60)
        self.assertEqual(run.returncode, 0)
        os.set_blocking(ours, False)
        try:
            return os.read(ours, 10000).decode()
        except OSError:        # nothing was written, and the other end is closed
            return ""

    def test_of_a_container_in_megabytes(self):
        clear = "\r\x1b[K"
        shown = re.sub(r"\d+", "9", self.drawn())
        self.assertTrue(shown.startswith("\r\x1b[K9 of 9 MB, 9 MB/s, 9 s left"), repr(shown))
        self.assertTrue(shown.endswith(clear), "nothing is left of it")

    def test_nothing_of_a_run_that_is_over_at_once(self):
        self.assertEqual(self.drawn(wait=0), "")


class Rasters(VornTest):
    def warns(self, words, message):
        status, _, err = self.run_both(["-overwrite", "-o", "out", "-i", "a"] + words.split())
        self.assertEqual((status, err), (0, message))

    def test_one_that_is_cut_short(self):
        self.rasters()
        self.put("v", self.got("v")[:-8])
        self.warns("-vorn v", "zel_combine: warning: Vorn file v is cut short: "
                              "values read before are repeated\n")

    def test_a_feature_header_without_a_table(self):
        self.rasters(step=0.0)
        self.put("l", TEXT)
        self.put("f", feature_header())
        self.warns("-vorn v -vorn_lut l -feat_hdr f",
                   "zel_combine: warning: feature header f holds no table of classes: "
                   "classes are not translated\n")

    def test_a_feature_header_that_is_not_read(self):
        self.rasters()
        self.warns("-vorn v -feat_hdr none",
                   "zel_combine: warning: feature header none is not read without a LUT: "
                   "classes are not translated\n")

    def test_more_channels_than_files_may_be_open(self):
        self.rasters(30)
        status, out, err = self.run_both(["-o", "out", "-i", "a", "-vorn", "v"], files=20)
        self.assertEqual((status, err), (255, ""))
        last = out.splitlines()[-1]
        self.assertEqual(re.sub(r"\d+$", "9", last), "Error: cannot open Vorn file v, channel 9")


class OneGrid(VornTest):
    def warns(self, other, message):
        self.put("b", other)
        status, _, err = self.run_both("-same_res -overwrite -o out -i a -i b".split())
        self.assertEqual((status, err), (0, message))

    def test_classes_that_are_averaged(self):
        other = scene(resolution=500.0, width=16, height=12)
        other.channels[1].units = 5
        self.warns(other, "zel_combine: warning: channel 3, from file b, holds classes and was averaged\n")

    def test_an_input_that_ends_early(self):
        self.warns(scene(height=4), "zel_combine: warning: file b (resolution 1000) ended early: "
                                    "2 lines are missing\n")


if __name__ == "__main__":
    main()
