"""The examples of the pages on Python run, and print what they say."""
import doctest
import os
import re
import subprocess

import pytest

from conftest import PROGRAMS

PAGES = os.path.join(os.environ.get("ZEL_SOURCE_DIR", "."), "docs")
SAMPLE = os.path.join(PROGRAMS, "examples", "make_sample_scene")


@pytest.mark.skipif(not os.path.exists(SAMPLE), reason="the example programs are not built")
@pytest.mark.parametrize("page,needs,count", [("python.md", "zel", 6), ("xarray.md", "dask", 4)])
def test_the_examples_of_a_page(tmp_path, monkeypatch, page, needs, count):
    pytest.importorskip(needs)
    pytest.importorskip("xarray" if needs == "dask" else needs)
    path = os.path.join(PAGES, page)
    monkeypatch.chdir(tmp_path)
    subprocess.run([SAMPLE, "."], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    (tmp_path / "damaged.zel").write_bytes((tmp_path / "sample_250m.zel").read_bytes()[:1300])
    with open(path, encoding="utf-8") as file:
        blocks = re.findall(r"^```pycon\n(.*?)^```", file.read(), re.MULTILINE | re.DOTALL)
    assert len(blocks) == count
    test = doctest.DocTestParser().get_doctest("".join(blocks), {}, page, path, 0)
    assert doctest.DocTestRunner().run(test).failed == 0
