"""Lines: times, nadirs, padding, positions and angles."""
import numpy as np
import pytest

import zel
from samples import LAYOUTS, navigated
from scenes import Channel, Scene, ramp


def test_lines_have_times_altitudes_padding_and_nadirs(keep):
    lines = zel.open(keep(navigated(year=2024, day=60).bytes())).lines
    assert len(lines) == 3
    assert lines.time.astype(str).tolist() == ["2024-02-29T11:30:00.000000"] * 2 + [
        "2024-02-29T11:45:00.000000"]
    assert lines.hours.tolist() == [11.5, 11.5, 11.75]
    assert lines.altitude.tolist() == [0.0] * 3
    assert lines.padding.tolist() == [[0, 4]] * 3
    assert lines.nadir_pixel.tolist() == [-1] * 3
    assert lines.nadir_latitude.tolist() == [41.0] * 3
    assert lines.nadir_longitude.tolist() == [5.0] * 3


def test_lines_of_old_layouts_have_the_defaults_of_the_library(keep):
    lines = zel.open(keep(navigated(version=132).bytes())).lines
    assert lines.padding.tolist() == [[0, 4]] * 3
    assert lines.nadir_pixel.tolist() == [1] * 3  # half the pixels, less one
    assert lines.nadir_latitude.tolist() == [0.0] * 3


def test_a_time_that_is_not_set_is_not_a_time(keep):
    lines = zel.open(keep(navigated(times=[0.0, 11.5, 1e9]).bytes())).lines
    assert np.isnat(lines.time).tolist() == [True, False, True]


def test_tie_points_are_those_of_the_file(keep):
    scene = zel.open(keep(navigated().bytes()))
    points = scene.tie_points()
    assert points.pixels.tolist() == [1, 3]
    assert points.latitude.tolist() == [[40.0, 42.0], [30.0, 34.0], [20.0, 20.0]]
    assert points.longitude.tolist() == [[10.0, 12.0], [20.0, 20.0], [179.0, -179.0]]
    assert scene.tie_points(slice(1, None, 1)).latitude.tolist() == [[30.0, 34.0], [20.0, 20.0]]


def test_positions_are_interpolated_along_the_line(keep):
    positions = zel.open(keep(navigated().bytes())).positions()
    assert positions.latitude.dtype == np.float32
    assert positions.latitude.tolist() == [[39, 40, 41, 42, 43], [28, 30, 32, 34, 36], [20] * 5]
    assert positions.longitude[:2].tolist() == [[9, 10, 11, 12, 13], [20] * 5]
    assert np.abs(positions.longitude[2]).tolist() == [178, 179, 180, 179, 178]


def test_positions_of_some_lines_are_those_of_the_whole(keep):
    scene = zel.open(keep(navigated().bytes()))
    whole = scene.positions().latitude
    assert np.array_equal(scene.positions(slice(0, 3, 2)).latitude, whole[::2])
    assert np.array_equal(scene.positions(range(1, 3)).latitude, whole[1:])
    assert np.array_equal(scene.positions(-1).latitude, whole[2:])
    assert scene.positions(slice(3, 3)).latitude.shape == (0, 5)
    for outside in (range(2, 5), range(-1, 2)):
        with pytest.raises(IndexError):
            scene.positions(outside)


def test_a_file_without_navigation_has_no_positions(keep):
    scene = zel.open(keep(Scene({0: Channel(3, ramp(1, 2))}).bytes()))
    assert scene.positions().latitude.tolist() == [[-9999.0, -9999.0]]
    assert scene.tie_points().latitude.shape == (1, 0)
    assert scene.angles().solar_zenith.tolist() == [[0.0, 0.0]]


@pytest.mark.parametrize("version,big_endian", LAYOUTS)
def test_positions_and_angles_are_those_of_the_library_to_the_bit(keep, version, big_endian):
    scene = zel.open(keep(navigated(version=version, big_endian=big_endian).bytes()))
    view = scene.view()
    for own, library in zip(scene.positions() + scene.angles(), view.positions() + view.angles()):
        assert own.dtype == np.float32
        assert own.tobytes() == library.tobytes()


def test_the_sun_at_noon_stands_over_its_own_latitude(keep):
    """At the equinox of day 80, at 0 degrees east and at noon, the zenith angle is the latitude."""
    scene = zel.open(keep(navigated(
        year=2001, day=80, times=[12.0] * 3, lats=[[40.0, 42.0]] * 3, lons=[[0.0, 0.0]] * 3,
        nadir=(-1, 41.0, 0.0)).bytes()))
    angles = scene.angles(0)
    assert angles.solar_zenith[0].tolist() == pytest.approx([39, 40, 41, 42, 43], abs=0.7)
    assert angles.view_zenith[0, 2] == pytest.approx(0.0, abs=0.05)
    assert (angles.view_zenith[0, :2] > 5).all()


def test_angles_in_channels_are_the_angles(keep):
    channels = {0: Channel(3, ramp(3, 4), label="a"), 1: Channel(1, ramp(3, 4, 9), 0.0, 51.0),
                2: Channel(4, [[0.5 * x for x in range(4)]] * 3),
                3: Channel(5, ramp(3, 4, 100, 0, 9999))}
    scene = zel.open(keep(Scene(channels, angles=(1, 2, 3)).bytes()))
    angles = scene.angles(slice(1, None))
    assert np.array_equal(angles.solar_zenith, scene.channels["#1"][1:])
    assert np.array_equal(angles.view_zenith, scene.channels["#2"][1:])
    assert np.array_equal(angles.relative_azimuth, scene.channels["#3"][1:])
    for own, library in zip(angles, scene.view().angles(slice(1, None))):
        assert own.tobytes() == library.tobytes()


def test_two_channels_of_angles_are_not_enough(keep):
    scene = zel.open(keep(navigated(angles=(0, 0, 9)).bytes()))
    for own, library in zip(scene.angles(), scene.view().angles()):
        assert own.tobytes() == library.tobytes()
    assert scene.angles().solar_zenith.any()


def test_pixels_after_the_last_point_of_a_line_with_a_point_for_each_have_position_0(keep):
    scene = zel.open(keep(Scene({0: Channel(3, ramp(2, 4))}, interval=1, lats=[[1.0, 2.0]] * 2,
                                lons=[[3.0, 4.0]] * 2).bytes()))
    for _ in range(3):
        assert scene.positions().latitude.tolist() == [[1.0, 2.0, 0.0, 0.0]] * 2
        assert scene.view().positions().longitude.tolist() == [[3.0, 4.0, 0.0, 0.0]] * 2
