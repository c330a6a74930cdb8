#!/usr/bin/env python3
"""Runs the notebook and writes its page and pictures; those of the real scene where that is."""
import sys
import tempfile

from notebook import (NOTEBOOK, PAGE, PICTURES, REAL_SCENE, execute, kept, missing, page, pictures,
                      read, real_scene, sample_scene)


def run(prepare):
    with tempfile.TemporaryDirectory(prefix="zel_notebook_") as directory:
        return execute(read(), directory, prepare(directory))


def write(folder, files, prefix=""):
    folder.mkdir(exist_ok=True)
    for name, data in files.items():
        (folder / (prefix + name)).write_bytes(data)


def main():
    if missing():
        sys.exit("the notebook needs " + ", ".join(missing()))
    done = run(sample_scene)
    PAGE.write_text(page(done), encoding="utf-8")
    write(PICTURES, pictures(done))
    print("wrote %s and its pictures" % PAGE.name)
    if not REAL_SCENE.exists():
        print("no real scene (ZEL_TEST_DATA): its pictures are as they were")
        return
    real = run(real_scene)
    found = pictures(real)
    write(PICTURES, {name: found[name] for name in ("look.png", "map.png")}, "ireland_")
    if kept(real, "accuracy") not in PAGE.read_text(encoding="utf-8"):
        print("put this into the last section of %s:\n%s" % (NOTEBOOK.name, kept(real, "accuracy")))


if __name__ == "__main__":
    main()
