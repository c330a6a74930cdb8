#!/usr/bin/env python3
"""Makes GDAL read a plain ZEL file: zel_to_vrt.py FILE writes FILE.vrt, which names the place of each
channel in FILE, ties some of its pixels to the ground, and gives a channel whose comment is the label of
a LUT the colours and names of its classes. No pixel is copied."""
import os
import struct
import sys
from xml.sax.saxutils import escape

BYTES = {1: 1, 2: 2, 3: 1, 4: 4, 5: 2}  # of a stored pixel, by storage code
TYPES = {1: "Byte", 2: "UInt16", 3: "Byte", 4: "Float32", 5: "UInt16"}
STEPS = {1: 255, 2: 65535}              # of the scaled codes
MOST_COLOURS = {"Byte": 256, "UInt16": 65536}
TIED_LINES = 20


class Layout:
    """Where things are in a plain file of version 2.21 or later."""

    def __init__(self, path):
        with open(path, "rb") as self.file:
            magic, _, _, components = self.take("3s10sii")
            if magic != b"ZEL" or components != 1:
                raise SystemExit(path + ": not a plain file with a prefix")
            self.file.seek(1221)
            version, slots, _, _, _, self.pixels = self.take("f5h")
            if version < 2.205:
                raise SystemExit(path + ": an older layout than 2.21")
            self.nav_points, self.nav_start, self.nav_interval = self.take("iii")
            self.file.seek(1221 + 2036)
            luts, tables = self.take("hh")
            self.luts = {}  # by label: (red, green, blue, name) of each class
            for _ in range(luts):
                self.read_lut()
            self.skip_tables(tables)
            self.skip(14 + 20000)
            self.line_offset = 32 + 8 * self.nav_points
            self.channels = []  # (label, storage code, min, max, offset in the line)
            self.classes = []   # the LUT of each of them, or None
            for _ in range(slots):
                self.read_channel(path)
            self.header_offset = self.file.tell()
            self.lines = (os.path.getsize(path) - self.header_offset) // self.line_offset

    def take(self, codes):
        return struct.unpack("<" + codes, self.file.read(struct.calcsize("<" + codes)))

    def skip(self, size):
        self.file.seek(size, 1)

    def take_text(self, size):
        return self.file.read(size).split(b"\0")[0].decode("latin-1")

    def read_lut(self):
        size, _ = self.take("hh")
        label = self.take_text(200)
        entries = [self.take("3B") + (self.take_text(200),) for _ in range(size)]
        self.luts.setdefault(label, entries)

    def skip_tables(self, count):
        for _ in range(count):
            self.skip(2 + 200 + 4 * self.take("h")[0])

    def read_channel(self, path):
        present, high, low, code, _, _ = self.take("iffiii")
        label, comment = self.take_text(120), self.take_text(120)
        self.skip(12)
        if self.take("i")[0]:
            raise SystemExit(path + ": has a classifier mask")
        self.skip_tables(self.take("h")[0])
        for _ in range(2):
            if self.take("B")[0]:
                self.skip(8 + 4 * self.take("h")[0])
        if present:
            self.channels.append((label, code, low, high, self.line_offset))
            self.classes.append(None if code in STEPS else self.luts.get(comment))
            self.line_offset += BYTES[code] * self.pixels


def positions(path, layout):
    """(pixel, line, latitude, longitude) of the navigation points of some lines."""
    with open(path, "rb") as file:
        for n in range(0, layout.lines, max(1, layout.lines // TIED_LINES)):
            file.seek(layout.header_offset + n * layout.line_offset + 32)
            points = struct.unpack("<%df" % (2 * layout.nav_points), file.read(8 * layout.nav_points))
            for k in range(layout.nav_points):
                yield (layout.nav_start + k * layout.nav_interval + 0.5, n + 0.5, points[k],
                       points[layout.nav_points + k])


def colours(entries, kind):
    """What GDAL shows a band of classes with."""
    names, table = ["<CategoryNames>"], ["<ColorTable>"]
    for red, green, blue, name in entries[:MOST_COLOURS.get(kind, 0)]:
        names.append("<Category>%s</Category>" % escape(name))
        table.append('<Entry c1="%d" c2="%d" c3="%d" c4="255"/>' % (red, green, blue))
    return ["<ColorInterp>Palette</ColorInterp>"] + names + ["</CategoryNames>"] + table + ["</ColorTable>"]


def vrt(path):
    layout = Layout(path)
    out = ['<VRTDataset rasterXSize="%d" rasterYSize="%d">' % (layout.pixels, layout.lines)]
    if layout.nav_points:
        out.append('<GCPList Projection="EPSG:4326" dataAxisToSRSAxisMapping="2,1">')
        for k, (pixel, line, lat, lon) in enumerate(positions(path, layout), 1):
            out.append('<GCP Id="%d" Pixel="%g" Line="%g" X="%r" Y="%r"/>' % (k, pixel, line, lon, lat))
        out.append("</GCPList>")
    for band, (label, code, low, high, offset) in enumerate(layout.channels, 1):
        out.append('<VRTRasterBand dataType="%s" band="%d" subClass="VRTRawRasterBand">'
                   % (TYPES[code], band))
        out.append("<Description>%s</Description>" % escape(label))
        if code in STEPS:
            out.append("<Offset>%r</Offset><Scale>%r</Scale>" % (low, (high - low) / STEPS[code]))
        if layout.classes[band - 1]:
            out += colours(layout.classes[band - 1], TYPES[code])
        out.append('<SourceFilename relativeToVRT="1">%s</SourceFilename>'
                   % escape(os.path.basename(path)))
        out.append("<ImageOffset>%d</ImageOffset><PixelOffset>%d</PixelOffset>"
                   % (layout.header_offset + offset, BYTES[code]))
        out.append("<LineOffset>%d</LineOffset><ByteOrder>LSB</ByteOrder>" % layout.line_offset)
        out.append("</VRTRasterBand>")
    out.append("</VRTDataset>")
    return "\n".join(out) + "\n"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    text = vrt(sys.argv[1])
    with open(sys.argv[1] + ".vrt", "w", encoding="utf-8") as stream:
        stream.write(text)
