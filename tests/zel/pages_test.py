#!/usr/bin/env python3
"""The pages of zel: every command in them is run, and prints what the page says."""
import re
import subprocess
import unittest

from zel_case import BIN, ROOT, SCENES, ZelTest, main, make_container, needs_scenes
from command_verbs import VERBS

PAGES = ROOT / "docs" / "zel"


def console_blocks(text):
    """[(command, output)] of the blocks that show a terminal."""
    found = []
    for block in re.findall(r"^```console\n(.*?)^```", text, re.DOTALL | re.MULTILINE):
        for part in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
            command, _, output = part.partition("\n")
            found.append((command, output))
    return found


class Terminal(ZelTest):
    def output_of(self, command):
        """Both streams, as on a terminal, but for the date of a file that was made just now."""
        env = dict(self.env, PATH="%s:%s" % (BIN, self.env["PATH"]))
        done = subprocess.run(["sh", "-c", command], cwd=self.dir, env=env, stdin=subprocess.DEVNULL,
                              timeout=120, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return re.sub(r"(?m)^  Written .*?, version", "  Written      12:00:00  Monday Nov 23 2026, version",
                      done.stdout.decode())


@needs_scenes
@unittest.skipUnless((BIN / "examples" / "sample_scene_features").exists(), "no examples")
class Pages(Terminal):
    def setUp(self):
        super().setUp()
        for scene in SCENES.glob("*.zel"):
            (self.dir / scene.name).symlink_to(scene)
        (self.dir / "gulf.par").symlink_to(ROOT / "examples" / "gulf.par")
        recipe, = re.findall(r"^```toml\n(.*?)^```", (PAGES / "run.md").read_text(encoding="utf-8"),
                             re.DOTALL | re.MULTILINE)
        (self.dir / "green.toml").write_text(recipe, encoding="utf-8")
        make_container(self.dir, ["landsat8_gulf_30m.zel", "landsat8_gulf_90m.zel",
                                  "landsat8_gulf_15m.zel"], "container.zel")

    def test_commands_print_what_the_pages_say(self):
        subprocess.run([str(BIN / "examples" / "sample_scene_features"),
                        str(ROOT / "examples" / "gulf.par")], cwd=self.dir, check=True,
                       stdout=subprocess.DEVNULL, timeout=120)
        for page in sorted(PAGES.glob("*.md")):
            blocks = console_blocks(page.read_text(encoding="utf-8"))
            self.assertTrue(blocks, page.name)
            for command, output in blocks:
                self.assertEqual(self.output_of(command), output, "%s: %s" % (page.name, command))


@unittest.skipUnless((BIN / "examples" / "make_sample_scene").exists(), "no examples")
class FirstPage(Terminal):
    def test_commands_print_what_the_readme_says(self):
        subprocess.run([str(BIN / "examples" / "make_sample_scene"), "."], cwd=self.dir, check=True,
                       stdout=subprocess.DEVNULL, timeout=120)
        blocks = console_blocks((ROOT / "README.md").read_text(encoding="utf-8"))
        self.assertEqual([command.split()[1] for command, _ in blocks], ["info", "combine", "calc", "look"])
        for command, output in blocks:
            self.assertEqual(self.output_of(command), output, command)

    def test_a_class_of_the_sample_scene_has_its_name(self):
        subprocess.run([str(BIN / "examples" / "make_sample_scene"), "."], cwd=self.dir, check=True,
                       stdout=subprocess.DEVNULL, timeout=120)
        channel = self.json("pixel", "sample_1000m.zel", "5", "5", "-c", "surface", "--json")["channels"][0]
        self.assertEqual((channel["stored"], channel["class"]), (0, "water"))


class Set(ZelTest):
    def test_there_is_a_page_for_every_verb_and_the_overview_links_it(self):
        self.assertEqual(sorted(p.stem for p in PAGES.glob("*.md") if p.stem != "README"), sorted(VERBS))
        overview = (PAGES / "README.md").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r"^\| \[(\w+)\]\(\1\.md\)", overview, re.MULTILINE), VERBS)


if __name__ == "__main__":
    main()
