#!/usr/bin/env python3
"""The wrappers of examples/archive: 200 small scenes go through each that is installed and give the
same bytes as through a plain loop, also when workers are killed and the run is resumed. Slurm, which has
daemons and needs root, is run by ./dev archive."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from small_archive import Archive, BIN, expected_ids, left_over, make_archive, outcome, outputs
import engines
import kills

SCENES, BATCH = 200, 10


class Shared:
    """The scenes, and what a plain loop makes of them. Every test has an output directory of its own."""


def setUpModule():
    Shared.dir = Path(tempfile.mkdtemp(prefix="zel_archive_"))
    unittest.addModuleCleanup(shutil.rmtree, Shared.dir, ignore_errors=True)
    Shared.archive = make_archive(Shared.dir, SCENES)
    run_whole("loop", Shared.dir / "plain")
    Shared.plain = outputs(Shared.dir / "plain"), outcome(Shared.dir / "plain")


def run_whole(name, out):
    log = Shared.dir / (name + ".log")
    status = engines.run(name, Shared.archive, out, BATCH, log)
    if status != 0:
        raise AssertionError("%s: status %d\n%s" % (name, status, log.read_text(errors="replace")[-3000:]))


class Case(unittest.TestCase):
    maxDiff = 2000

    def same_as_plain(self, out):
        self.assertEqual(outputs(out), Shared.plain[0])
        self.assertEqual(outcome(out), Shared.plain[1])
        self.assertEqual(left_over(out), [])


class Plain(Case):
    def test_an_output_of_every_scene(self):
        made, said = Shared.plain
        self.assertEqual([(scene, ok) for scene, ok, *_ in said], [(i, True) for i in expected_ids(SCENES)])
        self.assertEqual(sorted(path for *_, scene in said for path, *_ in scene), sorted(made))
        self.assertEqual(len(set(made.values())), 2 * SCENES)  # of different scenes, different bytes

    def test_a_second_run_makes_nothing_again(self):
        plain = Shared.dir / "plain"
        before = {p: p.stat().st_mtime_ns for p in plain.rglob("*.zel")}
        run_whole("loop", plain)
        self.assertEqual({p: p.stat().st_mtime_ns for p in plain.rglob("*.zel")}, before)
        self.same_as_plain(plain)


class Killed:
    """The test of an engine whose workers are killed."""
    name = None

    def setUp(self):
        reason = engines.missing(self.name)
        if reason:
            self.skipTest(reason)

    def test_it_makes_the_same_when_workers_are_killed_and_the_run_is_resumed(self):
        out = Shared.dir / ("killed_" + self.name)
        running = engines.start(self.name, Shared.archive, out, BATCH, Shared.dir / (self.name + ".log"))
        dead = kills.disturbed_run(running, Shared.archive, 1, engines.TIMEOUT)
        self.assertGreater(dead, 0)
        run_whole(self.name, out)
        self.same_as_plain(out)

    def test_relative_names_with_blanks_and_a_file_that_cannot_be_read(self):
        """The tasks of an engine may run in another directory than the engine."""
        here = Shared.dir / ("names of " + self.name)
        archive = make_archive(here, 3)
        (here / "scenes" / "cut.zel").write_bytes((here / "scenes" / "day001_30m.zel").read_bytes()[:2000])
        listed = subprocess.run(["zel", "scenes", "scenes", "-o", "a manifest.jsonl"], cwd=here, env=archive.env)
        self.assertEqual(listed.returncode, 1)
        relative = Archive(Path("a manifest.jsonl"), archive.recipe, archive.env)
        engines.run(self.name, relative, here / "an out", 2, Shared.dir / (self.name + ".log"))
        with open(here / "an out" / "run.jsonl", encoding="utf-8") as log:
            said = {(r["id"] or r["file"]): r["status"] for r in map(json.loads, log)}
        self.assertEqual(said, {**dict.fromkeys(expected_ids(3), "done"), "scenes/cut.zel": "failed"})


class Engine(Killed):
    def test_it_makes_what_the_loop_makes(self):
        out = Shared.dir / ("whole_" + self.name)
        run_whole(self.name, out)
        self.same_as_plain(out)


class Loop(Killed, Case):
    name = "loop"


class Parallel(Engine, Case):
    name = "parallel"


class Snakemake(Engine, Case):
    name = "snakemake"


class Dask(Engine, Case):
    name = "dask"


if __name__ == "__main__":
    if not (BIN / "zel").exists() or os.name != "posix":
        print("zel is not built")
        sys.exit(77)
    if b"built without toml++" in subprocess.run([str(BIN / "zel"), "run", __file__, "-m", __file__],
                                                 stderr=subprocess.PIPE, check=False).stderr:
        print("zel is built without toml++")
        sys.exit(77)
    unittest.main()
