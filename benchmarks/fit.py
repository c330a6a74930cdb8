"""How a cost grows with a size, from a few of both."""
import math
import statistics


def exponent(sizes, costs):
    """1 when the cost is proportional to the size, 2 when it grows with its square."""
    return statistics.linear_regression([math.log(x) for x in sizes],
                                        [math.log(y) for y in costs]).slope


def deviation(sizes, costs):
    """How far a cost is off the straight line through all of them, as a share of that cost."""
    slope, start = statistics.linear_regression(sizes, costs)
    return max(abs(start + slope * x - y) / y for x, y in zip(sizes, costs))


HEAD = "| size | sizes | cost | exponent | off a straight line |"


def table(found):
    """The growth in Markdown."""
    lines = [HEAD, "| --- | --- | --- | ---: | ---: |"]
    for part in found.values():
        sizes, costs = part["sizes"], part["costs"]
        lines.append("| %s | %s | %s %s | %.2f | %.0f %% |" % (
            part["what"], ", ".join("%.3g" % x for x in sizes),
            ", ".join("%.3g" % y for y in costs), part["unit"], exponent(sizes, costs),
            100 * deviation(sizes, costs)))
    return "\n".join(lines)
