#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets: tiny files whose names say their one property."""
import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "support"))

from sample import sample  # noqa: E402
from zelfile import Histogram, Lut, Table, container  # noqa: E402


def save(target, name, data):
    directory = os.path.join(HERE, "seeds", target)
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, name), "wb") as out:
        out.write(data)


def with_blocks():
    f = sample(codes=(1,))
    f.luts = [Lut(key=3, label=b"classes", entries=[(1, 2, 3, b"one"), (4, 5, 6, b"two")])]
    f.tables = [Table(key=1, label=b"curve", values=[0.5, 1.5])]
    f.channels[0].tables = [Table(key=2, label=b"own", values=[2.5])]
    f.channels[0].histogram = Histogram(max=330.0, min=180.0, counts=[1, 2, 3, 4])
    return f


def main():
    for code in (1, 2, 3, 4, 5):
        save("scene_fuzz", "storage_code_%d" % code, sample(codes=(code,)).bytes())
    save("scene_fuzz", "no_lines", sample(height=0).bytes())
    save("scene_fuzz", "no_channels", sample(codes=()).bytes())
    save("scene_fuzz", "blocks", with_blocks().bytes())
    for version in (1.00, 1.10, 1.11, 1.21, 1.31, 1.32, 1.41, 1.42, 1.51, 2.01, 2.11, 2.21):
        try:
            data = sample(codes=(2,), version=version).bytes()
        except (TypeError, AttributeError, struct.error) as error:
            print("version %.2f: %s" % (version, error))
            continue
        save("scene_fuzz", "version_%03d" % round(version * 100), data)
    fine = sample(resolution=500.0, width=16, height=12, codes=(2, 4)).bytes()
    coarse = sample(resolution=1000.0, codes=(1, 3)).bytes()
    save("scene_fuzz", "composite", container([(coarse, 1000.0), (fine, 500.0)]))
    save("combine_fuzz", "coarse_and_fine", struct.pack("<I", len(coarse)) + coarse + fine)
    save("combine_fuzz", "fine_and_coarse", struct.pack("<I", len(fine)) + fine + coarse)
    for number, text in enumerate(["Ch1+2*Ch2", "(Ch1-Ch2)/(Ch1+Ch2)>0.3&Ch3<280", "register1=sqrt(Ch1)",
                                   "-3e-2*ch2", "Class=4", "skip_pixel", "lat>10|lon<-5"]):
        save("expression_fuzz", "expression_%d" % number, text.encode())


main()
