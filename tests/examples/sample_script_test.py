#!/usr/bin/env python3
"""examples/sample.sh: the sample scene where there is no other, with the counts that its surface channel gives."""
import json
import math
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BIN = Path(os.environ.get("ZEL_BIN_DIR") or SOURCE / "build/bin")
TEST_DATA = Path(os.environ.get("ZEL_TEST_DATA") or "/nonexistent")
PROGRAMS = [BIN / "zel", BIN / "zel_combine", BIN / "examples" / "make_sample_scene"]
sys.path.insert(0, str(SOURCE / "tests" / "support"))
from zelfile import parse  # noqa: E402


@unittest.skipUnless(all(p.exists() for p in PROGRAMS), "zel or the examples are not built")
class Script(unittest.TestCase):
    def run_script(self, **environment):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.out = Path(directory.name)
        env = {k: v for k, v in os.environ.items() if k != "ZEL_TEST_DATA"}
        done = subprocess.run(["sh", str(SOURCE / "examples" / "sample.sh"), str(BIN.parent), str(self.out)],
                              env=dict(env, **environment), stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=120)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def samples(self, name):
        return json.loads(subprocess.run([str(BIN / "zel"), "samples", name, "--json"], cwd=self.out, check=True,
                                         capture_output=True, timeout=60).stdout)

    def test_the_sample_scene(self):
        self.assertIn("coast.feat: ", self.run_script())
        scene = parse((self.out / "one_grid.zel").read_bytes())
        surface = [v for row in scene.channels[3].rows for v in row]
        made = self.samples("coast.feat")
        for kind in range(3):
            self.assertEqual(made["classes"][kind]["samples"], math.ceil(math.sqrt(surface.count(kind))))
        for sample in made["samples"]:
            self.assertEqual(surface[sample["box"]] + 1, sample["class"])

    @unittest.skipUnless((TEST_DATA / "scenes" / "landsat8_gulf_30m.zel").is_file(), "no scene (ZEL_TEST_DATA)")
    def test_a_real_scene(self):
        self.assertIn("landsat8_gulf_30m.zel: 22500 pixels", self.run_script(ZEL_TEST_DATA=str(TEST_DATA.resolve())))
        self.assertGreater(self.samples("gulf.feat")["sample_count"], 20000)


if __name__ == "__main__":
    program = unittest.main(exit=False)
    done = program.result
    if not done.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if len(done.skipped) == done.testsRun else 0)
