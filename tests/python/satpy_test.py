"""The Satpy reader."""
import os

import numpy as np
import pytest

import zel
from samples import container, navigated
from scenes import Channel, Scene, composite, ramp

satpy = pytest.importorskip("satpy")
pytestmark = pytest.mark.filterwarnings("ignore:SelectableGroups")
geometry = pytest.importorskip("pyresample.geometry")

LATITUDES = [[50.0 - 0.1 * n] * 2 for n in range(10)]
LONGITUDES = [[10.0, 10.8]] * 10
BANDS = {"blue": 0.48, "green": 0.56, "red": 0.655}


def visible():
    """Lines and pixels are a tenth of a degree apart."""
    channels = {slot: Channel(2, ramp(10, 9, 655, 1000 * slot, 65535), 0.0, 1.0, name, units=3,
                              wavelength=BANDS[name]) for slot, name in enumerate(BANDS)}
    return Scene(channels, lats=LATITUDES, lons=LONGITUDES, interval=8, times=[11.5] * 10)


def reflectance(slot):
    return np.array(visible().channels[slot].pixels) / 655.35


@pytest.fixture(params=["entry point", "path"], autouse=True, scope="module")
def configuration(request):
    """Both ways by which Satpy finds readers."""
    path = os.path.join(os.path.dirname(zel.__file__), "satpy", "etc")
    if request.param == "entry point":
        with satpy.config.set(config_path=[]):
            yield
        return
    with pytest.MonkeyPatch.context() as patch, satpy.config.set(config_path=[path]):
        patch.setattr(satpy._config, "entry_points", lambda **_: {})
        yield


def scene_of(path, *names):
    found = satpy.Scene(reader="zel", filenames=[str(path)])
    found.load(list(names))
    return found


def test_channels_have_the_names_and_units_that_satpy_wants(keep):
    found = scene_of(keep(visible().bytes()), "red", 0.56)
    assert found["red"].values == pytest.approx(reflectance(2), abs=1e-4)
    facts = found["red"].attrs
    assert (facts["units"], facts["calibration"], facts["resolution"]) == ("%", "reflectance", 30)
    assert facts["start_time"].isoformat() == "2001-05-03T11:30:00"
    assert found[0.56].attrs["name"] == "green"
    assert found["red"].attrs["area"].lons[0, 4].values.item() == pytest.approx(10.4)


def test_nearest_resampling_takes_the_nearest_pixel(keep):
    found = scene_of(keep(visible().bytes()), "red")
    # Three cells of a tenth of a degree around pixels 2..4 of lines 1 and 2.
    area = geometry.AreaDefinition("a", "a", "a", "EPSG:4326", 3, 2, (10.15, 49.75, 10.45, 49.95))
    near = found.resample(area, resampler="nearest", radius_of_influence=8000)
    assert near["red"].values == pytest.approx(reflectance(2)[1:3, 2:5], abs=1e-4)


def test_native_resampling_repeats_coarse_pixels(keep):
    found = scene_of(keep(pair()), "coarse", "fine")
    assert found["coarse"].shape == (2, 3) and found["fine"].shape == (4, 6)
    native = found.resample(found.finest_area(), resampler="native")
    assert native["coarse"].values[:2].tolist() == [[10, 10, 20, 20, 30, 30]] * 2
    assert native["fine"].values.tolist() == ramp(4, 6)


def pair():
    coarse = Scene({0: Channel(3, [[10, 20, 30], [40, 50, 60]], label="coarse")}, resolution=500.0,
                   lats=[[1.0, 1.0], [0.9, 0.9]], lons=[[5.0, 5.2]] * 2, interval=2)
    fine = Scene({0: Channel(3, ramp(4, 6), label="fine")}, resolution=250.0, interval=5,
                 lats=[[1.0 - 0.05 * n] * 2 for n in range(4)], lons=[[5.0, 5.25]] * 4)
    return composite([coarse, fine], 0)


def test_a_container_without_positions_is_loaded(keep):
    found = scene_of(keep(container()), "fine", "scaled")
    assert found["fine"].values.tolist() == ramp(4, 6)
    assert "area" not in found["fine"].attrs or found["fine"].attrs["area"] is None
    assert scene_of(keep(navigated().bytes()), "one")["one"].dtype == np.uint8


def test_a_true_colour_composite_has_red_green_and_blue(keep):
    found = scene_of(keep(visible().bytes()), "true_color")["true_color"]
    assert found.bands.values.tolist() == ["R", "G", "B"]
    for band, slot in zip(found.values, (2, 1, 0)):
        assert band == pytest.approx(reflectance(slot), abs=1e-4)


def test_a_real_scene_is_drawn(real, tmp_path):
    image = pytest.importorskip("PIL.Image")
    path = real("sentinel2_ireland_60m.zel")
    scene_of(path, "true_color").save_dataset("true_color", str(tmp_path / "true.png"))
    drawn = np.asarray(image.open(tmp_path / "true.png").convert("RGB")).astype(float)
    assert drawn.shape == (440, 440, 3)
    classes = zel.open(path).channels["SCL"].raw[:]
    vegetation, cloud = drawn[classes == 4].mean(axis=0), drawn[classes == 9].mean(axis=0)
    assert vegetation[1] > vegetation[0] and vegetation[1] > vegetation[2]  # green
    assert cloud.min() > 200  # white
