"""Runs commands in turn, so that all of them meet the same machine."""
import os
import shutil
import statistics
import time


class Failed(Exception):
    pass


class Command:
    """One or more programs after each other, each a list of words."""

    def __init__(self, *programs, output=os.devnull, **environment):
        self.programs = [[str(word) for word in words] for words in programs]
        self.output = str(output)
        self.environment = dict(os.environ, **environment)

    def run(self):
        null = os.devnull
        for words in self.programs:
            path = shutil.which(words[0]) or words[0]
            child = os.posix_spawn(path, words, self.environment, file_actions=[
                (os.POSIX_SPAWN_OPEN, 0, null, os.O_RDONLY, 0),
                (os.POSIX_SPAWN_OPEN, 1, self.output,
                 os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644),
                (os.POSIX_SPAWN_OPEN, 2, null, os.O_WRONLY, 0)])
            status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
            if status != 0:
                raise Failed("status %d of %s" % (status, " ".join(words)))


def remove(path):
    if os.path.isdir(path):
        shutil.rmtree(path)
    elif os.path.lexists(path):
        os.remove(path)


def seconds(command, outputs):
    """The wall time of a run whose outputs are new: none of it is spent on truncating old ones."""
    for path in outputs:
        remove(path)
    start = time.perf_counter()
    command.run()
    return time.perf_counter() - start


def in_turn(commands, rounds, outputs=()):
    """The seconds of each round for each name, after a round that does not count."""
    times = {name: [] for name in commands}
    for number in range(rounds + 1):
        for name, command in commands.items():
            took = seconds(command, outputs)
            if number > 0:
                times[name].append(took)
    for path in outputs:
        remove(path)
    return times


def ratio(times, name, other):
    """The median of the ratios within the rounds."""
    return statistics.median(a / b for a, b in zip(times[name], times[other]))
