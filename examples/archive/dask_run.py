#!/usr/bin/env python3
"""An archive by Dask: dask_run.py RECIPE MANIFEST OUT [BATCH [SCHEDULER]]

Without the address of a scheduler two worker processes are started here. Run it again to resume.
"""
import json
import os
import sys
from pathlib import Path

import dask
from distributed import Client, LocalCluster

import zel.dask


# Workers only wait for zel: to look at them a hundred times a second takes a tenth of a processor.
SELDOM = {"distributed.worker.profile.interval": "1s", "distributed.worker.profile.cycle": "10s",
          "distributed.admin.tick.interval": "1s", "distributed.admin.system-monitor.interval": "5s"}


def client(address):
    if address:
        return Client(address)
    dask.config.set(SELDOM)
    return Client(LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None))


def main(recipe, manifest, out, batch="10", scheduler=None):
    with client(scheduler) as workers:
        scenes = zel.dask.run(manifest, recipe, workers, root=out, batch=int(batch))
    log = Path(out) / "run.jsonl"
    log.parent.mkdir(parents=True, exist_ok=True)
    part = log.with_suffix(".part")
    part.write_text("".join(json.dumps(scene, separators=(",", ":")) + "\n" for scene in scenes), encoding="utf-8")
    os.replace(part, log)
    return 1 if any(scene["status"] == "failed" for scene in scenes) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
