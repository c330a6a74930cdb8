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


CACHED = 1 << 18  # pixels of a pass in the cache: it ends before another process gets its turn


class ExpressionWork:
    def __init__(self, setup):
        self.setup = setup

    def loops(self, source, *arguments):
        """The loop by hand with both ways to compile it, by name."""
        if "compiler" not in self.setup.installed:
            return {}
        return {name: [peers.compiled(self.setup.data, source, flags, "_" + name.split()[0]),
                       *arguments]
                for name, flags in (("loop", peers.EXACT), ("loose loop", peers.LOOSE))}

    def numexpr(self, work):
        if "numexpr" not in self.setup.installed:
            return {}
        return {"numexpr": [sys.executable, "-B", HERE / "numexpr_peer.py", work,
                            self.setup.pixels]}

    def in_turn(self, programs):
        """What the programs print in each round, by name."""
        rounds = {name: [] for name in programs}
        for _ in range(self.setup.short_rounds):
            for name, words in programs.items():
                rounds[name].append(figures(peers.printed(*words)))
        return rounds

    def expressions(self):
        """W3."""
        tool = [self.setup.bin / "zel_w3", HERE / "expressions.txt"]
        streamed = self.in_turn({"zel": [*tool, self.setup.pixels], **self.numexpr("W3")})
        cached = self.in_turn({"zel": [*tool, CACHED], **self.loops("expression_loops", CACHED)})
        found = {}
        for name in NAMES:
            found.update(self.streamed(streamed, name))
            found.update(self.cached(cached, name))
        return found

    def streamed(self, rounds, name):
        if "numexpr" not in rounds:
            return {}
        # Its values are drawn from the same ranges, so the sums are close and not equal.
        agree(name + " beside numexpr", rounds["zel"][0][name][2:], rounds["numexpr"][0][name][1:],
              0.03)
        return {"w3-%s-streamed" % name: ratios(rounds, "numexpr", name)}

    def cached(self, rounds, name):
        """The time itself, that of the best round, beside the better of the loops."""
        loops = [loop for loop in rounds if loop != "zel"]
        for loop in loops:
            agree("%s beside the %s" % (name, loop), rounds["zel"][0][name][2:],
                  rounds[loop][0][name][2:], 1e-5)
        found = {"value": min(r[name][1] for r in rounds["zel"])}
        if loops:
            found["peer"] = min(r[name][1] for loop in loops for r in rounds[loop])
        return {"w3-%s-cached" % name: found}

    def program(self):
        """W4."""
        rounds = self.in_turn({"zel": [self.setup.bin / "zel_w4", HERE / "program.txt"],
                               **self.loops("program_loop"), **self.numexpr("W4")})
        found = {}
        if "loop" in rounds:
            agree("W4", rounds["zel"][0]["W4"][1:], rounds["loop"][0]["W4"][1:], 1e-6)
            found["w4-loop"] = ratios(rounds, "loop", "W4")
        if "numexpr" in rounds:
            found["w4-numexpr"] = ratios(rounds, "numexpr", "W4")
        return found


def ratios(rounds, other, name):
    """The median of the ratios of the first figures."""
    own, others = ([r[name][0] for r in rounds[program]] for program in ("zel", other))
    return {"value": statistics.median(a / b for a, b in zip(own, others)),
            "ns": statistics.median(own), "peer_ns": statistics.median(others)}
