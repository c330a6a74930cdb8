"""The examples of the page on Python run, and print what it says."""
import doctest
import os
import re
import subprocess

import pytest

from conftest import PROGRAMS

PAGE = os.path.join(os.environ.get("ZEL_SOURCE_DIR", "."), "docs", "python.md")
SAMPLE = os.path.join(PROGRAMS, "examples", "make_sample_scene")


@pytest.mark.skipif(not os.path.exists(SAMPLE), reason="the example programs are not built")
def test_the_examples_of_the_page(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    subprocess.run([SAMPLE, "."], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    (tmp_path / "damaged.zel").write_bytes((tmp_path / "sample_250m.zel").read_bytes()[:1300])
    with open(PAGE, encoding="utf-8") as file:
        blocks = re.findall(r"^```pycon\n(.*?)^```", file.read(), re.MULTILINE | re.DOTALL)
    assert len(blocks) == 6
    test = doctest.DocTestParser().get_doctest("".join(blocks), {}, "page", PAGE, 0)
    assert doctest.DocTestRunner().run(test).failed == 0
