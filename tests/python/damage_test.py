"""Damaged files: an exception that says what is wrong and where, and never more than that."""
import os
import struct
import subprocess
import sys

import numpy as np
import pytest

import zel
from damaged import (CHANNEL, FIELDS, LUT, TWO, WHOLE, cuts, lines_left, places_of_damage,
                     with_bytes)
from samples import container
from scenes import ramp

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.environ.get("ZEL_SOURCE_DIR", ".")


DAMAGE = {
    "LUT cut": (WHOLE[:LUT + 100], "cut short", "DisplayLUTLabel", LUT + 4),
    "slots": (with_bytes(WHOLE, FIELDS + 4, b"\xff\xff"), "invalid MaxNumChan -1", "MaxNumChan",
              FIELDS + 4),
    "pixels": (with_bytes(WHOLE, FIELDS + 12, b"\0\0"), "invalid NPixelPerLine 0", "NPixelPerLine",
               FIELDS + 12),
    "points": (with_bytes(WHOLE, FIELDS + 14, b"\xff\xff\xff\xff"), "invalid NumNavPoints -1",
               "NumNavPoints", FIELDS + 14),
    "LUTs": (with_bytes(WHOLE, FIELDS + 2036, b"\xff\xff"), "invalid NumDisplayLUTs -1",
             "NumDisplayLUTs", FIELDS + 2036),
    "storage code": (with_bytes(WHOLE, CHANNEL + 12, b"\x09\0\0\0"), "invalid Type 9", "Type",
                     CHANNEL + 12),
    "components": (with_bytes(WHOLE, 17, b"\x65\0\0\0"), "invalid number of components 101",
                   "number of components", 17),
    "base": (with_bytes(TWO, 13, b"\x02\0\0\0"), "invalid base component index 2",
             "base component index", 13),
    "second component": (with_bytes(TWO, len(WHOLE) + FIELDS + 4, b"\xff\xff"),
                         "invalid MaxNumChan -1", "MaxNumChan", len(WHOLE) + FIELDS + 4),
}


@pytest.mark.parametrize("kind", DAMAGE)
def test_damage_has_a_field_and_its_offset(keep, kind):
    data, reason, field, offset = DAMAGE[kind]
    path = keep(data)
    with pytest.raises(zel.DamagedFileError, match=reason) as caught:
        zel.open(path)
    error = caught.value
    assert (error.file, error.field, error.offset) == (str(path), field, offset)
    assert str(error).startswith(str(path))


@pytest.mark.parametrize("data", [b"", b"GIF89a", b"ZEL", bytes(5000), WHOLE[:3] + b"9.9\0"
                                  + WHOLE[7:], with_bytes(WHOLE, FIELDS, bytes(4))])
def test_what_is_no_zel_file_is_unsupported_or_damaged(keep, data):
    with pytest.raises((zel.UnsupportedFileError, zel.DamagedFileError)):
        zel.open(keep(data))


def test_a_newer_version_is_unsupported(keep):
    with pytest.raises(zel.UnsupportedFileError, match="version 9.9 or higher"):
        zel.open(keep(with_bytes(WHOLE, 3, b"9.9\0")))
    with pytest.raises(zel.UnsupportedFileError, match="not a ZEL file"):
        zel.open(keep(with_bytes(WHOLE, FIELDS, bytes(4))))


def test_what_cannot_be_opened_is_an_error_of_the_system(tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        zel.open(tmp_path / "nothing.zel")
    assert caught.value.filename == str(tmp_path / "nothing.zel")
    with pytest.raises(IsADirectoryError):
        zel.open(tmp_path)
    os.mkfifo(tmp_path / "pipe")
    with pytest.raises(OSError, match="seek"):
        zel.open(tmp_path / "pipe")


def read_all(path):
    """Everything that a scene has; of a scene that is too large, some."""
    found = zel.open(path)
    repr(found)
    for part in {found, *found.components}:
        if part.shape[0] * part.shape[1] > 1000000:
            continue
        for channel in part.channels:
            assert channel.raw[:].shape == channel.values.shape
            repr(channel)
        part.lines, part.tie_points(), part.positions(), part.angles()
    if found.shape[0] * found.shape[1] < 1000000:
        found.view().stack()
    return found


def test_a_file_opens_after_a_damaged_one(keep):
    with pytest.raises(zel.ZelError):
        zel.open(keep(DAMAGE["LUT cut"][0]))
    assert zel.open(keep(WHOLE, "whole")).channels["byte"].raw[:].tolist() == ramp(3, 4)


def test_every_cut_is_an_error_or_a_file_with_fewer_lines(keep):
    for size in cuts():
        try:
            found = read_all(keep(WHOLE[:size]))
        except zel.ZelError:
            continue
        assert found.shape[0] == lines_left(size)
        assert found.channels["byte"].raw[:].tolist() == ramp(3, 4)[:found.shape[0]]


@pytest.mark.parametrize("data,places", [
    (WHOLE, places_of_damage(3)),
    (container(), [*range(10, 60), *range(420, 440), *range(820, 850)])])
def test_damage_in_any_place_is_an_error_or_does_no_harm(keep, data, places):
    for place in places:
        for new in (b"\xff\xff", b"\x7f\x00", b"\x00\x00"):
            try:
                read_all(keep(with_bytes(data, place, new)))
            except (zel.ZelError, MemoryError):
                pass


KINDS = {  # and whether some of its inputs are what the package reads
    "expression_fuzz": True, "program_fuzz": True, "mask_parameter_fuzz": False,
    "parameter_file_fuzz": False, "sample_file_fuzz": False, "feature_header_fuzz": True,
    "vorn_fuzz": True, "mask_block_fuzz": True, "scene_fuzz": True, "verbs_fuzz": True,
    "combine_fuzz": False}


@pytest.mark.parametrize("kind,some", KINDS.items())
def test_what_the_fuzz_targets_keep_is_read_or_an_error(kind, some):
    """In a process of its own: none of it may end that."""
    accepted = refused = 0
    for folder in ("seeds", "regressions"):
        place = os.path.join(SOURCE, "fuzz", folder, kind)
        if not os.path.isdir(place):
            continue
        done = subprocess.run([sys.executable, os.path.join(HERE, "corpus.py"), kind, place],
                              capture_output=True, text=True, timeout=300)
        assert done.returncode == 0, done.stderr[-2000:]
        counts = list(map(int, done.stdout.split()))
        accepted, refused = accepted + counts[0], refused + counts[1]
    assert refused > 10
    assert not some or accepted > 0


def test_a_mask_that_cannot_be_read_is_an_error(keep):
    """The flag of the mask stands after 276 bytes of the channel's record in layout 2.3."""
    with pytest.raises(zel.DamagedFileError) as caught:
        zel.open(keep(with_bytes(WHOLE, CHANNEL + 276, struct.pack("<i", 0x01000000))))
    assert caught.value.offset is not None


def test_errors_are_pickled(keep):
    import pickle
    with pytest.raises(zel.DamagedFileError) as caught:
        zel.open(keep(DAMAGE["slots"][0]))
    again = pickle.loads(pickle.dumps(caught.value))
    assert (str(again), again.field, again.offset) == (
        str(caught.value), "MaxNumChan", FIELDS + 4)


def test_a_file_that_is_cut_after_it_was_opened_is_an_error_where_it_is_cut(keep):
    path = keep(WHOLE)
    found = zel.open(path)
    os.truncate(path, len(WHOLE) - 60)
    assert np.array_equal(found.channels["byte"].raw[0], ramp(3, 4)[0])
    for read in (lambda: found.channels["byte"].raw[2], lambda: found.channels["byte"].values,
                 found.positions, found.angles):
        with pytest.raises(zel.DamagedFileError, match="cut short"):
            read()
