"""Every system call of a run is made to fail, one run for each: the run must do its work, to
the byte, or say what went wrong with which file, and in no case touch what it was not asked to replace.

The calls fail in a library that is preloaded, tests/support/failing_calls.c.
"""
import errno
import os
import subprocess
import unittest
from pathlib import Path

from harness import CREATING, FAILED, GRIDS, ROOT, TOOL, ToolTest, main
from sample import sample
from vornfile import feature_header, labels_file, plane, raster
from zelfile import Lut, Table, container

LIBRARY = Path(os.environ.get("ZEL_BUILD_DIR", ROOT / "build")) / "lib" / "libfailing_calls.so"
OLD = b"what was there before"

# How calls fail: the order that the library gets, without the count of the call.
WAYS = {"open": ("open", errno.EMFILE, ""), "read": ("read", errno.EIO, ""),
        "reads": ("read", errno.EIO, ":on"), "write": ("write", errno.ENOSPC, ""),
        "writes": ("write", errno.ENOSPC, ":on"), "seek": ("seek", errno.EIO, ""),
        "close": ("close", errno.ENOSPC, ""), "end": ("end", 0, ""),
        "memory": ("memory", errno.ENOMEM, "")}


# What a run says of an input that has lost its bytes, and goes on with or refuses.
ENDINGS = (" ends before line ", "Vorn file v is cut short",
           "Error:  size mismatch")


def works():
    """Whether a program starts with the library in front of its own."""
    if not LIBRARY.exists():
        return False
    done = subprocess.run([TOOL], env=dict(os.environ, LD_PRELOAD=str(LIBRARY)),
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return done.returncode == 255 and done.stderr == b""


@unittest.skipUnless(works(), "no library of failing calls goes with this build")
class FailingCalls(ToolTest):
    def setUp(self):
        super().setUp()
        self.counts = {}
        scene = sample(1000.0, 8, 6, (1, 4), luts=[Lut(1, b"lut", [(1, 2, 3, b"entry")])],
                       tables=[Table(1, b"table", [1.5])])
        fine = sample(500.0, 16, 12, (2,), seed=1)
        self.put("a", scene)
        self.put("b", fine)
        self.put("c", container([(sample(1000.0, 8, 6, (3,)).bytes(), 1000.0),
                                 (fine.bytes(), 500.0)]))
        self.put("v", raster([plane(8, 6, step=0.0)]))
        self.put("t", labels_file(["one"]))
        self.put("l", b"T\n0 1\n1\n1 1 1 0 : a\n")
        self.put("f", feature_header([b"ARFF_TO_ZEL 2 7 8"]))
        (self.dir / "epa").mkdir()
        for k, grid in enumerate(GRIDS):
            self.put("epa/" + grid, bytes([k + 1]) * 100)   # a grid may be short

    def run_failing(self, words, order, answer):
        """(status, standard output, both outputs, what failed) of a run."""
        log = self.dir / "failed"
        log.unlink(missing_ok=True)
        env = dict(os.environ, LD_PRELOAD=str(LIBRARY), ZEL_FAIL=order, ZEL_FAIL_LOG=str(log),
                   ZEL_DATA_DIR=str(self.dir), LC_ALL="C")
        done = subprocess.run([TOOL] + words.split(), cwd=self.dir, env=env, input=answer,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
        victims = log.read_text().splitlines() if log.exists() else None
        out = done.stdout.decode("latin-1")
        return done.returncode, out, out + done.stderr.decode("latin-1"), victims

    def judge(self, way, run, good, was):
        """What is wrong with a run in which something failed, or nothing."""
        status, out, said, victims = run
        if way == "end" and any(words in said for words in ENDINGS):
            return None
        reason = os.strerror(WAYS[way][1])
        made = self.got("out") if (self.dir / "out").exists() else None
        if status == 0 and made == good:
            return None
        refused = status == 0 and out.startswith(CREATING) and out.endswith(FAILED)
        if refused and made != was:
            return "refused, but the output is not what it was"
        if way == "memory" and status in (253, 248):
            status = 255     # what some allocations end with
        if status != 255 and not refused:
            return "status %d, and the output is not right" % status
        if way == "memory":
            # A stream is memory too; a file that does not open is reported without a reason.
            reported = ("memory", "alloc", "annot open", "cannot create", "cannot read")
            return None if any(t in said for t in reported) else "nothing of memory"
        if not any(os.path.basename(name) in said for name in victims):
            return "the file is not named"
        if way in ("open", "end") or "cannot open Vorn file" in said:
            return None      # the words for a file that does not open, and for one that is short
        return None if reason in said else "the reason is not reported"

    def check_every(self, words, ways, was=None, answer=b"", keeps=False):
        """Each call of each way fails in one run; the output is was before. keeps: it stays so."""
        out = self.dir / "out"

        def prepare():
            out.unlink(missing_ok=True)
            if was is not None:
                self.put("out", was)
        prepare()
        status, good_out, said, _ = self.run_failing(words, "read:0:0", answer)
        self.assertEqual(status, 0, said)
        good = self.got("out")
        wrong = []
        for way in ways:
            call, number, goes_on = WAYS[way]
            for n in range(1, 5000):
                prepare()
                before = os.stat(out) if was is not None else None
                run = self.run_failing(words, "%s:%d:%d%s" % (call, n, number, goes_on), answer)
                if run[3] is None:
                    self.assertEqual((run[0], run[1], self.got("out")), (0, good_out, good))
                    break
                self.counts[way] = self.counts.get(way, 0) + 1
                problem = self.judge(way, run, good, was)
                if keeps:
                    after = os.stat(out)
                    same = (self.got("out") == was and after.st_ino == before.st_ino
                            and after.st_mtime_ns == before.st_mtime_ns)
                    problem = problem if same else "a file that was to stay is another"
                if problem:
                    wrong.append("%s %d (%s): %s: %s" % (way, n, run[3], problem, run[2][-300:].replace("\n", "|")))
            else:
                self.fail("there is no end of calls")
            self.assertTrue(keeps or self.counts.get(way), way)
        if os.environ.get("ZEL_FAIL_COUNTS"):
            print(self.id(), self.counts)
        self.assertFalse(wrong, "\n" + "\n".join(wrong))

    COMPOSITE = "-overwrite -o out "
    ONE_GRID = "-same_res -overwrite -o out "

    def test_a_container_of_two_files(self):
        self.check_every(self.COMPOSITE + "-i a -i b", WAYS)

    def test_a_container_with_a_container(self):
        self.check_every(self.COMPOSITE + "-i a -i c", WAYS)

    def test_one_grid_of_a_file(self):
        self.check_every(self.ONE_GRID + "-i a", WAYS)

    def test_one_grid_of_two_files(self):
        self.check_every(self.ONE_GRID + "-i a -i b", WAYS)

    def test_one_grid_of_a_container(self):
        self.check_every(self.ONE_GRID + "-i c", WAYS)

    def test_a_raster(self):
        self.check_every(self.ONE_GRID + "-i a -vorn v -vorn_hdr t", WAYS)

    def test_a_raster_with_its_tables(self):
        self.check_every(self.ONE_GRID + "-i a -vorn v -vorn_lut l -feat_hdr f", WAYS)

    def test_what_is_said_of_an_input_that_cannot_be_copied(self):
        """The last read of the first input is one that copies it."""
        for call, reason in (("read", os.strerror(errno.EIO)), ("end", "unexpected end of file")):
            runs = (self.run_failing(self.COMPOSITE + "-i a -i b", "%s:%d:%d" % (call, n, errno.EIO),
                                     b"") for n in range(60, 0, -1))
            status, out, said, _ = next(run for run in runs if run[3] == ["a"] and run[0] != 0)
            self.assertEqual(status, 255)
            self.assertTrue(out.endswith("ZELCreateCompositeFile: Error: cannot read file a\n"))
            self.assertTrue(said.endswith(
                "ZELCreateCompositeFile: read error on file %s: %s\n" % ("a", reason)), said)

    def test_what_is_said_without_memory(self):
        self.assertEqual(self.run_failing(self.ONE_GRID + "-i a", "memory:1:12", b"")[:2],
                         (255, "zel_combine: Error: cannot allocate memory\n"))

    def test_a_file_that_was_to_stay(self):
        for words in ("-o out -i a -i b", "-same_res -o out -i a"):
            self.check_every(words, WAYS, OLD, b"n\n", True)


if __name__ == "__main__":
    main()
