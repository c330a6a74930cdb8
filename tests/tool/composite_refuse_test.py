"""What the composite path refuses, leaving every file unchanged."""
import os
import resource
import struct

from composite_case import NO_COMPONENT, Create
from harness import CREATING, FAILED, grids_missing, main
from sample import sample
from zelfile import container

NO_FILE = "ZELReadCompositeInfo: cannot open file %s\n"


class TooMuch(Create):
    def test_100_components_fit_and_101_do_not(self):
        a = (self.put("a", sample(slots=1, height=1, pixels=2)), 1000.0)
        twenty = container([a] * 20)
        self.put("t", twenty)
        self.same_bytes(self.make("-i t " * 5, NO_COMPONENT % -1), container([a] * 100), "out")
        os.remove(self.dir / "out")
        status, out = self.run_tool(*("-i t " * 5 + "-i a -o out").split())
        self.assertEqual(status, 0)
        lines = out.removeprefix(CREATING + NO_COMPONENT % -1).replace(grids_missing(), "").splitlines()
        self.assertEqual(lines[-1] + "\n", FAILED)
        self.assertEqual(len(lines), 2, out)
        self.absent("out")

    def test_too_many_components_leave_an_old_output_untouched(self):
        a = (sample(slots=1, height=1, pixels=2).bytes(), 1000.0)
        self.put("t", container([a] * 20))
        self.put("out", b"old")
        status, out = self.run_tool(*("-overwrite " + "-i t " * 6 + "-o out").split())
        self.assertEqual((status, out.endswith(FAILED)), (0, True))
        self.assertEqual(self.got("out"), b"old")

    def test_too_many_components_are_refused_however_many_they_are(self):
        """2000 of them, more than a process may open: they are counted before any is opened."""
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (256, limits[1]))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, limits)
        a = (sample(slots=1, height=1, pixels=2).bytes(), 1000.0)
        self.put("h", container([a] * 100))
        status, out = self.run_tool(*("-i h " * 20 + "-o out").split())
        self.assertEqual((status, out.endswith(FAILED)), (0, True), out[-200:])
        self.absent("out")

    def test_a_container_beyond_2147483647_bytes(self):
        """Two files with holes; nothing of them is copied."""
        for name in "ab":
            self.put(name, sample())
            os.truncate(self.dir / name, 0x40000000)
        self.put("out", b"old")
        status, out = self.run_tool(*"-overwrite -i a -i b -o out".split())
        rest = out.removeprefix(CREATING).replace(grids_missing(), "")
        self.assertEqual((status, len(rest.splitlines())), (0, 2), out)
        self.assertTrue(rest.endswith("\n" + FAILED), out)
        self.assertEqual(self.got("out"), b"old")


class Refused(Create):
    def refused_untouched(self, words, inputs):
        """An output that is an input: a message of one line, and no file changes."""
        before = {n: self.got(n) for n in inputs}
        status, out = self.run_tool(*(words + " -overwrite").split())
        self.assertEqual(status, 0)
        rest = out.removeprefix(CREATING).replace(grids_missing(), "")
        self.assertEqual(len(rest.splitlines()), 2, out)
        self.assertTrue(rest.endswith("\n" + FAILED), out)
        for name, data in before.items():
            self.same_bytes(self.got(name), data, name)

    def test_output_that_is_an_input(self):
        self.scenes(1000.0, 500.0)
        self.refused_untouched("-i a -i b -o a", "ab")
        self.refused_untouched("-i a -i b -o b", "ab")

    def test_output_that_is_an_input_by_another_spelling(self):
        self.scenes(1000.0, 500.0)
        self.refused_untouched("-i a -i b -o ./no_data/../a", "ab")

    def test_output_that_is_an_input_through_a_symbolic_link(self):
        self.scenes(1000.0, 500.0)
        os.symlink("a", self.dir / "link")
        self.refused_untouched("-i a -i b -o link", "ab")
        self.refused_untouched("-i link -i b -o a", "ab")

    def test_output_that_is_an_input_through_a_hard_link(self):
        self.scenes(1000.0, 500.0)
        os.link(self.dir / "b", self.dir / "link")
        self.refused_untouched("-i a -i b -o link", "ab")

    def test_output_that_cannot_be_created(self):
        self.scenes(1000.0, 500.0)
        self.check("-i a -i b -o no/out", CREATING + grids_missing()
                   + "ZELCreateCompositeFile: cannot create file no/out\n" + FAILED)

    def test_an_unreadable_second_input_is_met_at_the_prefix_and_at_the_open(self):
        self.scenes(1000.0)
        self.check("-i a -i none -o out",
                   CREATING + NO_FILE % "none" + grids_missing() + NO_FILE % "none" + FAILED)
        self.absent("out")

    def test_an_unreadable_first_input(self):
        self.scenes(1000.0)
        self.check("-i none -i a -o out", CREATING + NO_FILE % "none" + NO_FILE % "none" + FAILED)
        self.absent("out")

    def test_an_input_of_an_unsupported_version(self):
        self.scenes(1000.0)
        self.put("bad", struct.pack("<f", 7.0) + bytes(5000))
        self.check("-i a -i bad -o out", CREATING + grids_missing()
                   + "OpenReadOnlyFile: Trying another byte ordering...\n"
                   + "OpenReadOnlyFile: unsupported data type\n" + FAILED)
        self.absent("out")

    def test_an_input_that_needs_a_newer_library_ends_the_run(self):
        self.scenes(1000.0)
        self.put("new", sample(version_text=b"3.0"))
        self.check("-i a -i new -o out", CREATING + grids_missing()
                   + "ZELOpen: Error: ZEL Library version 3.0 or higher needed to open file\n", 255)
        self.absent("out")

    def test_an_inner_component_outside_its_file(self):
        parts = self.scenes(1000.0, 500.0)
        self.put("bad", container(parts)[:-1000 - len(parts[1][0])])
        status, out = self.run_tool(*"-i a -i bad -o out".split())
        self.assertRegex(out, "OpenReadOnlyFile: corrupt file bad: .+\n")
        self.assertIn(status, (0, 255))
        self.absent("out")


if __name__ == "__main__":
    main()
