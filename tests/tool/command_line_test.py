"""The command line: every option and the parser's states, tested by the files that the tool writes."""
import re
import unittest

from harness import CREATING, FAILED, ROOT, TOOL, ToolTest, cases, grids_missing, main, progress
from harness import question, report, usage
from model import one_grid
from sample import sample
from zelfile import container

CONFLICT = "Error:  cannot generate composite output using Vorn input file\n"
NO_COMPONENT = "Warning: specified UserBaseComponentIndex %d invalid... using first component\n"


class CommandLine(ToolTest):
    """a is coarse, b is finer by two; pair is a composite of both with base 1."""

    def setUp(self):
        super().setUp()
        self.files = {"a": sample(1000, 4, 3, seed=1), "b": sample(500, 8, 6, seed=2)}
        for name, f in self.files.items():
            self.put(name, f)
        self.pair = self.put("pair", container(self.parts("a", "b"), base=1))

    def parts(self, *names):
        return [(self.files[n].bytes(), self.files[n].resolution) for n in names]


def refused(self, words):
    self.check(words, usage(TOOL), 255)
    self.absent("out")


def composite(self, words, inputs, base):
    self.check(words, CREATING + grids_missing(), 0)
    self.same_bytes(self.got("out"), container(self.parts(*inputs.split()), base), "out")


def same_grid(self, words, inputs, base):
    expected = one_grid([self.files[n] for n in inputs.split()], base)
    height = len(self.files[inputs.split()[base]].lines)
    self.check(words, grids_missing() + report(expected, height) + progress(height), 0)
    self.check_made("out", expected)


@cases({
    "no arguments": ("",),
    "input but no output": ("-i a",),
    "output but no input": ("-o out",),
    "stray word first": ("stray -i a -i b -o out",),
    "stray word after an input": ("-i a stray -i b -o out",),
    "stray word after the output": ("-i a -i b -o out stray",),
    "stray word after a base component": ("-i a -i b -bc 1 stray -o out",),
    "stray word after a label":
        ("-vorn_label l stray -i a -i b -o out",),
    "stray word after the colour cube flag, which takes no value and resets the state":
        ("-i a -i b -vorn_lut_cc stray -o out",),
    "stray word after a raster": ("-vorn v stray -i a -i b -o out",),
    "stray word after a text to prepend": ("-vorn_prepend p stray -i a -i b -o out",),
    "stray word after a feature header": ("-feat_hdr f stray -i a -i b -o out",),
    "stray word after a text header": ("-vorn_hdr h stray -i a -i b -o out",),
    "stray word after a LUT": ("-vorn_lut l stray -i a -i b -o out",),
    "stray word where another option ended the run of base files": ("-ib a -o out b",),
    "options are case sensitive": ("-I a -i a -i b -o out",),
    "an option must match whole": ("-over -i a -i b -o out",),
    "an option with a tail is a stray word": ("-bc=1 -i a -i b -o out",),
    "an option where the output name was expected leaves the name unset": ("-o -i a",),
    "an option where the only input was expected leaves no input": ("-i -o out",),
    "output option at the end has no name": ("-i a -i b -o",),
    "an input name that is an option word is never taken": ("-i -overwrite -o out",),
}, refused)
class Refused(CommandLine):
    def test_usage_names_the_program_as_it_was_called(self):
        self.check("", usage("any/name"), 255, program="any/name")

    def test_an_empty_word_is_stray(self):
        self.check(["", "-i", "a", "-i", "b", "-o", "out"], usage(TOOL), 255)

    def test_the_21st_input_name_gives_the_usage_text(self):
        self.check("-i a " * 21 + "-o out", usage(TOOL), 255)
        self.absent("out")

    def test_the_21st_input_name_given_as_base_gives_the_usage_text(self):
        self.check("-i a " * 20 + "-ib b -o out", usage(TOOL), 255)
        self.absent("out")

    def test_the_21st_of_a_run_of_base_files_gives_the_usage_text(self):
        self.check("-ib " + "a " * 21 + "-o out", usage(TOOL), 255)
        self.absent("out")

    def test_many_more_names_than_there_is_room_for(self):
        self.check("-ib " + "a " * 500 + "-o out", usage(TOOL), 255)

    def test_20_input_names_are_taken(self):
        self.check("-i a " * 19 + "-ib b -o out", CREATING + grids_missing(), 0)
        self.same_bytes(self.got("out"), container(self.parts(*"a" * 19, "b"), 19), "out")


@cases({
    "default is the composite with the first file as base": ("-i a -i b -o out", "a b", 0),
    "output may come first": ("-o out -i a -i b", "a b", 0),
    "last output name wins": ("-o first -i a -o out -i b", "a b", 0),
    "base file": ("-i a -ib b -o out", "a b", 1),
    "base file first": ("-ib a -i b -o out", "a b", 0),
    "base state is not reset: each following word is an input and the base":
        ("-ib a b -o out", "a b", 1),
    "base state lasts over many words": ("-ib a b a -o out", "a b a", 2),
    "base state ends at the next option": ("-ib a b -i a -o out", "a b a", 1),
    "the last base file is the base": ("-ib a -i b -ib a -i b -o out", "a b a b", 2),
    "flags do not end a base's choice": ("-ib b -overwrite -i a -o out", "b a", 0),
    "word after multi_res is absorbed": ("-multi_res junk -i a -i b -o out", "a b", 0),
    "words after overwrite are absorbed": ("-overwrite junk more -i a -i b -o out", "a b", 0),
    "an empty run of absorbed words": ("-overwrite -multi_res -i a -i b -o out", "a b", 0),
    "the last of two resolution flags wins": ("-same_res -multi_res -i a -i b -o out", "a b", 0),
    "absorbed words repeat the last flag only":
        ("-same_res junk -multi_res junk -i a -i b -o out", "a b", 0),
    "value options are taken with their words":
        ("-vorn_label l -vorn_prepend p -vorn_hdr h -feat_hdr f -vorn_lut u -i a -i b -o out",
         "a b", 0),
    "the colour cube flag alone changes nothing": ("-i a -i b -o out -vorn_lut_cc", "a b", 0),
    "vorn without its name is not a Vorn run": ("-i a -i b -o out -vorn", "a b", 0),
    "an option where a value was expected is that option":
        ("-vorn_label -i a -vorn_hdr -i b -bc -o out", "a b", 0),
    "an option repeated in place of its value": ("-i -i a -o -o out -ib -ib b", "a b", 1),
    "a flag in place of an input name": ("-i -overwrite -i a -i b -o out", "a b", 0),
    "base component of a plain base file is not looked at": ("-i a -i b -bc 7 -o out", "a b", 0),
}, composite)
class Composite(CommandLine):
    def test_a_name_that_looks_like_an_option_is_a_name(self):
        self.put("-x", self.files["a"])
        self.check("-i -x -i b -o out", CREATING + grids_missing(), 0)
        self.same_bytes(self.got("out"), container(self.parts("a", "b")), "out")

    def test_last_output_name_only_is_written(self):
        self.check("-o first -i a -i b -o out", CREATING + grids_missing(), 0)
        self.absent("first")

    def test_one_input_is_refused_by_the_composite_path(self):
        self.check("-i a -o out",
                   CREATING + "ZELCreateCompositeFile: Error: insufficient number of input files\n"
                   + FAILED, 0)
        self.absent("out")

    def test_without_overwrite_the_tool_asks(self):
        self.put("out", b"old")
        self.check("-i a -i b -o out", CREATING + grids_missing() + question("out"), 0)
        self.assertEqual(self.got("out"), b"old")

    def test_overwrite_before_or_after_the_names_stops_the_question(self):
        for words in ("-overwrite -i a -i b -o out", "-i a -i b -o out -overwrite"):
            self.put("out", b"old")
            self.check(words, CREATING + grids_missing(), 0)
            self.same_bytes(self.got("out"), container(self.parts("a", "b")), words)


def base_component(self, words, warned, base):
    """Words about -bc for the composite "pair" as base file, before a plain one."""
    warning = "" if warned is None else NO_COMPONENT % warned
    self.check("-i pair -i a %s -o out" % words, CREATING + warning + grids_missing(), 0)
    self.assertEqual(int.from_bytes(self.got("out")[13:17], "little", signed=True), base)


@cases({
    "unset is -1": ("", -1, 0),
    "is stored as typed and used from zero": ("-bc 1", None, 1),
    "zero": ("-bc 0", None, 0),
    "equal to the count passes": ("-bc 2", None, 2),
    "above the count": ("-bc 3", 3, 0),
    "negative": ("-bc -4", -4, 0),
    "text that is not a number is 0": ("-bc one", None, 0),
    "digits before other text count": ("-bc 1x", None, 1),
    "sign and leading zeros": ("-bc +01", None, 1),
    "is decimal": ("-bc 0x1", None, 0),
    "last one wins": ("-bc 2 -bc 1", None, 1),
    "missing before an option": ("-bc -overwrite", -1, 0),
}, base_component)
class BaseComponent(CommandLine):
    pass


@cases({
    "same_res": ("-same_res -i a -i b -o out", "a b", 0),
    "same_res at the end": ("-i a -i b -o out -same_res", "a b", 0),
    "word after same_res is absorbed": ("-same_res junk -i a -i b -o out", "a b", 0),
    "words after same_res are absorbed": ("-i a -i b -o out -same_res some junk", "a b", 0),
    "the last of two resolution flags wins": ("-multi_res -same_res -i a -i b -o out", "a b", 0),
    "absorbed words do not bring an earlier flag back":
        ("-multi_res junk -same_res junk -i a -i b -o out", "a b", 0),
    "base file": ("-same_res -i a -ib b -o out", "a b", 1),
    "each word after ib becomes the base": ("-same_res -ib a b -o out", "a b", 1),
    "base component is not used": ("-same_res -i a -ib b -bc 1 -o out", "a b", 1),
    "one input": ("-same_res -i b -o out", "b", 0),
    "value options without vorn change nothing":
        ("-same_res -i a -i b -vorn_label l -vorn_lut u -vorn_lut_cc -o out", "a b", 0),
}, same_grid)
class SameGrid(CommandLine):
    pass


class Vorn(CommandLine):
    def conflict(self, words):
        self.check(words, CONFLICT + usage(TOOL), 255)
        self.absent("out")

    def test_multi_res_after_vorn_is_a_conflict(self):
        self.conflict("-vorn v.bin -multi_res -i a -o out")

    def test_multi_res_anywhere_after_vorn_is_a_conflict(self):
        self.conflict("-vorn v.bin -i a -i b -o out -multi_res")

    def test_the_conflict_is_reported_once_among_other_faults(self):
        self.conflict("-vorn v.bin -multi_res junk")

    def test_a_word_absorbed_by_multi_res_makes_the_conflict_too(self):
        self.conflict("-multi_res -vorn v.bin -multi_res junk -i a -i b -o out")

    def raster_is_missing(self, words):
        status, out = self.run_tool(*words.split())
        self.assertEqual((status, out),
                         (255, grids_missing() + "Error: cannot open Vorn file v.bin\n"))
        self.absent("out")

    def test_vorn_turns_the_composite_off(self):
        self.raster_is_missing("-vorn v.bin -i a -i b -o out")

    def test_vorn_after_multi_res_is_not_a_conflict(self):
        self.raster_is_missing("-multi_res -vorn v.bin -i a -i b -o out")

    def test_same_res_after_the_conflict_lifts_it(self):
        self.raster_is_missing("-vorn v.bin -multi_res -same_res -i a -i b -o out")


class Documents(unittest.TestCase):
    """The tables of the pages and the entries of the manual page match the usage text."""

    def setUp(self):
        lines = re.findall(r"^    (-\w+)( <)?", usage(TOOL), re.MULTILINE)
        self.options = {word: bool(value) for word, value in lines}
        self.assertEqual(len(self.options), 14)

    def test_the_tables_have_a_row_for_every_option_with_a_value_where_it_takes_one(self):
        pages = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
        text = "\n".join(page.read_text(encoding="utf-8") for page in pages)
        tables = re.findall(r"^\| option \|.*\n\|.*\n((?:\|.*\n)+)", text, re.MULTILINE)
        rows = re.findall(r"^\| `(-\w+)` *([^|]*?) *\|", "".join(tables), re.MULTILINE)
        self.assertEqual(sorted((word, bool(value)) for word, value in rows
                                if word in self.options), sorted(self.options.items()))

    def test_the_manual_page_has_an_entry_for_every_option_with_a_value_where_it_takes_one(self):
        page = (ROOT / "docs" / "man" / "zel_combine.1").read_text(encoding="utf-8")
        entries = re.findall(r"^\.TP\n\.(BI?) \\-(\w+)", page, re.MULTILINE)
        self.assertEqual(sorted(("-" + word, macro == "BI") for macro, word in entries),
                         sorted(self.options.items()))


if __name__ == "__main__":
    main()
