#!/usr/bin/env python3
"""zel samples: header, classes, features and samples of a feature file that is built here."""
import json
import struct
import subprocess
import unittest

from zel_case import BIN, ROOT, SCENES, ZelTest, main, needs_scenes
from vornfile import _entry, _group, _int, _text


def sample_bytes(kind, lat, values):
    """Class, elementary class, lat, lon, three angles, box, priority, day, year, values."""
    return struct.pack(">2i5fiI2f%df" % len(values), kind, 5, lat, -20.25, 30.5, 3.25, 90.0, 77, 9,
                       216.0, 2015.0, *values)


def sample_file(samples=((1, 10.5, (0.5, 2.0)), (3, 11.5, (1.5, -2.0)))):
    counts = [0] * 1000
    for kind, _, _ in samples:
        counts[kind] += 1
    names = {1: (b"land", 60, 140, 60), 2: (b"sea, deep", 0, 0, 255)}
    classes = b"".join(_text(names.get(k, (b"",))[0]) + _int(*(names[k][1:] if k in names else (0, 0, 0)))
                       for k in range(1000))
    header = b"".join([
        b"ZEL_FEATURE_HEADER\0", _text(b"1.2"), _text(b"12:00:00  Monday January 01 2001"),
        _text(b"out.feat"), _int(2), _text(b"a.zel"), _text(b"b.zel"), _int(*counts), classes,
        _group([_entry(b"ratio", b"Ch1/Ch2")]),
        _group([_entry(b"the ratio", b"ratio"), _entry(None, b"Ch3 * 2")]),
        struct.pack(">4f", 1.5, 2.0, 0.5, -2.0),
        _group([_entry(b"lit", b"sz < 80")]), _group([_entry(None, b"Ch1 > 9", b" class = 3")]),
        _group([_entry(b"a comment")]), _group([_entry(b"A title")]), _group([]),
        _int(82497, -4, 1, 5)])
    return header + b"".join(sample_bytes(*s) for s in samples)


SUMMARY = """f: 2 samples
  Title        A title
  Comment      a comment
  Inputs       a.zel b.zel
  Written      12:00:00  Monday January 01 2001, version 1.2
  Subsampling  every 4, random seed 82497
  Types        class Primary, data LANDSAT TM

Definitions
  ratio  Ch1/Ch2

Requirements
  lit  sz < 80

Filters
  Ch1 > 9  -> class = 3

Classes
  class  samples  colour     name
      1        1  60 140 60  land
      2        0  0 0 255    sea, deep
      3        1  0 0 0

Features
  feature    min  max  expression
  the ratio  0.5  1.5  ratio
  Ch3 * 2     -2    2  Ch3 * 2
"""
TITLES = ("class,elementary_class,lat,lon,solar_zenith,view_zenith,azimuth,box,priority,day_of_year,year,"
          "the ratio,Ch3 * 2\n")


class Samples(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("f", sample_file())

    def test_the_summary(self):
        self.check("samples f", SUMMARY)

    def test_csv(self):
        first = "1,5,10.5,-20.25,30.5,3.25,90.0,77,9,216.0,2015.0,0.5,2.0\n"
        self.check("samples f --csv",
                   TITLES + first + "3,5,11.5,-20.25,30.5,3.25,90.0,77,9,216.0,2015.0,1.5,-2.0\n")
        self.check("samples f --csv -n 1", TITLES + first)
        self.check("samples f --csv -n 0", TITLES)

    def test_numbers_that_are_not_finite_are_empty_fields_and_null(self):
        self.put("f", sample_file([(1, float("nan"), (float("inf"), 2.0))]))
        self.check("samples f --csv", TITLES + "1,5,,-20.25,30.5,3.25,90.0,77,9,216.0,2015.0,,2.0\n")
        sample = self.json("samples", "f", "--json", schema="samples")["samples"][0]
        self.assertEqual((sample["lat"], sample["values"]), (None, [None, 2.0]))

    def test_titles_with_commas_and_quotes_are_quoted(self):
        self.put("f", sample_file().replace(_text(b"the ratio"), _text(b'a,"b" c')))
        self.assertEqual(self.run_zel("samples", "f", "--csv", "-n", "0")[1],
                         TITLES.replace("the ratio", '"a,""b"" c"'))

    def test_json(self):
        f = self.json("samples", "f", "--json", schema="samples")
        self.assertEqual(f["sample_count"], 2)
        self.assertEqual([(s["class"], s["lat"], s["values"]) for s in f["samples"]],
                         [(1, 10.5, [0.5, 2.0]), (3, 11.5, [1.5, -2.0])])
        self.assertEqual(f["classes"][1], {"class": 2, "name": "sea, deep", "samples": 0, "rgb": [0, 0, 255]})
        self.assertEqual(f["features"][1], {"label": "Ch3 * 2", "expression": "Ch3 * 2",
                                            "min": -2.0, "max": 2.0})
        self.assertEqual(f["filters"], [{"label": None, "condition": "Ch1 > 9", "action": " class = 3"}])
        self.assertEqual(f["inputs"], ["a.zel", "b.zel"])

    def test_a_file_that_was_cut_is_reported_after_what_is_left(self):
        message = "zel samples: f: cut short: holds 1 of 2 samples\n"
        first = self.run_zel("samples", "f", "--csv", "-n", "1")[1]
        self.put("f", sample_file()[:-1])
        self.check("samples f --csv", first, message, status=1)
        status, out, err = self.run_zel("samples", "f", "--json")
        self.assertEqual((status, len(json.loads(out)["samples"]), err), (1, 1, message))
        self.check("samples f", SUMMARY.replace("f: 2 samples", "f: 1 samples"), message, status=1)

    def test_what_is_no_sample_file(self):
        self.put("g", b"hello, this is something else")
        self.fails("samples g", "zel samples: g: file does not contain ZEL Feature header")
        self.fails("samples none", "zel samples: none: No such file or directory")

    def test_wrong_usage(self):
        self.fails("samples f --csv --json",
                   "zel samples: --csv and --json exclude each other; see zel samples --help", 2)
        self.fails("samples f -n -2",
                   "zel samples: --count takes a number of samples; see zel samples --help", 2)
        self.fails("samples f f --csv",
                   "zel samples: --csv and --json take one file; see zel samples --help", 2)

    @needs_scenes
    @unittest.skipUnless((BIN / "examples" / "sample_scene_features").exists(), "no example")
    def test_the_samples_of_a_real_scene(self):
        (self.dir / "landsat8_gulf_30m.zel").symlink_to(SCENES / "landsat8_gulf_30m.zel")
        subprocess.run([str(BIN / "examples" / "sample_scene_features"), str(ROOT / "examples" / "gulf.par")],
                       cwd=self.dir, check=True, stdout=subprocess.DEVNULL, timeout=120)
        f = self.json("samples", "gulf.feat", "--json", schema="samples")
        counts = {c["class"]: c["samples"] for c in f["classes"]}
        self.assertEqual(f["sample_count"], sum(counts.values()))
        for kind, count in counts.items():
            self.assertEqual(sum(s["class"] == kind for s in f["samples"]), count)
        for i, feature in enumerate(f["features"]):
            values = [s["values"][i] for s in f["samples"]]
            self.assertEqual((min(values), max(values)), (feature["min"], feature["max"]))


if __name__ == "__main__":
    main()
