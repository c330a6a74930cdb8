"""How cost grows with pixels, channels, resolutions and the operators of an expression: each at four
sizes that are run in turn."""
import statistics

import peers
import scene
from expression_work import figures
from timing import Command, in_turn

OPERATORS = (4, 8, 16, 32)
CHANNELS = (2, 4, 8, 16)
RATIOS = (2, 4, 6, 8)
FACTORS = (1, 2, 3, 4)
WIDTH = 1024


def component(factor, lines, channels):
    made = [scene.kelvin(str(k), 11.0) if k % 2 else scene.reflectance(str(k), 0.6)
            for k in range(channels)]
    return scene.Component("%d" % factor, factor * WIDTH, factor * lines, factor, made)


def values(components):
    """How many stored pixels are read, in millions."""
    return sum(c.pixels * c.lines * len(c.channels) for c in components) / 1e6


class Growth:
    def __init__(self, setup):
        self.setup = setup
        self.lines = setup.base_lines // 8

    def scenes(self):
        """Name, what the size is, and the size and the components of each."""
        lines = self.lines
        two = [[component(1, n, 4), component(2, n, 4)] for n in (lines, 2 * lines, 4 * lines,
                                                                 8 * lines)]
        yield "pixels", "million values read, more lines", [(values(c), c) for c in two]
        yield "channels", "channels in each of two files", [
            (n, [component(1, lines, n), component(2, lines, n)]) for n in CHANNELS]
        yield "resolutions", "files, each of another resolution", [
            (n, [component(f, lines, 2) for f in FACTORS[:n]]) for n in range(1, 5)]
        fine = [[component(1, lines, 1), component(f, lines, 2)] for f in RATIOS]
        yield "ratio", "million values read at ratios 2, 4, 6, 8", [
            (values(c), c) for c in fine]

    def grids(self, name, what, sized):
        """Seconds for one grid of each scene."""
        out = self.setup.data / "growth.zel"
        commands = {}
        for number, (size, components) in enumerate(sized):
            folder = self.setup.data / ("growth-%s-%d" % (name, number))
            paths = scene.make(folder, components)
            words = [word for path in paths for word in ("-i", path)]
            commands[size] = Command([self.setup.bin / "zel_combine", "-same_res", *words,
                                      "-o", out, "-overwrite"], ZEL_NUM_THREADS="1")
        times = in_turn(commands, self.setup.rounds, [out])
        return {"what": what, "unit": "ms", "sizes": list(times),
                "costs": [1000 * statistics.median(t) for t in times.values()]}

    def operators(self):
        """Nanoseconds per pixel on a line in the cache."""
        file = self.setup.data / "growth.txt"
        file.write_text("".join("%d|%s\n" % (n, chain(n)) for n in OPERATORS))
        rounds = [figures(peers.printed(self.setup.bin / "zel_w3", file, 262144))
                  for _ in range(self.setup.rounds)]
        return {"what": "operators of an expression", "unit": "ns per pixel",
                "sizes": list(OPERATORS),
                "costs": [statistics.median(r[str(n)][1] for r in rounds) for n in OPERATORS]}

    def all(self):
        found = {name: self.grids(name, what, sized) for name, what, sized in self.scenes()}
        found["operators"] = self.operators()
        return found


def chain(operators):
    """An expression of that many operators, whose products stay short."""
    text = "Ch2"
    for k in range(operators):
        text += "*+"[k % 2] + "Ch%d" % (2 + (k + 1) % 3)
    return text
