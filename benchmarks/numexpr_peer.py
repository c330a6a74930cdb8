"""The expressions or the program with numexpr in one thread: numexpr_peer.py W3|W4 PIXELS. Prints
NAME NS SUM, nanoseconds per pixel in the shortest of five passes, for E1 to E5 or for W4; the values
have the slopes and the spread of bench_scenes.hpp."""
import sys
import time

import numexpr
import numpy

single = numpy.float32
EXPRESSIONS = {
    "E1": "(Ch2 - Ch1) / (Ch2 + Ch1)",
    "E2": "((Ch1 > 50) & (Ch2 < three_tenths)) | (Ch3 == 0)",
    "E3": "sqrt(Ch1**2 + Ch2**2) * cos(radians * sz)",
    "E4": "((Ch1 + Ch2) * half - (Ch3 - Ch4) / (Ch3 + Ch4)) * (Ch5 * tenth + Ch6 / (Ch7 + 2))"
          " - (Ch8 * Ch1 + Ch2 * quarter - Ch3) / (Ch4 + Ch5) + Ch6 * Ch7",
    "E5": "where((Ch5 > 273) & (Ch6 - Ch7 < limit), log(Ch1 + 1), 0) + arctan2(Ch2, Ch3) * exp(-Ch4)",
}
# Constants of single precision: a plain 0.5 would widen everything to double precision.
CONSTANTS = {name: single(value) for name, value in
             {"half": 0.5, "quarter": 0.25, "tenth": 0.1, "three_tenths": 0.3, "limit": 2.5,
              "radians": 0.017453293, "low": 0.35}.items()}
CLASSES = "where(sz > 85, 0, where(Ch5 < 273, where(Ch3 == 0, 0, 2)," \
          " where((Ch2 - Ch1) / (Ch2 + Ch1) > tenth, where(Ch1 < low, 7, 3), 1)))"
WEIGHTS = "where(sz > 85, 1, where(Ch5 > 300, 0, where(Ch5 < 273, Ch5 - Ch6, Ch6 - Ch5) * tenth + 1))"


class Values:
    """Slopes along lines of 2048 pixels, and noise."""

    def __init__(self, pixels):
        self.random = numpy.random.default_rng(7)
        self.along = ((numpy.arange(pixels) % 2048) / 2048).astype(single)

    def noise(self):
        return self.random.random(self.along.size, single)

    def slope(self, start, rise, noise):
        return single(start) + single(rise) * self.along + single(noise) * self.noise()

    def with_zeros(self, other):
        return numpy.where(self.noise() < 0.01, single(0), other).astype(single)


def expression_values(pixels):
    v = Values(pixels)
    found = dict(CONSTANTS, sz=v.slope(20, 60, 0), Ch1=v.slope(30, 40, 6), Ch2=v.slope(0.1, 0.4, 0.05),
                 Ch3=v.with_zeros(v.slope(0.2, 0, 0.3)), Ch4=v.slope(0.1, 0, 0.6))
    found.update({"Ch%d" % k: v.slope(260, 30, 4) for k in range(5, 9)})
    return found


def program_values(pixels):
    v = Values(pixels)
    warm = v.slope(262, 42, 3)
    return dict(CONSTANTS, sz=v.slope(20, 70, 0), Ch1=v.slope(0.3, 0.1, 0.05),
                Ch2=v.slope(0.35, 0.2, 0.1), Ch3=v.with_zeros(single(0.3)), Ch5=warm,
                Ch6=warm - 1 + 2 * v.noise())


def shortest(action):
    best = float("inf")
    for _ in range(5):
        start = time.perf_counter()
        action()
        best = min(best, time.perf_counter() - start)
    return best


def measure(name, texts, values, pixels, kind=single):
    outs = [numpy.empty(pixels, kind) for _ in texts]

    def evaluate():
        for text, out in zip(texts, outs):
            numexpr.evaluate(text, local_dict=values, out=out, casting="unsafe")

    took = shortest(evaluate)
    print("%s %.3f" % (name, took * 1e9 / pixels),
          *("%.6e" % out.sum(dtype=float) for out in outs), flush=True)


def main(work, pixels):
    numexpr.set_num_threads(1)
    if work == "W4":
        measure("W4", [CLASSES, WEIGHTS], program_values(pixels), pixels)
        return
    values = expression_values(pixels)
    for name, text in EXPRESSIONS.items():
        measure(name, [text], values, pixels, bool if name == "E2" else single)


main(sys.argv[1], int(sys.argv[2]))
