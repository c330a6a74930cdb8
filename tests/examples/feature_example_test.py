#!/usr/bin/env python3
"""The worked example over a real scene: its numbers, worked out again from the plain arrays.

Runs where ZEL_TEST_DATA names a directory that has the scene and the example is built (ZEL_BIN_DIR);
else exit status 77. Sums, products and quotients of 32-bit floats in 64-bit arithmetic, rounded once,
are those of 32-bit arithmetic.
"""
import json
import math
import os
import re
import shlex
import struct
import subprocess
import sys
import tempfile
import unittest
from array import array
from ctypes import c_float
from pathlib import Path

SOURCE = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
TEST_DATA = Path(os.environ.get("ZEL_TEST_DATA") or "/nonexistent")
DATA = TEST_DATA / "data" / "landsat8_gulf"
SCENE = TEST_DATA / "scenes" / "landsat8_gulf_30m.zel"
BIN = Path(os.environ.get("ZEL_BIN_DIR") or SOURCE / "build/bin")
EXAMPLE = BIN / "examples" / "sample_scene_features"
PARAMETERS = SOURCE / "examples" / "gulf.par"
STEP = 4
CLASSES = {1: ("land", 60, 140, 60), 2: ("water", 30, 60, 200), 3: ("cloud", 240, 240, 240)}
LABELS = ["vegetation index", "water index", "brightness temperature", "colour of the visible bands"]


def f32(x):
    return c_float(x).value


def bands():
    """{channel number: values as the scene file scales them} of the channels that are used."""
    names = {2: "B2", 3: "B3", 4: "B4", 5: "B5", 8: "B9", 9: "B10"}
    described = {b["name"]: b for b in json.loads((DATA / "scene.json").read_text())["bands"]
                 if b["resolution"] == "30m"}
    values = {}
    for number, name in names.items():
        raw = array("H", (DATA / described[name]["file"]).read_bytes())
        low = f32(described[name]["offset"])
        high = f32(described[name]["offset"] + 65535 * described[name]["scale"])
        step = f32(high - low) / 65535.0
        table = array("f", [n * step + low for n in range(65536)])
        values[number] = array("f", [table[n] for n in raw])
    return values


def ratio(a, b):
    return f32(f32(a - b) / f32(a + b))


def sample(ch):
    """(class, features) of a pixel, or why it is no sample."""
    if not (ch[4] > 0 and ch[5] > 0 and ch[8] < f32(0.06)):
        return "required"
    vegetation, wetness = ratio(ch[5], ch[4]), ratio(ch[3], ch[5])
    kelvin = f32(f32(1321.0789) / f32(math.log(f32(f32(f32(774.8853) / ch[9]) + 1))))
    brightness = f32(f32(f32(ch[2] + ch[3]) + ch[4]) / 3)
    top = max(ch[2], ch[3], ch[4])
    colour = f32(f32(top - min(ch[2], ch[3], ch[4])) / top)
    kind = 2 if wetness > 0 else 1
    if brightness > f32(0.11) and colour < f32(0.35) and kelvin < 294:
        kind = 3
    if ch[8] > f32(0.03) and kind != 3:
        return "skipped"
    return kind, (vegetation, wetness, kelvin, colour)


def expected():
    values = bands()
    found = {"seen": 0, "required": 0, "samples": []}
    for line in range(0, 600, STEP):
        for x in range(0, 600, STEP):
            result = sample({n: v[line * 600 + x] for n, v in values.items()})
            found["seen"] += 1
            found["required"] += result != "required"
            if not isinstance(result, str):
                found["samples"].append(result)
    return found


class FeatureFile:
    """A feature file taken apart by its layout."""

    def __init__(self, content):
        self.content, self.at = content, 19
        self.identifier = content[:19]
        self.version, self.date, self.output = self.text(), self.text(), self.text()
        self.inputs = [self.text() for _ in range(self.number())]
        self.counts = self.take(">1000i")
        self.classes = [(self.text(),) + self.take(">3i") for _ in range(1000)]
        self.definitions, self.features = self.entries(), self.entries()
        n = len(self.features)
        self.maxima, self.minima = self.take(">%df" % n), self.take(">%df" % n)
        self.others = [self.entries() for _ in range(5)]
        self.settings = self.take(">4i")
        record = ">2i5fiI2f%df" % n
        size = struct.calcsize(record)
        rest = content[self.at:]
        assert len(rest) % size == 0
        self.samples = [struct.unpack_from(record, rest, i) for i in range(0, len(rest), size)]

    def take(self, codes):
        values = struct.unpack_from(codes, self.content, self.at)
        self.at += struct.calcsize(codes)
        return values

    def number(self):
        return self.take(">i")[0]

    def text(self):
        return self.take("%ds" % self.number())[0][:-1].decode()

    def entries(self):
        return [tuple(self.text() if self.number() else None for _ in range(3))
                for _ in range(self.number())]


@unittest.skipUnless(SCENE.is_file() and EXAMPLE.is_file(), "no scene in ZEL_TEST_DATA, or no example")
class Example(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.directory.cleanup)
        cls.output = os.path.join(cls.directory.name, "gulf.feat")
        for command in PARAMETERS.read_text().split("source tree:\n#\n")[1].splitlines()[:2]:
            cls.run_ = cls.run_as_shown(command.lstrip("# "))
        cls.expected = expected()

    @classmethod
    def run_as_shown(cls, command):
        """Runs a command of the file's comment in an empty directory."""
        command = command.replace("build/bin/examples/sample_scene_features", shlex.quote(str(EXAMPLE)))
        command = command.replace("examples/gulf.par", shlex.quote(str(PARAMETERS)))
        return subprocess.run(["sh", "-c", command], cwd=cls.directory.name, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=600)

    def of_class(self, kind):
        return [features for k, features in self.expected["samples"] if k == kind]

    def line(self, pattern):
        found = re.findall("(?m)^%s$" % pattern, self.run_.stdout)
        self.assertEqual(len(found), 1, pattern + " in\n" + self.run_.stdout)
        return found[0]

    def assert_close(self, printed, value):
        self.assertLess(abs(float(printed) - value), 1e-6 + 1e-6 * abs(value), (printed, value))

    def test_it_runs(self):
        self.assertEqual((self.run_.returncode, self.run_.stderr), (0, ""))
        self.assertIn("Gulf coast of Alabama and Florida, 4 August 2015\n", self.run_.stdout)

    def test_every_kind_of_pixel_occurs(self):
        found = self.expected
        self.assertGreater(found["seen"], found["required"])
        self.assertGreater(found["required"], len(found["samples"]))
        for kind in CLASSES:
            self.assertGreater(len(self.of_class(kind)), 10)

    def test_pixels_are_counted(self):
        self.line("%d pixels looked at, %d meet the requirements, %d samples in %s" % (
            self.expected["seen"], self.expected["required"], len(self.expected["samples"]),
            "gulf.feat"))

    def test_classes_are_counted(self):
        for kind, (name, red, green, blue) in CLASSES.items():
            self.line("Class %d -> %s    count = %d  - R %d G %d B %d" % (
                kind, name, len(self.of_class(kind)), red, green, blue))
        self.assertEqual(self.run_.stdout.count("\nClass "), len(CLASSES))

    def test_features_have_their_ranges(self):
        for i, label in enumerate(LABELS):
            values = [features[i] for _, features in self.expected["samples"]]
            top, bottom = self.line(r"Feature %d -> %s max = (\S+), min = (\S+)" % (i + 1, label))
            self.assert_close(top, max(values))
            self.assert_close(bottom, min(values))

    def test_classes_have_their_means(self):
        for kind in CLASSES:
            printed = self.line(r"mean of class %d: (.*)" % kind).split()
            samples = self.of_class(kind)
            self.assertEqual(len(printed), len(LABELS))
            for text, values in zip(printed, zip(*samples)):
                self.assert_close(text, math.fsum(values) / len(values))

    def test_the_file_holds_the_samples(self):
        file = FeatureFile(Path(self.output).read_bytes())
        self.assertEqual(file.identifier, b"ZEL_FEATURE_HEADER\0")
        self.assertEqual((file.version, file.output, file.inputs), ("1.2", "gulf.feat", [SCENE.name]))
        self.assertEqual(file.settings, (82497, -STEP, 0, 5))
        self.assertEqual([f[0] for f in file.features], LABELS)
        self.assertEqual({i: c for i, c in enumerate(file.classes) if c[0]}, CLASSES)
        self.assertEqual({i: n for i, n in enumerate(file.counts) if n},
                         {kind: len(self.of_class(kind)) for kind in CLASSES})
        self.assertEqual(len(file.samples), len(self.expected["samples"]))
        for record, (kind, features) in zip(file.samples, self.expected["samples"]):
            self.assertEqual(record[0], kind)
            for stored, value in zip(record[11:], features):
                self.assert_close(stored, value)
        self.assertEqual({record[9:11] for record in file.samples}, {(216.0, 2015.0)})
        for values, ends in ((0, file.minima), (1, file.maxima)):
            for i, end in enumerate(ends):
                column = [record[11 + i] for record in file.samples]
                self.assertEqual(end, (min, max)[values](column))

    def test_an_input_that_is_not_there_ends_it(self):
        broken = os.path.join(self.directory.name, "broken.par")
        Path(broken).write_text("inputfilename /nowhere\noutputfilename x\nfeature Ch1\n")
        run = subprocess.run([str(EXAMPLE), broken], text=True, stdin=subprocess.DEVNULL,
                             capture_output=True, timeout=60)
        self.assertEqual(run.returncode, 255)
        self.assertIn("cannot open input file /nowhere... file will be skipped\n", run.stderr)
        self.assertIn("error: no input files specified in parameter file\n", run.stderr)


if __name__ == "__main__":
    program = unittest.main(exit=False)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if program.result.skipped else 0)
