#!/usr/bin/env python3
"""What the pages name: options, functions, files and other pages are looked up."""
import re
import shutil
import unittest

from pages import PAGES, ROOT, TOOL, commands, read, run


def anchors(page):
    """The names of a page's headings in links."""
    titles = re.findall(r"^#+ (.*)$", page.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles}


class Options(unittest.TestCase):
    def setUp(self):
        usage = run(TOOL, status=255)
        self.known = set(re.findall(r"(?<![\w-])-[a-z][a-z_]*", usage))
        self.assertIn("-same_res", self.known)

    def test_the_manual_page_has_an_entry_for_every_option(self):
        page = read("docs/man/zel_combine.1")
        entries = re.findall(r"^\.TP\n\.BI? \\-(\w+)", page, re.MULTILINE)
        self.assertEqual(sorted("-" + e for e in entries), sorted(self.known))

    def test_the_manual_page_names_no_other(self):
        page = read("docs/man/zel_combine.1")
        named = {"-" + n for n in re.findall(r"(?<!\w)\\-([a-z]\w*)", page)}
        self.assertLessEqual(named, self.known)

    def test_the_tables_have_a_row_for_every_option(self):
        tables = read("docs/combine.md") + read("docs/class-maps.md")
        rows = re.findall(r"^\| `(-\w+)`(?: \w+)? \|", tables, re.MULTILINE)
        self.assertEqual(sorted(rows), sorted(self.known))

    def test_no_page_names_another(self):
        for page in PAGES:
            text = read(page)
            named = set(re.findall(r"`(-[a-z]\w+)`", text)) - {"-fexceptions"}
            if page not in ("docs/gdal.md", "docs/zel_to_vrt.md"):  # where those of GDAL are
                self.assertLessEqual(named, self.known, page)
            for words in commands(text):
                self.assertLessEqual({w for w in words if w.startswith("-")}, self.known, page)


class Length(unittest.TestCase):
    def test_the_first_page_stays_short(self):
        self.assertLessEqual(read("README.md").count("\n"), 150)


class Names(unittest.TestCase):
    def test_functions_and_constants_are_in_the_headers(self):
        headers = "\n".join(p.read_text(encoding="utf-8") for p in (ROOT / "libsrc").rglob("*.h"))
        declared = set(re.findall(r"\w+", headers))
        # Of the environment, of files, and at the beginning of a message.
        others = {"ZEL_DATA_DIR", "ZEL_NUM_THREADS", "ZEL_COMBINE", "ZEL_MASK", "ZEL_FEATURE_HEADER", "ZELOpen",
                  "ZEL_GDAL", "ZEL_PYTHON", "ZEL_METADATA", "ZEL_SCAN", "ZEL_ANGLES"}
        for document in PAGES + ["CHANGELOG.md", "docs/man/zel.3", "docs/man/zel.5"]:
            named = set(re.findall(r"\bZEL_?[A-Z]\w+", read(document)))
            self.assertEqual(sorted(named - declared - others), [], document)

    def test_grids_and_places_are_those_that_the_library_looks_for(self):
        source = read("libsrc/zel/blocks/ancillary_grids.cpp")
        for name in re.findall(r'"(\w+\.(?:img|map)|[A-Z]+_DATA_DIR|/usr/local/[^"]*/)"', source):
            for document in ("docs/programs.md", "docs/man/zel_combine.1"):
                self.assertIn(name.rstrip("/"), read(document), document)

    def test_links_lead_to_files_and_to_headings(self):
        for document in PAGES + ["CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md"]:
            for link in re.findall(r"\]\(([^)\s]+)\)", read(document)):
                if re.match(r"[a-z]+:", link):
                    continue
                path, _, anchor = link.partition("#")
                target = (ROOT / document).parent / path if path else ROOT / document
                self.assertTrue(target.exists(), "%s: no %s" % (document, link))
                if anchor:
                    self.assertIn(anchor, anchors(target), "%s: no %s" % (document, link))

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_manual_pages_are_well_formed(self):
        for page in sorted((ROOT / "docs" / "man").iterdir()):
            self.assertEqual(run("mandoc", "-Tlint", "-W", "warning", page), "", page.name)


if __name__ == "__main__":
    unittest.main()
