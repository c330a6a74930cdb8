"""How the channels of a raster are named: the options, and the text header."""
from harness import grids_missing, main, progress, report
from model import one_grid
from vorn_case import HEIGHT, NO_RASTER, VornTest
from vornfile import float_channel, labels_file


NO_LABEL = "error reading header file\n"
NAME_119 = b"x" * 119


class Labels(VornTest):
    def named(self, words, *labels):
        planes = self.rasters(len(labels))
        self.appends(words, [(float_channel(label, p), p) for label, p in zip(labels, planes)])

    def test_a_given_label(self):
        self.named(["-vorn", "v", "-vorn_label", "Class map"], b"Class map")

    def test_a_given_label_for_several_channels(self):
        self.named("-vorn v -vorn_label X", b"X channel 1", b"X channel 2")

    def test_a_text_before_the_file_name(self):
        self.named("-vorn v -vorn_prepend A_", b"A_v")

    def test_a_text_before_the_file_name_for_several_channels(self):
        self.named("-vorn v -vorn_prepend A_", b"A_v channel 1", b"A_v channel 2", b"A_v channel 3")

    def test_a_text_before_a_given_label(self):
        self.named("-vorn v -vorn_prepend A_ -vorn_label X", b"A_X")

    def test_an_empty_label(self):
        self.named(["-vorn", "v", "-vorn_label", ""], b"")

    def test_a_label_is_cut_at_119_characters(self):
        self.named("-vorn v -vorn_label " + "x" * 130, NAME_119)

    def test_a_label_of_119_characters_is_whole(self):
        self.named("-vorn v -vorn_label " + "x" * 119, NAME_119)

    def test_the_number_of_a_channel_may_be_cut_off(self):
        cut = b"x" * 110 + b" channel "
        self.named("-vorn v -vorn_label " + "x" * 110, cut, cut)

    def test_a_long_text_before_leaves_nothing_of_the_label(self):
        self.named("-vorn v -vorn_prepend " + "x" * 200, NAME_119)

    def test_a_percent_sign_is_a_character(self):
        self.named("-vorn v -vorn_label 10%s%n", b"10%s%n channel 1", b"10%s%n channel 2")

    def test_the_last_of_two_rasters_is_the_one(self):
        self.named("-vorn none -vorn v", b"v")


class TextHeader(VornTest):
    def named(self, data, *labels, words=""):
        self.put("h", data)
        planes = self.rasters(len(labels))
        self.appends("-vorn v -vorn_hdr h " + words,
                     [(float_channel(label, p), p) for label, p in zip(labels, planes)])

    def damaged(self, data, channels=1):
        self.put("h", data)
        self.rasters(channels)
        self.refused("-vorn v -vorn_hdr h", NO_LABEL)

    def test_labels_are_read_from_each_second_line_of_seven(self):
        self.named(labels_file(["First", "Second one"]), b"First", b"Second one")

    def test_one_channel(self):
        self.named(labels_file(["Only"]), b"Only")

    def test_it_goes_before_a_given_label(self):
        self.named(labels_file(["First"]), b"First", words="-vorn_label X")

    def test_a_text_before(self):
        self.named(labels_file(["First", "Second"]), b"A_First", b"A_Second",
                   words="-vorn_prepend A_")

    def test_any_word_may_stand_before_the_label(self):
        self.named(b"\nName: sea ice\n", b"sea ice")

    def test_the_label_begins_after_the_first_blank(self):
        self.named(b"\nLabel   two blanks more \n", b"  two blanks more ")

    def test_a_line_that_begins_with_a_blank(self):
        self.named(b"\n Label X\n", b"Label X")

    def test_an_empty_label(self):
        self.named(b"\nLabel \n", b"")

    def test_what_the_other_lines_hold_does_not_matter(self):
        self.named(b"a b\nLabel 1\nx y\nc d\ne f\n\n#\ng h\nLabel 2\n", b"1", b"2")

    def test_lines_after_the_last_channel_are_not_read(self):
        self.named(labels_file(["First", "Second", "Third"]), b"First", b"Second")

    def test_a_label_line_without_newline_loses_its_last_character(self):
        self.named(b"\nLabel First", b"Firs")

    def test_without_newline_and_label_the_text_before_loses_it(self):
        self.named(b"\nLabel ", b"A", words="-vorn_prepend A_")

    def test_a_carriage_return_stays(self):
        self.named(b"\r\nLabel X\r\n", b"X\r")

    def test_a_label_is_cut_at_119_characters(self):
        self.named(b"\nL " + b"x" * 100 + b"\n", b"p" * 50 + b"x" * 69,
                   words="-vorn_prepend " + "p" * 50)

    def test_a_line_of_more_than_119_characters_is_two(self):
        """The first of them loses its last character, the second is one of the five skipped."""
        long = b"\nL " + b"x" * 117 + b"y\n" + b"1\n2\n3\n4\n"
        self.named(long + b"first\nL next\n", b"x" * 116, b"next")

    def test_a_long_line_before_the_label_moves_it(self):
        self.named(b"y" * 119 + b"z word\n", b"word")

    def test_missing_file(self):
        self.rasters()
        self.refused("-vorn v -vorn_hdr none", NO_RASTER % "none")

    def test_the_raster_is_opened_first(self):
        self.refused("-vorn no_raster -vorn_hdr none", NO_RASTER % "no_raster")

    def test_it_is_opened_before_a_lut_file(self):
        self.rasters()
        self.refused("-vorn v -vorn_hdr none -vorn_lut neither", NO_RASTER % "none")

    def test_a_label_line_without_a_blank(self):
        self.damaged(b"Channel 1\nLabel\n\n\n\n\n\n")

    def test_a_tab_is_no_blank(self):
        self.damaged(b"Channel 1\nLabel\tX\n\n\n\n\n\n")

    def test_the_label_of_the_second_channel_without_a_blank(self):
        self.damaged(labels_file(["First"]) + b"Channel 2\nLabel\n", 2)

    def test_an_empty_file(self):
        self.damaged(b"")

    def test_the_end_of_the_file_before_the_label(self):
        self.damaged(b"Channel 1\n")

    def test_fewer_channels_than_the_raster_has(self):
        self.damaged(labels_file(["First"]), 2)

    def test_bytes_of_zero(self):
        self.damaged(b"\0" * 4000)

    def test_a_directory(self):
        (self.dir / "d").mkdir()
        self.rasters()
        self.refused("-vorn v -vorn_hdr d", "zel_combine: Error: cannot read Vorn header file d: "
                     "Is a directory\n" + NO_LABEL)

    def test_it_is_not_opened_when_there_is_no_raster_to_label(self):
        self.check("-same_res -i a -o out -vorn_hdr none",
                   grids_missing() + report(one_grid([self.scene])) + progress(HEIGHT))


if __name__ == "__main__":
    main()
