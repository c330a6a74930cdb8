#!/usr/bin/env python3
"""zel replay: the same bytes again, or which file has changed."""
import hashlib
import json
import os

from zel_case import SCENES, ZelTest, main, needs_scenes
from combine_scenes import scene
from vornfile import labels_file, plane, raster
from zelfile import container, parse


class ReplayTest(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("fine", scene(30.0, 12, 8, codes=(1, 3), seed=1))
        self.put("base", scene(60.0, 6, 4, codes=(2, 5), seed=2))

    def combine(self, *words):
        self.assertEqual(self.run_zel("combine", *words, "-q")[0], 0)

    def make(self):
        self.combine("fine", "base", "--base", "base", "-o", "out")


class Again(ReplayTest):
    def check_again(self, *words):
        self.combine(*words, "-o", "out", "--overwrite")
        self.assertEqual(self.run_zel("replay", "out", "-o", "again", "--overwrite", "-q"), (0, "", ""))
        self.assertTrue(self.got("again") == self.got("out"), words)

    def test_everything_that_the_output_depends_on(self):
        self.put("r", raster([plane(6, 4), plane(6, 4, 1)]))
        self.put("labels", labels_file(["first", "second"]))
        self.put("lut", b"Cover\n0 1\n2\n0 0 1 0 : sea\n0 1 0 1 : grass\n")
        self.put("c", container([(self.got("fine"), 30.0), (self.got("base"), 60.0)]))
        self.put("short", scene(30.0, 11, 5, codes=(1,), year=1999))
        both = ["fine", "base", "--base", "base"]
        self.check_again(*both)
        self.check_again("base", "fine")
        self.check_again(*both, "--method", "*=max", "--method", "CLS=mode")
        self.check_again(*both, "--missing", "byte=raw:0", "--min-valid", "50%")
        self.check_again("c", "--base-part", "1")
        self.check_again("short", "base", "--base", "base", "--allow", "truncated", "--allow", "extent",
                         "--allow", "different-scenes")
        self.check_again(*both, "--raster", "r", "--raster-header", "labels", "--raster-prefix", "P ",
                         "--raster-lut", "lut")
        self.check_again(*both, "--raster", "r", "--raster-label", "L", "--raster-cube")

    def test_in_the_place_of_the_output(self):
        self.make()
        whole = self.got("out")
        self.fails("replay out", "zel replay: out: out exists; --overwrite replaces it")
        damaged = bytearray(whole)
        damaged[-1] ^= 1
        self.put("out", damaged)
        self.check("replay out --overwrite", "", "zel replay: out: 4 channels of 6 x 4 pixels\n")
        self.assertEqual(self.got("out"), whole)

    def test_an_output_of_an_output(self):
        """The last plan counts: that of the file itself."""
        self.make()
        self.put("more", scene(120.0, 3, 2, codes=(4,), seed=3))
        self.combine("out", "more", "-o", "second")
        self.run_zel("replay", "second", "-o", "again")
        self.assertEqual(self.got("again"), self.got("second"))
        self.assertEqual(self.got("again").count(b"zel combine: {"), 2)

    def test_the_plan(self):
        self.make()
        self.check("replay out --dry-run",
                   self.run_zel("combine", "fine", "base", "--base", "base", "--dry-run")[1])
        plan = self.json("replay", "out", "--dry-run", "--json", schema="combine")
        self.assertEqual(len(plan["channels"]), 4)

    def test_progress_as_json(self):
        self.make()
        err = self.run_zel("replay", "out", "--dry-run", "--progress=json")[2]
        self.assertRegex(err.splitlines()[0], r'^\{"progress":\{"task":"checksums","done":0,"total":\d+,')

    def test_files_in_another_place(self):
        self.make()
        (self.dir / "far").mkdir()
        for name in ("fine", "base", "out"):
            (self.dir / name).rename(self.dir / "far" / name)
        self.check("replay far/out -o here -q", "")
        self.assertEqual(self.got("here"), (self.dir / "far" / "out").read_bytes())
        (self.dir / "inputs").mkdir()
        for name in ("fine", "base"):
            (self.dir / "far" / name).rename(self.dir / "inputs" / name)
        self.check("replay far/out --inputs inputs -o there -q", "")
        self.assertEqual(self.got("there"), self.got("here"))


class Refused(ReplayTest):
    def test_a_file_that_has_changed_is_named(self):
        self.make()
        fine = self.got("fine")
        changed = bytearray(fine)
        changed[-1] ^= 1
        self.put("fine", changed)
        sums = [hashlib.sha256(data).hexdigest() for data in (changed, fine)]
        for words in ("-o again", "--dry-run"):
            self.fails("replay out " + words,
                       "zel replay: fine: has changed: its SHA-256 is %s, not %s" % tuple(sums))
        self.put("base", self.got("base") + b"x")
        self.fails("replay out -o again",
                   "zel replay: fine: has changed: its SHA-256 is %s, not %s\n" % tuple(sums)
                   + "zel replay: base: has changed: %d bytes, not %d"
                   % (len(self.got("base")), len(self.got("base")) - 1))
        self.assertEqual(self.names(), ["base", "fine", "out"])

    def test_a_file_that_is_gone_is_named(self):
        self.make()
        (self.dir / "fine").unlink()
        self.fails("replay out -o again", "zel replay: fine: No such file or directory")
        self.fails("replay out --inputs none -o again",
                   "zel replay: none/fine: No such file or directory\n"
                   "zel replay: none/base: No such file or directory")

    def test_files_without_a_plan(self):
        self.fails("replay base -o x", "zel replay: base: holds no plan of zel combine")
        self.fails("replay none -o x", "zel replay: none: No such file or directory")
        self.combine("base", "-o", "out", "--no-record")
        self.fails("replay out -o x", "zel replay: out: holds no plan of zel combine")

    def test_a_container_of_outputs_is_not_replaced(self):
        self.make()
        self.combine("out", "fine", "--container", "-o", "c")
        self.fails("replay c --overwrite", "zel replay: c: is a container, which holds no plan of its own")

    def put_plan(self, document):
        f = scene(60.0, 6, 4, codes=(2,))
        f.metadata = b"zel combine: " + document + b"\n"
        f.meta_size = len(f.metadata)
        self.put("p", f)

    def test_a_damaged_plan(self):
        self.make()
        f = parse(self.got("out"))
        good = json.loads(f.metadata[:f.meta_size].decode().split("zel combine: ")[1])
        bad = [b"", b"{", b"[]", b"{}", b'"text"', b"\xff\xfe", b"[" * 5000]
        for path, value in ((("recipe",), 3), (("recipe", "files"), []), (("recipe", "files"), [1]),
                            (("recipe", "base"), 2), (("recipe", "base"), -1), (("recipe", "base"), "x"),
                            (("inputs",), 3), (("inputs", 0, "bytes"), "x"), (("version",), 2),
                            (("recipe", "raster"), {"cube": 3}), (("recipe", "raster"), 7)):
            document = json.loads(json.dumps(good))
            place = document
            for key in path[:-1]:
                place = place[key]
            place[path[-1]] = value
            bad.append(json.dumps(document).encode())
        for document in bad:
            self.put_plan(document)
            self.fails("replay p -o x", "zel replay: p: the recorded plan is damaged")

    def test_a_plan_of_another_version(self):
        self.make()
        f = parse(self.got("out"))
        f.metadata = f.metadata.replace(b'"version":"2.3"', b'"version":"9.9"')
        self.put("out", f)
        status, _, err = self.run_zel("replay", "out", "-o", "again")
        self.assertEqual(status, 0)
        self.assertIn("zel replay: warning: out: made by version 9.9\n".replace("warning: out:", "out: warning:"), err)


@needs_scenes
class RealScenes(ZelTest):
    def test_every_group(self):
        for group in (("landsat8_gulf_15m", "landsat8_gulf_30m", "landsat8_gulf_90m"),
                      ("sentinel2_ireland_20m", "sentinel2_ireland_60m"),
                      ("goes16_maria_1km", "goes16_maria_2km", "goes16_maria_4km")):
            files = [os.path.relpath(SCENES / (name + ".zel"), self.dir) for name in group]
            self.assertEqual(self.run_zel("combine", *files, "--base", files[-1], "-q", "-o", "out",
                                          "--overwrite"), (0, "", ""))
            self.assertEqual(self.run_zel("replay", "out", "-q", "-o", "again", "--overwrite"), (0, "", ""))
            self.assertTrue(self.got("again") == self.got("out"))


if __name__ == "__main__":
    main()
