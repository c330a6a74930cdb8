"""Runs that make composites."""
from harness import CREATING, ToolTest, grids_missing
from sample import sample
from zelfile import PREFIX_SIZE, directory, read_directory

NO_COMPONENT = "Warning: specified UserBaseComponentIndex %d invalid... using first component\n"
UPDATING = "ZEL file version < 2.0  updating...\n"


class Create(ToolTest):
    def make(self, words, lead="", warns=()):
        self.check(words + " -o out", CREATING + lead + grids_missing(), 0, warns=warns)
        return self.got("out")

    def check_directory(self, data, base, sizes, resolutions, offsets=None):
        offsets = offsets or [sum(sizes[:k]) for k in range(len(sizes))]
        self.assertEqual(read_directory(data)[:2], (base, len(sizes)))
        self.assertEqual(data[13:PREFIX_SIZE], directory(base, offsets, resolutions, sizes))

    def scenes(self, *resolutions, names="abcdef"):
        """Plain files of one scene; returns (bytes, resolution) of each."""
        out = []
        for k, (name, r) in enumerate(zip(names, resolutions)):
            out.append((self.put(name, sample(r, 8, 6, (3, 2)[:1 + k % 2], seed=k)), r))
        return out
