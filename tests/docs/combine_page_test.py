#!/usr/bin/env python3
"""The page on combining, the first page and the manual page: their commands are carried out, and the
scripts end with the status that the page promises."""
import os
import shutil
import subprocess
import unittest

from pages import BIN, WithSampleScene, code_blocks, commands, man_examples, man_section, read

PAGE = read("docs/combine.md")


class Commands(WithSampleScene):
    def check_both_ways(self, page):
        blocks = [commands(block) for block in code_blocks(page, "sh")]
        (container,), (from_files, from_container) = [c for c in blocks if c][:2]
        size = len(self.combine(container))
        inputs = [w for w in container if w.startswith("sample")]
        self.assertEqual(size, sum((self.demo / name).stat().st_size for name in inputs))
        self.assertEqual(self.combine(from_files), self.combine(from_container))

    def test_those_of_the_readme(self):
        self.check_both_ways(read("README.md"))

    def test_those_of_the_page(self):
        self.check_both_ways(PAGE)
        self.combine([c for c in commands(PAGE) if "new.zel" in c][0])

    def test_those_of_the_manual_page(self):
        for metres in ("250", "500", "1000"):
            (self.demo / ("sample_%sm.zel" % metres)).rename(self.demo / ("scene_%sm.zel" % metres))
        shutil.copy(self.demo / "scene_500m.zel", self.demo / "old.zel")
        text = "".join(man_examples(man_section(read("docs/man/zel_combine.1"), "EXAMPLES")))
        self.assertEqual(len(commands(text)), 4)
        for words in commands(text):
            self.combine(words)


class Scripts(WithSampleScene):
    INPUTS = ("sample_1000m.zel", "sample_500m.zel", "sample_250m.zel")

    def script(self, name, *words):
        """Runs the script of that name; its status and what it says."""
        text, = [b for b in code_blocks(PAGE, "sh") if "# %s " % name in b]
        (self.demo / name).write_text(text, encoding="utf-8")
        path = os.pathsep.join([str(BIN), os.environ["PATH"]])
        done = subprocess.run(["sh", name, *words], cwd=self.demo, stdin=subprocess.DEVNULL, timeout=60,
                              env=dict(os.environ, PATH=path), stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode("latin-1")

    def test_a_container_is_made_without_a_word(self):
        self.assertEqual(self.script("container.sh", "c.zel", *self.INPUTS), (0, ""))
        self.assertEqual((self.demo / "c.zel").stat().st_size,
                         sum((self.demo / name).stat().st_size for name in self.INPUTS))

    def test_a_container_that_could_not_be_made_is_an_error(self):
        for inputs in (self.INPUTS[:1], self.INPUTS[:2] + ("missing.zel",)):
            (self.demo / "c.zel").write_bytes(b"of an earlier run")
            status, said = self.script("container.sh", "c.zel", *inputs)
            self.assertEqual(status, 1)
            self.assertTrue(said.endswith("Error opening input files\n"), said)
            self.assertFalse((self.demo / "c.zel").exists())

    def test_a_failing_write_is_an_error(self):
        self.assertNotEqual(self.script("container.sh", "nowhere/c.zel", *self.INPUTS)[0], 0)

    def test_the_expected_number_of_lines_is_accepted(self):
        self.assertEqual(self.script("one_grid.sh", "120", "g.zel", *self.INPUTS), (0, ""))
        self.assertTrue((self.demo / "g.zel").exists())

    def test_fewer_lines_than_expected_are_an_error(self):
        path = self.demo / "sample_250m.zel"
        os.truncate(path, path.stat().st_size * 9 // 10)
        status, said = self.script("one_grid.sh", "120", "g.zel", *self.INPUTS)
        self.assertEqual(status, 1)
        self.assertRegex(said, r"\n\d\d lines processed\n")
        self.assertFalse((self.demo / "g.zel").exists())


if __name__ == "__main__":
    unittest.main()
