#!/usr/bin/env python3
"""Every verb that writes, on a disk that is full at several stages: the reason with the name of the output, and
the old file or none."""
import json
import random
import subprocess
from array import array

from zel_case import ZelTest, main
from zelfile import Channel, Line, ZelFile

SIDE = 300
REASON = "No space left on device"
WAYS = {
    "calc": ["calc", "X = R", "{in}/a.zel"],
    "calc with the channels of the input": ["calc", "X = R > 9; Y = X + R", "{in}/a.zel", "--keep", "--as", "X=u8"],
    "channels": ["channels", "{in}/a.zel"],
    "combine": ["combine", "{in}/a.zel", "{in}/b.zel"],
    "combine to a container": ["combine", "{in}/a.zel", "{in}/b.zel", "--container"],
    "look": ["look", "{in}/a.zel"],
    "merge": ["merge", "{in}/stats"],
    "merge of samples": ["merge", "{in}/a.feat", "--memory", "1"],
    "replay": ["replay", "{in}/made.zel"],
    "sample": ["sample", "{in}/p"]}
# The largest one holds the headers of all outputs, and none of them as a whole.
SIZES = (4, 16, 32, 64)


def noise(seed):
    choose = random.Random(seed)
    f = ZelFile(pixels=SIDE, slots=3, lines=[Line(time=12.0, right=SIDE - 1, nadir=0) for _ in range(SIDE)])
    f.channels[0] = Channel(type=5, label=b"R", bits=16,
                            rows=[array("H", choose.choices(range(65536), k=SIDE)) for _ in range(SIDE)])
    return f


class FullDisk(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", noise(1))
        self.put("b.zel", noise(2))
        self.put("p", b"inputfilename %s/a.zel\noutputfilename unused\nfeature Ch1\n" % bytes(self.dir))
        self.assertEqual(self.run_zel("combine", self.dir / "a.zel", "-q", "-o", "made.zel")[0], 0)
        self.assertEqual(self.run_zel("sample", "p", "-o", "a.feat")[0], 0)
        one = self.json("info", "--json", "--stats", "a.zel")
        self.put("stats", json.dumps([dict(one, file="scene %d" % i) for i in range(1000)]).encode())
        self.disk = self.dir / "disk"
        self.disk.mkdir()

    def mount(self, kilobytes):
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=%dk" % kilobytes, "none", str(self.disk)],
                              stderr=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            self.skipTest("no file system can be mounted")

    def unmount(self):
        subprocess.run(["umount", str(self.disk)], check=True)

    def run_on(self, way, output, *more):
        words = [w.replace("{in}", str(self.dir)) for w in WAYS[way]]
        return self.run_zel(*words, "-o", output, *more)

    def check_refused(self, way, output, *more):
        status, out, err = self.run_on(way, output, *more)
        self.assertEqual((status, out), (1, ""), (way, err))
        self.assertTrue(err.startswith("zel %s: " % WAYS[way][0]), err)
        self.assertRegex(err, r"%s(\.hdr)?: %s\n$" % (output, REASON), way)
        self.assertNotIn(".zel-", err)

    def test_the_old_file_stays_or_there_is_none(self):
        for way in WAYS:
            for size in SIZES:
                for old in (False, True):
                    self.mount(size)
                    try:
                        if old:
                            (self.disk / "out").write_bytes(b"mine")
                        self.check_refused(way, "disk/out", "--overwrite")
                        self.assertEqual([p.name for p in self.disk.iterdir()], ["out"] * old, (way, size))
                        if old:
                            self.assertEqual((self.disk / "out").read_bytes(), b"mine")
                    finally:
                        self.unmount()

    def test_with_room_each_is_made(self):
        self.mount(20000)
        try:
            for way in WAYS:
                self.assertEqual(self.run_on(way, "disk/out", "-q", "--overwrite")[0], 0, way)
                self.assertGreater((self.disk / "out").stat().st_size, 1024 * SIZES[-1], way)
        finally:
            self.unmount()

    def test_a_device_without_room(self):
        for way in WAYS:
            if "sample" not in way:
                self.check_refused(way, "/dev/full")

    def test_samples_do_not_go_to_a_device(self):
        self.fails(["sample", "p", "-o", "/dev/null"],
                   "zel sample: p: cannot write /dev/null: is not a regular file")
        self.fails(["merge", "a.feat", "-o", "/dev/null"],
                   "zel merge: cannot write /dev/null: is not a regular file")


if __name__ == "__main__":
    main()
