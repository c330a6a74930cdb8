"""Files of older layouts, and of the other byte order, rewritten in the current one."""
import struct
from dataclasses import replace

from harness import ToolTest, all_tables_trace, cases, grids_missing, main, progress, report
from model import as_read, one_grid
from sample import sample
from view_case import ViewTest
from zelfile import Histogram, Lut, Table, parse

OTHER_ORDER = "OpenReadOnlyFile: Trying another byte ordering...\n"
LOST_ORDER = ["file a .*other byte order"]
UNSUPPORTED = OTHER_ORDER + "OpenReadOnlyFile: unsupported data type\n"
VERSIONS = (1.11, 1.15, 1.2, 1.21, 1.3, 1.31, 1.32, 1.4, 1.41, 1.42, 1.5, 1.51, 1.6, 2.0, 2.01, 2.1,
            2.11, 2.2, 2.21, 2.3)
# 2.11 is left out: its four bytes make a small version number in the other order too.
SWAPPED = tuple(v for v in VERSIONS if v > 1.505 and v != 2.11)


def old(version, order="<", **fields):
    """A file with everything that its layout can hold."""
    f = sample(version=version, order=order, version_text=b"%g" % version, codes=(3, 2, 1, 5, 4),
               places=(0, 1, 3, 4, 6), height=5, angles=(-1, 3, -1), slots=9, **fields)
    f.luts = [Lut(1, b"classes", [(1, 2, 3, b"one"), (4, 5, 6, b"two")])]
    f.channels[1].standard = Histogram(3.5, -3.5, [1, 2, 3, 4])
    f.channels[1].histogram = Histogram(2.5, -2.5, [4, 3, 2, 1])
    f.channels[3].histogram = Histogram(7.0, 1.0, [5] * 31)
    f.channels[2] = replace(f.channels[1], present=0, histogram=None, standard=None, rows=[])
    f.channels[6].tables = [Table(2, b"curve", [1.0, 0.5])]
    for slot, wavelength in ((0, 0.65), (1, 3.5), (3, 0.0), (4, 3.4999), (6, 11.0)):
        f.channels[slot].wavelength = wavelength
        f.channels[slot].units = (slot + 4) % 8
        f.channels[slot].base_flag = slot % 2
    return f


class Rewriting(ToolTest):
    def rewrite(self, f):
        """A run that rewrites f; returns the expected file."""
        lead, warns = (OTHER_ORDER, LOST_ORDER) if f.order == ">" else ("", ())
        self.put("a", f)
        expected = one_grid([f])
        self.check("-same_res -overwrite -i a -o out",
                   lead + all_tables_trace(as_read(f), "Read") + grids_missing()
                   + all_tables_trace(expected, "Write") + report(expected) + progress(len(f.lines)),
                   warns=warns)
        self.check_made("out", expected)
        return expected


def version(self, number):
    self.rewrite(old(number))


def other_order(self, number):
    self.rewrite(old(number, ">"))


def other_order_with_prefix(self, number):
    """The second look at the version is taken at the start of the file, where the prefix is."""
    data = bytearray(old(number, ">").bytes())
    data[13:21] = struct.pack("<2i", 0, 1)
    self.put("a", data)
    self.check("-same_res -i a -o out", UNSUPPORTED + "Cannot open input ZEL file a\n", 255)
    self.absent("out")


@cases({"little endian %s" % v: (v,) for v in VERSIONS}, version)
@cases({"big endian %s" % v: (v,) for v in VERSIONS if v < 1.51}, other_order)
@cases({"big endian with prefix %s" % v: (v,) for v in SWAPPED}, other_order_with_prefix)
class EveryLayout(Rewriting):
    def test_units_before_1_31_follow_from_the_wavelength(self):
        made = self.rewrite(old(1.3))
        self.assertEqual([c.units for _, c in made.present()], [3, 1, 0, 3, 1])

    def test_texts_of_an_empty_slot_are_dropped(self):
        self.assertEqual(self.rewrite(old(1.2)).channels[2].label, b"")

    def test_a_file_whose_first_bytes_are_not_the_magic_has_no_prefix(self):
        f = old(2.3)
        data = f.bytes()[1221:]
        self.put("a", data)
        expected = one_grid([f])
        self.check("-same_res -i a -o out", all_tables_trace(as_read(f), "Read") + grids_missing()
                   + all_tables_trace(expected, "Write") + report(expected) + progress(5))
        self.check_made("out", expected)


class SharedByteOrder(Rewriting):
    def test_lines_of_a_big_endian_input_are_read_in_the_order_that_opening_the_output_reset(self):
        f = sample(version=1.32, order=">", codes=(5, 3), height=1)
        f.channels[0].rows = [[0x0102, 0x8000, 0x00FF, 0, 1, 2, 3, 4]]
        made = self.rewrite(f)
        self.assertEqual(list(made.channels[0].rows[0])[:3], [0x0201, 0x0080, 0xFF00])
        self.assertEqual(list(made.channels[1].rows[0]), list(f.channels[1].rows[0]))
        self.assertEqual((made.year, made.channels[0].label), (2001, b"label 0"))

    def test_a_big_endian_input_that_needs_no_swap_in_its_lines_comes_out_right(self):
        f = sample(version=1.32, order=">", codes=(3,), height=3, nav_points=0)
        for line in f.lines:
            line.time = line.altitude = 0.0
        self.assertEqual(self.rewrite(f).channels[0].rows, f.channels[0].rows)


class BaseFlags(Rewriting):
    def flags(self, version, data_type, slots=8, places=(0, 5, 6)):
        f = sample(version=version, version_text=b"%g" % version, data_type=data_type,
                   codes=(3,) * len(places), places=places, slots=slots)
        for c in f.channels.values():
            c.base_flag = 0
        made = self.rewrite(f)
        return [s for s, c in sorted(made.channels.items()) if c.base_flag]

    def test_before_1_32_slots_0_to_5_of_the_old_sensors_are_base(self):
        for data_type in (1, 2, 4):
            self.assertEqual(self.flags(1.31, data_type), [0, 1, 2, 3, 4, 5])
        for data_type in (0, 3, 5, 6):
            self.assertEqual(self.flags(1.31, data_type), [])

    def test_before_1_32_slots_100_to_149_of_sensor_3_are_base(self):
        self.assertEqual(self.flags(1.31, 3, 160, (0, 99, 120, 150)), list(range(100, 150)))

    def test_from_1_32_only_present_slots_100_to_149_of_sensor_3_are_forced(self):
        for number in (1.32, 2.3):
            self.assertEqual(self.flags(number, 3, 160, (0, 99, 100, 149, 150)), [100, 149])
            self.assertEqual(self.flags(number, 1), [])


class BeforeHeadersGrew(ToolTest):
    """Versions up to 1.10: no navigation layout, no texts, no blocks; the reader supplies them."""

    def run_old(self, f, version_text):
        lead, warns = (OTHER_ORDER, LOST_ORDER) if f.order == ">" else ("", ())
        self.put("a", f)
        expected = one_grid([f])
        status, out = self.run_tool(*"-same_res -overwrite -i a -o out".split(), warns=warns)
        self.assertEqual(out, lead + "old version %s\n" % version_text + grids_missing()
                         + report(expected) + progress(len(f.lines)))
        self.assertEqual(status, 0)
        made = parse(self.got("out"))
        self.assertEqual([(l.key, l.label, len(l.entries)) for l in made.luts],
                         [(1, b"Collapsed Classes", 34), (2, b"Full Classes", 34)])
        self.check_standard_luts(made.luts)
        expected.luts = made.luts
        self.check_made("out", expected)
        return made

    def check_standard_luts(self, luts):
        collapsed, full = (l.entries for l in luts)
        for row, colour, short, long in (
                (0, (0, 0, 0), b"skip", b"None"), (1, (0, 0, 255), b"Water", b"Water"),
                (3, (255, 75, 211), b"Ice Cloud", b"Ice Cloud"),
                (5, (255, 106, 0), b"Water Cloud", b"Thin Water Cloud"),
                (14, (232, 210, 162), b"Desert", b"Desert"),
                (27, (137, 83, 105), b"Haze", b"Haze over Land"), (30, (70, 70, 70), b"Shadow", b"Shadow")):
            self.assertEqual(collapsed[row], colour + (short,))
            self.assertEqual(full[row], colour + (long,))
        self.assertEqual(full[29], (61, 14, 43, b"Mountain"))
        self.assertEqual(collapsed[33], (0, 255, 0, b"skip"))
        self.assertEqual(full[33], (128, 38, 0, b"Bare Ground/Tundra"))

    def file(self, version, **fields):
        settings = dict(version=version, width=12, height=4, codes=(3, 2, 4), places=(0, 3, 5),
                        nav_points=51, slots=20 if version < 1.005 else 7)
        settings.update(fields)
        f = sample(**settings)
        for line in f.lines:
            line.time = 0.0
        return f

    def test_version_1_00_has_20_slots_without_saying_so(self):
        f = self.file(1.0)
        self.assertEqual(len(f.bytes()), 12 + 20 * 264 + 4 * (8 + 8 * 51 + 12 * 7))
        self.assertEqual(self.run_old(f, "1.0000").slots, 20)

    def test_versions_1_01_and_1_10_say_their_slots(self):
        self.assertEqual(self.run_old(self.file(1.01), "1.0100").slots, 7)
        self.assertEqual(self.run_old(self.file(1.1), "1.1000").slots, 7)

    def test_a_wide_line_means_the_finer_sensor(self):
        made = self.run_old(self.file(1.1, width=2048, height=1), "1.1000")
        self.assertEqual((made.data_type, made.nav_start, made.nav_interval), (1, 24, 40))
        self.assertEqual(made.resolution, struct.unpack("<f", struct.pack("<f", 1.1))[0])

    def test_any_other_line_means_the_coarser_sensor(self):
        made = self.run_old(self.file(1.1, width=2047, height=1), "1.1000")
        self.assertEqual((made.data_type, made.nav_start, made.nav_interval, made.resolution), (2, 4, 8, 4.0))

    def test_the_altitude_follows_the_satellite_number(self):
        self.assertEqual(self.run_old(self.file(1.1, satellite=11), "1.1000").altitude, 860.0)
        self.assertEqual(self.run_old(self.file(1.1, satellite=12), "1.1000").altitude, 820.0)

    def test_in_the_other_byte_order(self):
        self.run_old(self.file(1.0, order=">"), "1.0000")


class KeptSizeRules(Rewriting):
    """Where lines begin in old files is computed from the blocks read, by rules of their own."""

    def test_a_table_counts_204_bytes_for_each_value_of_4(self):
        for version in (1.11, 1.32, 1.4):
            f = old(version)
            f.tables = [Table(1, b"a", [1.0, 2.0]), Table(2, b"b", [3.0])]
            f.filler = bytes(3 * 200)
            self.rewrite(f)

    def test_from_1_41_lines_begin_after_the_last_channel_record(self):
        for version in (1.41, 1.6, 2.3):
            f = old(version)
            f.tables = [Table(1, b"a", [1.0, 2.0]), Table(2, b"b", [3.0])]
            self.rewrite(f)

    def test_a_standard_histogram_counts_with_the_bins_of_the_channel_histogram(self):
        for version in (1.21, 1.31, 1.4):
            f = old(version)
            f.channels[1].histogram = Histogram(1.0, 0.0, [1] * 10)
            f.channels[1].standard = Histogram(1.0, 0.0, [1] * 7)
            f.filler = bytes(3 * 4)
            self.rewrite(f)

    def test_blocks_of_luts_count_as_they_are(self):
        f = old(1.32)
        f.luts = [Lut(1, b"", []), Lut(2, b"many", [(7, 8, 9, b"x")] * 300)]
        self.rewrite(f)


class InAComposite(ViewTest):
    def test_components_of_several_versions(self):
        files = [sample(1000, 8, 6, (3, 2), version=2.3), sample(500, 16, 12, (1,), version=1.6, seed=1,
                 version_text=b"1.6"), sample(2000, 4, 3, (4,), version=1.42, seed=2),
                 sample(1000, 8, 6, (5,), version=1.32, seed=3)]
        for base in range(4):
            self.check_view(files, base)
        for base in range(4):
            self.check_view([(files, base)])


if __name__ == "__main__":
    main()
