#!/usr/bin/env python3
"""zel check: each promise of the format broken once, with the offset of the field; notes; scenes."""
import json
import struct

from zel_case import SCENES, ZelTest, main, needs_scenes
from scene import small_scene
from zelfile import Channel, Histogram, Lut, container

# Offsets in small_scene: prefix 1221; LUT block 813 from 3261; three angle slots 6 and metadata 20008.
HEADER_FIELDS = {"year": 1227, "julian": 1229, "DataType": 1247, "SatelliteAltitude": 1249,
                 "SpatialResolution": 1253, "NumNavPoints": 1235, "SZChannelIndex": 4074,
                 "MetaDataSize": 4084}
CHANNELS = 4074 + 6 + 20008
RECORD = 284
LINES = CHANNELS + 6 * RECORD
LINE = 64


class Check(ZelTest):
    def found(self, scene, *messages, status=1):
        """check prints these lines for the scene, and "ok" when the status is 0."""
        self.put("a.zel", scene)
        lines = ["a.zel: " + m for m in messages] + ["a.zel: ok, 3 lines, 3 channels"] * (status == 0)
        self.check("check a.zel", "".join(line + "\n" for line in lines), status=status)

    def test_a_sound_file(self):
        f = small_scene()
        f.channels[2].rows[2][3] = 2
        self.found(f, status=0)

    def sound(self, **header):
        f = small_scene(**header)
        f.channels[2].rows[2][3] = 2
        return f

    def test_fields_of_the_header(self):
        nan = float("nan")
        for header, name, message in (
                ({"julian": 367}, "julian", "julian 367 is not a day of the year"),
                ({"julian": 0}, "julian", "julian 0 is not a day of the year"),
                ({"year": 0}, "year", "year 0 is not a year"),
                ({"data_type": 14}, "DataType", "DataType 14 is not a sensor code"),
                ({"altitude": -1.0}, "SatelliteAltitude", "SatelliteAltitude -1 is not an altitude"),
                ({"resolution": 0.0}, "SpatialResolution", "SpatialResolution 0 is not a resolution"),
                ({"resolution": nan}, "SpatialResolution", "SpatialResolution nan is not a resolution"),
                ({"meta_size": 20001}, "MetaDataSize",
                 "MetaDataSize 20001 is beyond the 20000 bytes of the text"),
                ({"angles": (1, -1, -1)}, "SZChannelIndex", "SZChannelIndex 1 is not a channel")):
            self.found(self.sound(**header), "offset %d: header: %s" % (HEADER_FIELDS[name], message))

    def test_day_366_of_a_common_year_is_a_note(self):
        self.found(self.sound(year=2021, julian=366), "note: offset 1229: header: julian 366 is not a day of 2021",
                   status=0)
        self.found(self.sound(year=2020, julian=366), status=0)

    def test_navigation_beyond_the_line_is_a_note(self):
        self.found(self.sound(nav_interval=4), "note: offset 1235: header: NumNavPoints 2: the last point, "
                   "of pixel 4, is beyond the line", status=0)

    def test_fields_of_a_channel(self):
        where = "channel 0 (B1): "
        for change, at, message in (
                ({"max": 0.0}, 4, "the scale runs from MinValue 0 to MaxValue 0"),
                ({"max": float("inf")}, 4, "the scale runs from MinValue 0 to MaxValue inf"),
                ({"units": 8}, 268, "Units 8 is not a units code"),
                ({"wavelength": float("nan")}, 264, "ChannelWaveLength is not a number")):
            f = self.sound()
            for name, value in change.items():
                setattr(f.channels[0], name, value)
            self.found(f, "offset %d: %s%s" % (CHANNELS + at, where, message))

    def patched(self, at, data, scene=None):
        """What check prints of a sound scene with other bytes at a place."""
        changed = bytearray((scene or self.sound()).bytes())
        changed[at:at + len(data)] = data
        self.put("a.zel", bytes(changed))
        status, out, err = self.run_zel("check", "a.zel")
        self.assertEqual(err, "")
        return status, out

    def test_the_prefix_of_a_plain_file(self):
        for at, data, offset, message in (
                (13, struct.pack("<i", 1), 13, "base component index is not 0 outside of a container"),
                (17, struct.pack("<i", 0), 17, "number of components is not 1 or more"),
                (417, struct.pack("<i", 5), 21, "component offsets are not 0 outside of a container"),
                (425, struct.pack("<f", 1.5), 421, "component resolutions after the first are not 0"),
                (421, struct.pack("<f", 31.5), 421,
                 "component resolutions begin with 31.5, SpatialResolution is 30"),
                (821, struct.pack("<i", 5), 821, "component sizes are not 0 outside of a container")):
            self.assertEqual(self.patched(at, data), (1, "a.zel: offset %d: prefix: %s\n" % (offset, message)))

    def test_another_version_in_the_prefix_is_a_note(self):
        self.assertEqual(self.patched(3, b"2.21\0"), (0, "a.zel: note: offset 3: prefix: version text is '2.21', "
                                                      "VersionNumber 2.3\na.zel: ok, 3 lines, 3 channels\n"))

    def test_a_container_may_hold_files_of_older_versions(self):
        old = self.sound(version=1.51)
        self.put("c.zel", container([(old.bytes(), 30.0), (old.bytes(), 30.0)]))
        self.check("check c.zel", "c.zel: ok, 2 parts, 3 lines, 6 channels\n")

    def test_texts_that_do_not_end(self):
        for at, size, where in ((1257, 2000, "header: DataComment"), (CHANNELS + 24, 120, "channel 0: ChannelLabel"),
                                (CHANNELS + 144, 120, "channel 0: ChannelComment"),
                                (3265, 200, "header LUT 0: DisplayLUTLabel")):
            status, out = self.patched(at, b"x" * size)
            self.assertEqual((status, out.splitlines()[0]),
                             (1, "a.zel: offset %d: %s does not end inside its field" % (at, where)))
            self.assertEqual(self.patched(at, b"x" * (size - 1) + b"\0")[0], 0)

    def test_flags(self):
        presence = CHANNELS + 276 + 4 + 2
        self.assertEqual(self.patched(CHANNELS, struct.pack("<i", 2)), (
            1, "a.zel: offset %d: channel 0: ChannelPresentFlag is 2, not 0 or 1\n" % CHANNELS))
        f = self.sound()
        f.channels[0].histogram = Histogram(max=1.0, min=0.0, counts=[1, 1, 2, 1, 1, 1])
        self.assertIn("a.zel: offset %d: channel 0: histogram presence is 2, not 0 or 1\n" % presence,
                      self.patched(presence, b"\2", f)[1])

    def test_bits_beyond_the_bytes_of_a_pixel_are_a_note(self):
        f = self.sound()
        f.channels[0].bits = 9
        self.found(f, "note: offset %d: channel 0 (B1): DataBitResolution 9 of 1 bytes" % (CHANNELS + 20),
                   status=0)

    def test_what_is_odd_is_a_note(self):
        f = self.sound()
        f.channels[0].label = b""
        f.channels[5].label = b"CLS"
        f.channels[5].units = 5
        f.luts.append(Lut(4, b"other", [(0, 0, 0, b"x")]))
        shift = 204 + 203
        self.put("a.zel", f)
        base = CHANNELS + shift
        self.check("check a.zel", "".join("a.zel: note: offset %d: %s\n" % m for m in (
            (3257, "header: two LUTs have the key 4"),
            (base + 5 * RECORD + 24, "channel 5 (CLS): has the label of another channel"),
            (base + 24, "channel 0 (): has no label"),
            (base + 5 * RECORD + 144, "channel 5 (CLS): has units of a LUT, but no LUT has its comment "
             "as label"))) + "a.zel: ok, 3 lines, 3 channels\n")

    def test_lines(self):
        for change, message in (({"time": -1.0}, "ScanTime is not a time of day"),
                                ({"time": float("nan")}, "ScanTime is not a time of day"),
                                ({"altitude": -1.0}, "ScanAltitude is not an altitude"),
                                ({"left": 3, "right": 2}, "LeftPixel and RightPixel are not inside the line"),
                                ({"right": 4}, "LeftPixel and RightPixel are not inside the line"),
                                ({"nadir": 4}, "NadirPixel is beyond the line"),
                                ({"lat": [50.0, 90.5]}, "a latitude is beyond 90 degrees"),
                                ({"lat": [float("nan"), 50.0]}, "a latitude is beyond 90 degrees"),
                                ({"lon": [-180.5, 50.0]}, "a longitude is beyond 180 degrees")):
            f = self.sound()
            for name, value in change.items():
                setattr(f.lines[0], name, value)
            self.found(f, "offset %d: line 0: %s" % (LINES, message))

    def test_the_same_in_several_lines_is_counted(self):
        f = self.sound()
        for line in f.lines[1:]:
            line.nadir = 9
        self.found(f, "offset %d: line 1: NadirPixel is beyond the line (and 1 more like this)"
                   % (LINES + LINE))

    def test_a_time_that_goes_back_is_a_note(self):
        f = self.sound()
        f.lines[2].time = 11.0
        self.found(f, "note: offset %d: line 2: ScanTime is before that of the line above"
                   % (LINES + 2 * LINE), status=0)

    def test_a_class_without_an_entry_is_a_note(self):
        self.found(small_scene(), "note: offset %d: line 2: channel CLS has a class that its LUT does not "
                   "have" % (LINES + 2 * LINE), status=0)

    def test_histograms(self):
        # Solar zenith angles at noon in winter are below 85; 9 of the 12 pixels are not the last of their
        # line; of those of B1 two are 0, and reflectance counts above 0 only: 7.
        f = self.sound()
        f.channels[0].histogram = Histogram(max=1.0, min=0.0, counts=[1, 1, 1, 1, 1, 2])
        self.found(f, status=0)
        f.channels[0].histogram.counts = [9, 0, 0, 0, 0, 4]
        self.found(f, "offset %d: channel 0 (B1): the histogram counts 13 pixels of 12"
                   % (CHANNELS + RECORD - 2))
        f.channels[0].histogram.counts = [-1, 1, 0, 0, 0, 8]
        self.put("a.zel", f)
        self.assertIn("histogram: bin 0 counts -1\n", self.run_zel("check", "a.zel")[1])

    def test_a_histogram_of_other_pixels_is_a_note(self):
        f = self.sound()
        f.channels[5].histogram = Histogram(max=3000.0, min=1000.0, counts=[3, 3, 2])
        self.found(f, "note: offset %d: channel 5 (RAW): the histogram counts 8 pixels, the lines have 9"
                   % (CHANNELS + 6 * RECORD - 2), status=0)

    def test_values_that_are_no_numbers_are_a_note(self):
        f = self.sound()
        f.channels[5] = Channel(type=4, label=b"F", rows=[[1.0, float("nan"), 2.0, 3.0]] + [[1.0] * 4] * 2)
        self.found(f, "note: offset %d: line 0: channel F has values that are not numbers" % LINES, status=0)


class Structure(ZelTest):
    def test_a_cut_file(self):
        data = small_scene().bytes()
        self.put("a.zel", data[:-1])
        self.fails_with("offset %d: file: 63 bytes after the last line" % (LINES + 2 * LINE))
        self.put("a.zel", data[:1240])
        self.fails_with("offset 1239: corrupt header: cut short in StartNavPoint")

    def fails_with(self, message):
        status, out, err = self.run_zel("check", "a.zel")
        self.assertEqual((status, err), (1, ""))
        self.assertIn("a.zel: %s\n" % message, out)

    def test_a_damaged_count(self):
        data = bytearray(small_scene().bytes())
        data[1225:1227] = (4711).to_bytes(2, "little")
        self.put("a.zel", bytes(data))
        self.check("check a.zel", "a.zel: offset 1225: corrupt header: MaxNumChan 4711\n", status=1)

    def test_a_file_without_lines(self):
        f = small_scene()
        f.lines = []
        self.put("a.zel", f)
        # What is left of the same scene without its three lines: 8 bytes of time, 4 of altitude, 3 pixels
        # and 2 nadir positions of 4, two navigation points, and 4 pixels of 1, 1 and 2 bytes.
        header = len(small_scene().bytes()) - 3 * (8 + 4 + 3 * 4 + 2 * 4 + 2 * 2 * 4 + 4 + 4 + 8)
        self.check("check a.zel", "a.zel: offset %d: file: has no lines\n" % header, status=1)

    def test_the_directory_of_a_container(self):
        a = small_scene()
        a.channels[2].rows[2][3] = 2
        parts = [(a.bytes(), 30.0), (a.bytes(), 31.0)]
        data = container(parts)
        self.put("c.zel", data)
        self.check("check c.zel", "c.zel: offset 421: part 1: prefix: the resolution is 31, that of the part "
                   "30\n", status=1)
        self.put("c.zel", container([(a.bytes(), 30.0)] * 2) + b"more")
        status, out, err = self.run_zel("check", "c.zel")
        self.assertEqual((status, err), (1, ""))
        self.assertIn("offset %d: part 0: file: 4 bytes after the last part\n" % len(data), out)

    def test_the_same_in_two_parts_is_shown_for_each(self):
        a = small_scene()
        a.channels[2].rows[2][3] = 2
        a.lines[1].nadir = 9
        size = len(a.bytes())
        self.put("c.zel", container([(a.bytes(), 30.0)] * 2))
        self.check("check c.zel", "".join("c.zel: offset %d: part %d: line 1: NadirPixel is beyond the line\n" % line for
                                          line in ((LINES + LINE, 0), (size + LINES + LINE, 1))), status=1)

    def test_what_is_no_file_is_no_result(self):
        self.fails("check none", "zel check: none: No such file or directory")

    def test_json(self):
        self.put("a.zel", small_scene(julian=400))
        self.put("b.zel", b"no scene")
        status, out, err = self.run_zel("check", "--json", "a.zel", "b.zel")
        self.assertEqual((status, err), (1, ""))
        files = json.loads(out)
        from zel_case import ROOT, follow
        follow(files, json.loads((ROOT / "docs/zel/check.schema.json").read_text()))
        self.assertEqual(files[0]["problems"], [{"offset": 1229, "part": 0, "where": "header",
                                                 "what": "julian 400 is not a day of the year", "more": 0}])
        self.assertEqual([n["where"] for n in files[0]["notes"]], ["line 2"])
        self.assertEqual((files[0]["ok"], files[1]["ok"]), (False, False))


class Scenes(ZelTest):
    def test_files_of_one_scene(self):
        self.put("a.zel", small_scene())
        self.put("b.zel", small_scene(resolution=60.0))
        self.check("check --scene a.zel b.zel", "scene 1\n  a.zel\n  b.zel\n")
        self.assertEqual(self.json("check", "--scene", "--json", "a.zel", "b.zel", schema="check"),
                         {"one_scene": True, "scenes": [{"files": ["a.zel", "b.zel"], "differs": []}]})

    def test_why_files_do_not_belong_together(self):
        self.put("a.zel", small_scene())
        later = small_scene(year=2021, julian=61, satellite=8, data_type=7)
        later.lines[0].time = 12.11
        self.put("b.zel", later)
        near = small_scene()
        near.lines[0].time = 12.09
        self.put("c.zel", near)
        self.check("check --scene a.zel b.zel c.zel", "scene 1\n  a.zel\n  c.zel\nscene 2, unlike scene 1: "
                   "sensor 7 (MODIS), not 5 (LANDSAT TM); year 2021, not 2020; day 61, not 60; satellite 8, not 9; first scan "
                   "time 12.1100 h, not 12.0000 h\n  b.zel\n", status=1)

    def test_a_file_that_cannot_be_read_is_no_answer(self):
        self.put("a.zel", small_scene())
        self.check("check --scene a.zel none", "scene 1\n  a.zel\n",
                   "zel check: none: No such file or directory\n", status=1)
        f = small_scene()
        f.lines = []
        self.put("b.zel", f)
        self.check("check --scene b.zel a.zel", "scene 1\n  a.zel\n", "zel check: b.zel: has no lines\n", status=1)

    def test_a_time_that_is_not_a_number_is_that_of_midnight(self):
        f = small_scene()
        f.lines[0].time = float("nan")
        self.put("a.zel", f)
        f.lines[0].time = 0.05
        self.put("b.zel", f)
        self.check("check --scene a.zel b.zel", "scene 1\n  a.zel\n  b.zel\n")

    @needs_scenes
    def test_the_real_scenes_are_sound_and_belong_together_by_name(self):
        names = sorted(p.name for p in SCENES.glob("*.zel"))
        status, out, err = self.run_zel("check", *[SCENES / n for n in names])
        self.assertEqual((status, err), (0, ""))
        self.assertEqual(out.count(": ok, "), len(names))
        groups = self.json_of("check", "--scene", "--json", *[SCENES / n for n in names])
        for group in groups["scenes"]:
            self.assertEqual(len({n.split("/")[-1].split("_")[0] for n in group["files"]}), 1)
        self.assertEqual(len(groups["scenes"]), 4)

    def json_of(self, *words):
        return json.loads(self.run_zel(*words)[1])


if __name__ == "__main__":
    main()
