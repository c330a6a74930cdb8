#!/usr/bin/env python3
"""The house rules, read from the sources: floors, the one door out, and length.

Run it alone (python3 tests/house/house_test.py) or through ctest. It first checks itself on planted
violations, then the tree.
"""

import os
import re
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

from cpp_text import blanked, closing_brace, line_of  # noqa: E402

ROOT = os.environ.get("ZEL_SOURCE_DIR") or os.path.dirname(
    os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# Folders are floors, bottom up. A file includes only what stands on its own floor or below, and calls
# only what is defined there. Public headers stand where the source of their name stands.
CORE = "libsrc/zel/"
FEATURES = "libsrc/zel/zel_features/"
FLOORS = {
    CORE + "ground": 0, CORE + "records": 1, CORE + "blocks": 2, CORE + "lines": 3,
    CORE + "life": 4, CORE + "composite": 5,
}
FEATURE_FLOORS = {
    FEATURES + "language": 0, FEATURES + "evaluate": 1, FEATURES + "program": 1,
    FEATURES + "parameters": 2, FEATURES + "files": 3, FEATURES + "mask": 4,
}

# The command zel, bottom up.
VERBS = "src/zel/"
VERB_FLOORS = {
    VERBS + "base": 0, VERBS + "command": 1, VERBS + "scene": 2, VERBS + "picture": 3,
    VERBS + "formula": 3, VERBS + "combine": 4, VERBS + "archive/scenes": 4,
    VERBS + "archive/recipe": 4, VERBS + "archive/run": 5, VERBS + "archive/merge": 5,
    VERBS + "verbs": 6,
}

# The feature wing stands on the core, the composites excepted.
HIGHEST_FLOOR_FOR_FEATURES = FLOORS[CORE + "life"]

# Plain records: no source defines them, and the whole wing speaks of them.
SEEN_FROM_EVERYWHERE = {CORE + "zel_types.h", FEATURES + "zel_feature_types.h"}

# Tables of constants: they hold data, so neighbours may see each other for them, and they may be long.
DATA_ROOMS = {"zel_class_tables", "zel_almanac"}

# In this folder rooms do not see each other, tables of constants excepted. A room is all files that
# begin with the same name: zel_lut.h, zel_lut.cpp and zel_lut_standard.cpp.
SEPARATE = CORE + "blocks"
SEPARATE_ROOMS = ("zel_lut", "zel_table", "zel_histogram", "zel_ancillary", "ancillary_grids")

# The way up: a function declared in a header of this kind may be called from below its definition.
SEAM = "_seam.hpp"

# The faces gather the public headers. The tool sees nothing else of the library.
FACES = {"zel.h", "zel_features.h"}

DOOR = CORE + "ground/zel_door.cpp"
MAX_FILE_LINES = 450
MAX_FUNCTION_LINES = 120
MAX_COLUMNS = 100  # the formatter does not wrap comments

SOURCE_SUFFIXES = (".h", ".hpp", ".cpp")

WAYS_OUT = [
    (re.compile(r"\b(?:exit|_exit|_Exit|quick_exit|abort)\s*\("), "ends the process"),
    (re.compile(r"\b(?:printf|vprintf|puts|putchar)\s*\("), "prints"),
    (re.compile(r"\bv?fprintf\s*\(\s*(?:stdout|stderr)\b"), "prints"),
    (re.compile(r"\b(?:fputs|fputc|putc|fwrite)\s*\([^;]*\b(?:stdout|stderr)\s*\)"), "prints"),
    (re.compile(r"\b(?:cout|cerr|clog)\b"), "prints"),
    (re.compile(r"\bperror\s*\("), "prints"),
]


# --- reading C++ -------------------------------------------------------------------------------

def includes_of(text):
    """(line number, name, quoted) of each include."""
    for number, line in enumerate(blanked(text, literals=False).split("\n"), 1):
        match = re.match(r'\s*#\s*include\s*(["<])([^">]+)[">]', line)
        if match:
            yield number, match.group(2), match.group(1) == '"'


def function_bodies(text):
    """(first line, last line) of each function body that stands outside of other bodies."""
    code = blanked(text, literals=True, directives=True)
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


# --- the rules: each takes a path relative to the root and the file's text, and gives messages ---

def folder_of(path, exists):
    """The floor's folder that a file stands in, or None. A public header stands beside its source."""
    folder, name = os.path.split(path)
    if name.endswith(".h"):
        source = os.path.splitext(name)[0] + ".cpp"
        floors = FEATURE_FLOORS if wing_of(path) == "features" else FLOORS
        return next((f for f in floors if exists(f + "/" + source)), None)
    return folder if folder in FLOORS or folder in FEATURE_FLOORS else None


def room_of(path):
    """Which of the separate rooms a file belongs to, or None."""
    stem = os.path.splitext(os.path.basename(path))[0]
    return next((room for room in SEPARATE_ROOMS if (stem + "_").startswith(room + "_")), None)


def wing_of(path):
    if path.startswith("libsrc/zel/zel_features/"):
        return "features"
    return "library" if path.startswith("libsrc/zel/") else "tool"


def resolve(path, name, exists):
    """The path in the house that an include means, or None."""
    for directory in (os.path.dirname(path), "", "libsrc", "libsrc/zel", "src/zel"):
        candidate = os.path.normpath(os.path.join(directory, name))
        if exists(candidate):
            return candidate
    return None


def refusal(path, target, exists):
    """Why this file may not include that one, or None."""
    here, there = wing_of(path), wing_of(target)
    if here == "tool":
        if there == "tool":
            return verb_refusal(os.path.dirname(path), os.path.dirname(target))
        seen = os.path.basename(target) in FACES
        return None if seen else "the tool sees only zel.h and zel_features.h"
    if there == "tool":
        return "the library does not see the tool"
    if os.path.basename(path) in FACES or target in SEEN_FROM_EVERYWHERE:
        return None
    if os.path.basename(target) in FACES:
        return "inside the library include the rooms, not the face"
    if here == "library" and there == "features":
        return "the library proper does not see the feature wing"
    return floor_refusal(path, target, exists)


def verb_refusal(folder, target_folder):
    if folder in VERB_FLOORS and VERB_FLOORS.get(target_folder, -1) > VERB_FLOORS[folder]:
        return "%s does not see %s" % (folder, target_folder)
    return None


def floor_refusal(path, target, exists):
    folder, target_folder = folder_of(path, exists), folder_of(target, exists)
    if None in (folder, target_folder):
        return None
    if folder in FEATURE_FLOORS and target_folder in FLOORS:
        above = FLOORS[target_folder] > HIGHEST_FLOOR_FOR_FEATURES
        return "the feature wing does not see " + target_folder if above else None
    floors = FLOORS if folder in FLOORS else FEATURE_FLOORS
    if floors[target_folder] > floors[folder]:
        return "%s does not see %s" % (folder, target_folder)
    if folder == target_folder == SEPARATE and is_separate(path, target):
        return "the rooms of %s do not see each other" % SEPARATE
    return None


def is_separate(path, target):
    rooms = room_of(path), room_of(target)
    return None not in rooms and rooms[0] != rooms[1] and "ancillary_grids" not in rooms


def check_floors(path, text, exists):
    if wing_of(path) != "tool" and not folder_of(path, exists) \
            and os.path.basename(path) not in FACES and path not in SEEN_FROM_EVERYWHERE:
        yield "%s: stands on no floor: see FLOORS in tests/house/house_test.py" % path
    for number, name, quoted in includes_of(text):
        target = resolve(path, name, exists)
        if target is None:
            if quoted:
                yield "%s:%d: \"%s\" is no file of the house" % (path, number, name)
            continue
        reason = refusal(path, target, exists)
        if reason:
            yield "%s:%d: includes %s: %s" % (path, number, name, reason)


# A function definition at the start of a line, as the formatter leaves it: return type, name, and its
# arguments up to the brace on a line of its own.
DEFINITION = re.compile(r"^(?:template[^\n]*\n)?[A-Za-z_][\w:<>,*& \[\]]*?[\s*&](\w+)\(([^;{}]*)\)"
                        r"(?: const)?(?: noexcept)?\n\{", re.MULTILINE)
DECLARATION = re.compile(r"^[A-Za-z_\[][\w:<>,*& \[\]()]*?[\s*&](\w+)\(([^;{}]*)\);", re.MULTILINE)
MEMBER = re.compile(r"^[ ]+[\w:<>,*&\[\] ]+?[\s*&](\w+)\([^;{}()]*\)(?: const)?(?: noexcept)?\s*\{",
                    re.MULTILINE)
CALL = re.compile(r"(?<![\w.>:])(?:zel::)?(\w+)\(")


def definitions(text):
    """(name, whether other files can call it) of each function that a source defines."""
    code = blanked(text, literals=True)
    hidden = [(m.start(), closing_brace(code, m.end() - 1))
              for m in re.finditer(r"^namespace \{", code, re.MULTILINE)]
    for match in DEFINITION.finditer(code):
        inside = any(first < match.start() < last for first, last in hidden)
        yield match.group(1), not inside and not match.group(0).startswith("static ")


def check_calls(texts):
    """Calls of functions that are defined on a higher floor, by way of a declaration lower down."""
    exists = texts.__contains__
    homes, seams, own = {}, set(), set()
    for path, text in texts.items():
        for name, is_open in definitions(text):
            homes.setdefault(name, set()).add(path)
            if not is_open or path.endswith(".hpp"):
                own.add(name)
        if path.endswith(SEAM):
            seams |= {m.group(1) for m in DECLARATION.finditer(blanked(text, literals=True))}
    for path, text in texts.items():
        if path.endswith(".h"):
            continue
        code = blanked(text, literals=True)
        members = {m.group(1) for m in MEMBER.finditer(code)}
        for match in CALL.finditer(code):
            name = match.group(1)
            places = homes.get(name, ())
            if name in seams | own | members or len(places) != 1 or path in places:
                continue
            reason = call_refusal(path, next(iter(places)), exists)
            if reason:
                yield "%s:%d: calls %s: %s" % (path, line_of(code, match.start()), name, reason)


def call_refusal(path, home, exists):
    if wing_of(path) == "library" and wing_of(home) == "features":
        return "the library proper does not see the feature wing"
    return None if wing_of(path) == "tool" else floor_refusal(path, home, exists)


def check_door(path, text):
    if wing_of(path) == "tool" or path == DOOR:
        return
    code = blanked(text, literals=True)
    for pattern, what in WAYS_OUT:
        for match in pattern.finditer(code):
            yield "%s:%d: \"%s\" %s: only %s does that" % (
                path, line_of(code, match.start()), match.group(0).split("(")[0].strip(), what, DOOR)


def check_length(path, text):
    lines = text.count("\n")
    if lines > MAX_FILE_LINES and os.path.splitext(os.path.basename(path))[0] not in DATA_ROOMS:
        yield "%s: %d lines, %d are the most" % (path, lines, MAX_FILE_LINES)
    for first, last in function_bodies(text):
        if last - first + 1 > MAX_FUNCTION_LINES:
            yield "%s:%d: a function of %d lines, %d are the most" % (
                path, first, last - first + 1, MAX_FUNCTION_LINES)
    for number, line in enumerate(text.split("\n"), 1):
        if len(line) > MAX_COLUMNS:
            yield "%s:%d: %d columns, %d are the most" % (path, number, len(line), MAX_COLUMNS)


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
    return path.startswith(("libsrc/", "src/", "embed/", "gdal/", "python/")) and path.endswith(SOURCE_SUFFIXES)


def check_tree():
    paths = project_files()
    known = set(paths)
    messages = []
    sources = {}
    for path in paths:
        with open(os.path.join(ROOT, path), "rb") as stream:
            content = stream.read()
        if b"\0" in content:
            continue
        text = content.decode("utf-8", "replace")
        if is_source(path):
            sources[path] = text
            messages += check_floors(path, text, known.__contains__)
            messages += check_door(path, text)
            messages += check_length(path, text)
    messages += check_calls({p: t for p, t in sources.items() if wing_of(p) != "tool"})
    if not sources:
        messages.append("no sources found under " + ROOT)
    return messages


# --- the check of the checks -------------------------------------------------------------------

class Floors(unittest.TestCase):
    HOUSE = {"libsrc/zel/" + name for name in (
        "zel.h", "zel_types.h", "zel_io.h", "zel_lut.h", "zel_table.h", "zel_open.h", "zel_line.h",
        "zel_composite.h", "ground/zel_io.cpp", "ground/text.hpp", "blocks/zel_lut.cpp",
        "blocks/zel_table.cpp", "blocks/zel_class_tables.hpp", "lines/zel_open.cpp", "lines/zel_line.cpp",
        "composite/zel_composite.cpp", "zel_features/zel_features.h",
        "zel_features/zel_feature_mask.h", "zel_features/zel_feature_types.h",
        "zel_features/mask/zel_feature_mask.cpp")} | {
            "src/zel_combine/options.hpp", "src/zel/base/text.hpp", "src/zel/combine/plan.hpp"}

    def messages(self, path, text):
        return list(check_floors(path, text, self.HOUSE.__contains__))

    def assert_refused(self, path, text, reason):
        messages = self.messages(path, text)
        self.assertEqual(len(messages), 1, messages)
        self.assertIn(reason, messages[0])

    def test_lower_floor_and_own_floor_are_seen(self):
        text = '#include "zel_io.h"\n#include "zel_line.h"\n#include "ground/text.hpp"\n#include <vector>\n'
        self.assertEqual(self.messages("libsrc/zel/lines/zel_open.cpp", text), [])

    def test_higher_floor_is_refused(self):
        self.assert_refused("libsrc/zel/blocks/zel_lut.cpp", '\n#include "zel_open.h"\n',
                            "blocks does not see libsrc/zel/lines")

    def test_a_public_header_stands_beside_its_source(self):
        self.assert_refused("libsrc/zel/zel_lut.h", '#include "zel_open.h"\n',
                            "blocks does not see libsrc/zel/lines")

    def test_angle_brackets_are_no_way_round(self):
        self.assert_refused("libsrc/zel/blocks/zel_lut.cpp", "#include <zel/zel_open.h>\n",
                            "does not see")

    def test_blocks_do_not_see_each_other(self):
        self.assert_refused("libsrc/zel/blocks/zel_lut.cpp", '#include "zel_table.h"\n',
                            "do not see each other")

    def test_blocks_see_data_rooms_and_themselves(self):
        text = '#include "zel_lut.h"\n#include "blocks/zel_class_tables.hpp"\n'
        self.assertEqual(self.messages("libsrc/zel/blocks/zel_lut.cpp", text), [])

    def test_a_room_may_have_several_files(self):
        path = "libsrc/zel/blocks/zel_lut_standard.cpp"
        self.assertEqual(self.messages(path, '#include "zel_lut.h"\n'), [])
        self.assert_refused(path, '#include "zel_table.h"\n', "do not see each other")

    def test_the_ground_sees_the_plain_records(self):
        self.assertEqual(
            self.messages("libsrc/zel/ground/zel_door.hpp", '#include "zel_types.h"\n'), [])

    def test_the_face_is_refused_inside(self):
        self.assert_refused("libsrc/zel/lines/zel_open.cpp", '#include "zel.h"\n', "not the face")

    def test_the_face_shows_everything(self):
        text = '#include "zel_composite.h"\n#include "zel_io.h"\n'
        self.assertEqual(self.messages("libsrc/zel/zel.h", text), [])

    def test_features_are_refused_in_the_library(self):
        self.assert_refused("libsrc/zel/composite/zel_composite.cpp",
                            '#include "zel_features/zel_feature_mask.h"\n',
                            "does not see the feature wing")

    def test_features_see_the_core_but_not_composites(self):
        path = "libsrc/zel/zel_features/mask/zel_feature_mask.cpp"
        text = '#include "zel_open.h"\n#include "zel_features/zel_feature_mask.h"\n'
        self.assertEqual(self.messages(path, text), [])
        self.assert_refused(path, '#include "zel_composite.h"\n', "does not see")

    def test_the_tool_sees_faces_and_its_own(self):
        path = "src/zel_combine/main.cpp"
        text = '#include "options.hpp"\n#include <zel/zel.h>\n' \
               '#include "zel_features/zel_features.h"\n'
        self.assertEqual(self.messages(path, text), [])
        self.assert_refused(path, '#include "zel_io.h"\n', "the tool sees only")

    def test_the_command_is_built_in_floors(self):
        path = "src/zel/scene/names.cpp"
        self.assertEqual(self.messages(path, '#include "base/text.hpp"\n'), [])
        self.assert_refused(path, '#include "combine/plan.hpp"\n',
                            "src/zel/scene does not see src/zel/combine")

    def test_a_file_outside_the_floors_is_refused(self):
        for path in ("libsrc/zel/cellar.cpp", "libsrc/zel/attic/room.cpp", "libsrc/zel/zel_orphan.h",
                     "libsrc/zel/zel_features/attic.cpp"):
            self.assert_refused(path, "", "stands on no floor")

    def test_feature_floors_are_held(self):
        path = "libsrc/zel/zel_features/evaluate/zel_pixel.cpp"
        self.assert_refused(path, '#include "zel_features/zel_feature_mask.h"\n', "does not see")

    def test_an_unknown_header_is_refused(self):
        self.assert_refused("libsrc/zel/lines/zel_open.cpp", '#include "zel_opne.h"\n', "no file of")

    def test_comments_include_nothing(self):
        text = '// #include "zel_open.h"\n/*\n#include "zel_open.h"\n*/\n'
        self.assertEqual(self.messages("libsrc/zel/blocks/zel_lut.cpp", text), [])


class Calls(unittest.TestCase):
    ABOVE = {"libsrc/zel/composite/view.cpp": "void up(int a)\n{\n}\n\nnamespace {\nvoid own()\n{\n}\n}\n"}
    BELOW = "libsrc/zel/lines/zel_line.cpp"

    def messages(self, text, **more):
        return list(check_calls({**self.ABOVE, self.BELOW: text, **more}))

    def test_a_call_upward_is_refused_whoever_declares_it(self):
        messages = self.messages("void f()\n{\n    up(3);\n}\n")
        self.assertEqual(len(messages), 1, messages)
        self.assertIn("zel_line.cpp:3: calls up", messages[0])

    def test_a_seam_may_be_called(self):
        seam = {"libsrc/zel/lines/view_seam.hpp": "// comment\nvoid up(int a);\n"}
        self.assertEqual(self.messages("void f()\n{\n    up(3);\n}\n", **seam), [])

    def test_calls_downward_members_and_local_names_are_left_alone(self):
        self.assertEqual(self.messages("void f()\n{\n    a.up(3);\n    own();\n}\n"), [])
        self.assertEqual(self.messages("struct A {\n    bool up(int a) const { return up(a); }\n};\n"), [])
        self.assertEqual(self.messages("", **{"libsrc/zel/composite/b.cpp": "void g()\n{\n    f();\n}\n"}), [])


class Door(unittest.TestCase):
    def count(self, code, path="libsrc/zel/lines/zel_open.cpp"):
        return len(list(check_door(path, code)))

    def test_ways_out_are_refused(self):
        for code in ("exit(1);", "std::exit(-1);", "abort ();", 'printf("x");', 'puts("x");',
                     'fprintf(stderr, "x");', 'fprintf( stdout, "x");', "putchar('x');",
                     'fputs("x", stdout);', 'std::cout << "x";', 'perror("x");'):
            self.assertEqual(self.count(code), 1, code)

    def test_the_feature_wing_is_held_to_it_too(self):
        self.assertEqual(self.count("exit(1);", "libsrc/zel/zel_features/mask/zel_feature_mask.cpp"), 1)

    def test_what_only_looks_like_one_is_left_alone(self):
        for code in ("// exit(1)", "/* abort() */", 'fail("exit(1)");', 'fprintf(file, "x");',
                     "atexit(f);", 'snprintf(text, 9, "x");', "myputs(1);", "int exitStatus;",
                     "char c = '\"'; /* exit(1) */"):
            self.assertEqual(self.count(code), 0, code)

    def test_the_door_and_the_tool_may(self):
        self.assertEqual(self.count("exit(1);", DOOR), 0)
        self.assertEqual(self.count("exit(1);", "src/zel_combine/main.cpp"), 0)


class Length(unittest.TestCase):
    def messages(self, text, path="libsrc/zel/lines/zel_open.cpp"):
        return list(check_length(path, text))

    def test_a_long_file_is_refused_unless_it_is_a_table(self):
        text = "\n" * (MAX_FILE_LINES + 1)
        self.assertEqual(len(self.messages(text)), 1)
        self.assertEqual(self.messages(text, "libsrc/zel/lines/zel_almanac.cpp"), [])
        self.assertEqual(self.messages("\n" * MAX_FILE_LINES), [])

    def test_a_wide_line_is_refused_comment_or_not(self):
        self.assertEqual(len(self.messages("\n// " + "x" * 98 + "\n")), 1)
        self.assertEqual(self.messages("// " + "x" * 97 + "\n"), [])

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


class RealFiles(unittest.TestCase):
    """The checks at work on files of this tree with a violation planted in them."""

    def planted(self, path, line, check):
        with open(os.path.join(ROOT, path), encoding="utf-8") as stream:
            text = stream.read()
        return [m for m in check(path, text + line) if m not in set(check(path, text))]

    def test_an_include_from_above(self):
        known = set(project_files()).__contains__
        self.assertTrue(self.planted("libsrc/zel/zel_io.h", '#include "zel_fetch.h"\n',
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
