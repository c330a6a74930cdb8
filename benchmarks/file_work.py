"""W1, W2 and W5: the tool on files, in turn with what else moves the same bytes."""
import json
import os
import statistics

import check_container
import check_grid
import peers
import scene
from timing import Command, Failed, in_turn, ratio, remove


class WrongOutput(Exception):
    pass


def inputs_of(paths):
    return [word for path in paths for word in ("-i", str(path))]


def result(times, name, other):
    return {"value": ratio(times, name, other), "seconds": statistics.median(times[name]),
            "peer_seconds": statistics.median(times[other])}


class FileWork:
    """The scene and the tool of one run of the benchmarks."""

    def __init__(self, setup):
        self.setup = setup
        self.out = setup.data / "out.zel"
        self.gdal_out = setup.data / "gdal"
        self.components = scene.standard(setup.base_lines)

    def make_scene(self):
        self.paths = scene.make(self.setup.data / "scene", self.components)
        for path in self.paths:
            for file in (path, path.with_suffix(".raw")):
                file.read_bytes()  # into the page cache

    def combine(self, *options, paths=None, **environment):
        return Command([self.setup.bin / "zel_combine", *options, *inputs_of(paths or self.paths),
                        "-o", self.out, "-overwrite"], **environment)

    def verified(self, command, find_faults):
        """Runs it once; raises unless its output is right."""
        command.run()
        found = find_faults(self.out)
        if found:
            raise WrongOutput("%d faults, the first: %s" % (len(found), found[0]))
        return os.path.getsize(self.out)

    def container(self):
        """W1. cat is what moves the same bytes with the least of programs."""
        self.make_scene()
        combine = self.combine()
        self.verified(combine, lambda out: check_container.faults(out, self.paths))
        times = in_turn({"zel": combine, "cat": Command(["cat", *self.paths], output=self.out)},
                        self.setup.rounds, [self.out])
        return {"w1": result(times, "zel", "cat")}

    def gdal_programs(self):
        """Each component brought to the size of the first, then its histograms: no positions and
        no sun, so less work than the tool does."""
        width, height = str(self.components[0].pixels), str(self.components[0].lines)
        outputs = [self.gdal_out / (path.stem + ".raw") for path in self.paths]
        for path, output in zip(self.paths, outputs):
            resample = [] if path == self.paths[0] else ["-r", "average", "-outsize", width, height]
            yield ["gdal_translate", "-q", "-of", "ENVI", "-co", "INTERLEAVE=BIL", *resample,
                   path.with_suffix(".raw"), output]
        for output in outputs:
            yield ["gdalinfo", "-hist", output]

    def grid_peers(self, size):
        yield "two threads", self.combine("-same_res", ZEL_NUM_THREADS="2")
        if "compiler" in self.setup.installed:
            loop = peers.compiled(self.setup.data, "byte_loop", ["-O2"])
            yield "bytes", Command([loop, self.out, size, *self.paths])
        if "gdal" in self.setup.installed:
            yield "gdal", Command(["mkdir", "-p", self.gdal_out], *self.gdal_programs())

    def grid(self):
        """W2."""
        self.make_scene()
        one = self.combine("-same_res", ZEL_NUM_THREADS="1")
        find_faults = lambda out: check_grid.faults(out, self.paths, self.components)  # noqa: E731
        size = self.verified(one, find_faults)
        commands = {"zel": one, **dict(self.grid_peers(size))}
        self.verified(commands["two threads"], find_faults)
        times = in_turn(commands, self.setup.rounds, [self.out, self.gdal_out])
        found = {"w2-threads": result(times, "two threads", "zel")}
        for key, peer in (("w2-gdal", "gdal"), ("w2-bytes", "bytes")):
            if peer in times:
                found[key] = result(times, "zel", peer)
        found.update(self.grid_memory(one))
        return found

    def grid_memory(self, one):
        if "compiler" not in self.setup.installed:
            return {}
        meter = peers.compiled(self.setup.data, "peak_memory", ["-O2"])

        def mebibytes(words):
            return int(peers.printed(meter, *words, ZEL_NUM_THREADS="1")) / 1024

        found = {"value": mebibytes(one.programs[0])}
        if "gdal" in self.setup.installed:
            Command(["mkdir", "-p", self.gdal_out]).run()
            found["peer"] = max(mebibytes(words) for words in self.gdal_programs())
        remove(self.out)
        remove(self.gdal_out)
        return {"w2-memory": found}

    def opening(self):
        """W5. Files of a few lines, so that headers and the start of a process are all of it."""
        found = {}
        few = [component._replace(lines=component.factor) for component in self.components]
        paths = scene.make(self.setup.data / "few-lines", few)
        combine = self.combine(paths=paths)
        self.verified(combine, lambda out: check_container.faults(out, paths))
        if "gdal" in self.setup.installed:
            tiff = self.setup.data / "few-lines" / "one.tif"
            Command(["gdal_translate", "-q", paths[0].with_suffix(".raw"), tiff]).run()
            times = in_turn({"zel": combine, "gdalinfo": Command(["gdalinfo", tiff])},
                            5 * self.setup.rounds, [self.out])
            found["w5-process"] = result(times, "zel", "gdalinfo")
        benchmarks = self.setup.bin / "zel_benchmarks"
        if benchmarks.exists():
            found["w5-open"] = {"value": open_and_finish(benchmarks)}
        return found


def open_and_finish(program):
    """Microseconds within a process, the best of many short runs."""
    text = peers.printed(program, "--benchmark_filter=^OpenAndFinish$", "--benchmark_format=json",
                         "--benchmark_min_time=0.002", "--benchmark_repetitions=100")
    runs = [run for run in json.loads(text)["benchmarks"] if run["run_type"] == "iteration"]
    if {run["time_unit"] for run in runs} != {"us"}:
        raise Failed("OpenAndFinish is not in microseconds")
    return min(run["real_time"] for run in runs)
