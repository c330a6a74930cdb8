"""Scenes to measure on, written here and not by the library, so that what is measured does not
prepare its own input. Beside each file stands its twin: the same stored pixels for GDAL."""
import struct
from collections import namedtuple
from pathlib import Path

import numpy

PREFIX = 1221
SLOTS = 1000
KELVIN, REFLECTANCE = 1, 3
AT_ONCE = 128  # lines
ENVI_TYPES = {1: 1, 2: 12}

# Storage codes 1 and 2 take as many bytes: scaled values of 8 and of 16 bits.
Channel = namedtuple("Channel", "label micron units bytes low high")
Component = namedtuple("Component", "name pixels lines factor channels")


def reflectance(label, micron, size=2):
    return Channel(label, micron, REFLECTANCE, size, 0.0, 1.2)


def kelvin(label, micron):
    return Channel(label, micron, KELVIN, 2, 180.0, 330.0)


def standard(lines):
    """14 channels at 1000, 500 and 250 m, with that many lines of 1000 m."""
    coarse = [reflectance("8", 0.41), reflectance("9", 0.44), reflectance("17", 0.91),
              reflectance("26", 1.38), kelvin("20", 3.75), kelvin("29", 8.55),
              kelvin("31", 11.0), kelvin("32", 12.0)]
    middle = [reflectance("3", 0.47), reflectance("4", 0.56), reflectance("6", 1.64),
              reflectance("7", 2.13)]
    fine = [reflectance("1", 0.65, 1), reflectance("2", 0.86, 1)]
    return [Component("1000", 2048, lines, 1, coarse),
            Component("500", 4096, 2 * lines, 2, middle),
            Component("250", 8192, 4 * lines, 4, fine)]


def nav_points(component):
    return component.pixels // component.factor // 10


def nav_bytes(component):
    return 32 + 8 * nav_points(component)


def line_bytes(component):
    return nav_bytes(component) + component.pixels * sum(c.bytes for c in component.channels)


def text(words, size):
    return words.encode().ljust(size, b"\0")


def channel_record(channel):
    if channel is None:
        return bytes(284)
    return b"".join([
        struct.pack("<iffiii", 1, channel.high, channel.low, channel.bytes, channel.bytes,
                    8 * channel.bytes),
        text(channel.label, 120), bytes(120), struct.pack("<fiii", channel.micron, channel.units, 1, 0),
        struct.pack("<hBB", 0, 0, 0)])


def header(component):
    metres = 1000.0 / component.factor
    slots = list(component.channels) + [None] * (SLOTS - len(component.channels))
    return b"".join([
        b"ZEL", text("2.3", 10), struct.pack("<ii", 0, 1), bytes(400),
        struct.pack("<f", metres), bytes(396), bytes(400),
        struct.pack("<fhhhhhiiihff", 2.3, SLOTS, 2001, 350, 1, component.pixels,
                    nav_points(component), 2 * component.factor, 10 * component.factor, 7, 705.0,
                    metres),
        text("benchmark scene", 2000), struct.pack("<hhhhhii", 0, 0, -1, -1, -1, 0, 0),
        bytes(20000), *map(channel_record, slots)])


def positions(component, first, count):
    """Latitudes and longitudes of the points of some lines. The sun stands at 88 degrees from the
    zenith at the top and at 50 at the bottom, so that the limit of 85 degrees crosses the scene."""
    down = (numpy.arange(first, first + count) + 0.5) / component.lines
    across = (0.5 + 2 + 10 * numpy.arange(nav_points(component))) * component.factor
    across = across / component.pixels - 0.5
    latitude = (64.0 - 37.0 * down)[:, None] - 1.5 * across - 3.0 * across ** 2
    longitude = 20.0 + 18.4 * across / numpy.cos(numpy.radians(latitude)) - 4.0 * down[:, None]
    return latitude.astype("<f4"), longitude.astype("<f4")


def line_heads(component, first, count):
    """What stands before the pixels of some lines, as bytes."""
    latitude, longitude = positions(component, first, count)
    scan = numpy.zeros(count, numpy.dtype("<f8,<f4,<i4,<i4,<i4,<f4,<f4"))
    scan["f0"] = 10.6 + numpy.arange(first, first + count) // component.factor * 2.8e-5
    scan["f1"] = 705.0
    scan["f3"] = component.pixels - 1
    scan["f4"] = component.pixels // 2
    scan["f5"] = latitude[:, latitude.shape[1] // 2]
    scan["f6"] = longitude[:, longitude.shape[1] // 2]
    parts = [scan.view("u1").reshape(count, 32), latitude.view("u1"), longitude.view("u1")]
    return numpy.concatenate([part.reshape(count, -1) for part in parts], axis=1)


class Waves:
    """The smooth part of a channel's image."""

    def __init__(self, random, component):
        x = numpy.arange(component.pixels) / component.pixels
        y = numpy.arange(component.lines) / component.lines
        self.random = random
        self.x = numpy.array([numpy.cos(random.uniform(2, 90) * x + random.uniform(0, 6))
                              for _ in range(4)], "f4")
        self.y = numpy.array([numpy.sin(random.uniform(2, 50) * y + random.uniform(0, 6))
                              for _ in range(4)], "f4").T.copy()

    def stored(self, channel, first, count, missing):
        full = 256 ** channel.bytes - 1
        level, swell, noise = (0.3, 0.05, 0.04) if channel.units == REFLECTANCE else (0.62, 0.06, 0.02)
        smooth = self.y[first:first + count] @ self.x
        rough = self.random.random(smooth.shape, "f4") - 0.5
        values = numpy.clip((level + swell * smooth + noise * rough) * full, 1, full)
        values[missing] = 0
        return values.astype("<u%d" % channel.bytes)


def write(directory, component, seed=20011216):
    """Writes the file and its twin. The same arguments give the same bytes."""
    random = numpy.random.default_rng([seed, component.factor, len(component.channels)])
    waves = [Waves(random, component) for _ in component.channels]
    paths = [Path(directory) / (component.name + suffix) for suffix in (".zel", ".raw", ".hdr")]
    with open(paths[0], "wb") as scene, open(paths[1], "wb") as twin:
        scene.write(header(component))
        for first in range(0, component.lines, AT_ONCE):
            count = min(AT_ONCE, component.lines - first)
            missing = random.random((count, component.pixels), "f4") < 0.004
            pixels = numpy.concatenate(
                [wave.stored(channel, first, count, missing).view("u1")
                 for channel, wave in zip(component.channels, waves)], axis=1)
            twin.write(pixels.tobytes())
            lines = numpy.concatenate([line_heads(component, first, count), pixels], axis=1)
            scene.write(lines.tobytes())
    paths[2].write_text(
        "ENVI\nsamples = %d\nlines = %d\nbands = %d\nheader offset = 0\nfile type = ENVI Standard\n"
        "data type = %d\ninterleave = bil\nbyte order = 0\n" %
        (component.pixels, component.lines, len(component.channels),
         ENVI_TYPES[component.channels[0].bytes]))


def make(directory, components):
    """The scene in the directory, made unless it is there whole; the paths of its files."""
    directory = Path(directory)
    complete = directory / "complete"
    if not complete.exists():
        directory.mkdir(parents=True, exist_ok=True)
        for component in components:
            write(directory, component)
        complete.touch()
    return [directory / (component.name + ".zel") for component in components]
