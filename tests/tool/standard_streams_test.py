"""Runs that begin with some of their standard streams closed: no file that the tool opens takes the place of
one, so that no input answers a question and no message lands in an output."""
import errno
import itertools
import os
import subprocess

from harness import TOOL, ToolTest, cases, main
from sample import sample
from vornfile import plane, raster

MODES = {"a container": "-i a -i b", "one grid": "-same_res -i a",
         "one grid of two": "-same_res -i a -i b", "a raster": "-same_res -i a -vorn v"}
CLOSED = [c for n in (1, 2, 3) for c in itertools.combinations(range(3), n)]
LOST = "zel_combine: warning: messages were lost on standard output: %s\n" % os.strerror(errno.EBADF)
USAGE = 255


@cases({"%s without %s" % (mode, " ".join(map(str, closed))): (words, closed)
        for mode, words in MODES.items() for closed in CLOSED},
       lambda self, words, closed: self.closed(words, closed))
class Closed(ToolTest):
    def setUp(self):
        super().setUp()
        self.put("a", sample(1000.0, 8, 6, (1, 4)))
        self.put("b", sample(500.0, 16, 12, (2,), seed=1))
        self.put("v", raster([plane(8, 6)]))

    def run_closed(self, words, closed, answer=b"n\n"):
        """(status, standard output, standard error) of a run without these streams."""
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none, LC_ALL="C")
        shut = " ".join("%d>&-" % n for n in closed)
        done = subprocess.run(["sh", "-c", 'exec "$0" "$@" ' + shut, TOOL, *words.split()], input=answer,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.dir, env=env,
                              timeout=60)
        return done.returncode, done.stdout.decode("latin-1"), done.stderr.decode("latin-1")

    def closed(self, words, closed):
        status, said, err = self.run_closed(words + " -overwrite -o want", ())
        self.assertEqual((status, err), (0, ""))
        reported = "" if 2 in closed or 1 not in closed else LOST

        got = self.run_closed(words + " -overwrite -o out", closed)
        self.assertEqual(got, (0, "" if 1 in closed else said, reported))
        self.same_bytes(self.got("out"), self.got("want"), "out")

        got = self.run_closed(words + " -o new", closed)
        self.assertEqual(got, (0, "" if 1 in closed else said, reported))
        self.same_bytes(self.got("new"), self.got("want"), "new")

        self.put("kept", b"old")
        status, out, err = self.run_closed(words + " -o kept", closed,
                                           b"y\n" if 0 in closed else b"n\n")
        self.assertEqual((status, err), (0, reported))
        self.assertEqual(out.endswith("file kept exists! do you wish to overwrite? (y/n) "),
                         1 not in closed)
        self.assertEqual(self.got("kept"), b"old")

    def test_bytes_of_an_input_are_no_answer(self):
        """All spare text of the file would answer yes."""
        f = sample(1000.0, 8, 6, (1,))
        f.comment, f.metadata = b"y" * 2000, b"y\n" * 10000
        f.filler = b"y" * 20000
        self.put("a", f)
        self.put("kept", b"old")
        for closed in ((0,), (0, 1), (0, 1, 2)):
            for words in ("-same_res -i a", "-i a -i a"):
                self.run_closed(words + " -o kept", closed)
                self.assertEqual(self.got("kept"), b"old", (words, closed))

    def test_the_usage_text_is_lost_without_a_standard_output(self):
        self.assertEqual(self.run_closed("", (1,)), (USAGE, "", LOST))
        self.assertEqual(self.run_closed("", (0, 1, 2)), (USAGE, "", ""))


if __name__ == "__main__":
    main()
