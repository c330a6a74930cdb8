#!/usr/bin/env python3
"""The page on the design: its drawing of the floors is the one that the house rules hold, and
every file and function that it names is there."""
import re
import sys
import unittest

from pages import ROOT, read

sys.path.insert(0, str(ROOT / "tests" / "house"))
import house_test  # noqa: E402

PAGE = read("docs/design.md")
LIBRARY = ROOT / "libsrc" / "zel"
WING = LIBRARY / "zel_features"


class Design(unittest.TestCase):
    def test_every_floor_is_drawn_and_no_other(self):
        drawing = PAGE.split("```text\n")[1].split("```")[0]
        drawn = set(re.findall(r"(?<!\S)(\w+)/(?=\s)", drawing)) - {"zel_features"}
        folders = set(house_test.FLOORS) | set(house_test.FEATURE_FLOORS)
        self.assertEqual(drawn, {folder.rsplit("/", 1)[1] for folder in folders})

    def test_the_core_is_drawn_from_the_highest_floor_to_the_ground(self):
        drawing = PAGE.split("```text\n")[1].split("```")[0]
        core = sorted(house_test.FLOORS, key=house_test.FLOORS.get, reverse=True)
        places = [drawing.index("\n %s/" % folder.rsplit("/", 1)[1]) for folder in core]
        self.assertEqual(places, sorted(places))

    def test_the_command_is_listed_from_the_bottom_up(self):
        listed = re.findall(r"`(src/zel/[\w/]+)`", PAGE)
        floors = [house_test.VERB_FLOORS[folder] for folder in listed]
        self.assertEqual(floors, sorted(floors))
        self.assertEqual(set(listed), set(house_test.VERB_FLOORS))

    def test_every_file_that_is_named_is_there(self):
        named = set(re.findall(r"[\w./]+\.[ch]pp\b|\bzel_\w+\.h\b|tests/[\w/]+\.py", PAGE))
        self.assertGreater(len(named), 25)
        for name in named:
            name = name.replace("../../", "")
            places = (LIBRARY, WING, ROOT, ROOT / "src/zel_combine", WING / "evaluate")
            self.assertTrue(any((place / name).exists() for place in places), name)

    def test_every_function_that_is_named_is_in_the_sources(self):
        sources = "\n".join(p.read_text() for p in LIBRARY.rglob("*.[ch]pp"))
        sources += "\n".join(p.read_text() for p in LIBRARY.rglob("*.h"))
        for name in re.findall(r"`([A-Za-z]\w+)`", PAGE) + re.findall(r"\bZEL[A-Z]\w+", PAGE):
            if name not in ("libsrc", "evaluate"):
                self.assertRegex(sources, r"\b%s\b" % name)


if __name__ == "__main__":
    unittest.main()
