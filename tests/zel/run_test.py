#!/usr/bin/env python3
"""zel run: what is made of each scene, in which shares, and what a second run does."""
import fcntl
import hashlib
import json
import os
import resource
import signal
import struct
import subprocess
import sys
import time
import zlib

from zel_case import ZEL, main, read_png
from combine_scenes import scene
from run_case import EVERY, RECIPE, RunCase, scene_id
from zelfile import parse


def limit_files(size):
    """In a child: no file grows beyond that, and a write there is an error."""
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class Outputs(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1, 2])

    def test_a_line_of_a_scene_that_is_done(self):
        self.recipe()
        line = self.run_recipe("--root", "out")[scene_id(1)]
        name = "2020/001/%s.zel" % scene_id(1)
        data = self.got("out/" + name)
        self.assertEqual(line["outputs"], [{"path": name, "bytes": len(data),
                                            "checksum": hashlib.sha256(data).hexdigest()}])
        self.assertEqual((line["status"], line["reason"], line["attempts"], line["warnings"]),
                         ("done", None, 1, []))
        self.assertRegex(line["start"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        read = sum((self.dir / "in" / f).stat().st_size for f in ("1_fine.zel", "1_base.zel"))
        self.assertGreaterEqual(line["bytes_read"], read)
        self.assertGreaterEqual(line["bytes_written"], len(data))
        self.assertGreater(line["peak_memory_bytes"], 1 << 20)
        self.assertLess(line["cpu_seconds"], line["seconds"] + 0.1)

    def test_the_pixels_are_those_of_the_verb(self):
        self.recipe()
        self.run_recipe()
        made = parse(self.got("2020/001/%s.zel" % scene_id(1)))
        self.run_zel("combine", "in/1_fine.zel", "in/1_base.zel", "--base", "in/1_base.zel", "-o", "own.zel")
        own = parse(self.got("own.zel"))
        self.assertEqual([c.rows for _, c in made.present()], [c.rows for _, c in own.present()])
        # The plan of combine is as without a run, with the names of the manifest.
        plan = [t for t in made.metadata.split(b"\n") if t.startswith(b"zel combine: ")]
        self.assertEqual(plan, [t for t in own.metadata.split(b"\n") if t.startswith(b"zel combine: ")])
        self.assertEqual(len(plan), 1)

    def test_every_step_and_every_form(self):
        self.recipe(EVERY)
        line = self.run_recipe("--root", "out")[scene_id(1)]
        self.assertEqual(line["status"], "done", line)
        names = [o["path"].split("/")[1] for o in line["outputs"]]
        self.assertEqual(names, ["grid.zel", "sum.zel", "sum.png", "page.html", "sum.json", "samples.feat",
                                 "grid.vorn", "grid.vorn.hdr", "parts.zel"])
        there = sorted(p.name for p in (self.dir / "out" / scene_id(1)).iterdir())
        self.assertEqual(there, sorted(names + [n + ".run.json" for n in ("grid.vorn", "grid.vorn.hdr",
                                                                            "parts.zel")]))
        self.assertEqual(self.temporaries(), [])
        for name in self.tree():
            self.assertNotIn(b".zel-run", self.got("out/" + name), name)

    def test_only_what_is_wanted_is_kept(self):
        text = EVERY[:EVERY.index("[outputs]")].split("[[steps]]")
        self.recipe("[[steps]]".join(text[:3]) + '[outputs]\nsum = "{id}.zel"\n')
        self.run_recipe("--root", "out")
        self.assertEqual(sorted(self.tree()), [scene_id(1) + ".zel", scene_id(2) + ".zel"])

    def test_the_record_in_every_form(self):
        self.recipe(EVERY)
        lines = self.run_recipe("--root", "out")
        top = self.dir / "out" / scene_id(1)
        records = {}
        for name in ("grid.zel", "sum.zel"):
            texts = [t for t in parse((top / name).read_bytes()).metadata.split(b"\n")
                     if t.startswith(b"zel run: ")]
            self.assertEqual(len(texts), 1, name)
            records[name] = texts[0][9:]
        png = (top / "sum.png").read_bytes()
        self.assertEqual(png[33:45][4:], b"tEXtzel ")  # after signature and header chunk
        length, = struct.unpack(">I", png[33:37])
        self.assertEqual(struct.unpack(">I", png[41 + length:45 + length])[0], zlib.crc32(png[37:41 + length]))
        records["sum.png"] = png[49:41 + length]
        self.assertEqual(read_png(png)[:2], (6, 4))
        page = (top / "page.html").read_text()
        meta = page.split('<meta name="zel run" content="')[1].split('">')[0]
        records["page.html"] = meta.replace("&quot;", '"').encode()
        records["sum.json"] = json.dumps(json.loads((top / "sum.json").read_text())["run"]).encode()
        for name in ("grid.vorn", "grid.vorn.hdr", "parts.zel"):
            records[name] = (top / (name + ".run.json")).read_bytes()
        samples = self.json("samples", "out/%s/samples.feat" % scene_id(1), "--json")
        records["samples.feat"] = samples["comments"][-1][9:].encode()
        for name, text in records.items():
            record = json.loads(text)
            self.assertEqual((record["scene"], record["recipe"], record["version"]),
                             (scene_id(1), lines[scene_id(1)]["recipe"], "2.3"), name)
            self.assertEqual([(f["input"], f["file"]) for f in record["inputs"]],
                             [("base", "in/1_base.zel"), ("fine", "in/1_fine.zel")], name)
            self.assertRegex(record["key"], "^[0-9a-f]{64}$")
        self.assertEqual(len({json.loads(text)["key"] for text in records.values()}), 1)
        manifest = [json.loads(t) for t in self.got("m.jsonl").decode().splitlines()]
        self.assertEqual([f["checksum"] for f in json.loads(records["grid.zel"])["inputs"]],
                         [f["checksum"] for f in sorted(manifest[0]["files"], key=lambda f: f["path"])])

    def test_the_statistics_are_those_of_info(self):
        self.recipe(EVERY)
        self.run_recipe("--root", "out")
        made = json.loads(self.got("out/%s/sum.json" % scene_id(1)))
        self.assertEqual(made.pop("file"), scene_id(1) + "/sum.zel")
        self.assertEqual(made.pop("run")["scene"], scene_id(1))
        own = self.json("info", "--json", "--stats", "out/%s/sum.zel" % scene_id(1), schema="info")
        self.assertEqual(made, {key: value for key, value in own.items() if key != "file"})

    def test_samples_hold_names_of_the_outputs_and_no_date(self):
        self.recipe(EVERY)
        self.run_recipe("--root", "out")
        made = self.json("samples", "out/%s/samples.feat" % scene_id(2), "--json")
        self.assertEqual((made["inputs"], made["written"], made["sample_count"]),
                         ([scene_id(2) + "/grid.zel"], "", 24))

    def test_metadata_that_are_not_free_get_a_record_beside_the_output(self):
        self.put("in/1_base.zel", scene(60.0, 6, 4, codes=(1, 3), year=2020, julian=1, data_type=0, satellite=0,
                                        meta_type=1))
        self.make_manifest()
        self.recipe()
        self.run_recipe("--root", "out")
        name = "2020/001/%s.zel" % scene_id(1)
        self.assertEqual(json.loads(self.got("out/%s.run.json" % name))["scene"], scene_id(1))
        self.assertEqual(self.statuses("--root", "out", "--skip-existing")[scene_id(1)], "skipped")
        self.make_archive([1])
        self.run_recipe("--root", "out")
        self.assertFalse((self.dir / ("out/%s.run.json" % name)).exists())


class Shares(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive(range(1, 8))
        self.recipe()

    def days(self, *words):
        return [int(name[14:17]) for name in self.run_recipe(*words)]

    def test_a_shard_has_every_nth_scene_by_id(self):
        self.assertEqual(self.days("--root", "out", "--shard", "1/3"), [1, 4, 7])
        self.assertEqual(self.days("--root", "out", "--shard", "2/3"), [2, 5])
        self.assertEqual(self.days("--root", "out", "--shard", "3/3"), [3, 6])
        self.assertEqual(self.days("--root", "out", "--shard", "9/9"), [])
        self.assertEqual(len(self.tree()), 7)

    def test_a_batch_has_scenes_that_follow_each_other(self):
        for number, days in ((1, [1, 2, 3]), (2, [4, 5, 6]), (3, [7])):
            self.assertEqual(self.days("--batch", "3", "--shard", str(number), "--root", "out"), days)
            self.assertEqual(self.days("--batch", "3", "--shard", "%d/3" % number, "--root", "out"), days)
        self.check("run r.toml --manifest m.jsonl --batch 3 --shards", "3\n")
        self.check("run r.toml --manifest m.jsonl --batch 7 --shards", "1\n")
        self.put("empty", b"")
        self.check("run r.toml --manifest empty --batch 7 --shards", "1\n")
        self.assertEqual(self.run_recipe(manifest="empty"), {})

    def test_the_order_of_the_manifest_does_not_matter(self):
        lines = self.got("m.jsonl").splitlines(keepends=True)
        self.put("m.jsonl", b"".join(reversed(lines)))
        self.assertEqual(self.days("--root", "out", "--shard", "1/3"), [1, 4, 7])

    def test_any_split_gives_the_same_bytes(self):
        self.recipe(EVERY)
        self.run_recipe("--root", "plain")
        want = self.tree("plain")
        self.assertEqual(len(want), 7 * 12)
        for root, runs in (("jobs", [["--jobs", "4"]]), ("three", [["--shard", "%d/3" % i] for i in (3, 1, 2)]),
                           ("batch", [["--batch", "2", "--shard", str(i), "-j", "2"] for i in (4, 1, 3, 2)])):
            for words in runs:
                self.run_recipe("--root", root, *words)
            self.assertEqual(self.tree(root), want, root)

    def test_wrong_shares(self):
        see = "; see zel run --help"
        for words, message in (
                (["--shard", "0/3"], "--shard 0/3: there are shards 1 to 3"),
                (["--shard", "4/3"], "--shard 4/3: there are shards 1 to 3"),
                (["--shard", "1/0"], "--shard 1/0 is not of the form 3/10"),
                (["--shard", "2"], "--shard 2 is not of the form 3/10"),
                (["--shard", "1/3x"], "--shard 1/3x is not of the form 3/10"),
                (["--batch", "3", "--shard", "x"], "--shard x is not of the form 3 or 3/10"),
                (["--batch", "3", "--shard", "4"], "--shard 4: there are shards 1 to 3"),
                (["--batch", "3", "--shard", "1/4"], "with --batch 3 there are 3 shards, not 4"),
                (["--shards"], "--shards needs --batch" + see),
                (["--batch", "-1"], "--batch takes a number of scenes from 1" + see),
                (["--batch", "0"], "--batch takes a number of scenes from 1" + see),
                (["--jobs", "0"], "--jobs takes 1 to 500" + see)):
            self.refuses(message, *words)
        self.fails("run r.toml", "zel run: --manifest is required" + see, 2)

    def test_a_share_whose_number_is_missing_is_not_the_whole_archive(self):
        """As a script gives it whose variable is not set."""
        self.refuses("--shard '' is not of the form 3/10", "--shard", "")
        self.refuses("--shard '' is not of the form 3 or 3/10", "--batch", "3", "--shard", "")
        self.refuses("--batch takes a number of scenes from 1; see zel run --help", "--batch", "")

    def test_manifest_on_standard_input_and_log(self):
        with open(self.dir / "m.jsonl", "rb") as stream:
            got = self.run_piped(stream, "--log", "log", "--jobs", "2")
        self.assertEqual(got[:2], (0, ""))
        self.assertEqual(self.statuses("--log", "log", "--skip-existing"), {})
        lines = [json.loads(line) for line in self.got("log").decode().splitlines()]
        self.assertEqual([line["status"] for line in lines], ["done"] * 7 + ["skipped"] * 7)

    def test_a_cut_last_line_of_a_log_is_removed(self):
        whole = b'{"id":"before","status":"done"}\n'
        for kept, cut in ((whole, b'{"id":"cu'), (b"", b'{"id"'), (whole * 400, b"x" * 9000)):
            self.put("log", kept + cut)
            status, _, err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--log", "log", "--skip-existing")
            self.assertEqual(status, 0)
            self.assertIn("zel run: log: warning: the last line is cut; it is removed\n", err)
            log = self.got("log")
            self.assertTrue(log.startswith(kept))
            self.assertEqual(len([json.loads(line) for line in log[len(kept):].splitlines()]), 7)

    def test_a_log_of_whole_lines_is_added_to(self):
        self.put("log", b'{"id":"before","status":"done"}\n')
        _, _, err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--log", "log")
        self.assertNotIn("warning", err)
        self.assertEqual(len(self.got("log").splitlines()), 8)

    def test_a_file_that_is_no_log_is_left_as_it_is(self):
        manifest = self.got("m.jsonl")
        for data in (manifest, manifest[:-1], manifest.splitlines()[0], self.got("in/1_fine.zel"), b"format = 1\n# x",
                     b"{}\n", b"[]", b"\n", b'{"idea'):
            self.put("precious", data)
            self.refuses("precious is there and is no run log; it is left as it is", "--log", "precious")

    def test_a_line_that_does_not_fit_on_the_disk_leaves_the_log_whole(self):
        """The limit on the size of a file lets through a part of the second line."""
        self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--shard", "1/7", "--log", "log")
        one = self.got("log")
        words = [str(ZEL), "run", "r.toml", "--manifest", "m.jsonl", "--shard", "2/7", "--skip-existing"]
        self.run_zel(*words[1:])
        done = subprocess.run(words + ["--log", "log"], cwd=self.dir, env=self.env, stdin=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, timeout=60, preexec_fn=lambda: limit_files(len(one) + 100))
        self.assertEqual((done.returncode, done.stderr), (1, b"zel run: cannot write log: File too large\n"))
        self.assertEqual(self.got("log"), one)

    def test_a_line_that_another_run_is_writing_is_not_taken_for_a_cut_one(self):
        with open(self.dir / "log", "ab", buffering=0) as other:
            fcntl.flock(other, fcntl.LOCK_EX)
            other.write(b'{"id":"other","sta')
            run = self.start("--log", "log", "--shard", "1/7")
            time.sleep(0.5)
            other.write(b'tus":"done"}\n')
        self.assertEqual((run.communicate(timeout=60)[1], run.returncode), (b"zel run: 1 done, 0 skipped, 0 failed\n", 0))
        lines = [json.loads(line) for line in self.got("log").splitlines()]
        self.assertEqual([line["id"] for line in lines], ["other", scene_id(1)])

    def test_more_open_files_than_can_be_waited_for(self):
        opens = ("import os, sys; null = os.open('/dev/null', os.O_RDONLY); "
                 "[os.dup2(null, n) for n in range(3, 1100)]; os.execv(sys.argv[1], sys.argv[1:])")
        done = subprocess.run([sys.executable, "-c", opens, str(ZEL), "run", "r.toml", "--manifest", "m.jsonl"],
                              cwd=self.dir, env=self.env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"cannot make a pipe: too many open files\n", done.stderr)
        self.assertNotIn(b"killed", done.stderr)

    def run_piped(self, stream, *words):
        done = subprocess.run([str(ZEL), "run", "r.toml", "--manifest", "-", *words], stdin=stream, cwd=self.dir,
                              env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
        return done.returncode, done.stdout.decode(), done.stderr.decode()


class Again(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1, 2, 3])
        self.recipe()
        self.first = self.run_recipe("--root", "out")
        self.tree_then = self.tree()

    def again(self, *words, **how):
        return list(self.statuses("--root", "out", "--skip-existing", *words, **how).values())

    def test_what_is_there_is_skipped(self):
        self.assertEqual(self.again(), ["skipped"] * 3)
        line = self.run_recipe("--root", "out", "--skip-existing")[scene_id(1)]
        self.assertEqual(line["outputs"], [{"path": self.first[scene_id(1)]["outputs"][0]["path"], "checksum": None,
                                            "bytes": self.first[scene_id(1)]["outputs"][0]["bytes"]}])

    def test_without_skip_existing_it_is_made_again(self):
        self.assertEqual(list(self.statuses("--root", "out").values()), ["done"] * 3)
        self.assertEqual(self.tree(), self.tree_then)

    def test_a_missing_output_is_made_again(self):
        (self.dir / "out" / "2020" / "002" / (scene_id(2) + ".zel")).unlink()
        self.assertEqual(self.again(), ["skipped", "done", "skipped"])
        self.assertEqual(self.tree(), self.tree_then)

    def test_a_changed_recipe_starts_over(self):
        self.recipe(RECIPE.replace('output = "grid"', 'method = "#0=max"\noutput = "grid"'))
        self.assertEqual(self.again(), ["done"] * 3)
        self.assertNotEqual(self.tree(), self.tree_then)
        self.assertEqual(self.again(), ["skipped"] * 3)

    def test_comments_and_form_of_the_recipe_do_not_count(self):
        self.recipe('# Another hand.\n' + RECIPE.replace('fine = { resolution = "finest" }\n', "")
                    .replace("[inputs]", "[inputs]\n\n  fine.resolution='finest' # in the middle"))
        self.assertEqual(self.again(), ["skipped"] * 3)

    def test_a_changed_input_is_noticed(self):
        data = bytearray(self.got("in/2_fine.zel"))
        place = data.index(b"30 m")
        data[place] = ord("4")
        self.put("in/2_fine.zel", data)
        line = self.run_recipe("--root", "out", status=1)[scene_id(2)]
        self.assertEqual(line["reason"], "in/2_fine.zel: has changed since the manifest was made")
        self.assertEqual(self.tree(), self.tree_then)
        self.make_manifest()
        self.assertEqual(self.again(), ["skipped", "done", "skipped"])

    def test_a_changed_file_of_the_recipe_starts_over(self):
        self.recipe(EVERY)
        self.assertEqual(self.again(), ["done"] * 3)
        self.put("few.par", b"comment another\ninputfilename x\noutputfilename y\nfeature Ch1\n")
        self.assertEqual(self.again(), ["done"] * 3)
        self.assertEqual(self.again(), ["skipped"] * 3)

    def test_a_record_beside_an_output_counts_like_one_inside(self):
        self.recipe(EVERY)
        self.assertEqual(self.again(), ["done"] * 3)
        (self.dir / "out" / scene_id(1) / "parts.zel.run.json").unlink()
        status, _, err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--root", "out", "--skip-existing")
        self.assertEqual(status, 1)
        self.assertIn("zel run: %s: out/%s/parts.zel exists, and no run has made it; --overwrite replaces it\n"
                      % (scene_id(1), scene_id(1)), err)
        self.assertEqual(self.again("--overwrite"), ["done", "skipped", "skipped"])

    def test_what_no_run_has_made_stays(self):
        name = "out/2020/002/%s.zel" % scene_id(2)
        self.put(name, b"mine")
        lines = self.run_recipe("--root", "out", status=1)
        self.assertEqual([line["status"] for line in lines.values()], ["done", "failed", "done"])
        self.assertEqual(lines[scene_id(2)]["reason"],
                         name + " exists, and no run has made it; --overwrite replaces it")
        self.assertEqual(self.got(name), b"mine")
        self.run_recipe("--root", "out", "--overwrite")
        self.assertEqual(self.tree(), self.tree_then)


class Failing(RunCase):
    def test_a_bad_scene_does_not_stop_the_others(self):
        self.make_archive([1, 2, 3, 4])
        data = self.got("in/2_fine.zel")
        self.put("in/2_fine.zel", data[:-100])
        os.unlink(self.dir / "in" / "3_base.zel")
        self.put("in/5_fine.zel", data[:700])
        self.recipe()
        before = self.got("m.jsonl")
        self.make_manifest()
        self.put("m.jsonl", before + self.got("m.jsonl").splitlines(keepends=True)[-1])
        lines = self.run_recipe("--root", "out", status=1)
        self.assertEqual({k: v["status"] for k, v in lines.items()},
                         {"in/5_fine.zel": "failed", scene_id(1): "done", scene_id(2): "failed",
                          scene_id(3): "failed", scene_id(4): "done"})
        self.assertEqual(lines[scene_id(2)]["reason"], "in/2_fine.zel: has changed since the manifest was made")
        self.assertEqual(lines[scene_id(3)]["reason"], "in/3_base.zel: No such file or directory")
        self.assertIn("corrupt header", lines["in/5_fine.zel"]["reason"])
        self.assertEqual(len(self.tree()), 2)
        self.assertEqual(self.temporaries(), [])

    def test_what_a_verb_refuses_and_what_it_warns_of(self):
        self.make_archive([1, 2])
        data = self.got("in/2_fine.zel")
        self.put("in/2_fine.zel", data[:-5])
        self.make_manifest()
        self.recipe()
        lines = self.run_recipe("--root", "out", status=1)
        self.assertIn("step 1 (combine): in/2_fine.zel: ends inside of line 7", lines[scene_id(2)]["reason"])
        self.recipe(RECIPE.replace('output = "grid"', 'allow = ["truncated"]\noutput = "grid"'))
        line = self.run_recipe("--root", "out")[scene_id(2)]
        self.assertIn("step 1 (combine): in/2_fine.zel: ends inside of line 7", line["warnings"][0])

    def test_failures_are_listed_on_standard_error(self):
        self.make_archive([1, 2])
        os.unlink(self.dir / "in" / "2_fine.zel")
        self.recipe()
        err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl")[2]
        self.assertEqual(err, "zel run: %s: in/2_fine.zel: No such file or directory\n"
                              "zel run: 1 done, 0 skipped, 1 failed\n" % scene_id(2))

    def test_a_name_that_a_parameter_file_cannot_hold(self):
        """There is a scene whose name is the first word of that of another: it is not sampled instead."""
        self.make_archive([1])
        os.rename(self.dir / "in" / "1_fine.zel", self.dir / "in" / "a b.zel")
        os.rename(self.dir / "in" / "1_base.zel", self.dir / "in" / "a")
        self.make_manifest()
        self.recipe('format = 1\n[inputs]\nfine = { resolution = "finest" }\n[[steps]]\nverb = "sample"\n'
                    'file = "few.par"\ninput = "fine"\noutput = "s"\n[outputs]\ns = "{id}.feat"\n')
        line = self.run_recipe("--root", "out", status=1)[scene_id(1)]
        self.assertEqual(line["reason"], "'in/a b.zel': the name of a sampled file has no blanks")

    def test_later_steps_name_files_as_the_recipe_does(self):
        self.make_archive([1])
        text = EVERY[:EVERY.index("[[steps]]\nverb = \"look\"")]
        self.recipe(text.replace("#0 + #2", "nothing + #2") + '[outputs]\nsum = "{id}.zel"\n')
        line = self.run_recipe(status=1)[scene_id(1)]
        self.assertEqual(line["reason"], "step 2 (calc): grid: no channel 'nothing'; there are #0 byte, #1 CLS, "
                                         "#2 byte, #3 CLS")

    def test_a_directory_that_cannot_be_written(self):
        self.make_archive([1])
        self.recipe()
        self.put("out", b"a file")
        line = self.run_recipe("--root", "out", status=1)[scene_id(1)]
        self.assertEqual(line["reason"], "cannot create out/2020/001: Not a directory")
        (self.dir / "there").mkdir()
        (self.dir / "there" / "2020").mkdir()
        os.makedirs(self.dir / "there" / "2020" / "001" / (scene_id(1) + ".zel"))
        line = self.run_recipe("--root", "there", "--overwrite", status=1)[scene_id(1)]
        self.assertIn("cannot write there/2020/001/%s.zel: Is a directory" % scene_id(1), line["reason"])
        self.assertEqual(self.temporaries(), [])

    def test_a_full_disk(self):
        self.make_archive([1, 2, 3])
        self.recipe()
        self.run_recipe("--root", "plain")
        want = self.tree("plain")
        size = (self.dir / "plain" / "2020" / "001" / (scene_id(1) + ".zel")).stat().st_size
        (self.dir / "out").mkdir()
        words = ["mount", "-t", "tmpfs", "-o", "size=%d" % (size + 8192), "none", str(self.dir / "out")]
        if subprocess.run(words, stderr=subprocess.DEVNULL, check=False).returncode != 0:
            self.skipTest("no file system can be mounted")
        try:
            lines = self.run_recipe("--root", "out", status=1)
            self.assertEqual([line["status"] for line in lines.values()], ["done", "failed", "failed"])
            self.assertRegex(lines[scene_id(2)]["reason"], "No space left on device$")
            self.assertEqual(self.tree(), {name: want[name] for name in self.tree()})
            self.assertEqual((len(self.tree()), self.temporaries()), (1, []))
        finally:
            subprocess.run(["umount", str(self.dir / "out")], check=True)

    def test_a_log_that_cannot_be_written(self):
        self.make_archive([1])
        self.recipe()
        self.refuses("cannot write nowhere/log: No such file or directory", "--log", "nowhere/log")
        status, _, err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--log", "/dev/full")
        self.assertEqual((status, err), (1, "zel run: cannot write /dev/full: No space left on device\n"))


class Roles(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1, 2])
        os.unlink(self.dir / "in" / "2_fine.zel")
        self.make_manifest()

    def with_input(self, line):
        return RECIPE.replace('fine = { resolution = "finest" }', "fine = " + line)

    def chosen(self, line):
        """What the dry run reads as "fine" for the first scene."""
        self.recipe(self.with_input(line))
        out = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--dry-run")[1]
        first = out.split("\n" + scene_id(2))[0]
        return [row.split()[2] for row in first.splitlines() if row.split()[:2] == ["fine", "from"]]

    def test_which_file_an_input_is(self):
        fine, base = ["in/1_fine.zel"], ["in/1_base.zel"]
        for line, want in (('{ resolution = "finest" }', fine), ('{ resolution = "coarsest" }', base),
                           ("{ resolution = 30 }", fine), ("{ resolution = 30.0 }", fine),
                           ("{ resolution = 30.5 }", []), ('{ file = "*_fine.zel" }', fine),
                           ('{ file = "in/*" }', []), ("{}", []), ("{ many = true }", base + fine),
                           ('{ kind = "container" }', []), ('{ kind = "file", resolution = "finest" }', fine),
                           ('{ channel = "nothing" }', []), ('{ channel = "CLS", many = true }', base + fine)):
            self.assertEqual(sorted(self.chosen(line)), sorted(want), line)

    def test_a_scene_without_the_file_or_with_several(self):
        self.recipe(self.with_input("{ resolution = 30 }"))
        lines = self.run_recipe("--root", "out", status=1)
        self.assertEqual(lines[scene_id(1)]["status"], "done")
        self.assertEqual(lines[scene_id(2)]["reason"], "no file for the input 'fine'")
        self.recipe(self.with_input("{}"))
        lines = self.run_recipe("--root", "out", status=1)
        self.assertEqual(lines[scene_id(1)]["reason"],
                         "2 files for the input 'fine': in/1_base.zel, in/1_fine.zel")

    def test_an_optional_input_is_left_out_of_lists(self):
        self.recipe(self.with_input("{ resolution = 30, optional = true }"))
        self.run_recipe("--root", "out")
        counts = [len(parse(self.got("out/2020/%03d/%s.zel" % (d, scene_id(d)))).present()) for d in (1, 2)]
        self.assertEqual(counts, [4, 2])

    def test_a_step_without_its_optional_input_is_left_out(self):
        self.recipe(self.with_input("{ resolution = 30, optional = true }")
                    .replace("[outputs]", '[[steps]]\nverb = "look"\nfile = "fine"\noutput = "picture"\n\n'
                             '[outputs]\npicture = "{id}.png"'))
        lines = self.run_recipe("--root", "out")
        self.assertEqual([len(lines[scene_id(d)]["outputs"]) for d in (1, 2)], [2, 1])
        self.assertEqual(self.statuses("--root", "out", "--skip-existing"),
                         {scene_id(1): "skipped", scene_id(2): "skipped"})

    def test_a_scene_of_which_no_output_is_left(self):
        self.recipe('format = 1\n[inputs]\nfine = { resolution = 30, optional = true }\n[[steps]]\nverb = "look"\n'
                    'file = "fine"\noutput = "p"\n[outputs]\np = "{id}.png"\n')
        self.assertEqual(self.run_recipe(status=1)[scene_id(2)]["reason"],
                         "every output needs an optional input that the scene does not have")

    def test_a_dry_run_writes_nothing(self):
        self.recipe()
        os.unlink(self.dir / "in" / "2_base.zel")
        self.make_manifest()
        before = self.tree(".")
        self.check("run r.toml --manifest m.jsonl --dry-run", scene_id(1) + "\n"
                   "  base  from  in/1_base.zel\n  fine  from  in/1_fine.zel\n"
                   "  grid  to    2020/001/%s.zel\n" % scene_id(1))
        self.assertEqual(self.tree("."), before)


if __name__ == "__main__":
    main()
