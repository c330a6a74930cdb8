#!/usr/bin/env python3
"""ZEL_NUM_THREADS: the same bytes, messages and statuses for any number of threads."""

import os
import subprocess

from harness import TOOL, ToolTest, main
from sample import sample
from zelfile import parse


class Threads(ToolTest):
    def results(self, words, names=("out",)):
        """What a run leaves behind, which is the same with every number of threads."""
        results = []
        for threads in ("1", "2", "3", "64", "0", "many"):
            for name in names:
                (self.dir / name).unlink(missing_ok=True)
            status, out, err = self.run_apart(words, threads)
            made = [self.got(n) if (self.dir / n).exists() else None for n in names]
            results.append((status, out, err, made))
        for other in results[1:]:
            self.assertEqual(other, results[0])
        return results[0]

    def run_apart(self, words, threads):
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_NUM_THREADS=threads, ZEL_DATA_DIR=none, EPA_DATA_DIR=none,
                   CC_DATA_DIR=none)
        done = subprocess.run([TOOL, *words.split()], cwd=self.dir, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env, timeout=300)
        return done.returncode, done.stdout, done.stderr

    def test_three_grids_become_the_same_file(self):
        for metres, pixels, lines in ((1000, 30, 120), (500, 60, 240), (250, 120, 480)):
            self.put("in%d" % metres, sample(metres, pixels, lines))
        status, out, _, (made,) = self.results("-same_res -i in1000 -i in500 -i in250 -o out")
        self.assertEqual(status, 0)
        self.assertIn(b"120 lines processed", out)
        self.assertEqual(len(parse(made).lines), 120)

    def test_a_grid_on_which_nothing_is_averaged_is_the_same(self):
        for metres, pixels, lines in ((1000, 30, 40), (500, 60, 80), (250, 120, 160)):
            self.put("in%d" % metres, sample(metres, pixels, lines))
        words = "-same_res -i in1000 -i in500 -ib in250 -o out"
        status, _, _, (made,) = self.results(words)
        self.assertEqual(status, 0)
        self.assertEqual(len(parse(made).lines), 160)

    def test_a_single_file_is_copied_to_the_same_bytes(self):
        self.put("a", sample(1000, 30, 40))
        status, _, _, (made,) = self.results("-same_res -i a -o out")
        self.assertEqual(status, 0)
        self.assertEqual(len(parse(made).lines), 40)

    def test_an_input_that_ends_early_ends_the_output_with_the_same_messages(self):
        self.put("a", sample(1000, 8, 60))
        data = self.put("b", sample(500, 16, 120))
        (self.dir / "b").write_bytes(data[:len(data) - 700])
        _, out, err, _ = self.results("-same_res -i a -i b -o out")
        self.assertIn(b"lines processed", out)
        self.assertIn(b"ended early", err)

    def test_an_output_that_cannot_be_made_is_reported_alike(self):
        self.put("a", sample(1000, 8, 60))
        status, out, _, _ = self.results("-same_res -i a -o nowhere/out", names=())
        self.assertEqual(status, 255)
        self.assertIn(b"Cannot create ZEL output file", out)

    def test_a_full_disk_is_reported_alike(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("no /dev/full")
        self.put("a", sample(1000, 2000, 60))
        status, out, _, _ = self.results("-same_res -overwrite -i a -o /dev/full", names=())
        self.assertEqual(status, 255)
        self.assertIn(b"write error", out)


if __name__ == "__main__":
    main()
