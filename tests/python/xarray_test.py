"""Scenes as xarray datasets."""
import os
import pickle

import numpy as np
import pytest

import zel
from samples import LAYOUTS, container, five_channels, navigated
from scenes import Channel, Scene, ramp

xr = pytest.importorskip("xarray")

CLASSES = [(0, 0, 0, "no data"), (255, 0, 16, "snow / ice"), (1, 2, 3, "")]


def classified(**more):
    channel = Channel(3, ramp(3, 4, most=2), label="map", comment="kinds", units=5)
    return Scene({2: channel}, luts=[(1, "kinds", CLASSES)], **more)


def opened(path, **options):
    return xr.open_dataset(path, engine="zel", **options)


def test_the_engine_is_found_and_takes_files_by_their_name(keep):
    assert "zel" in xr.backends.list_engines()
    assert list(xr.open_dataset(keep(navigated().bytes())).data_vars) == ["one"]
    other = keep(navigated().bytes(), "scene.dat")
    assert list(opened(other).data_vars) == ["one"]
    with pytest.raises(ValueError, match="did not find a match"):
        xr.open_dataset(other)


@pytest.mark.parametrize("version,big_endian", LAYOUTS)
def test_values_and_stored_numbers_of_all_layouts(keep, version, big_endian):
    channels = five_channels()
    path = keep(Scene(channels, version=version, big_endian=big_endian).bytes())
    found, raw = opened(path), opened(path, mask_and_scale=False)
    assert list(found.data_vars) == ["scaled byte", "scaled 16-bit", "byte", "float", "16-bit"]
    for name, channel in zip(found.data_vars, channels.values()):
        assert raw[name].values.tolist() == channel.pixels
        numbers = np.array(channel.pixels, np.float64)
        if channel.high != channel.low:
            steps = 255 if channel.code == 1 else 65535
            numbers = channel.low + numbers * (channel.high - channel.low) / steps
        assert found[name].values == pytest.approx(numbers, rel=1e-6, abs=1e-6)
    assert [str(found[name].dtype) for name in found] == ["float32", "float32", "uint8", "float32",
                                                          "uint16"]
    assert [str(raw[name].dtype) for name in raw] == ["uint8", "uint16", "uint8", "float32",
                                                      "uint16"]


def test_packing_is_in_the_encoding_or_in_the_attributes(keep):
    path = keep(Scene(five_channels()).bytes())
    encoding = opened(path)["scaled byte"].encoding
    assert (encoding["dtype"], encoding["scale_factor"], encoding["add_offset"]) == (
        np.uint8, 51 / 255, -1.0)
    attributes = opened(path, mask_and_scale=False)["scaled byte"].attrs
    assert (attributes["scale_factor"], attributes["add_offset"]) == (51 / 255, -1.0)
    for name in ("byte", "16-bit", "float"):
        assert "scale_factor" not in opened(path)[name].encoding
    assert (attributes["units"], attributes["long_name"]) == ("K", "scaled byte")
    assert "standard_name" not in attributes
    second = opened(path)["scaled 16-bit"].attrs
    assert (second["wavelength"], second["units"], second["channel_number"]) == (0.5, "1", 3)


@pytest.mark.filterwarnings("ignore:saving variable")
@pytest.mark.parametrize("decoded", [True, False])
def test_netcdf_keeps_the_stored_numbers(keep, tmp_path, decoded):
    pytest.importorskip("netCDF4")
    channels = five_channels()
    path = keep(Scene(channels, times=[11.5, 11.5, 11.75]).bytes())
    opened(path, mask_and_scale=decoded).to_netcdf(tmp_path / "scene.nc")
    again = xr.open_dataset(tmp_path / "scene.nc", mask_and_scale=False)
    for name, channel in zip(opened(path).data_vars, channels.values()):
        assert again[name].values.tolist() == channel.pixels
        assert again[name].dtype == zel.open(path).channels[name].raw.dtype
    assert again["scaled byte"].attrs["add_offset"] == -1.0
    assert str(again.time.values[2]) == "2001-05-03T11:45:00.000000000"


def test_classes_are_integers_with_names_and_colours(keep):
    found = opened(keep(classified().bytes()))["map"]
    assert found.dtype == np.uint8
    assert found.values.tolist() == ramp(3, 4, most=2)
    assert found.attrs["flag_values"].tolist() == [0, 1, 2]
    assert found.attrs["flag_values"].dtype == np.uint8
    assert found.attrs["flag_meanings"] == "no_data snow_ice class_2"
    assert found.attrs["flag_colors"] == "#000000 #ff0010 #010203"
    assert found.attrs["class_names"] == "no data\nsnow / ice\n"


def test_names_are_unique_and_fit_netcdf(keep):
    labels = ["a", "a", "", "n/d", "time", "latitude"]
    scene = Scene({slot: Channel(3, ramp(1, 2), label=label) for slot, label in enumerate(labels)})
    assert list(opened(keep(scene.bytes())).data_vars) == [
        "a_Ch1", "a_Ch2", "Ch3", "n_d", "time_Ch5", "latitude_Ch6"]


def test_times_are_those_of_the_lines(keep):
    path = keep(navigated(year=2024, day=60, times=[11.5, 0.0, 11.75]).bytes())
    time = opened(path).time
    assert time.values.astype("datetime64[s]").astype(str).tolist() == [
        "2024-02-29T11:30:00", "NaT", "2024-02-29T11:45:00"]
    raw = opened(path, decode_times=False).time
    assert raw.values[[0, 2]].tolist() == [11.5, 11.75] and np.isnan(raw.values[1])
    assert raw.attrs["units"] == "hours since 2024-02-29"
    assert "time" not in opened(keep(navigated(day=0).bytes())).coords


def test_tie_points_follow_the_conventions(keep):
    found = opened(keep(navigated().bytes()))
    assert found.latitude.dims == ("y", "tie_point")
    assert found.latitude.values.tolist() == [[40.0, 42.0], [30.0, 34.0], [20.0, 20.0]]
    assert found.longitude.values.tolist() == [[10.0, 12.0], [20.0, 20.0], [179.0, -179.0]]
    assert found.tie_point_pixel.values.tolist() == [1, 3]
    assert found.tie_points.attrs["tie_point_mapping"] == "x: tie_point_pixel tie_point"
    assert found.one.attrs["coordinate_interpolation"] == "latitude: longitude: tie_points"
    assert found.latitude.attrs == {"standard_name": "latitude", "units": "degrees_north"}


def test_full_positions_are_those_of_the_library(keep):
    path = keep(navigated().bytes())
    found = opened(path, geolocation="full")
    assert found.latitude.values.tolist() == [[39, 40, 41, 42, 43], [28, 30, 32, 34, 36], [20] * 5]
    positions = zel.open(path).positions()
    assert found.longitude.values.tobytes() == positions.longitude.tobytes()
    assert found.longitude[1:, ::2].values.tolist() == positions.longitude[1:, ::2].tolist()
    assert "coordinate_interpolation" not in found.one.attrs
    assert list(opened(path, geolocation="none").coords) == ["time", "line_number"]
    with pytest.raises(ValueError, match="unknown geolocation 'map'"):
        opened(path, geolocation="map")
    bare = keep(Scene({0: Channel(3, ramp(1, 2))}).bytes())
    for kind in ("tiepoints", "full"):
        assert list(opened(bare, geolocation=kind).coords) == ["time", "line_number"]


def test_variables_can_be_left_out(keep):
    found = opened(keep(navigated().bytes()), drop_variables=["one", "latitude"])
    assert list(found.data_vars) == [] and "latitude" not in found.coords
    other = opened(keep(navigated().bytes()), drop_variables="latitude")
    assert "coordinate_interpolation" not in other.one.attrs


def test_groups_are_components_and_the_view(keep):
    path = keep(container(1))
    assert opened(path).sizes["x"] == 6  # the base component
    coarse, fine, view = (opened(path, group=group) for group in (0, "1", "view"))
    assert list(coarse) == ["coarse"] and list(fine) == ["fine", "scaled"]
    assert coarse.coarse.values.tolist() == [[10, 20, 30], [40, 50, 60]]
    assert fine.fine.values.tolist() == ramp(4, 6)
    assert list(view) == ["coarse", "fine", "scaled"] and view.sizes == {"y": 4, "x": 6}
    assert view.coarse.values[:2, :2].tolist() == [[10, 10], [10, 10]]
    assert fine.attrs["groups"] == "0 1 view" and coarse.attrs["spatial_resolution"] == "500 m"
    with pytest.raises(ValueError, match="no group 2 .* 0, 1, view"):
        opened(path, group=2)
    assert list(xr.backends.list_engines()["zel"].open_groups_as_dict(path)) == ["/", "/0", "/1"]


def test_global_attributes_say_what_the_file_says(keep):
    found = opened(keep(navigated(comment="a scene", metadata="notes").bytes())).attrs
    assert found["Conventions"] == "CF-1.9, ACDD-1.3"
    assert (found["title"], found["metadata"], found["id"]) == ("a scene", "notes", "scene")
    assert (found["time_coverage_start"], found["time_coverage_end"]) == (
        "2001-05-03T11:30:00.000000Z", "2001-05-03T11:45:00.000000Z")
    assert (found["spatial_resolution"], found["satellite_number"]) == ("30 m", 7)


def place(found):
    return [found.attrs.get(f"geospatial_{name}") for name in ("lat_min", "lat_max", "lon_min",
                                                               "lon_max")]


def test_global_attributes_say_where_the_scene_is(keep):
    found = opened(keep(navigated().bytes()))
    assert place(found) == [20, 42, 10, -179]  # across the date line: 171 degrees, not 358
    assert found.attrs["geospatial_lat_units"] == "degrees_north"
    bare = opened(keep(Scene({0: Channel(3, ramp(1, 2))}).bytes()))
    assert place(bare) == [None] * 4
    lats = [[float(n % 60), 0.5] for n in range(302)]
    lats[-1], lats[0] = [-70.5, -9999.0], [80.25, 0.1]
    many = Scene({0: Channel(3, ramp(302, 2))}, lats=lats, lons=[[5.1, -10.25]] * 302)
    assert place(opened(keep(many.bytes()))) == [-70.5, 80.25, -10.25, 5.1]


def test_indexing_gives_what_numpy_gives(keep):
    pixels = ramp(3, 5)
    one, whole = opened(keep(navigated().bytes()), cache=False).one, np.array(pixels)
    for key in (np.s_[1], np.s_[-1, 2], np.s_[::-1, 1:4], np.s_[0:3:2, ::-2], np.s_[2:2]):
        assert one[key].values.tolist() == whole[key].tolist()
    assert one[[2, 0], [1, 4, 1]].values.tolist() == whole[[2, 0]][:, [1, 4, 1]].tolist()


def test_a_dataset_is_pickled_without_its_pixels(keep):
    found = opened(keep(navigated().bytes()), chunks={"y": 1})
    again = pickle.loads(pickle.dumps(found))
    assert again.one.values.tolist() == ramp(3, 5)
    assert again.latitude.values.tolist() == found.latitude.values.tolist()


def test_a_file_that_is_cut_fails_in_the_chunk_that_is_cut(keep):
    path = keep(navigated().bytes())
    found = opened(path, chunks={"y": 1})
    kept = pickle.dumps(found)
    os.truncate(path, os.path.getsize(path) - 2)
    from zel.xarray import source
    for again in (found, pickle.loads(kept)):  # through the open file, and through another
        assert again.one[:2].values.tolist() == ramp(3, 5)[:2]
        with pytest.raises(zel.DamagedFileError, match="cut short"):
            again.one.values
        source._scene.cache_clear()


def test_a_file_that_was_replaced_is_an_error(keep):
    found = pickle.dumps(opened(keep(navigated().bytes())))
    from zel.xarray import source
    path = keep(Scene({0: Channel(5, ramp(3, 5), label="one")}).bytes())
    assert opened(path).one.dtype == np.uint16
    source._scene.cache_clear()
    with pytest.raises(zel.ZelError, match="has changed"):
        pickle.loads(found).one.values


def test_damaged_files_are_errors_at_once(keep):
    with pytest.raises(zel.DamagedFileError):
        opened(keep(navigated().bytes()[:2000]))
    with pytest.raises(FileNotFoundError):
        opened("nothing.zel")


@pytest.mark.parametrize("name", ["sentinel2_ireland_60m.zel", "goes16_maria_4km_v1.41.zel"])
def test_real_scenes_are_those_of_the_library(real, name):
    found, scene = opened(real(name), geolocation="full"), zel.open(real(name))
    view = scene.view()
    for variable, channel in zip(found.data_vars.values(), view.channels):
        assert variable.values.astype(np.float32).tobytes() == channel.values.tobytes()
    assert found.latitude.values.tobytes() == view.positions().latitude.tobytes()
