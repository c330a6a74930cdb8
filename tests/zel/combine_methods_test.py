#!/usr/bin/env python3
"""zel combine: every method with every storage, with and without missing values, against arithmetic in Python;
the rules for missing values as properties; and one grid to the byte against zel_combine."""
import math
import random
import subprocess
from array import array
from collections import Counter

from zel_case import BIN, SCENES, ZelTest, main, needs_scenes
from combine_scenes import scene
from model import average, decode, encode, f32
from zelfile import container, parse

WIDTH, HEIGHT = 5, 4
MISSING = {1: ("raw:0", 0), 2: ("180", 0), 3: ("2", 2), 4: ("-999", -999.0), 5: ("raw:5", 5)}
LABELS = {1: "byte", 2: "scaled", 3: "CLS", 4: "float", 5: "RAW"}


def block_of(rows, x, y, factor):
    """The stored pixels of a block, in reading order; fewer at the edge of a narrow file."""
    return [v for row in rows[y * factor:(y + 1) * factor] for v in row[x * factor:(x + 1) * factor]]


def apart(channel, stored, missing):
    """The next stored number that does not mean missing; floats of these scenes never meet one."""
    return stored + 1 if channel.type != 4 and stored == missing else stored


def expected(channel, method, block, factor, missing, least):
    """The stored result of one block by the rules of the page; nan where a sum has none."""
    valid = [v for v in block if v != missing]
    values = dict(zip(valid, decode(channel, array(block_type(channel), valid))))
    if len(valid) < least:
        return math.nan if method == "sum" and channel.type != 4 else missing
    if method == "nearest":
        middle = (factor - 1) // 2
        return block[middle * factor + middle]
    if method == "mode":
        counts = Counter(valid)
        return min(v for v in counts if counts[v] == max(counts.values()))
    if method in ("min", "max"):
        return {"min": min, "max": max}[method](valid, key=values.get)
    total = 0.0
    for v in valid:
        total += values[v]
    if method == "sum":
        return f32(total)
    if len(valid) == len(block):
        lines = [decode(channel, array(block_type(channel), block[i:i + factor]))
                 for i in range(0, len(block), factor)]
        mean = average(lines, factor, 1)[0]
    else:
        mean = f32(total / len(valid))
    return apart(channel, encode(channel, [mean])[0], missing)


def block_type(channel):
    return {1: "B", 2: "H", 3: "B", 4: "f", 5: "H"}[channel.type]


class MethodTest(ZelTest):
    def combine(self, *words, out="out.zel"):
        status, _, err = self.run_zel("combine", *words, "-q", "--no-record", "--overwrite", "-o", out)
        self.assertEqual((status, err), (0, ""))
        return parse(self.got(out))

    def files(self, factor, seed):
        fine = scene(30.0, WIDTH * factor, HEIGHT * factor, seed=seed)
        self.put("fine", fine)
        self.put("base", scene(30.0 * factor, WIDTH, HEIGHT, codes=(3,), labels=[b"T"]))
        return fine

    def check_method(self, fine, factor, method, missing, least, words):
        made = self.combine("fine", "base", "--base", "base", "--method", "*=" + method, *words)
        for slot, channel in fine.channels.items():
            out = made.channels[slot]
            none = MISSING[channel.type][1] if missing else None
            for y in range(HEIGHT):
                row = [expected(channel, method, block_of(channel.rows, x, y, factor), factor, none, least)
                       for x in range(WIDTH)]
                self.assertEqual([str(v) for v in out.rows[y]], [str(v) for v in row],
                                 (method, factor, channel.label, y, words))

    def missing_words(self):
        return [w for code, (value, _) in MISSING.items()
                for w in ("--missing", "%s=%s" % (LABELS[code], value))]


class Methods(MethodTest):
    def test_every_method_without_missing_values(self):
        for factor in (2, 3, 4):
            fine = self.files(factor, seed=factor)
            for method in ("mean", "nearest", "mode", "min", "max", "sum"):
                self.check_method(fine, factor, method, False, 1, [])

    def test_every_method_with_missing_values(self):
        for factor in (2, 3):
            for seed in range(4):
                fine = self.files(factor, seed)
                for method in ("mean", "mode", "min", "max", "sum"):
                    self.check_method(fine, factor, method, True, 1, self.missing_words())

    def test_the_least_number_of_pixels_that_are_there(self):
        fine = self.files(3, seed=7)
        for text, least in (("4", 4), ("50%", 5), ("100%", 9), ("0", 1), ("99", 9)):
            for method in ("mean", "mode"):
                self.check_method(fine, 3, method, True, least,
                                  self.missing_words() + ["--min-valid", text])

    def test_nearest_takes_the_middle_pixel_whether_it_is_missing_or_not(self):
        fine = self.files(3, seed=3)
        made = self.combine("fine", "base", "--base", "base", "--method", "*=nearest", *self.missing_words())
        for slot, channel in fine.channels.items():
            middle = [row[1::3] for row in channel.rows[1::3]]
            empty = [[all(v == MISSING[channel.type][1] for v in block_of(channel.rows, x, y, 3))
                      for x in range(WIDTH)] for y in range(HEIGHT)]
            self.assertFalse(any(map(any, empty)))
            self.assertEqual([list(r) for r in made.channels[slot].rows], [list(r) for r in middle])

    def test_sums_are_floats_and_other_methods_keep_the_storage(self):
        self.files(2, seed=1)
        for method, types in (("sum", [4] * 5), ("max", [1, 2, 3, 4, 5])):
            made = self.combine("fine", "base", "--base", "base", "--method", "*=" + method)
            self.assertEqual([made.channels[s].type for s in range(5)], types)
            self.assertEqual(made.channels[5].type, 3)

    def test_coarser_channels_are_repeated_by_every_method_but_sum(self):
        coarse = scene(60.0, 3, 2, codes=(1, 4), seed=1)
        self.put("coarse", coarse)
        self.put("base", scene(30.0, 6, 4, codes=(3,), labels=[b"T"]))
        for method in ("mean", "nearest", "mode", "min", "max"):
            made = self.combine("coarse", "base", "--base", "base", "--method", "*=" + method)
            for slot in (0, 1):
                rows = [[v for v in coarse.channels[slot].rows[y // 2] for _ in (0, 1)] for y in range(4)]
                self.assertEqual([list(r) for r in made.channels[slot].rows], rows)
        self.fails("combine coarse base --base base --method byte=sum -o x",
                   "zel combine: channel #0 byte is coarser than the base: repeated pixels cannot be summed")

    def test_a_value_that_is_not_a_number_can_be_missing(self):
        fine = scene(30.0, 4, 2, codes=(4,), labels=[b"F"])
        nan = math.nan
        fine.channels[0].rows = [array("f", [1.0, nan, nan, nan]), array("f", [2.0, 6.0, nan, nan])]
        self.put("fine", fine)
        self.put("base", scene(60.0, 2, 1, codes=(3,), labels=[b"T"]))
        words = ["fine", "base", "--base", "base"]
        made = self.combine(*words, "--missing", "F=nan")
        self.assertEqual([str(v) for v in made.channels[0].rows[0]], ["3.0", "nan"])
        made = self.combine(*words, "--missing", "F=nan", "--missing", "F=6")
        self.assertEqual([str(v) for v in made.channels[0].rows[0]], ["1.5", "6.0"])
        for method in ("mean", "min", "max", "sum"):
            made = self.combine(*words, "--method", "F=" + method)
            self.assertEqual([str(v) for v in made.channels[0].rows[0]], ["nan", "nan"])

    def test_a_mean_of_floats_is_never_a_missing_value(self):
        fine = scene(30.0, 2, 2, codes=(4,), labels=[b"F"])
        fine.channels[0].rows = [array("f", [0.5, 1.5]), array("f", [0.25, 1.75])]
        self.put("fine", fine)
        self.put("base", scene(60.0, 1, 1, codes=(3,), labels=[b"T"]))
        for method, value in (("mean", 1.0), ("sum", 4.0)):
            words = ["fine", "base", "--base", "base", "--method", "F=" + method, "--missing"]
            self.assertEqual(self.combine(*words, "F=9").channels[0].rows[0][0], value)
            made = self.combine(*words, "F=%g" % value).channels[0].rows[0][0]
            self.assertEqual(made, value * (1 + 2.0 ** -23))  # the next larger float

    def test_a_pattern_fits_letters_of_either_case(self):
        fine = self.files(2, seed=5)
        for pattern in ("cl?", "Cl*", "*LS"):
            made = self.combine("fine", "base", "--base", "base", "--method", "*=mean", "--method", pattern + "=max")
            rows = [[max(block_of(fine.channels[2].rows, x, y, 2)) for x in range(WIDTH)] for y in range(HEIGHT)]
            self.assertEqual([list(r) for r in made.channels[2].rows], rows, pattern)

    def test_of_equal_values_the_smaller_stored_number_is_taken(self):
        """0 and -0 are equal; the bits of 0 are the smaller ones."""
        fine = scene(30.0, 2, 2, codes=(4,), labels=[b"F"])
        fine.channels[0].rows = [array("f", [-0.0, 0.0]), array("f", [-0.0, -0.0])]
        self.put("fine", fine)
        self.put("base", scene(60.0, 1, 1, codes=(3,), labels=[b"T"]))
        for method in ("min", "max"):
            made = self.combine("fine", "base", "--base", "base", "--method", "F=" + method)
            self.assertEqual(str(made.channels[0].rows[0][0]), "0.0", method)

    def test_a_block_without_values_gets_the_first_missing_value(self):
        fine = scene(30.0, 2, 2, codes=(3,), labels=[b"N"])
        fine.channels[0].units = 0
        fine.channels[0].rows = [array("B", [9, 7]), array("B", [7, 9])]
        self.put("fine", fine)
        self.put("base", scene(60.0, 1, 1, codes=(3,), labels=[b"T"]))
        for method in ("mean", "mode", "max"):
            words = ["fine", "base", "--base", "base", "--method", "N=" + method, "--missing"]
            self.assertEqual(list(self.combine(*words, "N=7", "--missing", "N=9").channels[0].rows[0]), [7])
            self.assertEqual(list(self.combine(*words, "N=9", "--missing", "N=7").channels[0].rows[0]), [9])

    def test_a_mean_is_never_stored_as_a_missing_number(self):
        """The mean of raw 1, 1, 1, 2 in bytes of 1 .. 2 is cut to 1; with 1 missing that of 0 and 2 is not."""
        fine = scene(30.0, 4, 2, codes=(3,), labels=[b"N"])
        fine.channels[0].units = 0
        fine.channels[0].rows = [array("B", [0, 2, 255, 253]), array("B", [0, 2, 255, 253])]
        self.put("fine", fine)
        self.put("base", scene(60.0, 2, 1, codes=(3,), labels=[b"T"]))
        words = ["fine", "base", "--base", "base"]
        self.assertEqual(list(self.combine(*words).channels[0].rows[0]), [1, 254])
        self.assertEqual(list(self.combine(*words, "--missing", "N=1").channels[0].rows[0]), [2, 254])
        self.assertEqual(list(self.combine(*words, "--missing", "N=1", "--missing", "N=2").channels[0].rows[0]),
                         [0, 254])
        above = self.combine(*words, "--missing", "N=1", "--missing", "N=254")
        self.assertEqual(list(above.channels[0].rows[0]), [2, 255])

    def test_at_the_edge_of_a_narrow_file_what_is_there_counts(self):
        fine = scene(30.0, 5, 2, codes=(3, 3), labels=[b"N", b"M"])
        for c in fine.channels.values():
            c.units = 0
        fine.channels[0].rows = [array("B", [1, 3, 5, 7, 8]), array("B", [1, 3, 5, 7, 6])]
        fine.channels[1].rows = fine.channels[0].rows
        self.put("fine", fine)
        self.put("base", scene(60.0, 4, 1, codes=(3,), labels=[b"T"]))
        made = self.combine("fine", "base", "--base", "base", "--allow", "extent", "--method", "M=max",
                            "--missing", "N=99")
        self.assertEqual(list(made.channels[0].rows[0]), [2, 6, 7, 99])
        self.assertEqual(list(made.channels[1].rows[0]), [3, 7, 8, 0])
        # The share that is wanted is for channels that have a missing value.
        made = self.combine("fine", "base", "--base", "base", "--allow", "extent", "--method", "M=max",
                            "--missing", "N=99", "--min-valid", "100%")
        self.assertEqual(list(made.channels[0].rows[0]), [2, 6, 99, 99])
        self.assertEqual(list(made.channels[1].rows[0]), [3, 7, 8, 0])


class Properties(MethodTest):
    def test_missing_values_that_do_not_occur_change_nothing(self):
        """But for means that would be stored as one of them: these get the next number."""
        for factor in (2, 3):
            fine = self.files(factor, seed=factor + 20)
            for channel in fine.channels.values():
                none = MISSING[channel.type][1]
                other = 8.0 if channel.type == 4 else none + 1
                channel.rows = [array(r.typecode, [other if v == none else v for v in r])
                                for r in channel.rows]
            self.put("fine", fine)
            for method in ("mean", "min", "max", "mode", "sum"):
                words = ["fine", "base", "--base", "base", "--method", "*=" + method]
                plain, named = self.combine(*words), self.combine(*words, *self.missing_words())
                for slot, channel in fine.channels.items():
                    rows = [[apart(channel, v, MISSING[channel.type][1]) for v in row]
                            if method == "mean" else list(row) for row in plain.channels[slot].rows]
                    self.assertEqual([list(row) for row in named.channels[slot].rows], rows)

    def test_a_result_is_missing_exactly_where_too_few_pixels_are_there(self):
        for seed in range(5):
            fine = self.files(2, seed=seed + 40)
            for method in ("mean", "mode", "min", "max"):
                made = self.combine("fine", "base", "--base", "base", "--method", "*=" + method,
                                    "--min-valid", "2", *self.missing_words())
                for slot, channel in fine.channels.items():
                    none = MISSING[channel.type][1]
                    for y in range(HEIGHT):
                        few = [sum(v != none for v in block_of(channel.rows, x, y, 2)) < 2
                               for x in range(WIDTH)]
                        self.assertEqual([v == none for v in made.channels[slot].rows[y]], few)

    def test_no_number_comes_up_that_its_block_does_not_hold(self):
        for seed in range(5):
            fine = self.files(3, seed=seed + 60)
            for words in ([], ["--method", "*=mode"], ["--method", "*=min"], ["--method", "*=max"]):
                made = self.combine("fine", "base", "--base", "base", *words)
                for slot in range(5) if words else (2,):
                    for y in range(HEIGHT):
                        for x, v in enumerate(made.channels[slot].rows[y]):
                            self.assertIn(v, block_of(fine.channels[slot].rows, x, y, 3))

    def test_the_result_does_not_depend_on_how_the_lines_are_read(self):
        """From a file, from a part of a container, before and after the base, alone and beside other channels."""
        fine = self.files(3, seed=80)
        base = scene(90.0, WIDTH, HEIGHT, codes=(3,), labels=[b"T"])
        self.put("both", container([(base.bytes(), 90.0), (fine.bytes(), 30.0)]))
        words = ["--method", "*=mode", "--method", "byte=mean", "--method", "RAW=max", *self.missing_words()]
        first = self.combine("fine", "base", "--base", "base", *words)
        after = self.combine("base", "fine", *words)
        parts = self.combine("both", *words)
        for slot in range(5):
            self.assertEqual(first.channels[slot].rows, after.channels[slot + 1].rows)
            self.assertEqual(first.channels[slot].rows, parts.channels[slot + 1].rows)
            self.assertEqual(first.channels[slot].histogram, parts.channels[slot + 1].histogram)
        alone = parse(fine.bytes())
        for slot in (0, 1, 2, 3):
            del alone.channels[slot]
        self.put("alone", alone)
        made = self.combine("alone", "base", "--base", "base", "--method", "RAW=max", "--missing", "RAW=raw:5")
        self.assertEqual(made.channels[0].rows, first.channels[4].rows)


class OldTool(ZelTest):
    """With the methods of zel_combine the output is that of zel_combine."""

    def both(self, files, base, *words):
        subprocess.run([str(BIN / "zel_combine"), "-same_res", "-overwrite", *self.plain(files, base),
                        "-o", "old"], cwd=self.dir, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, env=self.env, timeout=120)
        status, _, err = self.run_zel("combine", *files, "--base", files[base], "-q", "--no-record", "--overwrite",
                                      "--method", "*=mean", "-o", "new", *words)
        self.assertEqual((status, err), (0, ""))
        self.assertTrue(self.got("new") == self.got("old"), (files, base))

    @staticmethod
    def plain(files, base):
        return [w for i, name in enumerate(files) for w in ("-ib" if i == base else "-i", name)]

    def test_random_scenes(self):
        choose = random.Random(5)
        for seed in range(12):
            factors = choose.sample((1, 2, 3, 4, 6), 3)
            widest = 12 * choose.randint(1, 3)
            files = []
            for i, factor in enumerate(factors):
                codes = tuple(choose.choice((1, 2, 3, 4, 5)) for _ in range(choose.randint(1, 4)))
                f = scene(10.0 * factor, widest // factor, 24 // factor, codes, seed=100 * seed + i)
                f.meta_type, f.metadata = choose.choice(((0, b""), (1, b"kind 1"), (0, b"text")))
                f.meta_size = len(f.metadata)
                if choose.random() < 0.3:
                    f.nav_points = 0
                    for line in f.lines:
                        line.lat, line.lon = [], []
                self.put("f%d" % i, f)
                files.append("f%d" % i)
            base = choose.randrange(3)
            ratios = [max(a, factors[base]) / min(a, factors[base]) for a in factors]
            allow = ["--allow", "ratio", "--allow", "extent", "--allow", "truncated"]
            self.both(files, base, *(allow if any(r != int(r) for r in ratios) else []))

    def test_a_container_and_a_single_file(self):
        base, fine = scene(60.0, 6, 4, seed=1), scene(30.0, 12, 8, seed=2)
        self.put("c", container([(base.bytes(), 60.0), (fine.bytes(), 30.0)]))
        self.put("a", base)
        self.both(["c"], 0)
        self.both(["a"], 0)
        self.put("c1", container([(base.bytes(), 60.0), (fine.bytes(), 30.0)], base=1))
        self.both(["c1"], 0)

    def test_old_versions(self):
        f = scene(60.0, 6, 4, codes=(1, 5), seed=1)
        for version in (1.32, 1.41, 2.0, 2.1):
            f.version = version
            self.put("a", f)
            self.both(["a"], 0)
            self.put("fine", scene(30.0, 12, 8, seed=2))
            self.both(["fine", "a"], 1)

    def test_a_file_of_the_other_byte_order_is_read_right_alone_and_refused_beside_others(self):
        f = scene(60.0, 6, 4, seed=1, version=1.41)
        self.put("little", f)
        f.order = ">"
        self.put("big", f)
        for name in ("little", "big"):
            self.assertEqual(self.run_zel("combine", name, "-q", "--no-record", "-o", "of_" + name), (0, "", ""))
        self.assertEqual(self.got("of_big"), self.got("of_little"))
        self.put("fine", scene(30.0, 12, 8, seed=2))
        for words in (["fine", "big"], ["big", "fine"], ["fine", "big", "--container"]):
            status, out, err = self.run_zel("combine", *words, "-o", "none")
            self.assertEqual((status, out), (1, ""))
            self.assertRegex(err, "big: is of the other byte order; zel combine makes a file of it, alone, that "
                                  "can be combined\n$" if "--container" not in words else "could not be read again")
        self.assertNotIn("none", self.names())

    def test_truncated_and_narrow_files(self):
        self.put("base", scene(60.0, 6, 6, seed=1))
        self.put("short", scene(30.0, 11, 9, seed=2))
        self.both(["short", "base"], 1, "--allow", "truncated", "--allow", "extent")
        self.put("coarse", scene(120.0, 2, 2, seed=3))
        self.both(["coarse", "base"], 1, "--allow", "truncated", "--allow", "extent")

    @needs_scenes
    def test_real_scenes(self):
        for group in (("landsat8_gulf_15m", "landsat8_gulf_30m", "landsat8_gulf_90m"),
                      ("sentinel2_ireland_20m", "sentinel2_ireland_60m"),
                      ("goes16_maria_1km", "goes16_maria_2km", "goes16_maria_4km")):
            files = [str(SCENES / (name + ".zel")) for name in group]
            for base in range(len(files)):
                self.both(files, base)
        for name in ("nlcd_zion_31m", "goes16_maria_4km_v1.41"):
            self.both([str(SCENES / (name + ".zel"))], 0)


if __name__ == "__main__":
    main()
