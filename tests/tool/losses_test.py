"""What one grid loses of its inputs, warned of on standard error: classes that were averaged, and the lines
that a file which was cut does not have."""
from harness import grids_missing, main
from sample import sample
from view_case import EARLY, ViewTest
from zelfile import Lut, container

AVERAGED = "channel %d, from file %s, holds classes and was averaged$"
LUT = Lut(3, b"Cover types", [(1, 2, 3, b"water")])


def classes(resolution, width, height, **fields):
    """A scene of three channels, of which the second has these fields."""
    f = sample(resolution, width, height, (4, 5, 3), seed=1)
    f.luts = [LUT]
    for name, value in fields.items():
        setattr(f.channels[1], name, value)
    return f


class Classes(ViewTest):
    def coarse(self):
        return sample(1000.0, 4, 3, (3, 2))

    def test_a_channel_of_lut_indices_that_is_averaged(self):
        self.check_view([self.coarse(), classes(500.0, 8, 6, units=5)], warns=[AVERAGED % (3, "in1")])

    def test_a_channel_whose_comment_is_the_name_of_a_lut_in_any_case(self):
        for comment in (b"Cover types", b"COVER TYPES"):
            self.check_view([self.coarse(), classes(500.0, 8, 6, comment=comment)],
                            warns=[AVERAGED % (3, "in1")])

    def test_channels_that_are_no_classes(self):
        for fields in ({"units": 4}, {"units": 6}, {"comment": b"Cover type"}, {"comment": b""}):
            f = classes(500.0, 8, 6, **fields)
            f.luts.append(Lut(4, b"", [(1, 2, 3, b"no name")]))
            self.check_view([self.coarse(), f])

    def test_a_lut_of_another_file(self):
        base = self.coarse()
        base.luts = [LUT]
        f = classes(500.0, 8, 6, comment=LUT.label)
        f.luts = []
        self.check_view([base, f])

    def test_classes_that_are_copied_or_repeated(self):
        self.check_view([self.coarse(), classes(1000.0, 4, 3, units=5)])
        self.check_view([self.coarse(), classes(2000.0, 2, 2, units=5)])

    def test_blocks_of_a_single_pixel_stay_as_they_are(self):
        self.check_view([self.coarse(), classes(600.0, 4, 3, units=5)], warns=["ratio 1.66"])

    def test_every_such_channel_of_every_input(self):
        other = classes(250.0, 16, 12, units=5)
        other.channels[2].units = 5
        self.check_view([self.coarse(), classes(500.0, 8, 6, units=5), other],
                        warns=[AVERAGED % (3, "in1"), AVERAGED % (6, "in2"), AVERAGED % (7, "in2")])

    def test_components_of_one_composite(self):
        self.check_view([([self.coarse(), classes(500.0, 8, 6, units=5)], 0)],
                        warns=[AVERAGED % (3, "in0")])

    def test_a_view_without_a_line(self):
        self.check_view([self.coarse(), classes(500.0, 8, 1, units=5)], warns=[EARLY % ("in1", 500, 3)])

    def test_a_container_averages_nothing(self):
        a, b = self.coarse(), classes(500.0, 8, 6, units=5)
        self.put("p", container([(a.bytes(), 1000.0), (b.bytes(), 500.0)]))
        self.put("a", a)
        self.check("-i a -i p -o out", "creating composite ZEL file....\n" + grids_missing())


class EarlyEnds(ViewTest):
    def test_one_line_less_is_a_matter_of_grids(self):
        self.check_view([sample(1000, 8, 6), sample(1000, 8, 5, seed=1)])

    def test_two_lines_less(self):
        self.check_view([sample(1000, 8, 6), sample(1000, 8, 4, seed=1)], warns=[EARLY % ("in1", 1000, 2)])

    def test_a_base_that_ends_first(self):
        self.check_view([sample(1000, 8, 4), sample(1000, 8, 9, seed=1)], warns=[EARLY % ("in0", 1000, 5)])

    def test_lines_of_a_finer_input_are_counted_in_those_of_the_base(self):
        self.check_view([sample(1000, 4, 9), sample(500, 8, 15, seed=1)], warns=[EARLY % ("in1", 500, 2)])
        self.check_view([sample(1000, 4, 9), sample(500, 8, 16, seed=1)])

    def test_lines_of_a_coarser_input_are_counted_in_those_of_the_base(self):
        self.check_view([sample(500, 8, 8), sample(1000, 4, 3, seed=1)], warns=[EARLY % ("in1", 1000, 2)])
        self.check_view([sample(500, 8, 7), sample(1000, 4, 3, seed=1)])

    def test_every_input_is_compared_with_the_longest(self):
        self.check_view([sample(1000, 4, 6), sample(500, 8, 20, seed=1), sample(1000, 4, 9, seed=2)],
                        warns=[EARLY % ("in0", 1000, 4)])
        self.check_view([sample(1000, 4, 6), sample(500, 8, 6, seed=1), sample(1000, 4, 9, seed=2)],
                        warns=[EARLY % ("in0", 1000, 3), EARLY % ("in1", 500, 6)])

    def test_components_of_one_composite(self):
        self.check_view([([sample(1000, 4, 9), sample(500, 8, 10, seed=1)], 1)],
                        warns=[EARLY % ("in0", 500, 8)])

    def test_a_file_alone(self):
        self.put("a", sample(1000, 8, 4).bytes()[:-10])
        status, _ = self.run_tool(*"-same_res -i a -o out".split())
        self.assertEqual(status, 0)


if __name__ == "__main__":
    main()
