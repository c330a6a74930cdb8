#!/usr/bin/env python3
"""The simulation beside real runs on one and two workers of this machine: check.py BIN_DIRECTORY

24 scenes of 100 MB that read as zeros go through zel run, in tasks of 6. What a scene takes, by the
log of a run on one worker, is what the simulation begins with; the local disk and the loop that
starts the tasks are taken to be without limit.
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
SCENES, BATCH, LINES = 24, 6, 2500


def real(archive, out, workers):
    """The seconds of a run, and the log of its scenes."""
    out.mkdir()
    tasks = SCENES // BATCH
    loop = ('for task in $(seq "$1" "$2" "$3"); do zel run "$4" --manifest "$5" --batch "$6" --shard "$task" '
            '--root "$7" --log "$7/$task.jsonl" || exit 1; done')
    start = time.perf_counter()
    running = [subprocess.Popen(["sh", "-c", loop, "loop", str(first), str(workers), str(tasks),
                                 archive.recipe, archive.manifest, str(BATCH), out],
                                env=archive.env, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
               for first in range(1, workers + 1)]
    if any([r.wait() for r in running]):
        sys.exit("a run failed")
    took = time.perf_counter() - start
    lines = [json.loads(line) for log in out.glob("*.jsonl") for line in log.read_text().splitlines()]
    return took, lines


def main(programs):
    os.environ["ZEL_BIN_DIR"] = programs
    sys.path[:0] = [str(HERE), str(HERE.parents[1] / "tests" / "archive")]
    import simulate
    import small_archive
    with tempfile.TemporaryDirectory() as directory:
        archive = small_archive.make_archive(Path(directory) / "archive", SCENES, lines=LINES)
        work = None
        for workers in (1, 2):
            runs = [real(archive, Path(directory) / ("%d_%d" % (workers, n)), workers) for n in range(3)]
            took, log = min(runs, key=lambda run: run[0])
            if work is None:
                seconds = statistics.mean(line["seconds"] for line in log)
                work = simulate.Work(seconds, 1.0, 0.0)
                free = simulate.Site(1e30, 1e30, 1e30, 1e30, 0.0, 0.0, 0.0)
            simulated = simulate.Run(free, work, workers, BATCH, SCENES).seconds()
            print("%d worker%s: %.2f s measured, %.2f s simulated, %+.1f %%" % (
                workers, "s" * (workers > 1), took, simulated, 100 * (took / simulated - 1)))
        print("load %.1f" % os.getloadavg()[0])


if __name__ == "__main__":
    main(*sys.argv[1:])
