"""Repeats each run of a study on its own, and compares both with each other and with the exact solution."""

import os
import signal
from collections.abc import Iterator
from concurrent.futures import ProcessPoolExecutor
from functools import cache, partial
from multiprocessing import get_context
from pathlib import Path

import numpy as np

import quarter_car
from car_runs import DESIGN, RECORDED, TIMES, Parameters, results
from master import FmuError, Master
from road import Array, bump
from study_table import RESULTS, Row

TOLERANCE = 1e-6
"""How far a signal may be from the exact solution, as a part of its range."""


def faults(archive: Path, rows: list[Row]) -> Iterator[str]:
    """For each run what is wrong with it, or an empty string. New processes make the runs."""
    leave_interrupts = (signal.signal, (signal.SIGINT, signal.SIG_IGN))
    with ProcessPoolExecutor(len(os.sched_getaffinity(0)), get_context("spawn"), *leave_interrupts) as pool:
        yield from pool.map(partial(fault, archive), rows)


def fault(archive: Path, row: Row) -> str:
    """Makes the run anew, from the archive in a folder of its own, with an instance of its own."""
    parameters = {name: row[name] for name in (*DESIGN, "speed")}
    heights = bump(TIMES, parameters["speed"])
    try:
        record = _master(archive).run({name: parameters[name] for name in DESIGN}, TIMES, heights)
        signals = {name: record.signals[name][1:] for name in RECORDED}
        single = results(parameters, signals, heights)
    except (FmuError, ArithmeticError) as failure:
        return f"{parameters}: a single run fails: {failure}"
    if different := [name for name in RESULTS if single[name] != row[name]]:
        return f"{parameters}: a single run has another {', '.join(different)}"
    away = _distance(_master(archive), parameters, signals, heights)
    return "" if away <= TOLERANCE else f"{parameters}: {away:.1e} of the range away from the exact solution"


def _distance(master: Master, parameters: Parameters, signals: dict[str, Array], heights: Array) -> float:
    values = {parameter.name: float(parameter.start) for parameter in master.parameters}
    values |= {name: parameters[name] for name in DESIGN}
    exact = quarter_car.exact(values, TIMES, heights)
    return max(float(np.max(np.abs(signals[name] - exact[name][1:])) / np.ptp(exact[name])) for name in RECORDED)


@cache
def _master(archive: Path) -> Master:
    return Master(archive, lambda _status, _text: None)
