"""Whole runs of both paths: what is printed, how the run ends, and which files are left."""
import os
import struct

from harness import CREATING, FAILED, GRIDS, ToolTest, all_tables_trace, cases, grids_missing, main
from harness import progress, question, report
from model import FLT_MAX, as_read, one_grid
from sample import sample
from zelfile import Histogram, Lut, Table, container

NO_FILE = "ZELReadCompositeInfo: cannot open file %s\n"
UNSUPPORTED = ("OpenReadOnlyFile: Trying another byte ordering...\n"
               "OpenReadOnlyFile: unsupported data type\n")
NEWER = "ZELOpen: Error: ZEL Library version %s or higher needed to open file\n"


def newer(text=b"2.4"):
    return sample(version_text=text).bytes()


def unsupported(version=2.5):
    """A file without a prefix whose version is unsupported in either byte order."""
    return struct.pack("<f", version) + bytes(4000)


class OneGrid(ToolTest):
    def one(self, f, name="a", **model):
        """A run that rewrites one plain file; returns the expected file."""
        self.put(name, f)
        expected = one_grid([f], **model)
        self.check(["-same_res", "-i", name, "-o", "out"],
                   all_tables_trace(as_read(f), "Read") + grids_missing()
                   + all_tables_trace(expected, "Write") + report(expected, len(f.lines))
                   + progress(len(f.lines)))
        self.check_made("out", expected)
        return expected

    def test_one_plain_file_is_rewritten_to_the_byte(self):
        self.one(sample(codes=(1, 2, 3, 4, 5), height=4))

    def test_stored_pixels_are_copied_not_encoded_again(self):
        f = sample(codes=(1, 2), height=2, width=300)
        f.channels[0].rows = [list(range(256)) + [7] * 44] * 2
        f.channels[1].rows = [[i * 217 for i in range(300)], [65535 - i for i in range(300)]]
        expected = self.one(f)
        self.assertEqual(list(expected.channels[1].rows[1][:2]), [65535, 65534])

    def test_a_single_plain_file_keeps_its_slot_numbers_and_its_slot_count(self):
        f = sample(codes=(3, 5, 1), places=(1, 4, 6), slots=9)
        expected = self.one(f)
        self.assertEqual([s for s, _ in expected.present()], [1, 4, 6])
        self.assertEqual(expected.slots, 9)

    def test_1000_slots(self):
        self.one(sample(codes=(3, 5), places=(0, 999), height=1))

    def test_an_empty_slot_keeps_its_numbers_and_loses_its_texts(self):
        f = sample(codes=(3, 3), places=(0, 2))
        empty = sample(codes=(2,)).channels[0]
        empty.present, empty.units, empty.rows = 0, 6, []
        f.channels[1] = empty
        expected = self.one(f)
        self.assertEqual((expected.channels[1].label, expected.channels[1].units), (b"", 6))

    def test_a_file_without_channels(self):
        self.one(sample(codes=(), height=3))

    def test_a_file_without_navigation(self):
        self.one(sample(nav_points=0))

    def test_a_single_navigation_point(self):
        self.one(sample(nav_points=1, nav_start=2, nav_interval=1))

    def test_line_times_nadir_and_padding_are_copied(self):
        f = sample(height=3)
        f.lines[1].left, f.lines[1].right, f.lines[1].nadir = 2, 5, 1
        f.lines[2].nadir_lat, f.lines[2].nadir_lon, f.lines[2].altitude = -80.5, 179.5, 36000.25
        self.one(f)

    def test_header_texts_luts_and_tables_are_copied_and_traced(self):
        f = sample(codes=(3, 4), meta_type=2, meta_size=700, metadata=b"line of text\n" * 60)
        f.luts = [Lut(4, b"few", [(1, 2, 3, b"first"), (255, 0, 128, b"second")]), Lut(9, b"none", [])]
        f.tables = [Table(3, b"curve", [0.5, -1.25, 1e10]), Table(1, b"empty", [])]
        f.channels[1].tables = [Table(7, b"of channel", [2.0])]
        self.one(f)

    def test_text_after_a_terminator_is_not_carried_over(self):
        f = sample(comment=b"short\0and junk")
        f.channels[0].label, f.channels[0].comment = b"name\0junk", b"\0" + b"j" * 119
        expected = self.one(f)
        self.assertEqual((expected.comment, expected.channels[0].label), (b"short", b"name"))

    def test_texts_that_fill_their_fields(self):
        f = sample(comment=b"c" * 2000, meta_size=20000, metadata=b"m" * 20000)
        f.channels[0].label = f.channels[0].comment = b"x" * 119
        self.one(f)

    def test_a_year_of_two_digits_becomes_19xx(self):
        self.assertEqual(self.one(sample(year=97)).year, 1997)

    def test_a_year_of_100_stays(self):
        self.assertEqual(self.one(sample(year=100)).year, 100)

    def test_stored_histograms_are_counted_again_and_standard_ones_kept(self):
        f = sample(codes=(3, 5))
        f.channels[0].histogram = Histogram(9.0, 1.0, [5] * 16)
        f.channels[1].standard = Histogram(4.0, -4.0, list(range(32)))
        expected = self.one(f)
        self.assertEqual(expected.channels[1].standard.counts, list(range(32)))
        self.assertEqual(len(expected.channels[0].histogram.counts), 256)

    def test_a_histogram_that_saw_nothing_keeps_its_reversed_range(self):
        expected = self.one(sample(width=1, nav_points=0))
        h = expected.channels[0].histogram
        self.assertEqual((h.max, h.min, sum(h.counts)), (-FLT_MAX, FLT_MAX, 0))

    def test_a_file_without_lines(self):
        self.one(sample(height=0))

    def test_less_than_a_scan_time_after_the_last_line_is_not_a_line(self):
        f = sample(height=3)
        expected = one_grid([f])
        self.put("a", f.bytes() + b"1234567")
        self.check("-same_res -i a -o out", grids_missing() + report(expected, 3) + progress(3))
        self.check_made("out", expected)

    def test_a_trailing_partial_line_is_not_a_line(self):
        f = sample(height=3)
        expected = one_grid([f])
        self.put("a", f.bytes() + f.line_record(0)[:-1])
        self.check("-same_res -i a -o out", grids_missing() + report(expected, 3) + progress(3))
        self.check_made("out", expected)

    def test_progress_is_reported_every_50_lines(self):
        for lines, reported in ((49, ""), (50, "line 50\n"), (120, "line 50\nline 100\n")):
            f = sample(height=lines, width=3, nav_points=0)
            self.put("a", f)
            self.check("-same_res -overwrite -i a -o out",
                       grids_missing() + report(one_grid([f])) + reported + "%d lines processed\n" % lines)

    def test_one_composite_becomes_a_plain_file_at_its_base_resolution(self):
        parts = [sample(2000, 4, 3, (3, 2)), sample(1000, 8, 6, (5,), seed=1)]
        self.put("a", container([(p.bytes(), p.resolution) for p in parts], base=1))
        expected = one_grid(parts, 1)
        self.check("-same_res -i a -o out",
                   grids_missing() + report(expected, 6) + progress(6))
        self.check_made("out", expected)
        self.assertEqual(self.got("out")[13:21], struct.pack("<2i", 0, 1))


class OneGridFailures(ToolTest):
    def setUp(self):
        super().setUp()
        self.put("a", sample())
        self.put("b", sample(500, 16, 12))

    def fails(self, words, stdout):
        self.check("-same_res -o out " + words, stdout, 255)
        self.absent("out")

    def test_missing_single_input(self):
        self.fails("-i none", NO_FILE % "none" + "Cannot open input ZEL file none\n")

    def test_missing_input_among_several(self):
        self.fails("-i a -i none", NO_FILE % "none" + "Cannot open composite ZEL file \n")

    def test_missing_first_input_among_several(self):
        self.fails("-i none -i a", NO_FILE % "none" + "Cannot open composite ZEL file \n")

    def test_unsupported_single_input(self):
        self.put("bad", unsupported())
        self.fails("-i bad", UNSUPPORTED + "Cannot open input ZEL file bad\n")

    def test_unsupported_input_among_several(self):
        self.put("bad", unsupported())
        self.fails("-i a -i bad", grids_missing() + UNSUPPORTED + "Error opening file bad\n")

    def test_single_input_that_needs_a_newer_library(self):
        self.put("new", newer())
        self.fails("-i new", NEWER % "2.4")

    def test_input_among_several_that_needs_a_newer_library(self):
        self.put("new", newer(b"10.25"))
        self.fails("-i a -i new", grids_missing() + NEWER % "10.25")

    def test_version_texts_compare_as_numbers(self):
        self.put("same", sample(version_text=b"2.300"))
        expected = one_grid([sample()])
        self.check("-same_res -o out -i same", grids_missing() + report(expected) + progress(6))

    def test_output_that_cannot_be_created(self):
        self.check("-same_res -i a -o no/out", grids_missing()
                   + "ZELOpenWriteOnlyFile: cannot open file no/out\n"
                   + "Cannot create ZEL output file no/out\n", 255)

    def test_output_that_cannot_be_created_with_several_inputs(self):
        self.check("-same_res -i a -i b -o no/out", grids_missing()
                   + "ZELOpenWriteOnlyFile: cannot open file no/out\n"
                   + "Cannot create ZEL output file no/out\n", 255)

    def damaged(self, data):
        self.put("bad", data)
        status, out = self.run_tool(*"-same_res -i bad -o out".split())
        self.assertEqual(status, 255)
        self.assertRegex(out, r"OpenReadOnlyFile: corrupt file bad: .+\n")
        self.assertTrue(out.endswith("Cannot open input ZEL file bad\n"), out)
        self.absent("out")

    def test_a_header_cut_short(self):
        whole = sample().bytes()
        for size in (1221 + 6, 1221 + 2039, 1221 + 15000, 1221 + 22054 + 100):
            self.damaged(whole[:size])

    def test_no_channel_slots(self):
        f = sample(codes=())
        f.slots = 0
        self.damaged(f.bytes())

    def test_more_than_1000_channel_slots(self):
        self.damaged(sample(slots=1001).bytes())

    def test_no_pixels(self):
        self.damaged(sample(width=0, nav_points=0).bytes())


class OutputIsAnInput(ToolTest):
    """An input would be emptied before its first line is read."""

    def spared(self, words):
        """Refused with one line; both inputs are unchanged."""
        before = {"a": self.put("a", sample()), "b": self.put("b", sample(500, 16, 12))}
        for link, make in (("soft", os.symlink), ("hard", os.link)):
            if not (self.dir / link).exists():
                make("a" if link == "soft" else self.dir / "a", self.dir / link)
        for flag in ("-overwrite", ""):
            status, out = self.run_tool(*("-same_res %s %s" % (flag, words)).split())
            self.assertEqual((status, out.replace(grids_missing(), "").count("\n")), (255, 1), out)
            for name, data in before.items():
                self.same_bytes(self.got(name), data, name)

    def test_a_single_input(self):
        self.spared("-i a -o a")

    def test_one_of_several_inputs(self):
        self.spared("-i a -i b -o b")

    def test_another_spelling(self):
        self.spared("-i b -o ./no_data/../b")

    def test_through_links(self):
        self.spared("-i a -o soft")
        self.spared("-i a -i b -o hard")


def answered(self, path, answer, overwrites):
    """The question, asked of an existing output, and what follows each answer."""
    a, b = sample(), sample(500, 16, 12, (2,))
    self.put("a", a)
    self.put("b", b)
    self.put("out", b"old")
    made = container([(a.bytes(), 1000.0), (b.bytes(), 500.0)])
    lead = CREATING if path == "-multi_res" else ""
    tail = ""
    if path == "-same_res" and overwrites:
        made = one_grid([a, b])
        tail = report(made) + progress(6)
    self.check("%s -i a -i b -o out" % path, lead + grids_missing() + question("out") + tail,
               stdin=answer)
    if not overwrites:
        self.assertEqual(self.got("out"), b"old")
    elif path == "-same_res":
        self.check_made("out", made)
    else:
        self.same_bytes(self.got("out"), made, "out")


ANSWERS = {"y": (b"y\n", True), "yes": (b"yes\n", True), "y without newline": (b"y", True),
           "y and much more": (b"y" * 200 + b"\n", True), "n": (b"n\n", False), "upper Y": (b"Y\n", False),
           "empty line": (b"\n", False), "end of input": (b"", False), "blank y": (b" y\n", False),
           "y on the second line": (b"n\ny\n", False)}


@cases({"%s %s" % (p[1:], name): (p,) + a for p in ("-multi_res", "-same_res")
        for name, a in ANSWERS.items()}, answered)
class OverwriteQuestion(ToolTest):
    def test_it_is_asked_only_when_all_inputs_are_open(self):
        self.put("a", sample())
        self.put("out", b"old")
        self.check("-same_res -i none -o out", NO_FILE % "none" + "Cannot open input ZEL file none\n", 255)
        self.check("-i a -i none -o out", CREATING + NO_FILE % "none" + grids_missing()
                   + NO_FILE % "none" + FAILED)
        self.assertEqual(self.got("out"), b"old")

    def test_same_res_with_overwrite_asks_nothing(self):
        self.put("a", sample())
        self.put("out", b"old")
        expected = one_grid([sample()])
        self.check("-same_res -i a -o out -overwrite", grids_missing() + report(expected) + progress(6))
        self.check_made("out", expected)


class MultiResolution(ToolTest):
    def test_a_composite_is_made_without_further_messages(self):
        a, b = sample(), sample(500, 16, 12, (2,))
        self.put("a", a)
        self.put("b", b)
        self.check("-i a -i b -o out", CREATING + grids_missing())
        self.same_bytes(self.got("out"), container([(a.bytes(), 1000.0), (b.bytes(), 500.0)]), "out")

    def test_one_input_is_refused_with_status_0(self):
        self.put("a", sample())
        self.check("-i a -o out",
                   CREATING + "ZELCreateCompositeFile: Error: insufficient number of input files\n" + FAILED)
        self.absent("out")

    def test_tables_are_traced_when_the_inputs_are_opened(self):
        a, b = sample(), sample(500, 16, 12)
        a.tables = [Table(1, b"one", [1.5, 2.5])]
        b.channels[0].tables = [Table(2, b"two", [])]
        self.put("a", a)
        self.put("b", b)
        self.check("-i a -i b -o out", CREATING + all_tables_trace(a, "Read") + grids_missing()
                   + all_tables_trace(b, "Read"))


class AncillaryGrids(ToolTest):
    """Where the grids are looked for, at the first open of a run."""

    def grids(self, directory, names=GRIDS):
        os.makedirs(self.dir / directory, exist_ok=True)
        for n in names:
            (self.dir / directory / n).write_bytes(bytes(1080 * 2160))

    def run_with(self, missing=(), **env):
        self.put("a", sample())
        self.put("b", sample(500, 16, 12))
        self.check("-i a -i b -overwrite -o out", CREATING + grids_missing(missing), env=env)

    def test_zel_data_dir_has_them_under_epa(self):
        self.grids("z/epa")
        self.run_with(ZEL_DATA_DIR="z")

    def test_epa_data_dir_has_them_itself(self):
        self.grids("e")
        self.run_with(EPA_DATA_DIR="e", ZEL_DATA_DIR=None, CC_DATA_DIR=None)

    def test_cc_data_dir_has_them_under_epa(self):
        self.grids("c/epa")
        self.run_with(CC_DATA_DIR="c")

    def test_each_grid_is_looked_for_everywhere(self):
        self.grids("z/epa", GRIDS[:1])
        self.grids("e", GRIDS[1:2])
        self.grids("c/epa", GRIDS[3:])
        self.run_with(GRIDS[2:3], ZEL_DATA_DIR="z", EPA_DATA_DIR="e", CC_DATA_DIR="c")

    def test_without_variables_the_fixed_directory_is_named(self):
        self.run_with(GRIDS, ZEL_DATA_DIR=None, EPA_DATA_DIR=None, CC_DATA_DIR=None)


if __name__ == "__main__":
    main()
