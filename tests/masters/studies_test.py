"""Many runs of one FMU in FMPy, as its users write them: each has to move as its own parameters say."""

import json
import multiprocessing
import subprocess
import threading
import unittest
from collections.abc import Callable
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from functools import partial
from itertools import pairwise
from pathlib import Path
from typing import Any

import numpy as np
from fmpy import extract, read_model_description, simulate_fmu
from fmpy.simulation import instantiate_fmu

import motion
from isolated import in_a_process
from master import Array
from motion import BUMP, CAR, CAR_TIMES, TOLERANCE, Instance

STIFFNESSES = [10000.0 + 500.0 * n for n in range(50)]
SIGNALS = motion.with_derivatives(motion.CAR_OUTPUTS)
ROAD = np.rec.fromarrays([CAR_TIMES, BUMP], names=["time", "z_road"])

Run = dict[str, Array] | str
"""The signals of a run, or what kept it from its end."""


def attempt(run: Callable[[], Any]) -> Run:
    try:
        signals = run()
        return {name: np.asarray(signals[name]) for name in SIGNALS}
    except Exception as failure:  # FMPy raises nothing narrower
        return str(failure)


def simulate(fmu: str, k_c: float, **more: Any) -> Run:
    """A run by FMPy's simulate_fmu, of an archive or an unpacked folder."""
    values = {"k_c": k_c}
    return attempt(
        lambda: simulate_fmu(fmu, start_values=values, input=ROAD, stop_time=CAR_TIMES[-1], output=SIGNALS, **more)
    )


def from_the_archive() -> list[Run]:
    return [simulate(str(CAR), k_c) for k_c in STIFFNESSES]


def from_the_archive_on_processes() -> list[Run]:
    with ProcessPoolExecutor(2) as pool:
        return list(pool.map(partial(simulate, str(CAR)), STIFFNESSES))


def over_one_folder() -> list[Run]:
    folder = str(extract(CAR))
    return [simulate(folder, k_c) for k_c in STIFFNESSES]


def over_one_folder_by_new_processes() -> list[Run]:
    """As by a master that keeps the unpacked FMU from one start to the next."""
    with multiprocessing.Pool(1, maxtasksperchild=1) as pool:
        return pool.map(partial(simulate, str(extract(CAR))), STIFFNESSES, chunksize=1)


def over_one_folder_in_dask() -> list[Run]:
    job = {"folder": str(extract(CAR)), "parameter": "k_c", "values": STIFFNESSES, "input_name": "z_road"}
    job |= {"input": BUMP[:-1].tolist(), "step": 0.01, "signals": SIGNALS}
    Path("job").write_text(json.dumps(job))
    python = motion.MASTERS / "dask" / "bin" / "python"
    subprocess.run([python, Path(__file__).parent / "drive_dask.py", "job", "runs"], check=True)
    zeros = [[0.0] * len(SIGNALS)]  # at 0 s the car is at rest
    runs = json.loads(Path("runs").read_text())
    return [dict(zip(SIGNALS, np.array(zeros + rows).T, strict=True)) for rows in runs]


def by_resets_of_one_instance() -> list[Run]:
    folder = str(extract(CAR))
    description = read_model_description(folder)
    fmu = instantiate_fmu(folder, description)
    runs = []
    for k_c in STIFFNESSES:
        fmu.reset()
        runs.append(simulate(folder, k_c, fmu_instance=fmu))
    fmu.freeInstance()
    return runs


def by_two_instances_in_one_folder() -> list[Run]:
    """Both are there before the first is initialized, and step in turn."""
    runs: list[Run] = []
    for pair in zip(STIFFNESSES[::2], STIFFNESSES[1::2], strict=True):
        folder = extract(CAR)
        cars = [Instance(folder, CAR_TIMES, SIGNALS) for _ in pair]
        for car in cars:
            car.instantiate()
        for car, k_c in zip(cars, pair, strict=True):
            car.initialize(k_c=k_c)
        for height in BUMP[:-1]:
            for car in cars:
                car.step(z_road=height)
        runs += [car.free() for car in cars]
    return runs


def on_two_threads() -> list[Run]:
    """With FMPy's simulate_fmu; a lock keeps the threads apart while FMPy changes the working directory."""
    loading, description = threading.Lock(), read_model_description(str(CAR))

    def run(k_c: float) -> Run:
        folder = str(extract(CAR))
        with loading:
            fmu = instantiate_fmu(folder, description)
        signals = simulate(folder, k_c, fmu_instance=fmu)
        if not isinstance(signals, str):
            fmu.freeInstance()
        return signals

    with ThreadPoolExecutor(2) as pool:
        return list(pool.map(run, STIFFNESSES))


def on_eight_threads(folders: int) -> list[Run]:
    """All of an instance's calls, from instantiation to release."""
    unpacked = [extract(CAR) for _ in range(folders)]
    cars = [Instance(unpacked[n % folders], CAR_TIMES, SIGNALS) for n in range(len(STIFFNESSES))]

    def run(car: Instance, k_c: float) -> Run:
        return attempt(lambda: motion.drive(car, {"z_road": BUMP}, k_c=k_c))

    with ThreadPoolExecutor(8) as pool:
        return list(pool.map(run, cars, STIFFNESSES))


IDIOMS: dict[str, Callable[[], list[Run]]] = {
    "simulate_fmu, from the archive": from_the_archive,
    "simulate_fmu, from the archive, pool of two processes": from_the_archive_on_processes,
    "simulate_fmu, over one unpacked folder": over_one_folder,
    "simulate_fmu, over one unpacked folder, a new process for each run": over_one_folder_by_new_processes,
    "Dask, over one unpacked folder": over_one_folder_in_dask,
    "one instance, fmi2Reset before each run": by_resets_of_one_instance,
    "two instances in one unpacked folder": by_two_instances_in_one_folder,
    "simulate_fmu, pool of two threads": on_two_threads,
    "eight threads, eight unpacked folders": partial(on_eight_threads, folders=8),
    "eight threads, one unpacked folder": partial(on_eight_threads, folders=1),
}


class Studies(unittest.TestCase):
    longMessage = False

    def test_each_of_fifty_runs_moves_by_its_own_stiffness(self) -> None:
        for idiom, task in IDIOMS.items():
            with self.subTest(idiom):
                runs, stays = in_a_process(task)
                faults = [self.fault(run, k_c) for run, k_c in zip(runs, STIFFNESSES, strict=True)]
                wrong = [fault for fault in faults if fault]
                self.assertFalse(wrong, f"{len(runs) - len(wrong)} of {len(runs)} runs right; {wrong[:1]}")
                self.assertTrue(stays, "the working directory has changed")

    def fault(self, run: Run, k_c: float) -> str:
        if isinstance(run, str):
            return f"k_c = {k_c}: {run}"
        away = motion.distance(run, motion.exact_car(k_c))
        return "" if away <= TOLERANCE else f"k_c = {k_c}: {away:.1e} of the range away"

    def test_a_run_with_another_ones_stiffness_would_be_seen(self) -> None:
        """Even that of its neighbour: the exact motions are a thousand tolerances apart."""
        solutions = [motion.exact_car(k_c) for k_c in STIFFNESSES]
        distances = [motion.distance(one, other) for one, other in pairwise(solutions)]
        self.assertGreater(min(distances), 1e3 * TOLERANCE)


if __name__ == "__main__":
    unittest.main()
