#!/usr/bin/env python3
"""zel sample: the samples to the byte, what is thinned out, what is refused, and what a broken run leaves."""
import json
import math
import os
import random
import signal
import struct
import subprocess
import time
import unittest
from ctypes import c_float

from zel_case import BIN, ROOT, SCENES, ZEL, ZelTest, main, needs_scenes
from scene import small_scene
from zelfile import Channel, Line, ZelFile, container

PARAMETERS = """# a comment line
title A title
comment a comment
inputfilename a.zel
outputfilename out.feat
datatype modis
class 1: "low": 1 2 3
class 2: "high": 4 5 6
define big: Ch6 > 2500
requirement Ch1 > 0.1: "lit"
filter 1: class = 1
filter big: class = 2: "high"
filter Ch3 == 9: skip_pixel
feature Ch6: "raw"
feature Ch1 * 2
"""
SUMMARY = """out.feat: 9 samples
  a.zel: 12 pixels, 10 meet the requirements, 9 samples

Classes
  class  samples  colour  name
      1        5  1 2 3   low
      2        4  4 5 6   high

Features
  feature   min   max  expression
  raw      1000  4000  Ch6
  Ch1 * 2   0.4     2  Ch1 * 2
"""
# Of the twelve pixels two are dark (0 and 6), and the last one is of class 9.
KEPT = [1, 2, 3, 4, 5, 7, 8, 9, 10]
B1 = (0, 51, 102, 153, 204, 255, 0, 51, 102, 153, 204, 255)


def f32(x):
    return c_float(x).value


class Twister:
    """The generator MT19937, from its definition."""

    def __init__(self, seed):
        self.state = [seed & 0xFFFFFFFF]
        for i in range(1, 624):
            last = self.state[-1]
            self.state.append((1812433253 * (last ^ last >> 30) + i) & 0xFFFFFFFF)
        self.at = 624

    def next(self):
        if self.at == 624:
            for i in range(624):
                y = self.state[i] & 0x80000000 | self.state[(i + 1) % 624] & 0x7FFFFFFF
                self.state[i] = self.state[(i + 397) % 624] ^ y >> 1 ^ (0x9908B0DF if y & 1 else 0)
            self.at = 0
        y = self.state[self.at]
        self.at += 1
        y ^= y >> 11
        y ^= y << 7 & 0x9D2C5680
        y ^= y << 15 & 0xEFC60000
        return y ^ y >> 18


class SampleTest(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def parameters(self, text=PARAMETERS, **lines):
        """The parameter file p, with lines of these commands replaced, or added."""
        for command, value in lines.items():
            kept = [l for l in text.splitlines() if not l.startswith(command + " ")]
            text = "\n".join(kept + (["%s %s" % (command, value)] if value is not None else [])) + "\n"
        self.put("p", text.encode())

    def samples(self, *args, name="out.feat"):
        """The samples of a run that succeeds in silence."""
        status, _, err = self.run_zel("sample", "p", *args)
        self.assertEqual((status, err), (0, ""))
        return self.json("samples", name, "--json", schema="samples")["samples"]


class Samples(SampleTest):
    def test_the_summary(self):
        self.parameters()
        self.check("sample p", SUMMARY)
        self.assertEqual(self.names(), ["a.zel", "out.feat", "p"])

    def test_the_records_to_the_byte(self):
        self.parameters()
        self.run_zel("sample", "p")
        expected = b""
        for n in KEPT:
            a = self.json("pixel", "a.zel", n % 4, n // 4, "--json")["angles"]
            raw = 1000 * (n % 4 + 1)
            expected += struct.pack(">2i5f2i2f2f", 2 if raw > 2500 else 1, 0, 50 - n // 4, 10 + n % 4,
                                    a["solar_zenith"], a["view_zenith"], a["relative_azimuth"], n, 0, 60, 2020,
                                    raw, f32(f32(B1[n] * (1.0 / 255.0)) * 2))
        data = self.got("out.feat")
        self.assertTrue(data.endswith(expected))
        header = len(data) - len(expected)
        self.assertEqual(data[:19], b"ZEL_FEATURE_HEADER\0")
        self.assertIn(struct.pack(">i", 9) + b"out.feat\0" + struct.pack(">ii", 1, 6) + b"a.zel\0"
                      + struct.pack(">4i", 0, 5, 4, 0), data[:header])

    def test_the_header(self):
        self.parameters()
        self.run_zel("sample", "p")
        h = self.json("samples", "out.feat", "--json", schema="samples")
        self.assertEqual((h["title"], h["comments"], h["inputs"], h["data_type"], h["random_seed"]),
                         (["A title"], ["a comment"], ["a.zel"], "MODIS", 82497))
        self.assertEqual([(d["label"], d["condition"].strip()) for d in h["definitions"]], [("big", "Ch6 > 2500")])
        self.assertEqual([r["label"] for r in h["requirements"]], ["lit"])
        self.assertEqual(len(h["filters"]), 3)

    def test_json(self):
        self.parameters()
        h = self.json("sample", "p", "--json", schema="sample")
        self.assertEqual((h["file"], h["sample_count"]), ("out.feat", 9))
        self.assertEqual(h["scenes"], [{"file": "a.zel", "pixels": 12, "required": 10, "samples": 9}])
        self.assertEqual([(f["label"], f["min"], f["max"]) for f in h["features"]],
                         [("raw", 1000.0, 4000.0), ("Ch1 * 2", 0.4, 2.0)])

    def test_requirements_can_be_ignored_and_options_hold(self):
        self.parameters(ignorerequirements="")
        self.assertEqual(len(self.samples()), 11)
        self.parameters(option="Ch6 < 1500", ignorerequirements="")
        self.assertEqual(len(self.samples("--overwrite")), 3)

    def test_each_pixel_begins_with_class_0(self):
        self.put("p", b"inputfilename a.zel\noutputfilename out.feat\nfilter Ch6 > 2500: class = 2\nfeature Ch6\n")
        self.assertEqual([s["class"] for s in self.samples()], [0, 0, 2, 2] * 3)

    def test_registers_keep_their_values_from_pixel_to_pixel(self):
        self.parameters(PARAMETERS.replace("filter 1: class = 1", "filter 1: register1 = register1 + 1"),
                        feature="register1")
        self.assertEqual([s["values"] for s in self.samples()], [[n] for n in range(1, 10)])

    def test_a_feature_that_skips_does_not_reach_the_next_pixel(self):
        self.put("p", b"inputfilename a.zel\noutputfilename out.feat\nfeature skip_pixel\n")
        self.assertEqual([s["values"] for s in self.samples()], [[0]] * 12)

    def test_position_and_angles_can_be_used(self):
        self.parameters(requirement="lat < 49.5 && lon > 11.5 && sg >= 0 && julian_day == 60")
        self.assertEqual([s["box"] for s in self.samples()], [6, 7, 10])

    def test_several_inputs_one_of_them_a_container(self):
        self.put("c.zel", container([(small_scene().bytes(), 30.0), (small_scene().bytes(), 30.0)]))
        self.parameters(PARAMETERS + "inputfilename c.zel\n")
        h = self.json("sample", "p", "--json", schema="sample")
        # channels of a container have no gaps: Ch3 is RAW there, Ch6 that of the second part
        self.assertEqual([s["samples"] for s in h["scenes"]], [9, 10])
        self.assertEqual((h["sample_count"], h["inputs"]), (19, ["a.zel", "c.zel"]))

    def test_the_name_of_the_output(self):
        self.parameters(outputfilename=None)
        self.samples("-o", "other.feat", name="other.feat")
        self.assertIn(struct.pack(">i", 11) + b"other.feat\0", self.got("other.feat"))
        self.parameters()
        self.samples("-o", "third.feat", name="third.feat")
        self.assertEqual(self.names(), ["a.zel", "other.feat", "p", "third.feat"])

    def test_grids_are_needed_only_by_expressions_that_name_them(self):
        self.parameters(feature="olson_eco")
        self.fails("sample p", "zel sample: p: a.zel: olson_eco needs the grid owe14d.img, which was not found: set "
                   "ZEL_DATA_DIR")
        self.assertEqual(self.names(), ["a.zel", "p"])
        (self.dir / "no_data" / "epa").mkdir(parents=True)
        (self.dir / "no_data" / "epa" / "owe14d.img").write_bytes(bytes([7]) * (1080 * 2160))
        self.assertEqual({s["values"][0] for s in self.samples()}, {7})


class Thinned(SampleTest):
    def setUp(self):
        super().setUp()
        f = ZelFile(pixels=40, lines=[Line(right=39, nadir=19) for _ in range(25)])
        f.channels[0] = Channel(type=5, label=b"N", bits=16,
                                rows=[[n * 40 + x for x in range(40)] for n in range(25)])
        self.put("n.zel", f)
        self.text = ("inputfilename n.zel\noutputfilename out.feat\nfilter 1: class = 1\n"
                     "filter Ch1 >= 900: class = 2\nfeature Ch1\n")

    def test_every_nth_pixel_of_every_nth_line(self):
        self.parameters(self.text, subsample="7")
        self.assertEqual([s["box"] for s in self.samples()],
                         [y * 40 + x for y in range(0, 25, 7) for x in range(0, 40, 7)])

    def test_so_many_of_each_class_chosen_by_the_seed(self):
        for method, seed, function in (("sqrt", 82497, math.sqrt), ("log", 5, math.log), ("log10", 0, math.log10)):
            wanted = {1: math.ceil(function(900)), 2: math.ceil(function(100))}
            left, random, chosen = {1: 900, 2: 100}, Twister(seed), []
            for n in range(1000):
                kind = 2 if n >= 900 else 1
                taken = random.next() / 2.0 ** 32 * left[kind] < wanted[kind]
                left[kind] -= 1
                wanted[kind] -= taken
                chosen += [n] * taken
            self.assertEqual(wanted, {1: 0, 2: 0})
            self.parameters(self.text, subsample=method, randomseed=str(seed))
            self.assertEqual([s["box"] for s in self.samples("--overwrite")], chosen)

    def test_registers_begin_with_0_when_the_samples_are_chosen(self):
        self.parameters(self.text.replace("filter 1: class = 1", "filter 1: register1 = register1 + 1")
                        .replace("feature Ch1", "feature register1"), subsample="sqrt")
        samples = self.samples()
        self.assertEqual(len(samples), 40)
        self.assertEqual([s["values"] for s in samples], [[s["box"] + 1] for s in samples])

    def test_a_class_with_few_samples_keeps_one(self):
        self.parameters(self.text.replace("900", "999"), subsample="log10")
        counts = [s["class"] for s in self.samples()]
        self.assertEqual((counts.count(1), counts.count(2)), (3, 1))

    def test_all_without_thinning(self):
        self.parameters(self.text, subsample="none")
        self.assertEqual(len(self.samples()), 1000)


class Refused(SampleTest):
    def test_a_mistake_in_the_parameter_file(self):
        for lines, message in (
                ({"feature": "Ch6 +"}, "line 15: feature Ch6 +: parse error: syntax error"),
                ({"feature": "B5"}, "line 15: feature B5: parse error: illegal character in constant or unknown "
                                    "variable"),
                ({"feature": None}, "no features specified in parameter file"),
                ({"inputfilename": None}, "no input files specified in parameter file"),
                ({"outputfilename": None}, "no output file specified in parameter file"),
                ({"inputfilename": "none.zel"}, "cannot open input file none.zel")):
            text = PARAMETERS if "feature" not in lines else "".join(
                l for l in PARAMETERS.splitlines(True) if not l.startswith("feature Ch1"))
            self.parameters(text, **lines)
            status, out, err = self.run_zel("sample", "p")
            self.assertEqual((status, out), (1, ""))
            self.assertIn(message.replace("line 15", "line 14"), err)
            self.assertTrue(err.startswith("zel sample: p: "))
            self.assertEqual(err.count("\n"), 1, err)
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_one_missing_input_of_two_is_not_ignored(self):
        self.parameters(PARAMETERS + "inputfilename none.zel\n")
        self.fails("sample p", "zel sample: p: cannot open input file none.zel")
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_what_is_ignored_is_warned_of(self):
        self.parameters(PARAMETERS + "colour blue\ndatatype potato\nfeature Ch1"[:-12] + "\nfeature Ch3")
        status, out, err = self.run_zel("sample", "p")
        self.assertEqual((status, out), (0, SUMMARY))
        self.assertIn("zel sample: p: warning: unknown command on line 16\n", err)
        self.assertIn("zel sample: p: warning: the last line has no newline and is ignored\n", err)

    def test_a_channel_that_the_scene_does_not_have(self):
        for name in ("Ch2", "Ch7", "Ch8"):
            self.parameters(feature=name)
            self.fails("sample p", "zel sample: p: a.zel: no channel '%s'; there are #0 B1, #2 CLS, #5 RAW" % name)
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_a_run_time_error_is_reported_with_its_pixel(self):
        self.parameters(PARAMETERS.replace("filter Ch3 == 9: skip_pixel", "filter Ch3 == 9: class = register21"))
        self.fails("sample p", "zel sample: p: a.zel: line 2, pixel 3: error register index 21 > "
                   "ZEL_FEATURE_NUM_REGISTERS 20")
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_what_is_no_scene(self):
        self.put("a.zel", b"hello, this is no scene")
        self.parameters()
        self.fails("sample p", "zel sample: p: a.zel: not a ZEL file, or of an unsupported version")
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_an_existing_output_is_refused(self):
        self.put("out.feat", b"mine")
        self.parameters()
        self.fails("sample p", "zel sample: p: out.feat exists; --overwrite replaces it")
        self.assertEqual(self.got("out.feat"), b"mine")
        self.assertEqual(self.run_zel("sample", "p", "--overwrite"), (0, SUMMARY, ""))

    def test_the_output_is_never_an_input(self):
        self.parameters()
        self.fails("sample p -o a.zel --overwrite", "zel sample: p: the output is its input a.zel")
        self.fails("sample p -o p --overwrite", "zel sample: p: the output is the parameter file itself")
        self.assertEqual(self.got("a.zel"), small_scene().bytes())

    def test_wrong_usage(self):
        self.fails("sample", "zel sample: FILE is required; see zel sample --help", 2)
        self.fails("sample none", "zel sample: none: No such file or directory")


class Damaged(SampleTest):
    def test_parameter_files_with_bytes_changed_or_cut(self):
        choose = random.Random(5)
        for _ in range(60):
            text = bytearray(PARAMETERS.encode())
            for _ in range(choose.randrange(1, 4)):
                text[choose.randrange(len(text))] = choose.choice(b"\0\n\r:;\"()=-#0Cz\xff")
            self.put("p", text[:choose.choice((len(text), choose.randrange(len(text))))])
            status, out, err = self.run_zel("sample", "p", "-o", "o.feat", "--overwrite")
            self.assertIn(status, (0, 1), (text, err))
            if status == 1:
                self.assertRegex(err, r"(?m)^zel sample: p: ")
            self.assertLessEqual(set(self.names()), {"a.zel", "o.feat", "p"})
        self.put("p", b"")
        self.assertEqual(self.run_zel("sample", "p")[0], 1)


class Broken(SampleTest):
    def setUp(self):
        super().setUp()
        f = ZelFile(pixels=1000, slots=3, lines=[Line(right=999, nadir=499) for _ in range(1000)])
        f.channels[0] = Channel(type=5, label=b"R", bits=16, rows=[list(range(1000))] * 1000)
        self.put("big.zel", f)
        self.put("p", b"inputfilename big.zel\noutputfilename o.feat\nfeature exp(Ch1) + log(Ch1)\n")

    def test_a_signal_leaves_no_partial_output_and_the_old_file(self):
        for old in (None, b"mine"):
            if old:
                self.put("o.feat", old)
            process = subprocess.Popen([str(ZEL), "sample", "p", "--overwrite"], cwd=self.dir, env=self.env,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            while process.poll() is None and not list(self.dir.glob(".zel-*")):
                time.sleep(0.0005)
            process.send_signal(signal.SIGTERM)
            if process.wait(60) == 0:
                self.skipTest("the run was over before the signal")
            self.assertEqual(self.names(), ["a.zel", "big.zel"] + (["o.feat"] if old else []) + ["p"])
            if old:
                self.assertEqual(self.got("o.feat"), old)

    def test_a_reached_limit_leaves_the_old_file(self):
        self.put("o.feat", b"mine")
        done = subprocess.run(["sh", "-c", 'ulimit -f 2000; exec "$0" sample p --overwrite', str(ZEL)], cwd=self.dir,
                              env=self.env, capture_output=True, timeout=120)
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (1, b"", b"zel sample: p: cannot write o.feat: File too large\n"))
        self.assertEqual((self.names(), self.got("o.feat")), (["a.zel", "big.zel", "o.feat", "p"], b"mine"))


@needs_scenes
class RealScenes(ZelTest):
    @unittest.skipUnless((BIN / "examples" / "sample_scene_features").exists(), "no example")
    def test_the_samples_are_those_of_the_example_program(self):
        (self.dir / "landsat8_gulf_30m.zel").symlink_to(SCENES / "landsat8_gulf_30m.zel")
        self.run_zel("sample", ROOT / "examples" / "gulf.par", "-o", "ours.feat")
        subprocess.run([str(BIN / "examples" / "sample_scene_features"), str(ROOT / "examples" / "gulf.par"),
                        "them.feat"], cwd=self.dir, check=True, stdout=subprocess.DEVNULL, timeout=120)
        ours, them = (json.loads(self.run_zel("samples", n, "--json")[1]) for n in ("ours.feat", "them.feat"))
        for document in (ours, them):
            del document["written"], document["file"]
        self.assertGreater(ours["sample_count"], 20000)
        self.assertTrue(ours == them)
        record = 44 + 4 * len(ours["features"])
        tail = record * ours["sample_count"]
        self.assertTrue(self.got("ours.feat")[-tail:] == self.got("them.feat")[-tail:])


if __name__ == "__main__":
    main()
