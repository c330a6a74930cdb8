#!/usr/bin/env python3
"""The programs of the first page, of the page on programs and of zel(3): each is built and run,
and what it prints is worked out again from the bytes of the file."""
import re
import shutil
import unittest

from pages import (BUILD, InDirectory, WithSampleScene, build_program, cached, code_blocks,
                   man_examples, man_section, mean_by_place, read, run, zel_to_vrt)

PAGE = read("docs/programs.md")
HISTOGRAM_BYTES = 1034  # of 256 bins


def program(name, page=PAGE):
    text, = [b for b in code_blocks(page, "c") if b.startswith("/* %s.c " % name)]
    return text


class Examples(InDirectory):
    def build_both(self):
        page = man_section(read("docs/man/zel.3"), "EXAMPLE")
        self.example = build_program(self.dir, "example", "".join(man_examples(page)))
        self.mean = build_program(self.dir, "mean", program("mean", read("README.md")))

    def printed_mean(self, path, channel):
        return run(self.mean, path, channel).splitlines()[-1]

    def test_they_work(self):
        self.build_both()
        path = self.dir / "example.zel"
        last = run(self.example, path).splitlines()[-1]
        numbers = [float(n) for n in re.findall(r"-?\d+\.\d+", last)]
        # 280 + 0.25 x (63 - 47) K, line 47, pixel 63, to a step of the stored number and of the
        # text.
        for got, want, error in zip(numbers, (284.0, 43.577, -8.7125), (0.0151, 0.001, 0.001)):
            self.assertAlmostEqual(got, want, delta=error)
        self.assertEqual(len(numbers), 3)

        layout = zel_to_vrt.Layout(str(path))
        self.assertEqual((layout.pixels, layout.lines), (64, 48))
        mean = mean_by_place(path, layout, 0)
        self.assertEqual(self.printed_mean(path, 0), "11 um: mean %f" % mean)
        for channel in (1, -1, 5000):
            run(self.mean, path, channel, status=1)
        run(self.mean, self.dir / "no_such_file", 0, status=1)

    def test_the_size_of_a_header_is_as_stated(self):
        self.build_both()
        run(self.example, self.dir / "example.zel")
        stated = re.search(r"takes ([\d,]+) bytes", read("docs/limits.md")).group(1)
        layout = zel_to_vrt.Layout(str(self.dir / "example.zel"))
        self.assertEqual(layout.header_offset, int(stated.replace(",", "")) + HISTOGRAM_BYTES)


class Means(WithSampleScene):
    def test_the_script_finds_the_pixels_that_the_library_reads(self):
        path = self.one_grid()
        mean = build_program(self.dir, "mean", program("mean", read("README.md")))
        layout = zel_to_vrt.Layout(str(path))
        self.assertEqual((layout.pixels, layout.lines, len(layout.channels)), (160, 120, 4))
        for k, channel in enumerate(layout.channels):
            self.assertEqual(run(mean, path, k).splitlines()[-1],
                             "%s: mean %f" % (channel.label, mean_by_place(path, layout, k)))

    def test_the_program_that_survives_errors(self):
        survey = build_program(self.dir, "survey", program("survey"))
        (self.demo / "short.zel").write_bytes((self.demo / "sample_500m.zel").read_bytes()[:10000])
        said = run(survey, "sample_500m.zel", "short.zel", "missing.zel", "sample_1000m.zel",
                   cwd=self.demo, status=1).splitlines()
        self.assertEqual(said, [
            "sample_500m.zel: 240 lines",
            "short.zel: OpenReadOnlyFile: corrupt file short.zel: "
            "cut short in MetaDataText at offset 3275",
            "missing.zel: ZELReadCompositeInfo: cannot open file missing.zel",
            "sample_1000m.zel: 120 lines"])


class Building(WithSampleScene):
    @unittest.skipUnless(shutil.which("cmake"), "cmake is not on the path")
    @unittest.skipIf(cached("ZEL_SANITIZE") == "ON" or cached("ZEL_COVERAGE") == "ON",
                     "the library needs further flags")
    def test_the_project_of_the_page_builds_against_an_installed_library(self):
        prefix, project = self.dir / "prefix", self.dir / "project"
        run("cmake", "--install", BUILD, "--prefix", prefix)
        project.mkdir()
        (project / "CMakeLists.txt").write_text(code_blocks(PAGE, "cmake")[0])
        (project / "mean.c").write_text(program("mean", read("README.md")))
        said = run("cmake", "-S", project, "-B", self.dir / "b", "-DCMAKE_PREFIX_PATH=%s" % prefix)
        self.assertNotIn("Warning", said)
        run("cmake", "--build", self.dir / "b")
        self.assertIn("\n0.65 um: mean ", run(self.dir / "b" / "mean", self.one_grid(), 0))


if __name__ == "__main__":
    unittest.main()
