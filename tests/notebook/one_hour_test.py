#!/usr/bin/env python3
"""The notebook of "One hour with ZEL" runs, makes a good map, and is what the page shows."""
import io
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from notebook import (BIN, NOTEBOOK, PAGE, PICTURES, REAL_SCENE, ROOT, complaints, execute, kept, missing, page,
                      pictures, read, real_scene, sample_scene)

sys.path.insert(0, str(ROOT / "tests" / "support"))
from zelfile import parse  # noqa: E402

# Those of Debian 12. Others may draw and round otherwise, and grow other trees.
VERSIONS = {"sklearn": "1.2.", "pandas": "1.5.", "matplotlib": "3.6.", "numpy": "1.24."}
WATER, LAND, CLOUD = 1, 2, 3

# What is not printed by the notebook itself, as JSON.
QUESTION = """
import json
print(json.dumps({"train": sorted({int(b) for b in block[train]}), "test": sorted({int(b) for b in block[test]}),
                  "samples": len(samples), "used": len(train) + len(test), "classes": classes,
                  "truth": truth[test].tolist(), "forest": forest.predict(table[test]).tolist()}))
"""


def same_versions():
    return all(__import__(name).__version__.startswith(start) for name, start in VERSIONS.items())


class Run:
    """The notebook after a run in a directory of its own."""

    def __init__(self, prepare):
        import nbformat
        self.directory = tempfile.TemporaryDirectory(prefix="zel_one_hour_")
        self.path = Path(self.directory.name)
        self.notebook = read()
        self.notebook["cells"].append(nbformat.v4.new_code_cell(QUESTION))
        execute(self.notebook, self.path, prepare(self.path))
        self.facts = json.loads(self.notebook["cells"].pop()["outputs"][0]["text"])

    def scene(self, name):
        return parse((self.path / name).read_bytes())

    def vorn(self):
        data = (self.path / "cover.vorn").read_bytes()
        _, pixels, lines, channels = struct.unpack("<4i", data[:16])
        assert channels == 1
        return [list(map(int, struct.unpack_from("<%df" % pixels, data, 16 + 4 * pixels * n))) for n in range(lines)]


def flat(rows):
    return [number for row in rows for number in row]


def agreement(one, other):
    return sum(a == b for a, b in zip(one, other)) / len(one)


def class_lines(parameters):
    """The classes of a parameter file: (number, name, (red, green, blue))."""
    text = (ROOT / "examples" / parameters).read_text()
    found = re.findall(r'^class (\d+): "([^"]*)": (\d+) (\d+) (\d+)$', text, re.MULTILINE)
    return [(int(n), name, (int(r), int(g), int(b))) for n, name, r, g, b in found]


class OneHour:
    """What holds for every scene."""
    prepare = parameters = scene = None

    @classmethod
    def setUpClass(cls):
        cls.run_ = Run(cls.prepare)
        cls.addClassCleanup(cls.run_.directory.cleanup)

    def test_no_cell_complains(self):
        self.assertEqual(complaints(self.run_.notebook), "")

    def test_features_and_map_are_those_that_were_written(self):
        results = [o["data"]["text/plain"] for cell in self.run_.notebook["cells"] for o in cell.get("outputs", [])
                   if o["output_type"] == "execute_result"]
        self.assertEqual([r for r in results if r in ("True", "False")], ["True", "True"])

    def test_no_block_has_samples_of_both_kinds(self):
        facts = self.run_.facts
        self.assertEqual(set(facts["train"]) & set(facts["test"]), set())
        self.assertEqual(facts["used"], facts["samples"])
        self.assertGreater(min(len(facts["train"]), len(facts["test"])), 10)

    def test_the_forest_knows_more_than_the_most_frequent_class(self):
        truth, forest = self.run_.facts["truth"], self.run_.facts["forest"]
        constant = max(truth.count(c) for c in set(truth)) / len(truth)
        self.assertEqual(set(truth), {number for number, _, _ in class_lines(self.parameters)})
        self.assertGreater(agreement(truth, forest), (1 + constant) / 2)
        self.assertIn("overall accuracy: %.3f\n" % agreement(truth, forest), kept(self.run_.notebook, "accuracy"))

    def test_the_file_has_the_scene_and_the_map(self):
        before, after = self.run_.scene(self.scene), self.run_.scene("with_cover.zel")
        *copied, (_, added) = after.present()
        self.assertEqual([slot for slot, _ in copied], [slot for slot, _ in before.present()])
        for (_, one), (_, other) in zip(copied, before.present()):
            self.assertEqual(flat(one.rows), flat(other.rows))
        self.assertEqual(added.label, b"cover")
        self.assertEqual(flat(added.rows), flat(self.run_.vorn()))
        self.assertEqual(flat(self.run_.scene("cover.zel").channels[0].rows), flat(self.run_.vorn()))

    def test_the_classes_have_their_names_and_colours(self):
        wanted = [(0, 0, 0, b"no data")] + [(*rgb, name.encode()) for _, name, rgb in class_lines(self.parameters)]
        for name in "with_cover.zel", "cover.zel":
            lut, = [lut for lut in self.run_.scene(name).luts if lut.label == b"Cover"]
            self.assertEqual([tuple(entry) for entry in lut.entries], wanted)


class SampleScene(OneHour, unittest.TestCase):
    prepare, parameters, scene = staticmethod(sample_scene), "one_hour.par", "one_grid.zel"

    def test_the_map_is_that_of_the_scene(self):
        cover = flat(self.run_.vorn())
        surface = flat(self.run_.scene("one_grid.zel").channels[3].rows)
        self.assertEqual(set(cover), {WATER, LAND, CLOUD})
        self.assertGreater(agreement(cover, [kind + 1 for kind in surface]), 0.99)

    def test_clouds_that_are_none_are_on_the_coast(self):
        cover = self.run_.vorn()
        surface = [[kind + 1 for kind in row] for row in self.run_.scene("one_grid.zel").channels[3].rows]
        wrong = [(y, x) for y, row in enumerate(cover) for x, c in enumerate(row) if c == CLOUD != surface[y][x]]
        self.assertGreater(len(wrong), 3)
        for y, x in wrong:
            around = {c for row in surface[max(y - 1, 0):y + 2] for c in row[max(x - 1, 0):x + 2]}
            self.assertLessEqual({WATER, LAND}, around)

    def test_a_bar_shows_how_far_the_work_is(self):
        said = "".join(o["text"] for cell in self.run_.notebook["cells"] for o in cell.get("outputs", [])
                       if o.get("name") == "stderr")
        self.assertIn("| 3/3 [", said)

    def test_the_page_is_what_the_notebook_shows(self):
        if not same_versions():
            self.skipTest("the page is made with other versions of packages")
        self.maxDiff = None
        self.assertEqual(page(self.run_.notebook), PAGE.read_text(encoding="utf-8"), "./dev notebook writes the page")

    def test_the_pictures_of_the_page_are_those_of_the_notebook(self):
        self.assertEqual(set(pictures(self.run_.notebook)) | {"ireland_look.png", "ireland_map.png"},
                         {p.name for p in PICTURES.iterdir()})
        if not same_versions():
            self.skipTest("the pictures are made with other versions of packages")
        for name, data in pictures(self.run_.notebook).items():
            self.assertLess(difference(data, (PICTURES / name).read_bytes()), 0.01, name)

    @unittest.skipUnless(os.environ.get("GDAL_DRIVER_PATH") and shutil.which("gdalwarp"), "no plugin of GDAL")
    def test_gdal_makes_the_map_of_the_last_section(self):
        command, = re.findall(r"^gdalwarp .*$", PAGE.read_text(encoding="utf-8"), re.MULTILINE)
        subprocess.run(command.split(), cwd=self.run_.path, check=True, capture_output=True, timeout=60)
        told = json.loads(subprocess.run(["gdalinfo", "-json", "cover.tif"], cwd=self.run_.path, check=True,
                                         capture_output=True, timeout=60).stdout)
        band, = told["bands"]
        self.assertEqual(band["colorTable"]["entries"][1:4],
                         [[*rgb, 255] for _, _, rgb in class_lines("one_hour.par")])
        self.assertEqual(band["noDataValue"], 0)
        self.assertIn('ID["EPSG",4326]', told["coordinateSystem"]["wkt"])


@unittest.skipUnless(REAL_SCENE.exists(), "no scene (ZEL_TEST_DATA)")
class RealScene(OneHour, unittest.TestCase):
    prepare, parameters, scene = staticmethod(real_scene), "ireland.par", REAL_SCENE.name

    def test_pixels_without_data_have_no_class(self):
        raw = self.run_.scene(REAL_SCENE.name)
        outside = [b == 0 for b in flat(raw.channels[1].rows)]
        cover = flat(self.run_.vorn())
        self.assertGreater(sum(outside), 7000)
        self.assertTrue(all(c == 0 for c, out in zip(cover, outside) if out))
        self.assertLess(sum(c == 0 for c, out in zip(cover, outside) if not out), 200)

    def test_the_page_has_its_numbers_and_pictures(self):
        if not same_versions():
            self.skipTest("the page is made with other versions of packages")
        text = PAGE.read_text(encoding="utf-8")
        self.assertIn("```text\n%s```" % kept(self.run_.notebook, "accuracy"), text)
        counted = "".join(o.get("text", "") for c in self.run_.notebook["cells"] for o in c.get("outputs", []))
        samples, = re.findall(r"of bare ground there are (\d+) samples", text)
        self.assertRegex(counted, r" 3 +%s +235 200 90 +bare ground\n" % samples)
        for name in "look.png", "map.png":
            found = pictures(self.run_.notebook)[name]
            self.assertLess(difference(found, (PICTURES / ("ireland_" + name)).read_bytes()), 0.01, name)


def difference(one, other):
    """The share of pixels that differ between two pictures; all, where their sizes do."""
    from matplotlib.image import imread
    first, second = imread(io.BytesIO(one)), imread(io.BytesIO(other))
    return (abs(first - second) > 0.02).any(axis=-1).mean() if first.shape == second.shape else 1.0


class Source(unittest.TestCase):
    def test_the_notebook_is_kept_without_results(self):
        for cell in read()["cells"]:
            self.assertEqual((cell.get("outputs", []), cell.get("execution_count")), ([], None))

    def test_the_notebook_is_written_line_by_line(self):
        stored = json.loads(NOTEBOOK.read_text(encoding="utf-8"))
        self.assertEqual(json.dumps(stored, indent=1, sort_keys=True, ensure_ascii=False) + "\n",
                         NOTEBOOK.read_text(encoding="utf-8"))
        self.assertTrue(all(isinstance(cell["source"], list) for cell in stored["cells"]))

    def test_a_cell_that_fails_fails_the_test(self):
        import nbformat
        from nbclient.exceptions import CellExecutionError
        for source in ("raise ValueError('broken')", "%%sh\nzel info no_such_file.zel"):
            broken = nbformat.v4.new_notebook(cells=[nbformat.v4.new_code_cell(source)])
            with tempfile.TemporaryDirectory() as directory, self.assertRaises(CellExecutionError):
                execute(broken, directory, {})

    def test_what_a_cell_says_on_standard_error_is_found(self):
        outputs = [{"output_type": "stream", "name": "stderr", "text": t} for t in
                   ("\r 10%|#", "\r100%|##########| 3/3\n", "DeprecationWarning: old\n")]
        self.assertEqual(complaints({"cells": [{"outputs": outputs}]}), "DeprecationWarning: old\n")


if __name__ == "__main__":
    if missing():
        print("skipped: there is no " + ", ".join(missing()))
        sys.exit(77)
    assert BIN.exists()
    unittest.main()
