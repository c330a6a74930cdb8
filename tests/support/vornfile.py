"""Builds the files that come with a class map: rasters, text headers, feature headers.

Like zelfile, it shares nothing with the tool.
"""
import os
import struct
import sys
from array import array

from model import HistogramModel, latitudes, valid
from zelfile import Channel

WORD = 0xABCD      # the byte-order word of a raster
# The order of the processor that the tool is built for: an emulator may run another one.
BIG_ENDIAN_HOST = os.environ.get("ZEL_HOST_ORDER", sys.byteorder) == "big"


def floats(values, order="<"):
    out = array("f", values)
    if (order == "<") != (sys.byteorder == "little"):
        out.byteswap()
    return out.tobytes()


def raster(planes, order="<", rows="<", **header):
    """The bytes of a raster; planes: rows of values for each channel. order is the header's byte
    order, rows that of the values. header: word, pixels, lines, channels instead of those of the
    planes."""
    h = dict(word=WORD, pixels=len(planes[0][0]) if planes else 0,
             lines=len(planes[0]) if planes else 0, channels=len(planes))
    h.update(header)
    return (struct.pack(order + "I3i", h["word"], h["pixels"], h["lines"], h["channels"])
            + b"".join(floats(row, rows) for plane in planes for row in plane))


def labels_file(labels):
    """A text header; labels: the label of each channel."""
    return "".join("Channel %d\nLabel %s\nnot\nused\nby\nthe\ntool\n" % (k + 1, label)
                   for k, label in enumerate(labels)).encode()


def plane(width, height, channel=0, step=0.25):
    """Values that differ everywhere."""
    return [[channel * 1000 + y * 16 + x + step for x in range(width)] for y in range(height)]


def float_channel(label, rows):
    """The channel that a raster's plane becomes without a LUT."""
    return Channel(type=4, max=0.0, min=0.0, label=label, comment=b"Vorn processed imagery",
                   wavelength=-99.0, units=0, bits=32, rows=[array("f", r) for r in rows])


def lut_channel(label, comment, rows):
    """The channel that it becomes with one: the low 16 bits of the values, truncated."""
    return Channel(type=5, max=0.0, min=0.0, label=label, comment=comment, wavelength=0.0, units=5,
                   bits=16, rows=[array("H", [int(v) & 0xFFFF for v in r]) for r in rows])


def append(out, channel, values):
    """Puts the channel after the last one of out, an output as model.one_grid gives it, with the
    histogram of its values; returns its slot."""
    slot = max(s for s, _ in out.present()) + 1
    for empty in range(out.slots, slot):
        out.channels[empty] = Channel(type=0, max=0.0, bits=0, present=0, byte_size=0)
    out.slots = max(out.slots, slot + 1)
    counts = HistogramModel()
    for line, row in zip(out.lines, values):
        lat = latitudes(out, line) if out.nav_points > 0 else [0.0] * out.pixels
        row = array("f", row)
        counts.add_line([row[x] for x in range(line.left, min(line.right, out.pixels - 2) + 1)
                         if -90 <= lat[x] <= 90 and valid(channel, row[x], 0.0)])
    channel.histogram = counts.result()
    out.channels[slot] = channel
    return slot


# --- feature headers: numbers are big-endian, a text is its length with terminator and its bytes


def _int(*values):
    return struct.pack(">%di" % len(values), *values)


def _text(value):
    return _int(len(value) + 1) + value + b"\0"


def _entry(label=None, condition=None, action=None):
    return b"".join(_int(0) if t is None else _int(1) + _text(t)
                    for t in (label, condition, action))


def _group(entries):
    return _int(len(entries)) + b"".join(entries)


def feature_header(comments=(), conditions=(), version=b"1.2"):
    """The header of a feature file with one feature, and these comments (texts) and conditions
    ((label, expression) pairs)."""
    none = _group([])
    return b"".join([
        b"ZEL_FEATURE_HEADER\0", _text(version), _text(b"12:00:00  Monday January 01 2001"),
        _text(b"samples"), _int(1), _text(b"scene"), _int(*[0] * 1000),
        b"".join(_text(b"class %d" % k if k < 3 else b"") + _int(k, 0, 255) for k in range(1000)),
        _group([_entry(label, text) for label, text in conditions]),
        _group([_entry(b"first", b"Ch1 + 2")]), struct.pack(">2f", 9.0, 1.0),
        none, none, _group([_entry(c) for c in comments]), none,
        none if float(version) > 1.1 else b"", _int(82497, 0, 0, 0)])
