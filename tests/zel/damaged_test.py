#!/usr/bin/env python3
"""Damaged files through every verb that reads: no crash, and an answer that says which file, what and where.

The files are the seeds and the finds of the fuzz targets, and a scene that is cut in and between all its
fields, and in which each field of the header is set to extreme values."""
import json
import re

from zel_case import ROOT, ZelTest, main
from scene import rich_scene
from zelfile import container

READING = [["info", "--all"], ["info", "--json", "--stats"], ["check"], ["check", "--scene"], ["dump", "--lines"],
           ["look"], ["look", "-q", "-o", "out", "--overwrite"], ["look", "-q", "--report", "out", "--overwrite"],
           ["channels", "-q", "-o", "out", "--overwrite"], ["samples"], ["samples", "--csv"],
           ["combine", "-q", "-o", "out", "--overwrite"], ["combine", "--dry-run", "--json"],
           ["replay", "-q", "-o", "out", "--overwrite"], ["merge", "-q", "-o", "out", "--overwrite"]]
TARGETS = ("scene_fuzz", "combine_fuzz", "mask_block_fuzz", "sample_file_fuzz", "feature_header_fuzz",
           "verbs_fuzz", "writing_verbs_fuzz")
EMPTY_CLASSES = bytes(4000) + (b"\0\0\0\1" + bytes(13)) * 1000

# What has no place in the file.
PLACELESS = ("not a ZEL file, or of an unsupported version", "has no lines", "has no channels")


class Damaged(ZelTest):
    def survive(self, name):
        for words in READING:
            status, out, err = self.run_zel(words[0], name, *words[1:])
            self.assertIn(status, (0, 1), (words, name, err[-500:]))
            if status == 1 and words[0] != "check":
                self.assertRegex(err, r"(?m)^zel %s: .*%s: ." % (words[0], re.escape(name)))
        for words in (["pixel", name, "0", "0"], ["calc", "-q", "X = lat + sz; Y = X > 0", name, "-o", "out", "--keep",
                                                  "--as", "Y=u8", "--overwrite"]):
            status, out, err = self.run_zel(*words)
            self.assertIn(status, (0, 1), (words, err[-500:]))

    def test_seeds_and_finds_of_the_fuzz_targets(self):
        files = sorted(p for d in ("seeds", "regressions") for p in (ROOT / "fuzz" / d).rglob("*")
                       if p.is_file() and p.parent.name in TARGETS)
        self.assertGreater(len(files), 40)
        for i, path in enumerate(files):
            name = "%d-%s" % (i, path.name)
            self.put(name, path.read_bytes().replace(b"CLASSES!", EMPTY_CLASSES))
            self.survive(name)

    def fields(self, data):
        self.put("whole", data)
        out = self.run_zel("dump", "--json", "--all", "--lines", "whole")[1]
        return [json.loads(line) for line in out.splitlines()]

    def answers(self, files):
        """{verb: {name: the lines about that file}} of one run of each verb over all files, which all it
        has to read: the last one is whole."""
        for name, data in files.items():
            self.put(name, data)
        self.put("last", rich_scene())
        names = [*files, "last"]
        answers = {}
        for verb, words in (("info", ["--get", "kind"]), ("check", []), ("dump", ["--json"])):
            status, out, err = self.run_zel(verb, *words, *names)
            self.assertEqual(status, 1, (verb, err[-500:]))
            lines = (out if verb == "check" else err).splitlines()
            prefix = "" if verb == "check" else "zel %s: " % verb
            answers[verb] = {name: [line[len(prefix + name) + 2:] for line in lines
                                    if line.startswith("%s%s: " % (prefix, name))] for name in names}
            self.assertEqual(sum(map(len, answers[verb].values())), len(lines), (verb, err[-500:]))
            self.assertIn(answers[verb].pop("last")[-1:], ([], ["ok, 3 lines, 3 channels"]))
        answers["look"] = {name: self.look(name) for name in files}
        return answers

    def look(self, name):
        status, out, err = self.run_zel("look", name, "-q", "--overwrite", "-o", "out")
        self.assertIn(status, (0, 1), (name, err[-500:]))
        self.assertEqual("out" in self.names(), status == 0)
        if status == 0:
            (self.dir / "out").unlink()
            self.assertEqual(err, "")
            return []
        self.assertRegex(err, r"^zel look: %s: .+\n$" % re.escape(name))
        return [err[len("zel look: %s: " % name):-1]]

    def require_place(self, verb, name, line, size):
        """The line says where it is wrong, and that is in the file or at its end."""
        if line in PLACELESS:
            return
        found = re.match(r"(?:note: )?offset (\d+): ." if verb == "check" else r".* at offset (\d+)$", line)
        self.assertTrue(found, (verb, name, line))
        self.assertLessEqual(int(found.group(1)), size, (verb, name, line))

    def cut_everywhere(self, data):
        cuts = sorted({place for f in self.fields(data)
                       for place in (f["offset"], f["offset"] + f["size"] // 2)} - {0})
        self.assertGreater(len(cuts), 200)
        return {"cut-%d" % cut: data[:cut] for cut in cuts}

    def test_a_scene_that_is_cut_in_each_field(self):
        data = rich_scene().bytes()
        first_line = len(data) - 3 * 64  # 64 bytes a line: 8 + 4 + 3 x 4 + 2 x 4 + 16 + 4 x (1 + 1 + 2)
        files = self.cut_everywhere(data)
        for verb, answers in self.answers(files).items():
            for name, lines in answers.items():
                size = len(files[name])
                if size < first_line:
                    self.assertEqual(len(lines), 1, (verb, name, lines))
                if verb == "check" and size != first_line + 64 and size != first_line + 128:
                    self.assertNotRegex(lines[0], "^ok", (name, lines))
                for line in lines if size <= first_line or verb != "check" else lines[:1]:
                    self.require_place(verb, name, line, size)

    def test_a_container_that_is_cut_in_each_field(self):
        part = rich_scene(version=1.51, slots=6).bytes()
        files = self.cut_everywhere(container([(part, 30.0), (part, 30.0)]))
        for verb, answers in self.answers(files).items():
            for name, lines in answers.items():
                self.assertEqual(len(lines), 1, (verb, name, lines))
                self.require_place(verb, name, lines[0], len(files[name]))

    def test_a_scene_with_extreme_values_in_each_field_of_the_header(self):
        data = rich_scene().bytes()
        files = {}
        for i, f in enumerate(self.fields(data)):
            for value in (0x00, 0x7F, 0xFF) if not f["record"].startswith("line") else ():
                changed = bytearray(data)
                changed[f["offset"]:f["offset"] + f["size"]] = bytes([value]) * f["size"]
                files["%d-%s-%02x" % (i, f["name"].replace(" ", "_"), value)] = bytes(changed)
        self.assertGreater(len(files), 300)
        refused = 0
        for verb, answers in self.answers(files).items():
            for name, lines in answers.items():
                refused += bool(lines) and verb != "check"
                for line in lines:
                    if not line.startswith("ok, "):
                        self.require_place(verb, name, line, len(files[name]))
        self.assertGreater(refused, 150)


if __name__ == "__main__":
    main()
