#!/usr/bin/env python3
"""zel run: signals, and processes that are killed, at random moments; what is left, and what a second run makes
of it."""
import json
import os
import random
import signal
import subprocess
import time
import unittest

from zel_case import ZEL, main
from run_case import RunCase, children_of, kill, scene_id, wait_for
from zelfile import Channel, Line, ZelFile

RECIPE = """format = 1

[inputs]
all = { resolution = "finest" }

[[steps]]
verb = "calc"
file = "all"
expression = ["X = sin(lat) + R / 3", "Y = X * R"]
keep = true
output = "made"

[[steps]]
verb = "stats"
file = "made"
output = "statistics"

[outputs]
made = "{day:03}/{id}.zel"
statistics = "{id}.json"
"""
SCENES = 6


def large_scene(day, lines=800, pixels=500):
    """A scene that takes a tenth of a second."""
    row = [(day * 991 + x * 7) % 65536 for x in range(pixels)]
    f = ZelFile(slots=1, pixels=pixels, nav_points=2, nav_interval=pixels - 1, year=2020, julian=day,
                satellite=0, data_type=0, resolution=30.0)
    f.channels[0] = Channel(type=5, label=b"R", bits=16, rows=[row] * lines)
    f.lines = [Line(time=12.0, right=pixels - 1, nadir=0, lat=[50.0 - n / 100.0] * 2, lon=[10.0, 11.0])
               for n in range(lines)]
    return f


@unittest.skipUnless(os.path.isdir("/proc/self"), "no /proc")
class KillCase(RunCase):
    lines_of_first = 800

    def setUp(self):
        super().setUp()
        (self.dir / "in").mkdir()
        self.put("in/1.zel", large_scene(1, self.lines_of_first))
        for day in range(2, SCENES + 1):
            self.put("in/%d.zel" % day, large_scene(day))
        self.make_manifest()
        self.recipe(RECIPE)
        begin = time.monotonic()
        self.run_recipe("--root", "plain")
        self.seconds = time.monotonic() - begin
        self.want = self.tree("plain")
        self.assertEqual(len(self.want), 2 * SCENES)

    def ended(self, process):
        out, err = process.communicate(timeout=60)
        return process.returncode, [json.loads(x) for x in out.decode().splitlines()], err.decode()

    def require_whole(self, root="out"):
        """Every output that is there is whole, and nothing else is."""
        there = self.tree(root) if (self.dir / root).exists() else {}
        self.assertEqual({name: self.want.get(name) for name in there}, there)

    def resume(self, *words):
        lines = self.run_recipe("--root", "out", "--skip-existing", *words)
        self.assertEqual(self.tree(), self.want)
        self.assertEqual(self.temporaries(), [])
        return lines

    def running_step(self, process):
        """(process of a scene, of its step) of a run."""
        for child in children_of(process.pid):
            for step in children_of(child):
                return child, step
        return None


class Stopped(KillCase):
    def test_a_signal_drops_the_scenes_that_run(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            process = self.start("--root", "out%d" % number, "--jobs", "2")
            child, step = wait_for(lambda: self.running_step(process))
            process.send_signal(number)
            begin = time.monotonic()
            status, lines, err = self.ended(process)
            self.assertLess(time.monotonic() - begin, self.seconds)
            self.assertEqual((status, err), (128 + number, "zel run: stopped by %s\n" % signal.Signals(number).name))
            self.assertLess(len(lines), SCENES)
            self.assertFalse(os.path.exists("/proc/%d" % child) or os.path.exists("/proc/%d" % step))
            self.assertEqual(self.temporaries(), [])
            self.require_whole("out%d" % number)
            top = self.dir / ("out%d" % number)
            self.assertEqual(len(self.tree(top)) if top.exists() else 0, 2 * len(lines))

    def test_a_signal_at_any_moment_and_a_run_that_goes_on(self):
        choose = random.Random(1)
        for _ in range(8):
            process = self.start("--root", "out", "--skip-existing", "--jobs", "2")
            time.sleep(choose.uniform(0.0, self.seconds / 2))
            process.send_signal(signal.SIGTERM)
            status, _, err = self.ended(process)
            self.assertIn(status, (0, -15, 143), err)  # -15: before the verb begins
            self.assertEqual(self.temporaries(), [])
            self.require_whole()
        self.resume()

    def test_an_ignored_signal_stays_ignored(self):
        handler = signal.signal(signal.SIGHUP, signal.SIG_IGN)
        try:
            process = self.start("--root", "out")
        finally:
            signal.signal(signal.SIGHUP, handler)
        wait_for(lambda: self.running_step(process))
        process.send_signal(signal.SIGHUP)
        self.assertEqual(self.ended(process)[0], 0)
        self.assertEqual(self.tree(), self.want)


class Killed(KillCase):
    def test_a_run_that_is_killed_at_any_moment_is_resumed(self):
        choose = random.Random(2)
        for _ in range(8):
            process = self.start("--root", "out", "--skip-existing", "--jobs", "2")
            time.sleep(choose.uniform(0.0, self.seconds / 2))
            children = children_of(process.pid)
            process.kill()
            self.ended(process)
            wait_for(lambda c=children: not any(os.path.exists("/proc/%d" % n) for n in c))
            self.require_whole_but_temporaries()
        self.resume()

    def require_whole_but_temporaries(self):
        if (self.dir / "out").exists():
            for name, data in self.tree().items():
                if "/.zel-" not in "/" + name:
                    self.assertEqual(data, self.want[name], name)

    def test_all_processes_killed_at_once(self):
        choose = random.Random(3)
        for _ in range(8):
            process = self.start("--root", "out", "--skip-existing", "--jobs", "2")
            time.sleep(choose.uniform(0.0, self.seconds / 2))
            victims = [process.pid] + children_of(process.pid)
            for child in victims[1:]:
                victims += children_of(child)
            for victim in victims:
                kill(victim)
            self.ended(process)
            wait_for(lambda v=victims: not any(os.path.exists("/proc/%d" % n) for n in v))
            self.require_whole_but_temporaries()
        self.resume()

    def test_what_a_killed_run_has_left_goes_even_where_the_outputs_are_there(self):
        self.run_recipe("--root", "out")
        (self.dir / "out" / "001" / (".zel-run-" + scene_id(1))).mkdir()
        self.put("out/001/.zel-run-%s/made" % scene_id(1), b"half")
        lines = self.resume()
        self.assertEqual({line["status"] for line in lines.values()}, {"skipped"})

    def test_a_link_with_the_name_of_what_a_run_leaves_is_not_followed(self):
        (self.dir / "other").mkdir()
        self.put("other/precious", b"kept")
        (self.dir / "out" / "001").mkdir(parents=True)
        (self.dir / "out" / "001" / (".zel-run-" + scene_id(1))).symlink_to(self.dir / "other")
        for words in ([], ["--skip-existing"]):
            self.run_recipe("--root", "out", *words)
            self.assertEqual(self.got("other/precious"), b"kept")
        self.require_whole_but_temporaries()

    def test_two_runs_of_the_same_scenes_do_no_harm(self):
        runs = [self.start("--root", "out") for _ in range(3)]
        self.assertEqual([self.ended(run)[0] for run in runs], [0, 0, 0])
        self.assertEqual(self.tree(), self.want)
        self.assertEqual(self.temporaries(), [])


PARTS = """format = 1

[inputs]
fine = { resolution = 30 }
base = { resolution = 60 }

[[steps]]
verb = "combine"
file = ["fine", "base"]
container = true
output = "parts"

[outputs]
parts = "{id}.zel"
"""


class KilledAtTheEnd(RunCase):
    """A container has its record in a file beside it: there are moments with one of both."""

    def setUp(self):
        super().setUp()
        self.make_archive(range(1, 13))
        self.recipe(PARTS)
        self.run_recipe("--root", "plain")
        self.recipe(PARTS.replace("resolution = 30 }", 'resolution = 30, kind = "file" }'), "new.toml")

    def killed_when(self, condition, recipe="r.toml"):
        """Kills all processes of a run as soon as that is so."""
        process = subprocess.Popen([str(ZEL), "run", recipe, "--manifest", "m.jsonl", "--root", "out",
                                    "--skip-existing", "--log", "log"], cwd=self.dir, env=self.env,
                                   stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, start_new_session=True)
        while not condition() and process.poll() is None:
            pass
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
        process.communicate(timeout=60)

    def resume(self, recipe="r.toml"):
        status, _, err = self.run_zel("run", recipe, "--manifest", "m.jsonl", "--root", "out", "--skip-existing")
        self.assertEqual(status, 0, err)
        self.assertEqual(self.temporaries(), [])

    def test_an_output_without_its_record_is_made_again(self):
        for day in range(1, 13):
            self.killed_when((self.dir / "out" / (scene_id(day) + ".zel")).exists)
        self.resume()
        self.assertEqual(self.tree(), self.tree("plain"))

    def test_an_output_that_was_being_replaced_is_made_again(self):
        self.resume()
        for day in range(1, 13):
            output = self.dir / "out" / (scene_id(day) + ".zel")
            before = output.stat().st_ino
            self.killed_when(lambda o=output, b=before: o.stat().st_ino != b, "new.toml")
        self.resume("new.toml")
        self.run_recipe("--root", "again", recipe="new.toml")
        self.assertEqual(self.tree(), self.tree("again"))

    def test_a_record_before_its_output_does_not_stand_for_it(self):
        self.resume()
        os.unlink(self.dir / "out" / (scene_id(3) + ".zel"))
        self.resume()
        self.assertEqual(self.tree(), self.tree("plain"))


class KilledScene(KillCase):
    """The first scene takes so long that a busy machine, too, finds it running."""
    lines_of_first = 12000

    def kill_first(self, which, times, number=signal.SIGKILL):
        """Sends a signal to the process of the first scene, or of its step, that many times."""
        process = self.start("--root", "out", "--log", "log")
        pair = wait_for(lambda: self.running_step(process))
        kill(pair[which], number)
        if times > 1:
            wait_for(lambda: (self.dir / "log").exists() and len(self.got("log").splitlines()) == SCENES - 1)
            pair = wait_for(lambda: self.running_step(process))
            kill(pair[which], number)
        status, _, err = self.ended(process)
        lines = [json.loads(x) for x in self.got("log").decode().splitlines()]
        os.unlink(self.dir / "log")
        return status, lines, err

    def test_a_scene_that_is_killed_once_is_run_again_alone(self):
        for which in (0, 1):
            status, lines, _ = self.kill_first(which, 1)
            self.assertEqual(status, 0)
            self.assertEqual([line["status"] for line in lines], ["done"] * SCENES)
            self.assertEqual((lines[-1]["id"], lines[-1]["attempts"]), (scene_id(1), 2))
            self.assertEqual({line["attempts"] for line in lines[:-1]}, {1})
            self.assertEqual(self.tree(), self.want)
            self.assertEqual(self.temporaries(), [])

    def test_a_scene_that_is_killed_twice_is_reported(self):
        for which in (0, 1):
            status, lines, err = self.kill_first(which, 2)
            self.assertEqual(status, 1)
            self.assertEqual((lines[-1]["id"], lines[-1]["status"], lines[-1]["attempts"], lines[-1]["reason"]),
                             (scene_id(1), "failed", 2, "killed by SIGKILL"))
            self.assertEqual(err, "zel run: %s: killed by SIGKILL\nzel run: 5 done, 0 skipped, 1 failed\n"
                             % scene_id(1))
            self.assertEqual([line["status"] for line in lines[:-1]], ["done"] * (SCENES - 1))
        lines = self.resume()
        self.assertEqual(lines[scene_id(1)]["status"], "done")

    def test_a_signal_that_only_a_scene_or_its_step_gets_is_a_kill(self):
        for which in (0, 1):
            for number in (signal.SIGTERM, signal.SIGINT):
                status, lines, err = self.kill_first(which, 1, number)
                self.assertEqual((status, err), (0, "zel run: 6 done, 0 skipped, 0 failed\n"))
                self.assertEqual([line["status"] for line in lines], ["done"] * SCENES)
                self.assertEqual((lines[-1]["id"], lines[-1]["attempts"]), (scene_id(1), 2))
                self.assertEqual((self.tree(), self.temporaries()), (self.want, []))

    def test_a_signal_that_a_scene_gets_twice_is_reported(self):
        for which in (0, 1):
            status, lines, err = self.kill_first(which, 2, signal.SIGTERM)
            self.assertEqual((status, err), (1, "zel run: %s: killed by SIGTERM\n"
                                                "zel run: 5 done, 0 skipped, 1 failed\n" % scene_id(1)))
            self.assertEqual((lines[-1]["id"], lines[-1]["status"], lines[-1]["attempts"], lines[-1]["reason"]),
                             (scene_id(1), "failed", 2, "killed by SIGTERM"))
            self.assertEqual((lines[-1]["outputs"], self.temporaries()), ([], []))
            self.require_whole()


if __name__ == "__main__":
    main()
