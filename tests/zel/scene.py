"""A small scene of which every number is worked out here: 4 pixels by 3 lines."""
from zelfile import Channel, Histogram, Line, Lut, Table, ZelFile


def small_scene(**header):
    """Values of B1 = 0, 51, 102, ... 51 apart in scaled bytes over 0 .. 1: 0.2 apart; CLS are classes."""
    f = ZelFile(**{"slots": 6, "year": 2020, "julian": 60, "satellite": 9, "pixels": 4, "nav_points": 2,
                   "nav_start": 0, "nav_interval": 3, "data_type": 5, "altitude": 700.0,
                   "resolution": 30.0, "comment": b"test scene", **header})
    f.channels[0] = Channel(type=1, max=1.0, min=0.0, label=b"B1", comment=b"first", wavelength=0.5,
                            units=3, base_flag=1,
                            rows=[[0, 51, 102, 153], [204, 255, 0, 51], [102, 153, 204, 255]])
    f.channels[2] = Channel(type=3, label=b"CLS", comment=b"Cover", units=5,
                            rows=[[0, 1, 2, 2], [2, 2, 1, 0], [1, 1, 1, 9]])
    f.channels[5] = Channel(type=5, bits=16, label=b"RAW", rows=[[1000, 2000, 3000, 4000]] * 3)
    f.luts = [Lut(4, b"Cover", [(10, 20, 30, b"sea"), (0, 255, 0, b"grass"), (255, 0, 0, b"fire")])]
    f.lines = [Line(time=12.0 + n / 3600.0, altitude=700.0, right=3, nadir=1,
                    lat=[50.0 - n, 50.0 - n], lon=[10.0, 13.0]) for n in range(3)]
    return f


def rich_scene(**header):
    """The same with everything else that a header holds."""
    f = small_scene(**header)
    f.tables = [Table(1, b"curve", [0.5, 1.5, 2.5])]
    f.meta_type, f.metadata = 1, b"line one\nline two"
    f.meta_size = len(f.metadata)
    f.channels[0].histogram = Histogram(max=1.0, min=0.0, counts=[2, 2, 2, 2, 2, 2])
    f.channels[5].tables = [Table(7, b"own", [1.0])]
    return f
