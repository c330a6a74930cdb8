"""Files that a server has: what is read of them, in how few requests."""
import http.server
import os
import re
import threading

import numpy
import pytest
from osgeo import gdal

from conftest import opened
from scenes import Channel, Scene, composite, ramp

LINES, PIXELS = 200, 150


class Requests(http.server.BaseHTTPRequestHandler):
    """Answers requests for parts of the files in the server's folder, and counts them."""
    protocol_version = "HTTP/1.1"
    wbufsize = -1

    def part(self, size):
        asked = re.match(r"bytes=(\d+)-(\d*)", self.headers.get("Range") or "")
        if not asked:
            return 200, 0, size
        return 206, int(asked[1]), min(int(asked[2] or size) + 1, size)

    def answer(self, has_body):
        self.server.requests += 1
        path = os.path.join(self.server.folder, self.path.lstrip("/"))
        if not os.path.isfile(path):
            self.send_response(404)
            self.send_header("Content-Length", "0")
            self.end_headers()
            return
        with open(path, "rb") as stream:
            content = stream.read()
        status, begin, end = self.part(len(content))
        self.send_response(status)
        self.send_header("Accept-Ranges", "bytes")
        self.send_header("Content-Length", str(end - begin))
        if status == 206:
            self.send_header("Content-Range", "bytes %d-%d/%d" % (begin, end - 1, len(content)))
        self.end_headers()
        if has_body:
            self.wfile.write(content[begin:end])

    def do_GET(self):
        self.answer(True)

    def do_HEAD(self):
        self.answer(False)

    def log_message(self, *words):
        pass


@pytest.fixture
def server(tmp_path):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Requests)
    server.folder, server.requests = str(tmp_path), 0
    thread = threading.Thread(target=server.serve_forever)
    thread.start()

    def put(name, data):
        (tmp_path / name).write_bytes(data)
        return "/vsicurl/http://127.0.0.1:%d/%s" % (server.server_port, name)

    server.put = put
    yield server
    server.shutdown()
    thread.join()
    server.server_close()
    gdal.VSICurlClearCache()


def scene(**more):
    lats = [[45 - 0.01 * n + 0.001 * k for k in range(16)] for n in range(LINES)]
    lons = [[5 + 0.1 * k for k in range(16)] for n in range(LINES)]
    channels = {0: Channel(5, ramp(LINES, PIXELS, 7, most=65535)),
                1: Channel(3, ramp(LINES, PIXELS, 3))}
    return Scene(channels, lats=lats, lons=lons, interval=10, altitude=700.0,
                 times=[9.0] * LINES, **more)


def test_a_file_of_a_server_is_read(server):
    made = scene()
    path = server.put("scene.zel", made.bytes())
    dataset = opened(path)
    for band in (1, 2):
        assert dataset.GetRasterBand(band).ReadAsArray().tolist() == made.channels[band - 1].pixels
    lat = opened(dataset.GetMetadataItem("Y_DATASET", "GEOLOCATION")).ReadAsArray()
    assert (lat == numpy.array(made.lats, numpy.float32)).all()
    assert opened('ZEL:"%s":angles' % path).ReadAsArray().shape == (3, LINES, PIXELS)


def test_a_band_and_a_window_take_few_requests(server):
    """Not one for each line."""
    made = scene()
    dataset = opened(server.put("scene.zel", made.bytes()))
    numbers = numpy.array(made.channels[0].pixels)
    gdal.VSICurlClearCache()
    for box in ((20, 50, 100, 100), (0, 0, PIXELS, LINES)):
        before = server.requests
        x, y, width, height = box
        got = dataset.GetRasterBand(1).ReadAsArray(*box)
        assert (got == numbers[y:y + height, x:x + width]).all()
        assert server.requests - before < 15


def test_the_view_of_a_server_s_composite_is_read(server):
    coarse = Scene({0: Channel(3, [[1, 2], [3, 4]])}, resolution=60.0)
    fine = Scene({0: Channel(3, ramp(4, 4))}, resolution=30.0)
    path = server.put("both.zel", composite([coarse, fine], 1))
    view = opened('ZEL:"%s":view' % path)
    assert view.GetRasterBand(1).ReadAsArray().tolist() == [
        [1, 1, 2, 2], [1, 1, 2, 2], [3, 3, 4, 4], [3, 3, 4, 4]]
    assert view.GetRasterBand(2).ReadAsArray().tolist() == ramp(4, 4)


def test_a_file_that_the_server_does_not_have_is_reported(server, messages):
    path = server.put("scene.zel", b"").replace("scene", "missing")
    assert gdal.Open('ZEL:"%s":0' % path) is None
    assert "cannot be opened" in messages.text()
