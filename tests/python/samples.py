"""Scenes for tests, from the builder of bytes."""
from scenes import Channel, Scene, composite, ramp

VERSIONS = [100, 110, 120, 121, 131, 132, 141, 142, 151, 201, 211, 221, 230]
LAYOUTS = [(v, big) for v in VERSIONS for big in (False, True) if v < 151 or not big]


def five_channels():
    """A channel of each storage code, 3 lines of 4 pixels."""
    return {0: Channel(1, ramp(3, 4, 21), -1.0, 50.0, "scaled byte", units=1),
            2: Channel(2, ramp(3, 4, 5957, most=65535), 0.0, 2.0, "scaled 16-bit", units=3,
                       wavelength=0.5, bits=12),
            3: Channel(3, ramp(3, 4, 23), label="byte"),
            7: Channel(4, [[0.25 * x - n for x in range(4)] for n in range(3)], label="float",
                       units=7),
            11: Channel(5, ramp(3, 4, 4000, 7, 65535), label="16-bit", comment="counts")}


def navigated(**more):
    """Three lines of five pixels; points at pixels 1 and 3, where positions are whole numbers."""
    facts = {"altitude": 700.0, "times": [11.5, 11.5, 11.75], "start": 1, "interval": 2,
             "lats": [[40.0, 42.0], [30.0, 34.0], [20.0, 20.0]],
             "lons": [[10.0, 12.0], [20.0, 20.0], [179.0, -179.0]], "nadir": (-1, 41.0, 5.0)}
    facts.update(more)
    return Scene({0: Channel(3, ramp(3, 5), label="one")}, **facts)


def container(base=0):
    """A coarse scene of 2 x 3 pixels and a fine one of 4 x 6."""
    coarse = Scene({0: Channel(5, [[10, 20, 30], [40, 50, 60]], label="coarse")}, resolution=500.0,
                   lats=[[1.0, 2.0], [3.0, 4.0]], lons=[[5.0, 6.0], [7.0, 8.0]], interval=2)
    fine = Scene({0: Channel(3, ramp(4, 6), label="fine"),
                  4: Channel(1, ramp(4, 6), 0.0, 51.0, label="scaled")}, resolution=250.0)
    return composite([coarse, fine], base)


def doctest_scene():
    """What the examples of the package open as SCENE."""
    red = Channel(1, ramp(3, 4, 1, 10), -0.25, 12.5, "Red", units=3, wavelength=0.65)
    infrared = Channel(3, ramp(3, 4, 2), label="Infrared")
    return Scene({0: red, 1: infrared}, comment="a scene", times=[11.5, 11.5, 11.5])
