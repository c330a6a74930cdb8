"""Which tests run which lines, and how long each takes; kept in the build tree.

What is run as one is a suite of the test program, without its slow tests, or a script. Each is run once
on the library that counts lines, and again only when a source, or the file that it stands in, has
changed.
"""

import glob
import hashlib
import json
import os
import re
import shutil
import subprocess
import time

from mutate_trees import Runner, read, write

LONGEST = 60    # seconds; a suite or script that takes longer is ended
ATTEMPTS = 4    # to find out which tests of a suite are slow
SLOW = 5        # seconds; a test of a suite that takes longer is not run on mutants


class Reach:
    """The tests with their times, and the lines that each runs."""

    def __init__(self, tests, counted):
        self.tests = tests      # name: {"key", "time", "passes", "slow": [test ...]}
        self.counted = counted  # from a file to (lines that are code, {name: lines that it runs})
        self.known = {}

    def learn(self, path):
        self.known[path] = self.counted(path)

    def of_line(self, path, first, last):
        """The tests that run one of these lines, the fastest first and scripts last; those of the
        whole file where the lines are no code of their own, as those of a constant."""
        code, ran = self.known[path]
        lines = code & set(range(first, last + 1)) or code
        names = [name for name in self.tests if lines & ran.get(name, set())]
        return sorted(names, key=lambda name: (name.endswith(".py"), self.tests[name]["time"], name))

    def leave_out(self, longest):
        """Leaves out the tests that fail or take longer; gives their names."""
        left = sorted(name for name, test in self.tests.items()
                      if not test["passes"] or test["time"] > longest)
        self.tests = {name: test for name, test in self.tests.items() if name not in left}
        return left + sorted(self.slow(self.tests))

    def only(self, names):
        """The same for these tests alone."""
        reach = Reach({name: test for name, test in self.tests.items() if name in names}, self.counted)
        reach.known = self.known
        return reach

    def slow(self, names):
        """The slow tests of these suites."""
        return [test for name in names for test in self.tests[name].get("slow", ())]


def measure(tree, counting, plain, pool, say):
    """The reach of all tests, of which only those that are not known yet are run."""
    kept = os.path.join(tree.build, "reach.json")
    old = json.loads(read(kept)) if os.path.exists(kept) else {}
    digests = digests_of(tree)
    keys = {name: key_of(digests, name) for name in suites_of(tree, plain) + tree.scripts()}
    tests = {name: test for name, test in old.items() if keys.get(name) == test["key"]}
    unknown = [name for name in keys if name not in tests]
    if unknown:
        say("finding out what %d of %d tests reach" % (len(unknown), len(keys)))
    for name, test in pool(counting).run(count, unknown):
        tests[name] = dict(test, key=keys[name])
    reach = Reach(tests, lambda path: counted_lines(tree, counting, plain.users_of(path), path, tests))
    again = [name for name in unknown if not tests[name]["passes"] and tests[name]["time"] < LONGEST]
    for name in passing(again, reach, pool(plain)):     # counting may be what it does not bear
        tests[name]["passes"] = True
    write(kept, json.dumps(tests))
    return reach


def passing(names, reach, workers):
    """Those that pass on the sources as they are."""
    def passes(worker, name):
        env = worker.runner.environment(worker.flavour.library(), worker.flavour.tool())
        return run_test(worker.runner, name, env, reach.slow([name]))
    return {name for name, good in zip(names, workers.run(passes, names)) if good}


def suites_of(tree, flavour):
    runner = Runner(tree, flavour.directory)
    listing = subprocess.run([tree.tests, "--gtest_list_tests"], stdout=subprocess.PIPE, check=True,
                             env=runner.environment(flavour.library(), flavour.tool())).stdout.decode()
    return [line.split(".")[0] for line in listing.split("\n")
            if line and not line[0].isspace() and "." in line]


def key_of(digests, name):
    """A digest of what the reach of a test depends on."""
    sources, files = digests
    if name.endswith(".py"):
        return sources + files[name]
    parts = name.split("/")     # Instance/Suite, Suite/0
    return sources + "".join(files.get(part, "") for part in parts)


def digests_of(tree):
    sources = hashlib.sha1()
    for path in sorted(glob.glob(os.path.join(tree.root, "libsrc", "**", "*.[ch]*"), recursive=True)
                       + glob.glob(os.path.join(tree.root, "src", "**", "*.[ch]*"), recursive=True)):
        sources.update(read(path).encode())
    files = {}
    for path in sorted(glob.glob(os.path.join(tree.root, "tests", "**", "*_test.*"), recursive=True)):
        text = read(path)
        digest = hashlib.sha1(text.encode()).hexdigest()
        for suite in set(re.findall(r"\bTEST(?:_[FP])?\((\w+)|\bTYPED_TEST\((\w+)", text)):
            name = suite[0] or suite[1]
            files[name] = files.get(name, "") + digest
        files[os.path.relpath(path, tree.root)] = digest
    return sources.hexdigest(), files


def run_test(runner, name, env, slow=()):
    if name.endswith(".py"):
        return runner.script_passes(name, env, LONGEST)
    return runner.suites_pass([name], env, LONGEST, slow)


def slow_tests(log):
    """The tests that took long, and the one that did not come to its end."""
    ended = dict(re.findall(r"^\[ +(?:OK|FAILED|SKIPPED) +\] ([^\s,]+).* \((\d+) ms\)$", log, re.MULTILINE))
    begun = re.findall(r"^\[ RUN +\] (\S+)$", log, re.MULTILINE)
    return [name for name in begun if int(ended.get(name, 1000 * SLOW + 1)) > 1000 * SLOW]


def counts_of(flavour, name):
    """Where the counts of a test are."""
    return os.path.join(flavour.directory, "counts", name.replace("/", "~"))


def count(worker, name):
    counts = counts_of(worker.flavour, name)
    shutil.rmtree(counts, ignore_errors=True)
    objects = os.path.join(worker.flavour.directory, "objects")
    env = worker.runner.environment(worker.flavour.library(), worker.flavour.tool())
    env.update(GCOV_PREFIX=counts, GCOV_PREFIX_STRIP=str(objects.count("/")))
    slow = []
    for _ in range(ATTEMPTS):
        start = time.monotonic()
        passes = run_test(worker.runner, name, env, slow)
        seconds = time.monotonic() - start
        found = [] if name.endswith(".py") else slow_tests(worker.runner.log())
        slow += found
        if not found or (passes and seconds < SLOW):
            break
    return name, {"time": round(seconds, 3), "passes": passes, "slow": slow}


def counted_lines(tree, flavour, users, path, tests):
    """The lines of a file that are code, and for each test those that it runs."""
    places = {}
    for name in tests:
        for user in users:
            stem = os.path.join(counts_of(flavour, name), user)
            if os.path.exists(stem + ".gcda"):
                places[stem + ".gcda"] = name
                if not os.path.exists(stem + ".gcno"):
                    os.symlink(os.path.join(flavour.directory, "objects", user + ".gcno"), stem + ".gcno")
    code, ran = set(), {}
    for data in gcov(sorted(places)):
        lines = [line for entry in data["files"] for line in entry["lines"]
                 if os.path.relpath(os.path.join(tree.root, entry["file"]), tree.root) == path]
        code.update(line["line_number"] for line in lines)
        ran.setdefault(places[data["data_file"]], set()).update(
            line["line_number"] for line in lines if line["count"])
    return code, ran


def gcov(paths):
    for first in range(0, len(paths), 50):
        listing = subprocess.run(["gcov", "--json-format", "--stdout", *paths[first:first + 50]],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
        for line in listing.decode("utf-8", "replace").split("\n"):
            if line.startswith("{"):
                yield json.loads(line)
