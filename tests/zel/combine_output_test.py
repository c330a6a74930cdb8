#!/usr/bin/env python3
"""zel combine when the output cannot be completed: killed, stopped, on a full disk, with failing calls. What had
the name before is there, or nothing; or the whole new file."""
import errno
import os
import random
import resource
import signal
import subprocess
import time

from zel_case import BIN, ZEL, ZelTest, main
from combine_scenes import scene

WAYS = {"grid": ["fine", "base", "--base", "base", "--method", "CLS=mode"],
        "container": ["fine", "base", "--container"]}
SHIM = BIN.parent / "lib" / "libfailing_calls.so"


class OutputTest(ZelTest):
    size = (12, 8)

    def setUp(self):
        super().setUp()
        width, height = self.size
        self.put("fine", scene(30.0, width, height, codes=(1, 3), seed=1))
        self.put("base", scene(60.0, width // 2, height // 2, codes=(2, 5), seed=2))
        self.whole = {}
        for way, words in WAYS.items():
            self.assertEqual(self.run_zel("combine", *words, "-q", "-o", "out")[0], 0)
            self.whole[way] = self.got("out")
            (self.dir / "out").unlink()
        self.before = self.names()

    def start(self, way, old, **how):
        if old:
            self.put("out", b"the old file")
        elif (self.dir / "out").exists():
            (self.dir / "out").unlink()
        env = dict(self.env, **how.pop("env", {}))
        return subprocess.Popen([str(ZEL), "combine", *WAYS[way], "-o", "out", "--overwrite"], cwd=self.dir,
                                env=env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, **how)

    def check_untouched(self, old):
        self.assertEqual(self.names(), sorted(self.before + ["out"] * old))
        if old:
            self.assertEqual(self.got("out"), b"the old file")

    def fails(self, way, old, reason=None, **how):
        process = self.start(way, old, **how)
        out, err = process.communicate(timeout=60)
        self.assertEqual((process.returncode, out), (1, b""), err)
        self.assertTrue(err.startswith(b"zel combine: "), err)
        if reason:
            self.assertIn(os.strerror(reason).encode(), err)
            self.assertNotIn(b".zel-", err)
        self.check_untouched(old)


class Full(OutputTest):
    def test_a_limit_of_the_file_size_at_every_stage(self):
        for way, whole in self.whole.items():
            sizes = sorted({0, 1, 13, 1221, 3000, 20000, 24000, len(whole) // 2, len(whole) - 400, len(whole) - 1})
            for limit in sizes:
                def prepare(limit=limit):
                    resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
                for old in (False, True):
                    self.fails(way, old, errno.EFBIG, preexec_fn=prepare)

    def test_a_full_disk(self):
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=32k", "none", str(self.dir)],
                                 stderr=subprocess.DEVNULL, check=False).returncode == 0
        if not mounted:
            self.skipTest("no file system can be mounted")
        self.addCleanup(subprocess.run, ["umount", str(self.dir)], check=True)
        self.put("base", scene(60.0, 6, 4, codes=(2, 5), seed=2))
        self.before = ["base"]
        self.put("out", b"the old file")
        status, out, err = self.run_zel("combine", "base", "-o", "out", "--overwrite")
        self.assertEqual((status, out), (1, ""))
        self.assertIn(os.strerror(errno.ENOSPC), err)
        self.check_untouched(True)

    def test_a_directory_that_cannot_be_written(self):
        if os.geteuid() == 0:
            self.skipTest("root writes everywhere")
        self.dir.chmod(0o555)
        self.addCleanup(self.dir.chmod, 0o755)
        self.fails("grid", False, errno.EACCES)


class Calls(OutputTest):
    def test_each_call_of_a_run_fails(self):
        if not SHIM.exists():
            self.skipTest("no library that makes calls fail")
        log = self.dir / "log"
        self.before = sorted(self.before + ["log"])
        failed = {}
        for way in WAYS:
            for call in ("open", "read", "write", "seek", "close"):
                for number in range(1, 200):
                    log.write_bytes(b"")
                    process = self.start(way, True, env={"LD_PRELOAD": str(SHIM), "ZEL_FAIL_LOG": str(log),
                                                         "ZEL_FAIL": "%s:%d:%d" % (call, number, errno.EIO)})
                    _, err = process.communicate(timeout=60)
                    name = log.read_bytes()
                    if process.returncode == 0:
                        self.assertEqual(self.got("out"), self.whole[way], (way, call, number))
                    else:
                        self.assertEqual(process.returncode, 1, (way, call, number, err))
                        self.assertTrue(err.startswith(b"zel combine: "), err)
                        self.check_untouched(True)
                    if not name:
                        break
                    failed[way, call] = number
                    if call in ("write", "seek") and b".part" in name:
                        self.assertEqual(process.returncode, 1, (way, call, number))
                self.assertLess(number, 199, (way, call))
        for way in WAYS:
            for call in ("open", "read", "write", "close"):
                self.assertIn((way, call), failed)


class Killed(OutputTest):
    size = (1200, 800)

    def interrupt(self, number, check):
        choose = random.Random(number)
        for way, whole in self.whole.items():
            began = time.monotonic()
            self.start(way, False).communicate(timeout=60)
            took = time.monotonic() - began
            for _ in range(12):
                old = choose.random() < 0.5
                process = self.start(way, old)
                time.sleep(choose.uniform(0.0, took))
                process.send_signal(number)
                process.communicate(timeout=60)
                here = self.got("out") if (self.dir / "out").exists() else None
                self.assertTrue(here in ((b"the old file" if old else None), whole), (way, number))
                check()

    def test_by_sigkill_at_any_moment(self):
        def remove_temporary():
            for path in self.dir.glob(".zel-*.part"):
                path.unlink()
        self.interrupt(signal.SIGKILL, remove_temporary)

    def test_a_signal_leaves_no_temporary_file(self):
        def no_temporary():
            self.assertEqual([n for n in self.names() if n.startswith(".")], [])
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.interrupt(number, no_temporary)


    def test_a_signal_that_is_ignored_stays_ignored(self):
        process = self.start("grid", False, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        while process.poll() is None and not list(self.dir.glob(".zel-*.part")):
            time.sleep(0.001)
        process.send_signal(signal.SIGHUP)
        process.communicate(timeout=60)
        self.assertEqual((process.returncode, self.got("out") == self.whole["grid"]), (0, True))


class Inputs(OutputTest):
    size = (1200, 800)

    def test_an_input_that_changes_during_the_run_is_an_error(self):
        """It is touched while its lines are read: at the latest before the output gets its name."""
        for _ in range(20):
            process = self.start("grid", False)
            while process.poll() is None and not list(self.dir.glob(".zel-*.part")):
                time.sleep(0.001)
            times = (self.dir / "base").stat()
            os.utime(self.dir / "base", ns=(times.st_atime_ns, times.st_mtime_ns + 1))
            _, err = process.communicate(timeout=60)
            if process.returncode == 0:
                continue
            self.assertEqual(err, b"zel combine: base: changed while it was read\n")
            return self.check_untouched(False)
        self.fail("the run was always faster")


if __name__ == "__main__":
    main()
