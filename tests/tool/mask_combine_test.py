"""Classifier masks go through the tool both ways, and come out equal, field for field."""
import subprocess
from dataclasses import replace

from harness import CREATING, TOOL, ToolTest, differences, grids_missing, main
from maskfile import Entry, full_mask, mask_bytes, parse_mask
from sample import sample
from view_case import ViewTest
from zelfile import container, parse, parse_all


def masked(resolution=1000.0, seed=0, **header):
    """A scene whose second channel carries a mask, between two that do not."""
    f = sample(resolution, codes=(3, 5, 3), places=(0, 1, 2), seed=seed, **header)
    f.channels[1].mask = full_mask(seed)
    return f


def uncounted(mask):
    """A mask as it is written: its classifiers' headers count no samples."""
    return replace(mask, classifiers=[replace(c, header=replace(c.header, counts={}))
                                      for c in mask.classifiers])


def as_written(f, made):
    """f with masks as they are written, and dated as those of the made file are."""
    channels = {}
    for slot, c in f.channels.items():
        written = made.channels[slot].mask if slot in made.channels else None
        channels[slot] = replace(c, mask=c.mask and replace(uncounted(c.mask), date=written.date)
                                 if written else c.mask)
    return replace(f, channels=channels)


class MaskTest(ViewTest):
    """check_made ignores nothing but the dates of masks."""

    def check_made(self, name, expected):
        super().check_made(name, as_written(expected, parse(self.got(name))))

    def assert_same(self, mask, wanted):
        self.assertIsNotNone(mask)
        self.assertEqual(differences(replace(mask, date=wanted.date), uncounted(wanted)), [])


class Samples(MaskTest):
    """The masks of these tests have the intended fields."""

    def test_a_mask_has_two_classifiers_filters_and_both_programs(self):
        mask = full_mask()
        self.assertEqual(len(mask.classifiers), 2)
        for items in (mask.pre_filters, mask.post_filters, mask.pre_program, mask.post_program):
            self.assertTrue(items)
        self.assertTrue(mask.classifiers[0].header.counts)
        self.assertEqual(parse_mask(mask_bytes(mask)), (mask, len(mask_bytes(mask))))

    def test_a_difference_in_a_mask_is_seen(self):
        made, wanted = masked(), masked()
        made.channels[1].mask = uncounted(made.channels[1].mask)
        self.put("out", made)
        self.check_made("out", wanted)
        made.channels[1].mask.classifiers[1].data = b"\0\xfeZEL\0"
        self.put("out", made)
        with self.assertRaises(AssertionError):
            self.check_made("out", wanted)
        with self.assertRaises(AssertionError):
            self.assert_same(parse(self.got("out")).channels[1].mask, wanted.channels[1].mask)


class Container(MaskTest):
    def test_a_composite_has_the_masks_of_its_inputs(self):
        files = [masked(), sample(500.0), masked(250.0, seed=1)]
        for name, f in zip("abc", files):
            self.put(name, f)
        self.check("-overwrite -i a -i b -i c -o out", CREATING + grids_missing())
        self.same_bytes(self.got("out"), container([(f.bytes(), f.resolution) for f in files]), "out")
        made = parse_all(self.got("out"))
        self.assertEqual(made[0].channels[1].mask, full_mask())
        self.assertIsNone(made[1].channels[0].mask)
        self.assertEqual(made[2].channels[1].mask, full_mask(1))


class OneGrid(MaskTest):
    def made(self, slot):
        return parse(self.got("out")).channels[slot].mask

    def test_a_plain_file(self):
        self.check_view([masked()])
        self.assert_same(self.made(1), full_mask())
        self.assertIsNone(self.made(0))
        self.assertIsNone(self.made(2))

    def test_the_date_is_that_of_writing(self):
        self.check_view([masked()])
        self.assertRegex(self.made(1).date, rb"^\d\d:\d\d:\d\d  \w+day \w{3} \d\d \d{4}$")
        self.assertNotEqual(self.made(1).date, full_mask().date)

    def test_a_mask_of_an_empty_slot(self):
        f = masked()
        f.channels[1].present = 0
        self.check_view([f])
        self.assert_same(self.made(1), full_mask())

    def test_several_files(self):
        self.check_view([masked(), sample(500.0, width=16, height=12), masked(seed=2)])
        self.assert_same(self.made(1), full_mask())
        self.assertIsNone(self.made(3))
        self.assert_same(self.made(5), full_mask(2))

    def test_another_base(self):
        self.check_view([masked(), masked(500.0, seed=1, width=16, height=12)], base_file=1)
        self.assert_same(self.made(1), full_mask())
        self.assert_same(self.made(4), full_mask(1))

    def test_the_components_of_a_composite(self):
        self.check_view([([masked(), masked(500.0, seed=1, width=16, height=12)], 0)])
        self.assert_same(self.made(1), full_mask())
        self.assert_same(self.made(4), full_mask(1))

    def test_the_container_that_the_tool_made(self):
        f = masked()
        self.put("a", f)
        self.put("b", sample(500.0, width=16, height=12))
        self.check("-overwrite -i a -i b -o both", CREATING + grids_missing())
        status, _ = self.run_tool("-same_res", "-i", "both", "-o", "out")
        self.assertEqual(status, 0)
        self.assert_same(self.made(1), full_mask())

    def test_twice(self):
        self.put("a", masked())
        for source, target in (("a", "first"), ("first", "out")):
            status, _ = self.run_tool("-same_res", "-i", source, "-o", target)
            self.assertEqual(status, 0)
        self.assert_same(self.made(1), full_mask())

    # What a file of the other byte order has big-endian is no different there.
    def test_a_big_endian_file(self):
        f = masked()
        f.version, f.order = 1.42, ">"
        f.meta_type, f.meta_size, f.metadata = 0, 0, b""
        self.put("a", f)
        status, _ = self.run_tool("-same_res", "-i", "a", "-o", "out",
                                  warns=["file a is of the other byte order"])
        self.assertEqual(status, 0)
        self.assert_same(self.made(1), full_mask())

    def test_an_old_mask_becomes_one_of_the_present_version(self):
        old = full_mask()
        old.version, old.pre_program, old.post_program, old.type = b"1.0", None, None, None
        header = old.classifiers[1].header
        header.version, header.options, old.classifiers[1].level = b"1.1", None, None
        f = masked()
        f.channels[1].mask = old
        self.put("a", f)
        status, _ = self.run_tool("-same_res", "-i", "a", "-o", "out")
        self.assertEqual(status, 0)
        new = full_mask()
        new.pre_program, new.post_program, new.type = [], [], 0
        new.classifiers[1].level = 0
        self.assert_same(self.made(1), new)


class Damaged(ToolTest):
    def check_refused(self, data, what, at):
        self.put("a", data)
        self.check("-same_res -i a -o out",
                   "OpenReadOnlyFile: corrupt file a: %s at offset %d\n" % (what, at)
                   + "Cannot open input ZEL file a\n", status=255)
        self.absent("out")

    def place(self, f):
        """Where the mask of the scene is in its bytes."""
        return f.bytes().index(mask_bytes(f.channels[1].mask))

    def test_a_mask_that_is_cut_short(self):
        f = masked()
        data, size = f.bytes(), len(mask_bytes(f.channels[1].mask))
        self.check_refused(data[:self.place(f) + size - 2], "cut short in classifier bytes",
                           self.place(f) + size - 6)

    def test_a_length_larger_than_the_file(self):
        f = masked()
        data, place = bytearray(f.bytes()), self.place(f)
        data[place + 4:place + 8] = b"\x7f\xff\xff\xff"
        self.check_refused(data, "invalid length of mask identifier 2147483647", place + 4)


class Expressions(ToolTest):
    def test_one_that_does_not_compile_ends_the_run(self):
        f = masked()
        f.channels[1].mask.conditions.append(Entry(b"wrong", b"Ch1 +* 2"))
        self.put("a", f)
        done = subprocess.run([TOOL, "-same_res", "-i", "a", "-o", "out"], cwd=self.dir,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 255)
        self.assertEqual(done.stderr, b"expression: Ch1 +* 2\nparse error: syntax error\n")
        self.absent("out")


if __name__ == "__main__":
    main()
