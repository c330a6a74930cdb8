"""Making composites: the bytes of the container, the scene check, and everything that is refused."""
import os
import struct

from composite_case import NO_COMPONENT, UPDATING, Create
from harness import CREATING, FAILED, cases, grids_missing, main, progress, report
from model import one_grid
from sample import sample
from zelfile import PREFIX_SIZE, ZelFile, container, directory, parse_all, read_directory

DATA_TYPE = "ZELCreateCompositeFile: DataType mismatch\n"
YEAR = "ZELCreateCompositeFile: year mismatch\n"
JULIAN = "ZELCreateCompositeFile: julian mismatch\n"
SATELLITE = "ZELCreateCompositeFile: Satellite number mismatch\n"
START_TIME = "ZELCreateCompositeFile: start time mismatch\n"
MISMATCH = ("ZELCreateCompositeFile: Error:  ZEL file headers do not match\n"
            "The files are from different images (date/time) or are incompatible data types\n" + FAILED)


class Plain(Create):
    def test_the_container_is_the_inputs_end_to_end_under_a_filled_directory(self):
        parts = self.scenes(1000.0, 500.0, 250.0)
        data = self.make("-i a -i b -i c")
        self.assertEqual(data[:3], b"ZEL")
        self.assertEqual(data[3:13], parts[0][0][3:13])
        self.check_directory(data, 0, [len(p) for p, _ in parts], [1000.0, 500.0, 250.0])
        self.same_bytes(data[PREFIX_SIZE:], b"".join(p for p, _ in parts)[PREFIX_SIZE:], "components")

    def test_a_later_component_keeps_its_own_prefix(self):
        parts = self.scenes(1000.0, 500.0)
        data = self.make("-i a -i b")
        at = len(parts[0][0])
        self.assertEqual(data[at:at + PREFIX_SIZE], parts[1][0][:PREFIX_SIZE])
        self.assertEqual(read_directory(data[at:])[:2], (0, 1))

    def test_resolutions_are_stored_as_they_are_in_the_headers(self):
        self.put("a", sample(0.1))
        self.put("b", sample(12345678.0))
        _, _, _, resolutions, _ = read_directory(self.make("-i a -i b"))
        want = struct.pack("<100f", 0.1, 12345678.0, *[0] * 98)
        self.assertEqual(resolutions, struct.unpack("<100f", want))

    def test_a_trailing_partial_line_is_copied_too(self):
        a = self.put("a", sample().bytes() + b"tail")
        b = self.put("b", sample(500).bytes() + b"partial line")
        self.same_bytes(self.make("-i a -i b"), container([(a, 1000.0), (b, 500.0)]), "out")

    def test_inputs_around_the_size_of_a_copied_block(self):
        small = sample(slots=1, height=1).bytes()
        for block in (30720, 65536, 131072, 262144):
            for extra in (-1, 0, 1):
                a = self.put("a", small.ljust(block + extra, b"a"))
                b = self.put("b", small.ljust(3 * block - extra, b"b"))
                self.check("-overwrite -i a -i b -o out", CREATING + grids_missing())
                self.same_bytes(self.got("out"), container([(a, 1000.0), (b, 1000.0)]), str(block + extra))

    def test_the_same_file_twice(self):
        a = self.scenes(1000.0)[0]
        self.same_bytes(self.make("-i a -i a"), container([a, a]), "out")

    def test_a_longer_old_output_is_truncated(self):
        parts = self.scenes(1000.0, 500.0)
        self.put("out", bytes(3_000_000))
        self.check("-overwrite -i a -i b -o out", CREATING + grids_missing())
        self.same_bytes(self.got("out"), container(parts), "out")

    def test_the_base_index_is_the_position_of_a_plain_base_file(self):
        parts = self.scenes(1000.0, 500.0, 250.0)
        self.same_bytes(self.make("-i a -i b -ib c"), container(parts, 2), "out")

    def test_inputs_are_left_as_they_are(self):
        parts = self.scenes(1000.0, 500.0)
        self.make("-i a -i b")
        self.assertEqual([self.got("a"), self.got("b")], [p for p, _ in parts])


class WithComposites(Create):
    """The inputs p3 (three components, stored base 1), q2 (two, stored base 1) and plain ones."""

    def setUp(self):
        super().setUp()
        self.parts = self.scenes(1000.0, 500.0, 250.0, 125.0, 62.5)
        self.put("p3", container(self.parts[:3], 1))
        self.put("q2", container(self.parts[3:], 1))


class Composites(WithComposites):
    def test_composite_and_plain(self):
        data = self.make("-i p3 -i d", NO_COMPONENT % -1)
        self.same_bytes(data, container(self.parts[:4], 0), "out")

    def test_plain_and_composite(self):
        """The inner directory becomes that of a plain file of the composite's first resolution."""
        data = self.make("-i d -i p3")
        inner = bytearray(container(self.parts[:3]))
        inner[13:PREFIX_SIZE] = directory(0, [0], [1000.0], [0], count=1)
        want = bytearray(self.parts[3][0] + inner)
        order = [self.parts[3]] + self.parts[:3]
        sizes = [len(b) for b, _ in order]
        want[13:PREFIX_SIZE] = directory(0, [sum(sizes[:k]) for k in range(4)], [r for _, r in order], sizes)
        self.same_bytes(data, bytes(want), "out")

    def test_two_composites(self):
        data = self.make("-i p3 -i q2", NO_COMPONENT % -1)
        self.same_bytes(data, container(self.parts, 0), "out")

    def test_an_inner_first_prefix_keeps_its_version_text_and_the_bytes_behind_it(self):
        odd = bytearray(container(self.parts[3:], 1))
        odd[3:13] = b"2.1\0junk\0x"
        self.put("odd", odd)
        data = self.make("-i a -i odd")
        self.assertEqual(data[len(self.parts[0][0]):][:13], b"ZEL2.1\0junk\0x")

    def test_a_first_composite_keeps_its_version_text(self):
        odd = bytearray(container(self.parts[3:], 1))
        odd[3:13] = b"1.9\0junk\0x"
        self.put("odd", odd)
        self.assertEqual(self.make("-i odd -i a", NO_COMPONENT % -1)[:13], b"ZEL1.9\0junk\0x")

    def test_offsets_in_an_inner_directory_are_not_used(self):
        """Its entries are in the other order than its components: they are taken to follow one another."""
        odd = bytearray(container(self.parts[:2]))
        (first, _), (second, _) = self.parts[:2]
        odd[13:PREFIX_SIZE] = directory(0, [len(first), 0], [500.0, 1000.0], [len(second), len(first)])
        self.put("odd", odd)
        data = self.make("-i odd -i c", NO_COMPONENT % -1)
        self.check_directory(data, 0, [len(second), len(first), len(self.parts[2][0])],
                             [500.0, 1000.0, 250.0])

    def test_bytes_behind_the_last_inner_component_shift_what_follows(self):
        """A component's place is the sum of the sizes before it, also where the copy was longer."""
        self.put("odd", container(self.parts[:2]) + b"1234567")
        data = self.make("-i odd -i c -i d", NO_COMPONENT % -1)
        sizes = [len(b) for b, _ in self.parts[:4]]
        third = sizes[0] + sizes[1]
        self.check_directory(data, 0, sizes, [1000.0, 500.0, 250.0, 125.0],
                             [0, sizes[0], third, third + 7 + sizes[2]])
        self.same_bytes(data[third + 7:], self.parts[2][0] + self.parts[3][0], "behind the tail")


BASES = {  # words, warning number, base index
    "plain base behind a composite is not recounted": ("-i p3 -ib d", None, 1),
    "plain base behind two composites": ("-i p3 -i q2 -ib a", None, 2),
    "plain base before a composite": ("-ib d -i p3", None, 0),
    "composite base behind plain files without a component": ("-i a -i b -ib q2", -1, 2),
    "composite base behind plain files with a component": ("-i a -i b -ib q2 -bc 1", None, 3),
    "composite base behind a composite counts its components": ("-i p3 -ib q2 -bc 1", None, 4),
    "component equal to the count points behind the composite": ("-ib q2 -i a -bc 2", None, 2),
    "component above the count falls back to the first": ("-i a -ib q2 -bc 3", 3, 1),
    "negative component falls back to the first": ("-i a -ib q2 -bc -2", -2, 1),
    "component of a plain base file is ignored": ("-i p3 -ib d -bc 2", None, 1),
}


def base_index(self, words, warned, base):
    data = self.make(words, "" if warned is None else NO_COMPONENT % warned)
    self.assertEqual(read_directory(data)[0], base)


@cases(BASES, base_index)
class BaseIndex(WithComposites):
    pass


def mismatch(self, what, *changes):
    for name, change in zip("abc", changes):
        f = sample()
        for key, value in change.items():
            if key == "time":
                f.lines[0].time = value
            else:
                setattr(f, key, value)
        self.put(name, f)
    words = "".join("-i %s " % n for n in "abc"[:len(changes)])
    self.check(words + "-o out", CREATING + grids_missing() + (what + MISMATCH if what else ""))
    self.assertEqual((self.dir / "out").exists(), not what)


SAME = {}
SCENE_CHECK = {
    "data type": (DATA_TYPE, SAME, {"data_type": 5}),
    "year": (YEAR, SAME, {"year": 2002}),
    "julian": (JULIAN, SAME, {"julian": 101}),
    "satellite": (SATELLITE, SAME, {"satellite": 8}),
    "start time": (START_TIME, SAME, {"time": 12.35}),
    "later pairs are checked": (JULIAN, SAME, SAME, {"julian": 99}),
    "pairs of the first file come first": (JULIAN, SAME, {"julian": 99}, {"data_type": 1}),
    "data type before year": (DATA_TYPE, SAME, {"year": 2002, "data_type": 5}),
    "year before julian": (YEAR, SAME, {"julian": 5, "year": 2002}),
    "julian before satellite": (JULIAN, SAME, {"satellite": 8, "julian": 5}),
    "satellite before time": (SATELLITE, SAME, {"time": 1.0, "satellite": 8}),
    "times of one tenth match": (None, {"time": 100.04}, {"time": 100.06}),
    "times of two tenths do not": (START_TIME, {"time": 100.09}, {"time": 100.11}),
    "tenths are truncated, not rounded": (None, {"time": 7.51}, {"time": 7.59}),
    "truncation is toward zero": (None, {"time": -0.09}, {"time": 0.09}),
    "resolution may differ": (None, {"resolution": 7.0}, {"resolution": 9.0}),
    "altitude and comment may differ": (None, {"altitude": 7.0}, {"comment": b"other"}),
    "version may differ": (None, SAME, {"version": 2.21, "version_text": b"2.21"}),
}


@cases(SCENE_CHECK, mismatch)
class SceneCheck(Create):
    def test_a_year_of_two_digits_reads_as_19xx_through_a_composite_only(self):
        a, b = sample(year=97), sample(500, 16, 12, year=97)
        self.put("a", a)
        self.put("p", container([(a.bytes(), 1000.0), (b.bytes(), 500.0)]))
        self.check("-i a -i p -o out", CREATING + grids_missing() + YEAR + MISMATCH)

    def test_a_composite_is_checked_by_its_base_component(self):
        a, b = sample(), sample(500, 16, 12)
        for line in b.lines:
            line.time += 1
        for base, what in ((0, ""), (1, START_TIME + MISMATCH)):
            self.put("a", a)
            self.put("p", container([(a.bytes(), 1000.0), (b.bytes(), 500.0)], base))
            self.check("-overwrite -i a -i p -o out", CREATING + grids_missing() + what)

    def test_a_mismatch_leaves_an_old_output_without_a_question(self):
        self.put("a", sample())
        self.put("b", sample(julian=3))
        self.put("out", b"old")
        self.check("-i a -i b -o out", CREATING + grids_missing() + JULIAN + MISMATCH)
        self.assertEqual(self.got("out"), b"old")


UNREADABLE = ["file a .*cannot be read again"]    # a first input that a prefix in front spoils


class VersionUpdate(Create):
    """A first input older than 2.00 gets a fresh prefix in front, whether it has one or not."""

    def fresh_prefix(self, resolution=1000.0):
        return ZelFile(resolution=resolution).prefix()

    def updated(self, warns=(), **fields):
        a = self.put("a", sample(**fields))
        b = self.put("b", sample(500.0))
        self.check("-i a -i b -o out", CREATING + grids_missing() + UPDATING, warns=warns)
        first = self.fresh_prefix() + a
        data = self.got("out")
        self.same_bytes(data, container([(first, 1000.0), (b, 500.0)]), "out")
        return data, a

    def test_a_first_input_without_prefix(self):
        data, a = self.updated(version=1.41)
        self.assertEqual(read_directory(data)[4][0], PREFIX_SIZE + len(a))

    def test_a_first_input_with_a_prefix_gets_a_second_one(self):
        data, a = self.updated(UNREADABLE, version=1.99, version_text=b"1.99")
        self.assertEqual(data[:13], b"ZEL2.3".ljust(13, b"\0"))
        self.assertEqual(data[PREFIX_SIZE:PREFIX_SIZE + 13], b"ZEL1.99".ljust(13, b"\0"))
        self.assertEqual(read_directory(data)[4][0], PREFIX_SIZE + len(a))

    def test_every_version_without_prefix(self):
        for version in (1.11, 1.21, 1.32, 1.42, 1.5):
            self.updated(UNREADABLE if version < 1.41 else (), version=version)
            os.remove(self.dir / "out")

    def test_version_2_00_is_not_updated(self):
        a = self.put("a", sample(version=2.0, version_text=b"2.0"))
        b = self.put("b", sample(500.0))
        self.same_bytes(self.make("-i a -i b"), container([(a, 1000.0), (b, 500.0)]), "out")

    def test_a_later_old_input_is_copied_as_it_is(self):
        a = self.put("a", sample())
        b = self.put("b", sample(500.0, version=1.41))
        c = self.put("c", sample(250.0, version=1.6, version_text=b"1.6"))
        self.same_bytes(self.make("-i a -i b -i c"),
                        container([(a, 1000.0), (b, 500.0), (c, 250.0)]), "out")

    def test_an_updated_component_opens_again(self):
        a, b = sample(version=1.42), sample(500.0, 16, 12)
        self.put("a", a)
        self.put("b", b)
        self.check("-i a -i b -o pair", CREATING + grids_missing() + UPDATING)
        expected = one_grid([a, b])
        self.check("-same_res -i pair -o out", grids_missing() + report(expected) + progress(6))
        self.check_made("out", expected)

    def test_a_doubly_prefixed_component_cannot_be_opened(self):
        self.put("a", sample(version=1.6, version_text=b"1.6"))
        self.put("b", sample(500.0))
        self.check("-i a -i b -o pair", CREATING + grids_missing() + UPDATING, warns=UNREADABLE)
        self.check("-same_res -i pair -o out",
                   "OpenReadOnlyFile: Trying another byte ordering...\n"
                   "OpenReadOnlyFile: unsupported data type\nError opening file pair\n", 255)

    def test_a_file_of_version_1_10_says_its_version_and_has_its_sensors_resolution(self):
        a = self.put("a", sample(version=1.1, width=12, nav_points=51, data_type=2))
        b = self.put("b", sample(500.0, data_type=2))
        self.check("-i a -i b -o out",
                   CREATING + "old version 1.1000\n" + grids_missing() + UPDATING, warns=UNREADABLE)
        self.same_bytes(self.got("out"),
                        container([(self.fresh_prefix(4.0) + a, 4.0), (b, 500.0)]), "out")


class ReadBack(Create):
    def test_the_parts_of_a_container_read_back_as_the_inputs(self):
        files = [sample(1000, 8, 6, (3, 1)), sample(250, 32, 24, (5,)), sample(2000, 4, 3, (4,))]
        for name, f in zip("abc", files):
            self.put(name, f)
        read = parse_all(self.make("-i a -i b -i c"))
        self.assertEqual([len(f.lines) for f in read], [6, 24, 3])
        self.assertEqual([f.bytes() for f in read[1:]], [f.bytes() for f in files[1:]])
        self.assertEqual(read[0].bytes()[PREFIX_SIZE:], files[0].bytes()[PREFIX_SIZE:])

    def test_the_directory_is_little_endian_behind_a_big_endian_input(self):
        a = self.put("a", sample())
        b = self.put("b", sample(500.0, version=1.32, order=">"))
        self.check("-i a -i b -o out", CREATING + grids_missing()
                   + "OpenReadOnlyFile: Trying another byte ordering...\n",
                   warns=["file b .*other byte order"])
        self.same_bytes(self.got("out"), container([(a, 1000.0), (b, 500.0)]), "out")


if __name__ == "__main__":
    main()
