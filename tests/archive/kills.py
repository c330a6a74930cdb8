"""Kills workers at random while an engine runs."""
import os
import random
import signal
import subprocess
import time
from pathlib import Path


def processes():
    """(number, number of the parent, words) of all that run."""
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                stat = (entry / "stat").read_text()
                words = (entry / "cmdline").read_bytes().split(b"\0")
            except OSError:
                continue  # ended meanwhile
            parent = int(stat.rpartition(")")[2].split()[1])
            yield int(entry.name), parent, [w.decode("utf-8", "replace") for w in words]


def tasks(archive):
    """{number: number of the parent} of the processes of zel that run tasks of an archive. One that
    another of them has started is not counted: it is a part of that task."""
    manifest = str(archive.manifest)
    found = {number: parent for number, parent, words in processes()
             if "--shard" in words and manifest in words and
             any(os.path.basename(word) == "zel" for word in words[:2])}
    return {number: parent for number, parent in found.items() if parent not in found}


def workers(archive):
    """The processes of tasks, and workers of Dask that have one. A worker that is still starting is
    left alone: this version of Dask would wait for it for ever."""
    found = tasks(archive)
    pythons = {number for number, _, words in processes() if any("spawn_main" in word for word in words)}
    return sorted(found) + sorted(pythons & set(found.values()))


def kill(number):
    try:
        os.kill(number, signal.SIGKILL)
        return 1
    except ProcessLookupError:
        return 0


def disturb(running, archive, choose, kills=4):
    """Kills workers until the engine ends or so many are dead; how many were killed."""
    dead = 0
    while running.poll() is None and dead < kills:
        time.sleep(choose.uniform(0, 0.1))
        found = workers(archive)
        if found:
            dead += kill(choose.choice(found))
    return dead


def end_session(running, archive):
    """Kills the engine with all that it started, as when a machine is switched off."""
    try:
        os.killpg(running.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    running.wait()
    while True:
        found = workers(archive)
        if not found:
            return
        for number in found:
            kill(number)
        time.sleep(0.01)


def disturbed_run(running, archive, seed, timeout):
    """Kills workers, in every second run the engine too; how many workers were killed."""
    choose = random.Random(seed)
    dead = disturb(running, archive, choose)
    if choose.random() < 0.5:
        end_session(running, archive)
    try:
        running.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        end_session(running, archive)
        raise
    return dead
