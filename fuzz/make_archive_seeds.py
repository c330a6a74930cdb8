#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets for archives: recipes, manifests, and files that are merged."""
import json
import os

HERE = os.path.dirname(os.path.abspath(__file__))

HEAD = 'format = 1\n[inputs]\na = { resolution = "finest", many = true }\nb = { resolution = 60 }\n'
TAIL = '[outputs]\nx = "{year}/{day:03}/{id}-{sensor}-{satellite:02}-{date}-{hour}{{}}"\n'
STEPS = {
    "combine": 'verb = "combine"\nfile = ["a", "b"]\nbase = "b"\nmethod = "*=mode"\nmin-valid = "50%"\noutput = "x"\n',
    "calc": 'verb = "calc"\nfile = "b"\nexpression = ["X = lat", "Y = X * 2"]\nas = ["X=u8:0:9"]\nkeep = true\n'
            'output = "x"\n',
    "look": 'verb = "look"\nfile = "b"\nchannel = "X"\nrange = [0, 9]\noutput = "x"\n',
    "report": 'verb = "look"\nfile = "b"\nreport = "x"\n',
    "stats": 'verb = "stats"\nfile = "b"\noutput = "x"\n',
    "channels": 'verb = "channels"\nfile = "b"\noutput = "x"\n',
    "sample": 'verb = "sample"\nfile = "none.par"\ninput = "a"\noutput = "x"\n',
    "container": 'verb = "combine"\nfile = "a"\ncontainer = true\noutput = "x"\n',
    "unknown_verb": 'verb = "none"\noutput = "x"\n',
    "unknown_key": 'verb = "stats"\nfile = "b"\nx-x = 1\noutput = "x"\n',
    "twice": 'verb = "stats"\nfile = "b"\noutput = "x"\n[[steps]]\nverb = "look"\nfile = "x"\noutput = "x"\n',
}
ROLES = ('fine = { resolution = "finest", channel = "Ch6", file = "*_30m.zel", kind = "file", optional = true }',
         'fine.resolution = 1e300', 'fine = { resolution = -1, many = 3 }', '"a b" = {}', "fine = 3")


def save_all(target, seeds):
    directory = os.path.join(HERE, "seeds", target)
    os.makedirs(directory, exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(directory, name), "wb") as out:
            out.write(data if isinstance(data, bytes) else data.encode())


def recipes():
    seeds = {name: HEAD + "[[steps]]\n" + step + TAIL for name, step in STEPS.items()}
    for number, role in enumerate(ROLES):
        seeds["role_%d" % number] = HEAD + role + "\n[[steps]]\n" + STEPS["stats"] + TAIL
    for name, template in (("outside", "../{id}"), ("hidden", "./{id}"), ("brace", "{id"), ("digits", "{day:099}"),
                           ("escape", "{id}\\u0000")):
        seeds["output_" + name] = HEAD + "[[steps]]\n" + STEPS["stats"] + '[outputs]\nx = "%s"\n' % template
    seeds.update({"empty": "", "no_toml": "format = 1\n[inputs\n", "other_format": "format = 2\n",
                  "dates": "format = 1979-05-27T07:32:00Z\n", "inline": "a = { b = [1, [2.5, inf], nan, 0x1F] }\n"})
    save_all("recipe_fuzz", seeds)


def scene(number, **change):
    grids = [{"resolution_m": 30.0, "pixels": 12, "lines": 8, "channels": 2}]
    files = [{"path": "in/%d_%s.zel" % (number, name), "bytes": 1000, "checksum": "0" * 64, "kind": "file",
              "start": "2020-01-01T12:00:00.000Z", "grids": grids} for name in ("base", "fine")]
    whole = {"id": "generic-0-2020%03d-12.0h" % number, "sensor": "GENERIC", "sensor_code": 0, "satellite": 0,
             "date": "2020-01-01", "year": 2020, "day_of_year": number, "start": "2020-01-01T12:00:00.000Z",
             "bytes": 2000, "resolutions_m": [30.0], "missing_m": [], "bbox": None, "files": files, "doubts": []}
    return {**whole, **change}


def line(value):
    return json.dumps(value, separators=(",", ":")) + "\n"


def manifests():
    doubt = [{"kind": "place", "text": 'x: {"path":"y"}]}'}]
    save_all("manifest_fuzz", {
        "three_scenes": "".join(line(scene(n)) for n in (2, 1, 3)),
        "one_twice": line(scene(1)) * 2,
        "doubts": line(scene(1, doubts=doubt)) + line(scene(2, date=None, start=None)),
        "other_order": line(dict(reversed(list(scene(1).items())))) + line(scene(2)),
        "blanks": json.dumps(scene(1)) + "\n\n" + line(scene(2)),
        "escapes": line(scene(1)).replace("in/1", "in\\/\\u0031") + line(scene(2)),
        "unread_file": line(scene(1)) + line({"file": "x.zel", "error": "corrupt header"}),
        "cut": line(scene(1)) + line(scene(2))[:-20],
        "two_ids": line(scene(1)).replace('"doubts"', '"id":"x","doubts"'),
        "no_files": line(scene(1, files=[])), "wrong_id": line(scene(1, id="../x")),
        "wrong_between": line(scene(1)).replace('"kind"', "kind") + line(scene(2))})


def log_line(scene_id, status, start):
    return line({"id": scene_id, "status": status, "start": start, "recipe": "9c1f"})


def statistics(name):
    channel = {"label": "Ch1", "units": "K", "stats": {"pixels": 96, "valid": 90, "min": 180.0, "max": 330.0,
                                                       "mean": 250.5, "sigma": 2.25}}
    return {"file": name, "sensor": "GENERIC", "satellite": 0, "start": None, "channels": [channel]}


def seed_of(target, name):
    with open(os.path.join(HERE, "seeds", target, name), "rb") as seed:
        return seed.read()


def merges():
    def two(a, b):
        return b"\n====\n".join(x.encode() if isinstance(x, str) else x for x in (a, b))

    done, failed = log_line("a", "done", "2020-01-01"), log_line("a", "failed", "2020-01-02")
    histogram = {"label": "Ch1", "units": "K", "min": 0.5, "max": 2.5, "bins": 3, "scenes": 1, "pixels": 6,
                 "counts": [1, 2, 3]}
    merged = line({"merged": "histograms", "scenes": 1, "histograms": 1}) + line(histogram)
    total = line({"merged": "statistics", "scenes": 0, "channels": []})
    save_all("merge_fuzz", {
        "logs": two(done + log_line("b", "skipped", "x"), failed), "cut_log": two(done + failed[:20], done),
        "empty_logs": two("", ""), "one_log": failed + done,
        "statistics": two(json.dumps([statistics("a"), statistics("b")], indent=1), line(statistics("c"))),
        "one_statistics_twice": two(line(statistics("a")), line(statistics("a"))), "merged_statistics": total,
        "histograms": two(merged + line({"file": "a"}), merged + line({"file": "b"})),
        "one_histogram_twice": two(merged + line({"file": "a"}), merged + line({"file": "a"})),
        "scene_and_histograms": two(seed_of("scene_fuzz", "blocks"), merged + line({"file": "a"})),
        "samples": two(seed_of("sample_file_fuzz", "three_samples"), seed_of("sample_file_fuzz", "one_sample")),
        "other_samples": two(seed_of("sample_file_fuzz", "three_features"),
                             seed_of("sample_file_fuzz", "one_sample")),
        "no_samples": seed_of("sample_file_fuzz", "no_samples"),
        "composite": seed_of("scene_fuzz", "composite"), "nothing_known": "x"})


if __name__ == "__main__":
    recipes()
    manifests()
    merges()
