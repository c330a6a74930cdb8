"""What all tests of the package share. PYTHONPATH leads to the package of the build tree."""
import os
import sys
import tempfile

import pytest

# What the search for examples keeps has no place in the tree.
os.environ.setdefault("HYPOTHESIS_STORAGE_DIRECTORY",
                      os.path.join(tempfile.gettempdir(), "zel_hypothesis"))

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), "support"))

PROGRAMS = os.environ.get("ZEL_BIN_DIR", "")
SCENES = os.path.join(os.environ.get("ZEL_TEST_DATA", ""), "scenes")


@pytest.fixture
def keep(tmp_path):
    """Puts bytes into a file and gives its path."""
    def put(data, name="scene.zel"):
        path = tmp_path / name
        path.write_bytes(data)
        return path
    return put


@pytest.fixture
def real():
    """The path of a real scene."""
    def path(name):
        found = os.path.join(SCENES, name)
        if not os.path.exists(found):
            pytest.skip("no scenes: ZEL_TEST_DATA")
        return found
    return path
