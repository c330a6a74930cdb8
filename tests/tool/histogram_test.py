"""The histograms of the one-grid output: which pixels count, and how the range grows."""
import math
import re

from harness import ToolTest, main
from model import FLT_MAX, f32, one_grid
from sample import channel
from view_case import ViewTest
from zelfile import Line, ZelFile, parse


def scene(rows, code=4, zenith=None, time=0.0, altitude=0.0, position=None, **fields):
    """A file whose slot 0 holds rows; zenith: a row of solar zenith angles, carried as channels;
    position: (latitude, longitude) of the first and of the last pixel."""
    width = len(rows[0])
    f = ZelFile(slots=4, pixels=width, altitude=altitude, nav_interval=max(width - 1, 1), julian=80)
    f.channels[0] = channel(code, **fields)
    f.channels[0].rows = rows
    if zenith is not None:
        f.angles = (1, 2, 3)
        for slot in f.angles:
            f.channels[slot] = channel(4, slot)
            f.channels[slot].rows = [list(zenith)] * len(rows)
    ends = position or []
    f.nav_points = len(ends)
    f.lines = [Line(time=time, right=width - 1, nadir=width // 2 - 1, lat=[p[0] for p in ends],
                    lon=[p[1] for p in ends]) for _ in rows]
    return f


def nonzero(h):
    return {i: n for i, n in enumerate(h.counts) if n}


class Counting(ViewTest):
    def histogram(self, f):
        """Of the output's slot 0, after the whole output was compared with the model."""
        return self.check_one(f).channels[0].histogram

    def check_one(self, f):
        self.put("a", f)
        status, _ = self.run_tool(*"-same_res -overwrite -i a -o out".split())
        self.assertEqual(status, 0)
        self.check_made("out", one_grid([f]))
        return parse(self.got("out"))

    def test_the_first_line_gives_the_range_and_its_maximum_falls_in_the_last_bin(self):
        h = self.histogram(scene([[3.0, 9.0, 1.0, 0.0]]))
        self.assertEqual((h.max, h.min), (9.0, 1.0))
        self.assertEqual(nonzero(h), {int(2 * 255 / 8): 1, 255: 1, 0: 1})

    def test_the_last_pixel_of_a_line_is_never_counted(self):
        h = self.histogram(scene([[1.0, 2.0, 99.0], [1.0, 2.0, -99.0]]))
        self.assertEqual((h.max, h.min, sum(h.counts)), (2.0, 1.0, 4))

    def test_counting_keeps_to_the_padding_of_each_line(self):
        f = scene([[float(x) for x in range(10)]] * 2)
        f.lines[0].left, f.lines[0].right = 3, 6
        f.lines[1].left, f.lines[1].right = 8, 9
        h = self.histogram(f)
        self.assertEqual((h.max, h.min, sum(h.counts)), (8.0, 3.0, 5))

    def test_a_line_whose_padding_leaves_nothing(self):
        f = scene([[1.0, 2.0, 3.0]])
        f.lines[0].left, f.lines[0].right = 2, 1
        self.assertEqual(sum(self.histogram(f).counts), 0)

    def test_counts_move_by_the_lower_edge_of_their_bin_when_the_range_grows(self):
        """0..255 fill a bin each; 510 doubles the range, so that two old bins share a new one."""
        first = [float(x) for x in range(256)] + [0.0]
        second = [510.0] + [0.0] * 256
        h = self.histogram(scene([first, second]))
        expected = {i: 2 for i in range(1, 128)}
        expected.update({0: 2 + 255, 255: 1})
        self.assertEqual((h.max, h.min), (510.0, 0.0))
        self.assertEqual(nonzero(h), expected)

    def test_the_range_grows_downward(self):
        h = self.histogram(scene([[0.0, 1.0, 0.0], [-1.0, 1.0, 0.0]]))
        self.assertEqual((h.max, h.min), (1.0, -1.0))
        self.assertEqual(nonzero(h), {0: 1, 127: 1, 255: 2})

    def test_a_first_line_of_one_value_counts_nothing(self):
        h = self.histogram(scene([[7.0, 7.0, 7.0]]))
        self.assertEqual((h.max, h.min, sum(h.counts)), (7.0, 7.0, 0))

    def test_after_lines_of_one_value_the_range_is_simply_replaced(self):
        h = self.histogram(scene([[7.0, 7.0, 7.0]] * 3 + [[8.0, 9.0, 7.0]]))
        self.assertEqual((h.max, h.min), (9.0, 7.0))
        self.assertEqual(nonzero(h), {127: 1, 255: 1})

    def test_the_largest_float_marks_a_missing_value(self):
        h = self.histogram(scene([[FLT_MAX, 1.0, 2.0, FLT_MAX, 0.0]]))
        self.assertEqual((h.max, h.min, sum(h.counts)), (2.0, 1.0, 2))

    def test_a_value_that_is_not_a_number_is_not_counted(self):
        h = self.histogram(scene([[math.nan, 1.0, 2.0, math.nan, 0.0]]))
        self.assertEqual((h.max, h.min, sum(h.counts)), (2.0, 1.0, 2))

    def test_infinite_values(self):
        self.histogram(scene([[math.inf, 1.0, 2.0, 0.0]]))
        self.histogram(scene([[1.0, 2.0, 0.0], [-math.inf, 1.0, 0.0], [3.0, 0.5, 0.0]]))

    def test_zero_and_below_count_only_in_units_other_than_kelvin_albedo_and_reflectance(self):
        row = [[0.0, -1.0, 5.0, 2.0, 9.0]]
        for units in (1, 2, 3):
            h = self.histogram(scene(row, units=units))
            self.assertEqual((h.min, sum(h.counts)), (2.0, 2), units)
        for units in (0, 4, 5, 6, 7, 8):
            h = self.histogram(scene(row, units=units))
            self.assertEqual((h.min, sum(h.counts)), (-1.0, 4), units)

    def test_a_solar_zenith_of_85_is_the_last_that_counts_for_daytime_units(self):
        row, zenith = [[1.0, 2.0, 3.0, 4.0, 9.0]], [0.0, 85.0, 85.5, 120.0, 0.0]
        for units in (2, 3, 6):
            h = self.histogram(scene(row, zenith=zenith, units=units))
            self.assertEqual((h.max, sum(h.counts)), (2.0, 2), units)
        for units in (0, 1, 4, 5, 7):
            h = self.histogram(scene(row, zenith=zenith, units=units))
            self.assertEqual((h.max, sum(h.counts)), (4.0, 4), units)

    def test_the_zenith_test_is_the_pixels_own(self):
        h = self.histogram(scene([[1.0, 2.0, 3.0, 4.0, 9.0]], zenith=[90, 10, 90, 10, 10], units=3))
        self.assertEqual((h.max, h.min), (4.0, 2.0))

    def test_scaled_values_must_lie_between_minimum_and_maximum(self):
        for code in (1, 2):
            h = self.histogram(scene([[0, 100, 200, 250]], code, max=-4.0, min=4.0))
            self.assertEqual(sum(h.counts), 0)
            h = self.histogram(scene([[0, 100, 255, 250]], code, max=4.0, min=-4.0))
            self.assertEqual(sum(h.counts), 3)

    def test_the_width_of_a_scale_is_a_32_bit_float(self):
        """1.2107 + 0.1 is rounded before it is spread over the steps, which moves the largest value."""
        top, bottom = f32(1.2107), f32(-0.1)
        rounded = f32(f32(top - bottom) / 65535.0 * 65002 + bottom)
        self.assertNotEqual(rounded, f32((top - bottom) / 65535.0 * 65002 + bottom))
        h = self.histogram(scene([[0, 65002, 7, 0]], 2, max=top, min=bottom))
        self.assertEqual((h.max, h.min), (rounded, bottom))

    def test_unscaled_and_float_values_may_leave_the_scale(self):
        for code in (3, 4, 5):
            h = self.histogram(scene([[0, 100, 200, 250]], code, max=4.0, min=2.0))
            self.assertEqual(sum(h.counts), 3)

    def test_each_channel_has_its_own_histogram(self):
        f = scene([[1.0, 2.0, 3.0]])
        for slot, code in ((1, 3), (2, 5)):
            f.channels[slot] = channel(code, slot)
            f.channels[slot].rows = [[slot * 10, slot * 20, 0]]
        made = self.check_one(f)
        self.assertEqual([(c.histogram.max, c.histogram.min) for _, c in made.present()],
                         [(2.0, 1.0), (20.0, 10.0), (40.0, 20.0)])

    def test_latitudes_at_the_pole_count(self):
        for lat in (90.0, -90.0):
            h = self.histogram(scene([[1.0, 2.0, 3.0]], position=[(lat, 0.0)] * 2))
            self.assertEqual(sum(h.counts), 2)


class Navigation(ToolTest):
    """Runs of which only the counts are looked at."""

    def counted(self, f):
        self.put("a", f)
        status, out = self.run_tool(*"-same_res -overwrite -i a -o out".split())
        self.assertEqual(status, 0)
        self.assertTrue(re.search(r"\n\d+ lines processed\n", out))
        return sum(parse(self.got("out")).channels[0].histogram.counts)

    row = [[float(x) for x in range(1, 12)]]

    def test_pixels_beyond_the_poles_are_not_counted(self):
        """Latitude 85 to 95 in steps of one: pixels 0 to 5 are on the globe."""
        self.assertEqual(self.counted(scene(self.row, position=[(85.0, 0.0), (95.0, 0.0)])), 6)
        self.assertEqual(self.counted(scene(self.row, position=[(-85.0, 0.0), (-95.0, 0.0)])), 6)

    def test_longitudes_out_of_range_are_not_counted(self):
        self.assertEqual(self.counted(scene(self.row, position=[(0.0, 200.0), (0.0, 200.0)])), 0)

    def test_longitudes_at_the_date_line_are_counted(self):
        self.assertEqual(self.counted(scene(self.row, position=[(0.0, 179.0), (0.0, -179.0)])), 10)
        self.assertEqual(self.counted(scene(self.row, position=[(0.0, -179.0), (0.0, 179.0)])), 10)

    def sunlit(self, time, longitude, units=3, altitude=800.0):
        """Of ten pixels on the equator at the equinox, those that the sun is high enough for."""
        return self.counted(scene(self.row, time=time, altitude=altitude, units=units,
                                  position=[(0.0, longitude), (0.0, longitude + 1.0)]))

    def test_reflectance_counts_by_day_and_not_by_night(self):
        self.assertEqual([self.sunlit(t, 0.0) for t in (1.0, 5.0, 7.0, 12.0, 17.0, 19.0)],
                         [0, 0, 10, 10, 10, 0])

    def test_east_is_ahead_in_the_day(self):
        self.assertEqual((self.sunlit(6.0, 90.0), self.sunlit(6.0, -90.0)), (10, 0))

    def test_the_terminator_passes_through_a_line(self):
        """The sun is about 1.9 degrees of longitude late on day 80: at 12 h UT it stands at a zenith
        angle of 85 degrees near 83.1 W, between pixels 22 and 23; the last pixel does not count."""
        row = [[float(x) for x in range(1, 42)]]
        f = scene(row, time=12.0, altitude=800.0, units=3, position=[(0.0, -106.0), (0.0, -66.0)])
        self.assertIn(self.counted(f), (16, 17, 18))

    def test_without_a_scan_time_the_angles_are_zero(self):
        self.assertEqual(self.sunlit(0.0, 0.0), 10)

    def test_with_an_altitude_that_truncates_to_zero_the_angles_are_zero(self):
        self.assertEqual((self.sunlit(1.0, 0.0, altitude=0.9), self.sunlit(1.0, 0.0, altitude=1.0)), (10, 0))

    def test_without_navigation_the_angles_are_zero(self):
        self.assertEqual(self.counted(scene(self.row, time=1.0, altitude=800.0, units=3)), 10)

    def test_other_units_count_by_night(self):
        self.assertEqual([self.sunlit(1.0, 0.0, units=u) for u in (0, 1, 2, 3, 4, 5, 6, 7)],
                         [10, 10, 0, 0, 10, 10, 0, 10])

    def test_one_angle_channel_alone_does_not_replace_the_computed_angles(self):
        f = scene(self.row, time=1.0, altitude=800.0, units=3, zenith=[10.0] * 11,
                  position=[(0.0, 0.0), (0.0, 1.0)])
        f.angles = (1, -1, -1)
        self.assertEqual(self.counted(f), 0)
        f.angles = (1, 2, 3)
        self.assertEqual(self.counted(f), 10)


class ThroughAView(ViewTest):
    def test_means_are_counted_as_means(self):
        fine = scene([[1.0, 2.0, 10.0, 20.0, 0.0, 0.0], [3.0, 4.0, 28.0, 16.0, 0.0, 0.0]])
        fine.resolution = 500.0
        made = self.check_view([scene([[1, 2, 3]], 3), fine])
        h = made.channels[1].histogram
        self.assertEqual((h.max, h.min, nonzero(h)), (18.5, 2.5, {0: 1, 255: 1}))

    def test_repeated_pixels_count_each_time(self):
        coarse = scene([[1, 2]], 5)
        coarse.resolution = 3000.0
        made = self.check_view([scene([[0] * 6] * 3, 3), coarse])
        self.assertEqual(nonzero(made.channels[1].histogram), {0: 9, 255: 6})

    def test_zenith_channels_of_the_reference_rule_all_channels(self):
        a = scene([[1.0, 2.0, 3.0, 4.0]], units=3)
        b = scene([[5.0, 6.0, 7.0, 8.0]], units=2, zenith=[10, 90, 10, 10])
        made = self.check_view([a, b], 1)
        self.assertEqual([(c.histogram.max, c.histogram.min) for _, c in made.present()][:2],
                         [(3.0, 1.0), (7.0, 5.0)])


if __name__ == "__main__":
    main()
