"""W3 and W4: expressions and a program in memory, in turn with loops by hand and numexpr."""
import statistics
import sys

import peers
from file_work import WrongOutput

HERE = peers.HERE
NAMES = ("E1", "E2", "E3", "E4", "E5")


def figures(text):
    """The numbers of each line of a program, by the name at its beginning."""
    lines = (line.split() for line in text.splitlines())
    return {words[0]: [float(word) for word in words[1:]] for words in lines if words}


def agree(what, sums, others, tolerance):
    for value, other in zip(sums, others):
        if abs(value - other) > tolerance * abs(other):
            raise WrongOutput("%s: the sum of its results is %g and not %g" % (what, value, other))


class ExpressionWork:
    def __init__(self, setup):
        self.setup = setup

    def programs(self, work, tool, text, loop, *arguments):
        """What is run in turn: name and words."""
        yield "zel", [self.setup.bin / tool, HERE / text, *arguments]
        if "compiler" in self.setup.installed:
            for name, flags in (("loop", peers.EXACT), ("loose loop", peers.LOOSE)):
                yield name, [peers.compiled(self.setup.data, loop, flags, "_" + name.split()[0]),
                             *arguments]
        if "numexpr" in self.setup.installed:
            yield "numexpr", [sys.executable, "-B", HERE / "numexpr_peer.py", work,
                              self.setup.pixels]

    def measure(self, *what):
        """The figures of each round, by name."""
        programs = dict(self.programs(*what))
        rounds = {name: [] for name in programs}
        for _ in range(self.setup.short_rounds):
            for name, words in programs.items():
                rounds[name].append(figures(peers.printed(*words)))
        return rounds

    def expressions(self):
        """W3. In the cache the time itself is the figure, that of the best round, beside the better
        one of two loops."""
        rounds = self.measure("W3", "zel_w3", "expressions.txt", "expression_loops",
                              self.setup.pixels)
        found = {}
        for name in NAMES:
            self.check(rounds, name)
            streamed = [r[name][0] for r in rounds["zel"]]
            if "numexpr" in rounds:
                other = [r[name][0] for r in rounds["numexpr"]]
                found["w3-%s-streamed" % name] = {
                    "value": statistics.median(a / b for a, b in zip(streamed, other)),
                    "ns": statistics.median(streamed), "peer_ns": statistics.median(other)}
            cached = {"value": min(r[name][1] for r in rounds["zel"])}
            if "loop" in rounds:
                cached["peer"] = min(r[name][1] for loop in ("loop", "loose loop")
                                     for r in rounds[loop])
            found["w3-%s-cached" % name] = cached
        return found

    def check(self, rounds, name):
        """The loops draw the same values as the tool, numexpr draws values like them."""
        for other, column, tolerance in (("loop", 2, 1e-6), ("loose loop", 2, 1e-5),
                                         ("numexpr", 1, 0.03)):
            if other in rounds:
                agree("%s beside %s" % (name, other), rounds["zel"][0][name][2:],
                      rounds[other][0][name][column:], tolerance)

    def program(self):
        """W4."""
        rounds = self.measure("W4", "zel_w4", "program.txt", "program_loop")
        found = {}
        own = [r["W4"][0] for r in rounds["zel"]]
        for key, other in (("w4-loop", "loop"), ("w4-numexpr", "numexpr")):
            if other not in rounds:
                continue
            if other == "loop":
                agree("W4", rounds["zel"][0]["W4"][1:], rounds["loop"][0]["W4"][1:], 1e-6)
            times = [r["W4"][0] for r in rounds[other]]
            found[key] = {"value": statistics.median(a / b for a, b in zip(own, times)),
                          "ns": statistics.median(own), "peer_ns": statistics.median(times)}
        return found
