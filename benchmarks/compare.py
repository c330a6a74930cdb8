#!/usr/bin/env python3
"""Times the two ways to combine beside plain copies: compare.py ZEL_COMBINE SCENE_DIRECTORY ROUNDS

Each round runs every command once, in turn; medians are compared. The page cache is warm, the
output is new every time.
"""

import os
import resource
import statistics
import subprocess
import sys
import time

tool, directory, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
inputs = [os.path.join(directory, name) for name in ("1000.zel", "500.zel", "250.zel")]
output = os.path.join(directory, "out")
BLOCK = 256 * 1024


def combine(*options):
    names = [word for name in inputs for word in ("-i", name)]
    subprocess.run([tool, *options, *names, "-o", output, "-overwrite"], check=True,
                   stdout=subprocess.DEVNULL)


def copy():
    for number, name in enumerate(inputs):
        subprocess.run(["cp", name, output + str(number)], check=True)


def read_and_write(size):
    """Reads every input byte and writes as many bytes as the output has, with no work between."""
    buffer = bytearray(BLOCK)
    for name in inputs:
        with open(name, "rb", buffering=0) as stream:
            while stream.readinto(buffer):
                pass
    with open(output, "wb", buffering=0) as stream:
        left = size
        while left > 0:
            left -= stream.write(memoryview(buffer)[:min(left, BLOCK)])


def remove_outputs():
    for name in [output] + [output + str(number) for number in range(len(inputs))]:
        if os.path.exists(name):
            os.remove(name)


def timed(action):
    remove_outputs()
    start = time.perf_counter()
    action()
    return time.perf_counter() - start


def main():
    total = sum(os.path.getsize(name) for name in inputs)
    combine("-same_res")
    grid_size = os.path.getsize(output)
    for name in inputs:
        with open(name, "rb") as stream:
            while stream.read(1 << 24):
                pass
    actions = {"composite": combine, "cp": copy,
               "one grid": lambda: combine("-same_res"),
               "read + write": lambda: read_and_write(grid_size)}
    times = {name: [] for name in actions}
    for _ in range(rounds):
        for name, action in actions.items():
            times[name].append(timed(action))
    remove_outputs()
    print("%.0f MB in, %.0f MB on one grid, medians of %d rounds" %
          (total / 1e6, grid_size / 1e6, rounds))
    for name, seconds in times.items():
        print("  %-14s %7.3f s" % (name, statistics.median(seconds)))
    ratio = {name: statistics.median(seconds) for name, seconds in times.items()}
    print("composite / cp            = %.2f" % (ratio["composite"] / ratio["cp"]))
    print("one grid / (read + write) = %.2f" % (ratio["one grid"] / ratio["read + write"]))
    peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
    print("largest resident memory of a run: %.1f MB" % (peak / 1024.0))


main()
