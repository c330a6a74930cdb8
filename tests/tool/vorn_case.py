"""Runs that append the channels of a Vorn raster to one scene, compared with what they must give."""
import os
import resource
import subprocess
from dataclasses import replace

from harness import TOOL, ToolTest, grids_missing, progress, report
from model import one_grid
from sample import sample
from vornfile import append, lut_channel, plane, raster
from zelfile import Lut

WIDTH, HEIGHT = 8, 6
MISMATCH = "Error:  size mismatch:  ZEL lines %d pix %d, Vorn lines %d pix %d\n"
NO_ROOM = "Could not find enough unused ZEL channels in file\n"
NO_RASTER = "Error: cannot open Vorn file %s\n"
BLACK = (0, 0, 0, b"None")                 # an entry as it is allocated
TEXT = b"T\n0 1\n1\n1 1 1 0 : a\n"         # a definition file, and the entries of its LUT
ENTRY = [(255, 255, 255, b"a")]
CUT_SHORT = ["Vorn file v is cut short: values read before are repeated$"]
NO_TABLE = ["feature header f holds no table of classes: classes are not translated$"]
NOT_READ = ["feature header none is not read without a LUT: classes are not translated$"]


def scene(**fields):
    """Two channels, of which the last is in slot 1."""
    return sample(codes=(3, 5), **fields)


class VornTest(ToolTest):
    """a is the scene, v a raster of it."""

    def setUp(self):
        super().setUp()
        self.scene = scene()
        self.put("a", self.scene)

    def rasters(self, count=1, step=0.25):
        """Writes v with so many channels; returns their planes."""
        planes = [plane(WIDTH, HEIGHT, k, step) for k in range(count)]
        self.put("v", raster(planes))
        return planes

    def made(self, channels, luts=None):
        """The output expected: the scene with channels, (channel, values) pairs, and these LUTs."""
        out = one_grid([self.scene])
        if luts is not None:
            out.luts = luts
        for channel, values in channels:
            append(out, channel, values)
        return out

    def appends(self, words, channels, luts=None, said="", warns=()):
        """A run over a with the words that name the raster; said: what the set-up prints; warns: as
        of run_tool."""
        expected = self.made(channels, luts)
        words = words.split() if isinstance(words, str) else words
        self.check(["-overwrite", "-o", "out", "-i", "a"] + words,
                   grids_missing() + said + report(expected) + progress(HEIGHT), warns=warns)
        self.check_made("out", expected)
        return expected

    def refused(self, words, said, status=255):
        """The run prints said and ends before an output is made; an existing file of that name stays."""
        words = words.split() if isinstance(words, str) else words
        words = ["-overwrite", "-o", "out", "-i", "a"] + words
        self.check(words, grids_missing() + said, status)
        self.absent("out")
        self.put("out", b"old")
        self.check(words, grids_missing() + said, status)
        self.assertEqual(self.got("out"), b"old")
        (self.dir / "out").unlink()

    def run_both(self, words, files=None):
        """(status, standard output, standard error) of a run that may use the latter; files: how
        many it may have open."""
        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (files, files))
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none)
        done = subprocess.run([TOOL] + words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, cwd=self.dir, timeout=900, env=env,
                              preexec_fn=limit if files else None)
        return done.returncode, done.stdout.decode("latin-1"), done.stderr.decode("latin-1")


class LutTest(VornTest):
    """A raster of one channel, v, and the definition file l."""

    def setUp(self):
        super().setUp()
        self.rows, = self.rasters(step=0.0)

    def loads(self, text, luts, said="", words=""):
        """A run with a definition file after which the output has these LUTs."""
        self.put("l", text)
        channel = lut_channel(b"v", luts[-1].label[:119], self.rows)
        return self.appends("-vorn v -vorn_lut l " + words, [(channel, self.rows)], luts, said)

    def fails(self, text, said):
        self.put("l", text)
        self.refused("-vorn v -vorn_lut l", said)


def renumbered(luts):
    """The LUTs of a scene after a definition file has been read for it."""
    return [replace(lut, key=k) for k, lut in enumerate(luts)]
