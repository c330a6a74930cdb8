#!/usr/bin/env python3
"""Changes one thing at a time in a source and runs the tests that reach it: ./dev mutate FILE ...

A change that no test notices, a survivor, shows a test that is missing, or code without effect. One
that makes the same program is no survivor: those that the optimizer shows to be so, and those listed in
tests/house/equivalent_mutants.txt with a reason. The sources themselves are never written to.

Ends with status 1 when there are survivors.
"""

import argparse
import os
import random
import re
import sys
from collections import Counter

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from equivalents import read_equivalents  # noqa: E402
from mutants import mutants_of  # noqa: E402
from mutate_reach import LONGEST, measure, passing  # noqa: E402
from mutate_trees import SANITIZERS, TOOL, DoesNotCompile, Flavour, Pool, Tree, Worker, read  # noqa: E402

ROOT = os.environ.get("ZEL_SOURCE_DIR") or os.path.dirname(
    os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EQUIVALENTS = "tests/house/equivalent_mutants.txt"
QUICK = 3.0             # seconds of suites that are run in one process before the slower ones
KILLED, SURVIVES, UNREACHED = "killed", "survives", "is in a line that no test reaches"
LISTED, SAME, INVALID = "is listed as the same program", "makes the same code", "does not compile"
OPEN = (SURVIVES, UNREACHED)


def say(text):
    print(text, file=sys.stderr, flush=True)


def arguments():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.split("\n")[0])
    parser.add_argument("files", nargs="+", metavar="FILE", help=".cpp or .hpp of libsrc or src/zel_combine")
    parser.add_argument("--sample", type=int, metavar="N", help="try N mutants of each file only")
    parser.add_argument("--seed", type=int, default=0, metavar="S", help="another sample (0)")
    parser.add_argument("--lines", type=line_range, metavar="A-B", help="only those of these lines")
    parser.add_argument("--longest", type=float, default=LONGEST, metavar="T",
                        help="leave out tests that take longer than so many seconds (%(default)s)")
    parser.add_argument("--sanitize", action="store_true", help="run survivors with the sanitizers too")
    parser.add_argument("--list", action="store_true", help="show the mutants, run nothing")
    return parser.parse_args()


def line_range(text):
    match = re.fullmatch(r"(\d+)(?:-(\d+))?", text)
    if not match:
        raise argparse.ArgumentTypeError("a line or two lines with a - are expected")
    return int(match.group(1)), int(match.group(2) or match.group(1))


def path_of(name):
    path = os.path.relpath(os.path.abspath(name), ROOT)
    private = path.endswith((".cpp", ".hpp")) or (path.startswith(TOOL) and path.endswith(".h"))
    if not (path.startswith(("libsrc/", TOOL)) and private and os.path.exists(os.path.join(ROOT, path))):
        sys.exit("mutate: %s is no private source of libsrc or %s" % (name, TOOL))
    return path


def chosen(source, options):
    mutants = mutants_of(source)
    if options.lines:
        first, last = options.lines
        mutants = [m for m in mutants if first <= m.line(source) <= last]
    if options.sample is not None and options.sample < len(mutants):
        picked = random.Random(options.seed).sample(range(len(mutants)), options.sample)
        mutants = [mutants[index] for index in sorted(picked)]
    return mutants


# --- one mutant -----------------------------------------------------------------------------------

def groups(names, reach):
    """The tests in the order in which they are run: quick suites together, slow ones, scripts."""
    quick, spent, rest = [], 0.0, []
    for name in names:
        spent += reach.tests[name]["time"]
        (quick if spent < QUICK and not name.endswith(".py") else rest).append(name)
    return ([quick] if quick else []) + [[name] for name in rest]


def survives_tests(worker, env, names, reach, slower):
    for group in groups(names, reach):
        limit = slower * (10 + 10 * sum(reach.tests[name]["time"] for name in group))
        passes = (worker.runner.script_passes(group[0], env, limit) if group[0].endswith(".py")
                  else worker.runner.suites_pass(group, env, limit, reach.slow(group)))
        if not passes:
            return False
    return True


def verdict_of(worker, path, mutant, reach, slower=1):
    source = read(os.path.join(ROOT, path))
    names = reach.of_line(path, mutant.line(source), mutant.last_line(source))
    try:
        env = worker.build(path, mutant.applied(source))
    except DoesNotCompile:
        return INVALID
    if not survives_tests(worker, env, names, reach, slower):
        return KILLED
    if worker.same_code(path, mutant.applied(source)):
        return SAME
    return SURVIVES if names else UNREACHED


# --- a file ---------------------------------------------------------------------------------------

class Session:
    """What is built once: the flavours, and the reach of the tests."""

    def __init__(self, jobs, longest):
        self.tree = Tree(ROOT, os.path.join(ROOT, "build-mutate"))
        self.jobs = jobs
        self.plain = self.made("plain", ["-O0"])
        self.reach = measure(self.tree, self.made("counting", ["-O0", "--coverage"]), self.plain,
                             self.pool, say)
        left_out = self.reach.leave_out(longest)
        if left_out:
            say("not run, as they fail on the sources as they are or are slow: " + ", ".join(left_out))

    def made(self, name, flags, sanitized=False):
        flavour = Flavour(self.tree, os.path.join(self.tree.build, name), flags, sanitized)
        flavour.make(lambda function, items: Pool(lambda number: None, self.jobs).run(
            lambda nobody, item: function(item), items))
        return flavour

    def pool(self, flavour):
        return Pool(lambda number: Worker(self.tree, flavour, number), self.jobs)

    def verdicts(self, path, mutants, sanitize):
        def tried(worker, mutant):
            verdict = verdict_of(worker, path, mutant, self.reach)
            if verdict in OPEN:
                say("%s:%d: %s: %s" % (path, mutant.line(source), mutant.what, verdict))
            return verdict

        source = read(os.path.join(ROOT, path))
        self.reach.learn(path)
        verdicts = dict(zip(mutants, self.pool(self.plain).run(tried, mutants)))
        left = [mutant for mutant in mutants if verdicts[mutant] == SURVIVES]
        if sanitize and left:
            flavour = self.made("sanitized", ["-O1", "-g1", *SANITIZERS], sanitized=True)
            reaching = sorted({name for m in left for name in self.reach.of_line(
                path, m.line(source), m.last_line(source))})
            sound = self.reach.only(passing(reaching, self.reach, self.pool(flavour)))
            again = self.pool(flavour).run(
                lambda worker, mutant: verdict_of(worker, path, mutant, sound, slower=5), left)
            verdicts.update({m: KILLED for m, verdict in zip(left, again) if verdict == KILLED})
        return verdicts


def report(path, source, verdicts):
    """The lines that say how a file's mutants fared."""
    counts = Counter(verdicts.values())
    same = counts[LISTED] + counts[SAME]
    left = sum(counts[verdict] for verdict in OPEN)
    tried = counts[KILLED] + left
    lines = ["%s: %d mutants, %d killed, %d the same program (%d by list), %d survive, "
             "%d do not compile; score %s" % (
                 path, len(verdicts) - counts[INVALID], counts[KILLED], same, counts[LISTED], left,
                 counts[INVALID], "%.1f %%" % (100.0 * counts[KILLED] / tried) if tried else "-")]
    for mutant, verdict in verdicts.items():
        if verdict in OPEN:
            before, after = mutant.change(source)
            lines += ["%s:%d: %s: %s" % (path, mutant.line(source), mutant.what, verdict),
                      "    before: " + before, "    after:  " + after]
    return lines


def equivalents():
    place = os.path.join(ROOT, EQUIVALENTS)
    entries = read_equivalents(read(place)) if os.path.exists(place) else []
    return {(entry.file, entry.before, entry.after) for entry in entries}


def main():
    options = arguments()
    paths = [path_of(name) for name in options.files]
    sources = {path: read(os.path.join(ROOT, path)) for path in paths}
    if options.list:
        for path in paths:
            for mutant in chosen(sources[path], options):
                print("%s:%d: %s\n    before: %s\n    after:  %s" % (
                    path, mutant.line(sources[path]), mutant.what, *mutant.change(sources[path])))
        return 0
    session = Session(int(os.environ.get("ZEL_JOBS") or os.cpu_count() or 1), options.longest)
    same = equivalents()
    survivors = 0
    for path in paths:
        mutants = chosen(sources[path], options)
        listed = {m: LISTED for m in mutants if (path, *m.change(sources[path])) in same}
        say("%s: %d mutants" % (path, len(mutants)))
        tried = session.verdicts(path, [m for m in mutants if m not in listed], options.sanitize)
        verdicts = {m: listed.get(m) or tried[m] for m in mutants}
        survivors += sum(verdict in OPEN for verdict in verdicts.values())
        print("\n".join(report(path, sources[path], verdicts)), flush=True)
    return 1 if survivors else 0


if __name__ == "__main__":
    sys.exit(main())
