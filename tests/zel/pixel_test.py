#!/usr/bin/env python3
"""zel pixel: numbers, values, classes, position and angles of one pixel; places by number and position."""
import math
import struct
import unittest

from zel_case import SCENES, TEST_DATA, ZelTest, main, needs_scenes
from scene import small_scene
from zelfile import Channel, container


class Place(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    # Angles: sun and satellite are worked out in the tests of the library; here only the two decimals.
    def test_text(self):
        status, out, err = self.run_zel("pixel", "a.zel", "2", "1")
        self.assertEqual((status, err), (0, ""))
        lines = out.splitlines()
        self.assertEqual(lines[:3], ["a.zel: pixel 2 of line 1",
                                     "  Position  latitude 49.00000, longitude 12.00000",
                                     "  Time      2020-02-29T12:00:01.000Z"])
        self.assertRegex(lines[3], r"^  Angles    solar zenith \d+\.\d\d, view zenith \d+\.\d\d, "
                                   r"relative azimuth \d+\.\d\d$")
        self.assertEqual(lines[4:], ["",
                                     "  slot  label  stored  value  units                 class",
                                     "    #0  B1          0      0  Reflectance",
                                     "    #2  CLS         1      1  None (Look up Table)  grass",
                                     "    #5  RAW      3000   3000  None"])

    def test_every_pixel(self):
        f = small_scene()
        for y in range(3):
            for x in range(4):
                p = self.json("pixel", "a.zel", x, y, "--json", schema="pixel")
                self.assertEqual([c["stored"] for c in p["channels"]],
                                 [f.channels[s].rows[y][x] for s in (0, 2, 5)])
                self.assertAlmostEqual(p["channels"][0]["value"], f.channels[0].rows[y][x] / 255, 6)
                self.assertEqual(p["position"], {"lat": 50.0 - y, "lon": 10.0 + x})

    def test_a_class_beyond_the_lut_has_no_name(self):
        p = self.json("pixel", "a.zel", 3, 2, "--json", "-c", "CLS", schema="pixel")
        self.assertEqual((p["channels"][0]["stored"], p["channels"][0]["class"]), (9, None))

    def test_a_place_outside(self):
        message = "zel pixel: a.zel: no pixel %s: pixels are 0 to 3, lines 0 to 2"
        self.fails("pixel a.zel 4 0", message % "4, 0")
        self.fails("pixel a.zel 0 3", message % "0, 3")
        self.fails("pixel a.zel -1 0", message % "-1, 0")

    def test_a_scene_without_lines(self):
        f = small_scene()
        f.lines = []
        self.put("e.zel", f)
        self.fails("pixel e.zel 0 0", "zel pixel: e.zel: has no lines")

    def test_wrong_places(self):
        for words, message in (("1", "give X and Y, or --at"), ("", "give X and Y, or --at"),
                               ("1 2 --at 50 10", "give X and Y or --at, not both"),
                               ("1 --at 50 10", "give X and Y or --at, not both"),
                               ("x 1", "X is not a whole number: 'x'"),
                               ("1 1.5", "Y is not a whole number: '1.5'"),
                               ("--at 91 0", "--at takes a latitude of -90 to 90 and a longitude of "
                                "-180 to 180")):
            self.fails("pixel a.zel " + words, "zel pixel: %s; see zel pixel --help" % message, 2)

    def test_channels_by_label_number_and_slot(self):
        def slots(names):
            return [c["slot"] for c in self.json("pixel", "a.zel", 0, 0, "--json", "-c", names)["channels"]]
        self.assertEqual(slots("RAW,Ch3,#0"), [5, 2, 0])
        self.assertEqual(slots("cls"), [2])
        self.assertEqual(slots("ch6"), [5])

    def test_a_channel_that_is_not_there(self):
        for name in ("B9", "Ch2", "#1", "#1000", "Ch0", "#-1", ""):
            self.fails(["pixel", "a.zel", "0", "0", "-c", name or ","],
                       "zel pixel: a.zel: no channel '%s'; there are #0 B1, #2 CLS, #5 RAW" % name)

    def test_an_ambiguous_channel_lists_the_candidates(self):
        f = small_scene()
        f.channels[2].label = b"B1"
        f.channels[5].label = b"Ch1"
        self.put("b.zel", f)
        self.fails("pixel b.zel 0 0 -c B1", "zel pixel: b.zel: channel 'B1' is ambiguous: #0 B1, #2 B1")
        self.fails("pixel b.zel 0 0 -c Ch1", "zel pixel: b.zel: channel 'Ch1' is ambiguous: #5 Ch1, #0 B1")


class At(ZelTest):
    def nearest(self, lat, lon, f=None):
        self.put("a.zel", f or small_scene())
        p = self.json("pixel", "a.zel", "--at", lat, lon, "--json", schema="pixel")
        return p["x"], p["y"], p["distance_m"]

    def test_the_nearest_pixel(self):
        self.assertEqual(self.nearest(49.1, 11.9)[:2], (2, 1))
        self.assertEqual(self.nearest(50.4, 9.6)[:2], (0, 0))

    def test_the_position_may_stand_before_the_file(self):
        self.put("a.zel", small_scene())
        after = self.run_zel("pixel", "a.zel", "--at", 49.1, 11.9, "-c", "B1")
        self.assertEqual(after[0], 0)
        for words in (("--at", 49.1, 11.9, "a.zel", "-c", "B1"), ("-c", "B1", "--at", 49.1, 11.9, "a.zel")):
            self.assertEqual(self.run_zel("pixel", *words), after)
        status, out, err = self.run_zel("pixel", "--at", 49.1, "a.zel")
        self.assertEqual((status, out), (2, ""))

    def test_the_distance_is_along_a_sphere_of_the_mean_radius(self):
        self.assertAlmostEqual(self.nearest(49.25, 11.0)[2], math.radians(0.25) * 6371030.0, 0)

    def test_the_values_of_a_scene_of_one_line(self):
        f = small_scene()
        f.lines = f.lines[:1]
        self.put("one.zel", f)
        found = self.json("pixel", "one.zel", "--at", "50", "12", "--json", schema="pixel")
        self.assertEqual(([found["x"], found["y"]], [c["value"] for c in found["channels"]]),
                         ([2, 0], [0.4, 2.0, 3000.0]))

    def test_across_the_date_line(self):
        f = small_scene()
        for line in f.lines:
            line.lon = [178.5, -178.5]
        self.assertEqual(self.nearest(49.0, -179.5, f)[:2], (2, 1))
        self.assertEqual(self.nearest(49.0, 179.6, f)[:2], (1, 1))

    def test_south_and_west(self):
        f = small_scene()
        for n, line in enumerate(f.lines):
            line.lat, line.lon = [-30.0 - n] * 2, [-60.0, -57.0]
        self.assertEqual(self.nearest(-31.2, -58.9, f)[:2], (1, 1))

    def test_a_position_outside(self):
        self.put("a.zel", small_scene())
        self.fails("pixel a.zel --at 60 10", "zel pixel: a.zel: the position is outside: the nearest "
                   "pixel, 0, 0, is %.1f km away" % (math.radians(10) * 6371.03))

    def test_a_position_may_lie_outside_by_the_larger_distance_of_two_pixels(self):
        # Lines are 111 km apart, pixels at most 72 km.
        self.assertEqual(self.nearest(50.9, 10.0)[:2], (0, 0))
        self.assertEqual(self.run_zel("pixel", "a.zel", "--at", "51.1", "10")[0], 1)

    def test_a_position_that_is_none(self):
        self.put("a.zel", small_scene())
        for lat, lon in ((50, 180.5), (50, -181), (90.5, 10), (-91, 10), (50, "nan")):
            self.fails(["pixel", "a.zel", "--at", lat, lon], "zel pixel: --at takes a latitude of -90 to 90 and a "
                       "longitude of -180 to 180; see zel pixel --help", 2)

    def test_without_navigation(self):
        f = small_scene(nav_points=0)
        for line in f.lines:
            line.lat, line.lon = [], []
        self.put("a.zel", f)
        self.fails("pixel a.zel --at 60 10", "zel pixel: a.zel: has no navigation")
        p = self.json("pixel", "a.zel", 0, 0, "--json", schema="pixel")
        self.assertEqual((p["position"], p["angles"]), (None, None))

    def test_positions_that_are_no_numbers_are_left_out(self):
        f = small_scene()
        f.lines[1].lat = [float("nan")] * 2
        self.assertEqual(self.nearest(49.6, 11.9, f)[:2], (2, 0))


class Containers(ZelTest):
    def setUp(self):
        super().setUp()
        fine = small_scene(resolution=15.0)
        base = small_scene(pixels=2, resolution=30.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        self.put("c.zel", container([(base.bytes(), 30.0), (fine.bytes(), 15.0)]))

    def test_the_grid_of_the_base_part_is_meant(self):
        p = self.json("pixel", "c.zel", 1, 0, "--json", schema="pixel")
        self.assertEqual([(c["label"], c["averaged"]) for c in p["channels"]],
                         [("T", False), ("B1", True), ("CLS", True), ("RAW", True)])
        self.assertEqual(p["channels"][0]["stored"], 8)
        self.assertAlmostEqual(p["channels"][1]["value"], (102 + 153 + 0 + 51) / 4 / 255, 6)

    def test_a_mean_of_classes_has_no_name(self):
        p = self.json("pixel", "c.zel", 1, 0, "--json", schema="pixel")
        self.assertEqual((p["channels"][2]["stored"], p["channels"][2]["class"]), (1, None))

    def test_a_part_on_its_own_grid(self):
        p = self.json("pixel", "c.zel", 3, 1, "--part", "1", "--json", schema="pixel")
        self.assertEqual([(c["stored"], c["averaged"], c["class"]) for c in p["channels"]],
                         [(51, False, None), (0, False, "sea"), (4000, False, None)])
        self.fails("pixel c.zel 0 0 --part 2", "zel pixel: c.zel: no part 2; there are 0 to 1")


@needs_scenes
class RealScenes(ZelTest):
    def value(self, group, name, code, width, x, y):
        data = (TEST_DATA / "data" / group / name).read_bytes()
        size = struct.calcsize(code)
        return struct.unpack_from("<" + code, data, (y * width + x) * size)[0]

    def test_numbers_are_those_of_the_data(self):
        for x, y in ((0, 0), (100, 200), (599, 599)):
            p = self.json("pixel", SCENES / "landsat8_gulf_30m.zel", x, y, "--json", schema="pixel")
            for c in p["channels"]:
                self.assertEqual(c["stored"], self.value("landsat8_gulf", c["label"] + "_30m.bin", "H",
                                                         600, x, y))

    def test_a_navigation_point_is_found_by_its_own_position(self):
        for point, y in ((0, 0), (33, 501), (59, 599)):
            lat = self.value("landsat8_gulf", "nav_30m_lat.bin", "f", 60, point, y)
            lon = self.value("landsat8_gulf", "nav_30m_lon.bin", "f", 60, point, y)
            p = self.json("pixel", SCENES / "landsat8_gulf_30m.zel", "--at", lat, lon, "--json")
            # Positions are added up along a line in single precision: a neighbour may be nearer.
            self.assertLessEqual(max(abs(p["x"] - 10 * point), abs(p["y"] - y)), 1)
            self.assertLess(p["distance_m"], 22.0)

    def test_the_three_layouts_of_a_scene_agree(self):
        new, old, other = (self.json("pixel", SCENES / ("goes16_maria_4km%s.zel" % s), 77, 123, "--json")
                           for s in ("", "_v1.41", "_v1.32_big_endian"))
        self.assertEqual(new["channels"], old["channels"])
        self.assertEqual(new["channels"], other["channels"])
        self.assertEqual(new["position"], other["position"])


if __name__ == "__main__":
    main()
