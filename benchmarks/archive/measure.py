#!/usr/bin/env python3
"""Measures what one scene costs a worker: measure.py BIN_DIRECTORY DIRECTORY [ROUNDS]

A scene of 720 MB is made in DIRECTORY and stays there. Each kind of work is a recipe of one step that
zel run executes in turn. The processor time of the best round counts: it includes the copies from and
to the page cache, but no waiting for a disk. Operations on the file system are counted by strace,
where it is installed. Then the start of a task with a manifest of 100,000 scenes is measured. Prints
what inputs.toml has of all this.
"""
import json
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

import scene  # noqa: E402

BASE_LINES = 4096  # 720 MB in three files
LARGE = 100_000
SAMPLES = """inputfilename scene.zel
outputfilename out.feat
subsample sqrt
define index: (Ch14 - Ch13) / (Ch14 + Ch13)
class 1: "low": 0 60 160
class 2: "high": 70 140 50
filter 1: class = 1 + (index > 0.1)
feature index
feature Ch7
"""
FILES = 'inputs = { all = { many = true }, base = { resolution = "coarsest" } }\n'
CONTAINER = "inputs = { scene = { } }\n"
COMBINE = 'verb = "combine"\nfile = ["all"]\nbase = "base"\n'
KINDS = {  # by name: the files of the scene, and the recipe
    "combine": ("files", FILES, COMBINE + "container = true\n"),
    "grid": ("files", FILES, COMBINE),
    "calc": ("container", CONTAINER,
             'verb = "calc"\nfile = "scene"\nexpression = "X = (Ch14-Ch13)/(Ch14+Ch13)"\n'),
    "sample": ("container", CONTAINER, 'verb = "sample"\nfile = "samples.par"\ninput = "scene"\n'),
}


def call(command, directory):
    subprocess.run(command, cwd=directory, check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def prepare(zel, directory):
    scene.make(directory / "files", scene.standard(BASE_LINES))
    for twin in [*(directory / "files").glob("*.raw"), *(directory / "files").glob("*.hdr")]:
        twin.unlink()
    container = directory / "container" / "scene.zel"
    if not container.exists():
        container.parent.mkdir()
        call([zel, "combine", "files/1000.zel", "files/500.zel", "files/250.zel", "--container", "-o",
              container], directory)
    (directory / "samples.par").write_text(SAMPLES)
    for name in ("files", "container"):
        call([zel, "scenes", name, "-o", name + ".jsonl", "--overwrite"], directory)
    for name, (_, inputs, step) in KINDS.items():
        (directory / (name + ".toml")).write_text(
            'format = 1\n%soutputs = { out = "{id}.out" }\n[[steps]]\n%soutput = "out"\n' % (inputs, step))


def seconds(command, directory):
    """The processor time of a command and all that it starts."""
    before = os.times()
    call(command, directory)
    after = os.times()
    return sum(after[2:4]) - sum(before[2:4])


def operations(command, directory):
    """How often a run asks the file system for a name, or opens and closes."""
    log = directory / "strace.log"
    call(["strace", "-f", "-o", log, "-e", "trace=%file,close", *command], directory)
    return len(re.findall(r"^\d+ +\w+\(", log.read_text(), re.MULTILINE))


def measure_kind(zel, name, directory, rounds, start):
    out, log = directory / "out", directory / "log"
    command = [zel, "run", name + ".toml", "--manifest", KINDS[name][0] + ".jsonl", "--root", out,
               "--log", log]
    costs = []
    for _ in range(rounds):
        shutil.rmtree(out, ignore_errors=True)
        log.unlink(missing_ok=True)
        costs.append(seconds(command, directory))
    record = json.loads(log.read_text())
    print("[kinds.%s]\nseconds = %.2f" % (name, min(costs)))
    print("written_bytes = %d" % sum(o["bytes"] for o in record["outputs"]))
    if start:
        shutil.rmtree(out)
        print("operations = %d" % (operations(command, directory) - start))


def measure_start(zel, directory, rounds):
    """The start of a task of one scene: what it does of the whole manifest before that."""
    line = json.loads((directory / "files.jsonl").read_text())
    with open(directory / "large.jsonl", "w", encoding="utf-8") as manifest:
        for number in range(LARGE):
            manifest.write(json.dumps(dict(line, id="scene-%06d" % number), separators=(",", ":")) + "\n")
    command = [zel, "run", "grid.toml", "--manifest", "large.jsonl", "--dry-run", "--shard",
               "1/%d" % LARGE]
    best = min(seconds(command, directory) for _ in range(rounds))
    print("start_seconds = %.2f, %d scenes of %d bytes" % (best, LARGE, len(json.dumps(line))))
    command[command.index("large.jsonl")] = "files.jsonl"
    command[-1] = "1/1"
    if shutil.which("strace"):
        start = operations(command, directory)
        print("start_operations = %d" % start)
        return start
    return None


def main(programs, directory, rounds="3"):
    zel = str(Path(programs).resolve() / "zel")
    directory = Path(directory).resolve()
    directory.mkdir(parents=True, exist_ok=True)
    prepare(zel, directory)
    start = measure_start(zel, directory, int(rounds))
    for name in KINDS:
        measure_kind(zel, name, directory, int(rounds), start)
    print("load %.1f" % os.getloadavg()[0])


if __name__ == "__main__":
    main(*sys.argv[1:])
