#!/usr/bin/env python3
"""The table of limits: every place that it names is a file or folder, and every message stands
in one of them."""
import re
import unittest

from pages import ROOT, read

PAGE = read("docs/limits.md")
LIBRARY = ROOT / "libsrc" / "zel"
TOOL = ROOT / "src" / "zel_combine"
PLACEHOLDER = re.compile(r"\bN\b|\bFILE\b|\.\.\.")


def rows():
    """(message cell, where cell) of each row but heads."""
    for line in PAGE.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) == 4 and cells[2] and cells[2] not in ("where", "---"):
            yield cells[1], cells[2]


def files_of(where):
    top = TOOL if where.endswith("in `src/zel_combine`") and where.count("`") == 4 else LIBRARY
    for name in re.findall(r"`([\w./]+)`", where):
        for base in (top, LIBRARY, TOOL, ROOT):
            if (base / name).exists():
                yield base / name
                break
        else:
            raise AssertionError("no " + name)


def literals(paths):
    """The sources, with literals that follow each other put together."""
    files = [f for p in paths for f in (p.rglob("*.[ch]pp") if p.is_dir() else [p])]
    return re.sub(r'"\s*"', "", "".join(f.read_text() for f in files))


class Limits(unittest.TestCase):
    def test_there_are_rows_for_every_area(self):
        self.assertGreater(len(list(rows())), 60)
        for area in ("Opening a scene", "Views and containers", "zel_combine", "Parameter files"):
            self.assertIn("| **%s** | | | |" % area, PAGE)

    def test_every_message_is_in_a_file_that_the_row_names(self):
        elsewhere = []
        for messages, where in rows():
            text = literals(set(files_of(where)))
            for message in re.findall(r"`([^`]+)`", messages):
                parts = [re.sub(r"^ZEL\w+:", "", p).strip() for p in PLACEHOLDER.split(message)]
                if not all(part in text for part in parts):
                    elsewhere.append("%s: %s" % (where, message))
        self.assertEqual(elsewhere, [])


if __name__ == "__main__":
    unittest.main()
