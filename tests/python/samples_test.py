"""Sample files and Vorn rasters, by bytes that are made here."""
import json
import os
import struct
import subprocess
import sys
from datetime import datetime

import numpy as np
import pytest

import vornfile
import zel
from conftest import PROGRAMS

ZEL = os.path.join(PROGRAMS, "zel")
COMBINE = os.path.join(PROGRAMS, "zel_combine")
needs_zel = pytest.mark.skipif(not os.path.exists(ZEL), reason="no command zel")


def dumped(path, samples=True):
    done = subprocess.run([ZEL, "samples", "--json", *(["--all"] if samples else []), str(path)],
                          capture_output=True, text=True, check=True)
    return json.loads(done.stdout)


def columns():
    return {"class": [3, 7, 3], "elementary_class": [1, 2, 3], "lat": [40.5, 41.5, -42.0],
            "lon": [1, 2, 3], "sz": [10, 20, 30], "vz": [4, 5, 6], "az": [7, 8, 9],
            "box": [11, 12, 13], "priority": [2**32 - 1, 0, 5], "julian_day": [100, 101, 102],
            "year": [2001, 2002, 2003], "NDVI": [0.25, -0.5, 1.0], "T": [280.0, 290.0, 300.5]}


def written(path, **more):
    zel.write_samples(path, columns(), features={"NDVI": "(Ch2-Ch1)/(Ch2+Ch1)", "T": "Ch3"},
                      classes={3: "water", 9: "sand"}, colours={3: (1, 2, 250)}, title="a title",
                      **more)
    return path


def test_samples_stand_at_the_end_of_the_file_in_big_endian_numbers(tmp_path):
    data = written(tmp_path / "s").read_bytes()
    wanted = b"".join(
        struct.pack(">2i5fiI2f2f", *(values[k] for values in columns().values())) for k in range(3))
    assert data.endswith(wanted)
    for text in (b"water", b"(Ch2-Ch1)/(Ch2+Ch1)", b"a title", str(tmp_path / "s").encode()):
        assert text in data
    assert b".part" not in data


def test_samples_come_back_as_a_structured_array(tmp_path):
    samples = zel.read_samples(written(tmp_path / "s"), frame=False)
    assert samples.dtype.names == tuple(columns())
    for name, values in columns().items():
        assert samples[name].tolist() == values
    assert samples.dtype["priority"] == np.uint32


def test_samples_come_back_as_a_frame(tmp_path):
    pandas = pytest.importorskip("pandas")
    frame = zel.read_samples(written(tmp_path / "s"))
    assert isinstance(frame, pandas.DataFrame)
    assert list(frame.columns) == list(columns())
    assert frame["T"].tolist() == [280.0, 290.0, 300.5]
    assert frame.attrs["classes"] == {3: "water", 9: "sand"}
    assert frame.attrs["colours"][3] == (1, 2, 250)
    assert frame.attrs["features"] == {"NDVI": "(Ch2-Ch1)/(Ch2+Ch1)", "T": "Ch3"}
    zel.write_samples(tmp_path / "t", frame[frame["class"] == 3])
    again = zel.read_samples(tmp_path / "t")
    for kept in ("features", "classes", "title"):
        assert again.attrs[kept] == frame.attrs[kept]
    assert again["NDVI"].tolist() == [0.25, 1.0]


RULES = {"features": {"NDVI": "vegetation", "T": "Ch3"}, "requirements": ["sum > 0", "lat > 0"],
         "definitions": {"sum": "Ch2 + Ch1", "vegetation": "(Ch2 - Ch1) / sum"}}


def test_definitions_and_requirements_stay_with_a_frame(tmp_path):
    pytest.importorskip("pandas")
    zel.write_samples(tmp_path / "s", columns(), **RULES)
    frame = zel.read_samples(tmp_path / "s")
    zel.write_samples(tmp_path / "t", frame[frame["class"] == 7])
    for read in (frame, zel.read_samples(tmp_path / "t")):
        for kind, wanted in RULES.items():
            assert read.attrs[kind] == wanted


def test_the_blank_after_a_colon_is_no_part_of_a_definition(tmp_path):
    pytest.importorskip("pandas")
    zel.write_samples(tmp_path / "s", columns(), definitions={"sum": " \tCh2 + Ch1"})
    assert zel.read_samples(tmp_path / "s").attrs["definitions"] == {"sum": "Ch2 + Ch1"}


def test_a_name_that_is_not_defined_before_is_an_error(tmp_path):
    given = {**RULES, "definitions": {"vegetation": "Ch2 / sum", "sum": "Ch2 + Ch1"}}
    with pytest.raises(zel.ZelError, match="definition 'vegetation'"):
        zel.write_samples(tmp_path / "s", columns(), **given)
    assert not (tmp_path / "s").exists()


@needs_zel
def test_the_command_shows_definitions_and_requirements(tmp_path):
    zel.write_samples(tmp_path / "s", columns(), **RULES)
    found = dumped(tmp_path / "s", samples=False)
    assert {d["label"]: d["condition"] for d in found["definitions"]} == RULES["definitions"]
    assert [r["condition"] for r in found["requirements"]] == RULES["requirements"]
    assert [f["expression"] for f in found["features"]] == ["vegetation", "Ch3"]


@needs_zel
def test_the_command_reads_what_is_written(tmp_path):
    found = dumped(written(tmp_path / "s"), samples=False)
    assert found["sample_count"] == 3
    assert [(f["label"], f["expression"], f["min"], f["max"]) for f in found["features"]] == [
        ("NDVI", "(Ch2-Ch1)/(Ch2+Ch1)", -0.5, 1.0), ("T", "Ch3", 280.0, 300.5)]
    assert [(c["class"], c["name"], c["samples"], c["rgb"]) for c in found["classes"]] == [
        (3, "water", 2, [1, 2, 250]), (7, "", 1, [0, 0, 0]), (9, "sand", 0, [0, 0, 0])]


def test_features_without_expressions_and_fields_are_0(tmp_path):
    zel.write_samples(tmp_path / "s", np.array([(1.5,), (2.5,)], [("x", "f8")]))
    samples = zel.read_samples(tmp_path / "s", frame=False)
    assert samples["x"].tolist() == [1.5, 2.5]
    assert samples["class"].tolist() == [0, 0]


def test_what_is_no_sample_file_is_an_error(keep, tmp_path):
    whole = written(tmp_path / "s").read_bytes()
    for data in (b"", b"text", whole[:100], whole[:700]):
        with pytest.raises(zel.DamagedFileError):
            zel.read_samples(keep(data, "bad"))
    with pytest.raises(FileNotFoundError):
        zel.read_samples(tmp_path / "nothing")
    with pytest.raises(zel.DamagedFileError):
        zel.read_samples(tmp_path)
    assert len(zel.read_samples(keep(whole[:-1], "cut"), frame=False)) == 2


def test_damage_in_any_place_of_a_sample_file_does_no_harm(keep, tmp_path):
    whole = written(tmp_path / "s").read_bytes()
    for place in range(0, len(whole) - 2, 61):
        for new in (b"\xff\xff", b"\x7f\x00"):
            try:
                zel.read_samples(keep(whole[:place] + new + whole[place + 2:], "bad"), frame=False)
            except (zel.ZelError, MemoryError):
                pass


def test_what_cannot_be_written_leaves_nothing(tmp_path):
    for more in ({"features": {"NDVI": "1 +"}}, {"classes": {1000: "x"}}):
        with pytest.raises((zel.ZelError, ValueError)):
            zel.write_samples(tmp_path / "s", columns(), **more)
    with pytest.raises(TypeError):
        zel.write_samples(tmp_path / "s", 7)
    assert os.listdir(tmp_path) == []
    (tmp_path / "s").write_bytes(b"old")
    with pytest.raises(FileExistsError):
        written(tmp_path / "s")
    written(tmp_path / "s", overwrite=True)
    assert os.listdir(tmp_path) == ["s"]


PLANES = [vornfile.plane(4, 3), vornfile.plane(4, 3, 1)]


@pytest.mark.parametrize("order", "<>")
def test_a_raster_is_read_in_both_byte_orders_of_its_header(keep, order):
    path = keep(vornfile.raster(PLANES, order), "map.vorn")
    found = zel.read_vorn(path)
    assert found.data.dtype == np.float32
    assert (found.data.tolist(), found.labels) == (PLANES, [])
    keep(vornfile.labels_file(["first one", "second"]), "map.vorn.hdr")
    assert zel.read_vorn(path).labels == ["first one", "second"]
    other = keep(vornfile.labels_file(["other", "labels"]), "other.txt")
    assert zel.read_vorn(path, other).labels == ["other", "labels"]


def test_a_raster_is_written_with_its_labels(tmp_path):
    zel.write_vorn(tmp_path / "a.vorn", PLANES, ["first", "a\nb"])
    assert (tmp_path / "a.vorn").read_bytes() == vornfile.raster(PLANES)
    assert zel.read_vorn(tmp_path / "a.vorn").labels == ["first", "a b"]
    zel.write_vorn(tmp_path / "b.vorn", np.array(PLANES[0], np.float64)[:, ::-1])
    assert zel.read_vorn(tmp_path / "b.vorn").data[0].tolist() == [r[::-1] for r in PLANES[0]]
    assert sorted(os.listdir(tmp_path)) == ["a.vorn", "a.vorn.hdr", "b.vorn"]
    with pytest.raises(FileExistsError):
        zel.write_vorn(tmp_path / "a.vorn", PLANES)
    with pytest.raises(ValueError):
        zel.write_vorn(tmp_path / "c", PLANES, ["one"])
    with pytest.raises(ValueError):
        zel.write_vorn(tmp_path / "c", [1, 2])


# Every number of a colour comes back, whatever it is.
GREYS = zel.Classes([f"class {n}" for n in range(256)],
                    [(n, 255 - n, n // 2) for n in range(256)], "Greys")
ODD = zel.Classes(["no\ndata", "", "\u00e9" * 150], [(0, 0, 0), (1, 2, 3), (255, 254, 253)],
                  " a  b")


@pytest.mark.skipif(not os.path.exists(COMBINE), reason="no zel_combine")
@pytest.mark.parametrize("classes", [GREYS, ODD])
def test_the_tool_reads_the_classes_that_are_written(tmp_path, classes):
    pixels = np.zeros((3, 4), np.uint8)
    zel.write(tmp_path / "scene.zel", {"a": pixels, "b": pixels}, start=datetime(2024, 6, 20))
    zel.write_vorn(tmp_path / "map.vorn", PLANES[0])
    zel.write_lut(tmp_path / "map.txt", classes)
    words = "-i scene.zel -vorn map.vorn -vorn_label map -vorn_lut map.txt -o out.zel".split()
    subprocess.run([COMBINE, *words], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    found = zel.open(tmp_path / "out.zel").channels["map"].classes
    # The long name has two bytes for each of its letters: 200 in all.
    assert found.names == [" ".join(name.split())[:100] for name in classes.names]
    assert found.colours.tolist() == classes.colours.tolist()
    assert found.label == " ".join(classes.label.split())


def test_classes_that_no_definition_file_can_hold_are_errors(tmp_path):
    for names, label in (([], "map"), (["a"], " "), (["a"], "# map")):
        with pytest.raises(ValueError, match="no LUT"):
            zel.write_lut(tmp_path / "map.txt", zel.Classes(names, [(0, 0, 0)] * len(names), label))
    assert os.listdir(tmp_path) == []
    zel.write_lut(tmp_path / "map.txt", GREYS)
    with pytest.raises(FileExistsError):
        zel.write_lut(tmp_path / "map.txt", GREYS)


def test_damaged_rasters_are_errors(keep):
    whole = vornfile.raster(PLANES)
    for data, offset in ((b"", 0), (whole[:12], 0), (bytes(40), 0), (whole[:-1], len(whole) - 1),
                         (vornfile.raster(PLANES, lines=-1), 4),
                         (vornfile.raster(PLANES, lines=2**31 - 1, channels=2**31 - 1),
                          len(whole))):
        with pytest.raises(zel.DamagedFileError) as caught:
            zel.read_vorn(keep(data))
        assert caught.value.offset == offset


@pytest.mark.skipif(sys.byteorder != "little", reason="bytes of this machine")
def test_real_rasters_are_the_class_map(real):
    little = zel.read_vorn(real("sentinel2_ireland_60m_scl.vorn"))
    big = zel.read_vorn(real("sentinel2_ireland_60m_scl_big_endian.vorn"))
    scene = zel.open(real("sentinel2_ireland_60m.zel"))
    assert np.array_equal(little.data[0], scene.channels["SCL"].values)
    assert np.array_equal(big.data, little.data)
