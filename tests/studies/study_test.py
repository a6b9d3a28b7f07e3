"""demo/study as its users run it, and what may happen to it."""

import csv
import json
import math
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from collections.abc import Callable
from contextlib import ExitStack, chdir, suppress
from pathlib import Path
from typing import Any, ClassVar
from unittest import mock

import numpy as np
import psutil
from dask.distributed import Client, Future, LocalCluster, Worker
from demo_fmus import INSTALLATION, ROOT, pack

import study_costs
import study_map
import study_plan
from car_runs import RECORDED, Car, Parameters, run_one
from road import Array
from study_table import Row, Table

RUNS = 12
MOST_SECONDS = 300.0


def wait_until(condition: Callable[[], bool]) -> None:
    end = time.monotonic() + MOST_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError
        time.sleep(0.02)


def rows_of(file: Path) -> list[dict[str, str]]:
    with file.open(newline="") as stream:
        return list(csv.DictReader(stream))


class Study:
    """demo/study in a folder, started as from a terminal."""

    def __init__(self, out: Path, *options: str) -> None:
        self.journal, self.table = out / "journal.csv", out / "study.csv"
        terminal = ["env", "--default-signal=INT"]  # a background job of a shell's would ignore Ctrl-C
        command: list[str | Path] = [*terminal, ROOT / "demo" / "study", "--out", out, "--runs", str(RUNS), *options]
        self._process = subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, start_new_session=True
        )

    def wait_for_runs(self, number: int) -> None:
        wait_until(lambda: self._process.poll() is not None or len(self.lines()) > number)

    def lines(self) -> list[str]:
        """The journal's, with the header."""
        return self.journal.read_text().splitlines() if self.journal.exists() else []

    def workers(self) -> list[psutil.Process]:
        """The processes that have the FMU loaded."""
        workers = []
        for process in psutil.Process(self._process.pid).children(recursive=True):
            with suppress(OSError):  # it has ended
                if "/QuarterCar.so" in Path(f"/proc/{process.pid}/maps").read_text():
                    workers.append(process)
        return workers

    def interrupt(self) -> None:
        """As Ctrl-C does: all processes of the terminal receive it."""
        os.killpg(self._process.pid, signal.SIGINT)

    def end(self) -> tuple[int, str]:
        """Exit code and output."""
        output, _ = self._process.communicate(timeout=MOST_SECONDS)
        return self._process.returncode, output


class Studies(unittest.TestCase):
    """Each study verifies its runs, so that none is lost, doubled or wrong by what happens to it."""

    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def assert_complete(self, study: Study) -> str:
        """The study's output, when all runs are there, each once, and right."""
        code, output = study.end()
        self.assertEqual(code, 0, output)
        self.assertIn(f"{RUNS} of {RUNS} runs are equal to a single run, to the last bit", output)
        self.assertEqual(len(study.lines()), 1 + RUNS)
        self.assertEqual(len(rows_of(study.table)), RUNS)
        return output

    def test_a_killed_worker_loses_nothing(self) -> None:
        study = Study(self.folder, "--workers", "2", "--verify")
        study.wait_for_runs(1)
        wait_until(lambda: len(study.workers()) == 2)
        study.workers()[0].kill()
        self.assert_complete(study)

    def test_an_interrupted_study_goes_on(self) -> None:
        study = Study(self.folder, "--workers", "2")
        study.wait_for_runs(3)
        study.interrupt()
        code, output = study.end()
        self.assertEqual(code, 130, output)
        self.assertNotIn("Traceback", output)
        made = study.lines()
        self.assertLess(len(made), 1 + RUNS)

        again = Study(self.folder, "--workers", "2", "--verify")
        output = self.assert_complete(again)
        self.assertIn(f"{RUNS} runs of QuarterCar.fmu, {len(made) - 1} of them made before", output)
        self.assertEqual(again.lines()[: len(made)], made)

    def test_a_running_cluster_makes_the_runs(self) -> None:
        """Its worker does not know the demo's code, and makes two runs at a time on threads."""
        address = self.start_cluster(KORVAN_FMU_ROOT=str(INSTALLATION))
        self.assert_complete(Study(self.folder, "--scheduler", address, "--verify"))
        self.assertEqual([*self.folder.rglob("QuarterCar-*")], [], "what the worker has unpacked")

    def test_runs_that_fail_are_reported(self) -> None:
        """The environment of the cluster's worker names no solver."""
        study = Study(self.folder, "--scheduler", self.start_cluster())
        code, output = study.end()
        self.assertEqual(code, 1, output)
        self.assertIn("`tessaro-fmu doctor` there says why", output)
        self.assertEqual([row["failure"] != "" for row in rows_of(study.journal)], [True] * RUNS)

    def start_cluster(self, **variables: str) -> str:
        """A scheduler and a worker with two threads, with these environment variables; the scheduler's address."""
        file = self.folder / "scheduler.json"
        self.start("scheduler", "--host", "127.0.0.1", "--port", "0", "--scheduler-file", str(file), **variables)
        wait_until(lambda: file.exists() and file.read_text().endswith("}"))
        size = ("--nthreads", "2", "--nworkers", "1", "--local-directory", str(self.folder))
        self.start("worker", *size, "--scheduler-file", str(file), **variables)
        return str(json.loads(file.read_text())["address"])

    def start(self, *command: str, **variables: str) -> None:
        environment = {name: os.environ[name] for name in ("PATH", "HOME") if name in os.environ} | variables
        dask = str(Path(sys.executable).parent / "dask")
        process = subprocess.Popen([dask, *command], cwd=self.folder, env=environment, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)


class Refusals(unittest.TestCase):
    def test_wrong_options_get_one_line(self) -> None:
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        file = folder / "file"
        file.touch()
        wrong = [("--scheduler", address) for address in ("nonsense", "foo://x:1", "tcp://x:abc")]
        for options in (*wrong, ("--out", str(file))):
            with self.subTest(options=options):
                study = str(ROOT / "demo" / "study.py")
                command = [sys.executable, study, *[str(file)] * 3, "--out", str(folder), *options]
                result = subprocess.run(command, capture_output=True, text=True)
                self.assertEqual(result.returncode, 1)
                self.assertRegex(result.stderr, r"\Astudy: .*\n\Z")


class StandingCar(Car):
    """Its wheel is at the same height all the time."""

    def __init__(self, height: float) -> None:
        super().__init__(b"")
        self._height = height

    def setup(self, worker: Worker) -> None:
        """There is nothing to unpack."""

    def teardown(self, worker: Worker) -> None:
        """Nor to remove."""

    def run(self, _parameters: Parameters, heights: Array) -> dict[str, Array]:
        return dict.fromkeys(RECORDED, np.full(len(heights) - 1, self._height))


class Clusters(unittest.TestCase):
    PARAMETERS: ClassVar[Parameters] = {"k_c": 15000.0, "d_c": 1000.0, "k_w": 150000.0, "speed": 8.0}

    def setUp(self) -> None:
        cluster = LocalCluster(n_workers=1, threads_per_worker=1, processes=False, dashboard_address=None)
        self.client = self.enterContext(Client(self.enterContext(cluster)))

    def made_by(self, car: Car) -> Future[Any]:
        future: Future[Any] = self.client.submit(run_one, self.PARAMETERS, car.name, pure=False)
        return future

    def test_two_studies_at_once_have_their_own_fmus(self) -> None:
        cars = StandingCar(0.25), StandingCar(0.5)
        for car in cars:
            self.client.register_plugin(car)
        self.assertEqual([self.made_by(car).result()["comfort"] for car in cars], [0.25, 0.5])

    def test_results_that_are_not_finite_are_a_failure(self) -> None:
        for height in (math.nan, math.inf):
            car = StandingCar(height)
            self.client.register_plugin(car)
            self.assertRegex(str(self.made_by(car).exception()), "not finite.*'comfort'")


class Costs(unittest.TestCase):
    def test_at_most_a_fifth_of_a_run_is_beside_the_solvers_steps(self) -> None:
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.enterContext(mock.patch.dict(os.environ, KORVAN_FMU_ROOT=str(INSTALLATION)))
        self.enterContext(chdir(folder))
        car = Car(pack("quarter_car", folder).read_bytes())
        car.unpack()
        self.addCleanup(car.remove)
        costs = study_costs.measured(lambda: car.run(study_costs.PARAMETERS, study_costs.HEIGHTS), 4)
        self.assertLess(costs.beside(), 0.2 * costs.all)


class Journals(unittest.TestCase):
    RUN: ClassVar[Row] = {"k_c": 15000.0, "d_c": 1000.0, "k_w": 150000.0, "speed": 8.0}
    RESULTS: ClassVar[Row] = {"comfort": 0.1 + 0.2, "load_change": 1e-9, "least_load": 0.5, "digest": "0e1"}

    def setUp(self) -> None:
        self.file = Path(self.enterContext(tempfile.TemporaryDirectory())) / "journal.csv"
        self.opened = self.enterContext(ExitStack())

    def table(self, origin: str = "fmu 1") -> Table:
        """The journal, opened anew."""
        self.opened.close()
        return self.opened.enter_context(Table(self.file, origin))

    def test_two_studies_do_not_write_at_once(self) -> None:
        self.table().add(self.RUN, self.RESULTS)
        whole = self.file.read_bytes()
        with self.assertRaisesRegex(SystemExit, "another study writes .*journal.csv"), Table(self.file, "fmu 2"):
            pass
        self.assertEqual(self.file.read_bytes(), whole)

    def test_a_damaged_line_is_not_used(self) -> None:
        self.table().add(self.RUN, self.RESULTS)
        whole = self.file.read_bytes()
        header, line = whole.splitlines(keepends=True)
        for damaged in (b"\n", b"\0\xff\n", b'"\n', line[:9] + line, line.replace(b"8.0", b"8.x"), b"a" * 200000 + b"\n",
                        line.replace(b"0.5", b"nan")):  # fmt: skip
            with self.subTest(damaged[:20]):
                self.file.write_bytes(header + damaged)
                self.assertEqual((self.table().result(self.RUN), self.table().damaged), (None, 1))
                self.table().add(self.RUN, self.RESULTS)
                self.assertEqual(self.table().result(self.RUN), self.RUN | self.RESULTS)
                self.assertEqual(self.file.read_bytes(), header + damaged + line)

    def test_a_result_is_read_as_it_was_written(self) -> None:
        self.table().add(self.RUN, self.RESULTS)
        self.assertEqual(self.table().result(self.RUN), self.RUN | self.RESULTS)

    def test_a_result_of_another_fmu_is_kept_but_not_used(self) -> None:
        self.table().add(self.RUN, self.RESULTS)
        other = self.table("fmu 2")
        self.assertIsNone(other.result(self.RUN))
        other.add(self.RUN, self.RESULTS | {"comfort": 1.0})
        self.assertEqual(self.table().result(self.RUN), self.RUN | self.RESULTS)

    def test_a_failed_run_has_no_result_until_it_is_made_again(self) -> None:
        self.table().add(self.RUN, {}, 'singular, at\n"joint"')
        again = self.table()
        self.assertIsNone(again.result(self.RUN))
        self.assertEqual(again.failure(self.RUN), 'singular, at "joint"')
        again.add(self.RUN, self.RESULTS)
        self.assertEqual((self.table().failure(self.RUN), self.table().result(self.RUN)), ("", self.RUN | self.RESULTS))

    def test_a_line_that_was_cut_is_not_used(self) -> None:
        self.table().add(self.RUN, self.RESULTS)
        whole = self.file.read_text()
        for length in range(whole.index("\n") + 1, len(whole)):
            self.file.write_text(whole[:length])
            cut = self.table()
            self.assertIsNone(cut.result(self.RUN), whole[:length])
            cut.add(self.RUN, self.RESULTS)
            self.assertEqual(self.file.read_text(), whole)

    def test_a_file_that_is_no_journal_is_left_alone(self) -> None:
        for content in ("k_c,comfort\n1,2\n", "something else"):
            self.file.write_text(content)
            with self.assertRaisesRegex(SystemExit, "not a journal"):
                self.table()
            self.assertEqual(self.file.read_text(), content)


class Plans(unittest.TestCase):
    def test_a_larger_sample_contains_the_smaller_ones(self) -> None:
        self.assertEqual(study_plan.sample(100)[:30], study_plan.sample(30))

    def test_a_grid_has_every_combination_once(self) -> None:
        runs = study_plan.grid(3)
        self.assertEqual(len({tuple(run.values()) for run in runs}), 3**3 * len(study_plan.SPEEDS))
        for name, (lowest, highest) in study_plan.RANGES.items():
            self.assertEqual({run[name] for run in runs}, {lowest, (lowest + highest) / 2.0, highest})

    def test_the_front_has_the_runs_that_none_outdoes(self) -> None:
        places = [(1.0, 5.0), (2.0, 3.0), (2.0, 4.0), (2.5, 3.0), (3.0, 2.0), (4.0, 2.5)]
        rows: list[Row] = [{"comfort": comfort, "load_change": change, "least_load": 0.1} for comfort, change in places]
        lifted: Row = {"comfort": 0.5, "load_change": 0.5, "least_load": -0.1}
        front = study_map.front([lifted, *reversed(rows)])
        self.assertEqual([(row["comfort"], row["load_change"]) for row in front], [(1.0, 5.0), (2.0, 3.0), (3.0, 2.0)])


if __name__ == "__main__":
    unittest.main()
