#!/usr/bin/env python3
"""zel info: header, channels, LUTs, tables, metadata, containers; text, JSON and single values."""
import json
import struct

from zel_case import SCENES, TEST_DATA, ZelTest, main, make_container, needs_scenes
from scene import rich_scene, small_scene
from zelfile import Channel, Lut, container

# Prefix 1221, header 2040 and LUT block 2 + 2 + 200 + 3 x 203 = 813, three angle slots 6, metadata 20008,
# six channel records of 24 + 240 + 12 and mask 4, tables 2, histograms 2: 284 each. A line has 32 + 16
# bytes of scan data, then 4 x (1 + 1 + 2).
HEADER = 1221 + 2040 + 813 + 6 + 20008 + 6 * 284
LINE = 48 + 16

SMALL = """a.zel
  Scene        test scene
  Time         2020-02-29T12:00:00.000Z to 2020-02-29T12:00:02.000Z, day 60
  Sensor       LANDSAT TM, satellite 9, altitude 700 km
  Grid         4 x 3 pixels of 30 m
  Place        48.0000 N to 50.0000 N, 10.0000 E to 13.0000 E; centre 49.0000 N 11.0000 E
  Navigation   2 points a line, from pixel 0, every 3
  Format       version 2.30, 6 slots, header %d, line %d, file %d bytes

Channels
  slot  label   um  units                 stored as    range   notes
    #0  B1     0.5  Reflectance           scaled byte  0 .. 1  first
    #2  CLS         None (Look up Table)  byte                 LUT Cover
    #5  RAW         None                  16-bit

LUT 4: Cover, 3 entries
  0  #0a141e  sea
  1  #00ff00  grass
  2  #ff0000  fire
""" % (HEADER, LINE, HEADER + 3 * LINE)


class Text(ZelTest):
    def test_a_scene(self):
        self.put("a.zel", small_scene())
        self.check("info a.zel", SMALL)

    def test_two_scenes_are_apart(self):
        self.put("a.zel", small_scene())
        self.check("info a.zel a.zel", SMALL + "\n" + SMALL)

    def test_statistics_are_those_of_the_pixels(self):
        # B1 in fifths: 0 1 2 3 4 5 0 1 2 3 4 5: mean 0.5, sum of squares 12 x (55/6)/25 = 4.4,
        # less 12 x 0.25: 1.4; over 11: 0.127272..., its root 0.35675...
        self.put("a.zel", small_scene())
        b1 = self.json("info", "--stats", "--json", "a.zel", schema="info")["channels"][0]["stats"]
        self.assertEqual((b1["pixels"], b1["valid"], b1["min"], b1["max"]), (12, 12, 0.0, 1.0))
        self.assertAlmostEqual(b1["mean"], 0.5, 7)
        self.assertAlmostEqual(b1["sigma"], (1.4 / 11) ** 0.5, 7)

    def test_statistics_of_a_channel_without_values(self):
        f = small_scene()
        f.channels[1] = Channel(type=4, label=b"F", rows=[[float("nan"), 3.4028234663852886e38] * 2] * 3)
        self.put("a.zel", f)
        stats = self.json("info", "--stats", "--json", "a.zel", schema="info")["channels"][1]["stats"]
        self.assertEqual(stats, {"pixels": 12, "valid": 0, "min": None, "max": None, "mean": None, "sigma": None})
        self.assertRegex(self.run_zel("info", "--stats", "a.zel")[1], r"#1  F .* -  +-  +-  +-\n")

    def test_statistics_of_the_channels_of_a_container(self):
        base = small_scene(pixels=2, resolution=60.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        self.put("c.zel", container([(base.bytes(), 60.0), (small_scene().bytes(), 30.0)]))
        stats = [c["stats"] for c in self.json("info", "--stats", "--json", "c.zel", schema="info")["channels"]]
        self.assertEqual([(s["pixels"], s["min"], s["max"]) for s in stats],
                         [(2, 7.0, 8.0), (12, 0.0, 1.0), (12, 0.0, 9.0), (12, 1000.0, 4000.0)])

    def test_statistics_of_a_scene_of_one_line(self):
        f = small_scene()
        f.lines = f.lines[:1]
        self.put("a.zel", f)
        raw = self.json("info", "--stats", "--json", "a.zel", schema="info")["channels"][2]["stats"]
        self.assertEqual((raw["min"], raw["max"], raw["mean"]), (1000.0, 4000.0, 2500.0))

    def test_one_line_has_one_time(self):
        f = small_scene()
        f.lines = f.lines[:1]
        self.put("a.zel", f)
        self.assertIn("  Time         2020-02-29T12:00:00.000Z, day 60\n", self.run_zel("info", "a.zel")[1])

    def test_unused_entries_of_a_lut_appear_when_all_is_asked_for(self):
        f = small_scene()
        f.luts = [Lut(4, b"Cover", [(0, 0, 0, b"None"), (0, 0, 0, b"night"), (1, 0, 0, b"None")])]
        self.put("a.zel", f)
        short = "LUT 4: Cover, 3 entries\n  1  #000000  night\n  2  #010000  None\n"
        self.assertIn(short, self.run_zel("info", "a.zel")[1])
        self.assertIn("LUT 4: Cover, 3 entries\n  0  #000000  None\n  1  #000000  night\n",
                      self.run_zel("info", "-a", "a.zel")[1])

    def test_the_metadata_text_appears_when_all_is_asked_for(self):
        self.put("a.zel", rich_scene())
        short = self.run_zel("info", "a.zel")[1]
        self.assertTrue(short.endswith("\nTable 1: curve, 3 values\n\nMetadata: type 1, 17 bytes\n"))
        self.assertEqual(self.run_zel("info", "--all", "a.zel")[1], short + "  line one\n  line two\n")
        self.assertIn("first; histogram of 12 pixels\n", short)
        self.assertIn("  1 tables\n", short)

    def test_bytes_after_the_last_line_are_mentioned(self):
        self.put("a.zel", small_scene().bytes() + b"12345")
        self.assertIn("               5 bytes after the last whole line\n", self.run_zel("info", "a.zel")[1])

    def test_texts_of_a_file_do_not_reach_the_terminal_as_they_are(self):
        f = small_scene(comment=b"\x1b[2Jclear \xb5m")
        f.channels[0].label = b"B\x07"
        self.put("a.zel", f)
        out = self.run_zel("info", "a.zel")[1]
        self.assertIn("  Scene        \\x1b[2Jclear \u00b5m\n", out)
        self.assertIn("B\\x07", out)
        self.assertNotIn("\x1b", out)


class AsJson(ZelTest):
    def test_everything_of_a_rich_header(self):
        self.put("a.zel", rich_scene())
        info = self.json("info", "--json", "a.zel", schema="info")
        self.assertEqual(info["scene"], {
            "comment": "test scene", "sensor": "LANDSAT TM", "sensor_code": 5, "satellite": 9,
            "date": "2020-02-29", "year": 2020, "day_of_year": 60, "altitude_km": 700.0})
        self.assertEqual(info["channels"][0], {
            "slot": 0, "number": 1, "label": "B1", "comment": "first", "units": "Reflectance",
            "units_code": 3, "wavelength_um": 0.5, "storage": "scaled byte", "storage_code": 1,
            "bytes": 1, "bits": 8, "min": 0.0, "max": 1.0, "base": True, "component": 0, "lut": None,
            "histogram": {"bins": 6, "min": 0.0, "max": 1.0, "pixels": 12.0, "mean": 0.5,
                          "sigma": info["channels"][0]["histogram"]["sigma"]},
            "standard_histogram": None, "mask": None, "tables": []})
        self.assertAlmostEqual(info["channels"][0]["histogram"]["sigma"], (1.4 / 11) ** 0.5, 6)
        self.assertEqual([c["slot"] for c in info["channels"]], [0, 2, 5])
        self.assertEqual(info["channels"][1]["lut"], "Cover")
        self.assertEqual(info["channels"][2]["tables"], [{"key": 7, "label": "own", "values": 1}])
        self.assertEqual(info["luts"][0]["entries"][1], {"value": 1, "rgb": [0, 255, 0], "label": "grass"})
        self.assertEqual(info["metadata"], {"type": 1, "bytes": 17, "text": "line one\nline two"})
        self.assertEqual(info["extra_bytes"], 0)

    def test_the_outline_runs_counterclockwise_and_is_closed(self):
        self.put("a.zel", small_scene())
        f = self.json("info", "--json", "a.zel", schema="info")["navigation"]["footprint"]
        self.assertEqual(f["bbox"], [10.0, 48.0, 13.0, 50.0])
        self.assertEqual(f["center"], [11.0, 49.0])
        ring = f["outline"]["coordinates"][0]
        self.assertEqual(ring[0], ring[-1])
        for corner in ([10.0, 50.0], [13.0, 50.0], [13.0, 48.0], [10.0, 48.0]):
            self.assertIn(corner, ring)
        area = sum(a[0] * b[1] - b[0] * a[1] for a, b in zip(ring, ring[1:])) / 2
        self.assertAlmostEqual(area, 3.0 * 2.0)

    def test_a_scene_across_the_date_line(self):
        f = small_scene()
        for line in f.lines:
            line.lon = [178.5, -178.5]
        self.put("a.zel", f)
        bbox = self.json("info", "--json", "a.zel", schema="info")["navigation"]["footprint"]["bbox"]
        self.assertEqual(bbox, [178.5, 48.0, -178.5, 50.0])

    def test_without_navigation_time_and_date(self):
        f = small_scene(nav_points=0, julian=0)
        for line in f.lines:
            line.time, line.lat, line.lon = 0.0, [], []
        self.put("a.zel", f)
        info = self.json("info", "--json", "a.zel", schema="info")
        self.assertEqual((info["start"], info["end"], info["scene"]["date"]), (None, None, None))
        self.assertIsNone(info["navigation"]["footprint"])

    def test_a_time_beyond_midnight_is_of_the_next_day(self):
        f = small_scene(year=2019, julian=365)
        f.lines[2].time = 24.5
        f.lines[0].time = -0.5
        self.put("a.zel", f)
        info = self.json("info", "--json", "a.zel", schema="info")
        self.assertEqual((info["start"], info["end"]),
                         ("2019-12-30T23:30:00.000Z", "2020-01-01T00:30:00.000Z"))

    def test_day_366_of_a_common_year_is_no_date(self):
        self.put("a.zel", small_scene(year=2019, julian=366))
        self.assertIsNone(self.json("info", "--json", "a.zel")["scene"]["date"])

    def test_numbers_that_are_none_are_null(self):
        self.put("a.zel", small_scene(altitude=float("nan"), resolution=float("inf")))
        info = self.json("info", "--json", "a.zel", schema="info")
        self.assertEqual((info["scene"]["altitude_km"], info["resolution_m"]), (None, None))

    def test_several_files_are_a_list(self):
        self.put("a.zel", small_scene())
        status, out, err = self.run_zel("info", "--json", "a.zel", "none")
        self.assertEqual(status, 1)
        self.assertEqual([f["file"] for f in json.loads(out)], ["a.zel"])

    def test_a_container(self):
        fine = small_scene()
        coarse = small_scene(pixels=2, resolution=60.0, nav_interval=1)
        coarse.channels = {0: fine.channels[0]}
        coarse.channels[0] = type(fine.channels[0])(type=3, label=b"T", rows=[[1, 2]])
        coarse.lines = coarse.lines[:1]
        self.put("c.zel", container([(fine.bytes(), 30.0), (coarse.bytes(), 60.0)]))
        info = self.json("info", "--json", "c.zel", schema="info")
        self.assertEqual(info["kind"], "container")
        self.assertEqual([(c["pixels"], c["lines"], c["sampling"], c["factor"], c["base"])
                          for c in info["components"]],
                         [(4, 3, "same", 0, True), (2, 1, "replicate", 2, False)])
        self.assertEqual([(c["slot"], c["component"], c["label"]) for c in info["channels"]],
                         [(0, 0, "B1"), (1, 0, "CLS"), (2, 0, "RAW"), (3, 1, "T")])
        text = self.run_zel("info", "c.zel")[1]
        self.assertIn("  Format       container of 2 files, %d bytes\n"
                      % len(self.got("c.zel")), text)
        self.assertIn("  part  pixels  lines  metres  onto the base grid  first line"
                      "                channels\n", text)
        self.assertIn("     1       2      1      60  replicate 2         2020-02-29T12:00:00.000Z  T\n",
                      text)


class Get(ZelTest):
    def setUp(self):
        super().setUp()
        f = rich_scene()
        f.channels[2].label = b"cover.v2"
        self.put("a.zel", f)

    def test_values(self):
        for key, value in (("channels.B1.units", "Reflectance"), ("channels.2.label", "RAW"),
                           ("scene.date", "2020-02-29"), ("luts.Cover.entries.2.rgb", "[255,0,0]"),
                           ("channels.cover.v2.slot", "2"), ("channels.B1.base", "true"),
                           ("channels.RAW.histogram", "null"),
                           ("channels.#5.label", "RAW"), ("channels.Ch3.label", "cover.v2"),
                           ("channels.ch6.label", "RAW"), ("metadata.text", "line one\nline two")):
            self.check(["info", "--get", key, "a.zel"], value + "\n")

    def test_a_key_that_is_not_there_lists_those_that_are(self):
        self.fails("info --get channels.B7.units a.zel", "zel info: a.zel: no 'B7' in "
                   "'channels.B7.units': there are B1, cover.v2, RAW")
        for place in ("-1", "3"):
            self.fails("info --get channels.%s a.zel" % place, "zel info: a.zel: no '%s' in 'channels.%s': "
                       "there are B1, cover.v2, RAW" % (place, place))
        self.fails("info --get channels.B1.units.x a.zel", "zel info: a.zel: no 'x' in "
                   "'channels.B1.units.x': it has no parts")

    def test_the_longest_name_that_fits_is_taken(self):
        f = rich_scene()
        f.channels[2].label, f.channels[5].label = b"cover", b"cover.v2"
        self.put("b.zel", f)
        self.check("info --get channels.cover.v2.slot b.zel", "5\n")
        self.check("info --get channels.cover.slot b.zel", "2\n")

    def test_a_label_of_two_channels_is_ambiguous(self):
        f = rich_scene()
        f.channels[5].label = b"B1"
        self.put("b.zel", f)
        self.fails("info --get channels.B1.units b.zel",
                   "zel info: b.zel: 'B1' is ambiguous: #0, #5")
        self.check("info --get channels.#5.storage b.zel", "16-bit\n")


@needs_scenes
class RealScenes(ZelTest):
    def test_headers_agree_with_the_descriptions_of_the_data(self):
        for name, group, grid in (("landsat8_gulf_30m", "landsat8_gulf", "30m"),
                                  ("goes16_maria_2km", "goes16_maria", "2km"),
                                  ("sentinel2_ireland_60m", "sentinel2_ireland", "60m")):
            described = json.loads((TEST_DATA / "data" / group / "scene.json").read_text())
            grid = next(r for r in described["resolutions"] if r["id"] == grid)
            info = self.json("info", "--json", SCENES / (name + ".zel"), schema="info")
            self.assertEqual(info["scene"]["date"], described["date"]["iso"])
            self.assertEqual((info["pixels"], info["lines"]), (grid["width"], grid["height"]))
            bbox = info["navigation"]["footprint"]["bbox"]
            low, high = grid["nav"]["lat_range"]
            self.assertLess(abs(bbox[1] - low) + abs(bbox[3] - high), 0.02, name)

    def test_old_layouts_and_the_other_byte_order_say_the_same(self):
        new, old, other = (self.json("info", "--json", SCENES / ("goes16_maria_4km%s.zel" % s),
                                     schema="info") for s in ("", "_v1.41", "_v1.32_big_endian"))
        for info in (old, other):
            self.assertEqual(info["navigation"]["footprint"], new["navigation"]["footprint"])
            self.assertEqual([(c["label"], c["units"], c["min"], c["max"]) for c in info["channels"]],
                             [(c["label"], c["units"], c["min"], c["max"]) for c in new["channels"]])
        self.assertEqual((old["version"], other["version"]), ("1.41", "1.32"))

    def test_statistics_of_a_real_channel(self):
        raw = (TEST_DATA / "data" / "landsat8_gulf" / "BQA_30m.bin").read_bytes()
        values = struct.unpack("<%dH" % (len(raw) // 2), raw)
        bqa = self.json("info", "--json", "--stats", SCENES / "landsat8_gulf_30m.zel")["channels"][10]
        self.assertEqual((bqa["stats"]["min"], bqa["stats"]["max"]), (min(values), max(values)))
        self.assertAlmostEqual(bqa["stats"]["mean"], sum(values) / len(values), 6)

    def test_a_container_of_real_scenes(self):
        make_container(self.dir, [SCENES / "landsat8_gulf_90m.zel", SCENES / "landsat8_gulf_15m.zel"],
                       "c.zel")
        info = self.json("info", "--json", "c.zel", schema="info")
        self.assertEqual([(c["sampling"], c["factor"]) for c in info["components"]],
                         [("same", 0), ("average", 6)])


if __name__ == "__main__":
    main()
