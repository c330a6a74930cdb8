"""LUT definition files: each kind of line, and the keys of the LUTs that they add."""
from harness import cases, main
from vorn_case import BLACK, ENTRY, TEXT, Lut, LutTest, renumbered
from vornfile import float_channel, lut_channel


def one_entry(line, scale="0 1", entries=4):
    """A definition file with one entry line; the further ones load the minimum into entry 0."""
    low = scale.split()[0]
    return ("Title\n%s\n%d\n%s\n" % (scale, entries, line)
            + "{0} {0} {0} 0 : zero\n".format(low) * (entries - 1)).encode()


def entry(self, line, index, wanted, scale="0 1"):
    """One entry line gives that entry; the others keep their initial values, except entry 0."""
    entries = [(0, 0, 0, b"zero"), BLACK, BLACK, BLACK]
    entries[index] = wanted
    self.loads(one_entry(line, scale), [Lut(1, b"Title", entries)])


@cases({
    "example": ("0 0.5 1 3 : Water", 3, (0, 127, 255, b"Water")),
    "truncated not rounded": ("0.999 0.25 0.75 1 : a", 1, (254, 63, 191, b"a")),
    "above the maximum wraps": ("1.2 2 1.004 1 : a", 1, (50, 254, 0, b"a")),
    "below the minimum wraps": ("-0.01 -1 -0.5 1 : a", 1, (254, 1, 129, b"a")),
    "just below the minimum is truncated to it": ("-0.003 0 0 1 : a", 1, (0, 0, 0, b"a")),
    "scale of bytes": ("255 128 1 1 : a", 1, (255, 128, 1, b"a"), "0 255"),
    "scale that does not begin at zero": ("10 15 20 1 : a", 1, (0, 127, 255, b"a"), "10 20"),
    "scale that runs down": ("0 1 0.25 1 : a", 1, (255, 0, 191, b"a"), "1 0"),
    "scale with exponents": ("1e2 5e1 0 1 : a", 1, (255, 127, 0, b"a"), "0e0 1e+2"),
    "scale with text after it": ("1 0 1 1 : a", 1, (255, 0, 255, b"a"), "0 1 of all colours"),
    "scale without width": ("0 1 -1 1 : a", 1, (0, 0, 0, b"a"), "1 1"),
    "scale that overflows": ("1e38 -1e38 1 1 : a", 1, (0, 0, 0, b"a"), "-3e38 3e38"),
    "colours that are no numbers": ("nan inf -inf 1 : a", 1, (0, 0, 0, b"a")),
    "colours beyond all integers": ("1e30 -1e30 1 1 : a", 1, (0, 0, 255, b"a")),
    "low bits of more than 32": ("33554430 -33554430 1099511627776 1 : a", 1, (2, 254, 0, b"a")),
    "no blank before the colon": ("1 0 1 2:label", 2, (255, 0, 255, b"label")),
    "blanks and colons before the label": ("1 0 1 2 :: : : label", 2, (255, 0, 255, b"label")),
    "colons inside the label": ("1 0 1 2 : a: b :c", 2, (255, 0, 255, b"a: b :c")),
    "blanks after the label": ("1 0 1 2 : a b  ", 2, (255, 0, 255, b"a b  ")),
    "a tab is part of the label": ("1 0 1 2 : \ta", 2, (255, 0, 255, b"\ta")),
    "a carriage return is part of the label": ("1 0 1 2 : a\r", 2, (255, 0, 255, b"a\r")),
    "no label": ("1 0 1 2 :", 2, (255, 0, 255, b"")),
    "white space before the numbers": (" \t1  0\t1   2 : a", 2, (255, 0, 255, b"a")),
    "numbers after the index": ("1 0 1 2 9 9 : a", 2, (255, 0, 255, b"a")),
    "no comment sign after the first column": (" # 1 : a", 0, (0, 0, 0, b"zero")),
    "index of more words than digits": ("1 0 1 2.9 : a", 2, (255, 0, 255, b"a")),
    "label of 200 characters": ("1 0 1 2 : " + "x" * 200, 2, (255, 0, 255, b"x" * 200)),
    "label cut at 200 characters": ("1 0 1 2 : " + "x" * 220, 2, (255, 0, 255, b"x" * 200)),
}, entry)
class Entries(LutTest):
    def test_an_index_equal_to_the_count_is_taken_and_not_written(self):
        self.loads(one_entry("1 1 1 4 : beyond"),
                   [Lut(1, b"Title", [(0, 0, 0, b"zero")] + [BLACK] * 3)])

    def test_an_index_above_the_count(self):
        self.fails(one_entry("1 1 1 5 : beyond"), "ZELLoadLUTEntry: Invalid LUT entry 5\n")

    def test_a_negative_index(self):
        self.fails(one_entry("1 1 1 -1 : beyond"), "ZELLoadLUTEntry: Invalid LUT entry -1\n")

    def test_an_entry_loaded_twice(self):
        self.loads(b"T\n0 1\n2\n1 1 1 1 : a\n0 0 1 1 : b\n",
                   [Lut(1, b"T", [BLACK, (0, 0, 255, b"b")])])

    def test_numbers_that_cannot_be_read_stay_those_of_the_line_before(self):
        self.loads(b"T\n0 1\n5\n0 1 0 1 : a\n1 : b\n1 x 1 2 : c\n0 0 1 : d\n0 0 0 4 : e\n",
                   [Lut(1, b"T", [BLACK, (0, 0, 255, b"d"), BLACK, BLACK, (0, 0, 0, b"e")])])

    def test_they_stay_from_one_lut_to_the_next(self):
        self.loads(b"S\n0 1\n2\n0 1 0 1 : a\n0.5 0 1 1 : b\nT\n0 2\n2\n : c\n1 : d\n",
                   [Lut(1, b"S", [BLACK, (127, 0, 255, b"b")]),
                    Lut(2, b"T", [BLACK, (127, 0, 127, b"d")])])

    def test_the_first_line_without_numbers_is_black_and_loads_entry_0(self):
        self.loads(b"T\n0 1\n1\n:only a label\n", [Lut(1, b"T", [(0, 0, 0, b"only a label")])])

    def test_a_line_without_a_colon(self):
        self.fails(b"T\n0 1\n2\n0 0 0 0 : a\n0 0 0 1 b\n", "error parsing LUT file line 5\n")


class Blocks(LutTest):
    def test_comments_and_blank_lines_are_skipped(self):
        self.loads(b"# colours\n\n \t \r\n#\nT\n0 1\n2\n"
                   b"\n1 0 0 0 : a\n# b\n   \n0 1 0 1 : b\n\n#\n",
                   [Lut(1, b"T", [(255, 0, 0, b"a"), (0, 255, 0, b"b")])])

    def test_a_comment_sign_after_the_first_column_is_a_title(self):
        self.loads(b" # T\n0 1\n0\n", [Lut(1, b" # T", [])])

    def test_a_comment_in_place_of_the_scale_is_taken_for_it(self):
        """It holds no numbers: the scale stays that of the LUT before."""
        self.loads(b"S\n0 2\n0\nT\n# 0 1\n1\n1 1 1 0 : a\n",
                   [Lut(1, b"S", []), Lut(2, b"T", [(127, 127, 127, b"a")])])

    def test_a_blank_line_in_place_of_the_count_is_taken_for_it(self):
        self.loads(b"S\n0 1\n1\n1 1 1 0 : a\nT\n0 1\n\n1 0 1 0 : b\n",
                   [Lut(1, b"S", [(255, 255, 255, b"a")]), Lut(2, b"T", [(255, 0, 255, b"b")])])

    def test_a_scale_of_one_number_keeps_the_other(self):
        self.loads(b"S\n0 2\n0\nT\n1\n1\n1 1.5 2 0 : a\n",
                   [Lut(1, b"S", []), Lut(2, b"T", [(0, 127, 255, b"a")])])

    def test_without_a_scale_there_are_no_colours(self):
        self.loads(b"T\nno scale\n1\n1 2 3 0 : a\n", [Lut(1, b"T", [(0, 0, 0, b"a")])])

    def test_without_a_count_there_are_no_entries(self):
        self.loads(b"T\n0 1\nno count\n", [Lut(1, b"T", [])])

    def test_entries_beyond_the_count_begin_the_next_lut(self):
        self.loads(b"S\n0 1\n1\n1 1 1 0 : a\n1 1 1 1 : b\n0 2\n1\n1 1 1 0 : c\n",
                   [Lut(1, b"S", [(255, 255, 255, b"a")]),
                    Lut(2, b"1 1 1 1 : b", [(127, 127, 127, b"c")])])

    def test_entries_not_loaded_are_black_and_named_none(self):
        self.loads(b"T\n0 1\n3\n1 1 1 2 : a\n1 1 1 2 : b\n1 1 1 2 : c\n",
                   [Lut(1, b"T", [BLACK, BLACK, (255, 255, 255, b"c")])])

    def test_every_lut_is_added_and_the_last_is_the_channels(self):
        luts = [Lut(1, b"First", [(255, 255, 255, b"a")]), Lut(2, b"Second", [(1, 2, 3, b"b")])]
        out = self.loads(
            b"First\n0 1\n1\n1 1 1 0 : a\n\nSecond\n0 255\n1\n1 2 3 0 : b\n# end\n", luts)
        self.assertEqual(out.channels[2].comment, b"Second")

    def test_a_title_is_cut_at_200_characters_and_a_comment_at_119(self):
        self.loads(b"t" * 238 + b"\n0 1\n0\n", [Lut(1, b"t" * 200, [])])

    def test_a_line_of_more_than_239_characters_is_two(self):
        """The first of them loses its last character, the second stands for the scale."""
        self.loads(b"t" * 100 + b"u" * 139 + b"0 1\n1\n1 0 1 0 : a\n",
                   [Lut(1, b"t" * 100 + b"u" * 100, [(255, 0, 255, b"a")])])

    def test_a_carriage_return_stays_in_the_title(self):
        self.loads(b"T\r\n0 1\r\n1\r\n1 0 1 0 : a\r\n", [Lut(1, b"T\r", [(255, 0, 255, b"a\r")])])

    def test_the_largest_count(self):
        self.loads(b"T\n0 1\n32767\n" + b"1 0 1 32766 : last\n" * 32767,
                   [Lut(1, b"T", [BLACK] * 32766 + [(255, 0, 255, b"last")])])

    def test_a_last_title_without_newline_is_lost(self):
        self.loads(b"T\n0 1\n0\nlost", [Lut(1, b"T", [])])

    def test_a_last_entry_without_newline_is_lost(self):
        self.fails(b"T\n0 1\n2\n0 0 0 0 : a\n0 0 0 1 : b", "error parsing LUT file line 5\n")

    def test_the_end_of_the_file_among_the_entries(self):
        self.fails(b"# c\n\nT\n0 1\n3\n0 0 0 0 : a\n\n# c\n0 0 0 1 : b\n",
                   "error parsing LUT file line 10\n")

    def test_the_lines_of_all_luts_count(self):
        self.fails(b"S\n0 1\n0\nT\n0 1\n1\n", "error parsing LUT file line 7\n")

    def test_the_end_of_the_file_before_the_scale(self):
        self.fails(b"T\n", "error parsing LUT file line 2\n")

    def test_the_end_of_the_file_before_the_count(self):
        self.fails(b"T\n0 1\n", "error parsing LUT file line 3\n")

    def test_a_count_without_newline_is_lost(self):
        self.fails(b"T\n0 1\n0", "error parsing LUT file line 3\n")

    def test_counts_that_no_lut_has(self):
        for count in (-1, -2147483648, 32768, 2147483647):
            self.fails(b"T\n0 1\n%d\n0 0 0 0 : a\n" % count,
                       "ZELAllocateLUT: invalid number of LUT entries %d\n" % count)

    def test_no_lut_in_the_file(self):
        for text in (b"", b"# nothing\n\n", b"lost", b"\0" * 5000, b"\n" * 5000):
            self.fails(text, "zel_combine: Error: no LUT in LUT definition file l\n")

    def test_a_directory(self):
        (self.dir / "l").mkdir()
        self.refused("-vorn v -vorn_lut l", "zel_combine: Error: cannot read LUT definition file l: "
                     "Is a directory\n")

    def test_missing_file(self):
        self.refused("-vorn v -vorn_lut none", "Cannot open LUT definition file none\n")

    def test_the_label_is_read_first(self):
        self.put("h", b"")
        self.refused("-vorn v -vorn_hdr h -vorn_lut none", "error reading header file\n")

    def test_a_byte_of_zero_ends_a_line_which_loses_the_character_before(self):
        self.loads(b"T.\0x\n0 1\n1\n1 0 1 0 : a.\0b\n", [Lut(1, b"T", [(255, 0, 255, b"a")])])

    def test_a_line_of_which_nothing_is_left_is_blank(self):
        self.loads(b".\0x\nT\n0 1\n1\n\0\n1 0 1 0 : a\n", [Lut(1, b"T", [(255, 0, 255, b"a")])])


class Keys(LutTest):
    """A definition file gives the LUTs of the scene new keys."""

    def with_luts(self, *keys):
        self.scene.luts = [Lut(k, b"lut %d" % n, [(n, k % 256, 0, b"x")])
                           for n, k in enumerate(keys)]
        self.put("a", self.scene)
        return renumbered(self.scene.luts)

    def test_no_lut_before(self):
        self.loads(TEXT, [Lut(1, b"T", ENTRY)])

    def test_one_lut_before(self):
        self.loads(TEXT, self.with_luts(7) + [Lut(1, b"T", ENTRY)])

    def test_two_luts_before(self):
        self.loads(TEXT, self.with_luts(2, 1) + [Lut(2, b"T", ENTRY)])

    def test_keys_that_occur_twice_do_not_any_more(self):
        self.loads(TEXT, self.with_luts(1, 2, 1, 2) + [Lut(4, b"T", ENTRY)])

    def test_every_channel_has_a_copy(self):
        planes = self.rasters(3, 0.0)
        self.put("l", TEXT)
        luts = self.with_luts(5) + [Lut(1, b"T", ENTRY), Lut(2, b"T", ENTRY), Lut(3, b"T", ENTRY)]
        self.appends("-vorn v -vorn_lut l", [(lut_channel(b"v channel %d" % (k + 1), b"T", p), p)
                                            for k, p in enumerate(planes)], luts)

    def test_the_first_copy_is_renumbered_when_the_second_is_made(self):
        planes = self.rasters(2, 0.0)
        self.put("l", TEXT)
        self.appends("-vorn v -vorn_lut l", [(lut_channel(b"v channel %d" % (k + 1), b"T", p), p)
                                            for k, p in enumerate(planes)],
                     [Lut(0, b"T", ENTRY), Lut(1, b"T", ENTRY)])

    def test_a_file_of_two_luts_for_two_channels(self):
        planes = self.rasters(2, 0.0)
        self.put("l", b"S\n0 1\n0\n" + TEXT)
        self.appends("-vorn v -vorn_lut l", [(lut_channel(b"v channel %d" % (k + 1), b"T", p), p)
                                            for k, p in enumerate(planes)],
                     [Lut(0, b"S", []), Lut(1, b"T", ENTRY), Lut(2, b"S", []), Lut(3, b"T", ENTRY)])

    def test_without_luts_of_its_own_a_raster_leaves_the_keys(self):
        self.with_luts(7, 7)
        self.appends("-vorn v", [(float_channel(b"v", self.rows), self.rows)], self.scene.luts)


if __name__ == "__main__":
    main()
