"""What a scene costs more through a wrapper than in two plain processes, on two cores.

First with 200 small scenes, where nothing hides the cost of a task: the time of two cores for each
scene, and in brackets the processor time, which other programs on the machine hardly change. Then with
some scenes of about a second each, as a share of the time of the two processes.
"""
import os
import shutil
import subprocess
import time
from dataclasses import dataclass

import engines
from small_archive import make_archive

BATCHES = (1, 10, 100)
LARGE, LARGE_BATCHES = 12, (1, 6)
ROUNDS = 3
CORES = 2


@dataclass
class Cost:
    """Seconds on the clock, and of processors in all processes that were started."""
    wall: float
    processor: float

    def minus(self, *others):
        return Cost(self.wall - sum(o.wall for o in others),
                    self.processor - sum(o.processor for o in others))


def timed(run):
    before, start = os.times(), time.perf_counter()
    if run() != 0:
        raise RuntimeError("a run of the measurement failed")
    wall, after = time.perf_counter() - start, os.times()
    return Cost(wall, sum(after[2:4]) - sum(before[2:4]))


def both(commands, archive, log):
    """Runs them side by side; the greatest status."""
    with open(log, "ab") as to:
        running = [subprocess.Popen(c, env=archive.env, stdin=subprocess.DEVNULL, stdout=to, stderr=to)
                   for c in commands]
        return max(abs(r.wait()) for r in running)


def two_processes(archive, out, log):
    """The least that there is: each process runs half of the scenes."""
    out.mkdir()
    return both([["zel", "run", archive.recipe, "--manifest", archive.manifest, "--shard",
                  "%d/2" % shard, "--root", out, "--log", "%s/%d.jsonl" % (out, shard)] for shard in (1, 2)],
                archive, log)


def two_loops(archive, out, batch, scenes, log):
    """A process for each task, and half of the tasks in each of two loops."""
    (out / "logs").mkdir(parents=True)
    tasks = -(-scenes // batch)
    loop = 'for task in $(seq "$1" 2 "$2"); do "$3" "$4" "$5" "$6" "$7" "$task" "$2" || exit 1; done'
    return both([["sh", "-c", loop, "loop", str(half), str(tasks), engines.WRAPPERS / "task.sh",
                  archive.recipe, archive.manifest, out, str(batch)] for half in (1, 2)],
                archive, log)


class Measurement:
    def __init__(self, archive, scenes, work, logs):
        self.archive, self.scenes, self.work, self.log = archive, scenes, work, logs / "overhead.log"

    def once(self, run):
        out = self.work / "measured"
        shutil.rmtree(out, ignore_errors=True)
        return timed(lambda: run(out))

    def base(self):
        return self.once(lambda out: two_processes(self.archive, out, self.log))

    def engine(self, name, batch):
        if name == "loop":
            return self.once(lambda out: two_loops(self.archive, out, batch, self.scenes, self.log))
        return self.once(lambda out: engines.run(name, self.archive, out, batch, self.log))


def row(*cells):
    print("%-9s  %s" % (cells[0], "  ".join("%16s" % cell for cell in cells[1:])), flush=True)


def pair(name, wall, processor, form):
    """What Slurm's daemons start is not counted as processor time."""
    return form % wall if name == "slurm" else (form + " (" + form + ")") % (wall, processor)


def least(costs):
    return min(costs, key=lambda cost: cost.wall)


def small(measurement, start, names):
    """A table of milliseconds for each scene."""
    base = least(measurement.base() for _ in range(3))
    each = 1000 / measurement.scenes
    print("\nmilliseconds for each scene more than in two processes, %d small scenes, two cores" %
          measurement.scenes)
    row("", "start, s", *("batch %d" % batch for batch in BATCHES))
    for name in names:
        first = Cost(0.0, 0.0) if name == "loop" else start.engine(name, 1)
        costs = [measurement.engine(name, batch).minus(first, base) for batch in BATCHES]
        row(name, pair(name, first.wall, first.processor, "%.1f"),
            *(pair(name, c.wall * each * CORES, c.processor * each, "%.1f") for c in costs))


def large(measurement, start, names):
    """A table of shares, of the least times of some rounds: in each the two processes and all sizes of
    a batch run in turn, since other programs come and go."""
    print("\nper cent more than two processes, %d scenes of about a second, without the start" % LARGE)
    row("", "base, s", *("batch %d" % batch for batch in LARGE_BATCHES))
    measurement.base()  # so that the scenes are in memory
    for name in names:
        none = Cost(0.0, 0.0)
        rounds = [(measurement.base(), none if name == "loop" else start.engine(name, 1),
                   *(measurement.engine(name, batch) for batch in LARGE_BATCHES)) for _ in range(ROUNDS)]
        base, first, *wholes = (least(costs) for costs in zip(*rounds))
        more = [whole.minus(first, base) for whole in wholes]
        row(name, pair(name, base.wall, base.processor, "%.1f"),
            *(pair(name, 100 * c.wall / base.wall, 100 * c.processor / base.processor, "%+.1f")
              for c in more))


def lines_for_a_second(work, recipe, logs):
    """How many lines a scene needs for a second of work, from the processor time that some take."""
    lines = 1000
    trial = Measurement(make_archive(work / "trial", 2, recipe, lines), 2, work, logs)
    return int(lines * 2 / min(trial.base().processor for _ in range(3)))


def report(archive, scenes, work, names, logs):
    two = make_archive(work / "two", 2, archive.recipe)
    two.env = archive.env
    start = Measurement(two, 2, work, logs)
    small(Measurement(archive, scenes, work, logs), start, names)
    many = make_archive(work / "large", LARGE, archive.recipe, lines_for_a_second(work, archive.recipe, logs))
    many.env = archive.env
    large(Measurement(many, LARGE, work, logs), start, names)
