"""What the benchmarks are compared with: which of it is installed, and the loops compiled here."""
import importlib.util
import os
import shutil
import subprocess
from pathlib import Path

from timing import Failed

HERE = Path(__file__).resolve().parent
PACKAGES = {"gdal": "gdal-bin", "compiler": "g++", "numexpr": "python3-numexpr",
            "numpy": "python3-numpy"}
EXACT = ["-O3", "-march=native", "-fno-math-errno", "-ffp-contract=off"]
LOOSE = ["-O3", "-march=native", "-ffast-math"]  # with the vector functions of the C library


def compiler():
    return os.environ.get("CXX") or "c++"


def installed():
    """The names of PACKAGES that are there."""
    there = {"gdal": shutil.which("gdal_translate") and shutil.which("gdalinfo"),
             "compiler": shutil.which(compiler())}
    there.update({name: importlib.util.find_spec(name) for name in ("numexpr", "numpy")})
    return {name for name, found in there.items() if found}


def missing(programs):
    """A line for each peer that is not installed."""
    found = ["%s is not installed (Debian: %s): its rows are n/a" % (name, package)
             for name, package in PACKAGES.items() if name not in installed()]
    if not (programs / "zel_benchmarks").exists():
        found.append("zel_benchmarks is not built (Debian: libbenchmark-dev): its row is n/a")
    if not package_of(programs).is_dir():
        found.append("the Python package is not built (Debian: python3-dev, python3-pybind11): its"
                     " rows are n/a")
    return found


def package_of(programs):
    """The Python package of the build tree of these programs."""
    return programs.parent / "python" / "zel"


def compiled(directory, name, flags, suffix=""):
    """The program of a source of this folder."""
    program = Path(directory) / (name + suffix)
    source = HERE / (name + ".cpp")
    newest = max(path.stat().st_mtime for path in [source, *HERE.glob("*.hpp")])
    if not program.exists() or program.stat().st_mtime < newest:
        subprocess.run([compiler(), "-std=c++20", *flags, str(source), "-o", str(program), "-lm"],
                       check=True)
    return program


def printed(*words, **environment):
    """What a program prints; what it says of errors is shown only when it fails."""
    done = subprocess.run([str(word) for word in words], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, env=dict(os.environ, **environment))
    if done.returncode != 0:
        raise Failed("status %d of %s: %s" % (done.returncode, words[0], done.stderr.strip()))
    return done.stdout
