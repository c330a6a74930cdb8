"""Classes translated through the table in a feature header."""
import math
import os
import unittest
from array import array

from harness import grids_missing, main, progress, report
from colorcube import CUBE
from vorn_case import ENTRY, HEIGHT, NO_TABLE, NOT_READ, TEXT, WIDTH, Lut, LutTest, VornTest
from vornfile import feature_header, float_channel, labels_file, lut_channel, raster
from zelfile import parse


CANNOT_READ = "cannot read zel_feature header file %s\n"
DAMAGED = "zel_combine: Error: damaged class table in feature header file f\n"


def translated(rows, classes):
    """Rows after translation by a table that maps all further classes to themselves."""
    table = list(classes) + list(range(len(classes), 1000))
    return [[float(table[int(v)]) if -1 < v < 1000 else v for v in r] for r in rows]


class Classes(LutTest):
    def setUp(self):
        super().setUp()
        self.rows = [[float((x + y) % 5) for x in range(WIDTH)] for y in range(HEIGHT)]
        self.put("v", raster([self.rows]))
        self.put("l", TEXT)
        self.luts = [Lut(1, b"T", ENTRY)]

    def translates(self, comments, classes, said, words="-vorn_lut l", luts=None, warns=(),
                   **header):
        self.put("f", feature_header(comments, **header))
        rows = translated(self.rows, classes)
        luts = luts or self.luts
        channel = lut_channel(b"v", luts[-1].label, rows)
        self.appends("-vorn v -feat_hdr f " + words, [(channel, rows)], luts, said, warns)

    def damaged(self, comment):
        self.put("f", feature_header([comment]))
        self.refused("-vorn v -vorn_lut l -feat_hdr f", DAMAGED)

    def test_classes_are_translated_and_printed(self):
        self.translates([b"ARFF_TO_ZEL 5 1 14 3 900 0"], [1, 14, 3, 900, 0],
                        "5 classes: 1 14 3 900 0\n")

    def test_with_the_color_cube(self):
        self.translates([b"ARFF_TO_ZEL 5 4 3 2 1 0"], [4, 3, 2, 1, 0], "5 classes: 4 3 2 1 0\n",
                        "-vorn_lut_cc", [Lut(0, b"Color Cube LUT", CUBE)])

    def test_classes_after_the_table_stay(self):
        self.translates([b"ARFF_TO_ZEL 2 7 8"], [7, 8], "2 classes: 7 8\n")

    def test_an_empty_table(self):
        self.translates([b"ARFF_TO_ZEL 0"], [], "0 classes:\n")

    def test_the_first_comment_that_holds_the_keyword_counts(self):
        self.translates([b"made by hand", b"ARFF_TO_ZEL 1 9", b"ARFF_TO_ZEL 1 8"], [9],
                        "1 classes: 9\n")

    def test_the_keyword_may_stand_inside_a_word(self):
        self.translates([b"(ARFF_TO_ZEL): 2 9 8"], [9, 8], "2 classes: 9 8\n")

    def test_the_count_is_the_second_word_wherever_the_keyword_stands(self):
        self.translates([b"table 1 6 ARFF_TO_ZEL"], [6], "1 classes: 6\n")

    def test_the_keyword_is_case_sensitive(self):
        self.translates([b"arff_to_zel 1 9"], [], "", warns=NO_TABLE)

    def test_several_blanks_divide_as_one(self):
        self.translates([b" ARFF_TO_ZEL   2  9   8  "], [9, 8], "2 classes: 9 8\n")

    def test_numbers_beyond_the_count_are_not_read(self):
        self.translates([b"ARFF_TO_ZEL 1 9 8 7"], [9], "1 classes: 9\n")

    def test_words_that_are_no_number_are_0(self):
        self.translates([b"ARFF_TO_ZEL 3 x 8y -"], [0, 8, 0], "3 classes: 0 8 0\n")

    def test_classes_may_be_negative_or_large(self):
        self.translates([b"ARFF_TO_ZEL 2 -3 70000"], [-3, 70000], "2 classes: -3 70000\n")

    def test_a_table_of_all_1000_classes(self):
        classes = list(reversed(range(1000)))
        text = b" ".join(b"%d" % c for c in classes)
        self.translates([b"ARFF_TO_ZEL 1000 " + text], classes,
                        "1000 classes: " + text.decode() + "\n")

    def test_without_a_table_classes_stay_what_they_are(self):
        self.translates([], [], "", warns=NO_TABLE)
        self.translates([b"some comment"], [], "", warns=NO_TABLE)

    def test_a_header_with_other_contents_and_an_older_version(self):
        self.translates([b"ARFF_TO_ZEL 1 9"], [9], "1 classes: 9\n", version=b"1.1",
                        conditions=[(b"bright", b"Ch1 > 5"), (b"both", b"bright && Ch2 < 3")])

    def test_values_between_classes_are_truncated(self):
        self.rows = [[0.0, 0.9, 1.0, 1.999, 2.5, -0.5, -0.999, 4.25]] * HEIGHT
        self.put("v", raster([self.rows]))
        self.translates([b"ARFF_TO_ZEL 3 10 20 30"], [10, 20, 30], "3 classes: 10 20 30\n")

    def test_damaged_tables(self):
        for comment in (b"ARFF_TO_ZEL", b"ARFF_TO_ZEL ", b"ARFF_TO_ZEL 3 1 2", b"ARFF_TO_ZEL 1",
                        b"ARFF_TO_ZEL -1 1", b"ARFF_TO_ZEL 1001 1",
                        b"ARFF_TO_ZEL 99999999999999999999 1"):
            self.damaged(comment)

    def test_missing_file(self):
        self.refused("-vorn v -vorn_lut l -feat_hdr none", CANNOT_READ % "none")

    def test_it_is_opened_after_the_lut_file(self):
        self.refused("-vorn v -vorn_lut none -feat_hdr neither",
                     "Cannot open LUT definition file none\n")

    def test_a_file_that_is_no_feature_header(self):
        self.put("f", b"ZEL_FEATURE_HEADEN\0" + bytes(100))
        status, out, err = self.run_both("-i a -vorn v -vorn_lut l -feat_hdr f -o out".split())
        self.assertEqual((status, out), (255, grids_missing()))
        self.assertTrue(err.startswith("Error: file does not contain ZEL Feature header\n"), err)
        self.absent("out")

    def test_a_feature_header_cut_short(self):
        whole = feature_header([b"ARFF_TO_ZEL 1 9"])
        for size in (0, 19, 25, 500, 4500, len(whole) - 60):
            self.put("f", whole[:size])
            status, out, err = self.run_both("-i a -vorn v -vorn_lut l -feat_hdr f -o out".split())
            self.assertEqual((status, out), (255, grids_missing()), size)
            self.assertTrue(err.endswith("zel_combine: Error: cannot read zel_feature header file %s\n"
                                         % "f"), err)
            self.assertGreater(err.count("\n"), 1, "and what is wrong")
            self.absent("out")


class ClassesWithoutLut(VornTest):
    """Without a LUT no table is read; without a table the translation still truncates."""

    def test_the_feature_header_is_not_opened(self):
        rows, = self.rasters(step=0.0)
        self.appends("-vorn v -feat_hdr none", [(float_channel(b"v", rows), rows)],
                     warns=NOT_READ)

    def test_classes_become_whole_numbers_and_other_values_stay(self):
        rows = [[3.7, -0.5, 999.9, 1000.0, -1.0, 1e30, math.inf, math.nan]] * HEIGHT
        self.put("v", raster([rows]))
        whole = [[3.0, 0.0, 999.0, 1000.0, -1.0, 1e30, math.inf, math.nan]] * HEIGHT
        expected = self.made([(float_channel(b"v", whole), whole)])
        self.check("-i a -vorn v -feat_hdr none -o out",
                   grids_missing() + report(expected) + progress(HEIGHT), warns=NOT_READ)
        made = parse(self.got("out"))
        self.assertEqual([r.tobytes() for r in made.channels[2].rows],
                         [array("f", r).tobytes() for r in whole])


class SharedCounter(LutTest):
    """Reading a table of n classes moves the set-up to the channel n + 1, counted from 0."""

    def setUp(self):
        super().setUp()
        self.put("l", TEXT)

    def run_with(self, table, channels, words="", warns=()):
        self.planes = self.rasters(channels, 0.0)
        self.put("f", feature_header([table]))
        words += " -overwrite -i a -vorn v -vorn_lut l -feat_hdr f -o out"
        return self.run_tool(*words.split(), warns=warns)

    def missing(self, table, channels, said, slot):
        """The channels after the first are not set up; loading them ends the run."""
        status, out = self.run_with(table, channels)
        self.assertEqual(status, 255)
        self.assertTrue(out.startswith(grids_missing() + said + "ZEL lib version"), out)
        end = "Histogram flag 1\nAttempted to load undefined channel index %d.. Exiting...\n"
        self.assertTrue(out.endswith(end % slot), out)
        self.assertEqual(out.count(" classes:"), said.count(" classes:"))

    def test_one_channel_is_not_touched_by_it(self):
        for n in range(3):
            status, out = self.run_with(b"ARFF_TO_ZEL %d" % n + b" 1" * n, 1)
            self.assertEqual((status, out.count(" classes:")), (0, 1))

    def test_the_channels_up_to_the_class_count_are_not_set_up(self):
        self.missing(b"ARFF_TO_ZEL 2 1 0", 2, "2 classes: 1 0\n", 3)
        self.missing(b"ARFF_TO_ZEL 2 1 0", 3, "2 classes: 1 0\n", 3)

    def test_a_class_count_far_above_the_channels(self):
        self.missing(b"ARFF_TO_ZEL 1000" + b" 5" * 1000, 4, "1000 classes:" + " 5" * 1000 + "\n", 3)

    def test_one_class_and_two_channels(self):
        self.missing(b"ARFF_TO_ZEL 1 6", 2, "1 classes: 6\n", 3)

    def test_without_a_table_all_channels_are_set_up(self):
        status, out = self.run_with(b"no table", 3, warns=NO_TABLE)
        self.assertEqual(status, 0)
        expected = self.made([(lut_channel(b"v channel %d" % (k + 1), b"T", p), p)
                              for k, p in enumerate(self.planes)],
                             [Lut(0, b"T", ENTRY), Lut(1, b"T", ENTRY), Lut(2, b"T", ENTRY)])
        # Classes stay as they are; values of 1000 and more, as in this plane, are not classes.
        self.check_made("out", expected)

    def test_a_channel_set_up_again_and_again_ends_when_no_lut_can_be_added(self):
        self.scene.luts = [Lut(k, b"", []) for k in range(32760)]
        self.put("a", self.scene)
        status, out = self.run_with(b"ARFF_TO_ZEL 0", 2)
        self.assertEqual((status, out), (
            255, grids_missing() + "0 classes:\n" * 7
            + "ZELAddLUT: cannot add LUT T: a file holds at most 32767\n"))
        self.absent("out")

    def test_a_text_header_ends_it_sooner(self):
        self.put("h", labels_file(["one", "two", "three"]))
        status, out = self.run_with(b"ARFF_TO_ZEL 0", 2, "-vorn_hdr h")
        self.assertEqual((status, out), (
            255, grids_missing() + "0 classes:\n" * 3 + "error reading header file\n"))
        self.absent("out")

    @unittest.skipUnless(os.environ.get("ZEL_LARGE_TESTS"), "2 GB of memory: set ZEL_LARGE_TESTS")
    def test_more_luts_than_a_header_can_hold_end_it_sooner(self):
        self.put("l", b"T\n0 1\n32767\n" + b"0 0 0 0:\n" * 32767)
        status, out = self.run_with(b"ARFF_TO_ZEL 0", 2)
        most = 2_000_000_000 // (204 + 203 * 32767)
        self.assertEqual((status, out), (
            255, grids_missing() + "0 classes:\n" * most
            + "zel_combine: Error: too many LUT entries for one file\n"))
        self.absent("out")


class Format(unittest.TestCase):
    def test_a_feature_header_begins_as_the_format_says(self):
        data = feature_header()
        self.assertEqual(data[:27], b"ZEL_FEATURE_HEADER\0" + b"\0\0\0\x041.2\0")
        self.assertEqual(data.count(b"\0\0\0\x08Ch1 + 2\0"), 1)


if __name__ == "__main__":
    main()
