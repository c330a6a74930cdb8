#!/usr/bin/env python3
"""zel merge that is stopped or killed: an existing output stays, and nothing half is under its name."""
import json
import random
import signal
import subprocess
import time

from zel_case import ZEL, ZelTest, main
from run_case import wait_for

SCENES = 60000


class Killed(ZelTest):
    def setUp(self):
        super().setUp()
        lines = [json.dumps({"id": "scene-%06d" % i, "status": "done", "start": "1", "recipe": "r" * 300}) + "\n"
                 for i in range(SCENES)]
        self.whole = "".join(lines).encode()
        random.Random(4).shuffle(lines)
        self.put("log", "".join(lines).encode())

    def start(self):
        return subprocess.Popen([str(ZEL), "merge", "log", "-o", "out", "--overwrite"], cwd=self.dir, env=self.env,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def parts(self):
        return [p for p in self.dir.iterdir() if p.name.startswith(".zel-")]

    def stop(self, number, condition):
        """(status, what out holds) of a merge that gets the signal when the condition holds."""
        process = self.start()
        condition(process)
        process.send_signal(number)
        process.communicate(timeout=60)
        return process.returncode, self.got("out") if (self.dir / "out").exists() else None

    def begun(self, _):
        wait_for(self.parts)

    def clear(self):
        for part in self.parts():
            part.unlink()

    def test_a_merge_that_is_killed_leaves_no_output(self):
        self.assertEqual(self.stop(signal.SIGKILL, self.begun), (-signal.SIGKILL, None))
        self.assertEqual(len(self.parts()), 1)

    def test_an_existing_output_stays(self):
        for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.put("out", b"as before")
            self.assertEqual(self.stop(number, self.begun), (-number, b"as before"))
            self.assertEqual(len(self.parts()), 1 if number == signal.SIGKILL else 0)
            self.clear()

    def test_at_any_moment_the_output_is_the_old_one_or_whole(self):
        begin = time.monotonic()
        self.assertEqual(self.stop(0, lambda process: process.wait()), (0, self.whole))
        seconds = time.monotonic() - begin
        choose = random.Random(5)
        for _ in range(12):
            self.put("out", b"as before")
            status, there = self.stop(signal.SIGKILL, lambda _: time.sleep(choose.uniform(0.5, 1.1) * seconds))
            self.assertIn(there, (b"as before", self.whole))
            self.assertEqual(there, self.whole if status == 0 else there)
        self.put("out", b"as before")
        process = self.start()
        self.assertEqual(process.communicate(timeout=60)[1].decode(),
                         "zel merge: out: %d scenes, %d done, 0 skipped, 0 failed\n" % (SCENES, SCENES))
        self.assertEqual((process.returncode, self.got("out")), (0, self.whole))


if __name__ == "__main__":
    main()
