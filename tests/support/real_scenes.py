"""Real scenes for tests by pytest, and where the programs are."""
import os

import pytest

PROGRAMS = os.environ.get("ZEL_BIN_DIR", "")
SCENES = os.path.join(os.environ.get("ZEL_TEST_DATA", ""), "scenes")


@pytest.fixture
def real():
    """The path of a real scene."""
    def path(name):
        found = os.path.join(SCENES, name)
        if not os.path.exists(found):
            pytest.skip("no scenes: ZEL_TEST_DATA")
        return found
    return path
