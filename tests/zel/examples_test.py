#!/usr/bin/env python3
"""The examples in the help of every verb, run as they stand there."""
import os
import re
import shutil
import subprocess

from zel_case import BIN, ZelTest, main, reads_recipes
from combine_scenes import scene
from command_verbs import VERBS
from zelfile import Channel, Line, ZelFile

WIDTH, HEIGHT = 120, 240


def place():
    """Channels B2, B3, B4, B5 and B10 around 30.7 north and 87.4 west."""
    f = ZelFile(pixels=WIDTH, nav_points=2, nav_interval=WIDTH - 1, resolution=30.0, slots=5)
    for slot, label in enumerate((b"B2", b"B3", b"B4", b"B5", b"B10")):
        f.channels[slot] = Channel(type=3, label=label, rows=[[(slot + x) % 200 for x in range(WIDTH)]] * HEIGHT)
    f.lines = [Line(time=16.0, right=WIDTH - 1, nadir=60, lat=[30.75 - n / 2000.0] * 2, lon=[-87.45, -87.35])
               for n in range(HEIGHT)]
    return f


def blocks(resolution, side, label):
    f = scene(resolution, side, side, codes=(1, 2), labels=[b"Q" + label, b"B" + label])
    f.channels[1].rows[0][0] = 0
    return f


def parameters():
    return b"inputfilename scene.zel\noutputfilename gulf.feat\nfeature Ch1\n"


RECIPE = b"""format = 1
[inputs]
scene = { resolution = "finest" }
[[steps]]
verb = "calc"
file = "scene"
expression = "NDVI = (B5 - B4) / (B5 + B4)"
output = "ndvi"
[outputs]
ndvi = "{id}.zel"
"""
LOG_LINE = b'{"id":"scene%d","status":"done","start":"2026-11-22T10:00:00Z","recipe":"9c1f"}\n'


def outputs_of(command):
    return set(re.findall(r"(?:-o|--report|>) (\S+)", command))


class Examples(ZelTest):
    def setUp(self):
        super().setUp()
        self.env["PATH"] = "%s:%s" % (BIN, os.environ["PATH"])
        self.make = {"scene.zel": place, "in.zel": place, "gulf.par": parameters,
                     "b10.zel": lambda: blocks(10.0, 36, b"10"), "b30.zel": lambda: blocks(30.0, 12, b"30"),
                     "b90.zel": lambda: blocks(90.0, 4, b"90"), "a.zel": lambda: blocks(30.0, 4, b"1"),
                     "b.zel": lambda: blocks(15.0, 8, b"2")}

    def prepare(self, command):
        """The files that the command reads, and no others."""
        shutil.rmtree(self.dir)
        self.dir.mkdir()
        for name in set(re.findall(r"[\w*]+\.(?:zel|par|feat)", command)) - outputs_of(command):
            for file in ("a.zel", "b.zel") if name == "*.zel" else (name,):
                if file in self.make:
                    self.put(file, self.make[file]())
        if "replay" in command:
            self.put("b30.zel", self.make["b30.zel"]())
            self.run_zel("combine", "b30.zel", "-o", "grid.zel")
        if command.startswith("zel run "):
            self.prepare_run()
        if command.startswith("zel merge "):
            self.prepare_shards()
        if "gulf.par" in command or "gulf.feat" in command:
            self.put("scene.zel", place())
            self.put("gulf.par", parameters())
        if "gulf.feat" in command:
            self.run_zel("sample", "gulf.par")

    def prepare_run(self):
        """Three scenes, a day apart: each of three shares has one."""
        days = ["day%d.zel" % day for day in (1, 2, 3)]
        for day, name in enumerate(days, 1):
            a_scene = place()
            a_scene.julian = day
            self.put(name, a_scene)
        self.put("scenes.jsonl", self.run_zel("scenes", *days)[1].encode())
        self.put("ndvi.toml", RECIPE)

    def prepare_shards(self):
        for name in ("stats", "samples"):
            (self.dir / name).mkdir()
        self.put("gulf.par", parameters())
        for i, name in enumerate(("one", "two")):
            self.put("scene.zel", place())
            self.put("shard_%s.jsonl" % name, LOG_LINE % i)
            self.put("%s.zel" % name, place())
            self.put("stats/%s.json" % name, self.run_zel("info", "--json", "--stats", name + ".zel")[1].encode())
            self.assertEqual(self.run_zel("sample", "gulf.par", "-o", "samples/%s.feat" % name)[0], 0)

    def test_each_does_what_it_is_for(self):
        outputs = results = 0
        for verb in VERBS:
            if verb == "run" and not reads_recipes():
                continue
            text = self.run_zel("help", verb)[1]
            examples = re.findall(r"^  (zel .*)\n      ", text.split("\nExamples:\n")[1], re.MULTILINE)
            self.assertGreater(len(examples), 0, verb)
            for command in examples:
                self.prepare(command)
                before = self.names()
                done = subprocess.run(["sh", "-c", command], cwd=self.dir, env=self.env, capture_output=True,
                                      stdin=subprocess.DEVNULL, timeout=60)
                self.assertEqual(done.returncode, 0, (command, done.stderr))
                made = set(self.names()) - set(before)
                self.assertLessEqual(outputs_of(command), made, command)
                self.assertTrue(made or done.stdout, command)
                outputs += bool(made)
                results += bool(done.stdout)
        self.assertGreater(min(outputs, results), 8)


if __name__ == "__main__":
    main()
