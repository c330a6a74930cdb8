#!/usr/bin/env python3
"""The house rules, read from the sources: floors, the one door out, length, and words.

Run it alone (python3 tests/house_test.py) or through ctest. It first checks itself on planted
violations, then the tree.
"""

import os
import re
import subprocess
import sys
import unittest

ROOT = os.environ.get("ZEL_SOURCE_DIR") or os.path.dirname(
    os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# Which floor a room stands on. A room is all files of its name, followed by nothing or by _ and a
# name of its own: zel_lut.h, zel_lut.cpp and zel_lut_block.hpp are the room zel_lut. A room sees the
# rooms of its own floor and of those below; floor 2 is stricter, see SEPARATE_FLOOR.
FLOORS = {
    # ground
    "zel_door": 0, "zel_report": 0, "zel_io": 0, "zel_byte_order": 0, "zel_text": 0,
    "zel_memory": 0, "zel_same_file": 0,
    # records
    "zel_types": 1, "zel_records": 1, "zel_walk": 1, "zel_list": 1, "zel_slot": 1, "zel_buffers": 1,
    "zel_pixels": 1,
    # blocks
    "zel_lut": 2, "zel_class_tables": 2, "zel_table": 2, "zel_histogram": 2, "zel_ancillary": 2,
    "zel_mask": 2, "zel_prefix": 2,
    # lines
    "zel_navigate": 3, "zel_almanac": 3, "zel_angles": 3, "zel_count": 3, "zel_open": 3,
    "zel_line": 3, "zel_ancillary_line": 3, "zel_channel_records": 3, "zel_release": 3,
    "zel_composite_seam": 3,
    # life cycle
    "zel_init": 4, "zel_finish": 4, "zel_util": 4,
    # channels
    "zel_channel": 5, "zel_fetch": 5,
    # composite
    "zel_composite": 6, "zel_view": 6,
}

# The plain records are seen from everywhere: the door and the reports speak of them.
SEEN_FROM_EVERYWHERE = {"zel_types"}

# Tables of constants: they hold data, so neighbours may see each other for them, and they may be long.
DATA_ROOMS = {"zel_class_tables", "zel_almanac"}

# On this floor rooms do not see each other, tables of constants excepted.
SEPARATE_FLOOR = 2

# The feature wing stands on the floors below the composite; its own floors, by room.
HIGHEST_FLOOR_FOR_FEATURES = 5
FEATURE_FLOORS = {
    # compiling expressions
    "zel_feature_types": 0, "zel_feature_report": 0, "zel_feature_text": 0, "zel_operators": 0,
    "zel_variables": 0, "zel_expression": 0,
    # evaluating them
    "zel_arithmetic": 1, "zel_evaluate": 1, "zel_feature_ancillary": 1, "zel_pixel": 1,
    # parameter files, pixel programs
    "zel_parameter": 2, "zel_program": 2, "zel_truncate": 2,
    # the files' encoding, headers, stored programs
    "zel_feature_io": 3, "zel_feature_walk": 3, "zel_feature_records": 3, "zel_feature_header": 3,
    "zel_program_file": 3,
    # masks, sample files
    "zel_feature_mask": 4, "zel_mask_parameter": 4,
    "zel_feature_file": 4, "zel_feature_sample": 4, "zel_feature_fetch": 4,
}

# The faces gather the public headers. The tool sees nothing else of the library.
FACES = {"zel.h", "zel_features.h"}

DOOR = "zel_door.cpp"
MAX_FILE_LINES = 450
MAX_FUNCTION_LINES = 120

SOURCE_SUFFIXES = (".h", ".hpp", ".cpp")

# References to papers that a reader of this repository does not have.
FORBIDDEN_WORDS = re.compile(r"\bParts? \d|specificatio[n]|shared/spe[c]|\bissue #?\d", re.IGNORECASE)

WAYS_OUT = [
    (re.compile(r"\b(?:exit|_exit|_Exit|quick_exit|abort)\s*\("), "ends the process"),
    (re.compile(r"\b(?:printf|vprintf|puts|putchar)\s*\("), "prints"),
    (re.compile(r"\bv?fprintf\s*\(\s*(?:stdout|stderr)\b"), "prints"),
    (re.compile(r"\b(?:fputs|fputc|putc|fwrite)\s*\([^;]*\b(?:stdout|stderr)\s*\)"), "prints"),
    (re.compile(r"\b(?:cout|cerr|clog)\b"), "prints"),
    (re.compile(r"\bperror\s*\("), "prints"),
]


# --- reading C++ -------------------------------------------------------------------------------

TOKEN = re.compile(
    r"""//[^\n]*
      | /\*.*?\*/
      | R"(?P<tag>[^()\\\s]{0,16})\(.*?\)(?P=tag)"
      | "(?:\\.|[^"\\\n])*"
      | (?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'
    """, re.DOTALL | re.VERBOSE)


def blanked(text, strings):
    """The text with comments, and with what is in strings when asked to, replaced by blanks."""
    def replacement(match):
        token = match.group(0)
        if token.startswith("/") or strings:
            return re.sub(r"[^\n]", " ", token)
        return token
    return TOKEN.sub(replacement, text)


def includes_of(text):
    """(line number, name, quoted) of each include."""
    for number, line in enumerate(blanked(text, strings=False).split("\n"), 1):
        match = re.match(r'\s*#\s*include\s*(["<])([^">]+)[">]', line)
        if match:
            yield number, match.group(2), match.group(1) == '"'


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def function_bodies(text):
    """(first line, last line) of each function body that stands outside of other bodies."""
    code = re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", lambda m: re.sub(r"[^\n]", " ", m.group(0)),
                  blanked(text, strings=True), flags=re.MULTILINE)
    head_start = position = 0
    while position < len(code):
        character = code[position]
        if character in ";}":
            head_start = position + 1
        elif character == "{":
            head = re.sub(r"\btemplate\s*<[^{;]*?>(?=\s*[\w\[:])", " ", code[head_start:position])
            if not re.match(r"\s*(?:namespace|extern|class|struct|union|enum)\b[^()]*$", head):
                end = closing_brace(code, position)
                after_initialiser = not head.strip() and code[:position].rstrip().endswith("}")
                if after_initialiser or (")" in head and not head.rstrip().endswith("=")):
                    yield line_of(code, position), line_of(code, end)
                position = end
            head_start = position + 1
        position += 1


def closing_brace(code, opening):
    depth = 0
    for position in range(opening, len(code)):
        depth += {"{": 1, "}": -1}.get(code[position], 0)
        if depth == 0:
            return position
    return len(code) - 1


# --- the rules: each takes a path relative to the root and the file's text, and gives messages ---

def room_of(path, table):
    """The room that a file belongs to, or None: the longest name in the table that its stem bears."""
    stem = os.path.splitext(os.path.basename(path))[0]
    return max((room for room in table if (stem + "_").startswith(room + "_")), key=len, default=None)


def wing_of(path):
    if path.startswith("libsrc/zel/zel_features/"):
        return "features"
    return "library" if path.startswith("libsrc/zel/") else "tool"


def resolve(path, name, exists):
    """The path in the house that an include means, or None."""
    for directory in (os.path.dirname(path), "libsrc", "libsrc/zel"):
        candidate = os.path.normpath(os.path.join(directory, name))
        if exists(candidate):
            return candidate
    return None


def refusal(path, target):
    """Why this file may not include that one, or None."""
    here, there = wing_of(path), wing_of(target)
    if here == "tool":
        seen = there == "tool" or os.path.basename(target) in FACES
        return None if seen else "the tool sees only zel.h and zel_features.h"
    if there == "tool":
        return "the library does not see the tool"
    if os.path.basename(path) in FACES:
        return None
    if os.path.basename(target) in FACES:
        return "inside the library include the rooms, not the face"
    if here == "library":
        if there == "features":
            return "the library proper does not see the feature wing"
        return library_refusal(room_of(path, FLOORS), room_of(target, FLOORS))
    if there == "library":
        floor = FLOORS.get(room_of(target, FLOORS), 0)
        if floor > HIGHEST_FLOOR_FOR_FEATURES:
            return "the feature wing does not see floor %d" % floor
        return None
    floor, target_floor = (FEATURE_FLOORS.get(room_of(p, FEATURE_FLOORS)) for p in (path, target))
    if floor is not None and target_floor is not None and target_floor > floor:
        return "feature floor %d does not see feature floor %d" % (floor, target_floor)
    return None


def library_refusal(room, target):
    if None in (room, target) or room == target or target in SEEN_FROM_EVERYWHERE:
        return None
    if FLOORS[target] > FLOORS[room]:
        return "floor %d does not see floor %d" % (FLOORS[room], FLOORS[target])
    if FLOORS[room] == FLOORS[target] == SEPARATE_FLOOR and not DATA_ROOMS & {room, target}:
        return "rooms on floor %d do not see each other" % SEPARATE_FLOOR
    return None


def check_floors(path, text, exists):
    name, table = {"library": ("FLOORS", FLOORS),
                   "features": ("FEATURE_FLOORS", FEATURE_FLOORS)}.get(wing_of(path), ("", None))
    if table and not room_of(path, table) and os.path.basename(path) not in FACES:
        yield "%s: a room without a floor: add it to %s in tests/house_test.py" % (path, name)
    for number, name, quoted in includes_of(text):
        target = resolve(path, name, exists)
        if target is None:
            if quoted:
                yield "%s:%d: \"%s\" is no file of the house" % (path, number, name)
            continue
        reason = refusal(path, target)
        if reason:
            yield "%s:%d: includes %s: %s" % (path, number, name, reason)


def check_door(path, text):
    if wing_of(path) == "tool" or os.path.basename(path) == DOOR:
        return
    code = blanked(text, strings=True)
    for pattern, what in WAYS_OUT:
        for match in pattern.finditer(code):
            yield "%s:%d: \"%s\" %s: only %s does that" % (
                path, line_of(code, match.start()), match.group(0).split("(")[0].strip(), what, DOOR)


def check_length(path, text):
    lines = text.count("\n")
    if lines > MAX_FILE_LINES and room_of(path, FLOORS) not in DATA_ROOMS:
        yield "%s: %d lines, %d are the most" % (path, lines, MAX_FILE_LINES)
    for first, last in function_bodies(text):
        if last - first + 1 > MAX_FUNCTION_LINES:
            yield "%s:%d: a function of %d lines, %d are the most" % (
                path, first, last - first + 1, MAX_FUNCTION_LINES)


def check_words(path, text):
    for number, line in enumerate([path] + text.split("\n")):
        match = FORBIDDEN_WORDS.search(line)
        if match:
            yield "%s:%d: \"%s\" refers to what a reader does not have" % (
                path, number, match.group(0))


# --- the tree ----------------------------------------------------------------------------------

def project_files():
    """Paths relative to the root: what git knows or would add, or everything but build trees."""
    try:
        listing = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
        paths = listing.decode("utf-8", "surrogateescape").split("\0")
        return sorted(p for p in set(paths) if p and os.path.isfile(os.path.join(ROOT, p)))
    except (OSError, subprocess.CalledProcessError):
        pass
    found = []
    for directory, subdirectories, files in os.walk(ROOT):
        subdirectories[:] = [d for d in subdirectories
                             if d not in (".git", "__pycache__") and not d.startswith("build")]
        found += [os.path.relpath(os.path.join(directory, f), ROOT) for f in files]
    return sorted(found)


def is_source(path):
    return path.startswith(("libsrc/", "src/")) and path.endswith(SOURCE_SUFFIXES)


def check_tree():
    paths = project_files()
    known = set(paths)
    messages = []
    sources = 0
    for path in paths:
        with open(os.path.join(ROOT, path), "rb") as stream:
            content = stream.read()
        if b"\0" in content:
            continue
        text = content.decode("utf-8", "replace")
        messages += check_words(path, text)
        if is_source(path):
            sources += 1
            messages += check_floors(path, text, known.__contains__)
            messages += check_door(path, text)
            messages += check_length(path, text)
    if not sources:
        messages.append("no sources found under " + ROOT)
    return messages


# --- the check of the checks -------------------------------------------------------------------

class Floors(unittest.TestCase):
    HOUSE = {"libsrc/zel/" + name for name in (
        "zel.h", "zel_types.h", "zel_io.h", "zel_lut.h", "zel_table.h", "zel_class_tables.hpp",
        "zel_open.h", "zel_line.h", "zel_composite.h", "zel_features/zel_features.h",
        "zel_features/zel_feature_mask.h")} | {"src/zel_combine/options.hpp"}

    def messages(self, path, text):
        return list(check_floors(path, text, self.HOUSE.__contains__))

    def assert_refused(self, path, text, reason):
        messages = self.messages(path, text)
        self.assertEqual(len(messages), 1, messages)
        self.assertIn(reason, messages[0])

    def test_lower_floor_and_own_floor_are_seen(self):
        text = '#include "zel_io.h"\n#include "zel_line.h"\n#include <vector>\n'
        self.assertEqual(self.messages("libsrc/zel/zel_open.cpp", text), [])

    def test_higher_floor_is_refused(self):
        self.assert_refused("libsrc/zel/zel_lut.cpp", '\n#include "zel_open.h"\n',
                            "floor 2 does not see floor 3")

    def test_angle_brackets_are_no_way_round(self):
        self.assert_refused("libsrc/zel/zel_lut.cpp", "#include <zel/zel_open.h>\n",
                            "floor 2 does not see floor 3")

    def test_blocks_do_not_see_each_other(self):
        self.assert_refused("libsrc/zel/zel_lut.cpp", '#include "zel_table.h"\n',
                            "do not see each other")

    def test_blocks_see_data_rooms_and_themselves(self):
        text = '#include "zel_lut.h"\n#include "zel_class_tables.hpp"\n'
        self.assertEqual(self.messages("libsrc/zel/zel_lut.cpp", text), [])

    def test_a_room_may_have_several_files(self):
        path = "libsrc/zel/zel_lut_standard.cpp"
        self.assertEqual(self.messages(path, '#include "zel_lut.h"\n'), [])
        self.assert_refused(path, '#include "zel_open.h"\n', "floor 2 does not see floor 3")

    def test_the_ground_sees_the_plain_records(self):
        self.assertEqual(
            self.messages("libsrc/zel/zel_report.hpp", '#include "zel_types.h"\n'), [])

    def test_the_face_is_refused_inside(self):
        self.assert_refused("libsrc/zel/zel_open.cpp", '#include "zel.h"\n', "not the face")

    def test_the_face_shows_everything(self):
        text = '#include "zel_composite.h"\n#include "zel_io.h"\n'
        self.assertEqual(self.messages("libsrc/zel/zel.h", text), [])

    def test_features_are_refused_in_the_library(self):
        self.assert_refused("libsrc/zel/zel_composite.cpp", '#include "zel_features/zel_feature_mask.h"\n',
                            "does not see the feature wing")

    def test_features_see_channels_but_not_composites(self):
        path = "libsrc/zel/zel_features/zel_feature_mask.cpp"
        self.assertEqual(self.messages(path, '#include "zel_open.h"\n#include "zel_feature_mask.h"\n'), [])
        self.assert_refused(path, '#include "zel_composite.h"\n', "does not see floor 6")

    def test_the_tool_sees_faces_and_its_own(self):
        path = "src/zel_combine/main.cpp"
        text = '#include "options.hpp"\n#include <zel/zel.h>\n' \
               '#include "zel_features/zel_features.h"\n'
        self.assertEqual(self.messages(path, text), [])
        self.assert_refused(path, '#include "zel_io.h"\n', "the tool sees only")

    def test_an_unknown_room_is_refused(self):
        self.assert_refused("libsrc/zel/zel_cellar.cpp", "", "add it to FLOORS")
        self.assert_refused("libsrc/zel/zel_features/zel_attic.cpp", "", "add it to FEATURE_FLOORS")

    def test_feature_floors_are_held(self):
        path = "libsrc/zel/zel_features/zel_pixel.cpp"
        self.assert_refused(path, '#include "zel_feature_mask.h"\n',
                            "feature floor 1 does not see feature floor 4")

    def test_an_unknown_header_is_refused(self):
        self.assert_refused("libsrc/zel/zel_open.cpp", '#include "zel_opne.h"\n', "no file of")

    def test_comments_include_nothing(self):
        text = '// #include "zel_open.h"\n/*\n#include "zel_open.h"\n*/\n'
        self.assertEqual(self.messages("libsrc/zel/zel_lut.cpp", text), [])


class Door(unittest.TestCase):
    def count(self, code, path="libsrc/zel/zel_open.cpp"):
        return len(list(check_door(path, code)))

    def test_ways_out_are_refused(self):
        for code in ("exit(1);", "std::exit(-1);", "abort ();", 'printf("x");', 'puts("x");',
                     'fprintf(stderr, "x");', 'fprintf( stdout, "x");', "putchar('x');",
                     'fputs("x", stdout);', 'std::cout << "x";', 'perror("x");'):
            self.assertEqual(self.count(code), 1, code)

    def test_the_feature_wing_is_held_to_it_too(self):
        self.assertEqual(self.count("exit(1);", "libsrc/zel/zel_features/zel_feature_mask.cpp"), 1)

    def test_what_only_looks_like_one_is_left_alone(self):
        for code in ("// exit(1)", "/* abort() */", 'fail("exit(1)");', 'fprintf(file, "x");',
                     "atexit(f);", 'snprintf(text, 9, "x");', "myputs(1);", "int exitStatus;",
                     "char c = '\"'; /* exit(1) */"):
            self.assertEqual(self.count(code), 0, code)

    def test_the_door_and_the_tool_may(self):
        self.assertEqual(self.count("exit(1);", "libsrc/zel/zel_door.cpp"), 0)
        self.assertEqual(self.count("exit(1);", "src/zel_combine/main.cpp"), 0)


class Length(unittest.TestCase):
    def messages(self, text, path="libsrc/zel/zel_open.cpp"):
        return list(check_length(path, text))

    def test_a_long_file_is_refused_unless_it_is_a_table(self):
        text = "\n" * (MAX_FILE_LINES + 1)
        self.assertEqual(len(self.messages(text)), 1)
        self.assertEqual(self.messages(text, "libsrc/zel/zel_almanac.cpp"), [])
        self.assertEqual(self.messages("\n" * MAX_FILE_LINES), [])

    def test_a_long_function_is_refused_wherever_it_stands(self):
        body = "{\n" + "    x = {1};\n" * MAX_FUNCTION_LINES + "}\n"
        for head in ("void f(int a)\n", "template <class T>\nT f() noexcept ",
                     'extern "C" {\nint f(void) ', "namespace a { struct B { void f() const ",
                     "const auto f = [](int a) ", "A::A(int a)\n    : b(a), c{a} "):
            messages = self.messages(head + body)
            self.assertEqual(len(messages), 1, head)
            self.assertIn("function", messages[0])

    def test_long_data_and_classes_are_no_functions(self):
        rows = "    {1, 2},\n" * 200
        self.assertEqual(self.messages("const int t[size(2)][2] = {\n" + rows + "};\n"), [])
        short = "    void f() { return; }\n" * 200
        self.assertEqual(self.messages("class A : public B {\n" + short + "};\n"), [])

    def test_braces_in_text_and_macros_do_not_count(self):
        self.assertEqual(
            self.messages('void f() { g("{"); c = \'{\'; }\n#define X {\n' + "int a;\n" * 200), [])


class Words(unittest.TestCase):
    def test_references_are_refused(self):
        for line in ("see " + "Part" + " 2", "the Specificatio" + "n says", "Parts" + " 1 and 2",
                     "../shared/spe" + "c.md", "issue" + " #12", "Issue" + " 7"):
            self.assertEqual(len(list(check_words("a.md", line))), 1, line)

    def test_plain_english_is_not(self):
        for line in ("a part of 2 files", "special", "the issue is", "shared/scenes", "parts list"):
            self.assertEqual(list(check_words("a.md", line)), [], line)


class RealFiles(unittest.TestCase):
    """The checks at work on files of this tree with a violation planted in them."""

    def planted(self, path, line, check):
        with open(os.path.join(ROOT, path), encoding="utf-8") as stream:
            text = stream.read()
        return [m for m in check(path, text + line) if m not in set(check(path, text))]

    def test_an_include_from_above(self):
        known = set(project_files()).__contains__
        self.assertTrue(self.planted("libsrc/zel/zel_types.h", '#include "zel_fetch.h"\n',
                                     lambda p, t: list(check_floors(p, t, known))))

    def test_a_way_out(self):
        self.assertTrue(self.planted("libsrc/zel/zel_types.h", "exit(3);\n",
                                     lambda p, t: list(check_door(p, t))))


def main():
    result = unittest.TextTestRunner(stream=open(os.devnull, "w"), verbosity=0).run(
        unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__]))
    for test, trace in result.failures + result.errors:
        print("self-check %s:\n%s" % (test.id(), trace))
    messages = check_tree()
    for message in messages:
        print(message)
    if messages or not result.wasSuccessful():
        return 1
    print("house: %d self-checks, no violation" % result.testsRun)
    return 0


if __name__ == "__main__":
    sys.exit(main())
