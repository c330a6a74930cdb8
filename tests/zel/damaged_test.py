#!/usr/bin/env python3
"""Damaged files through every verb that reads: an exit status of 0 or 1, no crash, and no temporary file is left.

The files are the seeds and the finds of the fuzz targets, and a scene cut at many places and with single
bytes changed, always the same ones."""
import random

from zel_case import ROOT, ZelTest, main
from scene import rich_scene

READING = [["info"], ["info", "--json", "--stats"], ["check"], ["check", "--scene"], ["dump", "--lines"],
           ["look"], ["look", "-q", "-o", "out", "--overwrite"], ["channels", "-q", "-o", "out", "--overwrite"],
           ["samples"], ["samples", "--csv"], ["combine", "-q", "-o", "out", "--overwrite"],
           ["combine", "--dry-run", "--json"], ["replay", "-q", "-o", "out", "--overwrite"]]


class Damaged(ZelTest):
    def survive(self, name, verbs=None):
        for words in verbs or READING:
            status, out, err = self.run_zel(words[0], name, *words[1:])
            self.assertIn(status, (0, 1), (words, name, err[-500:]))
            if status == 1 and words[0] != "check":
                self.assertRegex(err, r"(?m)^zel %s: " % words[0])
        for words in (["pixel", name, "0", "0"], ["calc", "-q", "X = lat + sz; Y = X > 0", name, "-o", "out", "--keep",
                                                  "--as", "Y=u8", "--overwrite"]):
            status, out, err = self.run_zel(*words)
            self.assertIn(status, (0, 1), (words, err[-500:]))

    def test_seeds_and_finds_of_the_fuzz_targets(self):
        files = sorted(p for d in ("seeds", "regressions") for p in (ROOT / "fuzz" / d).rglob("*")
                       if p.is_file() and p.parent.name in ("scene_fuzz", "combine_fuzz", "mask_block_fuzz",
                                                            "sample_file_fuzz", "feature_header_fuzz"))
        self.assertGreater(len(files), 20)
        for path in files:
            self.survive(str(path))

    def test_a_scene_that_is_cut(self):
        data = rich_scene().bytes()
        for length in (0, 1, 3, 13, 1221, 1225, 1300, 3259, 4000, 4074, 24000, len(data) - 65, len(data) - 1):
            self.put("cut", data[:length])
            self.survive("cut")
        self.assertLessEqual(set(self.names()), {"cut", "out", "out.hdr"})

    def test_a_scene_with_single_bytes_changed(self):
        data = rich_scene().bytes()
        choose = random.Random(11)
        places = list(range(1221, 1257)) + [3257, 3259, 3261, 3263] + [choose.randrange(len(data))
                                                                       for _ in range(10)]
        for place in places:
            changed = bytearray(data)
            changed[place] ^= choose.choice((1, 0x80, 0xFF))
            self.put("changed", bytes(changed))
            self.survive("changed", [["info", "--json", "--stats"], ["check"], ["dump"]])


if __name__ == "__main__":
    main()
