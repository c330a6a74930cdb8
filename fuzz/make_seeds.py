#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets: tiny files whose names say their one property; and the files
that the command lines of command_line_fuzz name."""
import os
import struct
import sys
from dataclasses import replace

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "support"))

from maskfile import (Classifier, Entry, FeatureHeader, Mask, full_mask, header_bytes,  # noqa: E402
                      mask_bytes)
from sample import sample  # noqa: E402
from vornfile import feature_header, labels_file, plane, raster  # noqa: E402
from zelfile import Histogram, Lut, Table, container  # noqa: E402

EMPTY_CLASSES = bytes(4000) + (b"\0\0\0\1" + bytes(13)) * 1000


def save(target, name, data):
    directory = os.path.join(HERE, "seeds", target)
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, name), "wb") as out:
        out.write(data)


def with_blocks(**header):
    f = sample(codes=(1,), **header)
    f.luts = [Lut(key=3, label=b"classes", entries=[(1, 2, 3, b"one"), (4, 5, 6, b"two")])]
    f.tables = [Table(key=1, label=b"curve", values=[0.5, 1.5])]
    f.channels[0].tables = [Table(key=2, label=b"own", values=[2.5])]
    f.channels[0].histogram = Histogram(max=330.0, min=180.0, counts=[1, 2, 3, 4])
    return f


def odd_positions():
    """Navigation points at the bounds, beyond them, and nowhere."""
    f = sample(version=1.51)
    nan, inf = float("nan"), float("inf")
    lats = [(90.0, 0.0, -90.0), (90.5, 0.0, -90.5), (nan, nan, nan), (inf, 0.0, -inf),
            (nan, 10.0, 20.0), (3e38, -3e38, 3e38)]
    lons = [(-180.0, 0.0, 180.0), (-180.5, 0.0, 180.5), (nan, nan, nan), (inf, 0.0, -inf),
            (179.5, -179.5, nan), (-3e38, 3e38, -3e38)]
    for line, lat, lon in zip(f.lines, lats, lons):
        line.lat, line.lon = lat, lon
    return f


def masked(**header):
    """A scene with a mask of all rules. Its layout is the last before the metadata, for its size."""
    f = sample(**{"version": 1.51, "slots": 1, **header})
    f.channels[0].mask = replace(full_mask(), classifiers=[Classifier(data=b"data")])
    return f


def without_prefix(f):
    return f.header() + b"".join(
        [f.channel_record(slot) for slot in range(f.slots)]
        + [f.line_record(n) for n in range(len(f.lines))])


def of_version(version, code=3):
    """Before 1.11 every file has 51 navigation points, and in 1.00 it has 20 slots."""
    header = {"nav_points": 51} if version < 1.11 else {}
    if version < 1.01:
        header["slots"] = 20
    return sample(codes=(code,), version=version, **header)


def scenes_of_the_other_order():
    """They have no prefix: with one they are not read."""
    scenes = {"plain": sample(codes=(2, 4)), "version_100": of_version(1.00),
              "version_132": of_version(1.32), "blocks": with_blocks(version=1.42),
              "mask": masked(version=1.42)}
    for name, f in scenes.items():
        f.order = ">"
        save("scene_fuzz", "big_endian_" + name, compact(without_prefix(f)))


def save_all(target, seeds):
    for name, data in seeds.items():
        save(target, name, data)


def compact(data):
    """The bytes with the word that the targets take for an empty class table in place of each."""
    return data.replace(EMPTY_CLASSES, b"CLASSES!")


def lut_files():
    entry = b"1 0.5 0 0 : a\n"
    save_all("lut_file_fuzz", {
        "one_entry": b"Title\n0 1\n1\n" + entry,
        "two_luts": (b"Title\n0 1\n1\n" + entry) * 2,
        "comments": b"# one\n\nTitle\n0 255\n2\n# two\n1 2 3 0 : a\n\n4 5 6 1 : b\n",
        "no_entries": b"Title\n0 1\n0\n",
        "more_entries_than_lines": b"Title\n0 1\n32767\n" + entry,
        "index_beyond": b"Title\n0 1\n1\n1 1 1 2 : a\n",
        "negative_count": b"Title\n0 1\n-1\n",
        "numbers_left_out": b"Title\n\n\n:\n",
        "scale_without_width": b"Title\n1 1\n1\n1e38 nan -inf 0 : a\n",
        "long_line": b"T" * 300 + b"\n0 1\n1\n" + entry,
        "no_last_newline": b"Title\n0 1\n1\n1 0.5 0 0 : a"})


PARAMETERS = (b"inputfilename /dev/null\noutputfilename out.feat\nfeature Ch1:\"first\"\n")
PARAMETER_LINES = {
    "definitions": b"condition bright: Ch1>50\nvariable twice: bright*2\ndefine x: twice\n",
    "requirement": b"requirement Ch1>0:\"positive\"\n", "option": b"option Ch2<9\n",
    "filter": b"filter Ch3==0:skip_pixel:\"dark\"\n", "comment": b"comment \"said\"\n",
    "title": b"title \"Title\"\n", "directory": b"inputdirstr /dev/shm:no such\n",
    "extension": b"inputdirext /dev/shm:.zel\n", "seed": b"randomseed -7\n",
    "class": b"class 3:\"water\":1 2 300\n", "class_beyond": b"class 1000:x:1 2 3\n",
    "subsample": b"subsample 4\n", "subsample_word": b"subsample log10\n",
    "types": b"classtype primary\ndatatype modis\n", "ignore": b"ignorerequirements\n",
    "unknown": b"nothing known\n# comment\n\n"}


def parameter_files():
    save("parameter_file_fuzz", "complete", PARAMETERS)
    for name, lines in PARAMETER_LINES.items():
        save("parameter_file_fuzz", name, lines + PARAMETERS)


MASK_LINES = {
    "plain": b"", "type": b"masktype hier\nclassifiername @ 2 99\n",
    "texts": b"title \"Title\"\ncomment said\n", "name": b"savemaskfilename mask\n",
    "definition": b"condition cold: Ch3<280\npreclassfilter cold:3,4-7:\"label\"\n",
    "filter_before": b"preclassfilter Ch1>0:5\n",
    "filter_after": b"postclassfilter Ch2:class=7\npostclassfilter 1:skip_pixel\n",
    "program_before": b"beginpreprocess\nif (Ch1) then\nweightclasses 8,9:0.5\nendif\n"
                      b"endpreprocess\n",
    "program_after": b"beginpostprocess\nif (class==4) class=6\nelse\nreturn\nendif\n"
                      b"endpostprocess\n",
    "unknown": b"nothing known\n"}


def mask_parameter_files():
    for name, lines in MASK_LINES.items():
        save("mask_parameter_fuzz", name,
             b"beginmask\n" + lines + b"classifiername @\nendmask\n")
    save("mask_parameter_fuzz", "two_masks",
         b"define x: 4\n" + b"beginmask\nclassifiername @ 1\nendmask\n" * 2)


def feature_headers():
    full = full_mask().classifiers[0].header
    plain = FeatureHeader()
    headers = {"plain": plain, "no_features": FeatureHeader(features=[], maxima=[], minima=[]),
               "version_110": replace(plain, version=b"1.1", options=None)}
    for name in ("inputs", "conditions", "requirements", "filters", "comments", "title", "options",
                 "numbers"):
        headers[name] = replace(plain, conditions=full.conditions, **{
            k: getattr(full, k) for k in [name] if k != "conditions"})
    headers["features"] = replace(plain, conditions=full.conditions, features=full.features,
                                  maxima=full.maxima, minima=full.minima)
    for name, header in headers.items():
        save("feature_header_fuzz", name, compact(header_bytes(header)))
    save("feature_header_fuzz", "classes", header_bytes(replace(plain, classes=full.classes)))


def sample_files():
    def sample_bytes(features, number, numbers=(7, 1)):
        return (struct.pack(">2i5fiI2f", *numbers, 1.5, -2.5, 30.0, 40.0, 50.0, 3, 9, 171.5, 2024.0)
                + struct.pack(">%df" % features, *[number + k / 4 for k in range(features)]))

    plain = compact(header_bytes(FeatureHeader()))
    three = compact(header_bytes(FeatureHeader(features=[Entry(b"f", b"Ch1")] * 3,
                                               maxima=[1.0] * 3, minima=[0.0] * 3)))
    save_all("sample_file_fuzz", {
        "no_samples": plain, "one_sample": plain + sample_bytes(1, 0),
        "three_samples": plain + b"".join(sample_bytes(1, k) for k in range(3)),
        "three_features": three + sample_bytes(3, 0) * 2,
        "last_sample_cut_short": plain + sample_bytes(1, 0) + sample_bytes(1, 1)[:-1],
        "class_beyond": plain + sample_bytes(1, 0, (1000, -1))})


def mask_blocks():
    full = full_mask()
    small = Mask(classifiers=[Classifier(data=b"data")])
    masks = {"none": None, "plain": small,
             "two_classifiers": replace(small, classifiers=small.classifiers * 2),
             "version_100": replace(small, version=b"1.0", pre_program=None, post_program=None,
                                    type=None),
             "version_110": replace(small, version=b"1.1", type=None),
             "header_110": replace(small, classifiers=[Classifier(
                 FeatureHeader(version=b"1.1", options=None), level=None)])}
    for name in ("label", "comment", "conditions", "pre_filters", "post_filters", "pre_program",
                 "post_program", "type", "title", "comments"):
        masks[name] = replace(small, conditions=full.conditions, **{
            k: getattr(full, k) for k in [name] if k != "conditions"})
    for name, mask in masks.items():
        save("mask_block_fuzz", name, compact(mask_bytes(mask)))
    save("mask_block_fuzz", "full", mask_bytes(full))


def vorn_input(data=b"", header=b"", lut=b"", features=b"", words=0):
    """A raster and what comes with it, after which of them are used (bits) and their sizes."""
    return struct.pack("<B3H", words, len(data), len(header), len(lut)) + data + header + lut + features


HEADER, LUT, CUBE, FEATURES, LABEL, PREPEND = (1 << k for k in range(6))


def vorn_files():
    def planes(count):
        return [plane(4, 3, k) for k in range(count)]

    one, two = raster(planes(1)), raster(planes(2))
    lut = b"Title\n0 1\n1\n1 0.5 0 0 : a\n"
    features = compact(header_bytes(FeatureHeader(comments=[Entry(b"ARFF_TO_ZEL 3 9 8 7")])))
    save_all("vorn_fuzz", {
        "one_channel": vorn_input(one), "two_channels": vorn_input(two),
        "other_order": vorn_input(raster(planes(1), ">")),
        "no_channels": vorn_input(raster(planes(1), channels=0)),
        "negative_channels": vorn_input(raster(planes(1), channels=-1)),
        "more_channels_than_values": vorn_input(raster(planes(1), channels=40)),
        "too_many_channels": vorn_input(raster(planes(1), channels=0x7FFFFFFF)),
        "cut_short": vorn_input(one[:-1]), "header_only": vorn_input(one[:16]),
        "other_size": vorn_input(raster(planes(1), lines=4)),
        "labels": vorn_input(two, labels_file(["a b", "c"]), words=HEADER | PREPEND),
        "label": vorn_input(two, words=LABEL), "lut": vorn_input(one, lut=lut, words=LUT),
        "color_cube": vorn_input(one, words=CUBE),
        "classes": vorn_input(one, features=features, words=CUBE | FEATURES),
        "classes_without_lut": vorn_input(one, features=features, words=FEATURES)})


EXPRESSIONS = {
    "sum_of_channels": "Ch1+2*Ch2",
    "normalised_difference": "(Ch1-Ch2)/(Ch1+Ch2)>0.3&&Ch3<280",
    "register_from_root": "register1=sqrt(Ch1)",
    "register_read_first": "register1=register1+Ch1",
    "exponent_in_constant": "-3e-2*ch2",
    "class_compared": "Class==4",
    "skip_pixel": "skip_pixel",
    "skip_pixel_in_sum": "(class=3)+(skip_pixel)",
    "variables_compared": "lat>10||lon<-5",
    "variable_assigned": "year=year+1",
    "computed_target": "(0+Ch1)=9",
    "pending_value_before_assignment": "(Ch1)+(Ch2)+(Ch1=Ch2)+(Ch1)",
    "channel_after_the_last": "(Ch6=Ch1+1)-(Ch6)",
    "channel_too_high": "(register1=3)+Ch9",
    "channel_zero": "Ch0=1",
    "register_too_high": "register21",
    "missing_operand": "1+",
    "functions_of_one": "tan(Ch1)+cos(Ch2)*sin(Ch3)-log(Ch1)/log10(Ch2)+exp(Ch4)+deg2rad(Ch5)",
    "functions_of_two": "atan2(Ch1,Ch2)+pow(Ch1,Ch2)+length2(Ch3,lat)",
    "functions_of_three": "hue(Ch1,Ch2,Ch3)+saturation(Ch1,Ch2,Ch3)*value(Ch3,Ch4,Ch5)"
                          "-length3(Ch1,Ch2,Ch3)",
    "signs_and_not": "-(!Ch1)!=-Ch2<=vz saferatio az",
    "aliases": "solar_zenith+viewing_zenith+azimuth+sunglint+latitude+longitude",
    "grids": "olson_eco+igbp_eco*percent_water-terrain/julian_day",
    "definition": "ratio:(Ch1/Ch2)\nratio*ratio",
    "definition_of_a_target": "r:register1\nr=Ch1",
    "definition_of_a_definition": "a:Ch1+Ch2\nb:(a)*(a)\nb-a",
    "parenthesis_missing": "(Ch1",
    "unknown_name": "foo",
    "two_assignments": "(register1=Ch1)+(register1=Ch2)",
}

PROGRAMS = {
    "one_statement": "class=1",
    "block_if": "if (Ch1>5) then\nclass=1\nendif\nclass=class+10",
    "block_else": "if (Ch1>5) then\nclass=Ch2\nelse\nclass=class+2\nendif\nclass=class+10",
    "single_line_if": "if (Ch1>5) class=1\nclass=class+10",
    "single_line_else": "if (Ch1>5) class=1\nelse class=2\nclass=class+10",
    "single_line_if_with_block_else": "if (Ch1>5) class=1\nelse\nclass=2\nendif\nclass=3",
    "else_if_chain": "if (Ch1>5) then\nclass=1\nelse if (Ch1>3) then\nclass=2\n"
                     "else if (Ch2) then\nclass=3\nelse\nclass=4\nendif\nclass=class+1",
    "nested_blocks": "if (Ch1) then\nif (Ch2) then\nclass=1\nendif\nelse\nif (Ch3) class=2\n"
                     "class=3\nendif\nreturn",
    "begin_and_end": "begin\nclass=1\nend\nreturn",
    "weights": "weightclasses 3,5:Ch1/2\nreturn",
    "weights_after_if": "if (Ch1) weightclasses 3:1\nelse weightclasses 4:1\nclass=1",
    "skip_pixel": "class=5\nif (Ch1>3) skip_pixel\nclass=6",
    "skip_pixel_in_weights": "weightclasses 1:skip_pixel",
    "return": "class=1\nreturn\nclass=2",
    "definitions": "define bright:Ch1>50\ndefine r:register2\nif (bright) r=1\nreturn",
    "missing_endif": "if (Ch1) then\nclass=1",
    "missing_if": "endif",
    "else_without_if": "class=1\nelse\nclass=2\nendif",
    "blank_lines": "\n  \n\tclass = 1\n\n",
    "channel_too_high": "class=Ch9",
}

# "|" divides the arguments; letters as in command_line_fuzz.cpp.
COMMAND_LINES = {
    "usage": "",
    "composite": "-i|fine|-i|coarse|-o|out",
    "composite_with_base": "I|b|B|a|N|0|O|o",
    "composite_of_a_composite": "I|c|I|d|O|o",
    "composite_of_one": "I|a|O|o",
    "composite_over_an_input": "W|I|a|I|b|O|a",
    "composite_without_answer": "I|a|I|b|O|d",
    "one_grid": "-same_res|-i|coarse|-ib|fine|-o|out",
    "one_grid_of_one": "S|I|a|O|o",
    "one_grid_of_a_composite": "S|I|c|O|o",
    "one_grid_of_an_old_layout": "S|I|d|I|b|O|o",
    "one_grid_over_an_input": "W|S|I|a|I|b|O|b",
    "one_grid_over_another_file": "W|S|I|a|O|b",
    "one_grid_of_a_file_cut_short": "S|I|e|O|o",
    "raster": "-vorn|raster|-i|coarse|-o|out",
    "raster_with_label": "V|r|L|clouds|P|new|I|a|O|o",
    "raster_with_labels_of_a_file": "V|r|H|h|I|a|O|o",
    "raster_with_lut": "V|r|T|l|I|a|O|o",
    "raster_with_color_cube": "V|r|C|I|a|O|o",
    "raster_with_classes": "V|r|T|l|F|f|I|a|O|o",
    "raster_of_another_size": "V|s|I|a|O|o",
    "raster_over_itself": "W|V|r|I|a|O|r",
    "raster_and_composite": "V|r|M|I|a|O|o",
    "raster_after_two_scenes": "V|s|I|a|B|b|O|o",
    "missing_file": "S|I|n|O|o",
    "empty_file": "S|I|m|O|o",
    "directory_for_a_file": "S|I|.|O|.",
    "too_many_inputs": "|".join(["I", "a"] * 21 + ["O", "o"]),
}


def save_files_of_command_lines(coarse, fine):
    def put(name, data):
        directory = os.path.join(HERE, "command_line_files")
        os.makedirs(directory, exist_ok=True)
        with open(os.path.join(directory, name), "wb") as out:
            out.write(data)
    put("coarse", coarse)
    put("fine", fine)
    put("composite", container([(coarse, 1000.0), (fine, 500.0)]))
    put("old_layout", sample(codes=(2,), version=1.51, seed=5).bytes())
    put("cut_short", coarse[:len(coarse) - 100])
    put("raster", raster([plane(8, 6, k) for k in range(2)]))
    put("fine_raster", raster([plane(16, 12)], order=">", rows=">"))
    put("lut", b"Title\n0 1\n2\n1 0 0 0 : red\n# a comment\n0 0.5 1 1 : blue\n")
    put("labels", labels_file(["first", "second"]))
    put("feature_header", feature_header([b"ARFF_TO_ZEL 5 1 14 3 900 0"]))
    put("empty", b"")


def verbs():
    """Scenes that differ in what the verbs show of them, and sample files."""
    for target, names in (("scene_fuzz", ("big_endian_version_132", "blocks", "composite",
                                          "composite_with_mask", "no_lines", "odd_positions",
                                          "storage_code_1", "storage_code_3", "storage_code_4")),
                          ("sample_file_fuzz", ("no_samples", "three_features", "class_beyond"))):
        for name in names:
            with open(os.path.join(HERE, "seeds", target, name), "rb") as seed:
                data = seed.read()
            save("verbs_fuzz", name, data)
            if target == "scene_fuzz":
                save("writing_verbs_fuzz", name, data)


def main():
    for code in (1, 2, 3, 4, 5):
        save("scene_fuzz", "storage_code_%d" % code, sample(codes=(code,)).bytes())
    save("scene_fuzz", "no_lines", sample(height=0).bytes())
    save("scene_fuzz", "no_channels", sample(codes=()).bytes())
    save("scene_fuzz", "blocks", with_blocks().bytes())
    save("scene_fuzz", "odd_positions", odd_positions().bytes())
    for version in (1.00, 1.10, 1.11, 1.21, 1.31, 1.32, 1.41, 1.42, 1.51, 2.01, 2.11, 2.21):
        try:
            data = of_version(version, 2).bytes()
        except (TypeError, AttributeError, struct.error) as error:
            print("version %.2f: %s" % (version, error))
            continue
        save("scene_fuzz", "version_%03d" % round(version * 100), data)
    fine = sample(resolution=500.0, width=16, height=12, codes=(2, 4)).bytes()
    coarse = sample(resolution=1000.0, codes=(1, 3)).bytes()
    save("scene_fuzz", "composite", container([(coarse, 1000.0), (fine, 500.0)]))
    save("combine_fuzz", "coarse_and_fine", struct.pack("<I", len(coarse)) + coarse + fine)
    save("combine_fuzz", "fine_and_coarse", struct.pack("<I", len(fine)) + fine + coarse)
    scenes_of_the_other_order()
    mask = masked().bytes()
    plain = sample(resolution=500.0, width=16, height=12, version=1.51, slots=1).bytes()
    save("scene_fuzz", "mask", compact(mask))
    save("scene_fuzz", "composite_with_mask", compact(container([(mask, 1000.0), (plain, 500.0)])))
    save("combine_fuzz", "mask_and_plain",
         struct.pack("<I", len(compact(mask))) + compact(mask) + plain)
    lut_files()
    vorn_files()
    parameter_files()
    mask_parameter_files()
    feature_headers()
    sample_files()
    mask_blocks()
    for name, text in EXPRESSIONS.items():
        save("expression_fuzz", name, text.encode())
    for name, text in PROGRAMS.items():
        save("program_fuzz", name, text.encode())
    for name, line in COMMAND_LINES.items():
        save("command_line_fuzz", name, "\n".join(line.split("|")).encode())
    save_files_of_command_lines(coarse, fine)
    verbs()


main()
