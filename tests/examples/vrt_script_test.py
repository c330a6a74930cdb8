#!/usr/bin/env python3
"""The script that makes a virtual raster, on files that are damaged, odd or not there: it says in one line
what is wrong and where, and leaves an older virtual raster as it is."""
import math
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
SCRIPT = ROOT / "examples" / "zel_to_vrt.py"
sys.path.insert(0, str(ROOT / "tests" / "support"))
from maskfile import full_mask  # noqa: E402
from sample import sample  # noqa: E402
from zelfile import PREFIX_SIZE, Channel, Histogram, Lut, Table, container, parse  # noqa: E402

# Places in a file without LUTs and tables.
VERSION, SLOTS, PIXELS, NAV_POINTS, LUTS, TABLES = (
    PREFIX_SIZE + at for at in (0, 4, 12, 14, 2036, 2038))
BLOCKS = PREFIX_SIZE + 2040
CHANNELS = BLOCKS + 3 * 2 + 2 * 4 + 20000
CODE, CHANNEL_TABLES, HISTOGRAM = 12, 280, 283  # in a channel record; the last behind "is present"
RECORD = 284
CURRENT = ": make a current file of it first, \"zel_combine -same_res -i f -o NEW\""
SCENES = Path(os.environ.get("ZEL_TEST_DATA") or "/nowhere") / "scenes"


class ScriptTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(tempfile.mkdtemp(prefix="zel_vrt_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)

    def run_script(self, *words):
        """(status, standard output and error) of a run in the directory."""
        done = subprocess.run([sys.executable, str(SCRIPT), *words], cwd=self.dir, timeout=60,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode("utf-8", "surrogateescape")

    def refused(self, data, said):
        """The script ends with that line; an older virtual raster stays, and no other file is left."""
        (self.dir / "f").write_bytes(data)
        (self.dir / "f.vrt").write_bytes(b"old")
        self.assertEqual(self.run_script("f"), (1, "f: %s\n" % said))
        self.assertEqual((self.dir / "f.vrt").read_bytes(), b"old")
        self.assertEqual(sorted(os.listdir(self.dir)), ["f", "f.vrt"])

    def made(self, f, name="f"):
        """The virtual raster of a file."""
        with open(os.path.join(os.fsencode(self.dir), os.fsencode(name)), "wb") as stream:
            stream.write(f if isinstance(f, bytes) else f.bytes())
        self.assertEqual(self.run_script(name), (0, ""))
        with open(os.path.join(os.fsencode(self.dir), os.fsencode(name) + b".vrt"), "rb") as stream:
            return stream.read()


def patched(data, at, code, value):
    return data[:at] + struct.pack("<" + code, value) + data[at + struct.calcsize(code):]


class Numbers(ScriptTest):
    def number(self, at, code, value, said, f=None):
        data = (f or sample(1000.0, 8, 6, (1, 4))).bytes()
        self.refused(patched(data, at, code, value), said % (value, at))

    def test_a_version_that_is_not_known_is_refused(self):
        self.number(VERSION, "f", 9, "version %g at offset %d: not from 1 to 2.3")
        self.number(VERSION, "f", math.nan, "version %g at offset %d: not from 1 to 2.3")
        self.number(VERSION, "f", 2, "version %g at offset %d: an older layout than 2.21" + CURRENT)
        self.number(VERSION, "f", -math.inf, "version %g at offset %d: not from 1 to 2.3")

    def test_the_first_and_the_last_version_are_taken(self):
        for version in (2.21, 2.3):
            self.made(patched(sample(1000.0, 8, 6, (1,)).bytes(), VERSION, "f", version))

    def test_a_number_of_slots_that_no_file_has_is_refused(self):
        for count in (-32768, -3, 0, 1001, 32767):
            self.number(SLOTS, "h", count, "slots %d at offset %d: not from 1 to 1000")

    def test_a_number_of_pixels_that_no_line_has_is_refused(self):
        for count in (-32768, -8, 0):
            self.number(PIXELS, "h", count, "pixels %d at offset %d: not from 1 to 32767")

    def test_a_number_of_navigation_points_that_no_line_has_is_refused(self):
        for count in (-2147483648, -5, 32768, 40000, 2147483647):
            self.number(NAV_POINTS, "i", count,
                        "navigation points %d at offset %d: not from 0 to 32767")

    def test_a_negative_number_of_blocks_is_refused(self):
        self.number(LUTS, "h", -1, "LUTs %d at offset %d: not from 0 to 32767")
        self.number(TABLES, "h", -2, "tables %d at offset %d: not from 0 to 32767")
        self.number(CHANNELS + CHANNEL_TABLES, "h", -3,
                    "tables of a channel %d at offset %d: not from 0 to 32767")

    def test_a_negative_number_of_entries_is_refused(self):
        f = sample(1000.0, 8, 6, (1,))
        f.luts = [Lut(0, b"a", [])]
        self.number(BLOCKS, "h", -1, "LUT entries %d at offset %d: not from 0 to 32767", f)
        f.luts, f.tables = [], [Table(0, b"a", [])]
        self.number(BLOCKS, "h", -102, "table values %d at offset %d: not from 0 to 32767", f)
        f.tables, f.channels[0].histogram = [], Histogram()
        self.number(CHANNELS + HISTOGRAM, "h", -4,
                    "histogram bins %d at offset %d: not from 0 to 32767", f)

    def test_a_storage_code_that_does_not_exist_is_refused(self):
        for code in (-1, 0, 6, 9):
            self.number(CHANNELS + RECORD + CODE, "i", code,
                        "storage code %d at offset %d: not from 1 to 5")

    def test_the_storage_code_of_an_empty_slot_is_nothing(self):
        f = sample(1000.0, 8, 6, (1,))
        f.channels[1] = Channel(type=9, present=0, bits=0, byte_size=0)
        self.made(f)


class Short(ScriptTest):
    def test_a_file_that_ends_in_its_header_is_refused_wherever_it_ends(self):
        f = sample(1000.0, 8, 6, (1, 4))
        f.luts, f.tables = [Lut(0, b"a", [(1, 2, 3, b"x")])], [Table(0, b"b", [1.0])]
        f.channels[0].histogram, f.channels[1].tables = Histogram(), [Table(0, b"c", [2.0])]
        data = f.bytes()
        line = len(f.line_record(0))
        end = len(data) - 6 * line
        for size in [0, 2, 20, 500, *range(PREFIX_SIZE, BLOCKS, 97), BLOCKS + 100, BLOCKS + 204 + 203,
                     *range(BLOCKS + 600, end, 701), end - 1, end, end + line - 1]:
            self.refused(data[:size], "cut short at offset %d" % size)
        self.made(data[:end + line])

    def test_counts_that_lead_behind_the_end_are_refused(self):
        data = sample(1000.0, 8, 6, (1, 4)).bytes()
        for at in (LUTS, TABLES):
            status, said = self.run_on(patched(data, at, "h", 32767))
            self.assertEqual(status, 1)
            self.assertRegex(said, r"^f: .* at offset \d+(: not from 0 to 32767)?\n$")

    def run_on(self, data):
        (self.dir / "f").write_bytes(data)
        return self.run_script("f")

    def test_a_file_that_ends_inside_a_line_is_refused_with_what_keeps_its_whole_lines(self):
        f = sample(1000.0, 8, 6, (1, 4))
        data, line = f.bytes(), len(f.line_record(0))
        for lost in (1, line - 1, line + 1):
            self.refused(data[:-lost], "cut short at offset %d, in line %d: \"zel_combine -same_res -i f "
                         "-o NEW\" writes the lines before it" % (len(data) - lost, 6 - 1 - lost // line))

    def test_bytes_after_the_last_line_count_as_a_line_cut_short(self):
        data = sample(1000.0, 8, 6, (1, 4)).bytes()
        status, said = self.run_on(data + b"x")
        self.assertEqual((status, "in line 6:" in said), (1, True), said)


class OtherFiles(ScriptTest):
    def said(self, name, text):
        before = sorted(os.listdir(self.dir))
        self.assertEqual(self.run_script(name), (1, text))
        self.assertEqual(sorted(os.listdir(self.dir)), before)

    def test_a_missing_file_is_told_in_one_line(self):
        self.said("none", "none: No such file or directory\n")

    def test_what_is_no_regular_file_is_not_waited_for(self):
        os.mkfifo(self.dir / "p")
        self.said("p", "p: not a regular file\n")
        self.said(".", ".: not a regular file\n")
        self.said("/dev/zero", "/dev/zero: not a regular file\n")

    def test_a_composite_is_refused_with_the_command_that_makes_a_plain_file_of_it(self):
        self.refused(container([(sample(r, 8, 6, (1,)).bytes(), r) for r in (1000.0, 500.0)]),
                     "a composite of 2 components: make one grid of it first, "
                     "\"zel_combine -same_res -i f -o NEW\"")

    def test_an_old_layout_is_refused_with_the_command_that_makes_a_current_file_of_it(self):
        for version in (1.0, 1.11, 1.31, 1.41, 1.5):
            self.refused(sample(1000.0, 8, 6, (1,), version=version).bytes(),
                         "version %g at offset 0: an older layout than 2.21" % version + CURRENT)
        for version in (1.51, 2.01, 2.11):
            self.refused(sample(1000.0, 8, 6, (1,), version=version).bytes(),
                         "version %g at offset 1221: an older layout than 2.21" % version + CURRENT)

    def test_a_big_endian_file_is_refused_without_that_advice(self):
        for version in (1.0, 1.32, 1.5):
            self.refused(sample(1000.0, 8, 6, (1,), version=version, order=">").bytes(),
                         "version %g at offset 0, big-endian: only the library reads it" % version)

    def test_what_is_no_zel_file_is_called_that(self):
        for data in (b"\x89PNG\r\n\x1a\n" + bytes(3000), b"GIF89a" + bytes(3000), bytes(3000)):
            self.refused(data, "not a ZEL file")

    def test_a_file_with_a_mask_is_refused(self):
        f = sample(1000.0, 8, 6, (1, 3))
        f.channels[1].mask = full_mask()
        self.refused(f.bytes(), "channel 1 has a classifier mask: only the library reads past it")

    def test_a_virtual_raster_that_cannot_be_put_in_place_is_told_in_one_line(self):
        (self.dir / "f").write_bytes(sample(1000.0, 8, 6, (1,)).bytes())
        (self.dir / "f.vrt").mkdir()
        status, said = self.run_script("f")
        self.assertEqual((status, said.count("\n")), (1, 1), said)
        self.assertTrue(said.endswith(": Is a directory\n"), said)
        self.assertEqual(sorted(os.listdir(self.dir)), ["f", "f.vrt"])


    def test_a_file_of_the_name_of_its_own_part_is_left_alone(self):
        (self.dir / "f").write_bytes(sample(1000.0, 8, 6, (1,)).bytes())
        started = "import os, runpy, sys; open('f.vrt.%d' % os.getpid(), 'w').write('mine'); " \
                  "sys.argv[1:] = ['f']; runpy.run_path(sys.argv[0], run_name='__main__')"
        done = subprocess.run([sys.executable, "-c", started.replace("sys.argv[0]", repr(str(SCRIPT)))],
                              cwd=self.dir, timeout=60, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn(b"File exists", done.stdout)
        left = [name for name in os.listdir(self.dir) if name.startswith("f.vrt")]
        self.assertEqual([(self.dir / name).read_text() for name in left], ["mine"])


class Palettes(ScriptTest):
    def band(self, code, comment, label):
        f = sample(1000.0, 8, 6, (code,))
        f.luts = [Lut(0, label, [(1, 2, 3, b"water")])]
        f.channels[0].comment = comment
        return ElementTree.fromstring(self.made(f)).find("VRTRasterBand")

    def test_classes_have_the_colours_of_the_lut_that_their_comment_names(self):
        band = self.band(3, b"colours", b"colours")
        self.assertEqual(band.findtext("ColorInterp"), "Palette")
        self.assertEqual([c.text for c in band.find("CategoryNames")], ["water"])

    def test_floats_and_scaled_numbers_are_no_classes(self):
        for code in (1, 2, 4):
            band = self.band(code, b"colours", b"colours")
            for element in ("ColorInterp", "CategoryNames", "ColorTable"):
                self.assertIsNone(band.find(element), code)

    def test_a_channel_without_a_comment_names_no_lut(self):
        self.assertIsNone(self.band(3, b"", b"").find("ColorInterp"))


class Texts(ScriptTest):
    def test_control_characters_are_dropped(self):
        f = sample(1000.0, 8, 6, (3,))
        f.luts = [Lut(0, b"col\x1bours", [(1, 2, 3, b"wa\x01ter\n")])]
        f.channels[0].label, f.channels[0].comment = b"a\x08b\x1f\x7f <\xe9>\x85", b"colo\x02urs"
        band = ElementTree.fromstring(self.made(f)).find("VRTRasterBand")
        self.assertEqual(band.findtext("Description"), "ab <\xe9>")
        self.assertEqual([c.text for c in band.find("CategoryNames")], ["water"])

    def test_a_name_that_is_no_text_is_taken_as_its_bytes(self):
        made = self.made(sample(1000.0, 8, 6, (3,)), os.fsdecode(b"bad\xff.zel"))
        self.assertIn(b'<SourceFilename relativeToVRT="1">bad\xff.zel</SourceFilename>', made)

    def test_positions_that_are_no_places_tie_nothing(self):
        f = sample(1000.0, 8, 6, (3,))
        f.lines[0].lat = [math.nan, 91.0, 10.0]
        f.lines[1].lon = [-999.0, 20.0, math.inf]
        points = list(ElementTree.fromstring(self.made(f)).iter("GCP"))
        self.assertEqual([(p.get("Pixel"), p.get("Line")) for p in points[:2]],
                         [("8.5", "0.5"), ("4.5", "1.5")])
        self.assertEqual(len(points), 2 + 4 * 3)
        self.assertEqual([p.get("Id") for p in points], [str(k + 1) for k in range(len(points))])


class TiedLines(ScriptTest):
    """The lines that have ground control points."""

    def tied(self, height):
        f = sample(1000.0, 8, height, (3,))
        points = list(ElementTree.fromstring(self.made(f)).iter("GCP"))
        lines = sorted({float(p.get("Line")) for p in points})
        last = [p for p in points if p.get("Line") == "%g" % (height - 0.5)]
        self.assertEqual([float(p.get("Y")) for p in last], f.lines[-1].lat)
        self.assertEqual(len(points), 3 * len(lines))
        return lines

    def test_the_first_and_the_last_line_are_tied_whatever_their_number(self):
        for height in (1, 2, 19, 20, 21, 22, 39, 40, 41, 50, 97):
            lines = self.tied(height)
            self.assertEqual((lines[0], lines[-1]), (0.5, height - 0.5), height)

    def test_lines_between_them_are_as_far_apart_as_a_twentieth_of_the_file(self):
        for height in (1, 7, 20):
            self.assertEqual(self.tied(height), [n + 0.5 for n in range(height)])
        for height in (21, 41, 97, 1000):
            lines = self.tied(height)
            gaps = [b - a for a, b in zip(lines, lines[1:])]
            self.assertLessEqual(max(gaps), height / 19 + 1, height)
            self.assertEqual(len(lines), 20, height)


class Descriptions(ScriptTest):
    """What the file says of the scene and of each channel."""

    def items(self, element):
        return {m.get("key"): m.text for m in element.find("Metadata")}

    def scene(self, **fields):
        f = sample(1000.0, 8, 6, (3,))
        for name, value in fields.items():
            setattr(f, name, value)
        return f

    def test_units_are_in_a_form_that_programs_read_and_as_the_report_has_them(self):
        rows = {0: (None, "None"), 1: ("K", "Degree Kelvin"), 2: ("%", "Percent Albedo"),
                3: ("1", "Reflectance"), 4: ("degC", "Degree Celcius"),
                5: (None, "None (Look up Table)"), 6: (None, "None (Daytime)"),
                7: ("W m-2 um-1 sr-1", "Radiance(W/m^2/micron/steradian)"), 8: (None, "Unknown")}
        for code, (unit, name) in rows.items():
            f = self.scene()
            f.channels[0].units = code
            band = ElementTree.fromstring(self.made(f)).find("VRTRasterBand")
            self.assertEqual(band.findtext("UnitType"), unit, code)
            self.assertEqual(self.items(band)["UNITS"], name, code)

    def test_a_channel_has_its_wavelength_and_its_comment(self):
        f = self.scene()
        f.channels[0].wavelength, f.channels[0].comment = 0.865, b"near <infrared>"
        items = self.items(ElementTree.fromstring(self.made(f)).find("VRTRasterBand"))
        self.assertEqual((items["WAVELENGTH_UM"], items["COMMENT"]), ("0.865", "near <infrared>"))

    def test_a_channel_without_wavelength_and_comment_has_none(self):
        f = self.scene()
        f.channels[0].wavelength, f.channels[0].comment = 0.0, b""
        items = self.items(ElementTree.fromstring(self.made(f)).find("VRTRasterBand"))
        self.assertEqual(sorted(items), ["UNITS"])

    def test_the_scene_has_its_date_its_times_its_sensor_and_its_comment(self):
        f = self.scene(year=2017, julian=263, satellite=16, data_type=6, comment=b"Maria,\n two bands")
        for n, line in enumerate(f.lines):
            line.time = 13.5 + n * 0.01   # the last line: 13.55 h, 13:33:00
        items = self.items(ElementTree.fromstring(self.made(f)))
        self.assertEqual(items, {
            "DATE": "2017-09-20", "START_TIME": "2017-09-20T13:30:00.000Z",
            "END_TIME": "2017-09-20T13:33:00.000Z", "SENSOR": "GOES", "SATELLITE_NUMBER": "16",
            "RESOLUTION_M": "1000", "COMMENT": "Maria, two bands"})

    def test_a_scan_that_goes_on_past_midnight_ends_on_the_next_day(self):
        f = self.scene(year=2023, julian=365)
        f.lines[0].time, f.lines[-1].time = 23.75, 24.5
        items = self.items(ElementTree.fromstring(self.made(f)))
        self.assertEqual(items["START_TIME"], "2023-12-31T23:45:00.000Z")
        self.assertEqual(items["END_TIME"], "2024-01-01T00:30:00.000Z")

    def test_a_date_or_time_that_cannot_be_is_left_out(self):
        for fields in ({"julian": 0}, {"julian": 367}, {"julian": 366, "year": 2023},
                       {"year": 0}, {"year": -5}, {"year": 10000}):
            items = self.items(ElementTree.fromstring(self.made(self.scene(**fields))))
            self.assertEqual({"DATE", "START_TIME", "END_TIME"} & set(items), set(), fields)
        for time in (math.nan, math.inf, -0.1, 48.0, 1e300):
            f = self.scene()
            f.lines[0].time = time
            items = self.items(ElementTree.fromstring(self.made(f)))
            self.assertEqual(("DATE" in items, "START_TIME" in items, "END_TIME" in items),
                             (True, False, True), time)

    def test_lines_that_all_begin_at_0_have_no_time(self):
        f = self.scene()
        for line in f.lines:
            line.time = 0.0
        items = self.items(ElementTree.fromstring(self.made(f)))
        self.assertEqual(("DATE" in items, "START_TIME" in items, "END_TIME" in items), (True, False, False))

    def test_a_sensor_without_a_name_is_its_number(self):
        items = self.items(ElementTree.fromstring(self.made(self.scene(data_type=99))))
        self.assertEqual(items["SENSOR"], "99")


class Outputs(ScriptTest):
    """Where the virtual raster goes."""

    def setUp(self):
        super().setUp()
        (self.dir / "in").mkdir()
        (self.dir / "in" / "f").write_bytes(sample(1000.0, 8, 6, (3,)).bytes())
        (self.dir / "out").mkdir()

    def source(self, *words, made):
        self.assertEqual(self.run_script(*words), (0, ""))
        source = ElementTree.parse(self.dir / made).getroot().find("VRTRasterBand/SourceFilename")
        return source.get("relativeToVRT"), source.text

    def test_it_is_beside_the_file_without_an_option(self):
        self.assertEqual(self.source("in/f", made="in/f.vrt"), ("1", "f"))

    def test_o_names_it_and_leaves_the_directory_of_the_file_alone(self):
        full = str((self.dir / "in" / "f").resolve())
        self.assertEqual(self.source("in/f", "-o", "out/g.vrt", made="out/g.vrt"), ("0", full))
        self.assertEqual(self.source("-o", "out/h.vrt", "in/f", made="out/h.vrt"), ("0", full))
        self.assertEqual(os.listdir(self.dir / "in"), ["f"])

    def test_a_file_beside_or_below_it_is_named_from_there(self):
        self.assertEqual(self.source("in/f", "-o", "in/g.vrt", made="in/g.vrt"), ("1", "f"))
        self.assertEqual(self.source("in/f", "-o", "g.vrt", made="g.vrt"), ("1", "in/f"))

    def test_it_never_replaces_the_file_itself(self):
        before = (self.dir / "in" / "f").read_bytes()
        os.symlink("in/f", self.dir / "link")
        os.link(self.dir / "in" / "f", self.dir / "hard")
        for output in ("in/f", "./in/../in/f", "link", "hard"):
            self.assertEqual(self.run_script("in/f", "-o", output),
                             (1, "%s: is the input file\n" % output))
        self.assertEqual((self.dir / "in" / "f").read_bytes(), before)

    def test_a_place_that_does_not_exist_is_an_error(self):
        status, said = self.run_script("in/f", "-o", "nowhere/g.vrt")
        self.assertEqual((status, said.count("\n")), (1, 1), said)
        self.assertIn("No such file or directory", said)

    def test_a_wrong_command_line_shows_the_usage(self):
        for words in ((), ("in/f", "-o"), ("in/f", "in/f"), ("-x", "in/f"), ("-o", "g.vrt")):
            status, said = self.run_script(*words)
            self.assertEqual(status, 2, words)
            self.assertIn("usage: zel_to_vrt.py", said)
        status, said = self.run_script("-h")
        self.assertEqual((status, "usage: zel_to_vrt.py" in said), (0, True))


@unittest.skipUnless(SCENES.is_dir(), "no sample scenes (ZEL_TEST_DATA)")
class RealScenes(ScriptTest):
    CURRENT = ("goes16_maria_1km", "goes16_maria_2km", "goes16_maria_4km", "landsat8_gulf_15m",
               "landsat8_gulf_30m", "landsat8_gulf_90m", "sentinel2_ireland_20m",
               "sentinel2_ireland_60m", "nlcd_zion_31m")

    def tree(self, name):
        status, said = self.run_script(str(SCENES / (name + ".zel")), "-o", name + ".vrt")
        self.assertEqual((status, said), (0, ""))
        return ElementTree.parse(self.dir / (name + ".vrt")).getroot()

    def test_the_first_and_the_last_line_of_every_scene_are_tied_to_their_own_positions(self):
        for name in self.CURRENT:
            f, points = parse((SCENES / (name + ".zel")).read_bytes()), list(self.tree(name).iter("GCP"))
            for n in (0, len(f.lines) - 1):
                got = [(float(p.get("X")), float(p.get("Y"))) for p in points
                       if p.get("Line") == "%g" % (n + 0.5)]
                self.assertEqual(got, list(zip(f.lines[n].lon, f.lines[n].lat)), (name, n))

    def test_old_layouts_are_refused(self):
        for name, said in (("goes16_maria_4km_v1.41", "version 1.41 at offset 0: an older layout than 2.21"),
                           ("goes16_maria_4km_v1.32_big_endian", "version 1.32 at offset 0, big-endian")):
            status, output = self.run_script(str(SCENES / (name + ".zel")), "-o", "x.vrt")
            self.assertEqual((status, said in output), (1, True), output)

    def test_scenes_have_their_dates_and_units(self):
        items = {m.get("key"): m.text for m in self.tree("goes16_maria_1km").find("Metadata")}
        self.assertEqual((items["DATE"], items["START_TIME"], items["SENSOR"]),
                         ("2017-09-23", "2017-09-23T13:40:31.761Z", "GOES"))
        landsat = self.tree("landsat8_gulf_90m")
        self.assertEqual([b.findtext("UnitType") for b in landsat.iter("VRTRasterBand")],
                         ["1", "1", "W m-2 um-1 sr-1", "W m-2 um-1 sr-1"])

    @unittest.skipUnless(shutil.which("gdaltransform"), "GDAL is not installed")
    def test_gdal_puts_the_bottom_of_a_geostationary_scene_where_the_file_does(self):
        """Within 200 m of the navigation points, by a thin plate spline through the tied ones."""
        f = parse((SCENES / "goes16_maria_1km.zel").read_bytes())
        self.tree("goes16_maria_1km")
        places = [(n, k) for n in (999, 990, 975, 960, 25) for k in range(0, f.nav_points, 9)]
        pixels = "".join("%g %g\n" % (f.nav_start + k * f.nav_interval + 0.5, n + 0.5) for n, k in places)
        done = subprocess.run(["gdaltransform", "-tps", "goes16_maria_1km.vrt"], cwd=self.dir, input=pixels,
                              timeout=120, stdout=subprocess.PIPE, check=True, universal_newlines=True)
        got = [[float(w) for w in line.split()[:2]] for line in done.stdout.splitlines()]
        self.assertEqual(len(got), len(places))
        for (lon, lat), (n, k) in zip(got, places):
            east = (lon - f.lines[n].lon[k]) * math.cos(math.radians(lat))
            away = math.hypot(east, lat - f.lines[n].lat[k]) * 111195
            self.assertLess(away, 200, (n, k))

    @unittest.skipUnless(shutil.which("gdallocationinfo"), "GDAL is not installed")
    def test_gdal_reads_the_pixels_that_the_file_has(self):
        for name in ("landsat8_gulf_30m", "sentinel2_ireland_20m", "nlcd_zion_31m"):
            f = parse((SCENES / (name + ".zel")).read_bytes())
            self.tree(name)
            x, n = f.pixels - 3, len(f.lines) - 2
            done = subprocess.run(["gdallocationinfo", "-valonly", name + ".vrt", str(x), str(n)],
                                  cwd=self.dir, stdout=subprocess.PIPE, check=True, timeout=60)
            self.assertEqual([int(w) for w in done.stdout.split()],
                             [c.rows[n][x] for _, c in f.present()], name)


if __name__ == "__main__":
    unittest.main()
