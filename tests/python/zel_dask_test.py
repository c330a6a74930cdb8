"""zel.dask: which tasks are given to a client, and what comes of their processes."""
import os

import pytest

import zel.dask

# A command that stands for zel: 3 shards, each with two scenes; how it ends is in a file for each.
PROGRAM = """#!/bin/sh
echo "$@" >>"$PLACE/calls"
pwd >>"$PLACE/places"
case " $* " in
*" --shards "*) [ ! -e "$PLACE/wrong" ] || { echo "wrong recipe" >&2; exit 2; }; echo 3; exit 0 ;;
esac
shard=${8%/3}
[ ! -e "$PLACE/kill$shard" ] || { rm "$PLACE/kill$shard"; kill -9 $$; }
echo '{"id": "b'$shard'", "status": "done"}'
echo '{"id": "a'$shard'", "status": "failed"}'
exit 1
"""


class Client:
    """Runs tasks at once, as often as Dask would."""

    def map(self, function, tasks, *, retries, pure):
        assert not pure
        return [self.call(function, task, retries) for task in tasks]

    def call(self, function, task, retries):
        while True:
            try:
                return function(task)
            except RuntimeError:
                if retries == 0:
                    raise
                retries -= 1

    def gather(self, futures):
        return futures


@pytest.fixture
def program(tmp_path, monkeypatch):
    path = tmp_path / "zel"
    path.write_text(PROGRAM)
    path.chmod(0o755)
    monkeypatch.setenv("PLACE", str(tmp_path))
    monkeypatch.chdir(tmp_path)
    return str(path)


def run(program, **more):
    return zel.dask.run("m.jsonl", "r.toml", Client(), root="out", batch=2, program=program, **more)


def test_records_of_all_tasks_come_in_the_order_of_ids(program, tmp_path):
    assert [r["id"] for r in run(program)] == ["a1", "a2", "a3", "b1", "b2", "b3"]
    assert {r["status"] for r in run(program)} == {"done", "failed"}
    calls = (tmp_path / "calls").read_text().splitlines()
    here = str(tmp_path)
    assert calls[1] == (
        "run %s/r.toml --manifest %s/m.jsonl --batch 2 --shard 1/3 --skip-existing --root %s/out"
        % (here, here, here))


def test_tasks_run_in_the_directory_of_the_caller(program, tmp_path):
    """Names in a manifest may be relative; a worker may have been started anywhere."""
    (tmp_path / "elsewhere").mkdir()

    class Worker(Client):
        def call(self, function, task, retries):
            here = os.getcwd()
            os.chdir(tmp_path / "elsewhere")
            try:
                return super().call(function, task, retries)
            finally:
                os.chdir(here)

    zel.dask.run("m.jsonl", "r.toml", Worker(), batch=2, program=program)
    assert set((tmp_path / "places").read_text().splitlines()) == {str(tmp_path)}


def test_a_task_that_is_killed_runs_again(program, tmp_path):
    (tmp_path / "kill2").touch()
    assert len(run(program)) == 6
    assert sum("--shard 2/3" in call for call in (tmp_path / "calls").read_text().splitlines()) == 2


def test_a_task_that_is_killed_too_often_is_an_error(program, tmp_path):
    (tmp_path / "kill2").touch()
    with pytest.raises(RuntimeError, match="status -9|status 137"):
        run(program, retries=0)


def test_a_wrong_recipe_is_an_error_before_anything_runs(program, tmp_path):
    (tmp_path / "wrong").touch()
    with pytest.raises(ValueError, match="wrong recipe"):
        run(program)
    assert len((tmp_path / "calls").read_text().splitlines()) == 1


def test_a_command_that_is_not_there_is_an_error():
    with pytest.raises(OSError):
        run(os.devnull + "/zel")
