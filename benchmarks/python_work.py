"""W6: what scenes cost in Python, measured by a process of its own."""
import peers
from file_work import WrongOutput
from timing import Failed

PEERS = peers.HERE / "python_peers.py"
# Debian's: it has the packages that the extension was built for.
INTERPRETER = "/usr/bin/python3"


def figures(text):
    """The ratios and the best times of the rows that were printed, by their keys."""
    found = {}
    for line in text.splitlines():
        key, ratio, own, peer = line.split()
        found[key] = {"value": float(ratio), "ms": float(own), "peer_ms": float(peer)}
    return found


class PythonWork:
    def __init__(self, setup):
        self.setup = setup

    def all(self):
        package = peers.package_of(self.setup.bin)
        if not package.is_dir():
            return {}
        size = self.setup.base_lines // 2
        try:
            return figures(peers.printed(INTERPRETER, "-B", PEERS, size, size, PYTHONPATH=str(package.parent),
                                         TMPDIR=str(self.setup.data)))
        except Failed as error:
            if "AssertionError" in str(error):
                raise WrongOutput(str(error)) from None
            raise

