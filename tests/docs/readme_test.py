#!/usr/bin/env python3
"""What the documents say, tried: their programs are built and run, their commands carried out, and the
options, functions, files and numbers that they name are looked up."""
import os
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
import zlib
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BUILD = Path(os.environ.get("ZEL_BUILD_DIR") or ROOT / "build")
BIN = Path(os.environ.get("ZEL_BIN_DIR") or BUILD / "bin")
TOOL = Path(os.environ.get("ZEL_COMBINE") or BIN / "zel_combine")
SCRIPT = ROOT / "examples" / "zel_to_vrt.py"

sys.path.insert(0, str(SCRIPT.parent))
import zel_to_vrt  # noqa: E402

HISTOGRAM_BYTES = 1034  # of 256 bins
RAW = {1: "B", 2: "H", 3: "B", 4: "f", 5: "H"}


def read(path):
    return (ROOT / path).read_text(encoding="utf-8")


def code_blocks(markdown, language):
    return re.findall(r"^```%s\n(.*?)^```" % language, markdown, re.DOTALL | re.MULTILINE)


def man_section(page, name):
    return re.search(r"^\.SH %s\n(.*?)(?=^\.SH |\Z)" % name, page, re.DOTALL | re.MULTILINE).group(1)


def man_examples(section):
    """The texts that a section shows as they are, with the escapes of the page undone."""
    return [block.replace("\\e", "\\").replace("\\-", "-")
            for block in re.findall(r"^\.EX\n(.*?)^\.EE", section, re.DOTALL | re.MULTILINE)]


def commands(text):
    """The words of each zel_combine command line."""
    return [shlex.split(line)[1:] for line in text.splitlines() if line.startswith("zel_combine ")]


def run(*words, status=0, **how):
    done = subprocess.run([str(w) for w in words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          stdin=subprocess.DEVNULL, timeout=300, **how)
    text = done.stdout.decode("latin-1")
    if done.returncode != status:
        raise AssertionError("%s: status %d\n%s" % (words[0], done.returncode, text))
    return text


def cached(name):
    """A setting of the build tree."""
    match = re.search(r"^%s:\w+=(.*)$" % name, (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)
    return match.group(1) if match else ""


def build_program(directory, name, source):
    """Compiles a C program and links it with the library, as the library itself was built."""
    flags = []
    if cached("ZEL_SANITIZE") == "ON":
        flags += ["-fsanitize=address,undefined"]
    if cached("ZEL_COVERAGE") == "ON":
        flags += ["--coverage"]
    (directory / (name + ".c")).write_text(source, encoding="utf-8")
    program = directory / name
    run(cached("CMAKE_C_COMPILER") or "cc", "-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
        "-I%s" % (ROOT / "libsrc"), "-c", directory / (name + ".c"), "-o", directory / (name + ".o"))
    run(cached("CMAKE_CXX_COMPILER") or "c++", directory / (name + ".o"), BUILD / "lib" / "libzel.a",
        *flags, "-o", program)
    return program


class InDirectory(unittest.TestCase):
    def setUp(self):
        self.dir = Path(tempfile.mkdtemp(prefix="zel_readme_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)


class Options(unittest.TestCase):
    def setUp(self):
        usage = run(TOOL, status=255)
        self.known = set(re.findall(r"(?<![\w-])-[a-z][a-z_]*", usage))
        self.assertIn("-same_res", self.known)

    def test_the_manual_page_has_an_entry_for_every_option(self):
        page = read("docs/man/zel_combine.1")
        entries = re.findall(r"^\.TP\n\.BI? \\-(\w+)", page, re.MULTILINE)
        self.assertEqual(sorted("-" + e for e in entries), sorted(self.known))

    def test_the_manual_page_names_no_other(self):
        page = read("docs/man/zel_combine.1")
        named = {"-" + n for n in re.findall(r"(?<!\w)\\-([a-z]\w*)", page)}
        self.assertLessEqual(named, self.known)

    def test_the_readme_has_a_row_for_every_option_and_names_no_other(self):
        readme = read("README.md")
        rows = re.findall(r"^\| (`-.*?) \|", readme, re.MULTILINE)
        self.assertEqual(sorted(re.findall(r"`(-\w+)`", " ".join(rows))), sorted(self.known))
        self.assertLessEqual(set(re.findall(r"`(-\w+)`", readme)), self.known)
        for words in commands(readme):
            self.assertLessEqual({w for w in words if w.startswith("-")}, self.known)


class Names(unittest.TestCase):
    def test_functions_and_constants_are_in_the_headers(self):
        headers = "\n".join(p.read_text(encoding="utf-8") for p in (ROOT / "libsrc").rglob("*.h"))
        declared = set(re.findall(r"\w+", headers))
        others = {"ZEL_DATA_DIR", "ZEL_COMBINE", "ZEL_MASK"}  # of the environment, of files
        for document in ("README.md", "CHANGELOG.md", "docs/format.md", "docs/man/zel.3",
                         "docs/man/zel.5"):
            named = set(re.findall(r"\bZEL_?[A-Z]\w+", read(document)))
            self.assertEqual(sorted(named - declared - others), [], document)

    def test_grids_and_places_are_those_that_the_library_looks_for(self):
        source = read("libsrc/zel/blocks/ancillary_grids.cpp")
        for name in re.findall(r'"(\w+\.(?:img|map)|[A-Z]+_DATA_DIR|/usr/local/[^"]*/)"', source):
            for document in ("README.md", "docs/man/zel_combine.1"):
                self.assertIn(name.rstrip("/"), read(document), document)

    def test_links_lead_to_files(self):
        for document in ROOT.rglob("*.md"):
            inside = document.relative_to(ROOT)
            if any(part.startswith((".", "build")) for part in inside.parts):
                continue
            for link in re.findall(r"\]\(([^)\s]+)\)", document.read_text(encoding="utf-8")):
                if re.match(r"[a-z]+:|#", link):
                    continue
                target = document.parent / link.split("#")[0]
                self.assertTrue(target.exists(), "%s: no %s" % (inside, link))

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_manual_pages_are_well_formed(self):
        for page in sorted((ROOT / "docs" / "man").iterdir()):
            self.assertEqual(run("mandoc", "-Tlint", "-W", "warning", page), "", page.name)


class Programs(InDirectory):
    def build_both(self):
        page = man_section(read("docs/man/zel.3"), "EXAMPLE")
        self.example = build_program(self.dir, "example", "".join(man_examples(page)))
        self.mean = build_program(self.dir, "mean", code_blocks(read("README.md"), "c")[0])

    def printed_mean(self, path, channel):
        return run(self.mean, path, channel).splitlines()[-1]

    def test_they_work(self):
        self.build_both()
        path = self.dir / "example.zel"
        last = run(self.example, path).splitlines()[-1]
        numbers = [float(n) for n in re.findall(r"-?\d+\.\d+", last)]
        # 280 + 0.25 x (63 - 47) K, line 47, pixel 63, to a step of the stored number and of the text.
        for got, want, error in zip(numbers, (284.0, 43.577, -8.7125), (0.0151, 0.001, 0.001)):
            self.assertAlmostEqual(got, want, delta=error)
        self.assertEqual(len(numbers), 3)

        layout = zel_to_vrt.Layout(str(path))
        self.assertEqual((layout.pixels, layout.lines), (64, 48))
        self.assertEqual(self.printed_mean(path, 0), "11 um: mean %f" % mean_by_place(path, layout, 0))
        for channel in (1, -1, 5000):
            run(self.mean, path, channel, status=1)
        run(self.mean, self.dir / "no_such_file", 0, status=1)

    def test_the_size_of_a_header_is_as_told(self):
        self.build_both()
        run(self.example, self.dir / "example.zel")
        told = int(re.search(r"takes ([\d,]+) bytes", read("README.md")).group(1).replace(",", ""))
        layout = zel_to_vrt.Layout(str(self.dir / "example.zel"))
        self.assertEqual(layout.header_offset, told + HISTOGRAM_BYTES)


def pixels_by_place(path, layout, channel):
    """The stored numbers of a channel, read from where the layout has them."""
    code, offset = layout.channels[channel].code, layout.channels[channel].offset
    data = Path(path).read_bytes()
    out = []
    for n in range(layout.lines):
        at = layout.header_offset + n * layout.line_offset + offset
        out += struct.unpack_from("<%d%s" % (layout.pixels, RAW[code]), data, at)
    return out


def single(value):
    """The value as a 32-bit float."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


def mean_by_place(path, layout, channel):
    wanted = layout.channels[channel]
    raw = pixels_by_place(path, layout, channel)
    if wanted.code not in zel_to_vrt.STEPS:
        return sum(raw) / len(raw)
    step = single(wanted.high - wanted.low) / zel_to_vrt.STEPS[wanted.code]
    return sum(single(k * step + wanted.low) for k in raw) / len(raw)


def rgb_picture(path):
    """Width and colours of a PNG file of 8-bit red, green and blue."""
    data = Path(path).read_bytes()
    chunks, at = {}, 8
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        chunks[kind] = chunks.get(kind, b"") + data[at + 8:at + 8 + size]
        at += size + 12
    width, height, depth, colour, _, _, interlace = struct.unpack(">2I5B", chunks[b"IHDR"])
    if (depth, colour, interlace) != (8, 2, 0):
        raise AssertionError("%s: another kind of picture" % path)
    raw, above, out = zlib.decompress(chunks[b"IDAT"]), bytes(3 * width), []
    for y in range(height):
        row = raw[y * (3 * width + 1):][:3 * width + 1]
        above = unfiltered(row[0], row[1:], above)
        out += zip(above[0::3], above[1::3], above[2::3])
    return width, out


def unfiltered(kind, row, above):
    out = bytearray(3) + bytearray(row)
    above = bytes(3) + above
    for i in range(3, len(out)):
        left, up, corner = out[i - 3], above[i], above[i - 3]
        nearest = min((left, up, corner), key=lambda n: abs(left + up - corner - n))
        out[i] = (out[i] + (0, left, up, (left + up) // 2, nearest)[kind]) & 255
    return bytes(out[3:])


SAMPLE = BIN / "examples" / "make_sample_scene"


@unittest.skipUnless(SAMPLE.exists(), "the example programs are not built")
class Commands(InDirectory):
    def setUp(self):
        super().setUp()
        run(SAMPLE, self.dir)

    def combine(self, words):
        run(TOOL, *words, "-overwrite", cwd=self.dir)
        return (self.dir / words[words.index("-o") + 1]).read_bytes()

    def test_the_class_map_of_the_readme(self):
        section = read("README.md").split("\n## Adding a class map\n")[1].split("\n## ")[0]
        demo = self.dir / "demo"
        demo.mkdir()
        shutil.copytree(ROOT / "examples", self.dir / "examples")
        self.one_grid().rename(demo / "one_grid.zel")
        definition, picture = code_blocks(section, "text")
        (demo / "classes.py").write_text(code_blocks(section, "python")[0], encoding="utf-8")
        (demo / "colours.txt").write_text(definition, encoding="utf-8")
        run(sys.executable, "classes.py", cwd=demo)
        words, = commands(code_blocks(section, "sh")[0])
        run(TOOL, *words, cwd=demo)
        shown = run(BIN / "examples" / "quicklook", "with_classes.zel", 4, 40, cwd=demo)
        self.assertIn(picture, shown)
        layout = zel_to_vrt.Layout(str(demo / "with_classes.zel"))
        water = pixels_by_place(demo / "with_classes.zel", layout, 4).count(1)
        self.assertIn("(%d pixels of water)" % water, section)
        self.check_colours(demo / "with_classes.zel", layout, definition)

    def check_colours(self, path, layout, definition):
        """The virtual raster and the picture show what the definition file says."""
        lines = [line.partition(":") for line in definition.splitlines() if ":" in line][1:]
        want = [tuple(int(n) for n in numbers.split()[:3]) for numbers, _, _ in lines]
        names = [name.strip() for _, _, name in lines]
        run(sys.executable, SCRIPT, path)
        band = list(ElementTree.parse(str(path) + ".vrt").getroot().iter("VRTRasterBand"))[4]
        self.assertEqual([c.text for c in band.find("CategoryNames")], names)
        self.assertEqual([tuple(int(e.get(c)) for c in ("c1", "c2", "c3"))
                          for e in band.find("ColorTable")], want)
        width, picture = rgb_picture(ROOT / "docs" / "class_map.png")
        self.assertEqual((width, len(picture)), (3 * layout.pixels, 9 * layout.pixels * layout.lines))
        for k, number in enumerate(pixels_by_place(path, layout, 4)):
            y, x = divmod(k, layout.pixels)
            self.assertEqual(picture[3 * y * width + 3 * x], want[number])

    def test_those_of_the_readme(self):
        blocks = [commands(block) for block in code_blocks(read("README.md"), "sh")]
        (container,), (from_files, from_container), _ = [c for c in blocks if c]
        size = len(self.combine(container))
        inputs = [w for w in container if w.startswith("sample")]
        self.assertEqual(size, sum((self.dir / name).stat().st_size for name in inputs))
        self.assertEqual(self.combine(from_files), self.combine(from_container))

    def test_those_of_the_manual_page(self):
        for metres in ("250", "500", "1000"):
            (self.dir / ("sample_%sm.zel" % metres)).rename(self.dir / ("scene_%sm.zel" % metres))
        shutil.copy(self.dir / "scene_500m.zel", self.dir / "old.zel")
        text = "".join(man_examples(man_section(read("docs/man/zel_combine.1"), "EXAMPLES")))
        self.assertEqual(len(commands(text)), 4)
        for words in commands(text):
            self.combine(words)

    def one_grid(self):
        words = "-same_res -i sample_250m.zel -i sample_500m.zel -ib sample_1000m.zel -o one_grid.zel"
        self.combine(words.split())
        return self.dir / "one_grid.zel"

    def test_the_script_finds_the_pixels_that_the_library_reads(self):
        path = self.one_grid()
        mean = build_program(self.dir, "mean", code_blocks(read("README.md"), "c")[0])
        layout = zel_to_vrt.Layout(str(path))
        self.assertEqual((layout.pixels, layout.lines, len(layout.channels)), (160, 120, 4))
        for k, channel in enumerate(layout.channels):
            self.assertEqual(run(mean, path, k).splitlines()[-1],
                             "%s: mean %f" % (channel.label, mean_by_place(path, layout, k)))

    def test_the_virtual_raster_names_those_places(self):
        path = self.one_grid()
        run(sys.executable, SCRIPT, path)
        layout = zel_to_vrt.Layout(str(path))
        tree = ElementTree.parse(str(path) + ".vrt").getroot()
        self.assertEqual((tree.get("rasterXSize"), tree.get("rasterYSize")), ("160", "120"))
        for band, channel in zip(tree.iter("VRTRasterBand"), layout.channels):
            self.assertEqual(band.findtext("Description"), channel.label)
            self.assertEqual(band.findtext("SourceFilename"), "one_grid.zel")
            self.assertEqual(int(band.findtext("ImageOffset")), layout.header_offset + channel.offset)
            self.assertEqual(int(band.findtext("LineOffset")), layout.line_offset)
            self.assertEqual(int(band.findtext("PixelOffset")), zel_to_vrt.BYTES[channel.code])
        # The scene begins at 44 north, 9.5 west; lines are 1 km, 111.2 km a degree.
        points = list(tree.iter("GCP"))
        self.assertEqual(len(points), 9 * 20)
        self.assertEqual((points[0].get("Pixel"), points[0].get("Line")), ("0.5", "0.5"))
        self.assertAlmostEqual(float(points[0].get("Y")), 44 - 0.5 / 111.2, places=4)
        self.assertAlmostEqual(float(points[0].get("X")), -9.5 + 0.5 / 111.2 / 0.72, places=4)
        self.assertAlmostEqual(float(points[-1].get("Y")), 44 - 119.5 / 111.2, places=4)

    def test_the_script_refuses_a_composite(self):
        self.combine("-i sample_250m.zel -i sample_500m.zel -o composite.zel".split())
        self.assertIn("a composite of 2 components",
                      run(sys.executable, SCRIPT, self.dir / "composite.zel", status=1))


if __name__ == "__main__":
    unittest.main()
