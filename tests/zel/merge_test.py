#!/usr/bin/env python3
"""zel merge: every split in every order gives the same bytes, and these are what the parts add up to."""
import itertools
import json
import math
import random
import signal
import struct
import subprocess
from array import array

from samples_test import sample_bytes
from scene import small_scene
from vornfile import _entry, _group, _int, _text
from zel_case import SCENES, ZEL, ZelTest, follow, main, needs_scenes, ROOT
from zelfile import Histogram


def line(number, status="done", start="2026-01-01T00:00:00Z", recipe="r", **more):
    return json.dumps({"id": "scene-%03d" % number, "status": status, "start": start, "recipe": recipe, **more})


class MergeTest(ZelTest):
    def merge(self, *files, out="out", err=None, status=0):
        """The bytes of the output."""
        got = self.run_zel("merge", *files, "-o", out, "--overwrite")
        self.assertEqual((got[0], got[1]), (status, ""), got[2])
        if err is not None:
            self.assertEqual(got[2], err)
        return self.got(out) if status == 0 else None

    def refuses(self, files, message, status=1):
        self.put("out", b"before")
        self.assertEqual(self.run_zel("merge", *files, "-o", "out", "--overwrite"),
                         (status, "", "zel merge: " + message + "\n"))
        self.assertEqual(self.got("out"), b"before")

    def check_every_way(self, parts, write, chance):
        """Merges a random split of the parts in random order, by way of merged files; the bytes of all
        at once."""
        names = []
        for i, part in enumerate(parts):
            names.append("part%d" % i)
            write(names[-1], part)
        whole = self.merge(*names, out="whole")
        for _ in range(6):
            shuffled = chance.sample(names, len(names))
            groups = [g for g in (shuffled[i::3] for i in range(3)) if g]
            merged = ["group%d" % i for i in range(len(groups))]
            for name, group in zip(merged, groups):
                self.merge(*group, out=name)
            self.assertEqual(self.merge(*reversed(merged)), whole)
        self.assertEqual(self.merge("whole"), whole)
        return whole


class RunLogs(MergeTest):
    def put_log(self, name, lines):
        self.put(name, "".join(l + "\n" for l in lines).encode())

    def merged(self, *logs):
        for i, log in enumerate(logs):
            self.put_log("log%d" % i, log)
        return self.merge(*["log%d" % i for i in range(len(logs))]).decode().splitlines()

    def test_scenes_are_sorted_by_id_and_recipe(self):
        a, b, c = line(2), line(1, recipe="s"), line(1)
        self.assertEqual(self.merged([a], [b, c]), [c, b, a])
        self.merge("log0", "log1", err="zel merge: out: 3 scenes, 3 done, 0 skipped, 0 failed\n")

    def test_of_several_lines_of_a_scene_the_one_that_says_most_stays(self):
        done, skipped, failed = line(1, "done", "1"), line(1, "skipped", "2"), line(1, "failed", "3")
        for order in itertools.permutations([done, skipped, failed]):
            self.assertEqual(self.merged(list(order)), [done])
        self.assertEqual(self.merged([failed], [skipped]), [skipped])
        early, late = line(1, "failed", "2026-01-01"), line(1, "failed", "2026-01-02")
        self.assertEqual(self.merged([late], [early]), [late])
        less, more = line(1, seconds=1), line(1, seconds=2)
        self.assertEqual(self.merged([more], [less]), [more])
        self.assertEqual(self.merged([less], [more]), [more])

    def test_files_that_could_not_be_read_stay_after_the_scenes(self):
        scene, second = line(7), line(8, "failed")
        files = [json.dumps({"id": None, "status": "failed", "start": None, "file": f, "recipe": "r"})
                 for f in ("a.zel", "scene-007", "z.zel")]
        once = self.merged([files[2], scene], [files[0], files[1], second], [files[0]])
        self.assertEqual(once, [scene, second, *files])
        self.merge("log0", "log1", "log2", err="zel merge: out: 2 scenes, 1 done, 0 skipped, 1 failed, "
                   "3 unreadable files\n")
        self.assertEqual(self.merged(files, [second, scene]), once)

    def test_any_split_in_any_order_gives_the_same_bytes(self):
        for seed in range(5):
            chance = random.Random(seed)
            lines = [line(chance.randrange(12), chance.choice(["done", "skipped", "failed"]),
                          "2026-01-0%d" % chance.randrange(1, 4), chance.choice("rs"),
                          seconds=chance.randrange(3)) for _ in range(60)]
            parts = [[] for _ in range(7)]
            for l in lines:
                chance.choice(parts).append(l)
            whole = self.check_every_way(parts, self.put_log, chance)
            rank = ["failed", "skipped", "done"].index
            best = {}
            for l in lines:
                v = json.loads(l)
                key, value = (v["id"], v["recipe"]), (rank(v["status"]), v["start"], l)
                best[key] = max(best.get(key, value), value)
            self.assertEqual(whole.decode().splitlines(), [best[k][2] for k in sorted(best)])

    def test_logs_that_hold_each_other_s_lines_add_nothing(self):
        self.put_log("a", [line(1), line(2, "failed")])
        once = self.merge("a", out="once")
        self.assertEqual(self.merge("a", "once", "a"), once)

    def test_a_cut_last_line_is_left_out_with_a_warning(self):
        self.put("a", (line(1) + "\n" + line(2)[:20]).encode())
        self.put("b", b'{"i')
        self.assertEqual(self.merge("a", "b", err="zel merge: a: warning: the last line is cut; it is left out\n"
                                    "zel merge: b: warning: the last line is cut; it is left out\n"
                                    "zel merge: out: 1 scene, 1 done, 0 skipped, 0 failed\n"),
                         (line(1) + "\n").encode())

    def test_a_whole_last_line_without_an_end_counts(self):
        self.put("a", (line(1) + "\n" + line(2)).encode())
        self.assertEqual(self.merge("a"), (line(1) + "\n" + line(2) + "\n").encode())

    def test_an_empty_log_adds_nothing(self):
        self.put("empty", b"")
        self.put_log("a", [line(1)])
        self.assertEqual(self.merge("empty", "a"), (line(1) + "\n").encode())
        self.assertEqual(self.merge("empty"), b"")

    def test_another_line_that_is_damaged_is_an_error_with_its_place(self):
        for bad in ['{"id":"x","st', "[]", '{"id":"x","status":"maybe"}', '{"id":"","status":"done"}',
                    '{"status":"done"}', '{"id":3,"status":"done"}', '{"id":null,"status":"failed"}',
                    '{"id":"","file":"a","status":"failed"}', "\xff".encode("latin-1").decode("latin-1")]:
            self.put_log("a", [line(1), bad, line(2)])
            self.refuses(["a"], "a: line 2: is no line of a run log")

    def test_a_line_that_nests_deep_does_no_harm(self):
        self.put("a", (line(1) + "\n" + '{"id":"x","status":"done","recipe":' + "[" * 200000 + "]" * 200000 +
                       "}\n").encode())
        self.assertEqual(len(self.merge("a").splitlines()), 2)


def row(name, channels):
    """What zel info --json --stats prints, as far as it is merged."""
    return {"file": name, "scene": {"sensor": "GOES", "satellite": 16}, "start": "2020-01-01T00:00:00.000Z",
            "channels": [{"label": label, "units": units, "slot": 3,
                          "stats": {"pixels": p, "valid": v, "min": low, "max": high, "mean": mean,
                                    "sigma": sigma}}
                         for label, units, p, v, low, high, mean, sigma in channels]}


def moments(values):
    mean = math.fsum(values) / len(values)
    return mean, math.sqrt(math.fsum((v - mean) ** 2 for v in values) / (len(values) - 1))


class StatisticsDocuments(MergeTest):
    def put_documents(self, name, documents):
        self.put(name, json.dumps(documents, indent=1).encode())

    def totals(self, data):
        lines = [json.loads(l) for l in data.splitlines()]
        schema = json.loads((ROOT / "docs" / "zel" / "merge.schema.json").read_text())
        for l in lines:
            follow(l, schema)
        return {(c["label"], c["units"]): c for c in lines[0]["channels"]}, lines

    def test_lines_and_totals(self):
        self.put_documents("a", row("b.zel", [("X", "Kelvin", 10, 4, 1.0, 4.0, 2.5, math.sqrt(5 / 3))]))
        self.put_documents("b", [row("a.zel", [("X", "Kelvin", 5, 2, 5.0, 7.0, 6.0, math.sqrt(2)),
                                               ("X", "None", 5, 0, None, None, None, None)])])
        totals, lines = self.totals(self.merge("a", "b", err="zel merge: out: statistics of 2 scenes\n"))
        kelvin = totals["X", "Kelvin"]
        mean, sigma = moments([1, 2, 3, 4, 5, 7])  # 1, 2, 3, 4 and 5, 7 have the moments above
        self.assertAlmostEqual(kelvin.pop("mean"), mean, 14)
        self.assertAlmostEqual(kelvin.pop("sigma"), sigma, 14)
        self.assertEqual(kelvin, {"label": "X", "units": "Kelvin", "scenes": 2, "pixels": 15, "valid": 6,
                                  "missing": 9, "min": 1.0, "max": 7.0})
        self.assertEqual(totals["X", "None"], {"label": "X", "units": "None", "scenes": 1, "pixels": 5, "valid": 0,
                                               "missing": 5, "min": None, "max": None, "mean": None, "sigma": None})
        self.assertEqual(lines[1:], [
            {"file": "a.zel", "sensor": "GOES", "satellite": 16, "start": "2020-01-01T00:00:00.000Z", "channels": [
                {"label": "X", "units": "Kelvin", "pixels": 5, "valid": 2, "min": 5.0, "max": 7.0, "mean": 6.0,
                 "sigma": math.sqrt(2)},
                {"label": "X", "units": "None", "pixels": 5, "valid": 0, "min": None, "max": None, "mean": None,
                 "sigma": None}]},
            {"file": "b.zel", "sensor": "GOES", "satellite": 16, "start": "2020-01-01T00:00:00.000Z", "channels": [
                {"label": "X", "units": "Kelvin", "pixels": 10, "valid": 4, "min": 1.0, "max": 4.0, "mean": 2.5,
                 "sigma": math.sqrt(5 / 3)}]}])

    def test_any_split_in_any_order_gives_the_same_bytes_and_the_totals_of_all_pixels(self):
        for seed in range(4):
            chance = random.Random(seed)
            scenes, values = [], {"A": [], "B": []}
            for i in range(15):
                channels = []
                for label in chance.sample(["A", "B"], chance.randrange(1, 3)):
                    pixels = [chance.gauss(1000.0, 3.0) for _ in range(chance.randrange(2, 40))]
                    values[label] += pixels
                    channels.append((label, "None", len(pixels) + 1, len(pixels), min(pixels), max(pixels),
                                     *moments(pixels)))
                scenes.append(row("s%02d.zel" % i, channels))
            parts = [scenes[i::5] for i in range(5)] + [scenes[:3]]  # a resumed run has some again
            totals, lines = self.totals(self.check_every_way(parts, self.put_documents, chance))
            self.assertEqual([l["file"] for l in lines[1:]], ["s%02d.zel" % i for i in range(15)])
            for label, pixels in values.items():
                total, (mean, sigma) = totals[label, "None"], moments(pixels)
                self.assertEqual((total["valid"], total["min"], total["max"]),
                                 (len(pixels), min(pixels), max(pixels)))
                self.assertTrue(math.isclose(total["mean"], mean, rel_tol=1e-13))
                self.assertTrue(math.isclose(total["sigma"], sigma, rel_tol=1e-9))

    def test_documents_one_after_the_other_and_in_lists_are_the_same(self):
        a, b = (row(n + ".zel", [("X", "None", 2, 2, 1.0, 2.0, 1.5, 0.7)]) for n in "ab")
        self.put_documents("list", [a, b])
        self.put("after", (json.dumps(a, indent=2) + "\n" + json.dumps(b) + "\n").encode())
        self.assertEqual(self.merge("after"), self.merge("list"))

    def test_two_statistics_of_one_file_are_an_error(self):
        self.put_documents("a", row("x.zel", [("X", "None", 2, 2, 1.0, 2.0, 1.5, 0.7)]))
        self.put_documents("b", row("x.zel", [("X", "None", 2, 2, 1.0, 2.5, 1.75, 1.0)]))
        self.refuses(["a", "b"], "a and b have different statistics of x.zel")

    def test_damaged_documents(self):
        good = ("X", "None", 4, 2, 1.0, 2.0, 1.5, 0.7)
        self.put("a", json.dumps(row("x.zel", [good]))[:-9].encode())
        self.refuses(["a"], "a: is damaged or cut: the JSON that begins at byte 0 is not whole")
        self.put("a", (json.dumps(row("x.zel", [good])) + '\n{"file":').encode())
        self.refuses(["a"], "a: is damaged or cut: the JSON that begins at byte %d is not whole"
                     % (len(json.dumps(row("x.zel", [good]))) + 1))
        self.put("a", b"[[1]]")
        self.refuses(["a"], "a: holds JSON that is no statistics of a scene")
        self.put("a", b"[" * 300000)
        self.refuses(["a"], "a: is damaged or cut: the JSON that begins at byte 0 is not whole")
        self.put_documents("a", {"file": "x.zel", "channels": [{"label": "X", "units": "None"}]})
        self.refuses(["a"], "a: x.zel: no statistics; zel info --json --stats has them")
        for place, value, message in [(2, -1, "pixels is no number of pixels"), (2, 2 ** 62, "pixels is no number of pixels"),
                                      (3, 2.5, "valid is no number of pixels"), (3, 5, "more valid pixels than pixels"),
                                      (4, None, "min is no number"), (5, 0.5, "min is above max"),
                                      (6, "x", "mean is no number"), (7, -1.0, "sigma is negative")]:
            bad = list(good)
            bad[place] = value
            self.put_documents("a", row("x.zel", [bad]))
            self.refuses(["a"], "a: x.zel: " + message)

    @needs_scenes
    def test_totals_of_real_scenes_are_those_of_their_pixels(self):
        names = ["landsat8_gulf_90m.zel", "landsat8_gulf_30m.zel"]
        pixels = {}
        for name in names:
            (self.dir / name).symlink_to(SCENES / name)
            self.put(name + ".json", self.run_zel("info", "--json", "--stats", name)[1].encode())
            info = self.json("info", "--json", name)
            self.assertEqual(self.run_zel("channels", "-q", name, "-o", "raster", "--overwrite")[0], 0)
            values = array("f", self.got("raster")[16:])
            size = len(values) // len(info["channels"])
            for i, c in enumerate(info["channels"]):
                pixels.setdefault((c["label"], c["units"]), []).append(values[i * size:(i + 1) * size])
        totals, _ = self.totals(self.merge(*[n + ".json" for n in names]))
        self.assertEqual(set(totals), set(pixels))
        for key, planes in pixels.items():
            values, total = sum(planes, array("f")), totals[key]
            self.assertEqual((total["scenes"], total["pixels"], total["missing"]), (len(planes), len(values), 0))
            mean, sigma = moments(values)
            for name, value in [("min", min(values)), ("max", max(values)), ("mean", mean), ("sigma", sigma)]:
                self.assertTrue(math.isclose(total[name], value, rel_tol=1e-7), (key, name, total[name], value))


class Histograms(MergeTest):
    def put_scene(self, name, **histograms):
        """Channels B1, CLS, RAW with the counts (range 0 to 1) or (low, high, counts)."""
        f = small_scene()
        for label, h in histograms.items():
            low, high, counts = h if isinstance(h, tuple) else (0.0, 1.0, h)
            f.channels[{"B1": 0, "CLS": 2, "RAW": 5}[label]].histogram = Histogram(max=high, min=low, counts=counts)
        self.put(name, f)

    def parsed(self, data):
        lines = [json.loads(l) for l in data.splitlines()]
        schema = json.loads((ROOT / "docs" / "zel" / "merge.schema.json").read_text())
        for l in lines:
            follow(l, schema)
        return lines

    def test_counts_of_equal_ranges_are_added_up(self):
        self.put_scene("a.zel", B1=[1, 2, 3], RAW=[5, 5])
        self.put_scene("b.zel", B1=[10, 20, 30])
        self.put_scene("c.zel", B1=(0.0, 2.0, [7, 7, 7]))
        self.put_scene("d.zel", B1=[9, 9, 9, 9])
        got = self.parsed(self.merge("d.zel", "b.zel", "a.zel", "c.zel",
                                     err="zel merge: out: 4 histograms of 4 scenes\n"))
        b1 = {"label": "B1", "units": "Reflectance", "min": 0.0}
        self.assertEqual(got, [
            {"merged": "histograms", "scenes": 4, "histograms": 4},
            {**b1, "max": 1.0, "bins": 3, "scenes": 2, "pixels": 66, "counts": [11, 22, 33]},
            {**b1, "max": 1.0, "bins": 4, "scenes": 1, "pixels": 36, "counts": [9, 9, 9, 9]},
            {**b1, "max": 2.0, "bins": 3, "scenes": 1, "pixels": 21, "counts": [7, 7, 7]},
            {"label": "RAW", "units": "None", "min": 0.0, "max": 1.0, "bins": 2, "scenes": 1, "pixels": 10,
             "counts": [5, 5]},
            *({"file": n + ".zel"} for n in "abcd")])

    def test_any_split_in_any_order_gives_the_same_bytes(self):
        chance = random.Random(1)
        parts = [{"B1": (0.0, chance.choice([1.0, 2.5]), [chance.randrange(9) for _ in range(5)])} for _ in range(9)]
        whole = self.check_every_way(parts, lambda name, part: self.put_scene(name, **part), chance)
        for got in self.parsed(whole)[1:-9]:
            own = [p["B1"][2] for p in parts if p["B1"][1] == got["max"]]
            self.assertEqual(got["counts"], [sum(c) for c in zip(*own)])

    def test_a_scene_that_is_there_twice_is_an_error(self):
        self.put_scene("a.zel", B1=[1])
        self.merge("a.zel", out="m")
        self.refuses(["m", "a.zel"], "m and a.zel both have a.zel: its pixels would count twice")
        self.refuses(["a.zel", "a.zel"], "a.zel: is given twice: its pixels would count twice")

    def test_scenes_without_a_histogram_are_reported(self):
        self.put("a.zel", small_scene())
        self.put_scene("b.zel", B1=(1.0, 0.0, [0, 0]))  # has seen no value
        self.merge("a.zel", "b.zel", err="zel merge: warning: 2 scenes without a histogram\n"
                                         "zel merge: out: 0 histograms of 2 scenes\n")

    def test_damage(self):
        self.put_scene("a.zel", B1=[1, -2])
        self.refuses(["a.zel"], "a.zel: a histogram of B1 has a negative count")
        self.put("a.zel", self.got("a.zel")[:700])
        self.assertEqual(self.run_zel("merge", "a.zel", "-o", "new")[0], 1)
        head = b'{"merged":"histograms","scenes":1,"histograms":1}\n'
        for bad in ['{"label":"X","units":"","min":0.0,"max":1.0,"bins":2,"scenes":1,"pixels":3,"counts":[1]}', "3", "{}",
                    '{"label":"X","units":"","min":2.0,"max":1.0,"bins":1,"scenes":1,"pixels":3,"counts":[1]}',
                    '{"label":"X","units":"","min":0.0,"max":1.0,"bins":1,"scenes":1,"pixels":3,"counts":[1.5]}']:
            self.put("m", head + bad.encode() + b"\n")
            self.refuses(["m"], "m: line 2: is no line of merged histograms")
        self.put("m", head + b'{"label":"X')
        self.refuses(["m"], "m: line 2: is damaged or cut")


CLASSES = {1: (b"land", 60, 140, 60), 2: (b"sea", 0, 0, 255)}


def sample_file(samples, inputs=(b"a.zel",), date=b"12:00:00  Monday January 01 2001", name=b"out.feat",
                ranges=None, counts=None, features=(b"ratio", b"Ch3 * 2"), requirement=b"sz < 80", seed=82497, comments=(b"a comment",)):
    """Samples are (class, lat, (value, value)); the header counts them."""
    number = [0] * 1000
    for s in samples:
        number[s[0]] += 1
    classes = b"".join(_text(CLASSES.get(k, (b"",))[0]) + _int(*(CLASSES[k][1:] if k in CLASSES else (0, 0, 0)))
                       for k in range(1000))
    columns = list(zip(*(s[2] for s in samples))) or [(0.0,)] * 2
    top, low = ranges or ([max(c) for c in columns], [min(c) for c in columns])
    return b"".join([
        b"ZEL_FEATURE_HEADER\0", _text(b"1.2"), _text(date), _text(name), _int(len(inputs)),
        *(_text(i) for i in inputs), _int(*(counts or number)), classes, _group([_entry(b"ratio", b"Ch1/Ch2")]),
        _group([_entry(b"first", features[0]), _entry(None, features[1])]), struct.pack(">4f", *top, *low),
        _group([_entry(b"lit", requirement)]), _group([_entry(None, b"Ch1 > 9", b" class = 3")]),
        _group([_entry(c) for c in comments]), _group([_entry(b"A title")]), _group([]), _int(seed, -4, 1, 5),
        *(sample_bytes(*s) for s in samples)])


def some_samples(chance, count):
    return [(chance.randrange(1, 4), struct.unpack(">f", struct.pack(">f", chance.uniform(-9, 9)))[0],
             (float(chance.randrange(-50, 50)), float(chance.randrange(9)))) for _ in range(count)]


def in_order(samples):
    return sorted(samples, key=lambda s: sample_bytes(*s))


class Samples(MergeTest):
    def put_samples(self, name, samples):
        self.put(name, sample_file(samples, [name.encode() + b".zel"], name=name.encode()))

    def test_the_merged_file(self):
        a, b, c = (3, 1.5, (2.0, 7.0)), (1, 9.5, (-4.0, 3.0)), (1, 2.5, (0.5, 9.0))
        self.put("a", sample_file([a, b], [b"x.zel"], b"23:00:00  Monday Nov 23 2026", b"a.feat"))
        self.put("b", sample_file([c], [b"y.zel", b"w.zel"], b"01:00:00  Tuesday Nov 24 2026", b"b.feat"))
        self.assertEqual(self.merge("a", "b", err="zel merge: out: 3 samples\n"),
                         sample_file([c, b, a], [b"w.zel", b"x.zel", b"y.zel"], b"01:00:00  Tuesday Nov 24 2026", b""))
        summary = self.json("samples", "out", "--json", schema="samples")
        self.assertEqual([s["class"] for s in summary["samples"]], [1, 1, 3])
        self.assertEqual([(f["min"], f["max"]) for f in summary["features"]], [(-4.0, 2.0), (3.0, 9.0)])

    def test_the_latest_date_stays(self):
        dates = [b"12:00:00  Monday Nov 23 2026", b"11:00:00  Monday Nov 23 2026", b"13:00:00  Tuesday Feb 24 2026",
                 b"99:00:00  Friday Dec 26 2025", b"some day"]
        for i, date in enumerate(dates):
            self.put(str(i), sample_file([], [b"%d" % i], date))
        for order in itertools.permutations("01234"):
            if random.Random(str(order)).random() < 0.1:
                self.assertIn(dates[0], self.merge(*order))
        self.assertIn(dates[2], self.merge("2", "3", "4"))

    def test_any_split_in_any_order_gives_the_same_bytes(self):
        for seed in range(3):
            chance = random.Random(seed)
            parts = [some_samples(chance, chance.randrange(30)) for _ in range(6)]
            parts[1] += parts[2][:5]  # equal samples of different files stay
            whole = self.check_every_way(parts, self.put_samples, chance)
            self.assertEqual(whole, sample_file(in_order(sum(parts, [])), [b"part%d.zel" % i for i in range(6)],
                                                name=b""))

    def test_samples_that_do_not_fit_into_memory(self):
        chance = random.Random(4)
        parts = [some_samples(chance, n) for n in (30000, 1, 41000)]  # 52 bytes each: four times a megabyte
        for i, part in enumerate(parts):
            self.put_samples("part%d" % i, part)
        expected = sample_file(in_order(sum(parts, [])), [b"part%d.zel" % i for i in range(3)], name=b"")
        for names in (["part0", "part1", "part2"], ["part2", "part0", "part1"]):
            self.assertEqual(self.run_zel("merge", *names, "--memory", "1", "-q", "-o", "out", "--overwrite"), (0, "", ""))
            self.assertTrue(self.got("out") == expected)
        self.assertTrue(self.merge("part2", "part1", "part0") == expected)
        self.assertEqual(self.names(), ["out", "part0", "part1", "part2"])

    def test_what_is_no_number_is_in_no_range_and_what_is_no_class_is_not_counted(self):
        nan = float("nan")
        self.put("a", sample_file([(1, 0.0, (nan, nan))], counts=[0, 1] + [0] * 998))
        self.put("b", sample_file([(1, 1.0, (3.0, nan))]))
        self.put("c", sample_file([(2, 1.0, (1.0, nan))])[:-52] + sample_bytes(1000, 1.0, (2.0, nan)))
        self.put("c", self.got("c").replace(_int(0, 0, 1, 0), _int(0, 0, 0, 0), 1))
        features = None
        for order in itertools.permutations("abc"):
            self.merge(*order)
            found = self.json("samples", "out", "--json")
            self.assertEqual([c["samples"] for c in found["classes"]], [2, 0])
            features = found["features"]
            self.assertEqual([(f["min"], f["max"]) for f in features], [(2.0, 3.0), (0.0, 0.0)])

    def test_files_that_were_sampled_differently(self):
        s = [(1, 0.0, (1.0, 1.0))]
        self.put("a", sample_file(s))
        for other, message in [
                (sample_file(s, features=(b"ratio", b"Ch3 * 3")), "condition of feature 2 is 'Ch3 * 2' and 'Ch3 * 3'"),
                (sample_file(s, requirement=b"sz < 70"), "condition of requirement 1 is 'sz < 80' and 'sz < 70'"),
                (sample_file(s, seed=5), "random seed is '82497' and '5'"),
                (sample_file(s).replace(_text(b"sea"), _text(b"ice")), "name of class 2 is 'sea' and 'ice'"),
                (sample_file(s).replace(_int(60, 140, 60), _int(61, 140, 60)),
                 "colour of class 1 is '60 140 60' and '61 140 60'"),
                (sample_file(s).replace(_entry(b"lit", b"sz < 80"), _entry(None, b"sz < 80")),
                 "label of requirement 1 is 'lit' and nothing"),
                (sample_file(s).replace(_text(b"A title"), _text(b"Another")),
                 "label of title line 1 is 'A title' and 'Another'")]:
            self.put("b", other)
            self.refuses(["a", "b"], "a and b were sampled differently: " + message)

    def test_the_records_of_runs_differ_and_are_left_out(self):
        a, b = (1, 0.0, (1.0, 1.0)), (2, 0.0, (1.0, 1.0))
        self.put("a", sample_file([a], [b"x.zel"], comments=(b"a comment", b'zel run: {"scene":"x"}')))
        self.put("b", sample_file([b], [b"y.zel"], comments=(b'zel run: {"scene":"y"}', b"a comment")))
        self.assertEqual(self.merge("a", "b"), sample_file([a, b], [b"x.zel", b"y.zel"], name=b""))
        self.put("c", sample_file([b], [b"y.zel"], comments=(b"a comment", b"more")))
        self.refuses(["a", "c"], "a and c were sampled differently: number of comments is '1' and '2'")
        self.put("d", sample_file([b], [b"z.zel"], comments=(b'zel run: {"scene":"z"}',)))
        self.assertEqual(self.merge("d"), sample_file([b], [b"z.zel"], name=b"", comments=()))

    def test_samples_of_one_scene_in_two_files_are_reported(self):
        self.put("a", sample_file([(1, 0.0, (1.0, 1.0))], [b"x.zel"]))
        self.put("b", sample_file([(2, 0.0, (1.0, 1.0))], [b"x.zel"]))
        self.merge("a", "b", err="zel merge: b: warning: samples of x.zel are in a too: they all count\n"
                                 "zel merge: out: 2 samples\n")
        self.refuses(["a", "b", "a"], "a is given twice; see zel merge --help", 2)

    def test_damaged_files(self):
        samples = [(1, 0.0, (1.0, 1.0)), (2, 0.0, (1.0, 1.0))]
        whole = sample_file(samples)
        self.put("a", whole[:-3])
        self.refuses(["a"], "a: cut short: holds 1 of 2 samples")
        self.put("a", whole + b"xyz")
        self.refuses(["a"], "a: cut short: 3 bytes after the last sample")
        self.put("a", sample_file(samples, counts=[0, 2] + [0] * 998))
        self.refuses(["a"], "a: damaged: 1 samples of class 1, where the header counts 2")
        self.put("a", whole[:5000])
        status, _, err = self.run_zel("merge", "a", "-o", "new")
        self.assertEqual(status, 1)
        self.assertTrue(err.startswith("zel merge: a: "), err)
        self.assertEqual(self.names(), ["a", "out"])

    def test_a_signal_leaves_the_old_file_and_nothing_else(self):
        chance = random.Random(5)
        base = b"".join(sample_bytes(1, 1.0, (float(i), chance.random())) for i in range(5000))
        header = sample_file([], counts=[0, 1500000] + [0] * 998)
        self.put("a", header + base * 300)
        self.put("out", b"before")
        for number in (signal.SIGTERM, signal.SIGINT):
            process = subprocess.Popen([str(ZEL), "merge", "a", "--memory", "8", "-o", "out", "--overwrite"], cwd=self.dir,
                                       env=self.env, stderr=subprocess.DEVNULL)
            while process.poll() is None and self.names() == ["a", "out"]:
                pass
            process.send_signal(number)
            if process.wait(timeout=60) == 0:
                self.skipTest("the run was over before the signal")
            self.assertEqual(self.names(), ["a", "out"])
            self.assertEqual(self.got("out"), b"before")


class Usage(MergeTest):
    def setUp(self):
        super().setUp()
        self.put("log", line(1).encode() + b"\n")

    def test_files_of_several_kinds_are_refused(self):
        self.put("s", sample_file([]))
        self.put("x.zel", small_scene())
        self.put("j", b'{"file":"x","channels":[]}')
        kinds = {"log": "a run log", "s": "a sample file", "x.zel": "a scene or its histograms", "j": "statistics"}
        for a, b in itertools.permutations(kinds, 2):
            self.refuses([a, b], "%s is %s, %s is %s: only files of one kind can be merged; see zel merge --help"
                         % (a, kinds[a], b, kinds[b]), 2)

    def test_what_cannot_be_merged(self):
        self.put("text", b"hello\n")
        self.refuses(["text"], "text: is no run log, no statistics, no scene and no sample file")
        self.refuses(["log", "none"], "none: No such file or directory")
        self.refuses(["."], ".: is a directory")

    def test_an_existing_output_is_kept_unless_it_may_be_replaced(self):
        self.put("out", b"before")
        self.fails("merge log -o out", "zel merge: out exists; --overwrite replaces it")
        self.fails("merge log -o log --overwrite", "zel merge: the output log is the input")
        self.assertEqual(self.got("out"), b"before")

    def test_wrong_usage(self):
        self.fails("merge log", "zel merge: -o FILE is needed; see zel merge --help", 2)
        self.fails("merge log -o out --memory 0",
                   "zel merge: --memory takes 1 to 1048576 MB; see zel merge --help", 2)


if __name__ == "__main__":
    main()
