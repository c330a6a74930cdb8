"""The page on damaged files: each command on it is run on files damaged in the ways that their names
tell, and must say what the page says."""
import os
import re
import struct
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tool"))
from harness import ROOT, TOOL, ToolTest, grids_missing, main
from maskfile import full_mask
from sample import sample
from vornfile import feature_header, plane, raster
from zelfile import DIRECTORY_AT, PREFIX_SIZE, Histogram, Lut, Table, container

PAGE = (ROOT / "docs" / "damaged-files.md").read_text()
# Its sources, with literals that follow each other put together.
LIBRARY = re.sub(r'"\s*"', "", "".join(p.read_text() for p in (ROOT / "libsrc").rglob("*.cpp")))
MAX_CHANNELS_AT = PREFIX_SIZE + 4
START_NAV_POINT_AT = MAX_CHANNELS_AT + 2 + 8 + 4
NUM_COMPONENTS_AT = DIRECTORY_AT + 4
SECOND_OFFSET_AT = DIRECTORY_AT + 8 + 4
# What goes to standard error: warnings, and what the feature layer says.
ERROR_STREAM = re.compile(r"^\w+: warning: |^corrupt feature file: |^ZELCreateCompositeFile: write error on |"
                          r"^zel_combine: Error: cannot read zel_feature header file cut")

DEFINITION = b"Surface\n0 255\n2\n0 80 200 0 : water\n90 150 60 1 : land\n"
VALUES = plane(8, 6, 0, 0.0)


def patched(data, at, codes, value):
    data = bytearray(data)
    struct.pack_into(codes, data, at, value)
    return bytes(data)


def scene(**fields):
    return sample(**fields).bytes()


def line_size():
    return (len(scene()) - len(scene(height=0))) // 6


def without_end(size):
    return scene()[:-size]


def with_block(count, wrong, codes, mark, before, **fields):
    """A scene with a block in which the count, so many bytes before the mark, is a wrong one."""
    f = sample(**fields.pop("header", {}))
    for name, value in fields.items():
        setattr(f.channels[0], name, value)
    data = f.bytes()
    at = data.index(mark) - before
    if struct.unpack_from(codes, data, at)[0] != count:
        raise ValueError("the count is elsewhere")
    return patched(data, at, codes, wrong)


def two_components():
    return container([(scene(), 1000.0), (scene(resolution=500.0), 500.0)])


# What the names on the page stand for.
FILES = {
    "a.zel": scene,
    "b.zel": lambda: scene(resolution=500.0),
    "two.zel": lambda: scene(codes=(3, 5)),
    "old.zel": lambda: b"something older",
    "picture.zel": lambda: b"\x89PNG\r\n\x1a\n" + bytes(range(1, 200)) * 40,
    "empty.zel": lambda: b"",
    "short_header.zel": lambda: scene()[:10000],
    "slots.zel": lambda: patched(scene(), MAX_CHANNELS_AT, "<h", -3),
    "navigation.zel": lambda: patched(scene(), START_NAV_POINT_AT, "<i", -7),
    "lut.zel": lambda: with_block(1, -2, "<h", b"Surface", 4, header={
        "luts": [Lut(1, b"Surface", [(0, 80, 200, b"water")])]}),
    "table.zel": lambda: with_block(2, -2, "<h", b"radiance", 4, header={
        "tables": [Table(1, b"radiance", [1.0, 2.0])]}),
    "histogram.zel": lambda: with_block(
        3, -3, "<h", struct.pack("<ff", 9.0, 1.0), 2, histogram=Histogram(9.0, 1.0, [1, 2, 3])),
    "mask.zel": lambda: with_block(2, -1, ">i", b"ZEL_MASK", 8, mask=full_mask()),
    "later.zel": lambda: scene(version_text=b"3.0"),
    "two_lines_less.zel": lambda: without_end(2 * line_size()),
    "half_a_line_less.zel": lambda: without_end(line_size() // 2),
    "shrinking.zel": scene,
    "torn.zel": scene,
    "big_endian.zel": lambda: scene(order=">", version=1.5),
    "old_layout.zel": lambda: scene(version=1.31),
    "cut_container.zel": lambda: two_components()[:-100],
    "bad_offset.zel": lambda: patched(two_components(), SECOND_OFFSET_AT, "<i", -5),
    "too_many.zel": lambda: patched(two_components(), NUM_COMPONENTS_AT, "<i", 101),
    "next_day.zel": lambda: scene(resolution=500.0, julian=101),
    "third.zel": lambda: scene(resolution=300.0),
    "no_resolution.zel": lambda: scene(resolution=0.0),
    "good.vorn": lambda: raster([VALUES]),
    "narrow.vorn": lambda: raster([plane(7, 6)]),
    "short.vorn": lambda: raster([VALUES])[:-8],
    "good.txt": lambda: DEFINITION,
    "no_colon.txt": lambda: DEFINITION.replace(b" :", b""),
    "too_few.txt": lambda: DEFINITION.replace(b"\n2\n", b"\n3\n"),
    "bad_count.txt": lambda: DEFINITION.replace(b"\n2\n", b"\n-4\n"),
    "no_newline.txt": lambda: DEFINITION[:-1],
    "nothing.txt": lambda: b"",
    "one_line.txt": lambda: b"Channel 1\n",
    "few_classes.feat": lambda: feature_header([b"ARFF_TO_ZEL 3 1 2"]),
    "cut.feat": lambda: feature_header()[:5000],
    "no_table.feat": lambda: feature_header(),
}
NOT_THERE = {"missing.zel", "out.zel", "nowhere/out.zel"}

# Files that lose something while the question about the output waits: how much of them is left.
SHRUNK = {
    "shrinking.zel": lambda: len(scene()) - 2 * line_size(),
    "torn.zel": lambda: len(scene()) - line_size() - 3,
}
FULL_DISK = "full_disk.zel"


class Command:
    """A command of the page, the lines that follow it, and the status if that is asked for."""

    def __init__(self, text):
        self.text = text
        self.said = []
        self.status = None
        self.answer = ""

    def names(self):
        return [w for w in self.text.split() if re.search(r"\.\w+$", w)]

    def expected(self):
        """(standard output as a pattern, standard error)"""
        out, err = "", ""
        for line in self.said:
            question = re.match(r"(.*\(y/n\) )([yn])$", line)
            if question:
                self.answer = question.group(2) + "\n"
                out += re.escape(question.group(1))
                if self.answer == "n\n":
                    out += r"\n?"
            elif ERROR_STREAM.match(line):
                err += line + "\n"
            elif line == "...":
                out += r"(?:[^\n]*\n)+?"
            else:
                out += re.escape(line + "\n")
        return out, err


def commands():
    found = []
    for block in re.findall(r"^```text\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL):
        for line in block.splitlines():
            if line == "$ echo $?":
                found[-1].status = ""
            elif line.startswith("$ "):
                found.append(Command(line[2:]))
            elif found[-1].status == "":
                found[-1].status = int(line)
            else:
                found[-1].said.append(line)
    return found


class Page(ToolTest):
    def prepare(self, command):
        for name in command.names():
            if name in FILES:
                self.put(name, FILES[name]())
            elif name == FULL_DISK:
                os.symlink("/dev/full", self.dir / name)
            else:
                self.assertIn(name, NOT_THERE)

    def run_command(self, command):
        """(status, standard output, standard error)"""
        none = str(self.dir / "no_data")
        run = subprocess.Popen(
            [TOOL] + command.text.split()[1:], cwd=self.dir, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none))
        out = b""
        if command.answer:
            while not out.endswith(b"(y/n) "):
                byte = run.stdout.read(1)
                self.assertTrue(byte, out)
                out += byte
            for name in command.names():
                if name in SHRUNK:
                    os.truncate(self.dir / name, SHRUNK[name]())
        rest, err = run.communicate(command.answer.encode(), timeout=60)
        return run.returncode, (out + rest).decode().replace(grids_missing(), ""), err.decode()

    def check_command(self, command):
        self.prepare(command)
        pattern, warnings = command.expected()
        status, out, err = self.run_command(command)
        self.assertRegex(out, "^" + pattern + r"\Z", command.text)
        self.assertEqual(err, warnings, command.text)
        if command.status is not None:
            self.assertEqual(status, command.status, command.text)
        if status != 0:
            self.absent("out.zel")
        for name in command.names():
            if name in FILES and name not in SHRUNK and name != "old.zel":
                self.same_bytes(self.got(name), FILES[name](), name)

    def test_every_command_says_what_the_page_says(self):
        found = commands()
        self.assertGreater(len(found), 40)
        for command in found:
            for old in self.dir.iterdir():
                if old.name != "no_data":
                    old.unlink()
            with self.subTest(command=command.text):
                self.check_command(command)

    def test_every_file_is_used(self):
        used = {name for command in commands() for name in command.names()}
        self.assertEqual(set(FILES) - used, set())

    def test_every_message_of_the_table_is_said_below(self):
        """Its words in capitals stand for a name or a number."""
        said = [line for command in commands() for line in command.said]
        rows = re.findall(r"^\| `([^`]+)`", PAGE, re.MULTILINE)
        self.assertGreater(len(rows), 10)
        for row in rows:
            pattern = re.sub(r"\bN\b", r"[-.\\d]+", re.escape(row))
            pattern = re.sub(r"\bF(ILE|IELD)\b", r"[\\w .]+", pattern)
            self.assertTrue(any(re.search(pattern, line) for line in said), row)

    def test_every_warning_to_programs_is_one_of_the_library(self):
        """Its words in capitals stand for %s and %d."""
        section = PAGE[PAGE.index("## What only programs do"):PAGE.index("## Parameter files")]
        warnings = re.findall(r"^- `([^`]+)`", section, re.MULTILINE)
        self.assertGreater(len(warnings), 5)
        for text in warnings:
            words = re.sub(r"\bN\b", "%d", text.replace("FILE", "%s"))
            function, rest = words.split(":", 1)
            self.assertTrue(words in LIBRARY or "%s:" + rest in LIBRARY and function in LIBRARY, text)

    def test_every_link_of_the_table_has_its_section(self):
        anchors = {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")
                   for title in re.findall(r"^## (.*)$", PAGE, re.MULTILINE)}
        for link in re.findall(r"\(#([\w-]+)\)", PAGE):
            self.assertIn(link, anchors)


if __name__ == "__main__":
    main()
