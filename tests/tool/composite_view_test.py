"""The view over several components, seen through the file that it is written to."""
import math
from array import array

from harness import CREATING, ToolTest, grids_missing, main, progress, report
from model import average, one_grid
from sample import channel, sample
from view_case import EARLY, ViewTest
from zelfile import Histogram, Line, Lut, Table, ZelFile, container

ALL = (1, 2, 3, 4, 5)


def flat(code, rows, resolution, **fields):
    """A file of one channel with the given raw rows and nothing else."""
    f = ZelFile(slots=1, pixels=len(rows[0]), resolution=resolution)
    f.channels[0] = channel(code, **fields)
    f.channels[0].rows = [array("f", r) if code == 4 else r for r in rows]
    f.lines = [Line(time=12.0, right=len(rows[0]) - 1) for _ in rows]
    return f


def row(f, slot, n=0):
    return list(f.channels[slot].rows[n])


class Channels(ViewTest):
    def test_channels_follow_one_another_without_gaps(self):
        parts = [sample(1000, 8, 6, (3, 1), places=(2, 7)), sample(1000, 8, 6, (5,), places=(0,), seed=1),
                 sample(1000, 8, 6, (4, 2, 3), places=(1, 3, 11), seed=2)]
        made = self.check_view(parts)
        self.assertEqual([c.type for _, c in made.present()], [3, 1, 5, 4, 2, 3])
        self.assertEqual([s for s, _ in made.present()], list(range(6)))
        self.assertEqual([c.label for _, c in made.present()],
                         [b"label 2", b"label 7", b"label 0", b"label 1", b"label 3", b"label 11"])

    def test_channels_of_a_later_base_come_after_those_of_earlier_inputs(self):
        made = self.check_view([sample(1000, 4, 3, (3,)), sample(500, 8, 6, (5,))], base_file=1)
        self.assertEqual([c.type for _, c in made.present()], [3, 5])

    def test_the_output_has_1000_slots_whatever_the_inputs_have(self):
        self.assertEqual(self.check_view([sample(slots=2), sample(slots=999, seed=1)]).slots, 1000)

    def test_more_channels_than_one_file_has_slots_for(self):
        f = sample(1000, 3, 2, (3,) * 1000, nav_points=0)
        g = sample(1000, 3, 2, (3,), nav_points=0)
        self.put("a", f)
        self.put("b", g)
        status, out = self.run_tool(*"-same_res -i a -i b -o out".split())
        self.assertEqual(status, 255)
        self.absent("out")

    def test_a_component_without_channels(self):
        self.check_view([sample(codes=()), sample(codes=(3, 2), seed=1)])

    def test_channel_fields_are_copied(self):
        a, b = sample(codes=(2,)), sample(codes=(4,), seed=1)
        c = b.channels[0]
        c.max, c.min, c.wavelength, c.units, c.base_flag, c.bits = 9.5, -3.25, 11.03, 7, 0, 31
        c.label, c.comment = b"x" * 119, b"\0"
        made = self.check_view([a, b]).channels[1]
        self.assertEqual((made.max, made.units, made.bits, made.label), (9.5, 7, 31, b"x" * 119))

    def test_a_view_over_a_year_of_two_digits(self):
        self.assertEqual(self.check_view([sample(year=5), sample(500, 16, 12, year=5)]).year, 1905)


class Averaging(ViewTest):
    def test_every_storage_code_by_factors_two_three_and_five(self):
        for f in (2, 3, 5):
            self.check_view([sample(1000.0 * f, 6, 3, (3,)),
                             sample(1000.0, 6 * f, 3 * f, ALL, seed=f)])

    def test_each_pixel_is_the_mean_of_its_block(self):
        fine = flat(4, [[1, 2, 3, 4, 50, 50], [5, 6, 7, 8, 50, 54]], 500.0)
        made = self.check_view([flat(3, [[0, 0, 0]], 1000.0), fine])
        self.assertEqual(row(made, 1), [14 / 4, 22 / 4, 51.0])

    def test_unscaled_means_are_truncated(self):
        byte = flat(3, [[1, 2, 255, 255], [2, 2, 255, 254]], 500.0)
        wide = flat(5, [[1, 2, 65535, 65535], [2, 2, 65535, 65534]], 500.0)
        made = self.check_view([flat(3, [[0, 0]], 1000.0), byte, wide])
        self.assertEqual((row(made, 1), row(made, 2)), ([1, 254], [1, 65534]))

    def test_sums_are_32_bit_floats_added_in_line_order_then_pixel_order(self):
        """2^24 swallows the two ones before -2^24 brings it to 0; in another order 1 or 2 remain."""
        big = 16777216.0
        fine = flat(4, [[big, 1, 1, -1], [1, -big, big, 1 - big]], 500.0)
        made = self.check_view([flat(3, [[0, 0]], 1000.0), fine])
        self.assertEqual(row(made, 1), [0.0, 0.25])

    def test_scaled_means_are_truncated_on_their_own_scale(self):
        fine = flat(1, [[10, 11, 20, 20], [11, 11, 20, 20]], 500.0, max=255.0, min=0.0)
        made = self.check_view([flat(3, [[0, 0]], 1000.0), fine])
        self.assertEqual(row(made, 1), [10, 20])

    def test_a_mean_above_the_scale_is_not_clamped_and_not_counted(self):
        """4096 sums that all round up pass the maximum by more than one of 65535 steps."""
        top, n = 1.0 + 1.25 / 8192, 64
        fine = flat(2, [[65535] * (2 * n)] * n, 100.0, max=top, min=0.0)
        mean = average([array("f", [top] * (2 * n))] * n, n, 2)[0]
        self.assertGreater(mean / top * 65535.0, 65536.0)
        made = self.check_view([flat(3, [[0, 0]], 100.0 * n), fine])
        self.assertLess(row(made, 1)[0], 100)
        self.assertEqual(sum(made.channels[1].histogram.counts), 0)

    def test_the_factor_is_truncated(self):
        fine = sample(300.0, 10, 7, (3, 4), seed=1)
        made = self.check_view([sample(1000.0, 3, 2, (3,)), fine], warns=["in1 .*ratio 3.33"])
        block = [fine.channels[0].rows[j][x] for j in (3, 4, 5) for x in (6, 7, 8)]
        self.assertEqual(row(made, 1, 1)[2], sum(block) // 9)

    def test_a_factor_of_one_averages_single_pixels(self):
        self.check_view([sample(1000.0, 6, 5, (3,)), sample(600.0, 6, 5, ALL, seed=1)],
                        warns=["in1 .*ratio 1.66"])

    def test_a_finer_component_wider_than_the_view_is_clipped(self):
        self.check_view([sample(1000.0, 5, 3, (3,)), sample(500.0, 17, 8, ALL, seed=1)])

    def test_a_pixel_that_a_finer_component_lacks_is_not_read_past_its_line(self):
        coarse, fine = sample(1000.0, 6, 3, (3,)), sample(500.0, 8, 6, (3, 5), seed=1)
        self.put("a", coarse)
        self.put("b", fine)
        expected = one_grid([coarse, fine])
        status, _ = self.run_tool(*"-same_res -i a -i b -o out".split())
        self.assertEqual(status, 0)
        data, want = self.got("out"), expected.bytes()
        self.assertEqual(len(data), len(want))
        width = 6 + 6 + 12          # stored pixels of a line; four of each six are covered
        for n in range(3):
            at, size = len(want) - (3 - n) * (32 + 24 + width) + 56, 6
            self.assertEqual(data[at:at + size + 4], want[at:at + size + 4])
            self.assertEqual(data[at + 12:at + 20], want[at + 12:at + 20])

    def test_a_finer_component_that_ends_early_ends_the_view(self):
        made = self.check_view([sample(1000.0, 4, 9, (3,)), sample(500.0, 8, 11, (3,), seed=1)],
                               warns=[EARLY % ("in1", 500, 4)])
        self.assertEqual(len(made.lines), 5)


class Replication(ViewTest):
    def test_every_storage_code_by_factors_two_three_and_five(self):
        for f in (2, 3, 5):
            self.check_view([sample(1000.0, 4 * f, 3 * f, (3,)),
                             sample(1000.0 * f, 4, 3, ALL, seed=f)])

    def test_each_pixel_is_repeated_across_and_down(self):
        base = flat(3, [[0] * 6] * 3, 100.0)
        made = self.check_view([base, flat(5, [[300, 7]], 300.0)])
        self.assertEqual([row(made, 1, n) for n in range(3)], [[300] * 3 + [7] * 3] * 3)

    def test_the_factor_is_truncated(self):
        coarse = flat(5, [[10, 11, 12, 13], [20, 21, 22, 23]], 1000.0)
        made = self.check_view([sample(300.0, 10, 6, (3,)), coarse], warns=["in1 .*ratio 3.33"])
        self.assertEqual(row(made, 1, 2), [10, 10, 10, 11, 11, 11, 12, 12, 12, 13])
        self.assertEqual(row(made, 1, 3)[:4], [20, 20, 20, 21])

    def test_a_coarser_component_wider_than_the_view_is_clipped(self):
        self.check_view([sample(500.0, 7, 6, (3,)), sample(1000.0, 40, 3, ALL, seed=1)])

    def test_pixels_that_a_coarser_component_does_not_reach_are_zero(self):
        made = self.check_view([sample(500.0, 9, 4, (3,)), sample(1000.0, 3, 2, (5, 4), seed=1)])
        self.assertEqual(row(made, 1)[6:], [0, 0, 0])

    def test_a_coarser_component_that_ends_early_ends_the_view(self):
        made = self.check_view([sample(500.0, 8, 9, (3,)), sample(1000.0, 4, 3, (3,), seed=1)],
                               warns=[EARLY % ("in1", 1000, 3)])
        self.assertEqual(len(made.lines), 6)

    def test_coarser_and_finer_components_together(self):
        self.check_view([sample(4000, 3, 2, (1, 4)), sample(1000, 12, 8, (2,), seed=1),
                         sample(500, 24, 16, (5, 3), seed=2), sample(2000, 6, 4, (3,), seed=3)], base_file=1)


class SameGrid(ViewTest):
    def test_stored_pixels_are_copied(self):
        self.check_view([sample(codes=ALL), sample(codes=ALL, seed=1)])

    def test_a_wider_component_is_clipped_and_a_narrower_one_padded(self):
        self.check_view([sample(1000, 8, 4), sample(1000, 11, 4, ALL, seed=1),
                         sample(1000, 5, 4, (3,), seed=2)])

    def test_a_resolution_that_is_not_a_number_counts_as_equal(self):
        odd = sample(1000, 8, 4, ALL, seed=1)
        odd.resolution = math.nan
        self.check_view([sample(1000, 8, 4), odd])

    def test_a_shorter_component_ends_the_view(self):
        made = self.check_view([sample(1000, 8, 60, nav_points=0), sample(1000, 8, 51, seed=1, nav_points=0)],
                               warns=[EARLY % ("in1", 1000, 9)])
        self.assertEqual(len(made.lines), 51)

    def test_lines_beyond_the_reference_are_not_read(self):
        made = self.check_view([sample(1000, 8, 4), sample(1000, 8, 9, seed=1)],
                               warns=[EARLY % ("in0", 1000, 5)])
        self.assertEqual(len(made.lines), 4)


class BaseAndReference(ViewTest):
    """The reference gives grid, header and navigation; the base gives the scan data of each line."""

    def parts(self):
        return [sample(2000, 4, 3, (3, 2), seed=0), sample(1000, 8, 6, (5,), seed=1, nav_points=2),
                sample(500, 16, 12, (4,), seed=2, nav_points=4)]

    def test_a_single_composite_with_each_of_its_components_as_base(self):
        for base in range(3):
            made = self.check_view([(self.parts(), base)])
            self.assertEqual(made.pixels, (4, 8, 16)[base])
            self.assertEqual(made.comment, b"scene at %d m" % (2000, 1000, 500)[base])

    def test_a_base_component_that_is_asked_for_is_not_used(self):
        p = self.parts()
        self.put("p", container([(f.bytes(), f.resolution) for f in p], 1))
        expected = one_grid(p, 1)
        self.check("-same_res -i p -bc 2 -o out", grids_missing() + report(expected, 6) + progress(6))
        self.check_made("out", expected)

    def test_several_plain_files_with_each_as_base(self):
        for base in range(3):
            made = self.check_view(self.parts(), base)
            self.assertEqual((made.nav_points, made.meta_size), ((3, 2, 4)[base], 9 + base))

    def test_a_composite_base_file_gives_the_grid_of_its_first_component_and_the_time_of_its_base(self):
        p = self.parts()
        for stored in range(2):
            made = self.check_view([p[0], (p[1:], stored)], 1)
            self.assertEqual(made.pixels, 8)

    def test_scan_data_of_a_coarser_base_are_those_of_the_line_that_covers(self):
        p = self.parts()
        made = self.check_view([p[1], ([p[2], p[0]], 1), sample(500, 16, 12, seed=3)], 1)
        self.assertEqual([l.altitude for l in made.lines[:5]], [705.0] * 4 + [706.0])

    def test_scan_data_of_a_finer_base_are_those_of_the_last_line_of_the_block(self):
        p = self.parts()
        made = self.check_view([(p[:2], 0), p[2]], 0)
        self.assertEqual(made.lines[1].altitude, 706.0)
        made = self.check_view([p[1], ([p[0], p[2]], 1)], 1)
        self.assertEqual([l.altitude for l in made.lines], [708.0, 712.0, 716.0])

    def test_a_base_file_behind_a_composite_is_base_but_not_reference(self):
        p = self.parts()
        made = self.check_view([(p[:2], 0), p[2]], 1)
        self.assertEqual(made.pixels, 8)
        self.assertEqual([l.altitude for l in made.lines[:2]], [706.0, 708.0])

    def test_padding_and_nadir_come_from_the_base(self):
        a, b = sample(1000, 8, 4), sample(500, 16, 8, seed=1)
        for n, l in enumerate(b.lines):
            l.left, l.right, l.nadir, l.nadir_lat = 1, 5 + n % 2, -1, 45.5
        made = self.check_view([sample(1000, 8, 4), ([a, b], 1)], 1)
        self.assertEqual((made.lines[0].left, made.lines[0].right, made.lines[0].nadir), (1, 6, -1))

    def test_one_composite_equals_its_parts_given_singly(self):
        p = self.parts()
        self.check_view([(p, 0)])
        whole = self.got("out")
        self.check_view(p, 0)
        self.same_bytes(self.got("out"), whole, "out")


class Blocks(ViewTest):
    def test_luts_of_all_components_are_appended_and_counted_once(self):
        a, b, c = sample(), sample(500, 16, 12, seed=1), sample(2000, 4, 3, seed=2)
        a.luts = [Lut(1, b"one", [(1, 2, 3, b"x")])]
        c.luts = [Lut(1, b"key again", [(9, 8, 7, b"y"), (6, 5, 4, b"z")]), Lut(-5, b"empty", [])]
        made = self.check_view([a, b, c])
        self.assertEqual([(l.key, l.label) for l in made.luts],
                         [(1, b"one"), (1, b"key again"), (-5, b"empty")])

    def test_luts_of_a_later_component_only(self):
        a, b = sample(), sample(seed=1)
        b.luts = [Lut(3, b"l" * 199, [(255, 255, 255, b"w" * 199)] * 40)]
        self.assertEqual(len(self.check_view([a, b]).luts), 1)

    def test_tables_of_all_components_are_appended_in_order(self):
        a, b, c = sample(), sample(seed=1), sample(seed=2)
        b.tables = [Table(4, b"b", [1.0, 2.0])]
        c.tables = [Table(4, b"same key", [3.5]), Table(0, b"none", [])]
        made = self.check_view([a, b, c])
        self.assertEqual([t.label for t in made.tables], [b"b", b"same key", b"none"])

    def test_tables_of_channels_go_with_their_channels(self):
        a, b = sample(codes=(3, 3)), sample(500, 16, 12, (5, 4), seed=1)
        a.channels[1].tables = [Table(1, b"a1", [0.25])]
        b.channels[0].tables = [Table(2, b"b0", [1.0]), Table(2, b"b0 again", [7.0, 8.0])]
        made = self.check_view([a, b])
        self.assertEqual([len(c.tables) for _, c in made.present()], [0, 1, 2, 0])

    def test_standard_histograms_are_kept_and_channel_histograms_counted_anew(self):
        a, b = sample(), sample(500, 16, 12, seed=1)
        a.channels[0].histogram = Histogram(5.0, 1.0, [3] * 7)
        b.channels[0].standard = Histogram(8.0, -8.0, [2, 0, 5])
        made = self.check_view([a, b])
        self.assertEqual(made.channels[1].standard.counts, [2, 0, 5])
        self.assertIsNone(made.channels[0].standard)


class AngleChannels(ViewTest):
    def angles(self, seed, places, **header):
        return sample(1000, 8, 6, (4,) * 5, seed=seed, angles=places, **header)

    def test_indices_of_the_reference_point_to_the_new_numbers(self):
        a, b = self.angles(0, (-1, -1, -1)), self.angles(1, (3, 0, 4))
        self.assertEqual(self.check_view([a, b], 1).angles, (8, 5, 9))

    def test_indices_count_present_channels_only(self):
        a = sample(1000, 8, 6, (4, 4, 4), places=(1, 4, 6), angles=(4, 6, 1))
        self.assertEqual(self.check_view([a, sample(seed=1)]).angles, (1, 2, 0))

    def test_indices_of_other_components_are_not_taken(self):
        a, b = self.angles(0, (-1, 2, -1)), self.angles(1, (3, 0, 4))
        self.assertEqual(self.check_view([a, b]).angles, (-1, 2, -1))

    def test_an_index_of_an_empty_slot_is_none(self):
        a = sample(1000, 8, 6, (4, 4), places=(0, 2), slots=4, angles=(1, -1, 2))
        self.assertEqual(self.check_view([a, sample(seed=1)]).angles, (-1, -1, 1))

    def test_one_channel_may_hold_two_angles(self):
        self.assertEqual(self.check_view([sample(seed=1), self.angles(0, (2, 2, -1))], 1).angles, (3, 3, -1))


class Opening(ToolTest):
    def test_a_component_of_an_unsupported_version_ends_the_run_with_the_name_of_its_file(self):
        a, b = sample(), bytearray(sample(500, 16, 12).bytes())
        b[1221:1225] = b"\0\0\0\x7f"
        self.put("p", container([(a.bytes(), 1000.0), (bytes(b), 500.0)]))
        status, out = self.run_tool(*"-same_res -i p -o out".split())
        self.assertEqual(status, 255)
        self.assertTrue(out.startswith(grids_missing() + "OpenReadOnlyFile: Trying another byte ordering...\n"
                                       "OpenReadOnlyFile: unsupported data type\n"), out)
        self.assertTrue(out.endswith("Error opening file p\n"), out)
        self.absent("out")

    def test_100_components_in_one_view(self):
        f = sample(1000, 3, 2, (3,), slots=1, nav_points=0)
        self.put("p", container([(f.bytes(), 1000.0)] * 100, 99))
        expected = one_grid([f] * 100, 99)
        self.check("-same_res -i p -o out", grids_missing() + report(expected) + progress(2))
        self.check_made("out", expected)

    def test_a_composite_made_by_the_tool_reads_as_its_inputs(self):
        parts = [sample(2000, 4, 3, (3, 2)), sample(1000, 8, 6, (5,), seed=1)]
        for name, f in zip("ab", parts):
            self.put(name, f)
        self.check("-i a -ib b -o p", CREATING + grids_missing())
        expected = one_grid(parts, 1)
        self.check("-same_res -i p -o out", grids_missing() + report(expected) + progress(6))
        self.check_made("out", expected)


if __name__ == "__main__":
    main()
