#!/usr/bin/env python3
"""zel scenes: where a doubt begins and ends, and the bounds of the rules of --where."""
import re

import scenes_test
from scenes_test import scene_at
from zel_case import ROOT, main
from zelfile import container

NAN = float("nan")
SEE = "; see zel scenes --help"


class Case(scenes_test.Case):
    def put_scenes(self, **scenes):
        """Files by name, each a scene or its (hours, header)."""
        for name, made in scenes.items():
            self.put(name + ".zel", scene_at(made[0], **made[1]) if isinstance(made, tuple) else made)

    def of_kind(self, kind, *args):
        return [[text for k, text in doubts if k == kind] for doubts in self.doubts(*(args or ["."]))]


class Near(Case):
    def test_a_scene_between_two_others(self):
        self.put_scenes(a=(12.05, {}), b=(12.149, {}), c=(12.248, {}))   # 356.4 s apart
        first, second, third = ("landsat-tm-9-2020060-12.%dh" % i for i in (0, 1, 2))
        self.assertEqual(self.of_kind("near"), [
            [second + " begins soon after"], ["begins soon after " + first, third + " begins soon after"],
            ["begins soon after " + second]])

    def test_a_tenth_of_an_hour_to_the_millisecond(self):
        self.put_scenes(a=(12.05, {}), b=(12.15, {}))
        self.assertEqual(self.of_kind("near"), [[], []])
        self.put_scenes(b=(12.15 - 2e-6, {}))
        self.assertEqual([len(x) for x in self.of_kind("near")], [1, 1])

    def test_from_the_last_file_of_a_scene_to_the_first_of_the_next(self):
        self.put_scenes(a=(12.01, {}), b=(12.09, {"resolution": 60.0}), c=(12.18, {}), d=(12.195, {"resolution": 60.0}))
        self.assertEqual([len(x) for x in self.of_kind("near")], [1, 1])   # b and c: 324 s
        self.put_scenes(b=(12.02, {"resolution": 60.0}))
        self.assertEqual(self.of_kind("near"), [[], []])   # 576 s

    def test_over_midnight(self):
        self.put_scenes(a=(23.99, {"julian": 60}), b=(0.05, {"julian": 61}))
        self.assertEqual([len(x) for x in self.of_kind("near")], [1, 1])

    def test_only_scenes_of_the_same_sensor_and_satellite_with_a_time(self):
        for header in ({"satellite": 8}, {"data_type": 7}):
            self.put_scenes(a=(12.05, {}), b=(12.149, header))
            self.assertEqual(self.of_kind("near"), [[], []])
        self.put_scenes(a=(12.05, {}), b=(NAN, {}))
        self.assertEqual(self.of_kind("near"), [[], []])


class Times(Case):
    def test_the_days_of_one_year(self):
        self.put_scenes(a=(23.9999, {"julian": 60}), b=(0.0001, {"julian": 61, "resolution": 60.0}))
        self.assertEqual([d for d in self.doubts(".")[0] if d[0] in ("days", "times")],
                         [("days", "the files are of the days 2020/060 and 2020/061")])

    def test_every_file_without_a_time_is_named(self):
        self.put_scenes(a=(NAN, {}), b=(NAN, {"resolution": 60.0}))
        self.assertEqual(self.of_kind("time"), [["./a.zel: no time of the first line",
                                                 "./b.zel: no time of the first line"]])
        self.assertEqual(self.of_kind("times"), [[]])


class Sizes(Case):
    def test_what_is_there_more_than_once_by_resolution(self):
        self.put_scenes(a=(12.0, {}), b=(12.0, {"resolution": 60.0}), c=(12.0, {}), d=(12.0, {"resolution": 60.0}),
                        e=(12.0, {}), f=(12.0, {"resolution": 15.5}))
        self.assertEqual(self.of_kind("duplicate"), [["30 m more than once: ./a.zel, ./c.zel, ./e.zel",
                                                      "60 m more than once: ./b.zel, ./d.zel"]])

    def test_parts_of_a_container(self):
        part = scene_at(12.0).bytes()
        self.put("c.zel", container([(part, 30.0), (part, 30.0)]))
        self.assertEqual(self.of_kind("duplicate"), [["30 m more than once: ./c.zel part 0, ./c.zel part 1"]])

    def test_the_shortest_of_several_is_named(self):
        def cut(size, lines):
            f = scene_at(12.0, resolution=size)
            del f.lines[lines:]
            return f
        self.put_scenes(a=cut(200.0, 2), b=cut(100.0, 1), c=cut(120.0, 3))   # 400, 100, 360 m
        self.assertEqual(self.of_kind("length"), [["./b.zel: 100 m of lines, where another has 400 m"]])
        self.put_scenes(a=cut(200.0, 1), b=cut(200.0, 3), c=cut(50.0, 3))    # 200, 600, 150 m
        self.assertEqual(self.of_kind("length"), [["./c.zel: 150 m of lines, where another has 600 m"]])

    def test_the_first_of_two_that_are_as_short_is_named(self):
        self.put_scenes(a=(12.0, {"resolution": 200.0}), b=(12.0, {"resolution": 50.0}), c=(12.0, {"resolution": 50.0}))
        self.assertEqual(self.of_kind("length"), [["./b.zel: 150 m of lines, where another has 600 m"]])

    def test_no_more_than_a_pixel_of_the_coarsest(self):
        f = scene_at(12.0, resolution=90.0)
        del f.lines[1:]
        self.put_scenes(a=f, b=scene_at(12.0, resolution=60.0))              # 90 and 180 m
        self.assertEqual(self.of_kind("length"), [[]])
        self.put_scenes(b=scene_at(12.0, resolution=60.5))                   # 90 and 181.5 m
        self.assertEqual(self.of_kind("length"), [["./a.zel: 90 m of lines, where another has 181.5 m"]])


class Parts(Case):
    def parts(self, hours, base=0, **header):
        """What is said of a container of a scene at 12.0 h and one with that time and header."""
        other = scene_at(hours, resolution=60.0, **header).bytes()
        self.put("c.zel", container([(scene_at(12.0).bytes(), 30.0), (other, 60.0)], base))
        return self.of_kind("parts", "c.zel")[0]

    def test_what_parts_a_part_from_its_base(self):
        said = ["c.zel part 1: not of the scene of part 0"]
        self.assertEqual(self.parts(12.05), [])
        self.assertEqual(self.parts(12.15), said)
        self.assertEqual(self.parts(12.0, satellite=8), said)
        self.assertEqual(self.parts(12.0, data_type=7), said)
        self.assertEqual(self.parts(12.0, julian=61), said)
        self.assertEqual(self.parts(NAN), said)

    def test_the_base_part_counts(self):
        self.assertEqual(self.parts(12.15, base=1), ["c.zel part 0: not of the scene of part 1"])

    def test_a_part_without_a_place(self):
        other = scene_at(12.0, resolution=60.0)
        other.lines[0].lat = [99.0, 48.0]
        self.put("c.zel", container([(scene_at(12.0).bytes(), 30.0), (other.bytes(), 60.0)]))
        self.assertEqual(self.of_kind("place", "c.zel"), [["c.zel part 1: no navigation, or invalid"]])


class Rules(Case):
    def count(self, *rules):
        return len(self.lines(".", *(w for rule in rules for w in ("--where", rule))))

    def refuses(self, rule, message):
        self.fails(["scenes", "--where", rule, "."], "zel scenes: --where: " + message + SEE, 2)

    def test_a_scene_across_midnight_is_of_both_days(self):
        self.put_scenes(a=(23.9999, {"julian": 366}), b=(0.0001, {"julian": 1, "year": 2021, "resolution": 60.0}))
        for rule, count in (("2020-12-31", 1), ("2021-01-01", 1), ("2020-12-30", 0), ("2021-01-02", 0),
                            ("2021-01-01..", 1), ("2021-01-02..", 0), ("..2020-12-31", 1), ("..2020-12-30", 0),
                            ("..", 1), ("2020-12-31..2020-12-31", 1)):
            self.assertEqual(self.count("date=" + rule), count, rule)
        self.assertEqual(self.count("date=2020-12-31", "date=2021-01-01"), 1)

    def test_a_day_that_does_not_exist_is_in_no_range(self):
        self.put_scenes(a=(12.0, {"julian": 400}))
        self.assertEqual((self.count(), self.count("date=..")), (1, 0))

    def test_dates(self):
        for text in ("2021-13-01", "2021-00-10", "2021-01-00", "2021-04-31", "20210401", "2021-04-3x", "202-104-01",
                     "x021-04-01", "2021-x4-01", "2021-04-010"):
            self.refuses("date=" + text, "'%s' is not a date such as 2024-05-31" % text)
            self.refuses("date=2021-01-01.." + text, "'%s' is not a date such as 2024-05-31" % text)
            self.refuses("date=%s.." % text, "'%s' is not a date such as 2024-05-31" % text)
        self.assertEqual(self.count("date=2020-02-29..2024-02-29"), 0)

    def test_numbers_of_satellites_and_sensors(self):
        self.put_scenes(a=(12.0, {"satellite": 32767, "data_type": 32767}),
                        b=(12.0, {"satellite": -32768, "data_type": -32768}))
        for number in ("32767", "-32768"):
            self.assertEqual((self.count("satellite=" + number), self.count("sensor=" + number)), (1, 1))
        self.assertEqual(self.count("satellite=32767", "satellite=-32768"), 0)
        document = (ROOT / "docs" / "format.md").read_text()
        table = re.findall(r"^\| (\d+) \| `ZEL_SENSOR_(?!UNSUPPORTED)\w+` \| ([^|]+) \|$", document, re.MULTILINE)
        names = [name for _, name in sorted(table, key=lambda row: int(row[0]))]
        self.assertEqual(len(names), 13)
        for wrong in ("32768", "-32769", "1.5", ""):
            self.refuses("satellite=" + wrong, "'%s' is not the number of a satellite" % wrong)
            self.refuses("sensor=" + wrong, "unknown sensor '%s'; there are %s" % (wrong, ", ".join(names)))
        for code, name in enumerate(names):
            self.put_scenes(a=(12.0, {"data_type": code}), b=(12.0, {"data_type": 13}))
            for text in (name, name.upper(), name.lower(), str(code)):
                self.assertEqual(self.count("sensor=" + text), 1, text)

    def test_boxes(self):
        self.put_scenes(a=scene_at(12.0, 10.0))   # 10 E to 13 E, 48 N to 50 N
        for box, count in (("-180,-90,180,90", 1), ("180,-90,-180,90", 0), ("10,50,10,50", 1), ("13,48,13,48", 1),
                           ("10,50.1,10,50.1", 0), ("12,0,9,90", 1), ("13.1,0,9.9,90", 0), ("11,48.5,12,49", 1)):
            self.assertEqual(self.count("bbox=" + box), count, box)
        self.assertEqual(self.count("bbox=10,48,11,49", "bbox=12,48,13,49"), 1)
        self.assertEqual(self.count("bbox=10,48,11,49", "bbox=14,48,15,49"), 0)
        for box in ("-180.1,0,0,1", "180.1,0,0,1", "0,0,-180.1,1", "0,0,180.1,1", "0,-90.1,1,1", "0,0,1,90.1",
                    "0,1,1,0.9", "1,2,3,4,5", "1,2,3,", "1,2,3,x", "0,nan,1,1", "0,0,1,nan", "0,0,nan,1"):
            self.refuses("bbox=" + box, "'%s' is not a box WEST,SOUTH,EAST,NORTH in degrees" % box)

    def test_a_rule_of_each_kind_has_its_key(self):
        for rule, key in (("Date=2020-01-01", "Date"), ("=1", ""), ("box=1,2,3,4", "box")):
            self.refuses(rule, "unknown key '%s'; there are date, sensor, satellite, bbox" % key)
        self.refuses("", "'' is not of the form KEY=VALUE")


if __name__ == "__main__":
    main()
