"""The page on damaged files: each command on it is run on files damaged in the ways that their names
tell, and must say what the page says."""
import re
import struct

from page_commands import PageTest, commands
from harness import ROOT, main
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


class Page(PageTest):
    FILES, NOT_THERE, SHRUNK = FILES, NOT_THERE, SHRUNK

    def test_every_command_says_what_the_page_says(self):
        self.assertGreater(len(commands(PAGE)), 40)
        self.check_page(PAGE)

    def test_every_file_is_used(self):
        used = {name for command in commands(PAGE) for name in command.names()}
        self.assertEqual(set(FILES) - used, set())

    def test_every_message_of_the_table_is_said_below(self):
        """Its words in capitals stand for a name or a number."""
        said = [line for command in commands(PAGE) for line in command.said]
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
