#!/usr/bin/env python3
"""An installed tree has what its documents lead with: their links lead to files, and the programs
that they name are there and run."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BUILD = Path(os.environ.get("ZEL_BUILD_DIR") or ROOT / "build")
LINK = re.compile(r"\]\(([^)\s]+)\)")


@unittest.skipUnless(shutil.which("cmake"), "cmake is not on the path")
class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.prefix = Path(directory.name) / "prefix"
        subprocess.run(["cmake", "--install", str(BUILD), "--prefix", str(cls.prefix)], check=True,
                       stdout=subprocess.DEVNULL, timeout=300)
        cls.documents = min(cls.prefix.rglob("README.md"), key=lambda path: len(path.parts)).parent

    def run_program(self, name, *words):
        done = subprocess.run([str(self.prefix / "bin" / name), *words], cwd=self.prefix,
                              timeout=60, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode("latin-1")

    def test_links_of_every_page_lead_to_installed_files(self):
        pages = sorted(self.documents.rglob("*.md"))
        self.assertGreater(len(pages), 8)
        for page in pages:
            for link in LINK.findall(page.read_text(encoding="utf-8")):
                if not re.match(r"[a-z]+:|#", link):
                    target = page.parent / link.split("#")[0]
                    self.assertTrue(target.exists(), "%s: no %s" % (page.name, link))

    def test_every_page_of_the_source_tree_is_installed(self):
        pages = {p.name for p in [*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")]}
        self.assertEqual(pages - {p.name for p in self.documents.rglob("*.md")}, set())

    def test_the_script_for_gdal_runs(self):
        status, said = self.run_program("zel_to_vrt.py", "-h")
        self.assertEqual((status, "usage: zel_to_vrt.py" in said), (0, True), said)

    @unittest.skipUnless((BUILD / "bin/examples/quicklook").exists(), "the examples are not built")
    def test_the_program_that_draws_a_channel_runs(self):
        status, said = self.run_program("zel_quicklook")
        self.assertEqual(status, 2)
        self.assertRegex(said, r"^usage: \S*zel_quicklook FILE CHANNEL \[COLUMNS\]\n$")

    def test_nothing_private_is_installed(self):
        names = [str(p.relative_to(self.prefix)) for p in self.prefix.rglob("*")]
        self.assertEqual([n for n in names if re.search(r"\.hpp$|__pycache__|\.pyc$", n)], [])


if __name__ == "__main__":
    unittest.main()
