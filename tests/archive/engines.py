"""The engines that the wrappers are for: how each is started here, and whether it is installed."""
import os
import shutil
import subprocess
from pathlib import Path

import kills
from small_archive import BIN, WRAPPERS

PYTHON = "/usr/bin/python3"  # Debian's, for which there are the packages
TIMEOUT = 120


def has_module(name):
    return Path(PYTHON).exists() and subprocess.run(
        [PYTHON, "-c", "import " + name], capture_output=True).returncode == 0


def missing(name):
    """Why an engine cannot run here, or None."""
    if name == "dask":
        if not has_module("distributed"):
            return "python3-distributed is not installed"
        package = dict(os.environ, PYTHONPATH=str(BIN.parent / "python"))
        loads = subprocess.run([PYTHON, "-c", "import zel"], env=package, capture_output=True).returncode == 0
        return None if loads else "the Python package is not built, or needs a sanitizer to be loaded first"
    program = {"loop": "sh", "parallel": "parallel", "snakemake": "snakemake", "slurm": "slurmctld"}[name]
    if shutil.which(program) or Path("/usr/sbin", program).exists():
        return None
    return program + " is not installed"


def words(name, archive, out, batch):
    """The command that runs an archive on two cores (the loop: on one)."""
    common = [str(archive.recipe), str(archive.manifest), str(out), str(batch)]
    if name == "parallel":
        return [str(WRAPPERS / "parallel.sh"), *common, "2"]
    if name == "snakemake":
        return ["snakemake", "-s", str(WRAPPERS / "Snakefile"), "--directory", str(out), "--cores", "2",
                "--keep-going", "--rerun-incomplete", "--nolock", "--config",
                "from=%s" % Path(out).parent, "recipe=" + common[0], "manifest=" + common[1], "batch=" + common[3]]
    if name == "dask":
        return [PYTHON, str(WRAPPERS / "dask_run.py"), *common]
    if name == "slurm":  # the wrapper comes back at once
        return ["sh", "-c", 'job=$("$0" "$@") || exit 1; '
                'while squeue --noheader --jobs "$job" 2>/dev/null | grep -q .; do sleep 0.1; done; '
                'test -e "$3/run.jsonl"', str(WRAPPERS / "slurm.sh"), *common]
    return [str(WRAPPERS / "loop.sh"), *common]


def start(name, archive, out, batch, log):
    """Starts it as the leader of a session, with all that it says in a file."""
    Path(out).mkdir(parents=True, exist_ok=True)
    with open(log, "ab") as file:
        return subprocess.Popen(words(name, archive, out, batch), env=archive.env, stdin=subprocess.DEVNULL,
                                stdout=file, stderr=file, start_new_session=True, cwd=Path(out).parent)


def run(name, archive, out, batch, log):
    """Its exit status; None when it did not end in time."""
    running = start(name, archive, out, batch, log)
    try:
        return running.wait(timeout=TIMEOUT)
    except subprocess.TimeoutExpired:
        kills.end_session(running, archive)
        return None
