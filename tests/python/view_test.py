"""How often views make their lines, and how values of many pixels are computed."""
from datetime import datetime

import numpy as np
import pytest

import zel
from samples import container
from scenes import ramp

NOON = datetime(2024, 6, 20, 12)


def made(view):
    return view._core.lines_made


def test_channels_that_are_read_one_after_the_other_need_each_line_once(keep):
    view = zel.open(keep(container(1))).view()
    for block in (slice(0, 3), slice(3, 4)):
        for channel in view.channels:
            channel.raw[block], channel[block]
    assert made(view) == 4 and view.lines_at_hand >= 4
    assert view.channels["fine"].raw[:].tolist() == ramp(4, 6)
    assert view.channels["coarse"].raw[:2, :2].tolist() == [[10, 10], [10, 10]]
    assert made(view) == 4


def test_lines_that_take_too_much_are_made_again(tmp_path):
    """Lines of 40 x 32000 pixels, 5 bytes each, of which 10 are in 64 MiB."""
    plane = np.repeat(np.arange(24, dtype=np.uint8)[:, np.newaxis], 32000, axis=1)
    zel.write(tmp_path / "a", {f"c{k}": plane + np.uint8(k) for k in range(40)}, start=NOON,
              histograms=False)
    with zel.open(tmp_path / "a").view() as view:
        assert view.lines_at_hand == 10
        for k in (3, 7):
            assert np.array_equal(view.channels[f"c{k}"].raw[:], plane + np.uint8(k))
        assert made(view) == 48
        assert np.array_equal(view.channels["c9"][23:24], plane[23:24] + np.float32(9))
        assert made(view) == 48
    with pytest.raises(ValueError, match="closed"):
        view.channels["c9"][23:24]


def test_chunks_of_a_view_are_at_hand_for_all_variables(keep, tmp_path):
    xr = pytest.importorskip("xarray")
    pytest.importorskip("dask")
    zel.write(tmp_path / "a", {f"c{k}": np.zeros((400, 2000), np.uint8) for k in range(40)},
              start=NOON, histograms=False)
    found = xr.open_dataset(tmp_path / "a", engine="zel", group="view", chunks={})
    # 64 MiB are 167 lines of 40 x 2000 x 5 bytes.
    assert found["c0"].chunks == ((83, 83, 83, 83, 68), (2000,))


@pytest.mark.parametrize("low,high", [(0.0, 65535.0), (-0.1, 1.2), (180.0, 330.0), (-1e6, 1e-3),
                                      (1e-30, 3e-30), (-3e38, 3e38), (7.0, 7.0000005)])
@pytest.mark.parametrize("storage", [zel.Storage.BYTE_SCALED, zel.Storage.UINT16_SCALED])
def test_values_of_many_pixels_are_those_of_few(tmp_path, low, high, storage):
    """Few are looked up in the library's table, which has all numbers."""
    steps = 256 if storage is zel.Storage.BYTE_SCALED else 65536
    row = np.arange(steps).astype(np.uint8 if steps == 256 else np.uint16)
    plane = np.tile(row.reshape(-1, 256), (6, 1))
    zel.write(tmp_path / "a", [zel.NewChannel(plane, "a", storage, low, high, raw=True)],
              start=NOON, histograms=False)
    scene = zel.open(tmp_path / "a")
    channel = scene.channels["a"]
    table = np.concatenate([channel[k:k + 1] for k in range(steps // 256)]).reshape(-1)
    assert channel.values.tobytes() == table[plane].tobytes()
    assert scene.view().channels["a"].values.tobytes() == table[plane].tobytes()
