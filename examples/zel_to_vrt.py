#!/usr/bin/env python3
"""Makes GDAL read a plain ZEL file: writes a virtual raster that names the place of each channel in the
file, with its units, wavelength and comment, and gives a class map its colours and names. Navigation
points of some lines become ground control points. No pixel is copied. Files of layout 2.21 and later are
read, without classifier masks."""
import argparse
import datetime
import os
import re
import stat
import struct
import sys
from xml.sax.saxutils import escape, quoteattr

BYTES = {1: 1, 2: 2, 3: 1, 4: 4, 5: 2}  # of a stored pixel, by storage code
TYPES = {1: "Byte", 2: "UInt16", 3: "Byte", 4: "Float32", 5: "UInt16"}
STEPS = {1: 255, 2: 65535}              # of the scaled codes
MAX_COLOURS = {"Byte": 256, "UInt16": 65536}
MAX_COUNT = 32767                       # of a 16-bit number
TIED_LINES = 20
PREFIX_SIZE = 1221
CONTROL = re.compile("[\0-\x1f\x7f-\x9f]")  # what XML does not hold

# By units code: for programs that calculate with units, and as the channel report has them.
UNITS = {0: ("", "None"), 1: ("K", "Degree Kelvin"), 2: ("%", "Percent Albedo"), 3: ("1", "Reflectance"),
         4: ("degC", "Degree Celcius"), 5: ("", "None (Look up Table)"), 6: ("", "None (Daytime)"),
         7: ("W m-2 um-1 sr-1", "Radiance(W/m^2/micron/steradian)")}
SENSORS = ("Generic", "AVHRR LAC", "AVHRR GAC", "MAS", "VIRS", "LANDSAT TM", "GOES", "MODIS", "ASTER",
           "Cirrovue VIRS", "Cirrovue MODIS", "Landsat MSS", "IKONOS", "Unsupported")


class Channel:
    """A channel that is present: its record's fields, and where it begins in a line."""

    def __init__(self, label, comment, code, low, high, wavelength, units, offset):
        self.label, self.comment, self.code = label, comment, code
        self.low, self.high, self.wavelength, self.units = low, high, wavelength, units
        self.offset = offset


class Layout:
    """Where things are in a plain file of version 2.21 or later. What cannot be so ends the script."""

    def __init__(self, path):
        self.path = path
        if not stat.S_ISREG(os.stat(path).st_mode):
            raise SystemExit(path + ": not a regular file")
        with open(path, "rb") as self.file:
            self.size = os.fstat(self.file.fileno()).st_size
            self.read_prefix()
            self.read_version()
            slots = self.read_scene()
            self.line_offset = 32 + 8 * self.nav_points
            self.channels = []
            for slot in range(slots):
                self.read_channel(slot)
            self.header_offset = self.file.tell()
            self.count_lines()

    def refuse(self, reason):
        raise SystemExit("%s: %s" % (self.path, reason))

    def cut_short(self):
        self.refuse("cut short at offset %d" % self.size)

    def one_grid(self):
        return '"zel_combine -same_res -i %s -o NEW"' % self.path

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

    def take_number(self, name, code, least=0, most=MAX_COUNT):
        at = self.file.tell()
        number, = self.take(code)
        if not least <= number <= most:
            self.refuse("%s %d at offset %d: not from %d to %d" % (name, number, at, least, most))
        return number

    def take_text(self, size):
        return CONTROL.sub("", self.take_bytes(size).split(b"\0")[0].decode("latin-1"))

    def read_prefix(self):
        if self.take_bytes(3) != b"ZEL":
            self.file.seek(0)
            return
        _, _, components = self.take("10sii")
        if components > 1:
            self.refuse("a composite of %d components: make one grid of it first, %s"
                        % (components, self.one_grid()))
        self.skip(PREFIX_SIZE - self.file.tell())

    def read_version(self):
        at = self.file.tell()
        data = self.take_bytes(4)
        (version,), (reversed_version,) = struct.unpack("<f", data), struct.unpack(">f", data)
        if 0.995 <= version < 2.205:
            self.refuse("version %g at offset %d: an older layout than 2.21: make a current file of it "
                        "first, %s" % (version, at, self.one_grid()))
        if at == 0 and 0.995 <= reversed_version < 2.305:
            self.refuse("version %g at offset 0, big-endian: only the library reads it" % reversed_version)
        if not 2.205 <= version < 2.305:
            self.refuse("version %g at offset %d: not from 1 to 2.3" % (version, at) if at else "not a ZEL file")

    def read_scene(self):
        """The header after its version; the number of channel slots."""
        slots = self.take_number("slots", "h", 1, 1000)
        self.year, self.day, self.satellite = self.take("3h")
        self.pixels = self.take_number("pixels", "h", 1, MAX_COUNT)
        self.nav_points = self.take_number("navigation points", "i", 0, MAX_COUNT)
        self.nav_start, self.nav_interval, self.sensor, _, self.resolution = self.take("iihff")
        self.comment = self.take_text(2000)
        luts = self.take_number("LUTs", "h")
        tables = self.take_number("tables", "h")
        self.luts = {}  # by label: (red, green, blue, name) of each class
        for _ in range(luts):
            self.read_lut()
        self.skip_tables(tables)
        self.skip(14 + 20000)
        return slots

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

    def read_channel(self, slot):
        present, high, low = self.take("iff")
        code = self.take_number("storage code", "i", 1, 5) if present else self.take("i")[0]
        self.skip(8)
        label, comment = self.take_text(120), self.take_text(120)
        wavelength, units, _, mask = self.take("f3i")
        if mask:
            self.refuse("channel %d has a classifier mask: only the library reads past it" % slot)
        self.skip_tables(self.take_number("tables of a channel", "h"))
        for _ in range(2):
            if self.take("B")[0]:
                bins = self.take_number("histogram bins", "h")
                self.skip(8 + 4 * bins)
        if present:
            self.channels.append(
                Channel(label, comment, code, low, high, wavelength, units, self.line_offset))
            self.line_offset += BYTES[code] * self.pixels

    def count_lines(self):
        self.lines, rest = divmod(self.size - self.header_offset, self.line_offset)
        if self.lines < 1:
            self.cut_short()
        if rest:
            self.refuse("cut short at offset %d, in line %d: %s writes the lines before it"
                        % (self.size, self.lines, self.one_grid()))

    def classes(self, channel):
        """The LUT that the channel's comment names, when its pixels are stored numbers."""
        showable = channel.comment and channel.code not in STEPS and TYPES[channel.code] in MAX_COLOURS
        return self.luts.get(channel.comment) if showable else None


def tied_lines(layout):
    """Lines at equal distances, the first and the last among them."""
    count = min(TIED_LINES, layout.lines)
    return [k * (layout.lines - 1) // max(1, count - 1) for k in range(count)]


def positions(file, layout):
    """(pixel, line, latitude, longitude) of the navigation points of the tied lines, as far as they are
    places on Earth."""
    for n in tied_lines(layout):
        file.seek(layout.header_offset + n * layout.line_offset + 32)
        points = struct.unpack("<%df" % (2 * layout.nav_points), file.read(8 * layout.nav_points))
        for k in range(layout.nav_points):
            lat, lon = points[k], points[layout.nav_points + k]
            if abs(lat) <= 90 and abs(lon) <= 180:
                yield layout.nav_start + k * layout.nav_interval + 0.5, n + 0.5, lat, lon


def scan_times(file, layout):
    """Hours of the day of the first and the last line; nothing when nobody set them."""
    times = {}
    for name, n in (("START_TIME", 0), ("END_TIME", layout.lines - 1)):
        file.seek(layout.header_offset + n * layout.line_offset)
        times[name], = struct.unpack("<d", file.read(8))
    return times if any(times.values()) else {}


def scene_items(file, layout):
    """(key, text) of what the header and the lines say of the scene."""
    try:
        first = datetime.datetime(layout.year, 1, 1)
        date = first + datetime.timedelta(days=layout.day - 1)
    except (ValueError, OverflowError):
        date = None
    if date and date.year == layout.year:
        yield "DATE", date.date().isoformat()
        for key, hours in scan_times(file, layout).items():
            if 0 <= hours < 48:
                time = date + datetime.timedelta(hours=hours, microseconds=500)  # rounds
                yield key, time.isoformat(timespec="milliseconds") + "Z"
    yield "SENSOR", SENSORS[layout.sensor] if 0 <= layout.sensor < len(SENSORS) else str(layout.sensor)
    yield "SATELLITE_NUMBER", str(layout.satellite)
    yield "RESOLUTION_M", "%g" % layout.resolution
    yield "COMMENT", layout.comment


def channel_items(channel):
    yield "UNITS", UNITS.get(channel.units, ("", "Unknown"))[1]
    if channel.wavelength > 0:
        yield "WAVELENGTH_UM", "%g" % channel.wavelength
    yield "COMMENT", channel.comment


def metadata(items):
    rows = ["<MDI key=%s>%s</MDI>" % (quoteattr(key), escape(text)) for key, text in items if text]
    return ["<Metadata>"] + rows + ["</Metadata>"]


def colours(entries, kind):
    """What GDAL shows a band of classes with."""
    names, table = ["<CategoryNames>"], ["<ColorTable>"]
    for red, green, blue, name in entries[:MAX_COLOURS[kind]]:
        names.append("<Category>%s</Category>" % escape(name))
        table.append('<Entry c1="%d" c2="%d" c3="%d" c4="255"/>' % (red, green, blue))
    return ["<ColorInterp>Palette</ColorInterp>"] + names + ["</CategoryNames>"] + table + ["</ColorTable>"]


def source(path, output):
    """The file as the virtual raster names it: from its own directory when it is there or below."""
    file, start = os.path.realpath(path), os.path.realpath(os.path.dirname(output) or ".")
    below = os.path.commonpath([file, start]) == start
    name = os.path.relpath(file, start) if below else file
    return '<SourceFilename relativeToVRT="%d">%s</SourceFilename>' % (below, escape(name))


def band(number, channel, layout, source_element):
    kind, unit = TYPES[channel.code], UNITS.get(channel.units, ("", ""))[0]
    out = ['<VRTRasterBand dataType="%s" band="%d" subClass="VRTRawRasterBand">' % (kind, number),
           "<Description>%s</Description>" % escape(channel.label)]
    out += metadata(channel_items(channel))
    if unit:
        out.append("<UnitType>%s</UnitType>" % unit)
    if channel.code in STEPS:
        step = (channel.high - channel.low) / STEPS[channel.code]
        out.append("<Offset>%r</Offset><Scale>%r</Scale>" % (channel.low, step))
    entries = layout.classes(channel)
    if entries:
        out += colours(entries, kind)
    return out + [
        source_element,
        "<ImageOffset>%d</ImageOffset><PixelOffset>%d</PixelOffset>"
        % (layout.header_offset + channel.offset, BYTES[channel.code]),
        "<LineOffset>%d</LineOffset><ByteOrder>LSB</ByteOrder>" % layout.line_offset,
        "</VRTRasterBand>"]


def vrt(path, output):
    layout = Layout(path)
    out = ['<VRTDataset rasterXSize="%d" rasterYSize="%d">' % (layout.pixels, layout.lines)]
    with open(path, "rb") as file:
        out += metadata(scene_items(file, layout))
        if layout.nav_points:
            out.append('<GCPList Projection="EPSG:4326" dataAxisToSRSAxisMapping="2,1">')
            for k, (pixel, line, lat, lon) in enumerate(positions(file, layout), 1):
                out.append('<GCP Id="%d" Pixel="%g" Line="%g" X="%r" Y="%r"/>' % (k, pixel, line, lon, lat))
            out.append("</GCPList>")
    for number, channel in enumerate(layout.channels, 1):
        out += band(number, channel, layout, source(path, output))
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


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("file", metavar="FILE", help="a plain ZEL file")
    parser.add_argument("-o", metavar="OUT.vrt", help="the virtual raster; FILE.vrt without this option")
    words = parser.parse_args()
    output = words.o or words.file + ".vrt"
    try:
        if os.path.exists(output) and os.path.samefile(output, words.file):
            raise SystemExit(output + ": is the input file")
        write(output, vrt(words.file, output))
    except OSError as error:
        raise SystemExit("%s: %s" % (error.filename or words.file, error.strerror)) from None


if __name__ == "__main__":
    main()
