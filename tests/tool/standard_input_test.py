"""What the overwrite questions leave on standard input, for whoever reads it after the run."""
import os
import subprocess

from harness import TOOL, ToolTest, cases, main
from sample import sample

# An answer and what is left of it by a question that reads a line of up to 9 and of up to 10 characters.
ANSWERS = {
    "a line": (b"y\nnext\n", b"next\n", b"next\n"),
    "a refusal": (b"no\nnext\n", b"next\n", b"next\n"),
    "an empty line": (b"\nnext\n", b"next\n", b"next\n"),
    "8 characters and their newline": (b"yesyesye\nnext\n", b"next\n", b"next\n"),
    "9 characters and their newline": (b"yesyesyes\nnext\n", b"\nnext\n", b"next\n"),
    "10 characters and their newline": (b"yesyesyesy\nnext\n", b"y\nnext\n", b"\nnext\n"),
    "a long line": (b"n0123456789\nnext\n", b"89\nnext\n", b"9\nnext\n"),
    "a character without a newline": (b"y", b"", b""),
    "more than a buffer": (b"y\n" + b"x" * 20000, b"x" * 20000, b"x" * 20000),
}


def left_over(self, words, answer, left):
    self.put("out", b"old")
    ours, theirs = os.pipe()
    os.write(theirs, answer)
    os.close(theirs)
    with open(ours, "rb", buffering=0) as rest:
        done = subprocess.run([TOOL, *words.split()], cwd=self.dir, stdin=rest,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(rest.readall(), left)
    self.assertEqual(self.got("out") == b"old", answer[:1] != b"y")


@cases({"%s after %s" % (path, name): (words, answer, left[k])
        for k, (path, words) in enumerate((("a container", "-i a -i b -o out"),
                                           ("one grid", "-same_res -i a -o out")))
        for name, (answer, *left) in ANSWERS.items()}, left_over)
class LeftOver(ToolTest):
    def setUp(self):
        super().setUp()
        self.put("a", sample())
        self.put("b", sample(500.0, 16, 12))

    def test_a_run_that_asks_nothing_reads_nothing(self):
        for words in ("-i a -i b -o new", "-same_res -i a -o other", "-overwrite -i a -i b -o new"):
            ours, theirs = os.pipe()
            os.write(theirs, b"next\n")
            os.close(theirs)
            with open(ours, "rb", buffering=0) as rest:
                subprocess.run([TOOL, *words.split()], cwd=self.dir, stdin=rest, check=True,
                               stdout=subprocess.PIPE, timeout=60)
                self.assertEqual(rest.readall(), b"next\n")


if __name__ == "__main__":
    main()
