"""What tests of the documents share: the pages, the texts that they show, and the library and the tools
to try them with."""
import os
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BUILD = Path(os.environ.get("ZEL_BUILD_DIR") or ROOT / "build")
BIN = Path(os.environ.get("ZEL_BIN_DIR") or BUILD / "bin")
TOOL = Path(os.environ.get("ZEL_COMBINE") or BIN / "zel_combine")
SAMPLE = BIN / "examples" / "make_sample_scene"
SCRIPT = ROOT / "examples" / "zel_to_vrt.py"
PAGES = ["README.md"] + sorted("docs/" + p.name for p in (ROOT / "docs").glob("*.md"))

sys.path.insert(0, str(SCRIPT.parent))
import zel_to_vrt  # noqa: E402

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
        self.dir = Path(tempfile.mkdtemp(prefix="zel_pages_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)


@unittest.skipUnless(SAMPLE.exists(), "the example programs are not built")
class WithSampleScene(InDirectory):
    """The sample scene in a directory demo/ beside examples/, as ./dev demo leaves it."""

    def setUp(self):
        super().setUp()
        shutil.copytree(ROOT / "examples", self.dir / "examples")
        self.demo = self.dir / "demo"
        self.demo.mkdir()
        run(SAMPLE, self.demo)

    def combine(self, words):
        """The output of a command line, which is overwritten."""
        run(TOOL, *words, "-overwrite", cwd=self.demo)
        return (self.demo / words[words.index("-o") + 1]).read_bytes()

    def one_grid(self):
        self.combine("-same_res -i sample_250m.zel -i sample_500m.zel -ib sample_1000m.zel "
                     "-o one_grid.zel".split())
        return self.demo / "one_grid.zel"


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
