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

from real_scenes import PROGRAMS, SCENES, real  # noqa: E402,F401  for the tests


@pytest.fixture
def keep(tmp_path):
    """Puts bytes into a file and gives its path."""
    def put(data, name="scene.zel"):
        path = tmp_path / name
        path.write_bytes(data)
        return path
    return put
