"""Feeds what the fuzz targets keep to the package: corpus.py KIND FOLDER, in a process of its own.
Each input is taken whole, cut and with some bytes changed. Prints how many of them were accepted
and refused; anything but an exception that the package promises ends it."""
import os
import sys
import tempfile
import warnings
from datetime import datetime

import numpy as np

import zel

warnings.simplefilter("ignore")
ACCEPTED = (zel.ZelError, ValueError, TypeError, MemoryError, OSError)
PLANE = np.array([[1.0, 2.0, 3.0]], np.float32)


def formula(kind):
    def run(data, path):
        made = kind(data.decode("latin-1"))
        names = [*made.channels, *made.variables]
        made({name: PLANE for name in names} or {"Ch1": PLANE})
    return run


def expression(data, path):
    *named, text = data.decode("latin-1").split("\n")
    definitions = dict(line.partition(":")[::2] for line in named)
    made = zel.Expression(text, definitions=definitions)
    made({name: PLANE for name in [*made.channels, *made.variables]})


def put(data, path):
    with open(path, "wb") as file:
        file.write(data)
    return path


def from_any(use, begins):
    """Options of a target come before what it reads. Fails where it fails from each place."""
    def run(data, path):
        errors = []
        for begin in begins(data):
            try:
                use(data[begin:], path)
            except ACCEPTED as error:
                errors.append(error)
        if len(errors) == len(begins(data)):
            raise errors[0]
    return run


def scene(data, path):
    found = zel.open(put(data, path))
    repr(found)
    if found.shape[0] * found.shape[1] > 100000:
        return
    for channel in found.channels:
        channel.raw[:], channel.mask_bytes()
    found.view().stack(), found.lines, found.positions(), found.angles()


def mask(data, path):
    channel = zel.NewChannel(np.ones((2, 3), np.uint8), "map", mask=data)
    zel.write(path, [channel], start=datetime(2024, 1, 1), overwrite=True)
    found = zel.open(path).channels["map"]
    assert found.mask_bytes() == b"" if found.mask is None else found.mask_bytes()


SCENES = from_any(scene, lambda data: sorted({0, 1, 2, 4, max(data.find(b"ZEL"), 0)}))
MASKS = from_any(mask, lambda data: [0, 4])
VORN = from_any(lambda data, path: zel.read_vorn(put(data, path)), lambda data: (0, 6, 7))


KINDS = {
    "expression_fuzz": expression,
    "program_fuzz": formula(zel.Program),
    "mask_parameter_fuzz": formula(zel.Program),
    "parameter_file_fuzz": formula(zel.Expression),
    "sample_file_fuzz": lambda data, path: zel.read_samples(put(data, path)),
    "feature_header_fuzz": lambda data, path: zel.read_samples(put(data, path)),
    "vorn_fuzz": VORN,
    "mask_block_fuzz": MASKS,
    "scene_fuzz": SCENES,
    "verbs_fuzz": SCENES,
    "combine_fuzz": SCENES,
}


def variants(data):
    yield data
    steps = max(len(data) // (12 if len(data) < 2000 else 3), 1)
    for place in range(0, len(data), steps):
        yield data[:place]
        for byte in (b"\xff", b"\x00", bytes([data[place] ^ 1])):
            yield data[:place] + byte + data[place + 1:]


def main(kind, folder):
    counts = [0, 0]
    with tempfile.TemporaryDirectory() as work:
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), "rb") as file:
                data = file.read()
            for changed in variants(data):
                try:
                    KINDS[kind](changed, os.path.join(work, "file"))
                    counts[0] += 1
                except ACCEPTED as error:
                    assert str(error) or isinstance(error, MemoryError)
                    counts[1] += 1
    print(*counts)


if __name__ == "__main__":
    main(*sys.argv[1:])
