#!/usr/bin/env python3
"""Makes GDAL read a plain ZEL file: zel_to_vrt.py FILE writes FILE.vrt, which names the place of each
channel in FILE, ties some of its pixels to the ground, and gives a channel whose comment is the label of
a LUT the colours and names of its classes. No pixel is copied."""
import os
import re
import stat
import struct
import sys
from xml.sax.saxutils import escape

BYTES = {1: 1, 2: 2, 3: 1, 4: 4, 5: 2}  # of a stored pixel, by storage code
TYPES = {1: "Byte", 2: "UInt16", 3: "Byte", 4: "Float32", 5: "UInt16"}
STEPS = {1: 255, 2: 65535}              # of the scaled codes
MOST_COLOURS = {"Byte": 256, "UInt16": 65536}
MOST = 32767                            # of what a 16-bit number counts
TIED_LINES = 20
CONTROL = re.compile("[\0-\x1f\x7f-\x9f]")  # what XML does not hold


class Layout:
    """Where things are in a plain file of version 2.21 or later. What cannot be so ends the script."""

    def __init__(self, path):
        self.path = path
        if not stat.S_ISREG(os.stat(path).st_mode):
            raise SystemExit(path + ": not a regular file")
        with open(path, "rb") as self.file:
            self.size = os.fstat(self.file.fileno()).st_size
            magic, _, _, components = self.take("3s10sii")
            if magic != b"ZEL" or components != 1:
                raise SystemExit(path + ": not a plain file with a prefix")
            self.skip(1221 - self.file.tell())
            self.take_version()
            slots = self.take_number("slots", "h", 1, 1000)
            self.skip(6)
            self.pixels = self.take_number("pixels", "h", 1, MOST)
            self.nav_points = self.take_number("navigation points", "i", 0, MOST)
            self.nav_start, self.nav_interval = self.take("ii")
            self.skip(2010)
            luts = self.take_number("LUTs", "h")
            tables = self.take_number("tables", "h")
            self.luts = {}  # by label: (red, green, blue, name) of each class
            for _ in range(luts):
                self.read_lut()
            self.skip_tables(tables)
            self.skip(14 + 20000)
            self.line_offset = 32 + 8 * self.nav_points
            self.channels = []  # (label, storage code, min, max, offset in the line)
            self.classes = []   # the LUT of each of them, or None
            for _ in range(slots):
                self.read_channel()
            self.header_offset = self.file.tell()
            self.lines = (self.size - self.header_offset) // self.line_offset
            if self.lines < 1:
                self.cut_short()

    def cut_short(self):
        raise SystemExit("%s: cut short at offset %d" % (self.path, self.size))

    def skip(self, size):
        if self.file.tell() + size > self.size:
            self.cut_short()
        self.file.seek(size, os.SEEK_CUR)

    def take_bytes(self, size):
        data = self.file.read(size)
        if len(data) < size:
            self.cut_short()
        return data

    def take(self, codes):
        return struct.unpack("<" + codes, self.take_bytes(struct.calcsize("<" + codes)))

    def take_number(self, name, code, least=0, most=MOST):
        at = self.file.tell()
        number, = self.take(code)
        if not least <= number <= most:
            raise SystemExit("%s: %s %d at offset %d: not from %d to %d"
                             % (self.path, name, number, at, least, most))
        return number

    def take_version(self):
        at = self.file.tell()
        version, = self.take("f")
        if version < 2.205:
            raise SystemExit("%s: version %g at offset %d: an older layout than 2.21"
                             % (self.path, version, at))
        if not version < 2.305:
            raise SystemExit("%s: version %g at offset %d: a newer layout than 2.3"
                             % (self.path, version, at))

    def take_text(self, size):
        return CONTROL.sub("", self.take_bytes(size).split(b"\0")[0].decode("latin-1"))

    def read_lut(self):
        size = self.take_number("LUT entries", "h")
        self.skip(2)
        label = self.take_text(200)
        entries = [self.take("3B") + (self.take_text(200),) for _ in range(size)]
        self.luts.setdefault(label, entries)

    def skip_tables(self, count):
        for _ in range(count):
            size = self.take_number("table values", "h")
            self.skip(2 + 200 + 4 * size)

    def read_channel(self):
        present, high, low = self.take("iff")
        code = self.take_number("storage code", "i", 1, 5) if present else self.take("i")[0]
        self.skip(8)
        label, comment = self.take_text(120), self.take_text(120)
        self.skip(12)
        if self.take("i")[0]:
            raise SystemExit(self.path + ": has a classifier mask")
        self.skip_tables(self.take_number("tables of a channel", "h"))
        for _ in range(2):
            if self.take("B")[0]:
                bins = self.take_number("histogram bins", "h")
                self.skip(8 + 4 * bins)
        if present:
            self.channels.append((label, code, low, high, self.line_offset))
            showable = comment and code not in STEPS and TYPES[code] in MOST_COLOURS
            self.classes.append(self.luts.get(comment) if showable else None)
            self.line_offset += BYTES[code] * self.pixels


def positions(path, layout):
    """(pixel, line, latitude, longitude) of the navigation points of some lines, as far as they are
    places on Earth."""
    with open(path, "rb") as file:
        for n in range(0, layout.lines, max(1, layout.lines // TIED_LINES)):
            file.seek(layout.header_offset + n * layout.line_offset + 32)
            points = struct.unpack("<%df" % (2 * layout.nav_points), file.read(8 * layout.nav_points))
            for k in range(layout.nav_points):
                lat, lon = points[k], points[layout.nav_points + k]
                if abs(lat) <= 90 and abs(lon) <= 180:
                    yield layout.nav_start + k * layout.nav_interval + 0.5, n + 0.5, lat, lon


def colours(entries, kind):
    """What GDAL shows a band of classes with."""
    names, table = ["<CategoryNames>"], ["<ColorTable>"]
    for red, green, blue, name in entries[:MOST_COLOURS[kind]]:
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


def write(path, text):
    """Puts the text in place of the file in one step. GDAL takes names as bytes, be they UTF-8 or not."""
    part = "%s.%d" % (path, os.getpid())
    with open(part, "x", encoding="utf-8", errors="surrogateescape") as stream:
        try:
            stream.write(text)
            stream.close()
            os.replace(part, path)
        except BaseException:
            os.unlink(part)
            raise


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    try:
        write(sys.argv[1] + ".vrt", vrt(sys.argv[1]))
    except OSError as error:
        raise SystemExit("%s: %s" % (error.filename or sys.argv[1], error.strerror)) from None
