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
from sample import sample  # noqa: E402
from zelfile import PREFIX_SIZE, Channel, Histogram, Lut, Table, container  # noqa: E402

# Places in a file without LUTs and tables.
VERSION, SLOTS, PIXELS, NAV_POINTS, LUTS, TABLES = (
    PREFIX_SIZE + at for at in (0, 4, 12, 14, 2036, 2038))
BLOCKS = PREFIX_SIZE + 2040
CHANNELS = BLOCKS + 3 * 2 + 2 * 4 + 20000
CODE, CHANNEL_TABLES, HISTOGRAM = 12, 280, 283  # in a channel record; the last behind "is present"
RECORD = 284


class ScriptTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(tempfile.mkdtemp(prefix="zel_vrt_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)

    def run_script(self, name):
        """(status, standard output and error) of a run in the directory."""
        done = subprocess.run([sys.executable, str(SCRIPT), name], cwd=self.dir, timeout=60,
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
        self.number(VERSION, "f", 9, "version %g at offset %d: a newer layout than 2.3")
        self.number(VERSION, "f", math.nan, "version %g at offset %d: a newer layout than 2.3")
        self.number(VERSION, "f", 2, "version %g at offset %d: an older layout than 2.21")
        self.number(VERSION, "f", -math.inf, "version %g at offset %d: an older layout than 2.21")

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

    def test_a_last_line_that_is_cut_short_is_left_out(self):
        f = sample(1000.0, 8, 6, (1, 4))
        tree = ElementTree.fromstring(self.made(f.bytes()[:-1]))
        self.assertEqual(tree.get("rasterYSize"), "5")
        self.assertEqual(len(list(tree.iter("GCP"))), 5 * 3)


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

    def test_a_composite_is_refused(self):
        self.refused(container([(sample(r, 8, 6, (1,)).bytes(), r) for r in (1000.0, 500.0)]),
                     "not a plain file with a prefix")

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


if __name__ == "__main__":
    unittest.main()
