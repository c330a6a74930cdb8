#!/usr/bin/env python3
"""Runs the wrappers of examples/archive with all engines: ./dev archive.

First 200 small scenes go through each and must give what a plain loop gives; then again, with workers
killed at random and the run resumed, as often as --repeat says. Last, what a scene costs more than in
two plain processes is measured for some sizes of a batch. All logs are kept.
"""
import argparse
import contextlib
import random
import shutil
import signal
import sys
import time
from pathlib import Path

from small_archive import left_over, make_archive, outcome, outputs
import engines
import kills
import overhead
from slurm_here import Slurm

ENGINES = ["loop", "parallel", "slurm", "snakemake", "dask"]


def arguments(words=None):
    parser = argparse.ArgumentParser(prog="./dev archive", description=__doc__.split("\n\n")[1])
    parser.add_argument("--repeat", type=int, default=1, metavar="N", help="rounds with kills (1)")
    parser.add_argument("--only", action="append", choices=ENGINES, metavar="ENGINE",
                        help="one of %s; may be repeated" % ", ".join(ENGINES))
    parser.add_argument("--scenes", type=int, default=200, metavar="N", help="small scenes (200)")
    parser.add_argument("--batch", type=int, default=10, metavar="N", help="scenes of a task (10)")
    parser.add_argument("--seed", type=int, default=None, metavar="N", help="of the kills")
    parser.add_argument("--no-overhead", action="store_true", help="measure nothing")
    parser.add_argument("--logs", type=Path, default=Path("build/archive-logs"), metavar="DIR")
    return parser.parse_args(words)


class Failed(Exception):
    pass


class Rounds:
    """Runs of one archive, compared with what a plain loop makes of it."""

    def __init__(self, options, archive, work, slurm):
        self.options, self.archive, self.work, self.slurm = options, archive, work, slurm
        self.plain = self.whole("loop", "plain")

    def log(self, name):
        return self.options.logs / (name + ".log")

    def result(self, out):
        return outputs(out), outcome(out), left_over(out)

    def whole(self, name, place):
        out = self.work / place
        if engines.run(name, self.archive, out, self.options.batch, self.log(name)) != 0:
            raise Failed("%s failed; see %s" % (name, self.log(name)))
        return self.result(out)

    def compare(self, name, result):
        for what, got, wanted in zip(("outputs", "log", "files left over"), result, self.plain):
            if got != wanted:
                raise Failed("%s: %s differ from those of the plain loop; see %s and %s" %
                             (name, what, self.log(name), self.work))

    def undisturbed(self, name):
        start = time.perf_counter()
        self.compare(name, self.whole(name, "whole_" + name))
        print("%-9s  same bytes as the plain loop, %.1f s" % (name, time.perf_counter() - start), flush=True)

    def killed(self, name, seed):
        """How many workers were killed before the run was resumed."""
        out = self.work / "killed"
        shutil.rmtree(out, ignore_errors=True)
        running = engines.start(name, self.archive, out, self.options.batch, self.log(name))
        dead = kills.disturbed_run(running, self.archive, seed, engines.TIMEOUT)
        if name == "slurm":
            self.slurm.cancel_all()
            kills.end_session(running, self.archive)
        self.compare(name, self.whole(name, "killed"))
        return dead


def rounds_with_kills(rounds, names, options):
    seed = options.seed if options.seed is not None else random.randrange(10 ** 6)
    for name in names:
        dead = without = 0
        start = time.perf_counter()
        for number in range(options.repeat):
            try:
                killed = rounds.killed(name, seed + number)
            except Failed as failure:
                raise Failed("round %d, seed %d: %s" % (number + 1, seed, failure)) from None
            dead += killed
            without += killed == 0
        print("%-9s  %d rounds with %d workers killed (seed %d), same bytes; %.1f s a round%s" % (
            name, options.repeat, dead, seed, (time.perf_counter() - start) / options.repeat,
            ", %d rounds ended before a kill" % without if without else ""), flush=True)


def installed(names):
    for name in names:
        reason = engines.missing(name)
        if reason:
            print("%-9s  skipped: %s" % (name, reason))
        else:
            yield name


def main():
    options = arguments()
    options.logs.mkdir(parents=True, exist_ok=True)
    options.logs = options.logs.resolve()
    for old in options.logs.glob("*.log"):
        old.unlink()
    work = options.logs / "work"  # stays when something fails
    shutil.rmtree(work, ignore_errors=True)
    names = list(installed(options.only or ENGINES))
    with contextlib.ExitStack() as stack:
        archive = make_archive(work, options.scenes)
        slurm = None
        if "slurm" in names:
            slurm = stack.enter_context(Slurm(work / "slurm"))
            stack.callback(keep_logs, work / "slurm", options.logs)
            archive.env.update(slurm.environment)
        rounds = Rounds(options, archive, work, slurm)
        for name in names:
            rounds.undisturbed(name)
        rounds_with_kills(rounds, names, options)
        if not options.no_overhead:
            overhead.report(archive, options.scenes, work, names, options.logs)
    shutil.rmtree(work)


def keep_logs(slurm, logs):
    for log in slurm.glob("*.log"):
        shutil.copy(log, logs / ("slurm_" + log.name))


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # so that no daemon stays
    try:
        main()
    except Failed as failure:
        sys.exit("archive: %s" % failure)
