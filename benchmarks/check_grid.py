"""Whether a file on one grid is right: sampled lines are worked out again from the inputs, to the
byte, and the histograms add up to the pixels that count."""
import struct

import numpy

import scene

EVERY = 64  # lines between those that are worked out
BIN_START = 10
single = numpy.float32


class Output:
    """The channels of a file on one grid and where its lines begin."""

    def __init__(self, path, components):
        self.bytes = numpy.memmap(path, numpy.uint8, "r")
        self.base = components[0]
        head = self.bytes[:4 << 20].tobytes()
        at = scene.PREFIX + 2040 + 14 + 20000
        self.counts = []
        for _ in range(scene.SLOTS):
            present = struct.unpack_from("<i", head, at)[0]
            at += 282
            for _ in range(2):
                has_histogram = head[at]
                at += 1
                if has_histogram:
                    bins = struct.unpack_from("<h", head, at)[0]
                    counts = numpy.frombuffer(head, "<i4", bins, at + BIN_START)
                    at += BIN_START + 4 * bins
                    if present:
                        self.counts.append(int(counts.sum()))
        self.start = at
        channels = [channel for component in components for channel in component.channels]
        self.length = scene.nav_bytes(self.base) + self.base.pixels * sum(c.bytes for c in channels)

    def line(self, number):
        start = self.start + number * self.length
        return self.bytes[start:start + self.length].tobytes()

    def has_lines(self, count):
        return len(self.bytes) == self.start + count * self.length


def stored_lines(path, component, first, count):
    """The bytes of some lines of an input, a row for each."""
    size = scene.line_bytes(component)
    with open(path, "rb") as file:
        file.seek(len(scene.header(component)) + first * size)
        return numpy.frombuffer(file.read(count * size), "u1").reshape(count, size)


def averaged(rows, channel, factor):
    """The means of factor x factor stored values: summed in single precision row after row, and
    stored again without rounding."""
    steps = 256 ** channel.bytes - 1
    low, span = single(channel.low), single(channel.high) - single(channel.low)
    values = (numpy.arange(steps + 1) * (float(span) / steps) + float(low)).astype(single)[rows]
    total = numpy.zeros(rows.shape[1] // factor, single)
    for row in values:
        for column in range(factor):
            total = total + row[column::factor]
    mean = total / single(factor * factor)
    return (((mean - low) / span).astype(float) * steps).astype("<u%d" % channel.bytes)


def expected_line(paths, components, number):
    parts = []
    for path, component in zip(paths, components):
        factor = component.factor
        rows = stored_lines(path, component, number * factor, factor)
        at = scene.nav_bytes(component)
        if factor == 1:
            parts.append(rows[0].tobytes())
            continue
        for channel in component.channels:
            size = component.pixels * channel.bytes
            pixels = numpy.ascontiguousarray(rows[:, at:at + size]).view("<u%d" % channel.bytes)
            parts.append(averaged(pixels, channel, factor).tobytes())
            at += size
    return b"".join(parts)


def share_in_daylight(component):
    """The share of the pixels whose zenith angle is at most 85 degrees, to a per cent or so."""
    latitude, longitude = (numpy.radians(v) for v in scene.positions(component, 0, component.lines))
    hour = numpy.radians((10.6 - 12) * 15 + 1.2) + longitude  # the clock of the sun is ahead
    declination = numpy.radians(-23.3)
    height = numpy.sin(declination) * numpy.sin(latitude) + \
        numpy.cos(declination) * numpy.cos(latitude) * numpy.cos(hour)
    return float((height >= numpy.cos(numpy.radians(85))).mean())


def histogram_faults(output, components):
    counted = components[0].lines * (components[0].pixels - 1)  # the last pixel never counts
    daylight = share_in_daylight(components[0])
    channels = [channel for component in components for channel in component.channels]
    if len(output.counts) != len(channels):
        yield "%d histograms for %d channels" % (len(output.counts), len(channels))
        return
    for channel, count in zip(channels, output.counts):
        share = count / counted
        if channel.units == scene.KELVIN and not 0.999 <= share <= 1:
            yield "channel %s: %.4f of the pixels are counted" % (channel.label, share)
        if channel.units == scene.REFLECTANCE and abs(share - daylight) > 0.025:
            yield "channel %s: %.3f of the pixels are counted, %.3f in daylight" % (
                channel.label, share, daylight)


def faults(path, paths, components):
    """What is wrong, a line for each; nothing when all is right."""
    output = Output(path, components)
    lines = components[0].lines
    if not output.has_lines(lines):
        return ["the file does not have %d lines" % lines]
    found = ["line %d is not that of the inputs" % number for number in range(0, lines, EVERY)
             if output.line(number) != expected_line(paths, components, number)]
    return found + list(histogram_faults(output, components))
