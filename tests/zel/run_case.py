"""An archive of small scenes, each of a fine and a coarse file, and recipes for them."""
import hashlib
import json
import os
import signal
import subprocess
import time
from pathlib import Path

from zel_case import ROOT, ZEL, ZelTest, follow, reads_recipes
from combine_scenes import scene

SCHEMA = json.loads((ROOT / "docs" / "zel" / "run.schema.json").read_text())

RECIPE = """format = 1

[inputs]
fine = { resolution = "finest" }
base = { resolution = "coarsest" }

[[steps]]
verb = "combine"
file = ["fine", "base"]
base = "base"
output = "grid"

[outputs]
grid = "{year}/{day:03}/{id}.zel"
"""

# A step of each kind, and all of them kept.
EVERY = """format = 1

[inputs]
fine = { resolution = 30 }
base = { resolution = 60.0 }

[[steps]]
verb = "combine"
file = ["fine", "base"]
base = "base"
method = "#0=max"
output = "grid"

[[steps]]
verb = "calc"
file = "grid"
expression = "X = #0 + #2"
as = "X=u8:0:9"
output = "sum"

[[steps]]
verb = "look"
file = "sum"
channel = "X"
range = [0, 9]
output = "picture"

[[steps]]
verb = "look"
file = "fine"
report = "page"

[[steps]]
verb = "stats"
file = "sum"
output = "statistics"

[[steps]]
verb = "sample"
file = "few.par"
input = "grid"
output = "samples"

[[steps]]
verb = "channels"
file = "grid"
output = "raster"

[[steps]]
verb = "combine"
file = ["fine", "base"]
container = true
output = "parts"

[outputs]
grid = "{id}/grid.zel"
sum = "{id}/sum.zel"
picture = "{id}/sum.png"
page = "{id}/page.html"
statistics = "{id}/sum.json"
samples = "{id}/samples.feat"
raster = "{id}/grid.vorn"
parts = "{id}/parts.zel"
"""

PARAMETERS = b"inputfilename nowhere.zel\noutputfilename unused\nfeature Ch1: \"first\"\n"


def scene_id(day):
    return "generic-0-2020%03d-12.0h" % day


class RunCase(ZelTest):
    def setUp(self):
        super().setUp()
        if not reads_recipes():
            self.skipTest("built without toml++")

    def make_archive(self, days, size=1):
        (self.dir / "in").mkdir(exist_ok=True)
        for day in days:
            for name, resolution, factor in (("fine", 30.0, 2 * size), ("base", 60.0, size)):
                data = scene(resolution, 6 * factor, 4 * factor, codes=(1, 3), seed=day * 9 + factor,
                             year=2020, julian=day, data_type=0, satellite=0)
                self.put("in/%d_%s.zel" % (day, name), data)
        self.make_manifest()

    def make_manifest(self):
        self.run_zel("scenes", "in", "-o", "m.jsonl", "--overwrite")

    def recipe(self, text=RECIPE, name="r.toml"):
        self.put(name, text.encode())
        self.put("few.par", PARAMETERS)

    def run_recipe(self, *words, status=0, recipe="r.toml", manifest="m.jsonl"):
        """The lines of a run, each of which follows the schema, by id."""
        got, out, err = self.run_zel("run", recipe, "--manifest", manifest, *words)
        self.assertEqual(got, status, err)
        lines = [json.loads(line) for line in out.splitlines()]
        for line in lines:
            follow(line, SCHEMA)
        return {line["id"] or line["file"]: line for line in lines}

    def statuses(self, *words, **how):
        return {name: line["status"] for name, line in self.run_recipe(*words, **how).items()}

    def refuses(self, message, *words, recipe="r.toml"):
        """Status 2 with that message, and nothing is made."""
        before = self.tree(".")
        self.fails(["run", recipe, "--manifest", "m.jsonl", *words], "zel run: " + message, 2)
        self.assertEqual(self.tree("."), before)

    def tree(self, root="out"):
        """{name: SHA-256} of all files below."""
        top = self.dir / root
        return {str(p.relative_to(top)): hashlib.sha256(p.read_bytes()).hexdigest()
                for p in sorted(top.rglob("*")) if p.is_file()}

    def temporaries(self, root="."):
        """Whatever a run has left under a temporary name."""
        return [str(p) for p in (self.dir / root).rglob(".zel-*")]

    def start(self, *words):
        return subprocess.Popen([str(ZEL), "run", "r.toml", "--manifest", "m.jsonl", *words], cwd=self.dir,
                                env=self.env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)


def children_of(process):
    """The numbers of the processes that one has started, by /proc."""
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                fields = (entry / "stat").read_text().rpartition(")")[2].split()
            except OSError:
                continue
            if int(fields[1]) == process and fields[0] != "Z":
                found.append(int(entry.name))
    return found


def wait_for(condition, seconds=30.0):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.001)
    raise AssertionError("nothing has happened in %g s" % seconds)


def kill(process, number=signal.SIGKILL):
    try:
        os.kill(process, number)
    except ProcessLookupError:
        pass
