"""Containers: components, and the view of them on one grid."""
import pickle

import numpy as np
import pytest

import zel
from samples import container, five_channels
from scenes import Scene, ramp


def test_a_container_has_the_channels_of_all_components(keep):
    scene = zel.open(keep(container()))
    assert scene.is_container and scene.base == 0
    assert [(c.label, c.slot, c.component, c.shape) for c in scene.channels] == [
        ("coarse", 0, 0, (2, 3)), ("fine", 1, 1, (4, 6)), ("scaled", 2, 1, (4, 6))]
    assert scene.channels["coarse"].raw[:].tolist() == [[10, 20, 30], [40, 50, 60]]
    assert scene.channels["#1"].raw[:].tolist() == ramp(4, 6)
    assert scene.channels["Ch3"][3, 5] == pytest.approx(23 / 5)


def test_a_component_is_a_scene_with_its_own_slots(keep):
    scene = zel.open(keep(container()))
    coarse, fine = scene.components
    assert (coarse.part, coarse.shape, coarse.resolution) == (0, (2, 3), 500.0)
    assert (fine.part, fine.shape, scene.finest is fine) == (1, (4, 6), True)
    assert fine.channels["#4"].label == "scaled"
    assert coarse.components == (coarse,)
    assert fine.positions().latitude[0, 0] == -9999.0


@pytest.mark.parametrize("base,shape", [(0, (2, 3)), (1, (4, 6))])
def test_shape_and_positions_are_those_of_the_base(keep, base, shape):
    scene = zel.open(keep(container(base)))
    assert (scene.shape, scene.base) == (shape, base)
    assert scene.positions().latitude.shape == shape
    assert len(scene.lines) == shape[0]
    assert scene.view().shape == shape


def test_the_view_averages_what_is_finer(keep):
    view = zel.open(keep(container())).view()
    assert view.channels.labels == ["coarse", "fine", "scaled"]
    fine = np.array(ramp(4, 6)).reshape(2, 2, 3, 2)
    assert view.channels["fine"].values.tolist() == fine.mean(axis=(1, 3)).tolist()
    assert view.channels["fine"].raw[:].tolist() == np.floor(fine.mean(axis=(1, 3))).tolist()
    assert view.positions().latitude.tolist() == [[1.0, 1.5, 2.0], [3.0, 3.5, 4.0]]


def test_the_view_repeats_what_is_coarser(keep):
    view = zel.open(keep(container(1))).view()
    assert view.channels["coarse"].raw[:].tolist() == [
        [10, 10, 20, 20, 30, 30]] * 2 + [[40, 40, 50, 50, 60, 60]] * 2
    assert view.channels["coarse"].raw[3, ::-2].tolist() == [60, 50, 40]


def test_several_channels_are_read_at_once(keep):
    view = zel.open(keep(container(1))).view()
    coarse, scaled = view.read(["coarse", 3], slice(1, None, 2))
    assert coarse.tolist() == view.channels["coarse"].values[1::2].tolist()
    assert scaled.tolist() == view.channels["scaled"].values[1::2].tolist()
    assert view.read(["scaled"], raw=True)[0].dtype == np.uint8
    assert view.stack().shape == (3, 4, 6)


def test_components_are_pickled_by_their_number(keep):
    scene = zel.open(keep(container()))
    fine, raw = pickle.loads(pickle.dumps((scene.components[1], scene.channels["fine"].raw)))
    assert fine.shape == (4, 6)
    assert raw[:].tolist() == ramp(4, 6)
    with pytest.raises(IndexError, match="no component 2"):
        zel.Scene(scene.path, 2)


def test_a_view_of_a_big_endian_file_stands_beside_other_files(keep):
    big = zel.open(keep(Scene(five_channels(), version=141, big_endian=True).bytes(), "big")).view()
    little = zel.open(keep(Scene(five_channels(), version=141).bytes(), "little")).view()
    for line in range(3):
        for view in (big, little, big):
            assert view.channels["16-bit"].raw[line].tolist() == five_channels()[11].pixels[line]


def test_a_closed_view_says_so(keep):
    with zel.open(keep(container())).view() as view:
        pass
    with pytest.raises(ValueError, match="closed"):
        view.channels["fine"].raw[0]
