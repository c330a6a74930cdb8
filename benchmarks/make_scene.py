#!/usr/bin/env python3
"""Makes one large scene of three resolutions: make_scene.py DIRECTORY [LINES of 1000 m]

With 3000 lines the files hold about 510 MB. They are ordinary files of version 2.3, written here
without the library so that what is measured does not prepare its own input.
"""

import math
import os
import random
import struct
import sys

PIXELS = 1354
SLOTS = 1000
NAV_INTERVAL = 10
# resolution in metres, factor of the grid, labels of 16-bit reflectance channels
FILES = [("1000.zel", 1000.0, 1, ["3", "4", "8", "9", "10", "12"]),
         ("500.zel", 500.0, 2, ["2", "5", "6", "7"]),
         ("250.zel", 250.0, 4, ["1", "2q"])]


def text(words, size):
    return words.encode().ljust(size, b"\0")


def header(metres, pixels, labels):
    points = (pixels + NAV_INTERVAL - 1) // NAV_INTERVAL
    parts = [b"ZEL", text("2.3", 10), struct.pack("<ii", 0, 1), bytes(400),
             struct.pack("<f", metres), bytes(396), bytes(400),
             struct.pack("<fhhhhhiiihff", 2.3, SLOTS, 2024, 172, 1, pixels, points, 0, NAV_INTERVAL,
                         7, 705.0, metres),
             text("benchmark scene", 2000), struct.pack("<hhhhhii", 0, 0, -1, -1, -1, 0, 0),
             bytes(20000)]
    for slot in range(SLOTS):
        present = slot < len(labels)
        label = labels[slot] if present else ""
        parts += [struct.pack("<iffiii", present, 1.0, 0.0, 2 if present else 0,
                              2 if present else 0, 12),
                  text(label, 120), bytes(120), struct.pack("<fiii", 0.6, 3, 0, 0),
                  struct.pack("<hBB", 0, 0, 0)]
    return b"".join(parts), points


def write(path, metres, factor, labels, lines):
    pixels = PIXELS * factor
    head, points = header(metres, pixels, labels)
    noise = random.Random(7)
    rows = []
    for _ in range(16):
        phase = noise.random()
        rows.append(struct.pack("<%dH" % pixels, *(
            int(20000 + 15000 * math.sin(x / 90.0 + 6 * phase)) + noise.randrange(900)
            for x in range(pixels))))
    lat = struct.pack("<%df" % points, *(45.0 - 0.001 * k for k in range(points)))
    lon = struct.pack("<%df" % points, *(5.0 + 0.1 * k / factor for k in range(points)))
    with open(path, "wb") as out:
        out.write(head)
        for line in range(lines * factor):
            out.write(struct.pack("<dfiiiff", 11.0 + line / factor * 4e-5, 0.0, 0, pixels - 1,
                                  pixels // 2 - 1, 0.0, 0.0))
            out.write(lat)
            out.write(lon)
            for k in range(len(labels)):
                out.write(rows[(line + 5 * k) % len(rows)])


def main():
    directory = sys.argv[1]
    lines = int(sys.argv[2]) if len(sys.argv) > 2 else 3000
    os.makedirs(directory, exist_ok=True)
    for name, metres, factor, labels in FILES:
        write(os.path.join(directory, name), metres, factor, labels, lines)


main()
