"""Notebooks: run in a directory of their own, and shown as pages.

Cells carry in their metadata: "picture", the name of the picture that they show, with "alt", its
description; "kept", a name for what they print.
"""
import base64
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
BUILD = Path(os.environ.get("ZEL_BUILD_DIR") or ROOT / "build")
BIN = Path(os.environ.get("ZEL_BIN_DIR") or BUILD / "bin")
SCENES = Path(os.environ.get("ZEL_TEST_DATA") or "/nonexistent") / "scenes"
NOTEBOOK = ROOT / "docs" / "one-hour.ipynb"
PAGE = NOTEBOOK.with_suffix(".md")
PICTURES = ROOT / "docs" / "one-hour"
REAL_SCENE = SCENES / "sentinel2_ireland_60m.zel"

MODULES = ["nbformat", "nbclient", "ipykernel", "matplotlib", "numpy", "pandas", "sklearn", "tqdm", "xarray"]
PROGRAMS = [BIN / "zel", BIN / "zel_combine", BIN / "examples" / "make_sample_scene"]
TITLE = "<!-- Made from one-hour.ipynb by ./dev notebook -->\n\n"


def missing():
    """What the notebook needs and is not there."""
    modules = [m for m in MODULES if importlib.util.find_spec(m) is None]
    return modules + [p.name for p in PROGRAMS if not p.exists()]


def read():
    import nbformat
    return nbformat.read(NOTEBOOK, as_version=4)


def sample_scene(directory):
    """What ./dev demo makes for the notebook."""
    def run(*words):
        subprocess.run([str(w) for w in words], cwd=directory, check=True, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120)
    run(PROGRAMS[2], ".")
    run(PROGRAMS[1], "-same_res", "-i", "sample_250m.zel", "-i", "sample_500m.zel", "-ib", "sample_1000m.zel",
        "-o", "one_grid.zel")
    shutil.copy(ROOT / "examples" / "one_hour.par", directory)
    return {}


def real_scene(directory):
    """The scene of the page's last section, and the settings that name it."""
    (Path(directory) / REAL_SCENE.name).symlink_to(REAL_SCENE.resolve())
    shutil.copy(ROOT / "examples" / "ireland.par", directory)
    return {"SCENE": REAL_SCENE.name, "PARAMETERS": "ireland.par"}


def environment(settings, private):
    """Programs and package of the build tree; nothing of what the user has set up for Python."""
    kept = {k: v for k, v in os.environ.items() if not re.match("SCENE$|PARAMETERS$|MPL|IPYTHON", k)}
    paths = [str(BUILD / "python"), os.environ.get("PYTHONPATH", "")]
    return {**kept, **settings, "PATH": os.pathsep.join([str(BIN), kept.get("PATH", "")]),
            "PYTHONPATH": os.pathsep.join(filter(None, paths)), "MPLCONFIGDIR": private,
            "IPYTHONDIR": private}


def execute(notebook, directory, settings):
    """Runs the cells. The first one that fails is an error."""
    from nbclient import NotebookClient
    with tempfile.TemporaryDirectory(prefix="zel_kernel_") as private:
        os.environ["JUPYTER_DATA_DIR"] = private  # no kernels of the user's, and its files go there
        os.environ["PYDEVD_DISABLE_FILE_VALIDATION"] = "1"  # a remark of the debugger, which nobody uses
        client = NotebookClient(notebook, timeout=300, kernel_name="python3",
                                resources={"metadata": {"path": str(directory)}})
        client.execute(env=environment(settings, private))
    return notebook


def printed(cell):
    """What a cell has printed to standard output; bars, which show progress, go to the other stream."""
    return "".join(o["text"] for o in cell["outputs"] if o.get("name") == "stdout")


def complaints(notebook):
    """What cells have printed to standard error, but for bars."""
    texts = [o["text"] for cell in notebook["cells"] for o in cell.get("outputs", []) if o.get("name") == "stderr"]
    return re.sub(r"\r[^\r\n]*\n?", "", "".join(texts))


def shown(cell):
    """The text that is the result of a cell, unless it is that of a picture."""
    results = [o["data"] for o in cell["outputs"] if "data" in o]
    return "".join(d["text/plain"] + "\n" for d in results if "image/png" not in d)


def picture(cell):
    """The picture of a cell as the bytes of a file, or None."""
    for output in cell["outputs"]:
        if "image/png" in output.get("data", {}):
            return base64.b64decode(output["data"]["image/png"])
    return None


def pictures(notebook):
    """The pictures by their names."""
    return {cell["metadata"]["picture"] + ".png": picture(cell) for cell in notebook["cells"]
            if "picture" in cell["metadata"]}


def kept(notebook, name):
    """What the cell with this name has printed."""
    cell, = [c for c in notebook["cells"] if c["metadata"].get("kept") == name]
    return printed(cell)


def block(language, text):
    text = "\n".join(line.rstrip() for line in text.strip("\n").split("\n"))
    return "```%s\n%s\n```\n\n" % (language, text) if text else ""


def cell_text(cell):
    """A cell as a part of the page."""
    source = cell["source"].strip("\n")
    if cell["cell_type"] == "markdown":
        return source + "\n\n"
    if source.startswith("%%sh\n"):
        return block("console", "$ " + source[5:] + "\n" + printed(cell))
    text = block("python", source) + block("text", printed(cell) + shown(cell))
    if "picture" in cell["metadata"]:
        text += "![%(alt)s](one-hour/%(picture)s.png)\n\n" % cell["metadata"]
    return text


def page(notebook):
    """The page of a notebook that was run."""
    return TITLE + "".join(cell_text(cell) for cell in notebook["cells"]).rstrip("\n") + "\n"
