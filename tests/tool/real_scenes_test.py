#!/usr/bin/env python3
"""Real scenes, combined both ways and compared with arithmetic on the arrays they were made from.

Runs where ZEL_TEST_DATA names a directory that has them; else exit status 77.
Every line is checked, every channel's values too; nothing is sampled except what a test says.
"""
import json
import sys
import unittest
from array import array
from collections import Counter
from pathlib import Path

from harness import CREATING, TEST_DATA, ToolTest, grids_missing, main, progress, report  # noqa: E402
from model import HistogramModel, average, decode, encode, repeat, sampling, valid  # noqa: E402
from zelfile import container, directory, line_size, parse, read_directory  # noqa: E402

SCENES = TEST_DATA / "scenes"
DATA = TEST_DATA / "data"
UPDATING = "ZEL file version < 2.0  updating...\n"
OTHER_ORDER = "OpenReadOnlyFile: Trying another byte ordering...\n"
GROUPS = {"landsat8_gulf": ("15m", "30m", "90m"), "sentinel2_ireland": ("20m", "60m"),
          "goes16_maria": ("1km", "2km", "4km")}


def scene_json(group):
    return json.loads((DATA / group / "scene.json").read_text())


def data_rows(group, grid):
    """{band name: rows of raw pixels} of one grid, from the plain arrays."""
    out = {}
    for band in scene_json(group)["bands"]:
        if band["resolution"] == grid:
            code, width = {"uint8": "B", "uint16": "H"}[band["dtype"]], band["width"]
            pixels = array(code, (DATA / group / band["file"]).read_bytes())
            out[band["name"]] = [pixels[y * width:(y + 1) * width] for y in range(band["height"])]
    return out


def parsed(name, **how):
    return parse((SCENES / (name + ".zel")).read_bytes(), **how)


@unittest.skipUnless(SCENES.is_dir(), "ZEL_TEST_DATA has no scenes")
class RealScenes(ToolTest):
    def scene(self, name):
        return str(SCENES / (name + ".zel"))

    def names(self, group):
        return ["%s_%s" % (group, g) for g in GROUPS[group]]

    def words(self, group, base):
        """The input words of a group of scenes, the one at index base as base file."""
        return [word for i, n in enumerate(self.names(group))
                for word in ("-ib" if i == base else "-i", self.scene(n))]

    def run_one(self, name):
        """The run that re-writes one scene; returns (file read, file made)."""
        f = parsed(name)
        self.check(["-same_res", "-overwrite", "-i", self.scene(name), "-o", "out"],
                   grids_missing() + report(f) + progress(len(f.lines)))
        return f, parse(self.got("out"))


# The class map of the finer scene is its first channel.
CLASSES = "channel 0, from file .*sentinel2_ireland_20m.zel, holds classes and was averaged$"
CLASSES_OF_PAIR = "channel 0, from file pair, holds classes and was averaged$"


class Scenes(RealScenes):
    def test_the_scene_files_hold_the_arrays(self):
        """Of the scenes themselves, so that a difference further on is the tool's."""
        for group, grids in GROUPS.items():
            for grid in grids:
                f, data = parsed("%s_%s" % (group, grid)), data_rows(group, grid)
                self.assertEqual({c.label.decode() for _, c in f.present()}, set(data))
                for _, c in f.present():
                    self.assertTrue(c.rows == data[c.label.decode()], (group, grid, c.label))

    def test_scales_are_those_of_the_producer(self):
        for group in GROUPS:
            for band in scene_json(group)["bands"]:
                f = parsed("%s_%s" % (group, band["resolution"]))
                c = next(c for _, c in f.present() if c.label.decode() == band["name"])
                if c.type == 2:
                    self.assertAlmostEqual(c.min, band["offset"], 6)
                    self.assertAlmostEqual(c.max / (band["offset"] + 65535 * band["scale"]), 1.0, 6)

    def test_each_scene_re_written_alone_keeps_lines_header_and_texts(self):
        for path in sorted(SCENES.glob("*.zel")):
            name = path.stem
            if "big_endian" in name:
                continue
            with self.subTest(name):
                f, made = self.run_one(name)
                for key in ("year", "julian", "satellite", "data_type", "pixels", "slots", "resolution",
                            "altitude", "comment", "angles", "luts", "tables", "meta_type",
                            "meta_size", "metadata", "nav_points", "nav_start", "nav_interval"):
                    self.assertEqual(getattr(made, key), getattr(f, key), key)
                if f.int_version() == 230:
                    self.same_bytes(self.got("out")[made.header_size:],
                                    path.read_bytes()[f.header_size:], name)
                for (s, a), (t, b) in zip(made.present(), f.present()):
                    self.assertEqual((s, a.label, a.comment, a.max, a.min, a.units),
                                     (t, b.label, b.comment, b.max, b.min, b.units))
                    self.assertTrue(a.rows == b.rows, (name, a.label))

    def test_the_old_twin_holds_pixels_and_navigation_of_its_original(self):
        original = parsed("goes16_maria_4km")
        _, made = self.run_one("goes16_maria_4km_v1.41")
        self.assertEqual(made.version, original.version)
        for (_, a), (_, b) in zip(made.present(), original.present()):
            self.assertTrue(a.label == b.label and a.rows == b.rows, a.label)
        self.assertTrue([(l.lat, l.lon) for l in made.lines] == [(l.lat, l.lon) for l in original.lines])

    def test_the_big_endian_twin_holds_its_originals_pixels_with_their_bytes_as_they_lay(self):
        """Opening the output resets the byte order that all files share, so that lines are not swapped;
        the header, read before that, is."""
        original = parsed("goes16_maria_4km")
        status, out = self.run_tool("-same_res", "-i", self.scene("goes16_maria_4km_v1.32_big_endian"),
                                    "-o", "out", warns=["other byte order"])
        self.assertEqual(status, 0)
        self.assertTrue(out.startswith(OTHER_ORDER + grids_missing() + "ZEL lib version 2.3000\n"))
        made = parse(self.got("out"))
        self.assertEqual((made.year, made.comment, made.pixels), (2017, original.comment, 250))
        for (_, a), (_, b) in zip(made.present(), original.present()):
            for row in a.rows:
                row.byteswap()
            self.assertTrue(a.label == b.label and a.rows == b.rows, a.label)

    def test_histograms_of_scenes_re_written_alone(self):
        """Exactly, by the growing range; the sun is above 85 degrees nowhere in these scenes."""
        for name in ("landsat8_gulf_90m", "goes16_maria_4km", "nlcd_zion_31m"):
            with self.subTest(name):
                _, made = self.run_one(name)
                for _, c in made.present():
                    model = HistogramModel()
                    for row in c.rows:
                        v = decode(c, row[:-1])
                        model.add_line(Counter(x for x in v if valid(c, x, 0.0)))
                    self.assertTrue(c.histogram == model.result(), c.label)


class Composites(RealScenes):
    def combine(self, names, base, lead=""):
        words = []
        for i, n in enumerate(names):
            words += ["-ib" if i == base else "-i", self.scene(n)]
        self.check(["-overwrite"] + words + ["-o", "out"], CREATING + grids_missing() + lead)
        return self.got("out")

    def test_composites_hold_the_inputs_bytes_outside_the_directory(self):
        for group in GROUPS:
            files = [((SCENES / (n + ".zel")).read_bytes(), parsed(n).resolution)
                     for n in self.names(group)]
            for base in range(len(files)):
                data = self.combine(self.names(group), base)
                self.assertEqual(read_directory(data)[0], base)
                self.same_bytes(data, container(files, base), "%s base %d" % (group, base))

    def test_an_old_first_file_gets_a_prefix(self):
        """The twin of version 1.41 with the 4 km scene; their first lines lie in one tenth of an hour."""
        names = ["goes16_maria_4km_v1.41", "goes16_maria_4km"]
        first, second = ((SCENES / (n + ".zel")).read_bytes() for n in names)
        data = self.combine(names, 0, UPDATING)
        sizes = [1221 + len(first), len(second)]
        self.same_bytes(data[1221:], first + second, "components")
        self.assertEqual(data[13:1221], directory(0, [0, sizes[0]], [4000.0] * 2, sizes))

    def test_scenes_that_differ_are_refused(self):
        status, out = self.run_tool("-i", self.scene("landsat8_gulf_90m"),
                                    "-i", self.scene("goes16_maria_4km"), "-o", "out")
        self.assertEqual(status, 0)
        self.assertIn("ZELCreateCompositeFile: DataType mismatch\n", out)
        self.absent("out")


class OneGrid(RealScenes):
    def expected_channels(self, group, base):
        """[(channel, rows stored, rows of values)] of the view, from the plain arrays."""
        files = [parsed(n) for n in self.names(group)]
        grid, out = files[base], []
        for g, f in zip(GROUPS[group], files):
            data = data_rows(group, g)
            flag, factor = sampling(f.resolution, grid.resolution)
            for _, c in f.present():
                rows = data[c.label.decode()]
                if flag == 1:
                    v = [average([decode(c, r) for r in rows[n * factor:(n + 1) * factor]],
                                 factor, grid.pixels) for n in range(len(grid.lines))]
                    out.append((c, [encode(c, x) for x in v], v))
                else:
                    if flag == 2:
                        rows = [repeat(r, factor, grid.pixels) for r in rows for _ in range(factor)]
                    out.append((c, rows, None))
        return grid, out

    def check_group(self, group, base, exact, warns=()):
        grid, channels = self.expected_channels(group, base)
        words = self.words(group, base)
        status, out = self.run_tool("-same_res", "-overwrite", *words, "-o", "out", warns=warns)
        self.assertEqual((status, out.count("\nline ")), (0, len(grid.lines) // 50))
        made = parse(self.got("out"))
        self.assertEqual((made.pixels, len(made.lines), made.comment),
                         (grid.pixels, len(grid.lines), grid.comment))
        self.assertEqual(len(self.got("out")), made.header_size + len(made.lines) * line_size(made))
        self.assertTrue(made.lines == grid.lines, "scan data or navigation")
        self.assertEqual([s for s, _ in made.present()], list(range(len(channels))))
        for (slot, m), (c, rows, values) in zip(made.present(), channels):
            what = "%s base %d slot %d %s" % (group, base, slot, c.label.decode())
            for key in ("label", "type", "max", "min", "units", "wavelength", "comment", "bits"):
                self.assertEqual(getattr(m, key), getattr(c, key), what)
            for n, (got, want) in enumerate(zip(m.rows, rows)):
                self.assertTrue(got == want, "%s line %d" % (what, n))
            self.check_histogram(c, m.histogram, rows, values, exact, what)
        return made

    def check_histogram(self, c, histogram, rows, values, exact, what):
        """The total of every channel; every bin of it too where exact is set. A value is told by its
        raw number unless the channel was averaged."""
        model, total, ok = HistogramModel(), 0, {}
        for n, row in enumerate(rows):
            counted = Counter(values[n][:-1] if values else row[:-1])
            for v in counted.keys() - ok.keys():
                x = v if values else decode(c, [v])[0]
                ok[v] = x if valid(c, x, 0.0) else None
            admitted = {ok[v]: k for v, k in counted.items() if ok[v] is not None}
            total += sum(admitted.values())
            if exact:
                model.add_line(Counter(admitted))
        if exact:
            self.assertTrue(histogram == model.result(), what)
        else:
            self.assertEqual(sum(histogram.counts), total - self.lost(c, rows, values), what)

    @staticmethod
    def lost(c, rows, values):
        """Pixels of the first lines that hold a single valid value: no range, nothing counted."""
        first, lost = None, 0
        for n, row in enumerate(rows):
            line = values[n][:-1] if values else decode(c, row[:-1])
            line = [v for v in line if valid(c, v, 0.0)]
            if line and (min(line) != max(line) or first not in (None, line[0])):
                return lost
            first = line[0] if line else first
            lost += len(line)
        return lost

    def test_landsat_at_15_m(self):
        self.check_group("landsat8_gulf", 0, exact=False)

    def test_landsat_at_30_m(self):
        self.check_group("landsat8_gulf", 1, exact=False)

    def test_landsat_at_90_m(self):
        self.check_group("landsat8_gulf", 2, exact=True)

    def test_sentinel_at_20_m(self):
        made = self.check_group("sentinel2_ireland", 0, exact=False)
        self.assertEqual([(l.key, len(l.entries)) for l in made.luts], [(1, 12), (1, 12)])

    def test_sentinel_at_60_m_with_its_class_map_averaged(self):
        made = self.check_group("sentinel2_ireland", 1, exact=True, warns=[CLASSES])
        fine = data_rows("sentinel2_ireland", "20m")["SCL"]
        for n in (0, 123, 439):
            self.assertEqual(made.channels[0].rows[n].tolist(), [
                sum(fine[3 * n + j][3 * x + i] for j in range(3) for i in range(3)) // 9 for x in range(440)])

    def test_goes_at_each_resolution(self):
        for base in range(3):
            self.check_group("goes16_maria", base, exact=base == 2)

    def test_the_composite_gives_the_same_grid_as_its_parts(self):
        for group, base in (("landsat8_gulf", 2), ("sentinel2_ireland", 1)):
            words = self.words(group, base)
            self.run_tool("-overwrite", *words, "-o", "pair")
            for source, out, name in ((words, "parts", CLASSES), (["-i", "pair"], "whole", CLASSES_OF_PAIR)):
                self.run_tool("-overwrite", "-same_res", *source, "-o", out,
                              warns=[name] if group == "sentinel2_ireland" else ())
            self.same_bytes(self.got("whole"), self.got("parts"), group)


if __name__ == "__main__":
    main()
