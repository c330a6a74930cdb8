#!/usr/bin/env python3
"""zel run: what is wrong with a recipe or a manifest is found before anything runs, with its place."""
import json

from zel_case import ROOT, follow, main
from run_case import EVERY, RECIPE, RunCase, scene_id

HEAD = 'format = 1\n[inputs]\na = { resolution = "finest", many = true }\nb = { resolution = 60 }\n[[steps]]\n'
TAIL = '\n[outputs]\nx = "{id}"\n'
RECIPE_SCHEMA = json.loads((ROOT / "docs" / "zel" / "recipe.schema.json").read_text())


class WrongRecipe(RunCase):
    def setUp(self):
        super().setUp()
        self.make_archive([1, 2])

    def check_each(self, cases):
        for text, message in cases:
            self.recipe(text)
            with self.subTest(text):
                self.refuses("r.toml:" + message)

    def check_steps(self, cases):
        """Steps that begin in line 5, with inputs a (several) and b."""
        self.check_each([(HEAD + step + TAIL, message) for step, message in cases])

    def test_what_is_no_toml(self):
        status, out, err = self.run_text("format = 1\n[inputs\n")
        self.assertEqual((status, out), (2, ""))
        self.assertRegex(err, r"^zel run: r\.toml:2:8: .+\n$")
        self.assertRegex(self.run_text('format = "x\n')[2], r"^zel run: r\.toml:1:\d+: ")
        self.assertRegex(self.run_text("\xff\xfe")[2], r"^zel run: r\.toml:1:\d+: ")
        self.assertRegex(self.run_text("a = 1\na = 2\n")[2], r"^zel run: r\.toml:2:5: .+ 'a'\n$")

    def run_text(self, text):
        self.put("r.toml", text.encode("latin-1"))
        return self.run_zel("run", "r.toml", "--manifest", "m.jsonl")

    def test_tables_and_their_keys(self):
        keys = "; there are format, inputs, steps, outputs"
        self.check_each((
            ("", "1:1: the recipe has no 'format'"),
            ("format = 2\n", "1:1: 'format' is 2; this zel knows 1"),
            ('format = "1"\n', "1:1: 'format' is a text, not a whole number"),
            ("format = 1\nsteps = []\n", "1:1: the recipe has no 'inputs'"),
            ("format = 1\ninputs = 3\n", "2:1: 'inputs' is a whole number, not a table"),
            ("format = 1\n[inputs]\n", "1:1: [inputs] names no input"),
            ("format = 1\nfoo = 3\n", "2:1: unknown key 'foo' in the recipe" + keys),
            ("format = 1\n[inputs]\na = 1\n", "3:1: input 'a' is a whole number, not a table"),
            ("format = 1\n[inputs]\na = { size = 1 }\n", "3:7: unknown key 'size' in input 'a'; there are resolution, "
             "channel, file, kind, optional, many"),
            ('format = 1\n[inputs]\na = { kind = "tape" }\n', "3:7: 'kind' is \"file\" or \"container\""),
            ("format = 1\n[inputs]\na = { resolution = 0 }\n", "3:7: 'resolution' is above 0"),
            ("format = 1\n[inputs]\na = { resolution = true }\n", "3:7: 'resolution' is a number of metres, "
             "\"finest\" or \"coarsest\""),
            ("format = 1\n[inputs]\na = { many = 1 }\n", "3:7: 'many' is a whole number, not true or false"),
            ('format = 1\n[inputs]\n"a b" = {}\n', "3:1: 'a b' is no name: it has letters, digits, _ and -"),
            ("format = 1\n[inputs]\na = {}\n", "1:1: the recipe has no 'steps'"),
            ("format = 1\nsteps = []\n[inputs]\na = {}\n", "2:1: there are no steps"),
            ("format = 1\nsteps = [3]\n[inputs]\na = {}\n", "2:10: step 1 is a whole number, not a table"),
            ("format = 1979-05-27\n", "1:10: dates and times have no meaning here")))

    def test_keys_and_types_of_steps(self):
        look = 'verb = "look"\nfile = "b"\noutput = "x"\n'
        self.check_steps((
            ("", "5:1: step 1 has no 'verb'"),
            ('verb = "run"', "6:1: unknown verb 'run'; there are combine, calc, sample, look, stats, channels"),
            (look + "foo = 1", "9:1: unknown key 'foo' in step 1; there are verb, file, output, report, rgb, channel, "
             "map, stretch, range, width, legend, part"),
            (look + "overwrite = true", "9:1: unknown key 'overwrite' in step 1; there are verb, file, output, report, "
             "rgb, channel, map, stretch, range, width, legend, part"),
            (look + 'width = "9"', "9:1: 'width' is a text, not a whole number"),
            (look + "width = 9.5", "9:1: 'width' is a number, not a whole number"),
            (look + "width = [9]", "9:1: 'width' takes one number"),
            (look + "range = [1]", "9:1: 'range' takes a list of 2 numbers"),
            (look + "range = 1", "9:1: 'range' takes a list of 2 numbers"),
            (look + 'range = [1, "2"]', "9:13: 'range' is a text, not a number"),
            (look + "channel = 4", "9:1: 'channel' is a whole number, not a text"),
            (look + 'channel = ["B1"]', "9:1: 'channel' takes one value, not a list"),
            ('verb = "look"\noutput = "x"', "5:1: step 1 has no 'file'"),
            ('verb = "look"\nfile = "b"', "5:1: step 1 has no 'output'"),
            ('verb = "combine"\nfile = ["b"]\ncontainer = 1\noutput = "x"',
             "8:1: 'container' is a whole number, not true or false"),
            ('verb = "sample"\nfile = "few.par"\noutput = "x"', "5:1: step 1 has no 'input'"),
            ('verb = "sample"\nfile = "few.par"\ninput = []\noutput = "x"', "8:1: 'input' names no file"),
            ('verb = "stats"\nfile = ["b", "b"]\noutput = "x"', "7:1: 'file' takes one file")))

    def test_names_of_files(self):
        self.check_steps((
            ('verb = "look"\nfile = "c"\noutput = "x"',
             "7:1: 'c' is no input, no output of an earlier step, and no file"),
            ('verb = "look"\nfile = "x"\noutput = "x"',
             "7:1: 'x' is no input, no output of an earlier step, and no file"),
            ('verb = "look"\nfile = "a"\noutput = "x"', "7:1: 'file' takes one file, and input 'a' may be several"),
            ('verb = "combine"\nfile = ["a", "c"]\noutput = "x"',
             "7:14: 'c' is no input, no output of an earlier step, and no file"),
            ('verb = "look"\nfile = "b"\noutput = "a"', "8:1: there is an input or an output 'a' already"),
            ('verb = "look"\nfile = "b"\noutput = "x/y"', "8:1: 'x/y' is no name: it has letters, digits, _ and -"),
            ('verb = "look"\nfile = "b"\noutput = "x"\n[[steps]]\nverb = "look"\nfile = "b"\noutput = "x"',
             "12:1: there is an input or an output 'x' already"),
            ('verb = "look"\nfile = "b"\noutput = "x"', "3:1: no step uses the input 'a'"),
            ('verb = "combine"\nfile = ["a", "b"]\noutput = "y"', "10:1: no step makes 'x'"),
            ('verb = "combine"\nfile = ["a"]\noutput = "x"\n[[steps]]\nverb = "look"\nfile = "b"\noutput = "y"',
             "9:1: step 2 (look) makes 'y', which nothing uses")))

    def test_what_the_verb_says_without_a_scene(self):
        calc = 'verb = "calc"\nfile = "b"\noutput = "x"\n'
        combine = 'verb = "combine"\nfile = ["a", "b"]\noutput = "x"\n'
        look = 'verb = "look"\nfile = "b"\noutput = "x"\n'
        self.check_steps((
            (calc, "5:1: step 1 (calc): EXPRESSION or --program is required"),
            (calc + 'expression = "X = (B5 - B4"', "5:1: step 1 (calc): missing right parenthesis in 'X = (B5 - B4'"),
            (calc + 'expression = "B5 - B4"', "5:1: step 1 (calc): 'B5 - B4' has no name: write NAME = B5 - B4"),
            (calc + 'expression = "X = nothing(B5)"', "5:1: step 1 (calc): no function 'nothing'"),
            (calc + 'expression = ["class = 1"]', "5:1: step 1 (calc): no channel is made: write NAME = EXPRESSION"),
            (calc + 'expression = "X = B5"\nas = "u9"', "5:1: step 1 (calc): no storage 'u9'; there are float, u8, u16 and, "
             "with a range, u16:-1:1"),
            (calc + 'expression = "X = B5"\nas = "Y=u8"', "5:1: step 1 (calc): no new channel 'Y'; there are X"),
            (combine + 'method = "B5=best"', "5:1: step 1 (combine): unknown method 'best'; there are mean, nearest, "
             "mode, min, max, sum"),
            (combine + 'missing = "B5=few"', "5:1: step 1 (combine): --missing takes a number, nan or raw:NUMBER, "
             "not few"),
            (combine + 'min-valid = "3"', "5:1: step 1 (combine): --min-valid needs --missing"),
            (combine + 'container = true\nmethod = "*=max"',
             "5:1: step 1 (combine): --method is for one grid, not with --container"),
            (look + "range = [2, 1]", "5:1: step 1 (look): --range takes a smaller and a greater value"),
            (look + 'rgb = "B1,B2,B3"\nchannel = "B1"', "5:1: step 1 (look): --rgb goes without --channel and --map"),
            (look + 'report = "y"', "5:1: step 1 (look): give -o or --report, not both")))
        self.recipe(HEAD + combine + 'allow = "weather"' + TAIL)
        self.assertRegex(self.run_zel("run", "r.toml", "--manifest", "m.jsonl")[2],
                         r"^zel run: r\.toml:5:1: step 1 \(combine\): .*weather")
        self.recipe(HEAD + 'verb = "combine"\nfile = "b"\nbase = "a"\noutput = "x"' + TAIL)
        self.refuses("r.toml:8:1: 'base' takes one file, and input 'a' may be several")
        self.recipe(HEAD.replace(", many = true", "") + 'verb = "combine"\nfile = "b"\nbase = "a"\noutput = "x"'
                    + TAIL)
        self.refuses("r.toml:5:1: step 1 (combine): the base a is not one of the files")

    def test_templates(self):
        names = "; there are id, sensor, satellite, year, day, date, hour"
        for template, message in (
                ("{month}", "unknown field 'month'" + names), ("{", "a brace without its other in '{'"),
                ("{id", "a brace without its other in '{id'"), ("id}", "a brace without its other in 'id}'"),
                ("{id:03}", "'{id:03}': a number may have :0 and how many digits, as in {day:03}"),
                ("{day:3}", "'{day:3}': a number may have :0 and how many digits, as in {day:03}"),
                ("{day:0x}", "'{day:0x}': a number may have :0 and how many digits, as in {day:03}"),
                ("{day:099}", "'{day:099}': a number may have :0 and how many digits, as in {day:03}"),
                ("/tmp/{id}", "'/tmp/{id}' is no name below the root"),
                ("../{id}", "'../{id}' is no name below the root"),
                ("{id}/", "'{id}/' is no name below the root"), ("", "'' is no name below the root"),
                ("a//{id}", "'a//{id}' is no name below the root"),
                ("a/./{id}", "'a/./{id}' is no name below the root"),
                ("{id}\\n.zel", "'{id} .zel' has a control character"),
                ("{id}\\u0000", "'{id}\\x00' has a control character"),
                (".zel-run-{id}/a", "'.zel-run-{id}/a' has a name that begins with a dot"),
                ("a/.{id}", "'a/.{id}' has a name that begins with a dot")):
            self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", template))
            self.refuses("r.toml:14:1: output 'grid': " + message)

    def test_fields_of_templates(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel",
                                   "{{{sensor}}}/{satellite:02}/{year:06}-{day}-{date}-{hour:03}"))
        out = self.run_zel("run", "r.toml", "--manifest", "m.jsonl", "--dry-run")[1]
        self.assertIn("to    {generic}/00/002020-1-2020-01-01-012\n", out)

    def test_outputs_of_one_name(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{year}.zel"))
        self.refuses("2020.zel would be written for %s and for %s" % (scene_id(1), scene_id(2)))
        self.recipe(EVERY.replace("{id}/page.html", "{id}/sum.zel"))
        self.refuses("{0}/sum.zel would be written for two outputs of {0}".format(scene_id(1)))
        self.recipe(EVERY.replace("{id}/page.html", "{id}/grid.vorn.hdr"))
        self.refuses("{0}/grid.vorn.hdr would be written for two outputs of {0}".format(scene_id(1)))

    def test_outputs_that_are_read(self):
        self.recipe(RECIPE.replace("{year}/{day:03}/{id}.zel", "{day}_fine.zel"))
        self.refuses("1_fine.zel would be written for %s, and is read" % scene_id(1), "--root", "in/")
        self.put("m.jsonl", self.got("m.jsonl").splitlines()[0])
        self.recipe(EVERY.replace("{id}/page.html", "few.par"))
        self.refuses("few.par would be written for %s, and is read" % scene_id(1))

    def test_a_recipe_or_manifest_that_is_not_there(self):
        self.recipe()
        self.fails("run none --manifest m.jsonl", "zel run: none: No such file or directory", 2)
        self.fails("run in --manifest m.jsonl", "zel run: in: is a directory", 2)
        self.fails("run r.toml --manifest none", "zel run: none: No such file or directory", 2)
        self.fails("run r.toml --manifest in", "zel run: in: cannot be read", 2)

    def test_wrong_manifests(self):
        self.recipe()
        good = self.got("m.jsonl").splitlines(keepends=True)
        scene = json.loads(good[0])
        for change in ({"id": ""}, {"id": "a/b"}, {"id": ".a"}, {"id": 3}, {"year": "2020"}, {"files": None},
                       {"files": [{}]}, {"date": 1}, {"sensor": None}, {"files": [dict(scene["files"][0], grids=[3])]}):
            self.put("m.jsonl", good[1] + b"\n" + json.dumps(dict(scene, **change)).encode())
            self.refuses("m.jsonl:3: is no line of zel scenes")
        for line in (b"{", b"[]", b"3", b"x", b"\xff", b'{"file":"a"}', b"[" * 100000):
            self.put("m.jsonl", line)
            self.refuses("m.jsonl:1: is no line of zel scenes")
        self.put("m.jsonl", good[0] * 2)
        self.refuses("m.jsonl: the scene %s is there more than once" % scene_id(1))


class Schema(RunCase):
    def test_the_recipes_here_follow_the_schema(self):
        try:
            import tomllib
        except ImportError:
            self.skipTest("no tomllib")
        for text in (RECIPE, EVERY):
            follow(tomllib.loads(text), RECIPE_SCHEMA)

    def test_the_schema_has_the_keys_of_every_step(self):
        self.make_archive([1])
        steps = RECIPE_SCHEMA["properties"]["steps"]["items"]["anyOf"]
        seen = []
        for step in steps:
            verb = step["properties"]["verb"]["const"]
            seen.append(verb)
            self.recipe(HEAD + 'verb = "%s"\nx-x = 1' % verb + TAIL)
            err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl")[2]
            self.assertEqual(err.split("there are ")[1].strip().split(", "), list(step["properties"]), verb)
        self.recipe(HEAD + 'verb = "none"' + TAIL)
        err = self.run_zel("run", "r.toml", "--manifest", "m.jsonl")[2]
        self.assertEqual(err.split("there are ")[1].strip().split(", "), seen)


if __name__ == "__main__":
    main()
