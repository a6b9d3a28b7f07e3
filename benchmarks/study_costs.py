"""What a run of a study costs beside the solver's own steps, in the ways in which FMPy's users make runs.

Usage: build/venv/bin/python benchmarks/study_costs.py ARCHIVE [RUNS], with KORVAN_FMU_ROOT set; demo/study leaves the FMU
as build/release/study/QuarterCar.fmu. Counts processor time, also that of the translator's processes, so that other work
on the machine matters little.
"""

import resource
import sys
import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any
from unittest import mock

import fmpy
import numpy as np
from fmpy.fmi2 import FMU2Slave
from rich.console import Console
from rich.table import Table

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "demo"))
from car_runs import RECORDED, TIMES, Car
from road import bump

PARAMETERS = {"k_c": 15000.0, "d_c": 1000.0, "k_w": 150000.0}
COLUMNS = ("all", "in fmi2DoStep", "beside", "share", "start", "translator", "calls, rest")
HEIGHTS = bump(TIMES, 12.0)


@dataclass
class Costs:
    """Seconds of processor time in some runs."""

    all: float = 0.0
    steps: float = 0.0
    """In fmi2DoStep: the solver's work, and less than a thousandth of it the FMU's."""
    start: float = 0.0
    """In fmi2EnterInitializationMode, without the translator."""
    translator: float = 0.0

    def beside(self) -> float:
        return self.all - self.steps


def own_and_children() -> tuple[float, float]:
    own, children = resource.getrusage(resource.RUSAGE_SELF), resource.getrusage(resource.RUSAGE_CHILDREN)
    return own.ru_utime + own.ru_stime, children.ru_utime + children.ru_stime


@contextmanager
def counted(costs: Costs) -> Iterator[None]:
    """Adds what is spent in it, and in FMPy's calls of the FMU."""
    do_step, enter = FMU2Slave.doStep, FMU2Slave.enterInitializationMode

    def step(*arguments: Any, **named: Any) -> None:
        start = time.thread_time()
        do_step(*arguments, **named)
        costs.steps += time.thread_time() - start

    def initialize(fmu: FMU2Slave) -> None:
        own, children = own_and_children()
        enter(fmu)
        costs.start += own_and_children()[0] - own
        costs.translator += own_and_children()[1] - children

    start = sum(own_and_children())
    with mock.patch.multiple(FMU2Slave, doStep=step, enterInitializationMode=initialize):
        yield
    costs.all += sum(own_and_children()) - start


def measured(run: Callable[[], object], runs: int) -> Costs:
    run()  # loads libraries and fills caches
    costs = Costs()
    with counted(costs):
        for _ in range(runs):
            run()
    return costs


def simulate(fmu: str) -> object:
    """As in FMPy's documentation."""
    road = np.zeros(len(TIMES), dtype=[("time", float), ("z_road", float)])
    road["time"], road["z_road"] = TIMES, HEIGHTS
    return fmpy.simulate_fmu(
        fmu, start_values=PARAMETERS, input=road, stop_time=TIMES[-1], output_interval=0.01, output=list(RECORDED)
    )


def main(archive: Path, runs: int) -> None:
    car = Car(archive.read_bytes())
    car.unpack()
    folder = fmpy.extract(str(archive))

    def new_instance() -> None:
        car.run(PARAMETERS, HEIGHTS)
        car.release()

    ways = {
        "simulate_fmu(archive)": lambda: simulate(str(archive)),
        "simulate_fmu(unpacked folder)": lambda: simulate(str(folder)),
        "the study's calls, a new instance for each run": new_instance,
        "the study: one instance, reset": lambda: car.run(PARAMETERS, HEIGHTS),
    }
    table = Table("a run of 400 steps, ms", *COLUMNS)
    for name, run in ways.items():
        costs = measured(run, runs)
        rest = costs.beside() - costs.start - costs.translator
        parts = [costs.all, costs.steps, costs.beside(), costs.start, costs.translator, rest]
        cells = [f"{1e3 * part / runs:.1f}" for part in parts]
        table.add_row(name, *cells[:3], f"{costs.beside() / costs.all:.1%}", *cells[3:])
    car.release()
    car.remove()
    Console(width=140).print(table)


if __name__ == "__main__":
    main(Path(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 10)
