#!/usr/bin/env python3
"""zel calc: values to the bit, storage, names, programs, what is refused, and what a broken run leaves."""
import json
import math
import os
import random
import signal
import struct
import subprocess
import sys
import time
import unittest
from ctypes import c_float

from zel_case import ROOT, SCENES, TEST_DATA, ZEL, ZelTest, main, needs_scenes
from scene import rich_scene, small_scene
from zelfile import Channel, Line, Lut, ZelFile, container, parse


def f32(x):
    return c_float(x).value


def bits(values):
    """The floats as integers, every NaN as one and the same."""
    return ["nan" if v != v else struct.pack("<f", v) for v in values]


B1 = [f32(k * (1.0 / 255.0)) for k in (0, 51, 102, 153, 204, 255, 0, 51, 102, 153, 204, 255)]
CLS = [0, 1, 2, 2, 2, 2, 1, 0, 1, 1, 1, 9]
RAW = [1000, 2000, 3000, 4000] * 3


class CalcTest(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def calc(self, *args, name="a.zel"):
        """The file that a silent run makes."""
        self.assertEqual(self.run_zel("calc", "-q", *args, name, "-o", "o.zel", "--overwrite"), (0, "", ""))
        return parse(self.got("o.zel"))

    def values(self, *args, label=None, **how):
        """The stored numbers of the first channel, or of one with that label, line after line."""
        made = self.calc(*args, **how)
        channel = next(c for _, c in made.present() if label is None or c.label == label)
        return [v for row in channel.rows for v in row]

    def assert_values(self, expression, expected, **how):
        self.assertEqual(bits(self.values("X = " + expression, **how)), bits(map(float, expected)))


class Values(CalcTest):
    def test_arithmetic_of_floats(self):
        self.assert_values("(RAW - B1) / (RAW + B1)",
                           [f32(f32(r - b) / f32(r + b)) for r, b in zip(RAW, B1)])
        self.assert_values("B1 * B1 + 0.1", [f32(f32(b * b) + f32(0.1)) for b in B1])

    def test_functions_are_computed_in_double_and_rounded(self):
        self.assert_values("exp(B1)", [f32(math.exp(b)) for b in B1])
        self.assert_values("log(RAW) / log10(RAW)",
                           [f32(f32(math.log(r)) / f32(math.log10(r))) for r in RAW])
        self.assert_values("pow(B1, 0.3)", [f32(math.pow(b, f32(0.3))) for b in B1])
        self.assert_values("atan2(B1, 0.5) + sqrt(B1)",
                           [f32(f32(math.atan2(b, 0.5)) + f32(math.sqrt(b))) for b in B1])

    def test_comparisons_and_logic_give_1_and_0(self):
        self.assert_values("CLS == 2 || RAW > 3500 && !CLS",
                           [c == 2 or (r > 3500 and not c) for c, r in zip(CLS, RAW)])

    def test_division_by_zero_is_infinite_and_0_by_0_is_no_number(self):
        self.assert_values("CLS / (CLS - CLS)", [math.inf if c else math.nan for c in CLS])

    def test_a_minus_after_an_operator_is_read_as_the_language_has_it(self):
        self.assert_values("9 - 4 - 2", [7] * 12)
        self.assert_values("(9 - 4) - 2", [3] * 12)

    def test_position_angles_and_date(self):
        self.assert_values("lat", [50.0] * 4 + [49.0] * 4 + [48.0] * 4)
        self.assert_values("longitude", [10.0, 11.0, 12.0, 13.0] * 3)
        self.assert_values("julian_day + year", [2080] * 12)
        angles = [self.json("pixel", "a.zel", n % 4, n // 4, "--json")["angles"] for n in range(12)]
        for name, key in (("sz", "solar_zenith"), ("vz", "view_zenith"), ("az", "relative_azimuth")):
            for value, pixel in zip(self.values("X = " + name), angles):
                self.assertEqual(value, f32(pixel[key]))

    def test_sun_glint_lies_between_0_and_100(self):
        self.assertTrue(all(0 <= v <= 100 for v in self.values("X = sg")))

    def test_a_pixel_begins_with_class_and_registers_0(self):
        self.assert_values("class + register3", [0] * 12)
        self.assertEqual(self.values("register1 = register1 + RAW; X = register1"), RAW)

    def test_lines_do_not_depend_on_each_other(self):
        f = ZelFile(pixels=3, lines=[Line(right=2, nadir=1) for _ in range(40)])
        f.channels[0] = Channel(type=5, label=b"R", bits=16, rows=[[n, 2 * n, 3 * n] for n in range(40)])
        self.put("r.zel", f)
        values = self.values("register1 = R; class = register1 > 30; X = register1 + class", name="r.zel")
        self.assertEqual(values, [v + (v > 30) for n in range(40) for v in (n, 2 * n, 3 * n)])


class Names(CalcTest):
    def test_label_number_and_slot_name_the_same_channel(self):
        for name in ("RAW", "raw", "Ch6", "ch6", "#5"):
            self.assert_values(name + " + 1", [r + 1 for r in RAW])

    def test_a_label_of_several_channels_is_refused_with_the_candidates(self):
        f = small_scene()
        f.channels[5].label = b"B1"
        self.put("b.zel", f)
        self.fails(["calc", "X = B1", "b.zel", "-o", "o"],
                   "zel calc: b.zel: channel 'B1' is ambiguous: #0 B1, #5 B1")

    def test_an_unknown_name_is_refused_with_the_channels_that_there_are(self):
        there = "there are #0 B1, #2 CLS, #5 RAW"
        for name in ("B55", "Ch2", "Ch7", "#9", "e", "y"):
            self.fails(["calc", "X = 1 + " + name, "a.zel", "-o", "o"],
                       "zel calc: a.zel: no channel '%s'; %s" % (name, there))
        self.assertEqual(self.names(), ["a.zel"])

    def test_an_unknown_function_is_not_taken_for_a_channel(self):
        self.fails(["calc", "X = 1 + median(B1)", "a.zel", "-o", "o"], "zel calc: a.zel: no function 'median'")

    def test_names_of_the_language_come_before_labels(self):
        f = small_scene()
        f.channels[5].label, f.channels[2].label = b"lat", b"log"
        self.put("b.zel", f)
        self.assertEqual(self.values("X = lat", name="b.zel"), [50.0] * 4 + [49.0] * 4 + [48.0] * 4)
        self.assertEqual(self.values("X = log + 0", name="b.zel"), CLS)
        self.assertEqual(self.values("X = Ch6", name="b.zel"), RAW)

    def test_later_statements_use_what_earlier_ones_make(self):
        made = self.calc("A = RAW * 2; B = A + 1", "C = B - A")
        self.assertEqual([c.label for _, c in made.present()], [b"A", b"B", b"C"])
        self.assertEqual([list(made.channels[n].rows[0]) for n in range(3)],
                         [[2000, 4000, 6000, 8000], [2001, 4001, 6001, 8001], [1] * 4])

    def test_a_channel_can_be_computed_again(self):
        made = self.calc("A = RAW; A = A + 1; B = A")
        self.assertEqual([c.label for _, c in made.present()], [b"A", b"B"])
        self.assertEqual(list(made.channels[0].rows[0]), [1001, 2001, 3001, 4001])
        self.assertEqual(made.channels[0].comment, b"A + 1")

    def test_a_new_channel_hides_one_of_the_input(self):
        self.assertEqual(self.values("RAW = RAW * 2; X = RAW", label=b"X"), [2 * r for r in RAW])

    def test_writing_to_a_channel_by_number_changes_what_follows_only(self):
        self.assertEqual(self.values("Ch6 = Ch6 * 2; X = RAW"), [2 * r for r in RAW])

    def test_definitions(self):
        self.assertEqual(self.values("-d", "twice = RAW * 2", "-d", "more = twice + 1", "X = more - twice + B1 * 0"),
                         [1.0] * 12)
        self.assertEqual(self.values("-d", "total = register1", "total = RAW + 1; X = total"), [r + 1 for r in RAW])

    def test_a_label_that_is_no_word_stands_in_quotes(self):
        f = small_scene()
        f.channels[5].label, f.channels[2].label = b"11 um", b"a-b"
        self.put("b.zel", f)
        text = 'X = "11 um" + "a-b" * 0; "twice X" = X * 2; Y = "twice X"'
        self.assertEqual(self.values(text, label=b"Y", name="b.zel"), [2 * r for r in RAW])
        self.check(["calc", "--explain", text, "b.zel"],
                   'X = "11 um" + ("a-b" * 0)\n"twice X" = X * 2\nY = "twice X"\n')
        self.fails(["calc", 'X = "12 um"', "b.zel", "-o", "o"], "zel calc: b.zel: no channel '12 um'; there are #0 B1, "
                   "#2 a-b, #5 11 um")

    def test_a_quote_without_its_partner_is_refused(self):
        self.fails(["calc", 'X = "RAW', "a.zel", "-o", "o"], "zel calc: illegal character in constant or unknown "
                   "variable in 'X = \"RAW'; see zel calc --help", 2)

    def test_a_label_may_hold_blanks_and_other_alphabets(self):
        made = self.calc("Vegetation index = RAW; Höhe = 1; X = Höhe + 1")
        self.assertEqual([c.label.decode() for _, c in made.present()], ["Vegetation index", "Höhe", "X"])


class Header(CalcTest):
    def test_what_the_output_says(self):
        self.put("a.zel", rich_scene())
        made = self.calc("X = B1 * 2", "--unit", "kelvin")
        source = rich_scene()
        self.assertEqual((made.year, made.julian, made.satellite, made.data_type, made.comment, made.altitude,
                          made.resolution), (2020, 60, 9, 5, b"test scene", 700.0, 30.0))
        self.assertEqual((made.metadata, made.luts, made.angles), (source.metadata, source.luts, (-1, -1, -1)))
        self.assertEqual(made.lines, source.lines)
        (slot, x), = made.present()
        self.assertEqual((slot, x.label, x.comment, x.units, x.type, x.bits), (0, b"X", b"B1 * 2", 1, 4, 32))
        self.assertEqual((x.wavelength, x.base_flag, x.mask, x.tables), (0.0, 0, None, []))

    def test_kept_channels_keep_their_bytes(self):
        self.put("a.zel", rich_scene())
        made, source = self.calc("X = RAW + 0", "--keep", "--as", "u16"), rich_scene()
        self.assertEqual([slot for slot, _ in made.present()], [0, 2, 5, 6])
        for slot in (0, 2, 5):
            self.assertEqual([list(r) for r in made.channels[slot].rows], source.channels[slot].rows)
            self.assertEqual(made.channels[slot].units, source.channels[slot].units)
        self.assertEqual([v for row in made.channels[6].rows for v in row], RAW)

    def test_kept_channels_keep_their_bytes_although_an_expression_writes_to_them(self):
        made = self.calc("Ch6 = 7; X = RAW", "--keep")
        self.assertEqual(list(made.channels[5].rows[0]), RAW[:4])
        self.assertEqual(list(made.channels[6].rows[0]), [7] * 4)
        # counted are the values as they are stored; the last pixel of a line never is
        counted = made.channels[5].histogram
        self.assertEqual((counted.min, counted.max), (1000.0, 3000.0))

    def test_a_kept_label_is_not_given_again(self):
        self.fails(["calc", "raw = 1", "a.zel", "-o", "o", "--keep"], "zel calc: a.zel: has a channel 'raw' "
                   "already; with --keep the new one needs another label")

    def test_a_class_channel_is_painted_with_a_table_of_the_input(self):
        self.calc("C = RAW > 1500", "--as", "u8", "--unit", "lut", "--comment", "C=Cover")
        pixel = self.json("pixel", "o.zel", "1", "0", "--json")
        self.assertEqual(pixel["channels"][0]["class"], "grass")

    def test_the_same_input_gives_the_same_bytes(self):
        self.calc("X = exp(B1)")
        first = self.got("o.zel")
        self.calc("X = exp(B1)")
        self.assertEqual(self.got("o.zel"), first)

    def test_the_output_passes_the_check(self):
        self.calc("X = B1; Y = RAW", "--keep", "--as", "X=u8:0:1")
        status, out, err = self.run_zel("check", "o.zel")
        self.assertEqual((status, err, out.splitlines()[-1]), (0, "", "o.zel: ok, 3 lines, 5 channels"))


class Storage(CalcTest):
    def stored(self, expression, storage, *args):
        return self.values("X = " + expression, "--as", storage, *args)

    def test_scaled_numbers_are_rounded(self):
        # 255 steps over 0 .. 51 are 0.2 apart: 0.29 is nearer to the first than to the second
        self.assertEqual(self.stored("0.29 + RAW * 0", "u8:0:51")[0], 1)
        self.assertEqual(self.stored("0.31 + RAW * 0", "u8:0:51")[0], 2)
        self.assertEqual(self.stored("RAW", "u16:0:65535"), RAW)
        self.assertEqual(self.stored("RAW - 3000", "u16:-2000:4553.5"), [0, 10000, 20000, 30000] * 3)

    def test_a_channel_in_its_own_storage_keeps_its_numbers(self):
        rows = [v for row in small_scene().channels[0].rows for v in row]
        self.assertEqual(self.stored("B1", "u8:0:1"), rows)

    def test_numbers_that_are_not_scaled_are_rounded(self):
        self.assertEqual(self.stored("RAW / 1000 - 0.4", "u8")[:4], [1, 2, 3, 4])
        self.assertEqual(self.stored("RAW / 1000 - 0.6", "u16")[:4], [0, 1, 2, 3])

    def test_values_outside_become_the_nearest_and_are_reported(self):
        for storage, stored in (("u8", [0, 0, 255, 255]), ("u8:-1000:1000", [0, 128, 255, 255]),
                                ("float:-1500:500", [-1500, 0, 500, 500])):
            status, out, err = self.run_zel("calc", "X = (RAW * 2) - 4000", "a.zel", "-o", "o.zel", "--as", storage,
                                            "--overwrite")
            self.assertEqual((status, out, err), (0, "", "zel calc: o.zel: X, %s, -2000 .. 4000\nzel calc: warning: X: "
                             "9 values outside of %s became the nearest in it\n" % (storage, storage)))
            self.assertEqual(list(parse(self.got("o.zel")).channels[0].rows[0]), stored)

    def test_missing_values(self):
        x = "log(RAW - 2500) * 0 + 5"  # no number for the first two
        self.assert_values(x, [math.nan, math.nan, 5, 5] * 3)
        self.assertEqual(self.stored(x, "u8:1:6")[:4], [0, 0, 204, 204])
        self.assertEqual(self.stored(x, "u16")[:4], [0, 0, 5, 5])
        self.assertEqual(self.stored(x, "u16", "--missing", "65535")[:4], [65535, 65535, 5, 5])
        self.assertEqual(self.stored(x, "float", "--missing", "X=-9999")[:4], [-9999, -9999, 5, 5])

    def test_a_channel_can_be_an_exception(self):
        made = self.calc("A = 1; B = 2", "--as", "B=u8", "--as", "u16", "--unit", "A=celsius")
        self.assertEqual([(c.type, c.units, list(c.rows[0])) for _, c in made.present()],
                         [(5, 4, [1] * 4), (3, 0, [2] * 4)])

    def test_what_is_no_storage(self):
        for option, value, text in (
                ("--as", "u9", "no storage 'u9'; there are float, u8, u16 and, with a range, u16:-1:1"),
                ("--as", "u8:1", "'u8:1' has no range such as :-1:1"),
                ("--as", "u8:1:1", "the range of 'u8:1:1' is empty"),
                ("--as", "u8:a:1", "no number 'a' in 'u8:a:1'"),
                ("--as", "Y=u8", "no new channel 'Y'; there are X"),
                ("--unit", "feet", "no unit 'feet'; there are none, kelvin, albedo, reflectance, celsius, lut, "
                                   "daytime, radiance"),
                ("--missing", "x", "no number 'x' in 'x'"),
                ("--missing", "-9999", "X, u8, has no room for the missing value -9999"),
                ("--missing", "nan", "X, u8, has no room for the missing value nan")):
            others = ["--as", "u8"] if option == "--missing" else []
            self.fails(["calc", "X = 1", "a.zel", "-o", "o", *others, option, value],
                       "zel calc: %s; see zel calc --help" % text, 2)
        self.assertEqual(self.names(), ["a.zel"])


class Programs(CalcTest):
    def program(self, text):
        self.put("p", text.encode())
        return ("--program", "p")

    def test_both_branches_of_blocks_and_single_lines(self):
        program = self.program("# a comment\n\nif (RAW > 2500) then\n  class = 2\n  register20 = 0\nelse\n"
                               "  class = 1\nendif\nif (RAW > 3500) class = 3\nreturn\n")
        self.assertEqual(self.values(*program, "X = class", "--as", "u8"), [1, 1, 2, 3] * 3)

    def test_a_name_that_a_program_writes_to_becomes_a_channel(self):
        program = self.program("if (RAW > 2500) HIGH = RAW - 2500\nLOW = 1\n")
        made = self.calc(*program, "SUM = LOW + 1")
        self.assertEqual([c.label for _, c in made.present()], [b"HIGH", b"LOW", b"SUM"])
        self.assertEqual(bits(made.channels[0].rows[0]), bits([math.nan, math.nan, 500.0, 1500.0]))
        self.assertEqual(list(made.channels[2].rows[0]), [2] * 4)

    def test_a_skipped_pixel_is_missing_in_every_channel(self):
        program = self.program("A = 1\nif (RAW > 2500) skip_pixel\nreturn\n")
        made = self.calc(*program, "B = 2")
        for slot, value in ((0, 1.0), (1, 2.0)):
            self.assertEqual(bits(made.channels[slot].rows[0]), bits([value, value, math.nan, math.nan]))

    def test_registers_of_a_program_reach_the_expressions(self):
        self.assertEqual(self.values(*self.program("register2 = RAW * 2\n"), "X = register2"), [2 * r for r in RAW])

    def test_what_is_no_program(self):
        for text, message in (
                ("class = B77\n", "line 1: no channel 'B77'; there are #0 B1, #2 CLS, #5 RAW"),
                ("\nif RAW > 3\n", "line 2: if Ch6 > 3: parse error: Missing start Parenthesis in if condition"),
                ("class = (RAW\n", "line 1: class = (Ch6: statement parse error: missing right parenthesis"),
                ("if (RAW > 3) then\n class = 1\n", None), ("# nothing\n", "holds no program")):
            status, out, err = self.run_zel("calc", *self.program(text), "X = 1", "a.zel", "-o", "o")
            self.assertEqual((status, out), (1, ""), text)
            if message:
                self.assertEqual(err, "zel calc: a.zel: p: %s\n" % message)
        self.fails(["calc", "--program", "none", "a.zel", "-o", "o"],
                   "zel calc: a.zel: none: No such file or directory")
        self.assertEqual(self.names(), ["a.zel", "p"])

    def test_a_run_time_error_is_reported_with_its_pixel(self):
        program = self.program("if (CLS == 9) class = register21\nreturn\n")
        self.fails(["calc", *program, "X = class", "a.zel", "-o", "o"], "zel calc: a.zel: line 2, pixel 3: error "
                   "register index 21 > ZEL_FEATURE_NUM_REGISTERS 20")
        program = self.program("Ch6 = Ch6 * 2.0\nif (Ch6 == 4000) class = register21\nreturn\n")
        self.fails(["calc", *program, "X = class", "a.zel", "-o", "o"], "zel calc: a.zel: line 0, pixel 1: error "
                   "register index 21 > ZEL_FEATURE_NUM_REGISTERS 20")
        self.fails(["calc", "X = atan2(3)+(1,2)", "a.zel", "-o", "o"],
                   "zel calc: a.zel: line 0, pixel 0: stack processing error 1")
        self.assertEqual(self.names(), ["a.zel", "p"])


class Explain(CalcTest):
    def test_the_reading_with_all_parentheses(self):
        self.check(["calc", "--explain", "A = B1 + RAW * 2 > 3 && !CLS; register1 = -lat; B = pow(A, 2) saferatio Ch6",
                    "a.zel"], "A = ((B1 + (RAW * 2)) > 3) && (!CLS)\nregister1 = -lat\nB = pow(A, 2) saferatio RAW\n")
        self.assertEqual(self.names(), ["a.zel"])

    def test_a_reading_that_is_not_that_of_arithmetic_is_warned_of(self):
        for text, reading, ordinary in (
                ("9-4-2", "9 - (4 - 2)", "(9 - 4) - 2"), ("RAW*2 - 1", "RAW * (2 - 1)", "(RAW * 2) - 1"),
                ("1+2-3", "1 + (2 - 3)", "(1 + 2) - 3")):
            self.check(["calc", "--explain", "X = " + text, "a.zel"], "X = %s\n" % reading,
                       "zel calc: warning: '%s' is read as %s, not %s; parentheses make it plain\n"
                       % (text, reading, ordinary))

    def test_ordinary_readings_are_not_warned_of(self):
        for text in ("RAW - B1 - CLS", "RAW*2.0 - 1", "(9-4) - 2", "2 * -3", "RAW - 1e-5", "2e-3 * 4",
                     "(RAW - 1)/(RAW + 1)", "-B1 - CLS", "pow(RAW, 2) - 1"):
            self.assertEqual(self.run_zel("calc", "--explain", "X = " + text, "a.zel")[2], "", text)

    def test_comparisons_in_a_row_are_warned_of(self):
        self.check(["calc", "--explain", "X = 1 < B1 < 5", "a.zel"], "X = (1 < B1) < 5\n",
                   "zel calc: warning: '1 < B1 < 5' compares an outcome, 0 or 1: (1 < B1) < 5; join two comparisons "
                   "with &&\n")

    def test_programs_are_explained_and_warned_of_by_line(self):
        self.put("p", b"if (B1 > 1) then\nclass = 9-4-2\nendif\n")
        self.check("calc --explain --program p a.zel", "line 1: if (B1 > 1)\nline 2: class = 9 - (4 - 2)\n",
                   "zel calc: warning: p: line 2 is read as class = 9 - (4 - 2), not class = (9 - 4) - 2; parentheses "
                   "make it plain\n")

    def test_warnings_about_a_program_name_it(self):
        self.put("p", b"if (B1 > 1) then\nregister1 = 5\nelse\nclass = 1\nendif\n")
        self.assertEqual(self.run_zel("calc", "--explain", "--program", "p", "a.zel")[2],
                         "zel calc: warning: p: line 2: a value other than 0 goes on into the else block\n")

    def test_json(self):
        d = self.json("calc", "-q", "--explain", "--json", "X = RAW*2 - 1; class = 1", "a.zel", schema="calc")
        self.assertEqual(d["statements"], [
            {"label": "X", "expression": "RAW*2 - 1", "reading": "RAW * (2 - 1)", "ordinary": "(RAW * 2) - 1"},
            {"label": None, "expression": "class = 1", "reading": "class = 1", "ordinary": None}])


class Results(CalcTest):
    def test_json(self):
        d = self.json("calc", "-q", "--json", "X = log(RAW - 2500); Y = CLS / (CLS - CLS) ; Z = 300", "a.zel", "-o",
                      "o.zel", "--as", "Z=u8", "--unit", "Z=kelvin", schema="calc")
        self.assertEqual((d["file"], d["output"], d["pixels"], d["lines"]), ("a.zel", "o.zel", 4, 3))
        x, y, z = d["channels"]
        self.assertEqual((x["missing"], x["storage"], x["comment"]), (6, "float", "log(RAW - 2500)"))
        self.assertEqual(f32(x["min"]), f32(math.log(500)))
        self.assertEqual((y["missing"], y["infinite"], y["min"], y["max"]), (2, 10, None, None))
        self.assertEqual((z["outside"], z["storage"], z["units"], z["max"]), (12, "u8", "Degree Kelvin", 300.0))

    def test_remarks(self):
        self.check(["calc", "X = CLS / (CLS - CLS)", "a.zel", "-o", "o.zel"], "",
                   "zel calc: o.zel: X, float, 2 missing, 10 infinite\n")

    def test_wrong_usage(self):
        for words, text in ((["X = 1", "a.zel"], "-o is required"), (["X = 1"], "-o is required"),
                            ([], "FILE is required"),
                            (["a.zel", "-o", "o"], "EXPRESSION or --program is required"),
                            (["RAW", "a.zel", "-o", "o"], "'RAW' has no name: write NAME = RAW"),
                            (["X = (RAW", "a.zel", "-o", "o"], "missing right parenthesis in 'X = (RAW'"),
                            (["X = RAW *", "a.zel", "-o", "o"], "syntax error in 'X = RAW *'"),
                            (["X = RAW = 1", "a.zel", "-o", "o"],
                             "only one equal sign allowed per expression in 'X = RAW = 1'"),
                            (["X = 1e-3 - RAW", "a.zel", "-o", "o"],
                             "syntax error in 'X = 1e-3 - RAW': the language wants parentheses around short constants "
                             "and exponents before a minus sign"),
                            (["(A) = 1", "a.zel", "-o", "o"], "'(A)' is no name for a channel"),
                            (["class = 1", "a.zel", "-o", "o"], "no channel is made: write NAME = EXPRESSION"),
                            (["X = 1", "-d", "a b = 1", "a.zel", "-o", "o"], "'a b' is no name for a definition"),
                            (["X = " + "1+" * 130 + "1", "a.zel", "-o", "o"], None)):
            status, out, err = self.run_zel("calc", *words)
            if text:
                self.assertEqual((status, out, err), (2, "", "zel calc: %s; see zel calc --help\n" % text))
            self.assertEqual(self.names(), ["a.zel"], words)
            self.assertNotEqual(status, 0)

    def test_an_existing_output_is_refused(self):
        self.put("o.zel", b"mine")
        self.fails(["calc", "X = 1", "a.zel", "-o", "o.zel"],
                   "zel calc: a.zel: o.zel exists; --overwrite replaces it")
        self.assertEqual(self.got("o.zel"), b"mine")

    def test_the_output_is_never_an_input(self):
        self.put("p", b"class = 1\n")
        for name in ("a.zel", "p"):
            self.fails(["calc", "--program", "p", "X = 1", "a.zel", "-o", "./" + name, "--overwrite"],
                       "zel calc: a.zel: the output is the input " + name)
        self.assertEqual(self.got("a.zel"), small_scene().bytes())

    def test_a_label_is_not_cut(self):
        self.fails(["calc", "X" * 120 + " = 1", "a.zel", "-o", "o"],
                   "zel calc: a.zel: a label has at most 119 bytes")
        self.assertEqual(self.calc("X" * 119 + " = 1").channels[0].label, b"X" * 119)

    def test_a_scene_without_lines(self):
        f = small_scene()
        f.lines = []
        self.put("e.zel", f)
        self.assertEqual(self.calc("X = RAW", name="e.zel").lines, [])

    def test_a_container_and_its_parts(self):
        base = small_scene(pixels=2, resolution=60.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        self.put("c.zel", container([(base.bytes(), 60.0), (small_scene().bytes(), 30.0)]))
        self.assertEqual(self.values("X = T + RAW", name="c.zel"), [1507, 3508])
        self.assertEqual(self.values("--part", "1", "X = RAW", name="c.zel"), RAW)
        made = self.calc("X = T", "--keep", name="c.zel")
        self.assertEqual([c.label for _, c in made.present()], [b"T", b"B1", b"CLS", b"RAW", b"X"])

    def test_an_old_big_endian_file(self):
        f = small_scene(version=1.32, order=">", version_text=b"1.32", nav_points=2)
        for line in f.lines:
            line.right, line.nadir = 3, 1
        self.put("b.zel", f)
        self.assertEqual(self.values("X = RAW", name="b.zel"), RAW)
        made = parse(self.got("o.zel"))
        self.assertEqual([l.lon for l in made.lines], [[10.0, 13.0]] * 3)

    def test_missing_grids_matter_only_to_expressions_that_name_them(self):
        for name, grid in (("olson_eco", "owe14d.img"), ("percent_water", "fnocwat.img"),
                           ("igbp_eco", "global_18.map"), ("terrain", "fnocpt.img")):
            self.fails(["calc", "X = " + name, "a.zel", "-o", "o"], "zel calc: a.zel: %s needs the grid %s, "
                       "which was not found: set ZEL_DATA_DIR" % (name, grid))
        self.assertEqual(self.names(), ["a.zel"])

    def test_the_grids_below_a_pixel(self):
        (self.dir / "no_data" / "epa").mkdir(parents=True)
        # rows of 1/6 degree from 90 N, columns from the date line: each cell tells where it is
        for k, name in enumerate(("owe14d.img", "fnocwat.img", "global_18.map", "fnocpt.img")):
            (self.dir / "no_data" / "epa" / name).write_bytes(bytes([10 + k]) * (1080 * 2160))
        self.assertEqual(self.values("X = olson_eco * 1000000 + percent_water * 10000 + igbp_eco * 100 + terrain"),
                         [10111213.0] * 12)


class Damaged(CalcTest):
    def test_expressions_of_random_characters(self):
        choose = random.Random(3)
        parts = ["RAW", "B1", "X", "(", ")", "-", "+", "*", "/", "=", "==", "<", "&&", "||", "!", ",", ";", "1", "2.5",
                 "1e-3", "sqrt", "pow(", "skip_pixel", "class", "register1", "register99", "lat", "Ch", "Ch1", "#", "#5",
                 '"', "saferatio", " ", ".", "e", "\u00f6", "\x01"]
        for _ in range(150):
            text = "X = " + "".join(choose.choice(parts) for _ in range(choose.randrange(12)))
            how = choose.choice((["--explain"], ["-o", "o.zel", "--overwrite"]))
            if choose.random() < 0.3:
                self.put("p", text.replace(";", "\n").encode())
                how, text = how + ["--program", "p"], "Y = class"
            status, out, err = self.run_zel("calc", text, "a.zel", *how)
            self.assertIn(status, (0, 1, 2), (text, err))
            self.assertLessEqual(set(self.names()), {"a.zel", "o.zel", "p"})


class Broken(CalcTest):
    """What a run that ends early leaves: the old file, or none."""

    def big(self):
        f = ZelFile(pixels=2000, slots=3, lines=[Line(right=1999, nadir=999) for _ in range(1500)])
        row = list(range(2000))
        f.channels[0] = Channel(type=5, label=b"R", bits=16, rows=[row] * 1500)
        self.put("big.zel", f)

    def start(self):
        work = "; ".join("X%d = pow(R, 0.%d) + sin(R) * tan(R)" % (n, n) for n in range(1, 9))
        process = subprocess.Popen([str(ZEL), "calc", work, "big.zel", "-o", "o.zel", "--overwrite"], cwd=self.dir, env=self.env, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        for _ in range(4000):
            if any(p.name.endswith(".part") and p.stat().st_size > 0 for p in self.dir.iterdir()):
                return process
            if process.poll() is not None:
                break
            time.sleep(0.0005)
        return process

    def interrupted(self, number):
        """Whether the signal came before the end."""
        for _ in range(10):
            process = self.start()
            process.send_signal(number)
            if process.wait(60) != 0:
                return True
            (self.dir / "o.zel").unlink()
        return False

    def test_a_signal_leaves_no_partial_output(self):
        self.big()
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGKILL):
            if not self.interrupted(number):
                self.skipTest("no run lasted until the signal")
            left = [n for n in self.names() if not n.startswith(".zel-")]
            self.assertEqual(left, ["a.zel", "big.zel"])
            if number != signal.SIGKILL:
                self.assertEqual(self.names(), left)
            for part in self.dir.glob(".zel-*"):
                part.unlink()

    def test_a_signal_leaves_the_old_file(self):
        self.big()
        self.put("o.zel", b"mine")
        process = self.start()
        process.send_signal(signal.SIGTERM)
        if process.wait(60) == 0:
            self.skipTest("the run was over before the signal")
        self.assertEqual((self.names(), self.got("o.zel")), (["a.zel", "big.zel", "o.zel"], b"mine"))

    def test_a_reached_limit_leaves_the_old_file(self):
        self.big()
        self.put("o.zel", b"mine")
        done = subprocess.run(["sh", "-c", 'ulimit -f 2000; exec "$0" calc "X = R" big.zel -o o.zel --overwrite',
                               str(ZEL)], cwd=self.dir, env=self.env, capture_output=True, timeout=120)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"File too large", done.stderr)
        self.assertEqual((self.names(), self.got("o.zel")), (["a.zel", "big.zel", "o.zel"], b"mine"))

    def test_an_input_that_ends_inside_of_a_line_is_refused(self):
        self.put("cut.zel", small_scene().bytes()[:-3])
        self.fails(["calc", "X = RAW", "cut.zel", "-o", "o.zel"], "zel calc: cut.zel: ends inside of line 2")
        self.assertEqual(self.names(), ["a.zel", "cut.zel"])

    def test_a_damaged_input_leaves_the_old_file(self):
        data = bytearray(small_scene().bytes())
        data[1225:1227] = (4711).to_bytes(2, "little")
        self.put("bad.zel", data)
        self.put("o.zel", b"mine")
        self.fails(["calc", "X = RAW", "bad.zel", "-o", "o.zel", "--overwrite"],
                   "zel calc: bad.zel: corrupt header: MaxNumChan 4711 at offset 1225")
        self.assertEqual(self.got("o.zel"), b"mine")


# Run by an interpreter that has numpy: random expressions over the channels of a file, the text for zel and
# the value from numpy in 32-bit floats, with the same order of operations.
NUMPY = r'''
import random, struct, subprocess, sys
import numpy as np
zel, source, seed = sys.argv[1], sys.argv[2], int(sys.argv[3])
sys.path.insert(0, sys.argv[4])
from zelfile import Channel, Line, ZelFile, parse
np.seterr(all="ignore")
f32 = np.float32
rng, pick = np.random.default_rng(seed), random.Random(seed)
pixels, lines = 37, 5
f = ZelFile(slots=4, pixels=pixels, lines=[Line(right=pixels - 1, nadir=3) for _ in range(lines)])
raw = [rng.integers(0, 65536, (lines, pixels)), rng.integers(0, 256, (lines, pixels)),
       (rng.standard_normal((lines, pixels)) * 10).astype(f32), rng.integers(0, 9, (lines, pixels))]
kinds = [(2, -0.1, 1.2107), (1, 180.0, 330.0), (4, 0.0, 0.0), (3, 0.0, 0.0)]
values = []
for i, ((kind, low, high), r) in enumerate(zip(kinds, raw)):
    f.channels[i] = Channel(type=kind, min=low, max=high, label=b"B%d" % i, rows=[list(map(float if kind == 4 else int, row)) for row in r])
    steps = {1: 255.0, 2: 65535.0}.get(kind)
    low, high = f32(low), f32(high)
    values.append((r * (float(f32(high - low)) / steps) + float(low)).astype(f32) if steps else r.astype(f32))
open(source, "wb").write(f.bytes())

def truth(x):
    return x.astype(f32)

TWO = {"+": lambda a, b: a + b, "-": lambda a, b: a - b, "*": lambda a, b: a * b, "/": lambda a, b: a / b,
       "saferatio": lambda a, b: a / (b + f32(1)), "<": lambda a, b: truth(a < b), "<=": lambda a, b: truth(a <= b),
       ">": lambda a, b: truth(a > b), ">=": lambda a, b: truth(a >= b), "==": lambda a, b: truth(a == b),
       "!=": lambda a, b: truth(a != b), "&&": lambda a, b: truth((a != 0) & (b != 0)),
       "||": lambda a, b: truth((a != 0) | (b != 0))}
FUNCTIONS = {"sqrt": (1, lambda a: np.sqrt(a.astype(np.float64)).astype(f32)),
             "length2": (2, lambda a, b: a * a + b * b)}

def expression(depth):
    """(text, value): every part in parentheses, so that the order is plain."""
    kind = pick.random()
    if depth == 0 or kind < 0.1:
        if pick.random() < 0.75:
            i = pick.randrange(4)
            return "B%d" % i, values[i]
        number = pick.choice(["0", "1", "2.5", "0.1", "0.125", "300"])
        return number, np.full((lines, pixels), f32(float(number)))
    if kind < 0.2:
        text, value = expression(depth - 1)
        return ("(-%s)" % text, -value) if pick.random() < 0.5 else ("(!%s)" % text, truth(value == 0))
    if kind < 0.3:
        name = pick.choice(sorted(FUNCTIONS))
        count, compute = FUNCTIONS[name]
        parts = [expression(depth - 1) for _ in range(count)]
        return "%s(%s)" % (name, ", ".join(p[0] for p in parts)), compute(*(p[1] for p in parts))
    op = pick.choice(sorted(TWO))
    (a, x), (b, y) = expression(depth - 1), expression(depth - 1)
    return "(%s %s %s)" % (a, op, b), TWO[op](x, y)

made = {}
while len(made) < 60:
    text, value = expression(pick.randrange(1, 5))
    if len(text.replace(" ", "").replace("B", "Ch")) <= 240:
        made["X%d" % len(made)] = (text, value)
out = source + ".out"
subprocess.run([zel, "calc", "-q", "; ".join("%s = %s" % (k, t) for k, (t, v) in made.items()), source, "-o", out, "--overwrite"],
               check=True)
channels = {c.label.decode(): c for _, c in parse(open(out, "rb").read()).present()}
for label, (text, value) in made.items():
    got = np.array([np.array(r, dtype=f32) for r in channels[label].rows])
    same = (got.view(np.uint32) == np.ascontiguousarray(value).view(np.uint32)) | (np.isnan(got) & np.isnan(value))
    if not same.all():
        at = tuple(np.argwhere(~same)[0])
        sys.exit("%s = %s at %s: %r, not %r" % (label, text, at, got[at], value[at]))
print(len(made))
'''

# The same over a real scene, from the plain arrays that it was made of.
REAL = r'''
import json, subprocess, sys
import numpy as np
zel, scene, data, out, support = sys.argv[1:]
sys.path.insert(0, support)
from zelfile import parse
np.seterr(all="ignore")
f32 = np.float32
bands = {b["name"]: b for b in json.load(open(data + "/scene.json"))["bands"] if b["resolution"] == "30m"}
def band(name):
    b = bands[name]
    low, high = f32(b["offset"]), f32(b["offset"] + 65535 * b["scale"])
    raw = np.fromfile(data + "/" + b["file"], "<u2").reshape(600, 600)
    return (raw * (float(f32(high - low)) / 65535.0) + float(low)).astype(f32)
b3, b4, b5, b10 = (band(n) for n in ("B3", "B4", "B5", "B10"))
expected = {"NDVI": (b5 - b4) / (b5 + b4), "WET": (b3 > b5).astype(f32),
            "SAVI": (b5 - b4) * f32(1.5) / (b5 + b4 + f32(0.5)),
            "T": f32(1321.0789) / np.log((f32(774.8853) / b10 + f32(1)).astype(np.float64)).astype(f32)}
subprocess.run([zel, "calc", "-q", "NDVI = (B5 - B4) / (B5 + B4); WET = B3 > B5; "
                "SAVI = (B5 - B4) * 1.5 / (B5 + B4 + 0.5); T = 1321.0789 / log(774.8853 / B10 + 1)",
                scene, "-o", out], check=True)
channels = {c.label.decode(): c for _, c in parse(open(out, "rb").read()).present()}
for label, value in expected.items():
    got = np.array([np.array(r, dtype=f32) for r in channels[label].rows])
    same = got.view(np.uint32) == np.ascontiguousarray(value, dtype=f32).view(np.uint32)
    if not same.all():
        sys.exit("%s: %d pixels differ" % (label, (~same).sum()))
print("same")
'''


def interpreter_with_numpy():
    for path in (sys.executable, "/usr/bin/python3"):
        if subprocess.run([path, "-c", "import numpy"], stderr=subprocess.DEVNULL).returncode == 0:
            return path
    return None


WITH_NUMPY = interpreter_with_numpy()


@unittest.skipUnless(WITH_NUMPY, "no numpy")
class Numpy(ZelTest):
    def numpy(self, script, *args):
        done = subprocess.run([WITH_NUMPY, "-c", script, *map(str, args)], cwd=self.dir, env=self.env,
                              capture_output=True, text=True, timeout=300)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def test_random_expressions_to_the_bit(self):
        for seed in range(4):
            self.assertEqual(self.numpy(NUMPY, ZEL, "s%d.zel" % seed, seed, ROOT / "tests" / "support"), "60\n")

    @needs_scenes
    def test_a_real_scene_to_the_bit(self):
        self.assertEqual(self.numpy(REAL, ZEL, SCENES / "landsat8_gulf_30m.zel", TEST_DATA / "data" / "landsat8_gulf",
                                    "o.zel", ROOT / "tests" / "support"), "same\n")


if __name__ == "__main__":
    main()
