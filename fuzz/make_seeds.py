#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets: tiny files whose names say their one property; and the files
that the command lines of command_line_fuzz name."""
import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "support"))

from sample import sample  # noqa: E402
from vornfile import feature_header, labels_file, plane, raster  # noqa: E402
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
    "channel_behind_the_last": "(Ch6=Ch1+1)-(Ch6)",
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
    "weights_behind_if": "if (Ch1) weightclasses 3:1\nelse weightclasses 4:1\nclass=1",
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
    "raster_behind_two_scenes": "V|s|I|a|B|b|O|o",
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
    for name, text in EXPRESSIONS.items():
        save("expression_fuzz", name, text.encode())
    for name, text in PROGRAMS.items():
        save("program_fuzz", name, text.encode())
    for name, line in COMMAND_LINES.items():
        save("command_line_fuzz", name, "\n".join(line.split("|")).encode())
    save_files_of_command_lines(coarse, fine)


main()
