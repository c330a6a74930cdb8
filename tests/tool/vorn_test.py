"""Appending the channels of a raster: what is read of it, and which channels it becomes."""
import struct
import unittest
from array import array

from harness import grids_missing, main, progress, report
from model import one_grid
from sample import sample
from vorn_case import CUT_SHORT, HEIGHT, MISMATCH, NO_RASTER, NO_ROOM, WIDTH, VornTest, scene
from vornfile import BIG_ENDIAN_HOST, append, float_channel, plane, raster
from zelfile import FLT_MAX, parse


class Raster(VornTest):
    def test_one_channel_becomes_a_float_channel_named_after_the_file(self):
        rows, = self.rasters()
        out = self.appends("-vorn v", [(float_channel(b"v", rows), rows)])
        c = out.channels[2]
        self.assertEqual(
            (c.type, c.bits, c.max, c.min, c.units, c.base_flag, c.wavelength, c.comment),
            (4, 32, 0.0, 0.0, 0, 0, -99.0, b"Vorn processed imagery"))

    def test_the_label_is_the_name_as_it_was_typed(self):
        rows, = self.rasters()
        self.appends("-vorn ./v", [(float_channel(b"./v", rows), rows)])

    def test_vorn_needs_no_same_res(self):
        rows, = self.rasters()
        self.appends("-same_res -vorn v", [(float_channel(b"v", rows), rows)])

    def test_the_scenes_own_channels_are_copied_as_ever(self):
        self.rasters()
        self.run_tool(*"-i a -vorn v -o out".split())
        self.run_tool(*"-same_res -i a -o plain".split())
        out, plain = parse(self.got("out")), parse(self.got("plain"))
        self.assertEqual([out.channels[s] for s in (0, 1)], [plain.channels[s] for s in (0, 1)])
        self.assertEqual(out.lines, plain.lines)

    def test_channels_follow_one_another_plane_by_plane(self):
        planes = self.rasters(3)
        self.appends("-vorn v", [(float_channel(b"v channel %d" % (k + 1), p), p)
                                 for k, p in enumerate(planes)])

    def test_values_that_no_scale_bounds(self):
        rows = plane(WIDTH, HEIGHT)
        rows[0][:5] = [-1e30, 1e30, 1e-40, -0.0, FLT_MAX]
        self.put("v", raster([rows]))
        self.appends("-vorn v", [(float_channel(b"v", rows), rows)])

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_a_big_endian_header_is_turned(self):
        rows = plane(WIDTH, HEIGHT)
        data = self.put("v", raster([rows], order=">"))
        self.assertEqual(data[:8], bytes.fromhex("0000abcd00000008"))
        self.appends("-vorn v", [(float_channel(b"v", rows), rows)])

    def test_rows_are_little_endian_whatever_the_header(self):
        rows = plane(WIDTH, HEIGHT)
        turned = [array("f", r) for r in rows]
        for row in turned:
            row.byteswap()
        for order in "<" if BIG_ENDIAN_HOST else "<>":
            self.put("v", raster([rows], order=order, rows=">"))
            self.appends("-vorn v", [(float_channel(b"v", turned), turned)])

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_what_a_raster_is_too_short_for_repeats_the_row_read_before(self):
        rows = plane(WIDTH, HEIGHT)
        self.put("v", raster([rows])[:16 + 4 * (3 * WIDTH + 2)])
        held = rows[:3] + [rows[3][:2] + rows[2][2:]] * 3
        self.appends("-vorn v", [(float_channel(b"v", held), held)], warns=CUT_SHORT)

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_the_row_read_before_may_be_another_channels(self):
        a, b = self.rasters(2)
        self.put("v", raster([a, b])[:16 + 4 * HEIGHT * WIDTH])
        self.appends("-vorn v", [(float_channel(b"v channel %d" % k, a), a) for k in (1, 2)],
                     warns=CUT_SHORT)

    def test_a_raster_of_a_header_only_is_zeros(self):
        zeros = [[0.0] * WIDTH] * HEIGHT
        self.put("v", raster([zeros])[:16])
        self.appends("-vorn v", [(float_channel(b"v", zeros), zeros)], warns=CUT_SHORT)

    def test_bytes_after_the_planes_are_not_read(self):
        rows, = self.rasters()
        self.put("v", raster([rows]) + b"more")
        self.appends("-vorn v", [(float_channel(b"v", rows), rows)])

    def test_a_raster_without_channels_adds_none(self):
        self.put("v", raster([], pixels=WIDTH, lines=HEIGHT))
        self.appends("-vorn v", [])

    def test_lines_are_reported_every_50(self):
        f, rows = scene(height=120), plane(WIDTH, 120)
        self.put("a", f)
        self.put("v", raster([rows]))
        expected = one_grid([f])
        append(expected, float_channel(b"v", rows), rows)
        self.check("-i a -vorn v -o out", grids_missing() + report(expected)
                   + "line 50\nline 100\n120 lines processed\n")
        self.check_made("out", expected)

    def test_a_scene_without_navigation(self):
        self.scene = scene(nav_points=0)
        self.put("a", self.scene)
        rows, = self.rasters()
        self.appends("-vorn v", [(float_channel(b"v", rows), rows)])


class Unfit(VornTest):
    """Rasters that do not belong to the scene or are damaged."""

    def mismatch(self, data, lines, pixels):
        self.put("v", data)
        self.refused("-vorn v", MISMATCH % (HEIGHT, WIDTH, lines, pixels), 254)

    def test_missing(self):
        self.refused("-vorn none", NO_RASTER % "none")

    def test_other_width(self):
        self.mismatch(raster([plane(9, HEIGHT)]), HEIGHT, 9)

    def test_other_height(self):
        self.mismatch(raster([plane(WIDTH, 5)]), 5, WIDTH)

    def test_width_and_height_exchanged(self):
        self.mismatch(raster([plane(HEIGHT, WIDTH)]), WIDTH, HEIGHT)

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_other_size_in_a_big_endian_header(self):
        self.mismatch(raster([plane(9, 5)], order=">"), 5, 9)

    def test_negative_sizes(self):
        self.mismatch(raster([plane(WIDTH, HEIGHT)], pixels=-1, lines=-HEIGHT), -HEIGHT, -1)

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_a_word_that_is_in_no_order_turns_the_header(self):
        self.mismatch(raster([plane(WIDTH, HEIGHT)], word=0x12345678), HEIGHT << 24, WIDTH << 24)

    def test_an_empty_file(self):
        self.mismatch(b"", 0, 0)

    def test_a_header_cut_short(self):
        whole = raster([plane(WIDTH, HEIGHT)])
        for size, lines, pixels in ((3, 0, 0), (4, 0, 0), (6, 0, 0), (8, 0, WIDTH), (11, 0, WIDTH)):
            self.mismatch(whole[:size], lines, pixels)

    def test_a_header_cut_short_before_the_channel_count_adds_none(self):
        for size in (12, 15):
            self.put("v", raster([plane(WIDTH, HEIGHT)])[:size])
            self.appends("-vorn v", [])

    def test_a_directory(self):
        (self.dir / "d").mkdir()
        self.refused("-vorn d", "zel_combine: Error: cannot read Vorn file d: Is a directory\n")

    def test_a_negative_number_of_channels(self):
        for channels in (-1, -2 ** 31):
            self.put("v", raster([plane(WIDTH, HEIGHT)], channels=channels))
            self.refused("-vorn v", "cannot allocate Vorn file pointers\n")

    def test_more_channels_than_any_scene_has_room_for(self):
        for channels in (999, 1000, 100000, 2 ** 31 - 1):
            self.put("v", raster([plane(WIDTH, HEIGHT)], channels=channels))
            self.refused("-vorn v", NO_ROOM)

    def test_a_hostile_channel_count_does_not_use_up_the_files_of_a_process(self):
        self.put("v", raster([plane(WIDTH, HEIGHT)], channels=2 ** 31 - 1))
        self.assertEqual(self.run_both("-i a -vorn v -o out".split(), files=1024),
                         (255, grids_missing() + NO_ROOM, ""))

    def test_more_channels_than_files_can_be_open(self):
        self.scene = scene(slots=1000)
        self.put("a", self.scene)
        self.put("v", raster([plane(WIDTH, HEIGHT)] * 100))
        status, out, err = self.run_both("-i a -vorn v -o out".split(), files=60)
        self.assertEqual((status, err), (255, ""))
        said = out[len(grids_missing()):]
        self.assertRegex(said, r"\AError: cannot open Vorn file v, channel [45]\d\n\Z")
        self.absent("out")

    def test_as_many_channels_as_a_scene_can_take(self):
        """Each has a file of its own open."""
        f = sample(codes=(3,), places=(1,), slots=1000, width=2, height=1, nav_points=0)
        self.put("a", f)
        self.put("v", raster([[[k, k + 0.5]] for k in range(998)]))
        status, out, err = self.run_both("-i a -vorn v -o out".split(), files=1024)
        self.assertEqual((status, err, out[-18:]), (0, "", "1 lines processed\n"))
        made = parse(self.got("out"))
        self.assertEqual([made.channels[k].rows[0].tolist() for k in range(2, 1000)],
                         [[k, k + 0.5] for k in range(998)])

    def test_inputs_are_opened_first(self):
        self.check("-i none -vorn neither -o out",
                   "ZELReadCompositeInfo: cannot open file none\n"
                   "Cannot open input ZEL file none\n", 255)

    def test_the_size_is_checked_before_the_room(self):
        self.scene = sample()
        self.put("a", self.scene)
        self.mismatch(raster([plane(9, HEIGHT)]), HEIGHT, 9)

    def test_the_room_is_checked_before_the_text_header(self):
        self.put("a", sample())
        self.rasters()
        self.refused("-vorn v -vorn_hdr none", NO_ROOM)

    def test_the_output_is_one_of_the_files_read(self):
        rows, = self.rasters()
        self.put("other", raster([rows]))
        for words in ("-vorn v", "-vorn other -vorn_hdr v", "-vorn other -vorn_lut v",
                      "-vorn other -vorn_lut_cc -feat_hdr ./v", "-vorn other -vorn_lut l -feat_hdr v"):
            self.check("-overwrite -i a -o v " + words, grids_missing()
                       + "zel_combine: Error: output file v is one of the input files\n", 255)
            self.same_bytes(self.got("v"), raster([rows]), words)

    def test_a_feature_header_that_is_not_read_may_be_the_output(self):
        rows, = self.rasters(step=0.0)
        self.put("out", b"old")
        self.appends("-vorn v -feat_hdr out", [(float_channel(b"v", rows), rows)],
                     warns=["feature header out is not read without a LUT"])

    def test_the_raster_is_opened_before_the_output_is_compared(self):
        self.check("-overwrite -i a -o a -vorn none", grids_missing() + NO_RASTER % "none", 255)
        self.put("v", raster([plane(9, HEIGHT)]))
        self.check("-overwrite -i a -o v -vorn v",
                   grids_missing() + MISMATCH % (HEIGHT, WIDTH, HEIGHT, 9), 254)

    def test_a_raster_without_channels_needs_neither_lut_nor_classes(self):
        self.put("v", raster([], pixels=WIDTH, lines=HEIGHT))
        for name, words in (("l", "-vorn_lut l"), ("f", "-vorn_lut_cc -feat_hdr f")):
            self.put(name, b"old")
            self.check(["-overwrite", "-o", name, "-i", "a", "-vorn", "v"] + words.split(),
                       grids_missing() + report(one_grid([self.scene])) + progress(HEIGHT))
            self.check_made(name, one_grid([self.scene]))

    def test_a_text_header_is_opened_for_a_raster_without_channels(self):
        self.put("v", raster([], pixels=WIDTH, lines=HEIGHT))
        self.put("t", b"text")
        self.check("-overwrite -i a -o t -vorn v -vorn_hdr t", grids_missing()
                   + "zel_combine: Error: output file t is one of the input files\n", 255)
        self.same_bytes(self.got("t"), b"text", "t")

    def test_files_that_describe_a_raster_may_be_overwritten_where_none_is_read(self):
        self.put("t", b"text")
        self.check("-same_res -overwrite -i a -o t -vorn_lut t",
                   grids_missing() + report(one_grid([self.scene])) + progress(HEIGHT))


class Place(VornTest):
    """Which channels are free."""

    def one(self, f, slot):
        self.scene = f
        self.put("a", f)
        rows, = self.rasters()
        expected = self.appends("-vorn v", [(float_channel(b"v", rows), rows)])
        self.assertEqual(max(s for s, _ in expected.present()), slot)
        return expected

    def full(self, f, channels=1):
        self.put("a", f)
        self.rasters(channels)
        self.refused("-vorn v", NO_ROOM)

    def test_after_the_highest_channel_in_use(self):
        self.one(sample(codes=(3, 3), places=(0, 7), slots=12), 8)

    def test_gaps_are_not_filled(self):
        self.one(sample(codes=(3, 3), places=(2, 500), slots=1000), 501)

    def test_the_last_slot(self):
        self.one(sample(codes=(3,), places=(998,), slots=1000), 999)

    def test_none_after_channel_999(self):
        self.full(sample(codes=(3,), places=(999,), slots=1000))

    def test_a_file_with_channel_0_only_has_no_free_channel(self):
        """Slot 0 is never examined, so that no slot seems to be in use."""
        self.full(sample(codes=(3,), places=(0,), slots=1000))

    def test_a_file_without_channels_has_no_free_channel(self):
        self.full(sample(codes=(), slots=1000))

    def test_channel_1_alone_will_do(self):
        self.one(sample(codes=(3,), places=(1,)), 2)

    def test_as_many_as_there_are_after_the_highest(self):
        f = sample(codes=(3,), places=(996,), slots=1000)
        self.full(f, 4)
        self.scene = f
        planes = self.rasters(3)
        self.appends("-vorn v", [(float_channel(b"v channel %d" % (k + 1), p), p)
                                 for k, p in enumerate(planes)])

    def test_a_file_of_few_slots_gets_more(self):
        self.assertEqual(self.one(sample(codes=(3, 5, 1, 2), slots=4), 4).slots, 5)

    def test_slots_between_are_empty(self):
        f = sample(codes=(3, 5), slots=2)
        f.slots = 2
        self.assertEqual(self.one(f, 2).slots, 3)

    def test_slots_that_are_there_stay(self):
        self.assertEqual(self.one(sample(codes=(3, 5), slots=20), 2).slots, 20)


class Format(unittest.TestCase):
    """The builder itself, compared with bytes written by hand."""

    def test_a_raster(self):
        self.assertEqual(raster([[[1.0, -2.0]], [[0.5, 0.0]]]), bytes.fromhex(
            "cdab0000 02000000 01000000 02000000 0000803f 000000c0 0000003f 00000000"))

    def test_a_turned_raster(self):
        self.assertEqual(raster([[[1.0]]], order=">")[:16], struct.pack(">4I", 0xABCD, 1, 1, 1))


def reversed_bytes(values):
    turned = array("f", values)
    turned.byteswap()
    return list(turned)


@unittest.skipUnless(BIG_ENDIAN_HOST, "a big-endian host")
class BigEndianHost(VornTest):
    """The scene, which is little-endian, has already set the order that a byte-order word of the
    other order sets. A word in the host's own order changes nothing, and a header that is
    big-endian does not fit."""

    def test_a_big_endian_header_is_read_in_the_scenes_order(self):
        self.put("v", raster([plane(WIDTH, HEIGHT)], order=">"))
        self.refused("-vorn v", MISMATCH % (HEIGHT, WIDTH, HEIGHT << 24, WIDTH << 24), 254)

    def test_a_word_that_is_in_no_order_leaves_the_scenes(self):
        rows = plane(WIDTH, HEIGHT)
        self.put("v", raster([rows], word=0x12345678))
        self.appends("-vorn v", [(float_channel(b"v", rows), rows)])

    def test_values_that_a_short_raster_repeats_are_turned_again(self):
        rows = plane(WIDTH, HEIGHT)
        self.put("v", raster([rows])[:16 + 4 * (3 * WIDTH + 2)])
        held = rows[:3] + [list(rows[3][:2]) + reversed_bytes(rows[2][2:])]
        while len(held) < HEIGHT:
            held.append(reversed_bytes(held[-1]))
        self.appends("-vorn v", [(float_channel(b"v", held), held)], warns=CUT_SHORT)


if __name__ == "__main__":
    main()
