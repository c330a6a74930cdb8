#!/usr/bin/env python3
"""An archive on many workers, event by event: simulate.py [FILE]

Runs every combination that inputs.toml names, on all processors, and writes the results as CSV
(results.csv beside this program, or FILE). It takes some minutes.

A worker asks the scheduler for a task, which serves one at a time. The task starts, then takes its
scenes in turn: operations at the metadata server, which serves one scene at a time; bytes from and
to the storage; and time on the worker's processor. Transfers that run at the same time share the
storage evenly, and none is faster than the worker's link.
"""
import csv
import heapq
import itertools
import math
import random
import sys
import tomllib
from concurrent.futures import ProcessPoolExecutor
from dataclasses import dataclass, replace
from pathlib import Path

HERE = Path(__file__).resolve().parent
FIELDS = ["site", "kind", "batch", "workers", "hours", "scenes_per_hour", "bound_per_hour", "limit",
          "storage_use", "metadata_use", "scheduler_use"]


@dataclass(frozen=True)
class Site:
    """What all workers share, and what a task costs before its first scene."""
    storage: float           # bytes a second
    link: float              # bytes a second, of one worker
    metadata: float          # operations a second
    scheduler: float         # tasks a second
    launch_seconds: float    # a worker waits between two tasks
    start_seconds: float     # processor time of a task before its first scene
    start_operations: float


@dataclass(frozen=True)
class Work:
    """What one scene costs."""
    seconds: float
    bytes: float
    operations: float


def bounds(site, work, workers, batch):
    """Scenes a second that each part of the site can do at most, by name."""
    alone = (1 / site.scheduler + site.launch_seconds + site.start_seconds +
             site.start_operations / site.metadata) / batch + \
        work.seconds + work.bytes / min(site.link, site.storage) + work.operations / site.metadata
    return {
        "workers": workers / alone,
        "storage": site.storage / work.bytes,
        "metadata": site.metadata / (work.operations + site.start_operations / batch),
        "scheduler": site.scheduler * batch,
    }


class Queue:
    """A server that does one thing after the other."""

    def __init__(self):
        self.free_at = 0.0
        self.busy = 0.0

    def done_at(self, now, seconds):
        self.free_at = max(now, self.free_at) + seconds
        self.busy += seconds
        return self.free_at


class Storage:
    """Transfers with even shares. All that run have moved the same bytes since the start of the
    storage, so that a transfer ends when that number reaches what it was given at its start."""

    def __init__(self, site):
        self.site = site
        self.moved = self.now = self.total = 0.0
        self.running = []

    def rate(self):
        return min(self.site.link, self.site.storage / len(self.running))

    def advance(self, now):
        if self.running:
            self.moved += self.rate() * (now - self.now)
        self.now = now

    def begin(self, now, size, worker):
        self.advance(now)
        self.total += size
        heapq.heappush(self.running, (self.moved + size, worker))

    def next_end(self):
        if not self.running:
            return math.inf
        return self.now + max(0.0, self.running[0][0] - self.moved) / self.rate()

    def end(self, now):
        self.advance(now)
        return heapq.heappop(self.running)[1]


class Run:
    """One run of an archive. A worker has one event at a time: what it does next, and when."""

    def __init__(self, site, work, workers, batch, scenes, spread=0.0, seed=1):
        self.site, self.work, self.batch = site, work, batch
        self.random = random.Random(seed)
        self.spread = spread
        self.unassigned = scenes
        self.scheduler, self.metadata, self.storage = Queue(), Queue(), Storage(site)
        self.left = [0] * workers        # scenes of the task that a worker has
        self.factor = [1.0] * workers    # size of the scene that it is at
        self.events = [(0.0, worker, self.task) for worker in range(workers)]
        self.finished = 0.0

    def at(self, time, worker, step):
        heapq.heappush(self.events, (time, worker, step))

    def task(self, now, worker):
        if self.unassigned == 0:
            return
        self.left[worker] = min(self.batch, self.unassigned)
        self.unassigned -= self.left[worker]
        given = self.scheduler.done_at(now, 1 / self.site.scheduler)
        self.at(given + self.site.launch_seconds, worker, self.start)

    def start(self, now, worker):
        answered = self.metadata.done_at(now, self.site.start_operations / self.site.metadata)
        self.at(answered + self.site.start_seconds, worker, self.scene)

    def scene(self, now, worker):
        if self.left[worker] == 0:
            self.task(now, worker)
            return
        self.left[worker] -= 1
        self.factor[worker] = 1 + self.random.uniform(-self.spread, self.spread)
        answered = self.metadata.done_at(now, self.work.operations / self.site.metadata)
        self.at(answered, worker, self.transfer)

    def transfer(self, now, worker):
        self.storage.begin(now, self.work.bytes * self.factor[worker], worker)

    def seconds(self):
        """From the first event to the end of the last scene."""
        while self.events or self.storage.running:
            end = self.storage.next_end()
            if self.events and self.events[0][0] <= end:
                now, worker, step = heapq.heappop(self.events)
                step(now, worker)
            else:
                worker = self.storage.end(end)
                done = end + self.work.seconds * self.factor[worker]
                self.finished = max(self.finished, done)
                self.at(done, worker, self.scene)
        return self.finished


def read_inputs(path=HERE / "inputs.toml"):
    """(site, work by kind, the rest)"""
    inputs = tomllib.loads(Path(path).read_text())
    site = Site(**{name: part["value"] for name, part in inputs["site"].items()})
    works = {name: Work(kind["seconds"], inputs["scene_bytes"] + kind["written_bytes"],
                        kind["operations"]) for name, kind in inputs["kinds"].items()}
    return site, works, inputs


def sites(site, inputs):
    """The site as it is stated, and others that differ in some numbers, by name."""
    found = {"stated": site}
    for name, changes in inputs["other_sites"].items():
        found[name] = replace(site, **changes)
    return found


def row(combination):
    """A line of the results, for a (site, kind, batch, workers)."""
    name, kind, batch, workers = combination
    stated, works, inputs = read_inputs()
    site = sites(stated, inputs)[name]
    run = Run(site, works[kind], workers, batch, inputs["scenes"], inputs["spread"])
    seconds = run.seconds()
    limits = bounds(site, works[kind], workers, batch)
    limit = min(limits, key=limits.get)
    return dict(zip(FIELDS, [
        *combination, "%.3f" % (seconds / 3600), "%.0f" % (inputs["scenes"] / seconds * 3600),
        "%.0f" % (limits[limit] * 3600), limit, "%.3f" % (run.storage.total / site.storage / seconds),
        "%.3f" % (run.metadata.busy / seconds), "%.3f" % (run.scheduler.busy / seconds)]))


def combinations(inputs):
    """(site, kind, batch, workers) of every result."""
    names = ("stated", *inputs["other_sites"])
    return itertools.product(names, inputs["kinds"], inputs["batches"], inputs["workers"])


def main(path=HERE / "results.csv"):
    with open(path, "w", newline="") as file, ProcessPoolExecutor() as processes:
        table = csv.DictWriter(file, FIELDS, lineterminator="\n")
        table.writeheader()
        for line in processes.map(row, combinations(read_inputs()[2])):
            table.writerow(line)
            file.flush()


if __name__ == "__main__":
    main(*sys.argv[1:])
