#!/usr/bin/env python3
"""The simulation of an archive: small cases that are worked out by hand, and its results that are in
the repository."""
import csv
import os
import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(os.environ.get("ZEL_SOURCE_DIR") or Path(__file__).resolve().parents[2])
sys.path.insert(0, str(ROOT / "benchmarks" / "archive"))
if sys.version_info < (3, 11):
    print("Python 3.11 is needed to read the inputs")
    sys.exit(77)

import plots  # noqa: E402
import simulate  # noqa: E402
from simulate import Run, Site, Storage, Work  # noqa: E402

FREE = {"storage": 1e30, "link": 1e30, "metadata": 1e30, "scheduler": 1e30, "launch_seconds": 0.0,
        "start_seconds": 0.0, "start_operations": 0.0}


def site(**limits):
    return Site(**{**FREE, **limits})


class ByHand(unittest.TestCase):
    def seconds(self, site, work, workers, batch, scenes):
        return Run(site, work, workers, batch, scenes).seconds()

    def test_one_worker_does_one_thing_after_the_other(self):
        # Two tasks: 1/4 s at the scheduler, 0.5 s to launch, 8 operations of 1/16 s, 0.25 s to start:
        # 1.5 s each. Three scenes: 2 operations, 100 bytes at 50 a second, 3 s: 5.125 s each.
        slow = site(storage=1000.0, link=50.0, metadata=16.0, scheduler=4.0, launch_seconds=0.5,
                    start_seconds=0.25, start_operations=8.0)
        self.assertAlmostEqual(self.seconds(slow, Work(3.0, 100.0, 2.0), 1, 2, 3), 3.0 + 15.375)

    def test_many_workers_reach_what_the_storage_gives(self):
        # 60 scenes of 10 bytes at 20 a second, whatever the workers.
        self.assertAlmostEqual(self.seconds(site(storage=20.0), Work(0.0, 10.0, 0.0), 7, 1, 60), 30.0)

    def test_a_link_is_a_limit_of_its_worker_alone(self):
        # 3 workers with links of 5: 15 of the 20 bytes a second.
        narrow = site(storage=20.0, link=5.0)
        self.assertAlmostEqual(self.seconds(narrow, Work(0.0, 10.0, 0.0), 3, 1, 60), 40.0)

    def test_the_scheduler_gives_one_task_after_the_other(self):
        # 10 tasks of 6 scenes at 2 a second; the last one begins at 5 s and takes 6 x 0.1 s.
        run = self.seconds(site(scheduler=2.0), Work(0.1, 1.0, 0.0), 50, 6, 60)
        self.assertAlmostEqual(run, 5.6)

    def test_the_metadata_server_serves_one_scene_after_the_other(self):
        # 60 scenes of 5 operations and 30 tasks of 10, at 100 a second.
        run = self.seconds(site(metadata=100.0, start_operations=10.0), Work(0.0, 1.0, 5.0), 50, 2, 60)
        self.assertAlmostEqual(run, 6.0)

    def test_transfers_share_the_storage_evenly(self):
        # Alone at 1 byte a second until 4 s; then half each, so that 3 bytes take 6 s; then the 3 bytes
        # that the first still has, alone.
        storage = Storage(site(storage=1.0))
        storage.begin(0.0, 10.0, "first")
        storage.begin(4.0, 3.0, "second")
        self.assertAlmostEqual(storage.next_end(), 10.0)
        self.assertEqual(storage.end(10.0), "second")
        self.assertAlmostEqual(storage.next_end(), 13.0)
        self.assertEqual(storage.end(13.0), "first")

    def test_no_more_workers_than_tasks_do_something(self):
        # 2 tasks of 50 scenes on 10 workers: as long as on 2.
        self.assertAlmostEqual(self.seconds(site(), Work(1.0, 1.0, 0.0), 10, 50, 100), 50.0)


class Results(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(ROOT / "benchmarks" / "archive" / "results.csv", newline="") as file:
            cls.rows = list(csv.DictReader(file))
        cls.inputs = simulate.read_inputs()[2]

    def test_they_are_of_every_combination(self):
        found = [(r["site"], r["kind"], int(r["batch"]), int(r["workers"])) for r in self.rows]
        self.assertEqual(found, list(simulate.combinations(self.inputs)))

    def test_no_result_is_above_the_least_of_the_capacities(self):
        for row in self.rows:
            share = float(row["scenes_per_hour"]) / float(row["bound_per_hour"])
            self.assertLess(share, 1.01, row)  # the sizes of the scenes are random
            if int(row["workers"]) in (1, 1000):  # far from where two limits meet
                self.assertGreater(share, 0.93, row)

    def test_a_run_with_the_inputs_gives_them_again(self):
        for row in self.rows[10::70]:
            again = simulate.row((row["site"], row["kind"], int(row["batch"]), int(row["workers"])))
            self.assertEqual({name: str(value) for name, value in again.items()}, row)

    def test_the_page_and_the_plots_show_them(self):
        page = (ROOT / "docs" / "archive.md").read_text(encoding="utf-8")
        self.assertEqual(page.split(plots.BEGIN)[1].split(plots.END)[0].strip(), plots.table(self.rows))
        for name in ("throughput", "hours"):
            self.assertIn("archive/%s.svg" % name, page)
            drawn = (ROOT / "docs" / "archive" / (name + ".svg")).read_text(encoding="utf-8")
            self.assertEqual(drawn, plots.drawing(self.rows, name).svg())


if __name__ == "__main__":
    unittest.main()
