"""The examples in the package run."""
import doctest
import importlib
import pkgutil

import pytest

import zel
from samples import doctest_scene

FOUND = [module.name for module in pkgutil.iter_modules(zel.__path__)]
MODULES = ["zel"] + ["zel." + name for name in FOUND if name != "_core"]


@pytest.mark.parametrize("name", MODULES)
def test_the_examples_of_a_module_run(keep, monkeypatch, tmp_path, name):
    keep(doctest_scene().bytes())
    monkeypatch.chdir(tmp_path)
    result = doctest.testmod(importlib.import_module(name), extraglobs={"SCENE": "scene.zel"})
    assert result.failed == 0
