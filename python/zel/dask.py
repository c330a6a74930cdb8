"""Scenes of an archive on the workers of a Dask cluster: each task is a process of `zel run`.

The arrays of scenes are in chunks by `zel.xarray`; here a worker sees no array, only the command.
"""
from __future__ import annotations

import functools
import json
import os
import shutil
import subprocess
from typing import Any

__all__ = ["run"]


def run(manifest: str | os.PathLike[str], recipe: str | os.PathLike[str], client: Any, *,
        root: str | os.PathLike[str] = ".", batch: int = 10, retries: int = 3,
        program: str = "zel") -> list[dict[str, Any]]:
    """Runs a recipe on all scenes of a manifest; returns the record of each, in the order of ids.

    `client` is a `distributed.Client`. Workers need the command `zel` on their PATH, and manifest,
    recipe, scenes and `root`, below which the outputs are, under the same paths; relative ones are
    seen from the current directory of the caller. A task has `batch` scenes.
    When its process is killed, or its worker is lost, it runs again; what is there is not made
    again. So a run that was interrupted is resumed by the same call.

    Scenes that failed have a record with `"status": "failed"`. A wrong recipe is a ValueError, and
    nothing has run; a task that is killed again and again is a RuntimeError.
    """
    words = [program, "run", os.path.abspath(recipe), "--manifest", os.path.abspath(manifest),
             "--batch", str(batch)]
    count = int(_output([*words, "--shards"]))
    more = ["--skip-existing", "--root", os.path.abspath(root)]
    tasks = [[*words, "--shard", "%d/%d" % (task, count), *more] for task in range(1, count + 1)]
    work = functools.partial(_lines, os.getcwd())
    lines = client.gather(client.map(work, tasks, retries=retries, pure=False))
    records = [json.loads(line) for task in lines for line in task]
    return sorted(records, key=lambda record: str(record["id"]))


def _lines(directory: str, words: list[str]) -> list[str]:
    """The records of a task. Its process ends with the worker that started it."""
    if shutil.which("setpriv"):
        words = ["setpriv", "--pdeathsig", "TERM", "--", *words]
    return _output(words, directory if os.path.isdir(directory) else None).splitlines()


def _output(words: list[str], directory: str | None = None) -> str:
    """What a process prints. Status 1 means that some scenes failed, which their records say."""
    done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          check=False, cwd=directory)
    if done.returncode == 2:
        raise ValueError(done.stderr.strip())
    if done.returncode not in (0, 1):
        raise RuntimeError("%s: status %d %s" % (words[0], done.returncode, done.stderr.strip()))
    return done.stdout
