#!/usr/bin/env python3
"""The page on archives: its commands print what it says, and its programs are there."""
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "zel"))
from pages_test import Terminal, console_blocks  # noqa: E402
from zel_case import BIN, ROOT, SCENES, main, needs_scenes, reads_recipes  # noqa: E402

PAGE = (ROOT / "docs" / "archive.md").read_text(encoding="utf-8")
WRAPPERS = ROOT / "examples" / "archive"


def recipe():
    """The recipe as the page shows it."""
    return dict(console_blocks(PAGE))["cat grid.toml"]


@needs_scenes
class Page(Terminal):
    def setUp(self):
        super().setUp()
        if not reads_recipes():
            self.skipTest("built without toml++")
        (self.dir / "archive").mkdir()
        for name in dict(console_blocks(PAGE))["ls archive"].split():
            (self.dir / "archive" / name).symlink_to(SCENES / name)
        (self.dir / "grid.toml").write_text(recipe(), encoding="utf-8")

    def terminal(self, commands):
        """What a shell prints after each of them, as on a terminal."""
        mark = "@ end of a command @"
        script = "".join("%s\nstatus=$?; echo '%s'; (exit $status)\n" % (c, mark) for c in commands)
        env = dict(self.env, PATH="%s:%s" % (BIN, self.env["PATH"]))
        done = subprocess.run(["sh", "-c", "exec 2>&1\n" + script], cwd=self.dir, env=env, timeout=120,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        return done.stdout.decode().split(mark + "\n")[:-1]

    def test_commands_print_what_the_page_says(self):
        blocks = console_blocks(PAGE)
        self.assertGreater(len(blocks), 15)
        printed = self.terminal([command for command, _ in blocks])
        for (command, output), got in zip(blocks, printed):
            self.assertEqual(got, output, command)
        self.assertEqual(len(printed), len(blocks))


class Names(unittest.TestCase):
    def test_programs_are_there_and_can_be_run(self):
        for page in [PAGE] + [p.read_text(encoding="utf-8") for p in sorted(WRAPPERS.glob("*.md"))]:
            for name in re.findall(r"(?<![\w/])examples/archive/([\w.]+)", page):
                path = WRAPPERS / name
                self.assertTrue(path.exists(), name)
                if name.endswith((".sh", "_run.py")):
                    self.assertTrue(os.access(path, os.X_OK), name)

    def test_links_of_the_pages_of_wrappers_lead_to_files(self):
        for page in WRAPPERS.glob("*.md"):
            for link in re.findall(r"\]\(([^)#\s]+)", page.read_text(encoding="utf-8")):
                self.assertTrue((page.parent / link).exists(), "%s: no %s" % (page.name, link))


if __name__ == "__main__":
    main()
