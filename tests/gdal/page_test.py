"""The commands of the page on GDAL print what the page says, one after the other; a line of dots stands
for any lines."""
import os
import re
import subprocess

import pytest

from conftest import PROGRAMS

PAGE = os.path.join(os.environ["ZEL_SOURCE_DIR"], "docs", "gdal.md")
SAMPLE = os.path.join(PROGRAMS, "examples", "make_sample_scene")


def shown():
    """(command, the lines below it) of the page."""
    with open(PAGE, encoding="utf-8") as page:
        blocks = re.findall(r"^```text\n(.*?)^```", page.read(), re.MULTILINE | re.DOTALL)
    for part in re.split(r"^\$ ", "".join(blocks), flags=re.MULTILINE)[1:]:
        command, _, output = part.partition("\n")
        yield command, output


def pattern(output):
    lines = output.splitlines()
    return "".join(r"(?:[^\n]*\n)*?" if line == "..." else re.escape(line) + "\n" for line in lines)


@pytest.mark.skipif(not os.path.exists(SAMPLE) or not os.path.exists(os.path.join(PROGRAMS, "zel")),
                    reason="the example programs or the command zel are not built")
def test_commands_print_what_the_page_says(tmp_path):
    subprocess.run([SAMPLE, "."], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    path = dict(os.environ, PATH=PROGRAMS + os.pathsep + os.environ["PATH"])
    commands = list(shown())
    assert len(commands) == 15
    for command, output in commands:
        said = subprocess.run(command, shell=True, cwd=tmp_path, env=path, check=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout.decode()
        assert re.fullmatch(pattern(output), said), "%s\n%s" % (command, said)
