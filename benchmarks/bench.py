#!/usr/bin/env python3
"""Measures the tool and the library beside what people use today, and prints one table.

Where it can be a figure is a ratio within rounds that run all commands in turn, because absolute
times swing with the machine. Outputs are checked before anything is timed. The page docs/speed.md tells what
the workloads are; benchmarks/plot.py puts the figures there.
"""
import argparse
import datetime
import json
import os
import platform
import subprocess
import sys
from collections import namedtuple
from pathlib import Path

sys.dont_write_bytecode = True

import fit  # noqa: E402
import peers  # noqa: E402
import rows  # noqa: E402

ROOT = Path(__file__).resolve().parents[1]
WORK = ("W1", "W2", "W3", "W4", "W5", "W6", "growth")
Setup = namedtuple("Setup", "bin data base_lines pixels rounds short_rounds installed")


def arguments(words=None):
    parser = argparse.ArgumentParser(prog="./dev bench", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--quick", action="store_true",
                        help="a small scene and 3 rounds: whether it runs, not how fast")
    parser.add_argument("--only", action="append", choices=WORK, metavar="WORK",
                        help="one of " + ", ".join(WORK) + "; may be repeated")
    parser.add_argument("--rounds", type=int, help="how many rounds are counted (7)")
    parser.add_argument("--json", type=Path, metavar="FILE", help="write the figures there too")
    parser.add_argument("--bin", type=Path, default=ROOT / "build" / "bin", metavar="DIR",
                        help="where the programs are (build/bin)")
    return parser.parse_args(words)


def setup_of(options):
    size = "quick" if options.quick else "full"
    data = ROOT / "build" / ("bench-" + size)
    data.mkdir(parents=True, exist_ok=True)
    rounds = options.rounds or (3 if options.quick else 7)
    return Setup(bin=options.bin.resolve(), data=data, base_lines=256 if options.quick else 4096,
                 pixels=1 << 20 if options.quick else 1 << 23, rounds=rounds,
                 short_rounds=min(rounds, 5), installed=peers.installed())


def processor():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def circumstances(options):
    """What the figures depend on."""
    return {"date": datetime.date.today().isoformat(), "quick": options.quick,
            "machine": "%s, %d cores, %s" % (processor(), os.cpu_count(), platform.system()),
            "load": os.getloadavg()[0]}


def parts(setup):
    """What measures each work."""
    if "numpy" not in setup.installed:
        sys.exit("bench: scenes are made with numpy (Debian: python3-numpy)")
    from expression_work import ExpressionWork
    from file_work import FileWork
    from growth import Growth
    from python_work import PythonWork
    files, expressions = FileWork(setup), ExpressionWork(setup)
    return {"W1": files.container, "W2": files.grid, "W3": expressions.expressions,
            "W4": expressions.program, "W5": files.opening,
            "W6": PythonWork(setup).all, "growth": Growth(setup).all}


def attempt(name, part, faults):
    """The figures of a part; none when it fails."""
    from file_work import WrongOutput
    from timing import Failed
    print("measuring " + name, file=sys.stderr, flush=True)
    try:
        return part()
    except (WrongOutput, Failed, OSError, subprocess.CalledProcessError) as error:
        faults.append("%s: %s" % (name, error))
        return {}


def measure(wanted, setup, report, faults):
    """Adds the figures to the report: of rows, and of growth."""
    report["rows"] = {}
    for name, part in parts(setup).items():
        if name not in wanted:
            continue
        found = attempt(name, part, faults)
        if name == "growth":
            report["growth"] = found
        else:
            report["rows"].update(found)


def keys_of(wanted):
    return {row.key for row in rows.ROWS if row.key.split("-")[0].upper() in wanted}


def main():
    options = arguments()
    wanted = options.only or WORK
    setup = setup_of(options)
    report, faults = circumstances(options), peers.missing(setup.bin)
    absent = len(faults)
    measure(wanted, setup, report, faults)
    print("%(machine)s, %(date)s, load %(load).1f at the start" % report)
    if report["load"] > 1:
        faults.insert(0, "other programs are running: do not rely on these figures")
        absent += 1
    print("ratios of wall times, medians of %d rounds; times and memory, the best of them; less is"
          " better\n" % setup.rounds)
    if keys_of(wanted):
        print(rows.table(report["rows"], keys_of(wanted)))
    if report.get("growth"):
        print("\n" + fit.table(report["growth"]))
    for fault in faults:
        print("bench: " + fault, file=sys.stderr)
    if options.json:
        options.json.write_text(json.dumps(report, indent=1) + "\n")
    return 1 if len(faults) > absent else 0


if __name__ == "__main__":
    sys.exit(main())
