"""An archive of small scenes, and what a run of it has made."""
import hashlib
import json
import os
import subprocess
import sys
from dataclasses import dataclass
from datetime import date, timedelta
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BIN = Path(os.environ.get("ZEL_BIN_DIR") or ROOT / "build" / "bin").resolve()
WRAPPERS = ROOT / "examples" / "archive"
sys.path.insert(0, str(ROOT / "tests" / "support"))
from zelfile import Channel, Line, ZelFile  # noqa: E402


WIDE = 4000  # pixels of a line, where a scene is to take time


def component(day, resolution, side, lines=None):
    """Bytes of two channels, other ones on every day."""
    lines = side if lines is None else lines
    f = ZelFile(slots=2, year=2024, julian=day, satellite=8, pixels=side, nav_points=2,
                nav_interval=side - 1, data_type=5, altitude=705.0, resolution=resolution)
    for slot, label in enumerate((b"red", b"infrared")):
        f.channels[slot] = Channel(type=3, label=label, rows=[
            [(day * 7 + slot * 50 + 3 * x + y) % 250 + 1 for x in range(side)] for y in range(lines)])
    f.lines = [Line(time=10.5, right=side - 1, nadir=side // 2, lat=[50.0 - y * resolution / 1e5] * 2,
                    lon=[10.0, 10.0 + side * resolution / 7e4]) for y in range(lines)]
    return f.bytes()


def make_scenes(directory, count):
    """A scene a day, of 8 by 8 and 4 by 4 pixels."""
    for day in range(1, count + 1):
        for resolution, side in ((30.0, 8), (60.0, 4)):
            name = "day%03d_%dm.zel" % (day, resolution)
            (directory / name).write_bytes(component(day, resolution, side))


def make_large_scenes(directory, count, lines):
    """The same with wide lines. All lines but the first are without bytes on the disk: they read as 0."""
    for day in range(1, count + 1):
        for resolution, side, most in ((30.0, 2 * WIDE, 2 * lines), (60.0, WIDE, lines)):
            data = component(day, resolution, side, 1)
            line = len(component(day, resolution, side, 2)) - len(data)
            with open(directory / ("day%03d_%dm.zel" % (day, resolution)), "wb") as file:
                file.write(data)
                file.truncate(len(data) + (most - 1) * line)


def expected_ids(count):
    """A scene a day from 2024-01-01 on, by the rule of zel scenes: the first lines are at 10.5 h."""
    days = (date(2024, 1, 1) + timedelta(n) for n in range(count))
    return ["landsat-tm-8-%s-10.5h" % day.strftime("%Y%j") for day in days]


@dataclass
class Archive:
    manifest: Path
    recipe: Path
    env: dict


def make_archive(directory, count, recipe=WRAPPERS / "recipe.toml", lines=None):
    """With lines, scenes that take time."""
    directory = Path(directory)
    scenes = directory / "scenes"
    scenes.mkdir(parents=True)
    if lines:
        make_large_scenes(scenes, count, lines)
    else:
        make_scenes(scenes, count)
    env = dict(os.environ, PATH="%s:%s" % (BIN, os.environ["PATH"]), PYTHONDONTWRITEBYTECODE="1",
               PYTHONPATH="%s:%s" % (BIN.parent / "python", os.environ.get("PYTHONPATH", "")))
    manifest = directory / "manifest.jsonl"
    subprocess.run(["zel", "scenes", str(scenes), "-o", str(manifest)], env=env, check=True,
                   stdin=subprocess.DEVNULL)
    return Archive(manifest, Path(recipe), env)


# ---- What was made ----

def checksum(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def outputs(out):
    """{path below out: checksum} of all scenes there."""
    return {str(path.relative_to(out)): checksum(path)
            for path in sorted(Path(out).rglob("*.zel"))}


def left_over(out):
    """Files that are neither outputs nor those of a wrapper."""
    known = {"run.jsonl", "parallel.log", "finish.out"}
    return [str(path) for path in Path(out).rglob("*") if path.is_file() and path.suffix != ".zel" and
            path.name not in known and not {"logs", ".snakemake"} & set(path.parts)]


def outcome(out):
    """What the merged log says of each scene, without times, tries, and whether it was there before.
    Checksums are compared with the files: the log has none of what was there."""
    found = []
    for line in (Path(out) / "run.jsonl").read_text(encoding="utf-8").splitlines():
        record = json.loads(line)
        ok = record["status"] in ("done", "skipped")
        for o in record["outputs"]:
            if o["checksum"] is not None and o["checksum"] != checksum(Path(out) / o["path"]):
                raise AssertionError("%s has another checksum than its file" % o["path"])
        found.append((record["id"], ok, record["recipe"], sorted((o["path"], o["bytes"])
                                                                 for o in record["outputs"])))
    return found
