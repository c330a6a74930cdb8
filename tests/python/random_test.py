"""Random scenes, written by the package and read back through it, the command zel and the driver of
GDAL with equal results."""
import os
import tempfile
from datetime import datetime

import numpy as np
import pytest

import zel
from read_back import HAS_DRIVER, ZEL, check_driver, check_dump

hypothesis = pytest.importorskip("hypothesis")
st = pytest.importorskip("hypothesis.strategies")

TEXT = st.text(st.characters(blacklist_categories=("C", "Z")), max_size=20)
FLOATS = st.floats(width=32, allow_nan=False, allow_infinity=False)
NUMBERS = st.lists(FLOATS, min_size=1, max_size=5)
RANGES = st.tuples(st.floats(-1000, 1000, width=32), st.floats(0.125, 1000, width=32))


@st.composite
def tables(draw):
    keys = draw(st.sets(st.integers(0, 99), max_size=2))
    return [zel.Table(key, draw(TEXT), np.float32(draw(NUMBERS))) for key in sorted(keys)]


@st.composite
def classes(draw, label):
    """Names and colours; the label is that of no other LUT."""
    names = draw(st.lists(TEXT, min_size=1, max_size=4))
    colours = draw(st.lists(st.tuples(*[st.integers(0, 255)] * 3), min_size=len(names),
                            max_size=len(names)))
    return zel.Classes(names, colours, label)


@st.composite
def channels(draw, shape, slot):
    """A channel, and the stored numbers that it has to have."""
    storage = draw(st.sampled_from(list(zel.Storage)))
    rng = np.random.default_rng(draw(st.integers(0, 2**32)))
    bits = {zel.Storage.BYTE: 8, zel.Storage.BYTE_SCALED: 8}.get(storage, 16)
    numbers = rng.integers(0, 2**bits, shape).astype("u%d" % (bits // 8))
    if storage is zel.Storage.FLOAT:
        numbers = rng.normal(0, 10.0 ** draw(st.integers(-30, 30)), shape).astype(np.float32)
    facts = {}
    if storage.is_scaled:
        low, width = draw(RANGES)
        facts = {"min": float(np.float32(low)), "max": float(np.float32(low + width))}
        facts["raw"] = True
    elif storage is not zel.Storage.FLOAT and draw(st.booleans()):
        facts["classes"] = draw(classes(f"kinds of {slot}"))
    facts["tables"] = draw(tables())
    return zel.NewChannel(
        numbers, draw(TEXT), storage, unit=draw(st.sampled_from([u for u in zel.Unit if u >= 0])),
        wavelength=draw(st.none() | st.floats(0.125, 100, width=32)), slot=slot,
        is_base=draw(st.booleans()), **facts)


@st.composite
def scenes(draw):
    """Channels of one shape, and what zel.write takes beside them."""
    shape = draw(st.tuples(st.integers(1, 6), st.integers(1, 40)))
    slots = sorted(draw(st.sets(st.integers(0, 40), min_size=1, max_size=4)))
    facts = {"start": draw(st.datetimes(datetime(1950, 1, 1), datetime(2090, 1, 1))),
             "sensor": draw(st.sampled_from(list(zel.Sensor))),
             "satellite": draw(st.integers(-32768, 32767)), "comment": draw(TEXT),
             "altitude": draw(FLOATS), "resolution": draw(FLOATS),
             "tables": draw(tables()), "histograms": draw(st.booleans())}
    if draw(st.booleans()):
        points = draw(st.integers(2, 5))
        interval = draw(st.integers(1, 9))
        first = draw(st.integers(0, max(shape[1] - 1, 0)))
        rng = np.random.default_rng(draw(st.integers(0, 2**32)))
        facts["tie_points"] = zel.TiePoints(
            first + interval * np.arange(points),
            rng.uniform(-90, 90, (shape[0], points)).astype(np.float32),
            rng.uniform(-180, 180, (shape[0], points)).astype(np.float32))
    return [draw(channels(shape, slot)) for slot in slots], facts


def check_tables(found, made):
    assert [(t.key, t.label, t.values.tolist()) for t in found] == [
        (t.key, t.label, t.values.tolist()) for t in made]


def check_python(path, made, facts):
    scene = zel.open(path)
    assert [c.slot for c in scene.channels] == [c.slot for c in made]
    for got, wanted in zip(scene.channels, made):
        assert got.raw[:].tobytes() == wanted.data.tobytes()
        assert (got.label, got.storage, got.unit) == (wanted.label, wanted.storage, wanted.unit)
        assert (got.wavelength, got.is_base) == (wanted.wavelength, wanted.is_base)
        assert (got.min, got.max) == (wanted.min, wanted.max)
        assert (got.histogram is not None) == facts["histograms"]
        check_tables(got.tables, wanted.tables)
        assert list(got.classes or ()) == list(wanted.classes or ())
    for name in ("sensor", "satellite", "comment"):
        assert getattr(scene, name) == facts[name]
    check_tables(scene.tables, facts["tables"])
    for name in ("altitude", "resolution"):
        assert getattr(scene, name) == np.float32(facts[name])
    assert abs((scene.start.replace(tzinfo=None) - facts["start"]).total_seconds()) < 1e-5 \
        if scene.start else facts["start"].time() == datetime.min.time()
    if "tie_points" in facts:
        for got, wanted in zip(scene.tie_points(), facts["tie_points"]):
            assert np.array_equal(got, wanted)
    return scene


def check_view(scene):
    """The library's own reader gives the same."""
    view = scene.view()
    for own, library in zip(scene.channels, view.channels, strict=True):
        assert own.raw[:].tobytes() == library.raw[:].tobytes()
        assert own.values.tobytes() == library.values.tobytes()
    for own, library in zip(scene.positions() + scene.angles(), view.positions() + view.angles()):
        assert own.tobytes() == library.tobytes()


@hypothesis.settings(max_examples=120, deadline=None, database=None, derandomize=True)
@hypothesis.given(scenes())
def test_random_scenes_are_read_back_everywhere(case):
    made, facts = case
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "scene.zel")
        zel.write(path, made, **facts)
        scene = check_python(path, made, facts)
        check_view(scene)
        if os.path.exists(ZEL):
            check_dump(path, scene)
        if HAS_DRIVER:
            check_driver(path, scene)


@hypothesis.settings(max_examples=200, deadline=None, database=None, derandomize=True)
@hypothesis.given(st.data())
def test_random_slices_are_those_of_numpy(data):
    lines, pixels = data.draw(st.tuples(st.integers(1, 9), st.integers(1, 300)))
    numbers = np.random.default_rng(lines * pixels).integers(0, 65536, (lines, pixels), np.uint16)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "scene.zel")
        zel.write(path, {"a": numbers}, start=datetime(2024, 1, 1))
        channel = zel.open(path).channels["a"]
        for _ in range(5):
            key = (data.draw(st.slices(lines)), data.draw(st.slices(pixels)))
            assert np.array_equal(channel.raw[key], numbers[key])
            assert np.array_equal(channel[key], numbers[key].astype(np.float32))
