#!/usr/bin/env python3
"""zel scenes, run and merge where memory runs out: a message, a status, and what was there stays."""
import json
import resource
import subprocess
import unittest

from zel_case import ZEL, main
from combine_scenes import scene
from run_case import RunCase

NO_MEMORY = "cannot allocate memory"
MOST = 400  # MB, with which all of this can be done


class LittleMemory(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1])
        self.recipe()
        self.least = next((mb for mb in range(20, 60) if self.limited(mb, "--version")[0] == 0), None)
        if self.least is None:
            raise unittest.SkipTest("this build does not start in 60 MB")

    def limited(self, megabytes, *words):
        size = megabytes << 20
        return self.run_zel(*words, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size)))

    def limits(self):
        """From what zel starts in, in steps that grow."""
        limit = self.least
        while limit < MOST:
            yield limit
            limit += 1 + (limit - self.least) // 4

    def check_every_limit(self, words, done, fails):
        """With little memory it fails, with more it is done; nothing else."""
        seen = []
        for limit in self.limits():
            status, out, err = self.limited(limit, *words)
            if status == 0:
                done(out, err)
            else:
                fails(status, out, err)
            seen.append(status == 0)
        self.assertEqual((seen[0], seen[-1]), (False, True))

    def fails_with(self, verb, status=1):
        def check(got, out, err):
            self.assertEqual((got, out, err), (status, "", "zel %s: %s\n" % (verb, NO_MEMORY)))
        return check

    def test_a_long_manifest(self):
        line = json.loads(self.got("m.jsonl").splitlines()[0])
        self.put("m.jsonl", "".join(json.dumps(dict(line, id="scene-%06d" % i), separators=(",", ":")) + "\n"
                                    for i in range(10000)).encode())
        words = ["run", "r.toml", "--manifest", "m.jsonl", "--batch", "10"]
        self.check_every_limit([*words, "--shards"], lambda out, err: self.assertEqual((out, err), ("1000\n", "")),
                               self.fails_with("run"))
        want = self.run_zel(*words, "--shard", "1000", "--dry-run")[1]
        self.check_every_limit([*words, "--shard", "1000", "--dry-run"],
                               lambda out, err: self.assertEqual((out, err), (want, "")), self.fails_with("run"))

    def test_scenes_that_need_more_than_there_is(self):
        size = 3000
        self.put("in/1_fine.zel", scene(30.0, size, size, codes=(3,), seed=1, year=2020, julian=1, data_type=0,
                                        satellite=0))
        self.put("in/1_base.zel", scene(60.0, size // 2, size // 2, codes=(3,), seed=2, year=2020, julian=1,
                                        data_type=0, satellite=0))
        self.make_manifest()
        self.recipe()
        self.run_recipe("--root", "out")
        want = self.tree()
        for limit in list(self.limits())[::3]:
            status, out, err = self.limited(limit, "run", "r.toml", "--manifest", "m.jsonl", "--root", "out")
            self.assertIn(status, (0, 1), err)
            if out and status == 1:
                self.assertIn("cannot allocate", json.loads(out)["reason"])
            self.assertTrue(status == 0 or "cannot allocate" in err, err)
            self.assertEqual((self.tree(), self.temporaries()), (want, []))

    def test_many_scenes(self):
        # All are missing, and all are in the list.
        names = "".join("nothing/%06d/%s\n" % (i, "x" * 300) for i in range(30000))
        self.put("names", names.encode())
        self.put("list", b"as before")
        seen = []
        for limit in list(self.limits())[::2]:
            with open(self.dir / "names", "rb") as stream:
                status, err = self.piped(stream, limit << 20)
            lines = self.got("list")
            self.assertEqual(status, 1)
            seen.append(err == "")
            if seen[-1]:
                self.assertEqual(lines.count(b'"error":"No such file or directory"'), 30000)
                self.put("list", b"as before")
            else:
                self.assertEqual((err, lines), ("zel scenes: %s\n" % NO_MEMORY, b"as before"))
        self.assertEqual((seen[0], seen[-1]), (False, True))
        self.assertEqual(self.temporaries(), [])

    def piped(self, stream, size):
        done = subprocess.run([str(ZEL), "scenes", "-", "-o", "list", "--overwrite"], stdin=stream, cwd=self.dir,
                              env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, check=False,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size)))
        return done.returncode, done.stderr.decode()

    def test_a_long_log_that_is_merged(self):
        lines = [json.dumps({"id": "scene-%06d" % i, "status": "done", "start": "1", "recipe": "r" * 100})
                 for i in range(30000)]
        self.put("log", ("\n".join(lines) + "\n").encode())
        self.put("out", b"as before")

        def done(out, err):
            self.assertEqual((out, err), ("", "zel merge: out: 30000 scenes, 30000 done, 0 skipped, 0 failed\n"))
            self.assertEqual(self.got("out"), self.got("log"))
            self.put("out", b"as before")

        def fails(status, out, err):
            self.fails_with("merge")(status, out, err)
            self.assertEqual((self.got("out"), self.temporaries()), (b"as before", []))
        self.check_every_limit(["merge", "log", "-o", "out", "--overwrite"], done, fails)


if __name__ == "__main__":
    main()
