"""The examples in the package run."""
import doctest
import importlib
import importlib.util
import pkgutil

import pytest

import zel
from samples import doctest_scene

FOUND = [module.name for module in pkgutil.walk_packages(zel.__path__, "zel.")
         if importlib.util.find_spec(module.name.split(".")[1])
         or module.name.split(".")[1] not in ("xarray", "satpy")]
MODULES = ["zel"] + [name for name in FOUND if name != "zel._core"]


@pytest.mark.parametrize("name", MODULES)
def test_the_examples_of_a_module_run(keep, monkeypatch, tmp_path, name):
    keep(doctest_scene().bytes())
    monkeypatch.chdir(tmp_path)
    result = doctest.testmod(importlib.import_module(name), extraglobs={"SCENE": "scene.zel"})
    assert result.failed == 0
