"""The commands that a page shows, run: what they say must be what the page says. The names on the page tell
what kind of file stands for them."""
import os
import re
import subprocess
import sys
import textwrap
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tool"))
from harness import TOOL, ToolTest, grids_missing

# What goes to standard error: warnings, and what the feature layer says.
ERROR_STREAM = re.compile(
    r"^\w+: warning: |^corrupt feature file: |^ZELCreateCompositeFile: write error on |"
    r"^zel_combine: Error: cannot read zel_feature header file cut")
FULL_DISK = "full_disk.zel"


class Command:
    """A command of the page, the lines that follow it, and the status if that is asked for."""

    def __init__(self, text):
        self.text = text
        self.said = []
        self.status = None
        self.answer = ""

    def names(self):
        return [w for w in self.text.split() if re.search(r"\.\w+$", w)]

    def expected(self):
        """(standard output as a pattern, standard error)"""
        out, err = "", ""
        for line in self.said:
            question = re.match(r"(.*\(y/n\) )([yn])$", line)
            if question:
                self.answer = question.group(2) + "\n"
                out += re.escape(question.group(1))
                if self.answer == "n\n":
                    out += r"\n?"
            elif ERROR_STREAM.match(line):
                err += line + "\n"
            elif line == "...":
                out += r"(?:[^\n]*\n)+?"
            else:
                out += re.escape(line + "\n")
        return out, err


def commands(page):
    found = []
    for block in re.findall(r"^ *```text\n(.*?)^ *```$", page, re.MULTILINE | re.DOTALL):
        lines = textwrap.dedent(block).splitlines()
        if not lines[0].startswith("$ "):
            continue
        for line in lines:
            if line == "$ echo $?":
                found[-1].status = ""
            elif line.startswith("$ "):
                found.append(Command(line[2:]))
            elif found[-1].status == "":
                found[-1].status = int(line)
            else:
                found[-1].said.append(line)
    return found


class PageTest(ToolTest):
    FILES = {}          # by name: what makes the bytes of the file
    NOT_THERE = set()   # names that stand for no file
    SHRUNK = {}         # by name: how much of the file is left when the question is answered

    def prepare(self, command):
        for name in command.names():
            if name in self.FILES:
                self.put(name, self.FILES[name]())
            elif name == FULL_DISK:
                os.symlink("/dev/full", self.dir / name)
            else:
                self.assertIn(name, self.NOT_THERE)

    def run_command(self, command):
        """(status, standard output, standard error)"""
        none = str(self.dir / "no_data")
        run = subprocess.Popen(
            [TOOL] + command.text.split()[1:], cwd=self.dir, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none))
        out = b""
        if command.answer:
            while not out.endswith(b"(y/n) "):
                byte = run.stdout.read(1)
                self.assertTrue(byte, out)
                out += byte
            for name in command.names():
                if name in self.SHRUNK:
                    os.truncate(self.dir / name, self.SHRUNK[name]())
        rest, err = run.communicate(command.answer.encode(), timeout=60)
        return run.returncode, (out + rest).decode().replace(grids_missing(), ""), err.decode()

    def check_command(self, command):
        self.prepare(command)
        pattern, warnings = command.expected()
        status, out, err = self.run_command(command)
        self.assertRegex(out, "^" + pattern + r"\Z", command.text)
        self.assertEqual(err, warnings, command.text)
        if command.status is not None:
            self.assertEqual(status, command.status, command.text)
        if status != 0:
            self.absent("out.zel")
        for name in command.names():
            if name in self.FILES and name not in self.SHRUNK and name != "old.zel":
                self.same_bytes(self.got(name), self.FILES[name](), name)

    def check_page(self, page):
        for command in commands(page):
            for old in self.dir.iterdir():
                if old.name != "no_data":
                    old.unlink()
            with self.subTest(command=command.text):
                self.check_command(command)
