#!/usr/bin/env python3
"""zel run with a share of a manifest: what a task sees of the lines of other shares, and what it refuses."""
import json

from zel_case import main
from run_case import RECIPE, RunCase, scene_id


class ManifestCase(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1, 2, 3])
        self.recipe()
        self.good = self.got("m.jsonl").splitlines(keepends=True)

    def put_lines(self, *lines):
        self.put("m.jsonl", b"".join(lines))

    def changed(self, number, **change):
        """A line of the same form with other values."""
        text = json.dumps(dict(json.loads(self.good[number]), **change), separators=(",", ":"))
        return text.encode() + b"\n"

    def days(self, *words):
        """The scenes of a dry run."""
        out = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--dry-run", *words)[1]
        return [int(row[14:17]) for row in out.splitlines() if not row.startswith(" ")]

    def shards(self, count):
        return [self.days("--shard", "%d/%d" % (i, count)) for i in range(1, count + 1)]

    def refused_by_all(self, message):
        for words in ((), ("--shard", "1/3"), ("--shard", "3/3"), ("--batch", "2", "--shard", "2"),
                      ("--batch", "2", "--shards")):
            self.refuses(message, *words)


class Forms(ManifestCase):
    """A line of another form than that of zel scenes counts all the same."""

    def test_blanks_orders_of_keys_and_escapes(self):
        scenes = [json.loads(line) for line in self.good]
        want = [[1, 3], [2]]
        self.assertEqual(self.shards(2), want)
        turned = [dict(reversed(list(scene.items()))) for scene in scenes]
        for lines in ([json.dumps(s) for s in scenes], [json.dumps(s, separators=(",", ":")) for s in turned],
                      [json.dumps(s, sort_keys=True) for s in scenes],
                      [self.good[0].decode().replace("generic-0", "generic\\u002d0"), json.dumps(scenes[1]),
                       self.good[2].decode()]):
            self.put("m.jsonl", "\n\n".join(lines).encode())
            self.assertEqual(self.shards(2), want)

    def test_members_after_those_of_zel_scenes(self):
        self.put_lines(*(self.changed(n, note="mine") for n in range(3)))
        self.assertEqual(self.shards(2), [[1, 3], [2]])

    def test_a_scene_with_doubts_and_without_a_time(self):
        doubts = [{"kind": "place", "text": 'in/1_fine.zel: {"path":"x"} ]}'}]
        self.put_lines(self.good[2], self.changed(0, doubts=doubts, start=None), self.changed(1, date=None))
        self.assertEqual(self.shards(2), [[1, 3], [2]])

    def test_an_id_that_is_no_ascii_text(self):
        self.put_lines(self.good[0].replace(b"12.0h", "12.0h-ä".encode()), *self.good[1:])
        self.assertEqual(self.shards(2), [[1, 3], [2]])

    def test_a_line_that_gives_its_id_twice_has_the_last(self):
        self.put_lines(self.good[0].replace(b'{"id"', b'{ "id":"x","id"'), *self.good[1:])
        self.assertEqual(self.shards(2), [[1, 3], [2]])
        self.put_lines(self.good[0].replace(b'"doubts"', b'"id":"x","doubts"'), *self.good[1:])
        self.refuses("m.jsonl:1: is no line of zel scenes", "--shard", "1/2")


class Refused(ManifestCase):
    def test_a_line_that_is_cut_is_refused_by_every_task(self):
        whole = self.good[1].rstrip(b"\n")
        for length in range(1, len(whole), 7):
            self.put_lines(self.good[0], whole[:length])
            self.fails("run r.toml --manifest m.jsonl --shard 1/2",
                       "zel run: m.jsonl:2: is no line of zel scenes", 2)
        self.put_lines(self.good[0], whole[:-1], b"\n", self.good[2])
        self.refused_by_all("m.jsonl:2: is no line of zel scenes")

    def test_a_beginning_that_is_no_scene_is_refused_by_every_task(self):
        for change in ({"id": ""}, {"id": "a/b"}, {"id": ".a"}, {"id": "x" * 200}, {"id": 3}, {"year": "2020"},
                       {"year": 2020.5}, {"date": 1}, {"sensor": None}, {"satellite": None}, {"start": 12}):
            self.put_lines(self.good[0], self.changed(1, **change), self.good[2])
            self.refused_by_all("m.jsonl:2: is no line of zel scenes")

    def test_what_is_wrong_between_is_refused_by_the_task_of_the_scene(self):
        scene = json.loads(self.good[1])
        for change in ({"files": [dict(scene["files"][0], checksum=3)]}, {"files": [{"path": "x"}]},
                       {"files": [dict(scene["files"][0], grids=[3])]}):
            self.put_lines(self.good[0], self.changed(1, **change), self.good[2])
            self.refuses("m.jsonl:2: is no line of zel scenes")
            self.refuses("m.jsonl:2: is no line of zel scenes", "--shard", "2/3")
            self.refuses("m.jsonl:2: is no line of zel scenes", "--batch", "2", "--shards")
            self.assertEqual(self.days("--shard", "1/3"), [1])
        self.put_lines(self.good[0], self.good[1].replace(b'"kind":', b'"kind";'), self.good[2])
        self.refuses("m.jsonl:2: is no line of zel scenes", "--shard", "2/3")
        self.assertEqual(self.days("--shard", "3/3"), [3])

    def test_doubts_do_not_change_that(self):
        doubts = [{"kind": "near", "text": "x"}, {"kind": "near", "text": "y"}]
        line = self.changed(1, doubts=doubts)
        self.put_lines(self.good[0], line.replace(b'"kind":"file"', b'"kind";"file"'), self.good[2])
        self.refuses("m.jsonl:2: is no line of zel scenes", "--shard", "2/3")
        self.assertEqual(self.days("--shard", "1/3"), [1])
        self.put_lines(self.good[0], line[:line.index(b',{"kind":"near"')] + b"\n", self.good[2])
        self.refused_by_all("m.jsonl:2: is no line of zel scenes")

    def test_a_scene_that_is_there_twice(self):
        self.put_lines(*self.good, self.changed(1, satellite=7))
        self.refused_by_all("m.jsonl: the scene %s is there more than once" % scene_id(2))
        self.put_lines(*self.good, json.dumps(json.loads(self.good[1])).encode())
        self.refused_by_all("m.jsonl: the scene %s is there more than once" % scene_id(2))


class Names(ManifestCase):
    def test_an_output_that_a_scene_of_another_share_has_too(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{satellite}.zel"))
        self.put_lines(self.good[0], self.changed(1, satellite=5), self.changed(2, satellite=5))
        self.assertEqual(self.days("--shard", "1/3"), [1])
        message = "5.zel would be written for %s and for %s"
        self.refuses(message % (scene_id(2), scene_id(3)), "--shard", "2/3")
        self.refuses(message % (scene_id(3), scene_id(2)), "--shard", "3/3")
        self.refuses(message % (scene_id(2), scene_id(3)), "--batch", "2", "--shards")

    def test_a_record_that_would_be_an_output_of_another_share(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{date}"))
        self.put_lines(self.changed(0, date="a"), self.changed(1, date="a.run.json"), self.good[2])
        self.refuses("a.run.json would be written for %s and for %s" % (scene_id(1), scene_id(2)), "--shard", "1/2")
        self.refuses("a.run.json would be written for %s and for %s" % (scene_id(2), scene_id(1)), "--shard", "2/2")

    def test_an_output_that_a_scene_of_another_share_reads(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{satellite}_fine.zel"))
        self.put_lines(self.changed(0, satellite=2), self.changed(1, satellite=7), self.changed(2, satellite=8))
        message = "2_fine.zel would be written for %s, and is read" % scene_id(1)
        self.refuses(message, "--root", "in", "--shard", "1/3")
        self.refuses(message, "--root", "./in/../in", "--shard", "1/3")
        self.assertEqual(self.days("--root", "in", "--shard", "3/3"), [3])
        self.assertEqual(self.days("--shard", "1/3"), [1])

    def test_an_output_that_another_share_reads_by_its_whole_path(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{satellite}_fine.zel"))
        file = json.loads(self.good[1])["files"][0]
        self.put_lines(self.changed(0, satellite=5), self.good[2],
                       self.changed(1, files=[dict(file, path=str(self.dir.resolve() / "in" / "5_fine.zel"))]))
        self.refuses("5_fine.zel would be written for %s, and is read" % scene_id(1), "--root", "in", "--shard", "1/3")

    def test_a_path_with_escapes_that_another_share_reads(self):
        self.recipe(RECIPE.replace('"{year}/{day:03}/{id}.zel"', "'{satellite}\"x.zel'"))
        files = json.loads(self.good[1])["files"]
        self.put_lines(self.changed(0, satellite=5), self.changed(1, files=[dict(files[0], path='in/5"x.zel')]),
                       self.changed(2, satellite=7))
        self.refuses("5\"x.zel would be written for %s, and is read" % scene_id(1), "--root", "in", "--shard", "1/3")
        self.assertEqual(self.days("--root", "in", "--shard", "3/3"), [3])


if __name__ == "__main__":
    main()
