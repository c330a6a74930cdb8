#!/usr/bin/env python3
"""zel combine: plans as text and JSON, what speaks against files, the base, containers, rasters, and the
plan in the metadata."""
import hashlib
import json
import os
import subprocess

from zel_case import BIN, SCENES, ZEL, ZelTest, main, needs_scenes
from combine_scenes import scene
from vornfile import labels_file, plane, raster
from zelfile import container, parse, read_directory

LUT_FILE = b"Cover\n0 1\n2\n0 0 1 0 : sea\n0 1 0 1 : grass\n"


class CombineTest(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("fine", scene(30.0, 12, 8, codes=(1, 3), seed=1))
        self.put("base", scene(60.0, 6, 4, codes=(2, 5), seed=2))
        self.put("coarse", scene(120.0, 3, 2, codes=(4,), seed=3))

    def combine(self, *words):
        status, out, err = self.run_zel("combine", *words, "-q")
        self.assertEqual((status, err), (0, ""))
        return out


class Plan(CombineTest):
    def test_as_text(self):
        self.check("combine fine base coarse --base base --dry-run --missing byte=raw:0 --missing byte=-1 "
                   "--method byte=max",
                   "Grid: 6 x 4 pixels of 60 m, of base\n\n"
                   "  slot  label   from       grid                   relation    method   stored as      missing\n"
                   "    #0  byte    fine #0    12 x 8 pixels of 30 m  finer, 2    max      scaled byte    raw:0, -1\n"
                   "    #1  CLS     fine #1    12 x 8 pixels of 30 m  finer, 2    nearest  byte\n"
                   "    #2  scaled  base #0    6 x 4 pixels of 60 m   same        copy     scaled 16-bit\n"
                   "    #3  RAW     base #1    6 x 4 pixels of 60 m   same        copy     16-bit\n"
                   "    #4  float   coarse #0  3 x 2 pixels of 120 m  coarser, 2  repeat   float\n")
        self.assertEqual(self.names(), ["base", "coarse", "fine"])

    def test_as_json(self):
        plan = self.json("combine", "fine", "base", "coarse", "--base", "base", "--dry-run", "--json", "--missing",
                         "byte=raw:0", "--min-valid", "3", "--method", "byte=sum", schema="combine")
        self.assertEqual(plan["files"][0], {"file": "fine", "bytes": len(self.got("fine")), "parts": 1})
        self.assertEqual(plan["grid"], {"pixels": 6, "lines": 4, "resolution": 60.0, "file": "base", "part": 0})
        self.assertEqual((plan["lines"], plan["missing_lines"], plan["problems"]), (4, None, []))
        self.assertEqual(plan["channels"][0],
                         {"slot": 0, "label": "byte",
                          "source": {"file": "fine", "part": 0, "slot": 0,
                                     "grid": {"pixels": 12, "lines": 8, "resolution": 30.0}},
                          "relation": "finer", "factor": 2, "method": "sum", "storage": "float",
                          "classes": False, "missing": {"values": ["raw:0"], "min_valid": 3},
                          "missing_lines": None})
        self.assertEqual([(c["method"], c["classes"], c["missing"]) for c in plan["channels"][1:]],
                         [("nearest", True, None), ("copy", False, None), ("copy", False, None),
                          ("repeat", False, None)])

    def test_a_plan_is_what_is_done(self):
        words = ["fine", "base", "--base", "base", "--method", "*=mode", "--json"]
        plan = json.loads(self.combine(*words, "--dry-run"))
        self.assertEqual(json.loads(self.combine(*words, "-o", "out")), plan)
        made = parse(self.got("out"))
        self.assertEqual([c.label.decode() for _, c in made.present()], [c["label"] for c in plan["channels"]])
        self.assertEqual((made.pixels, len(made.lines)), (plan["grid"]["pixels"], plan["lines"]))

    def test_the_last_method_that_fits_counts(self):
        def methods(*words):
            plan = self.json("combine", "fine", "base", "--base", "base", "--dry-run", "--json",
                             *[w for word in words for w in ("--method", word)])
            return [c["method"] for c in plan["channels"][:2]]
        self.assertEqual(methods("*=max", "BYTE=min"), ["min", "max"])
        self.assertEqual(methods("byte=min", "*=max"), ["max", "max"])
        self.assertEqual(methods("#1=mode", "Ch1=sum"), ["sum", "mode"])
        self.assertEqual(methods("b?t*=min"), ["min", "nearest"])

    def test_classes_are_known_by_their_units_or_by_the_lut_that_their_comment_names(self):
        f = scene(30.0, 4, 4, codes=(3, 3, 3), labels=[b"units", b"comment", b"neither"])
        for slot, (units, comment) in enumerate(((5, b""), (0, b"cover"), (0, b"other"))):
            f.channels[slot].units, f.channels[slot].comment = units, comment
        self.put("classes", f)
        self.put("b", scene(60.0, 2, 2, codes=(3,), labels=[b"T"]))
        plan = self.json("combine", "classes", "b", "--base", "b", "--dry-run", "--json")
        self.assertEqual([c["method"] for c in plan["channels"]], ["nearest", "nearest", "mean", "copy"])

    def test_means_of_classes_are_warned_of(self):
        for method in ("mean", "sum"):
            self.assertEqual(self.run_zel("combine", "fine", "base", "--base", "base", "--method",
                                          "CLS=" + method, "--dry-run")[2],
                             "zel combine: warning: channel #1 CLS holds classes: %s makes numbers of no class\n"
                             % method)


class Problems(CombineTest):
    def refused(self, words, message, name):
        """The run fails with the message unless the problem is allowed; then it is a warning."""
        status, out, err = self.run_zel("combine", *words, "-o", "out")
        self.assertEqual((status, out, err), (1, "", "zel combine: %s (--allow %s)\n" % (message, name)))
        self.assertNotIn("out", self.names())
        status, out, err = self.run_zel("combine", *words, "--dry-run")
        self.assertEqual((status, err), (1, "zel combine: %s (--allow %s)\n" % (message, name)))
        self.assertTrue(out.startswith("Grid: "))
        status, out, err = self.run_zel("combine", *words, "-o", "out", "--allow", name)
        self.assertEqual((status, out), (0, ""))
        self.assertIn("zel combine: warning: %s\n" % message, err)
        return parse(self.got("out"))

    def test_other_scenes(self):
        for field, value, text in (("year", 2002, "year 2002, not 2001"), ("julian", 101, "day 101, not 100"),
                                   ("satellite", 8, "satellite 8, not 7"),
                                   ("data_type", 5, "sensor 5 (LANDSAT TM), not 6 (GOES)")):
            self.put("other", scene(30.0, 12, 8, codes=(1,), **{field: value}))
            self.refused(["other", "base", "--base", "base"], "other: not the scene of base: " + text,
                         "different-scenes")
            (self.dir / "out").unlink()
        f = scene(30.0, 12, 8, codes=(1,))
        f.lines[0].time = 12.2
        self.put("other", f)
        self.refused(["other", "base", "--base", "base"],
                     "other: not the scene of base: first scan time 12.2000 h, not 12.0000 h", "different-scenes")

    def test_a_file_that_ends_inside_of_a_line(self):
        self.put("cut", self.got("base")[:-5])
        size = (len(self.got("base")) - len(scene(60.0, 6, 0, codes=(2, 5), seed=2).bytes())) // 4
        made = self.refused(["cut"], "cut: ends inside of line 3: %d bytes of %d" % (size - 5, size), "truncated")
        self.assertEqual(len(made.lines), 3)

    def test_a_file_that_lost_whole_lines(self):
        self.put("short", scene(30.0, 12, 5, codes=(1,), seed=1))
        words = ["short", "base", "--base", "base"]
        made = self.refused(words, "short: covers 2 of the 4 lines of the base: lines 2 to 3 will be missing",
                            "truncated")
        self.assertEqual(len(made.lines), 2)
        plan = json.loads(self.combine(*words, "--dry-run", "--json", "--allow", "truncated"))
        self.assertEqual((plan["lines"], plan["missing_lines"]), (2, {"first": 2, "last": 3}))
        self.assertEqual([c["missing_lines"] for c in plan["channels"]], [{"first": 2, "last": 3}, None, None])
        self.assertEqual(plan["problems"][0]["allowed"], True)
        text = self.run_zel("combine", *words, "--dry-run")[1]
        self.assertIn("\nLines: 2 of 4; lines 2 to 3 will be missing\n", text)
        self.assertRegex(text, r"#0  byte .* 2 to 3\n")

    def test_a_single_missing_line_is_one_line(self):
        self.put("short", scene(30.0, 12, 6, codes=(1,), seed=1))
        status, text, err = self.run_zel("combine", "short", "base", "--base", "base", "--dry-run")
        self.assertEqual(status, 1)
        self.assertIn("covers 3 of the 4 lines of the base: line 3 will be missing (", err)
        self.assertIn("\nLines: 3 of 4; line 3 will be missing\n", text)
        self.assertRegex(text, r"#0  byte .*  3\n")

    def test_a_base_without_lines(self):
        self.put("empty", scene(60.0, 6, 0, codes=(2,)))
        made = self.refused(["empty"], "empty: has no lines", "truncated")
        self.assertEqual(made.lines, [])

    def test_a_base_that_lost_lines(self):
        self.put("short", scene(60.0, 6, 2, codes=(2,)))
        self.refused(["fine", "short", "--base", "short"], "short: the base has 2 lines, but fine covers 4",
                     "truncated")

    def test_grids_may_differ_by_less_than_a_pixel_of_the_base_at_the_end(self):
        self.put("larger", scene(30.0, 13, 9, codes=(1,), seed=1))
        self.combine("larger", "base", "--base", "base", "-o", "out")
        self.put("wide", scene(120.0, 4, 3, codes=(4,), seed=1))
        self.combine("wide", "base", "--base", "base", "-o", "out2")

    def test_ratios_that_are_not_whole(self):
        self.put("odd", scene(25.0, 12, 8, codes=(1,)))
        self.refused(["odd", "base", "--base", "base"],
                     "odd: resolution 25 m, that of the base is 60 m: the ratio 2.4000 is taken for 2, and pixels "
                     "drift apart", "ratio")

    def test_ratios_that_are_nearly_whole(self):
        self.put("odd", scene(29.9, 12, 8, codes=(1,)))
        self.refused(["odd", "base", "--base", "base"],
                     "odd: resolution 29.9 m, that of the base is 60 m: the ratio 2.0067 is taken for 2, and pixels "
                     "drift apart", "ratio")
        self.put("whole", scene(29.9999, 12, 8, codes=(1,)))
        self.assertEqual(self.run_zel("combine", "whole", "base", "--base", "base", "--dry-run")[2], "")

    def test_files_that_are_narrower_or_wider(self):
        self.put("narrow", scene(30.0, 11, 8, codes=(1,)))
        self.refused(["narrow", "base", "--base", "base"], "narrow: covers 5 columns of the base, which has 6",
                     "extent")
        (self.dir / "out").unlink()
        self.put("wide", scene(30.0, 16, 8, codes=(1,)))
        self.refused(["wide", "base", "--base", "base"], "wide: covers 8 columns of the base, which has 6", "extent")

    def test_a_part_of_a_container_is_named(self):
        self.put("c", container([(self.got("base"), 60.0), (scene(30.0, 11, 8, codes=(1,)).bytes(), 30.0)]))
        self.refused(["c"], "c part 1: covers 5 columns of the base, which has 6", "extent")

    def test_every_problem_is_reported(self):
        self.put("odd", scene(25.0, 11, 7, codes=(1,), year=1999))
        status, _, err = self.run_zel("combine", "odd", "base", "--base", "base", "-o", "out")
        self.assertEqual(status, 1)
        self.assertEqual([line.rsplit("--allow ")[1] for line in err.splitlines()],
                         ["different-scenes)", "ratio)", "extent)", "truncated)"])

    def test_resolutions_of_no_scene(self):
        self.put("none", scene(0.0, 6, 4, codes=(1,)))
        status, _, err = self.run_zel("combine", "none", "base", "-o", "out")
        self.assertEqual(status, 1)
        self.assertIn("do not belong to one scene", err)


class Usage(CombineTest):
    def wrong(self, words, message):
        self.fails("combine " + words, "zel combine: %s; see zel combine --help" % message, 2)

    def test_wrong_usage(self):
        self.wrong("fine base", "-o is required")
        self.wrong("fine -o out --base none", "the base none is not one of the files")
        self.wrong("fine -o out --method CLS", "--method takes CHANNEL=VALUE, not CLS")
        self.wrong("fine -o out --method CLS=median",
                   "unknown method 'median'; there are mean, nearest, mode, min, max, sum")
        self.wrong("fine -o out --missing CLS=two", "--missing takes a number, nan or raw:NUMBER, not two")
        self.wrong("fine -o out --missing CLS=raw:x", "raw: takes a stored number, not x")
        self.wrong("fine -o out --min-valid 3", "--min-valid needs --missing")
        for text in ("x", "-1", "1.5", "101%", "%"):
            self.wrong("fine -o out --missing CLS=2 --min-valid=" + text,
                       "--min-valid takes a number of pixels or a percentage, not " + text)
        self.wrong("fine base -o out --container --method *=mean", "--method is for one grid, not with --container")
        self.wrong("fine base -o out --container --raster r", "--raster is for one grid, not with --container")
        self.wrong("fine -o out --container", "--container takes two files or more")
        self.wrong("fine -o out --raster-lut l", "the --raster options need --raster")
        self.wrong("fine -o out --raster r --raster-classes f", "--raster-classes needs --raster-lut or --raster-cube")
        self.wrong("fine -o out --raster r --raster-lut l --raster-cube",
                   "--raster-cube and --raster-lut exclude each other")
        self.wrong("fine -o out --raster r --raster-label l --raster-header h",
                   "--raster-header and --raster-label exclude each other")
        self.assertEqual(self.run_zel("combine", "fine", "--allow", "anything")[0], 2)

    def test_choices_that_fit_nothing(self):
        self.fails("combine fine -o x --method X*=mean", "zel combine: no channel fits 'X*'")
        self.fails("combine fine -o x --missing B=1", "zel combine: no channel 'B'; there are #0 byte, #1 CLS")
        self.fails("combine fine base base -o x --method RAW=min",
                   "zel combine: channel 'RAW' is ambiguous: #3 RAW, #5 RAW")
        for choice in ("CLS=1.5", "CLS=raw:256", "CLS=-1", "CLS=nan", "byte=0.12345"):
            channel = "#1 CLS" if choice.startswith("CLS") else "#0 byte"
            self.fails("combine fine -o x --missing " + choice,
                       "zel combine: no pixel of channel %s can have the missing value %s"
                       % (channel, choice.split("=")[1]))
        self.fails("combine coarse -o x --missing float=raw:1",
                   "zel combine: no pixel of channel #0 float can have the missing value raw:1")

    def test_words_that_are_not_utf_8(self):
        self.put("f", scene(60.0, 2, 2, codes=(4,), labels=[b"caf\xe9"]))
        os.rename(self.dir / "f", os.fsencode(self.dir) + b"/f\xe9")
        words = [b"combine", b"f\xe9", b"--missing", b"*=1", b"--method", b"caf*=max", b"--json"]
        for more in ([b"--dry-run"], [b"-q", b"-o", b"out"]):
            done = subprocess.run([str(ZEL).encode(), *words, *more], cwd=self.dir, env=self.env, check=True,
                                  stdout=subprocess.PIPE, timeout=60)
            plan = json.loads(done.stdout)
            self.assertEqual((plan["files"][0]["file"], plan["channels"][0]["label"]), ("f\xe9", "caf\xe9"))

    def test_a_file_that_cannot_be_read_is_named(self):
        self.fails("combine fine none -o x", "zel combine: none: No such file or directory")
        self.put("text", b"this is no scene at all")
        self.fails("combine fine text -o x",
                   "zel combine: text: not a ZEL file, or of an unsupported version")
        damaged = bytearray(self.got("base"))
        damaged[1225:1227] = (4711).to_bytes(2, "little")
        self.put("damaged", damaged)
        self.fails("combine fine damaged -o x",
                   "zel combine: damaged: corrupt header: MaxNumChan 4711 at offset 1225")
        self.fails("combine fine text -o x --container",
                   "zel combine: text: not a ZEL file, or of an unsupported version")

    def test_outputs_that_are_refused(self):
        self.put("out", b"mine")
        self.fails("combine fine -o out", "zel combine: out exists; --overwrite replaces it")
        self.fails("combine fine base -o out --container", "zel combine: out exists; --overwrite replaces it")
        self.assertEqual(self.got("out"), b"mine")
        (self.dir / "link").symlink_to("base")
        before = self.got("base")
        for words in ("", " --container"):
            self.fails("combine fine base -o link --overwrite" + words,
                       "zel combine: link is one of the files that are read")
            self.fails("combine fine base -o no/dir" + words,
                       "zel combine: cannot create no/dir: No such file or directory")
        self.assertEqual(self.got("base"), before)
        self.run_zel("combine", "fine", "-o", "out", "--overwrite")
        self.assertEqual(len(parse(self.got("out")).lines), 8)
        self.assertEqual(self.names(), ["base", "coarse", "fine", "link", "out"])


class Base(CombineTest):
    def grid(self, *words):
        grid = json.loads(self.combine(*words, "--dry-run", "--json"))["grid"]
        return grid["resolution"], grid["file"], grid["part"]

    def test_the_first_file_is_the_default(self):
        self.assertEqual(self.grid("coarse", "fine"), (120.0, "coarse", 0))
        self.assertEqual(self.grid("fine", "coarse", "--base", "./coarse"), (120.0, "coarse", 0))

    def test_a_part_of_a_container(self):
        f, b, c = (self.got(n) for n in ("fine", "base", "coarse"))
        self.put("all", container([(c, 120.0), (b, 60.0), (f, 30.0)], base=1))
        self.assertEqual(self.grid("all"), (60.0, "all", 1))
        self.assertEqual(self.grid("all", "--base-part", "2"), (30.0, "all", 2))
        self.fails("combine all --base-part 3 -o x", "zel combine: all: no part 3; there are 0 to 2")
        self.combine("all", "--base-part", "2", "--no-record", "-o", "part")
        self.combine("coarse", "base", "fine", "--base", "fine", "--no-record", "-o", "files")
        self.assertEqual(self.got("part"), self.got("files"))

    def test_a_base_after_a_container_is_that_file(self):
        self.put("two", container([(self.got("fine"), 30.0), (self.got("coarse"), 120.0)]))
        self.assertEqual(self.grid("two", "base", "--base", "base"), (60.0, "base", 0))
        self.combine("two", "base", "--base", "base", "--no-record", "-o", "a")
        self.combine("fine", "coarse", "base", "--base", "base", "--no-record", "-o", "b")
        self.assertEqual(self.got("a"), self.got("b"))


class Container(CombineTest):
    def old(self, *words):
        subprocess.run([str(BIN / "zel_combine"), *words, "-o", "old", "-overwrite"], cwd=self.dir, check=True,
                       stdout=subprocess.DEVNULL, env=self.env, timeout=60)
        return self.got("old")

    def test_the_bytes_are_those_of_zel_combine(self):
        self.assertEqual(self.run_zel("combine", "fine", "base", "coarse", "--base", "base", "--container", "-o", "c"),
                         (0, "", "zel combine: c: a container of 3 parts\n"))
        self.assertEqual(self.got("c"), self.old("-i", "fine", "-ib", "base", "-i", "coarse"))
        self.combine("c", "coarse", "--base-part", "2", "--container", "-o", "d")
        self.assertEqual(self.got("d"), self.old("-ib", "c", "-i", "coarse", "-bc", "2"))

    def test_a_container_as_base_keeps_its_own_base(self):
        self.put("c", container([(self.got("fine"), 30.0), (self.got("base"), 60.0)], base=1))
        self.combine("c", "coarse", "--container", "-o", "d")
        self.assertEqual(read_directory(self.got("d"))[0], 1)
        self.combine("coarse", "c", "--base", "c", "--container", "-o", "e")
        self.assertEqual(read_directory(self.got("e"))[0], 2)

    def test_the_plan(self):
        self.check("combine fine base --base base --container --dry-run",
                   "  part  from         grid\n"
                   "     0  fine part 0  12 x 8 pixels of 30 m\n"
                   "     1  base part 0  6 x 4 pixels of 60 m   base\n")
        plan = self.json("combine", "fine", "base", "--base", "base", "--container", "--dry-run", "--json",
                         schema="combine")
        self.assertEqual(plan["container"]["base"], 1)
        self.assertEqual(plan["container"]["parts"][0],
                         {"file": "fine", "part": 0, "grid": {"pixels": 12, "lines": 8, "resolution": 30.0}})

    def test_what_does_not_go_into_a_container(self):
        self.put("other", scene(30.0, 12, 8, year=1999))
        for words in ("", " --allow different-scenes"):
            self.fails("combine base other --container -o x" + words,
                       "zel combine: other: not the scene of base: year 1999, not 2001; a container holds one scene")
        self.put("cut", self.got("base")[:-5])
        status, _, err = self.run_zel("combine", "cut", "fine", "--container", "-o", "x")
        self.assertEqual(status, 1)
        self.assertIn("cut: ends inside of line 3", err)
        self.run_zel("combine", "cut", "fine", "--container", "-o", "x", "--allow", "truncated")
        self.assertEqual(self.names(), ["base", "coarse", "cut", "fine", "other", "x"])
        self.put("c", container([(self.got("fine"), 30.0), (self.got("coarse"), 120.0)]))
        self.fails("combine c base --base base --container -o y",
                   "zel combine: base: a plain file that is the base comes before containers")
        self.assertEqual(self.run_zel("combine", "base", "c", "--container", "-o", "y")[0], 0)


class Rasters(CombineTest):
    def setUp(self):
        super().setUp()
        self.put("r", raster([plane(6, 4), plane(6, 4, 1)]))
        self.put("labels", labels_file(["first", "second"]))
        self.put("lut", LUT_FILE)

    def both(self, new, old):
        """Runs zel with words, and zel_combine with others: the same bytes come of it."""
        self.combine("fine", "base", "--base", "base", "--method", "*=mean", "--no-record", "-o", "new", "--overwrite",
                     *new)
        subprocess.run([str(BIN / "zel_combine"), "-same_res", "-overwrite", "-i", "fine", "-ib", "base", *old,
                        "-o", "old"], cwd=self.dir, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, env=self.env, timeout=60)
        self.assertTrue(self.got("new") == self.got("old"), new)

    def test_the_bytes_are_those_of_zel_combine(self):
        self.both(["--raster", "r"], ["-vorn", "r"])
        self.both(["--raster", "r", "--raster-header", "labels"], ["-vorn", "r", "-vorn_hdr", "labels"])
        self.both(["--raster", "r", "--raster-label", "L", "--raster-prefix", "P "],
                  ["-vorn", "r", "-vorn_label", "L", "-vorn_prepend", "P "])
        self.both(["--raster", "r", "--raster-lut", "lut"], ["-vorn", "r", "-vorn_lut", "lut"])
        self.both(["--raster", "r", "--raster-cube"], ["-vorn", "r", "-vorn_lut_cc"])

    def test_in_the_plan(self):
        plan = self.json("combine", "fine", "base", "--base", "base", "--raster", "r", "--raster-cube", "--dry-run",
                         "--json", schema="combine")
        self.assertEqual(plan["channels"][-1],
                         {"slot": 5, "label": "r channel 2",
                          "source": {"file": "r", "part": None, "slot": 1, "grid": None},
                          "relation": "same", "factor": 1, "method": "copy", "storage": "16-bit", "classes": True,
                          "missing": None, "missing_lines": None})

    def test_classes_beyond_the_lut_are_warned_of_once(self):
        self.put("r", raster([[[0, 1, 0, 1, 1, 1]] * 4, [[0, 1, 2, 7, 1, 1]] * 4]))
        self.put("labels", labels_file(["good", "bad"]))
        self.check("combine base -o x --raster r --raster-header labels --raster-lut lut", "",
                   "zel combine: warning: channel #3 bad has class 2, but its LUT has 2 entries\n"
                   "zel combine: x: 4 channels of 6 x 4 pixels\n")

    def test_rasters_that_do_not_fit(self):
        words = "combine base -o x --raster "
        self.fails(words + "none", "zel combine: none: No such file or directory")
        self.put("small", raster([plane(5, 4)]))
        self.fails(words + "small",
                   "zel combine: small: size mismatch:  ZEL lines 4 pix 6, Vorn lines 4 pix 5")
        self.put("cut", self.got("r")[:-3])
        self.fails(words + "cut", "zel combine: cut: 3 bytes are missing at its end (--allow truncated)")
        self.fails(words + "r --raster-lut none", "zel combine: none: No such file or directory")
        os.mkfifo(self.dir / "pipe")
        for more in ("pipe", "r --raster-header pipe", "r --raster-lut pipe"):
            self.fails(words + more, "zel combine: pipe: is not a regular file")
        self.put("bad", b"title\n0 1\n3\n")
        self.fails(words + "r --raster-lut bad", "zel combine: r: error parsing LUT file line 4")
        self.assertNotIn("x", self.names())
        status, out, err = self.run_zel("combine", "base", "-o", "x", "--raster", "cut", "--allow", "truncated")
        self.assertEqual((status, out), (0, ""))
        self.assertIn("warning: Vorn file cut is cut short: values read before are repeated", err)


class Record(CombineTest):
    def record_of(self, name):
        f = parse(self.got(name))
        text = f.metadata[:f.meta_size]
        lines = text.decode().split("\n")
        self.assertEqual(lines[-1], "")
        self.assertTrue(lines[-2].startswith("zel combine: {"))
        return lines[:-2], json.loads(lines[-2][len("zel combine: "):])

    def test_plan_and_checksums_are_in_the_metadata(self):
        self.combine("fine", "base", "--base", "base", "--method", "CLS=mode", "-o", "out")
        before, record = self.record_of("out")
        self.assertEqual(before, [])
        self.assertEqual(record["version"], "2.3")
        self.assertEqual(record["recipe"], {"files": ["fine", "base"], "base": 1, "method": ["CLS=mode"]})
        self.assertEqual(record["inputs"],
                         [{"file": n, "bytes": len(self.got(n)), "sha256": hashlib.sha256(self.got(n)).hexdigest()}
                          for n in ("fine", "base")])
        self.assertEqual(record["channels"], [["byte", 0, 0, 2, "mean", "scaled byte"],
                                              ["CLS", 0, 1, 2, "mode", "byte"],
                                              ["scaled", 1, 0, 1, "copy", "scaled 16-bit"],
                                              ["RAW", 1, 1, 1, "copy", "16-bit"]])

    def test_the_rest_of_the_output_is_as_without_it(self):
        self.combine("fine", "base", "--base", "base", "-o", "with")
        self.combine("fine", "base", "--base", "base", "-o", "without", "--no-record")
        f = parse(self.got("with"))
        self.assertEqual(parse(self.got("without")).meta_size, 0)
        f.meta_size, f.metadata = 0, b""
        self.assertEqual(f.bytes(), self.got("without"))

    def test_checksums_of_every_length(self):
        """Of files whose sizes go through all remainders of a block of the sum."""
        for width in range(1, 65):
            self.put("a", scene(60.0, width, 1, codes=(3,), seed=width))
            self.combine("a", "-o", "out", "--overwrite")
            self.assertEqual(self.record_of("out")[1]["inputs"][0]["sha256"],
                             hashlib.sha256(self.got("a")).hexdigest())

    def put_metadata(self, kind, text, size=None):
        f = scene(60.0, 6, 4, codes=(2,))
        f.meta_type, f.metadata, f.meta_size = kind, text, len(text) if size is None else size
        self.put("m", f)
        return f

    def test_it_follows_text_that_is_there(self):
        self.put_metadata(0, b"two\nlines")
        self.combine("m", "-o", "out")
        self.assertEqual(self.record_of("out")[0], ["two", "lines"])

    def test_metadata_that_are_not_free_stay_as_they_are(self):
        for kind, text, size in ((1, b"NLAPS", None), (0, b"x" * 19900, None), (0, b"behind the end", 3)):
            before = self.put_metadata(kind, text, size)
            self.assertEqual(self.run_zel("combine", "m", "-o", "out", "--overwrite"),
                             (0, "", "zel combine: the metadata of the base are not free: the plan is not stored\n"
                                     "zel combine: out: 1 channels of 6 x 4 pixels\n"))
            after = parse(self.got("out"))
            self.assertEqual((after.meta_type, after.meta_size, after.metadata.rstrip(b"\0")),
                             (before.meta_type, before.meta_size, before.metadata))

    def test_without_room_for_the_channels_they_are_left_out(self):
        self.put_metadata(0, b"x" * 19810)
        self.combine("m", "-o", "out")
        self.assertNotIn("channels", self.record_of("out")[1])
        self.assertEqual(self.record_of("out")[1]["recipe"], {"files": ["m"], "base": 0})


class Progress(CombineTest):
    def test_lines_of_json(self):
        for words in (["-o", "a"], ["--container", "-o", "b"]):
            status, _, err = self.run_zel("combine", "fine", "base", "-q", "--progress", "json", *words)
            self.assertEqual(status, 0)
            steps = [json.loads(line)["progress"] for line in err.splitlines()]
            self.assertEqual((steps[-1]["done"], steps[-1]["task"]), (steps[-1]["total"], steps[-1]["task"]))


@needs_scenes
class RealScenes(ZelTest):
    def test_classes_of_a_real_scene_stay_classes(self):
        """Of the scene classification at 20 m every third pixel of every third line comes to 60 m."""
        fine, base = (str(SCENES / ("sentinel2_ireland_%s.zel" % r)) for r in ("20m", "60m"))
        self.assertEqual(self.run_zel("combine", fine, base, "--base", base, "-q", "-o", "o")[0], 0)
        made, source = parse(self.got("o")), parse((SCENES / "sentinel2_ireland_20m.zel").read_bytes())
        self.assertEqual([list(r) for r in made.channels[0].rows],
                         [list(r[1::3]) for r in source.channels[0].rows[1::3]])


if __name__ == "__main__":
    main()
