"""Builds the library and the tool in flavours, and runs the tests on them.

CMake builds the test program once, on a shared library. A flavour is the library and the tool
compiled again: plain, counting the lines that run, or with the sanitizers; the test program takes the
one that LD_LIBRARY_PATH names. A mutant is a copy of the sources with one change, of which only
what the change reaches is compiled.
"""

import glob
import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import threading

LIBRARY = "libzel.so"
TOOL = "src/zel_combine/"        # the tool that the tests run
SANITIZERS = ["-fsanitize=address,undefined,float-cast-overflow", "-fno-sanitize-recover=all",
              "-fno-omit-frame-pointer"]
SKIPPED = 77                    # how a test script ends of which everything was skipped
LIMITED = ["sh", "-c", 'ulimit -c 0; ulimit -v 8000000; exec "$@"', "sh"]   # a mutant may ask for any amount


class DoesNotCompile(Exception):
    pass


class Tree:
    """The build tree: the test program, and how each source is compiled."""

    def __init__(self, root, build):
        self.root, self.build = root, build
        with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as stream:
            entries = json.load(stream)
        self.commands = {}
        for entry in entries:
            path = os.path.relpath(entry["file"], root)
            if path.startswith(("libsrc/", TOOL)):
                self.commands[path] = without_output(shlex.split(entry["command"]))
        self.tests = os.path.join(build, "bin", "zel_tests")

    def compiler(self):
        return [a for a in next(iter(self.commands.values())) if not a.startswith("-")][:1]

    def scripts(self):
        paths = glob.glob(os.path.join(self.root, "tests", "tool", "*_test.py"))
        return sorted(os.path.relpath(path, self.root) for path in paths)


def without_output(words):
    """A command up to its output, which is what follows -o, and its source."""
    return words[:words.index("-o")]


class Flavour:
    """Objects, library and tool in a directory of their own."""

    def __init__(self, tree, directory, flags, sanitized=False):
        self.tree, self.directory, self.flags, self.sanitized = tree, directory, flags, sanitized

    def object_of(self, path):
        return os.path.join(self.directory, "objects", path + ".o")

    def library(self):
        return os.path.join(self.directory, "lib", LIBRARY)

    def tool(self):
        return os.path.join(self.directory, "bin", "zel_combine")

    def make(self, run_all):
        """Compiles what is not up to date, and links. run_all: maps a function over a list."""
        stale = [path for path in self.tree.commands if not self.is_up_to_date(path)]
        run_all(lambda path: compile_source(self.tree, path, self.tree.root, self.object_of(path),
                                            self.flags), stale)
        if stale or not os.path.exists(self.tool()):
            link_library(self.tree, self.library(), self.objects("libsrc/"), self.flags)
            link_tool(self.tree, self.tool(), self.objects(TOOL), self.library(), self.flags)

    def objects(self, below):
        return [self.object_of(path) for path in sorted(self.tree.commands) if path.startswith(below)]

    def is_up_to_date(self, path):
        built = self.object_of(path)
        if not os.path.exists(built):
            return False
        needed = [os.path.join(self.tree.root, name) for name in self.needs(path)]
        return all(os.path.exists(name) and os.path.getmtime(name) < os.path.getmtime(built)
                   for name in needed)

    def needs(self, path):
        """The sources that an object was made from."""
        with open(self.object_of(path) + ".d", encoding="utf-8") as stream:
            words = stream.read().replace("\\\n", " ").split()[1:]
        return [os.path.relpath(word, self.tree.root) for word in words]

    def users_of(self, path):
        """The sources to compile when this one changes."""
        return [path] if path in self.tree.commands else [
            source for source in sorted(self.tree.commands) if path in self.needs(source)]


def compile_source(tree, path, sources, output, flags):
    """Compiles a source of the tree as it is in the directory sources."""
    os.makedirs(os.path.dirname(output), exist_ok=True)
    words = [re.sub("(^-I|^)%s/(?=(lib)?src)" % re.escape(tree.root), r"\g<1>%s/" % sources, word)
             for word in tree.commands[path]]
    words += flags + ["-w", "-MMD", "-MF", output + ".d", "-o", output, "-c", os.path.join(sources, path)]
    compiled(words)


def link_library(tree, output, objects, flags):
    os.makedirs(os.path.dirname(output), exist_ok=True)
    # Its own copies of the functions in headers, not those of the test program.
    compiled(tree.compiler() + ["-shared", "-Wl,-soname," + LIBRARY, "-Wl,-Bsymbolic-functions"]
             + flags + ["-o", output] + objects)


def link_tool(tree, output, objects, library, flags):
    os.makedirs(os.path.dirname(output), exist_ok=True)
    compiled(tree.compiler() + flags + ["-o", output] + objects + [library])


def compiled(words):
    done = subprocess.run(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise DoesNotCompile(done.stdout.decode("utf-8", "replace"))


# --- running tests --------------------------------------------------------------------------------

class Runner:
    """Runs tests on a library and a tool, in a directory of their own that is emptied afterwards."""

    def __init__(self, tree, directory, sanitized=False):
        self.tree, self.directory, self.sanitized = tree, directory, sanitized

    def environment(self, library, tool):
        env = dict(os.environ)
        env.update(ZEL_COMBINE=tool, ZEL_SOURCE_DIR=self.tree.root, ZEL_BUILD_DIR=self.tree.build,
                   ZEL_BIN_DIR=os.path.dirname(tool), PYTHONDONTWRITEBYTECODE="1",
                   LD_LIBRARY_PATH=os.path.dirname(library), TMPDIR=os.path.join(self.directory, "tmp"),
                   ASAN_OPTIONS="detect_leaks=1:verify_asan_link_order=0")
        return env

    def suites_pass(self, suites, env, limit, without=()):
        if self.sanitized:      # the test program is not, and the checks want to be there first
            env = dict(env, LD_PRELOAD=sanitizer_library(self.tree))
        words = [self.tree.tests, "--gtest_fail_fast",
                 "--gtest_filter=" + ":".join(suite + ".*" for suite in suites)
                 + ("-" + ":".join(without) if without else "")]
        return self.passes(words, env, limit)

    def script_passes(self, script, env, limit):
        return self.passes(["python3", os.path.join(self.tree.root, script), "-f"], env, limit)

    def passes(self, words, env, limit):
        """Whether a command ends well in time. Everything that it started ends with it."""
        work = env["TMPDIR"]
        shutil.rmtree(work, ignore_errors=True)
        os.makedirs(work)
        with open(os.path.join(self.directory, "log"), "wb") as log:
            process = subprocess.Popen(words if self.sanitized else LIMITED + words, env=env, cwd=work,
                                       stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                       start_new_session=True)
            try:
                status = process.wait(timeout=limit)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                end_group(process)
                shutil.rmtree(work, ignore_errors=True)
        return status in (0, SKIPPED)

    def log(self):
        with open(os.path.join(self.directory, "log"), encoding="utf-8", errors="replace") as stream:
            return stream.read()


def end_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def sanitizer_library(tree):
    words = tree.compiler() + ["-print-file-name=libasan.so"]
    return subprocess.run(words, stdout=subprocess.PIPE, check=True).stdout.decode().strip()


# --- one mutant after the other -------------------------------------------------------------------

class Worker:
    """A copy of the sources, in which one mutant at a time is built and run."""

    def __init__(self, tree, flavour, number):
        self.tree, self.flavour = tree, flavour
        self.directory = os.path.join(flavour.directory, "worker-%d" % number)
        self.sources = os.path.join(self.directory, "sources")
        shutil.rmtree(self.directory, ignore_errors=True)
        for name in ("libsrc", "src"):
            shutil.copytree(os.path.join(tree.root, name), os.path.join(self.sources, name))
        self.runner = Runner(tree, self.directory, flavour.sanitized)

    def object_of(self, path):
        return os.path.join(self.directory, "objects", path + ".o")

    def build(self, path, text):
        """Library and tool with this text in the place of a source; DoesNotCompile."""
        users = self.flavour.users_of(path)
        place = os.path.join(self.sources, path)
        try:
            write(place, text)
            for user in users:
                compile_source(self.tree, user, self.sources, self.object_of(user), self.flavour.flags)
        finally:
            shutil.copyfile(os.path.join(self.tree.root, path), place)
        library, tool = self.flavour.library(), self.flavour.tool()
        if any(user.startswith("libsrc/") for user in users):
            library = os.path.join(self.directory, "lib", LIBRARY)
            link_library(self.tree, library, self.objects("libsrc/", users), self.flavour.flags)
        if any(user.startswith(TOOL) for user in users):
            tool = os.path.join(self.directory, "bin", "zel_combine")
            link_tool(self.tree, tool, self.objects(TOOL, users), library, self.flavour.flags)
        return self.runner.environment(library, tool)

    def objects(self, below, users):
        return [self.object_of(path) if path in users else self.flavour.object_of(path)
                for path in sorted(self.tree.commands) if path.startswith(below)]

    def same_code(self, path, text):
        """Whether the optimizer makes the same code of the change as of the source."""
        return self.optimized(path, text) == self.optimized(path, read(os.path.join(self.tree.root, path)))

    def optimized(self, path, text):
        place = os.path.join(self.sources, path)
        codes = []
        try:
            write(place, text)
            for user in self.flavour.users_of(path):
                output = self.object_of("optimized")
                compile_source(self.tree, user, self.sources, output, ["-O2"])
                with open(output, "rb") as stream:
                    codes.append(stream.read())
        finally:
            shutil.copyfile(os.path.join(self.tree.root, path), place)
        return codes


def read(path):
    with open(path, encoding="utf-8") as stream:
        return stream.read()


def write(path, text):
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(text)


class Pool:
    """Runs a function over a list, with a worker of its own for each thread."""

    def __init__(self, make_worker, count):
        self.make_worker, self.count = make_worker, count

    def run(self, function, items):
        items = list(enumerate(items))
        results = [None] * len(items)
        errors = []
        lock = threading.Lock()

        def work(number):
            try:
                worker = self.make_worker(number)
                while True:
                    with lock:
                        if not items or errors:
                            return
                        index, item = items.pop(0)
                    results[index] = function(worker, item)
            except BaseException as error:  # handed on to the caller
                errors.append(error)

        threads = [threading.Thread(target=work, args=(n,)) for n in range(min(self.count, len(items)))]
        for thread in threads:
            thread.start()
        try:
            for thread in threads:
                thread.join()
        except KeyboardInterrupt as error:
            errors.append(error)    # what runs is brought to its end
        if errors:
            raise errors[0]
        return results
