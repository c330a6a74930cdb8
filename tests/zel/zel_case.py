"""Runs zel in a directory of its own and looks at all that can be seen from outside."""
import functools
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
sys.path.insert(0, str(ROOT / "tests" / "support"))
BIN = Path(os.environ.get("ZEL_BIN_DIR") or ROOT / "build" / "bin")
ZEL = BIN / "zel"
TEST_DATA = Path(os.environ.get("ZEL_TEST_DATA") or "/nonexistent").resolve()
SCENES = TEST_DATA / "scenes"
SKIPPED = 77


class ZelTest(unittest.TestCase):
    """Each test starts in an empty directory, with no ancillary grids to be found."""
    maxDiff = None

    def setUp(self):
        self.dir = Path(tempfile.mkdtemp(prefix="zel_tool_"))
        self.addCleanup(shutil.rmtree, self.dir, ignore_errors=True)
        none = str(self.dir / "no_data")
        self.env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none, LC_ALL="C")

    def put(self, name, data):
        data = data if isinstance(data, (bytes, bytearray)) else data.bytes()
        (self.dir / name).write_bytes(data)
        return bytes(data)

    def got(self, name):
        return (self.dir / name).read_bytes()

    def names(self):
        return sorted(p.name for p in self.dir.iterdir())

    def run_zel(self, *args, **how):
        """(status, standard output, standard error); standard input is closed: nothing is asked."""
        done = subprocess.run([str(ZEL), *map(str, args)], stdin=subprocess.DEVNULL, cwd=self.dir,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=self.env,
                              timeout=120, **how)
        return (done.returncode, done.stdout.decode("utf-8", "replace"),
                done.stderr.decode("utf-8", "replace"))

    def check(self, args, stdout, stderr="", status=0):
        words = args.split() if isinstance(args, str) else args
        self.assertEqual(self.run_zel(*words), (status, stdout, stderr))

    def fails(self, args, stderr, status=1):
        """Nothing is printed but that line."""
        self.check(args, "", stderr + "\n", status)

    def json(self, *args, schema=None):
        """The JSON that a run prints; it must succeed in silence and follow the schema."""
        status, out, err = self.run_zel(*args)
        self.assertEqual((status, err), (0, ""))
        value = json.loads(out)
        if schema:
            follow(value, json.loads((ROOT / "docs" / "zel" / (schema + ".schema.json")).read_text()))
        return value


def follow(value, schema, path="$"):
    """Raises AssertionError where the value does not follow the schema: the part of JSON Schema that
    the documents use."""
    def fail(what):
        raise AssertionError("%s: %s: %.200r" % (path, what, value))
    if "anyOf" in schema:
        for choice in schema["anyOf"]:
            try:
                return follow(value, choice, path)
            except AssertionError as error:
                last = error
        raise last
    if "const" in schema and value != schema["const"]:
        fail("is not %r" % schema["const"])
    if "enum" in schema and value not in schema["enum"]:
        fail("is not one of %r" % schema["enum"])
    types = schema.get("type", [])
    types = [types] if isinstance(types, str) else types
    kinds = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None),
             "integer": int, "number": (int, float)}
    if types and not any(isinstance(value, kinds[t]) and
                         (t == "boolean" or not isinstance(value, bool)) for t in types):
        fail("is no %s" % " or ".join(types))
    if isinstance(value, dict):
        for name in schema.get("required", []):
            if name not in value:
                fail("has no %s" % name)
        for name, part in value.items():
            if name in schema.get("properties", {}):
                follow(part, schema["properties"][name], "%s.%s" % (path, name))
            elif schema.get("additionalProperties") is False:
                fail("has an undocumented %s" % name)
    if isinstance(value, list):
        if not schema.get("minItems", 0) <= len(value) <= schema.get("maxItems", len(value)):
            fail("has %d elements" % len(value))
        for i, part in enumerate(value):
            follow(part, schema.get("items", {}), "%s[%d]" % (path, i))
    if "minimum" in schema and isinstance(value, (int, float)) and value < schema["minimum"]:
        fail("is below %s" % schema["minimum"])
    if "maximum" in schema and isinstance(value, (int, float)) and value > schema["maximum"]:
        fail("is above %s" % schema["maximum"])
    return None


def read_png(data):
    """(width, height, rows of (r, g, b)) of an 8-bit PNG, grey or RGB, every check sum tested."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed, size = 8, b"", None
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        if kind == b"IHDR":
            size = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            packed += body
        at += 12 + length
    width, height, depth, color = size[:4]
    assert depth == 8
    step = {0: 1, 2: 3}[color]
    length = step * width
    raw, rows, before = zlib.decompress(packed), [], bytes(length)
    for y in range(height):
        kind = raw[y * (length + 1)]
        line = bytearray(raw[y * (length + 1) + 1:(y + 1) * (length + 1)])
        for i in range(length):
            left = line[i - step] if i >= step else 0
            corner = before[i - step] if i >= step else 0
            line[i] = (line[i] + (0, left, before[i], (left + before[i]) // 2,
                                  paeth(left, before[i], corner))[kind]) & 255
        rows.append([tuple(line[step * x:step * x + step]) * (3 // step) for x in range(width)])
        before = bytes(line)
    return width, height, rows


def paeth(a, b, c):
    p = a + b - c
    return min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]


def make_container(directory, names, out):
    """A container of the files, the first one its base, made by zel_combine."""
    words = ["-ib", str(names[0])]
    for name in names[1:]:
        words += ["-i", str(name)]
    subprocess.run([str(BIN / "zel_combine"), *words, "-o", str(out), "-overwrite"], cwd=directory,
                   stdout=subprocess.DEVNULL, check=True, timeout=120)


@functools.lru_cache(maxsize=None)
def reads_recipes():
    """Whether zel was built with toml++."""
    with tempfile.NamedTemporaryFile() as empty:
        done = subprocess.run([str(ZEL), "run", empty.name, "--manifest", empty.name], stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=60, check=False)
    return b"built without toml++" not in done.stderr


needs_scenes = unittest.skipUnless(SCENES.is_dir(), "no real scenes")


def main():
    if not ZEL.exists():
        print("zel is not built")
        sys.exit(SKIPPED)
    program = unittest.main(exit=False)
    done = program.result
    if not done.wasSuccessful():
        sys.exit(1)
    if done.testsRun and len(done.skipped) == done.testsRun:
        sys.exit(SKIPPED)
