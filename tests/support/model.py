"""What the one-grid output must hold, worked out in single precision without the library.

Sums, divisions and comparisons of two 32-bit floats in 64-bit arithmetic, rounded once to 32 bits,
are the 32-bit results; array("f", ...) rounds.
"""
import math
from array import array
from collections import Counter
from ctypes import c_float
from dataclasses import replace
from functools import lru_cache
from operator import add

from zelfile import FLT_MAX, TYPECODE, Channel, Histogram, Lut, read_in_order

SAME, AVERAGE, REPLICATE = 0, 1, 2
STEPS = {1: 255.0, 2: 65535.0}


def f32(x):
    return c_float(x).value


def quotient(a, b):
    """a / b of floats with the infinities and the not-a-number that the machine gives."""
    if b != 0.0:
        return f32(a / b)
    return math.nan if a == 0.0 or math.isnan(a) else math.copysign(math.inf, a) * math.copysign(1, b)


@lru_cache(maxsize=64)
def scaling_table(code, top, bottom):
    step = f32(f32(top) - f32(bottom)) / STEPS[code]
    return array("f", [k * step + f32(bottom) for k in range(int(STEPS[code]) + 1)])


def decode(c, row):
    if c.type in STEPS:
        values = scaling_table(c.type, c.max, c.min)
        return array("f", [values[raw] for raw in row])
    return array("f", row)


def encode(c, values):
    """Stored form without clamping: truncated, wrapping at the width of the stored number."""
    if c.type == 4:
        return array("f", values)
    mask = 0xFF if c.type in (1, 3) else 0xFFFF
    if c.type in (3, 5):
        return array(TYPECODE[c.type], [int(v) & mask for v in values])
    top, bottom = f32(c.max), f32(c.min)
    span, steps = f32(top - bottom), STEPS[c.type]
    return array(TYPECODE[c.type],
                 [int(f32(f32(v - bottom) / span) * steps) & mask for v in values])


def average(lines, factor, width):
    """Means of factor x factor blocks; lines are the decoded lines of one band of blocks."""
    total = array("f", bytes(4 * width))
    for line in lines:
        line = line[:width * factor] + array("f", bytes(4 * max(0, width * factor - len(line))))
        for i in range(factor):
            total = array("f", map(add, total, line[i::factor]))
    return array("f", [s / (factor * factor) for s in total])


def fit(row, width):
    """row clipped to width, or followed by zeros."""
    return row[:width] + array(row.typecode, bytes(row.itemsize * max(0, width - len(row))))


def repeat(row, factor, width):
    out = array(row.typecode, [v for v in row for _ in range(factor)])
    return fit(out, width)


def sampling(resolution, reference):
    """(flag, factor) that relate a component's resolution to the reference's."""
    r, b = f32(resolution), f32(reference)
    if r < b:
        return AVERAGE, int(f32(b / r))
    if r > b:
        return REPLICATE, int(f32(r / b))
    return SAME, 0


class HistogramModel:
    """A channel histogram as it grows line by line."""

    def __init__(self, bins=256):
        self.bins, self.max, self.min = bins, -FLT_MAX, FLT_MAX
        self.increment, self.pixels, self.counts = 0.0, 0, [0] * (bins + 1)

    def add_line(self, values):
        counted = values if isinstance(values, Counter) else Counter(values)
        top, bottom = self.max, self.min
        for v in counted:
            top = v if v > top else top
            bottom = v if v < bottom else bottom
        if top != self.max or bottom != self.min:
            self.rescale(top, bottom)
        for v, n in counted.items():
            at = self.bin(v, self.min, self.increment)
            if at is not None and 0 <= at < self.bins:
                self.counts[at] += n
                self.pixels += n

    @staticmethod
    def bin(v, bottom, increment):
        place = f32(f32(v - bottom) * increment)
        return int(place) if math.isfinite(place) else None

    def rescale(self, top, bottom):
        increment = quotient(self.bins - 1, f32(top - bottom))
        if self.pixels:
            moved, width = [0] * (self.bins + 1), quotient(1.0, self.increment)
            for i in range(self.bins):
                at = self.bin(f32(f32(i * width) + self.min), bottom, increment)
                if at is None or not 0 <= at <= self.bins:
                    return
                moved[at] += self.counts[i]
            self.counts = moved
        self.max, self.min, self.increment = top, bottom, increment

    def result(self):
        return Histogram(self.max, self.min, self.counts[:self.bins])


def valid(c, v, zenith):
    """Whether the histogram rules on values admit v at a solar zenith angle."""
    if v == FLT_MAX:
        return False
    if c.units in (2, 3, 6) and not zenith <= 85.0:
        return False
    if c.units in (1, 2, 3) and not v > 0.0:
        return False
    return c.type not in STEPS or f32(c.min) <= v <= f32(c.max)


def latitudes(f, line):
    """Latitude of each pixel, by adding the step of each segment pixel by pixel."""
    s, i, n, p = f.nav_start, f.nav_interval, f.nav_points, f.pixels
    points = [f32(x) for x in line.lat]
    if n == 1:
        return points * p
    if s == 0 and i == 1:
        return points
    out, step = [0.0] * max(p, s + 1), f32(f32(points[1] - points[0]) / i)
    out[s] = points[0]
    for x in range(s - 1, -1, -1):
        out[x] = f32(out[x + 1] - step)
    for x in range(s + 1, p):
        k = min((x - s - 1) // i, n - 2)
        step = f32(f32(points[k + 1] - points[k]) / i)
        out[x] = f32(out[x - 1] + step)
    return out[:p]


def as_read(f):
    """f as the reader holds it: with defaults for what its layout does not have, texts cut at their terminator."""
    v = f.int_version()
    lines, channels = [], {}
    for l in f.lines:
        l = replace(l)
        if v < 131:
            l.altitude = 0.0
        if v < 201:
            l.left, l.right, l.nadir = 0, f.pixels - 1, f.pixels // 2 - 1
        if v < 221:
            l.nadir_lat = l.nadir_lon = 0.0
        lines.append(l)
    g = replace(f, lines=lines, slots=f.slots if v > 100 else 20, comment=f.comment.split(b"\0")[0],
                angles=f.angles if v >= 142 else (-1, -1, -1))
    if v < 201:
        g.meta_type, g.meta_size, g.metadata = 0, 0, b""
    if v < 111:
        g.comment, g.nav_points, g.tables = b"", 51, []
        g.luts = [Lut(1, b"Collapsed Classes", []), Lut(2, b"Full Classes", [])]
        g.altitude = 860.0 if f.satellite % 2 else 820.0
        g.nav_start, g.nav_interval, g.data_type, g.resolution = (
            (24, 40, 1, f32(1.1)) if f.pixels == 2048 else (4, 8, 2, 4.0))
    for slot in range(g.slots):
        c = f.channels.get(slot) or Channel(type=0, max=0.0, bits=0, present=0, byte_size=0)
        channels[slot] = channel_as_read(g, v, slot, c)
    g.channels = channels
    return g


def channel_as_read(f, v, slot, c):
    c = replace(c, label=c.label.split(b"\0")[0], comment=c.comment.split(b"\0")[0],
                wavelength=c.wavelength if v >= 111 else 0.0, tables=c.tables if v >= 211 else [],
                mask=c.mask if v >= 141 else None)
    if v < 131:
        w = f32(c.wavelength)
        c.units = 3 if 0 < w < 3.5 else 1 if w >= 3.5 else 0
    if v < 132:
        c.base_flag = int((f.data_type == 3 and 100 <= slot <= 149)
                          or (f.data_type in (1, 2, 4) and slot <= 5))
    elif f.data_type == 3 and 100 <= slot <= 149 and c.present:
        c.base_flag = 1
    if not c.present:
        c.label = c.comment = b""
    c.histogram = None
    if v < 121:
        c.standard = None
    return c


def one_grid(files, base=0, reference=None, zenith=0.0, histograms=True):
    """The file that the one-grid path writes: of a single plain file, or of the view over several
    components. zenith: the solar zenith of every pixel unless the angles are channels.
    The byte order is one for all files: opening the output resets it, and lines are read after that."""
    parts = [as_read(read_in_order(f, "<") if f.order == ">" else f) for f in files]
    if len(parts) == 1:
        out = replace(parts[0], channels={s: replace(c, rows=[]) for s, c in parts[0].channels.items()})
    else:
        out = view_header(parts, base if reference is None else reference)
    out.version, out.order, out.version_text, out.filler = 2.3, "<", b"2.3", b""
    out.year = out.year + 1900 if out.year <= 99 else out.year
    counts = {s: HistogramModel() for s, _ in out.present()}
    grid = out if len(parts) == 1 else parts[base if reference is None else reference]
    out.lines, n = [], 0
    while True:
        line = view_line(parts, base, grid, n)
        if line is None:
            break
        out.lines.append(line[0])
        values = {}
        for (slot, c), (raw, v) in zip(out.present(), line[1]):
            c.rows.append(raw)
            values[slot] = v
        if histograms:
            count_line(out, values, counts, zenith)
        n += 1
    for slot, c in out.present():
        c.histogram = counts[slot].result()
    return out


def view_header(parts, reference):
    r = parts[reference]
    out = replace(r, slots=1000, channels={}, luts=[l for p in parts for l in p.luts],
                  tables=[t for p in parts for t in p.tables])
    angles = [-1, -1, -1]
    for k, p in enumerate(parts):
        for slot, c in p.present():
            angles = [len(out.channels) if k == reference and a == slot else m
                      for a, m in zip(p.angles, angles)]
            out.channels[len(out.channels)] = replace(c, rows=[])
    out.angles = tuple(angles)
    return out


def view_line(parts, base, grid, n):
    """(scan data, [(stored, values) of each channel]) of line n, or None at the end of a component."""
    scan, pixels = None, []
    for k, p in enumerate(parts):
        flag, factor = sampling(p.resolution, grid.resolution) if len(parts) > 1 else (SAME, 0)
        first = n // factor if flag == REPLICATE else n * factor if flag == AVERAGE else n
        last = first + factor - 1 if flag == AVERAGE else first
        if last >= len(p.lines):
            return None
        for _, c in p.present():
            if flag == AVERAGE:
                v = average([decode(c, c.rows[j]) for j in range(first, last + 1)], factor, grid.pixels)
                pixels.append((encode(c, v), v))
            else:
                raw = array(TYPECODE[c.type], c.rows[first])
                raw = (repeat(raw, factor, grid.pixels) if flag == REPLICATE
                       else fit(raw, grid.pixels))
                pixels.append((raw, decode(c, raw)))
        if k == base:
            scan = p.lines[last]
    position = parts[0] if len(parts) == 1 else grid
    here = position.lines[n]
    return replace(scan, lat=here.lat, lon=here.lon), pixels


def count_line(out, values, counts, zenith):
    line, angle = out.lines[-1], [zenith] * out.pixels
    if min(out.angles) >= 0:
        angle = values[out.angles[0]]
    lat = latitudes(out, line) if out.nav_points > 0 else [0.0] * out.pixels
    for slot, c in out.present():
        pixels = range(line.left, min(line.right, out.pixels - 2) + 1)
        v = values[slot]
        counts[slot].add_line([v[i] for i in pixels
                               if -90 <= lat[i] <= 90 and valid(c, v[i], angle[i])])
