#!/usr/bin/env python3
"""zel scenes: which files make a scene, what a line of the manifest says, rules, damage and order."""
import hashlib
import json
import os
import shutil
import struct
import subprocess
import unittest

from zel_case import ROOT, SCENES, ZEL, ZelTest, follow, main, needs_scenes
from scene import small_scene
from zelfile import container

SCHEMA = json.loads((ROOT / "docs" / "zel" / "scenes.schema.json").read_text())
# Of small_scene: prefix 1221, numbers and texts 2853 up to the LUTs, lines of 64 bytes.
LINE = 64


def scene_at(hours, lon=10.0, **header):
    """small_scene whose lines begin at a time of day and at a longitude; 3 degrees wide, 48 N to 50 N."""
    f = small_scene(**header)
    for n, line in enumerate(f.lines):
        line.time = hours + n / 3600.0
        line.lon = [(x + 180.0) % 360.0 - 180.0 for x in (lon, lon + 3.0)]
    return f


def header_size(data, lines=3):
    return len(data) - lines * LINE


def checksum_of(*parts):
    """SHA-256 of headers, each followed by number and size of its lines."""
    return hashlib.sha256(b"".join(d[:header_size(d)] + b"3 %d\n" % LINE for d in parts)).hexdigest()


class Case(ZelTest):
    def lines(self, *args, status=0, **how):
        got, out, err = self.run_zel("scenes", *args, **how)
        self.assertEqual((got, err), (status, ""))
        lines = [json.loads(line) for line in out.splitlines()]
        for line in lines:
            follow(line, SCHEMA)
        return lines

    def groups(self, *args, **how):
        """{id: names of files}"""
        lines = self.lines(*args, **how)
        return {s["id"]: [f["path"] for f in s["files"]] for s in lines}

    def doubts(self, *args):
        return [[(d["kind"], d["text"]) for d in s["doubts"]] for s in self.lines(*args)]


class Manifest(Case):
    def test_a_line_of_a_scene_to_the_byte(self):
        data = self.put("a.zel", small_scene())
        # Points at pixels 0 and 3 of 4: latitudes 50, 49, 48; longitudes 10 to 13. 2020 day 60 is 02-29.
        self.check("scenes a.zel", (
            '{"id":"landsat-tm-9-2020060-12.0h","sensor":"LANDSAT TM","sensor_code":5,"satellite":9,'
            '"date":"2020-02-29","year":2020,"day_of_year":60,"start":"2020-02-29T12:00:00.000Z",'
            '"bytes":%d,"resolutions_m":[30.0],"missing_m":[],"bbox":[10.0,48.0,13.0,50.0],'
            '"files":[{"path":"a.zel","bytes":%d,"checksum":"%s","kind":"file",'
            '"start":"2020-02-29T12:00:00.000Z",'
            '"grids":[{"resolution_m":30.0,"pixels":4,"lines":3,"channels":3}]}],"doubts":[]}\n')
                   % (len(data), len(data), checksum_of(data)))

    def test_pixels_do_not_count_for_the_checksum_but_header_and_layout_do(self):
        sums = []
        for change in (lambda f: None, lambda f: f.channels[0].rows[0].__setitem__(0, 1),
                       lambda f: setattr(f.channels[0], "label", b"B2"), lambda f: f.lines.pop()):
            f = small_scene()
            change(f)
            self.put("a.zel", f)
            sums.append(self.lines("a.zel")[0]["files"][0]["checksum"])
        self.assertEqual(sums[0], sums[1])
        self.assertEqual(len(set(sums)), 3)

    def test_a_container_stands_for_its_parts(self):
        parts = [scene_at(12.0).bytes(), scene_at(12.0, 11.0, resolution=60.0).bytes()]
        self.put("c.zel", container([(parts[0], 30.0), (parts[1], 60.0)]))
        whole = self.got("c.zel")
        scene, = self.lines("c.zel")
        self.assertEqual((scene["resolutions_m"], scene["bbox"]), ([30.0, 60.0], [10.0, 48.0, 14.0, 50.0]))
        self.assertEqual([g["resolution_m"] for g in scene["files"][0]["grids"]], [30.0, 60.0])
        self.assertEqual(scene["files"][0]["kind"], "container")
        self.assertEqual(scene["files"][0]["checksum"], checksum_of(whole[:len(parts[0])], parts[1]))

    def test_each_of_many_files_has_its_own_checksum(self):
        # Headers of 1 to 1000 slots of 284 bytes; damaged files between them. Even and odd numbers of files.
        for count in (4, 5):
            expected = {}
            for n, slots in enumerate((6, 1000, 7, 250, 6)[:count]):
                name = "f%d.zel" % n
                data = self.put(name, scene_at(n, slots=slots))
                expected[name] = checksum_of(data)
                self.put("f%d-cut.zel" % n, data[:5000])
            sums = {f["path"]: f["checksum"] for line in self.lines(".", status=1) if "files" in line
                    for f in line["files"]}
            self.assertEqual(sums, {"./" + name: sum for name, sum in expected.items()})

    def test_other_byte_order_and_a_layout_without_prefix(self):
        for order, version in (("<", 1.32), (">", 1.32)):
            f = scene_at(12.0, order=order, version=version)
            self.put("old", f)
            scene, = self.lines(".")
            self.assertEqual((scene["start"], scene["bbox"]),
                             ("2020-02-29T12:00:00.000Z", [10.0, 48.0, 13.0, 50.0]))

    def test_the_box_reaches_the_ends_of_the_lines(self):
        # Points at pixels 1 and 2 of 4, 10 and 13 degrees: one step more on each side.
        self.put("a.zel", small_scene(nav_start=1, nav_interval=1))
        self.assertEqual(self.lines("a.zel")[0]["bbox"], [7.0, 48.0, 16.0, 50.0])

    def test_the_box_crosses_the_date_line(self):
        self.put("a.zel", scene_at(12.0, 175.0))
        self.put("b.zel", scene_at(12.0, 179.0, resolution=60.0))
        self.assertEqual(self.lines("a.zel", "b.zel")[0]["bbox"], [175.0, 48.0, -178.0, 50.0])

    def test_lines_between_the_first_and_the_last_count_for_the_box(self):
        f = small_scene()
        f.lines[1].lon = [5.0, 20.0]
        self.put("a.zel", f)
        self.assertEqual(self.lines("a.zel")[0]["bbox"], [5.0, 48.0, 20.0, 50.0])


class Groups(Case):
    def hours(self, *hours, **header):
        """Groups of files a.zel, b.zel ... that begin at these times."""
        for name, time in zip("abcdef", hours):
            self.put(name + ".zel", scene_at(time, **header))
        return list(self.groups(".").values())

    def test_a_tenth_of_an_hour_holds_a_scene(self):
        self.assertEqual(self.hours(12.001, 12.098, 12.15), [["./a.zel", "./b.zel"], ["./c.zel"]])

    def test_a_limit_between_tenths_does_not_part_files_a_few_seconds_apart(self):
        self.assertEqual(self.hours(12.0999, 12.1001), [["./a.zel", "./b.zel"]])
        self.assertEqual(self.hours(12.095, 12.105), [["./a.zel", "./b.zel"]])       # 36 s
        self.assertEqual(self.hours(12.095, 12.10501), [["./a.zel"], ["./b.zel"]])   # 36.036 s

    def test_midnight_does_not_part_them_either(self):
        self.put("a.zel", scene_at(23.9999, julian=366))
        self.put("b.zel", scene_at(0.0001, julian=1, year=2021))
        scene, = self.lines(".")
        self.assertEqual(scene["id"], "landsat-tm-9-2020366-23.9h")
        self.assertEqual([(d["kind"], d["text"]) for d in scene["doubts"]],
                         [("days", "the files are of the days 2020/366 and 2021/001"),
                          ("duplicate", "30 m more than once: ./a.zel, ./b.zel")])

    def test_a_time_of_0_is_not_joined_to_the_evening_before(self):
        self.put("a.zel", scene_at(23.9999))
        self.put("b.zel", scene_at(0.0, julian=61))
        self.assertEqual(self.groups("."), {"landsat-tm-9-2020060-23.9h": ["./a.zel"],
                                            "landsat-tm-9-2020061-00.0h": ["./b.zel"]})

    def test_sensor_satellite_and_day_part_scenes(self):
        self.put("a.zel", scene_at(12.0))
        self.put("b.zel", scene_at(12.0, satellite=8))
        self.put("c.zel", scene_at(12.0, data_type=7))
        self.put("d.zel", scene_at(12.0, julian=61))
        self.put("e.zel", scene_at(12.0, data_type=20))
        self.put("f.zel", scene_at(12.0, data_type=21))
        self.assertEqual(self.groups("."), {
            "landsat-tm-8-2020060-12.0h": ["./b.zel"], "landsat-tm-9-2020060-12.0h": ["./a.zel"],
            "landsat-tm-9-2020061-12.0h": ["./d.zel"], "modis-9-2020060-12.0h": ["./c.zel"],
            "sensor20-9-2020060-12.0h": ["./e.zel"], "sensor21-9-2020060-12.0h": ["./f.zel"]})

    def test_files_without_a_time_are_gathered_by_date(self):
        for name, header in (("a", {}), ("b", {}), ("c", {"julian": 400})):
            self.put(name + ".zel", scene_at(float("nan"), **header))
        self.assertEqual(self.groups("."), {"landsat-tm-9-2020060-unknown": ["./a.zel", "./b.zel"],
                                            "landsat-tm-9-2020400-unknown": ["./c.zel"]})

    @needs_scenes
    def test_the_real_scenes_belong_together_by_name(self):
        groups = self.groups(*sorted(SCENES.glob("*.zel")))
        self.assertEqual(len(groups), 4)
        for files in groups.values():
            self.assertEqual(len({f.split("/")[-1].split("_")[0] for f in files}), 1)


class Doubts(Case):
    def test_resolutions_that_other_scenes_of_the_satellite_have(self):
        for name, hours, size, satellite in (("a", 12.0, 30.0, 9), ("b", 12.0, 60.0, 9), ("c", 13.0, 30.0, 9),
                                             ("d", 13.0, 30.0, 8)):
            self.put(name + ".zel", scene_at(hours, resolution=size, satellite=satellite))
        self.assertEqual([(s["satellite"], s["resolutions_m"], s["missing_m"]) for s in self.lines(".")],
                         [(8, [30.0], []), (9, [30.0, 60.0], []), (9, [30.0], [60.0])])

    def test_one_resolution_twice(self):
        self.put("a.zel", scene_at(12.0))
        self.put("b.zel", scene_at(12.0))
        self.assertEqual(self.doubts("."), [[("duplicate", "30 m more than once: ./a.zel, ./b.zel")]])

    def test_bytes_after_the_last_line_or_part(self):
        data = self.put("a.zel", scene_at(12.0).bytes() + b"12345")
        self.assertEqual(self.doubts("a.zel"), [[("truncated", "a.zel: 5 bytes after the last whole line")]])
        part = scene_at(12.0).bytes()
        self.put("c.zel", container([(part, 30.0), (data, 60.0)]) + b"123")
        self.assertEqual([d for d in self.doubts("c.zel")[0] if d[0] == "truncated"],
                         [("truncated", "c.zel part 1: 5 bytes after the last whole line"),
                          ("truncated", "c.zel: 3 bytes after the last part")])

    def test_lines_that_are_missing_show_beside_another_file(self):
        self.put("a.zel", scene_at(12.0))
        f = scene_at(12.0, resolution=90.0)
        self.put("b.zel", f)
        # 3 lines of 30 m, 3 of 90 m: 90 and 270 m.
        self.assertEqual(self.doubts("."), [[("length", "./a.zel: 90 m of lines, where another has 270 m")]])
        del f.lines[2:]
        self.put("b.zel", f)
        self.assertEqual(self.doubts("."), [[]])   # 180 m: not more than a pixel of 90 m

    def test_a_resolution_that_is_no_number(self):
        for name in "ab":
            self.put(name + ".zel", scene_at(12.0, resolution=float("nan")))
        scene, = self.lines(".")
        self.assertEqual((scene["resolutions_m"], scene["doubts"]), ([], []))
        self.assertIsNone(scene["files"][0]["grids"][0]["resolution_m"])

    def test_times(self):
        self.put("a.zel", scene_at(12.0999))
        self.put("b.zel", scene_at(12.1001, resolution=60.0))
        self.put("c.zel", scene_at(12.2))
        self.put("d.zel", scene_at(0.0))
        self.put("e.zel", scene_at(float("nan")))
        got = self.doubts(".")
        self.assertEqual(got[0], [("time", "./e.zel: no time of the first line")])
        self.assertEqual(got[1], [("time", "./d.zel: the time of the first line is 0")])
        self.assertEqual(got[2][0], ("times", "the first lines, of 12.0999 h to 12.1001 h, do not fall into "
                                     "one tenth of an hour"))
        self.assertEqual(got[2][-1], ("near", "landsat-tm-9-2020060-12.2h begins soon after"))
        self.assertEqual(got[3], [("near", "begins soon after landsat-tm-9-2020060-12.0h")])

    def test_scenes_a_tenth_of_an_hour_apart_are_not_near(self):
        self.put("a.zel", scene_at(12.0))
        self.put("b.zel", scene_at(12.1))
        self.assertEqual(self.doubts("."), [[], []])

    def test_a_place_that_is_not_known(self):
        f = scene_at(12.0)
        f.lines[2].lat = [99.0, 48.0]
        self.put("a.zel", f)
        self.assertEqual(self.doubts("a.zel"), [[("place", "a.zel: no navigation, or invalid")]])
        self.assertIsNone(self.lines("a.zel")[0]["bbox"])

    def test_parts_of_another_scene(self):
        self.put("c.zel", container([(scene_at(12.0).bytes(), 30.0),
                                     (scene_at(12.0, satellite=8, resolution=60.0).bytes(), 60.0)]))
        self.assertIn(("parts", "c.zel part 1: not of the scene of part 0"), self.doubts("c.zel")[0])


class Rules(Case):
    def setUp(self):
        super().setUp()
        self.put("a.zel", scene_at(12.0, 10.0, julian=60))                  # 2020-02-29, 10 E to 13 E
        self.put("b.zel", scene_at(12.0, 178.0, julian=61, data_type=7))    # 2020-03-01, 178 E to 179 W
        self.put("c.zel", scene_at(12.0, -20.0, julian=62, satellite=8))    # 2020-03-02, 20 W to 17 W

    def chosen(self, *rules):
        words = [w for rule in rules for w in ("--where", rule)]
        return "".join(sorted(f[2] for files in self.groups(".", *words).values() for f in files))

    def test_rules(self):
        for rules, names in (
                (["date=2020-02-29"], "a"), (["date=2020-02-29..2020-03-01"], "ab"),
                (["date=2020-03-01.."], "bc"), (["date=..2020-03-01"], "ab"), (["sensor=modis"], "b"),
                (["sensor=LANDSAT TM"], "ac"), (["sensor=5"], "ac"), (["satellite=8"], "c"),
                (["bbox=13,50,14,60"], "a"), (["bbox=13.01,0,14,60"], ""), (["bbox=0,50.01,20,60"], ""),
                (["bbox=0,0,20,47.99"], ""), (["bbox=-179.5,0,-179.4,90"], "b"),
                (["bbox=179,0,-170,90"], "b"), (["bbox=-179,0,179,90"], "abc"), (["bbox=170,0,-19,90"], "bc"),
                (["bbox=-180,-90,180,90"], "abc"), (["sensor=5", "satellite=9"], "a"),
                (["date=2020-02-29", "date=2020-03-01"], "")):
            self.assertEqual(self.chosen(*rules), names, rules)

    def test_a_scene_without_a_place_is_in_no_box(self):
        self.put("d.zel", small_scene(nav_points=0, julian=70))
        f = small_scene(nav_points=0, julian=70)
        for line in f.lines:
            line.lat = line.lon = []
        self.put("d.zel", f)
        self.assertEqual(self.chosen(), "abcd")
        self.assertEqual(self.chosen("bbox=-180,-90,180,90"), "abc")

    def test_wrong_rules(self):
        see = "; see zel scenes --help"
        for rule, message in (
                ("day", "'day' is not of the form KEY=VALUE"),
                ("day=1", "unknown key 'day'; there are date, sensor, satellite, bbox"),
                ("date=2021-02-29", "'2021-02-29' is not a date such as 2024-05-31"),
                ("date=2021-2-1", "'2021-2-1' is not a date such as 2024-05-31"),
                ("date=", "'' is not a date such as 2024-05-31"),
                ("satellite=x", "'x' is not the number of a satellite"),
                ("bbox=1,2,3", "'1,2,3' is not a box WEST,SOUTH,EAST,NORTH in degrees"),
                ("bbox=1,5,3,4", "'1,5,3,4' is not a box WEST,SOUTH,EAST,NORTH in degrees"),
                ("bbox=nan,2,3,4", "'nan,2,3,4' is not a box WEST,SOUTH,EAST,NORTH in degrees")):
            self.fails(["scenes", "--where", rule, "."], "zel scenes: --where: " + message + see, status=2)
        status, out, err = self.run_zel("scenes", "--where", "sensor=x", ".")
        self.assertEqual((status, out), (2, ""))
        self.assertIn("unknown sensor 'x'; there are Generic, AVHRR LAC", err)


class Files(Case):
    def test_order_and_repetition_of_operands_do_not_matter(self):
        os.makedirs(self.dir / "sub" / "deep")
        for i, name in enumerate(("sub/b.zel", "sub/deep/a.zel", "c.zel", "d.zel")):
            self.put(name, scene_at(12.0 + i // 2, resolution=30.0 * (i % 2 + 1)))
        self.put("bad.zel", b"ZEL2.3")
        words = ["sub", "c.zel", "d.zel", "bad.zel"]
        first = self.run_zel("scenes", *words)
        self.assertEqual(first[0], 1)
        self.assertEqual(len(first[1].splitlines()), 3)
        self.assertEqual(self.run_zel("scenes", *words[::-1], "sub/", "sub/deep"), first)

    def test_files_of_one_time_are_in_the_order_of_their_paths(self):
        data = scene_at(12.0).bytes()
        names = ["%02d.zel" % i for i in range(40)]
        for name in names:
            self.put(name, data)
        self.assertEqual(list(self.groups(*names[::-1]).values()), [names])

    def test_links_and_their_loops(self):
        os.makedirs(self.dir / "z" / "y")
        self.put("z/y/a.zel", scene_at(12.0))
        for name, target in (("a_link", "z"), ("z/y/loop", "../.."), ("a.zel", "z/y/a.zel"),
                             ("nowhere", "nothing")):
            os.symlink(target, self.dir / name)
        self.assertEqual(list(self.groups(".").values()), [["./z/y/a.zel"]])
        self.assertEqual(list(self.groups("a_link").values()), [["a_link/y/a.zel"]])

    def test_what_is_no_scene_is_left_out_unless_it_is_named(self):
        self.put("text", b"ZEL and other words" * 100)
        self.put("short", b"ZE")
        self.put("float", struct.pack("<f", 1.305) + bytes(100))
        self.put(".zel-1.part", scene_at(12.0))
        os.mkfifo(self.dir / "pipe")
        self.assertEqual(self.lines("."), [])
        self.assertEqual(self.lines("text", "pipe", "nothing", status=1), [
            {"file": "nothing", "error": "No such file or directory"},
            {"file": "pipe", "error": "is not a regular file"},
            {"file": "text", "error": "corrupt header: number of components 1163555684 at offset 17"}])

    def test_what_has_the_name_of_a_scene_is_not_left_out(self):
        self.put("empty.zel", b"")
        self.put("zeros.ZEL", bytes(5000))
        self.put("zeros.bin", bytes(5000))
        self.put("zel", b"")
        os.symlink("gone", self.dir / "link.zel")
        lines = self.lines(".", status=1)
        self.assertEqual([x["file"] for x in lines], ["./empty.zel", "./link.zel", "./zeros.ZEL"])
        self.assertEqual(lines[1]["error"], "No such file or directory")

    @unittest.skipUnless(os.geteuid() == 0 and shutil.which("setpriv"), "needs another user")
    def test_a_file_in_a_directory_that_may_not_be_read_is_a_line(self):
        self.put("a.dat", scene_at(12.0))
        os.chmod(self.dir / "a.dat", 0)
        os.chmod(self.dir, 0o755)
        tool = self.dir / "zel"
        shutil.copy(ZEL, tool)
        done = subprocess.run(["setpriv", "--reuid", "65534", "--clear-groups", str(tool), "scenes", "."],
                              cwd=self.dir, env=self.env, stdout=subprocess.PIPE, timeout=60)
        self.assertEqual((done.returncode, done.stdout),
                         (1, b'{"file":"./a.dat","error":"Permission denied"}\n'))

    def test_a_name_that_a_manifest_cannot_hold_is_a_line(self):
        with open(os.fsencode(self.dir) + b"/\xe9t\xe9.zel", "wb") as file:
            file.write(scene_at(12.0).bytes())
        self.put("\u00e9t\u00e9 2.zel", scene_at(12.0))
        scene, bad = self.lines(".", status=1)
        self.assertEqual([f["path"] for f in scene["files"]], ["./\u00e9t\u00e9 2.zel"])
        self.assertEqual(bad, {"file": "./\u00e9t\u00e9.zel",
                               "error": "the name is not UTF-8, and a manifest cannot hold it"})

    def test_a_damaged_file_is_a_line_and_the_others_go_on(self):
        whole = self.put("whole.zel", scene_at(12.0))
        self.put("cut.zel", whole[:2000])
        self.put("empty.zel", whole[:header_size(whole)])
        lines = self.lines(".", status=1)
        self.assertEqual(lines[0]["files"][0]["path"], "./whole.zel")
        self.assertEqual([x["file"] for x in lines[1:]], ["./cut.zel", "./empty.zel"])
        self.assertIn("corrupt header", lines[1]["error"])
        self.assertEqual(lines[2]["error"], "has no lines")

    def test_every_cut_of_a_file_ends_well(self):
        whole = scene_at(12.0).bytes()
        for size in list(range(0, 4200, 150)) + list(range(24000, len(whole), 97)):
            self.put("a.zel", whole[:size])
            status, out, err = self.run_zel("scenes", "a.zel")
            self.assertEqual((len(out.splitlines()), err), (1, ""), size)
            self.assertEqual(status, 0 if size >= header_size(whole) + LINE else 1, size)

    def test_names_from_standard_input(self):
        self.put("a b.zel", scene_at(12.0))
        self.put("c\nd.zel", scene_at(13.0))
        for words, data, count in ((["-"], b"a b.zel\n\n", 1), (["-0", "-"], b"a b.zel\0c\nd.zel\0", 2)):
            done = subprocess.run([str(ZEL), "scenes", *words], input=data, cwd=self.dir, env=self.env,
                                  stdout=subprocess.PIPE, check=True, timeout=60)
            self.assertEqual(len(done.stdout.splitlines()), count)

    def test_output_file(self):
        self.put("a.zel", scene_at(12.0))
        out = self.run_zel("scenes", "a.zel")[1]
        self.check("scenes a.zel -o list", "")
        self.assertEqual(self.got("list").decode(), out)
        status, _, err = self.run_zel("scenes", "a.zel", "-o", "list")
        self.assertEqual(status, 1)
        self.assertIn("list", err)
        self.check("scenes a.zel -o list --overwrite", "")
        self.assertEqual(self.names(), ["a.zel", "list"])


if __name__ == "__main__":
    main()
