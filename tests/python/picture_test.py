"""Quicklooks, and scenes in notebooks."""
import base64
import re
import struct
import zlib

import numpy as np

import zel
from scenes import Channel, Scene, ramp


def decoded(data):
    """The pixels of a PNG file of 8-bit colours without filters."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, body = 8, b""
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        part = data[at + 8:at + 8 + size]
        assert struct.unpack_from(">I", data, at + 8 + size)[0] == zlib.crc32(kind + part)
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">2I2B", part[:10])
            assert (depth, colour) == (8, 2)
        body += part if kind == b"IDAT" else b""
        at += 12 + size
    rows = np.frombuffer(zlib.decompress(body), np.uint8).reshape(height, 1 + 3 * width)
    assert not rows[:, 0].any()
    return rows[:, 1:].reshape(height, width, 3)


def image_of(scene):
    return decoded(base64.b64decode(re.search('base64,([^"]+)"', scene._repr_html_())[1]))


def test_one_channel_is_grey(keep):
    scene = zel.open(keep(Scene({0: Channel(4, [[0.0, 50.0, 100.0]], label="<a&b>")}).bytes()))
    # of 0, 50 and 100 the percentiles 2 and 98 are 2 and 98
    assert image_of(scene).tolist() == [[[0] * 3, [127] * 3, [255] * 3]]
    assert "&lt;a&amp;b&gt;" in scene._repr_html_() and "<a&b>" not in scene._repr_html_()


def test_red_green_and_blue_are_found_by_their_wavelengths(keep):
    planes = {0.48: [[0.0, 0.0, 9.0]], 0.65: [[9.0, 0.0, 0.0]], 0.56: [[0.0, 9.0, 0.0]],
              2.2: [[1.0, 2.0, 3.0]]}
    channels = {k: Channel(4, plane, wavelength=wave)
                for k, (wave, plane) in enumerate(planes.items())}
    picture = zel.open(keep(Scene(channels).bytes())).quicklook()
    assert picture.tolist() == [[[255, 0, 0], [0, 255, 0], [0, 0, 255]]]


def test_classes_have_their_colours(keep):
    lut = (1, "cover", [(10, 20, 30, "a"), (40, 50, 60, "b")])
    channel = Channel(3, [[0, 1, 7]], comment="cover")
    picture = zel.open(keep(Scene({0: channel}, luts=[lut]).bytes())).quicklook()
    assert picture.tolist() == [[[10, 20, 30], [40, 50, 60], [0, 0, 0]]]


def test_large_scenes_are_thinned(keep):
    scene = zel.open(keep(Scene({0: Channel(3, ramp(700, 100))}).bytes()))
    assert scene.quicklook().shape == (234, 34, 3)


def test_a_scene_without_channels_or_lines_has_no_picture(keep):
    data = Scene({0: Channel(3, ramp(1, 4))}).bytes()
    empty = zel.open(keep(data[:-4]))
    assert empty.quicklook() is None and "img" not in empty._repr_html_()
    scene = zel.open(keep(Scene({0: Channel(4, [[float("nan")] * 3])}).bytes()))
    assert scene.quicklook().shape == (1, 3, 3)
    scene.close()
    assert "closed" in scene._repr_html_()
