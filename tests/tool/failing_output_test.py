"""Outputs that cannot be written: the run ends with status 255 and says which file and why, and what was
not to be replaced is as it was."""
import errno
import os
import resource
import subprocess
import tempfile

from harness import CREATING, FAILED, TOOL, ToolTest, cases, main
from sample import sample
from vornfile import plane, raster
from zelfile import container

WRITING = "ZELCreateCompositeFile: write error on file %s: %s\n"
COPYING = "ZELCreateCompositeFile: Error:  write error copying files\n"
SEEKING = "ZELCreateCompositeFile: Error:  seek error\n"

# The ways to write, with what they read.
MODES = {"a container": "-i a -i b", "one grid": "-same_res -i a",
         "one grid of two": "-same_res -i a -i b", "a raster": "-same_res -i a -vorn v"}
ROWS = {name: (words,) for name, words in MODES.items()}


class Output(ToolTest):
    wrapper = []  # words before the tool's

    def setUp(self):
        super().setUp()
        self.put("a", sample(1000.0, 8, 6, (1, 4)))
        self.put("b", sample(500.0, 16, 12, (2,), seed=1))
        self.put("v", raster([plane(8, 6)]))
        self.inputs = {n: self.state(n) for n in "abv"}

    def state(self, name):
        """Bytes and identity of a file."""
        status = os.stat(self.dir / name)
        return self.got(name), status.st_ino, status.st_mtime_ns, status.st_mode

    def run_raw(self, words, limit=None, **how):
        """(status, standard output, standard error); limit: the most bytes that a file may have."""
        def prepare():
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none, LC_ALL="C")
        how.setdefault("stdin", subprocess.DEVNULL)
        how.setdefault("stdout", subprocess.PIPE)
        done = subprocess.run(self.wrapper + [TOOL] + words.split(), stderr=subprocess.PIPE,
                              cwd=self.dir, env=env, timeout=60, preexec_fn=prepare, **how)
        return done.returncode, (done.stdout or b"").decode("latin-1"), done.stderr.decode("latin-1")

    def check_told(self, run, name, reason):
        status, out, err = run
        self.assertEqual(status, 255, out + err)
        if out.startswith(CREATING):
            self.assertEqual(err, WRITING % (name, os.strerror(reason)))
            self.assertTrue(out.endswith((COPYING, SEEKING)), out)
        else:
            line = [text for text in out.split("\n") if " error on file %s: " % name in text]
            self.assertEqual(len(line), 1, out)
            self.assertTrue(line[0].endswith(": " + os.strerror(reason)), line[0])
            self.assertEqual(err, "")
        self.assertNotIn("lines processed", out)
        self.check_inputs()

    def check_inputs(self):
        for name, state in self.inputs.items():
            self.assertEqual(self.state(name)[1:], state[1:], name)
            self.same_bytes(self.got(name), state[0], name)


@cases(ROWS, lambda self, words: self.full(words))
class FullDisk(Output):
    def full(self, words):
        """Every file that could be full at every place that counts."""
        os.symlink("/dev/full", self.dir / "full")
        for name in ("full", "/dev/full"):
            self.check_told(self.run_raw(words + " -overwrite -o " + name), name, errno.ENOSPC)
        self.assertTrue(os.path.islink(self.dir / "full"))


@cases(ROWS, lambda self, words: self.limited(words))
class Quota(Output):
    def limited(self, words):
        """Limits inside of the prefix, header, channels and lines, and one byte before the end."""
        status, out, err = self.run_raw(words + " -o whole")
        self.assertEqual(status, 0, out + err)
        whole = self.got("whole")
        sizes = [0, 1, 12, 1220, 1221, 20000, len(whole) // 2, len(whole) - 20, len(whole) - 1]
        for size in sizes:
            run = self.run_raw(words + " -overwrite -o out", limit=size)
            self.check_told(run, "out", errno.EFBIG)
            self.assertLessEqual(len(self.got("out")), size)
        status, out, err = self.run_raw(words + " -overwrite -o out", limit=len(whole))
        self.assertEqual(status, 0, out + err)
        self.same_masked(self.got("out"), whole)

    def same_masked(self, data, want):
        self.same_bytes(data, want, "out")


class FullFileSystem(Output):
    def setUp(self):
        super().setUp()
        self.mounted = tempfile.mkdtemp(prefix="zel_full_", dir=self.dir)
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=24k", "tmpfs", self.mounted],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if done.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", self.mounted])

    def test_every_mode(self):
        for words in MODES.values():
            path = os.path.join(self.mounted, "out")
            self.check_told(self.run_raw(words + " -overwrite -o " + path), path, errno.ENOSPC)


class WithoutRoom(Output):
    """Outputs that cannot be created: nothing is written anywhere."""

    def refused(self, name):
        before = sorted(os.listdir(self.dir))
        for words in MODES.values():
            status, out, err = self.run_raw(words + " -overwrite -o " + name)
            if out.startswith(CREATING):
                self.assertEqual(status, 0)
                self.assertTrue(out.endswith(
                    "ZELCreateCompositeFile: cannot create file %s\n" % name + FAILED), out)
            else:
                self.assertEqual(status, 255)
                self.assertTrue(out.endswith("ZELOpenWriteOnlyFile: cannot open file %s\n" % name
                                             + "Cannot create ZEL output file %s\n" % name), out)
            self.assertEqual(err, "")
            self.assertEqual(sorted(os.listdir(self.dir)), before)
            self.check_inputs()

    def test_below_a_file(self):
        self.refused("a/out")

    def test_below_nothing(self):
        self.refused("none/out")

    def test_a_directory(self):
        (self.dir / "d").mkdir()
        self.refused("d")

    def test_below_a_link_to_itself(self):
        os.symlink("loop", self.dir / "loop")
        self.refused("loop")

    def test_a_name_that_is_too_long(self):
        self.refused("x" * 300)

    def test_where_nobody_may_write(self):
        self.refused("/proc/zel_out")

    def test_a_file_system_that_is_only_read(self):
        mounted = tempfile.mkdtemp(prefix="zel_read_", dir=self.dir)
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", mounted],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if done.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", mounted])
        self.refused(mounted + "/out")

    def test_a_directory_without_the_right_to_write(self):
        (self.dir / "d").mkdir(mode=0o500)
        if os.access(self.dir / "d", os.W_OK):
            self.wrapper = ["setpriv", "--bounding-set", "-dac_override"]  # root without its privilege
        self.refused("d/out")

    def test_a_pipe_has_no_places_to_patch(self):
        os.mkfifo(self.dir / "p")
        held = os.open(self.dir / "p", os.O_RDWR)
        self.addCleanup(os.close, held)
        os.set_blocking(held, False)
        for words in MODES.values():
            self.check_told(self.run_raw(words + " -overwrite -o p"), "p", errno.ESPIPE)
            with self.assertRaises(BlockingIOError):     # nothing was written
                os.read(held, 1)


class OutputIsAnInput(Output):
    def spared(self, words, inputs):
        for name in inputs:
            os.symlink(name, self.dir / ("soft_" + name))
            os.symlink("./soft_" + name, self.dir / ("softer_" + name))
            os.link(self.dir / name, self.dir / ("hard_" + name))
            self.inputs = {n: self.state(n) for n in self.inputs}
            for spelling in (name, "./" + name, "no_data/../" + name, str(self.dir / name),
                             "soft_" + name, "softer_" + name, "hard_" + name):
                for flag in (" -overwrite", ""):
                    status, out, err = self.run_raw(words + flag + " -o " + spelling)
                    message = "Error: output file %s is one of the input files\n" % spelling
                    self.assertIn(message, out + err)
                    self.assertNotIn("exists!", out)
                    self.assertEqual(status, 0 if out.startswith(CREATING) else 255)
                    self.check_inputs()

    def test_a_container(self):
        self.spared("-i a -i b", "ab")

    def test_a_container_of_a_container(self):
        self.put("c", container([(self.got("a"), 1000.0), (self.got("b"), 500.0)]))
        self.inputs["c"] = self.state("c")
        self.spared("-i a -i c", "ac")

    def test_one_grid(self):
        self.spared("-same_res -i a", "a")

    def test_one_grid_of_two(self):
        self.spared("-same_res -i a -i b", "ab")

    def test_a_raster(self):
        self.spared("-same_res -i a -vorn v", "av")

    def test_what_comes_with_a_raster(self):
        self.put("t", b"x\nLabel one\n" + b"x\n" * 5)
        self.put("l", b"T\n0 1\n1\n1 1 1 0 : a\n")
        self.inputs.update({n: self.state(n) for n in "tl"})
        self.spared("-same_res -i a -vorn v -vorn_hdr t -vorn_lut l", "tl")

    def test_what_names_the_classes_of_a_raster(self):
        self.put("f", b"a feature header")
        self.inputs["f"] = self.state("f")
        self.spared("-same_res -i a -vorn v -vorn_lut_cc -feat_hdr f", "f")


class NotToBeReplaced(Output):
    def test_an_answer_that_is_no_yes(self):
        self.put("out", b"old")
        before = self.state("out")
        for words in MODES.values():
            for answer in (b"", b"n\n", b"Y\n", b"\n", b" y\n", b"\0y\n"):
                with tempfile.TemporaryFile() as given:
                    given.write(answer)
                    given.seek(0)
                    status, out, _ = self.run_raw(words + " -o out", stdin=given)
                self.assertEqual((status, self.state("out")), (0, before), (words, answer))
                self.assertTrue(out.endswith("? (y/n) "), out)

    def test_without_a_standard_input(self):
        self.put("out", b"old")
        before = self.state("out")
        for words in MODES.values():
            unreadable = os.open(self.dir, os.O_RDONLY)
            status, _, _ = self.run_raw(words + " -o out", stdin=unreadable)
            os.close(unreadable)
            self.assertEqual((status, self.state("out")), (0, before), words)

    def test_when_no_more_files_may_be_open(self):
        """However few files the process may have: the output is replaced in no run."""
        self.put("out", b"old")
        before = self.state("out")
        for words in MODES.values():
            for files in range(3, 12):
                command = "ulimit -n %d; exec %s %s -o out" % (files, TOOL, words)
                subprocess.run(["sh", "-c", command], cwd=self.dir, input=b"n\n",
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
                self.assertEqual(self.state("out"), before, (words, files))
                self.check_inputs()


class StandardOutput(Output):
    """Messages that nobody can read: the output is whole all the same."""

    def whole(self, words, stdout, reason):
        status, out, err = self.run_raw(words + " -overwrite -o want")
        self.assertEqual(status, 0, out + err)
        status, _, err = self.run_raw(words + " -overwrite -o out", stdout=stdout)
        self.assertEqual(status, 0)
        self.assertEqual(err, "zel_combine: warning: messages were lost on standard output: %s\n"
                         % os.strerror(reason))
        self.same_bytes(self.got("out"), self.got("want"), "out")

    def test_a_closed_pipe(self):
        for words in MODES.values():
            reading, writing = os.pipe()
            os.close(reading)
            try:
                self.whole(words, writing, errno.EPIPE)
            finally:
                os.close(writing)

    def test_a_pipe_that_is_closed_on_the_way(self):
        """More messages than a stream holds back: a signal would end the run in the middle."""
        self.put("a", sample(1000.0, 8, 20000, (3,)))
        reading, writing = os.pipe()
        os.close(reading)
        try:
            self.whole("-same_res -i a", writing, errno.EPIPE)
        finally:
            os.close(writing)

    def test_a_full_disk(self):
        for words in MODES.values():
            with open("/dev/full", "wb") as full:
                self.whole(words, full, errno.ENOSPC)


class Vanishing(Output):
    """An output that is unlinked while it is written: what was written is gone at the end, and the run
    says so. A new file of that name is left alone."""

    def test_the_run_says_so_and_the_name_is_free(self):
        self.put("a", sample(1000.0, 8, 30000, (3,)))
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none)
        run = subprocess.Popen([TOOL] + "-same_res -overwrite -o out -i a".split(), cwd=self.dir,
                               env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        head = run.stdout.read(3000)         # the header report: the output has been created
        self.assertIn(b"ZEL data header", head)
        os.unlink(self.dir / "out")
        self.put("out", b"another")
        before = self.state("out")
        rest, err = run.communicate(timeout=60)
        self.assertEqual((run.returncode, err), (255, b""))
        self.assertTrue(rest.endswith(
            b"ZELFinishWritingFile: write error on file out: No such file or directory\n"), rest)
        self.assertNotIn(b"lines processed", rest)
        self.assertEqual(self.state("out"), before)


if __name__ == "__main__":
    main()
