"""One run of the quarter car, as the workers of a study make it. A worker needs this file, road.py, FMPy and NumPy.

The car drives over a bump. Its comfort is the effective (RMS) acceleration of the body, its road holding the effective
change of the wheel's load, in the time of the run.
"""

import hashlib
import io
import platform
import shutil
import tempfile
import threading
import uuid
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from typing import cast

import fmpy
import numpy as np
from distributed import Worker, WorkerPlugin, get_worker
from fmpy.fmi2 import FMU2Slave

from road import Array, bump

Parameters = Mapping[str, float]
Results = dict[str, float | str]

TIMES = np.append(np.arange(400) * 0.01, 4.0)
DESIGN = ("k_c", "d_c", "k_w")
RECORDED = ("der(z_c,2)", "z_w")
STATIC_LOAD = (400.0 + 40.0) * 9.81
"""The weight of body and wheel in N."""


def run_one(parameters: Parameters, car_name: str) -> Results:
    """A run on a Dask worker that has the plugin `Car` of this name."""
    car = cast(Car, get_worker().plugins[car_name])
    heights = bump(TIMES, parameters["speed"])
    try:
        signals = car.run({name: parameters[name] for name in DESIGN}, heights)
    except Exception as failure:  # FMPy raises nothing narrower, and its own exceptions can't be sent
        reason = str(failure) or repr(failure)
        raise RuntimeError(f"{reason} on {platform.node()}; `tessaro-fmu doctor` there says why") from None
    return results(parameters, signals, heights)


def results(parameters: Parameters, signals: Mapping[str, Array], heights: Array) -> Results:
    """What is kept of a run, from the recorded signals at the end of each step."""
    changes = parameters["k_w"] * (heights[:-1] - signals["z_w"])
    recorded = np.stack([signals[name] for name in RECORDED])
    numbers = {
        "comfort": effective(signals["der(z_c,2)"]),
        "load_change": effective(changes) / STATIC_LOAD,
        "least_load": 1.0 + float(np.min(changes)) / STATIC_LOAD,
    }
    if not np.all(np.isfinite(list(numbers.values()))):
        raise ArithmeticError(f"results that are not finite: {numbers}")
    return {**numbers, "digest": hashlib.sha256(recorded.tobytes()).hexdigest()[:16]}


def effective(signal: Array) -> float:
    return float(np.sqrt(np.mean(signal**2)))


class Car(WorkerPlugin):
    """The FMU on a worker: unpacked once, with instances that are reused, each by one run at a time."""

    def __init__(self, archive: bytes) -> None:
        self._archive = archive
        self.name = f"quarter car {uuid.uuid4()}"
        """One for each study: Dask replaces a plugin by the next one of the same name."""

    def setup(self, worker: Worker) -> None:
        """Called on every worker, also on one that joins later. The folder is on the worker's local disk."""
        self.unpack(worker.local_directory)

    def teardown(self, worker: Worker) -> None:
        self.remove()

    def unpack(self, directory: str | None = None) -> None:
        self._folder = tempfile.mkdtemp(prefix="QuarterCar-", dir=directory)
        fmpy.extract(io.BytesIO(self._archive), self._folder)
        self._description = fmpy.read_model_description(self._folder)
        self._references = {variable.name: variable.valueReference for variable in self._description.modelVariables}
        self._loading = threading.Lock()
        self._idle: list[FMU2Slave] = []
        self._removed = False

    def remove(self) -> None:
        """Also while a run of an interrupted study goes on: it frees its instance itself."""
        self._removed = True
        self.release()
        shutil.rmtree(self._folder, ignore_errors=True)

    def release(self) -> None:
        """Frees the instances that no run has; the next run gets a new one."""
        while fmu := self._taken():
            fmu.freeInstance()

    def run(self, parameters: Parameters, heights: Array) -> dict[str, Array]:
        """The recorded signals at the end of each step. heights[n] is the road's height over the n-th step."""
        with self._instance() as fmu:
            fmu.setupExperiment(startTime=TIMES[0], stopTime=TIMES[-1])
            fmu.setReal([self._references[name] for name in parameters], list(parameters.values()))
            fmu.enterInitializationMode()
            fmu.exitInitializationMode()
            rows = list(self._steps(fmu, heights))
            fmu.terminate()
        return dict(zip(RECORDED, np.array(rows).T.copy(), strict=True))

    def _steps(self, fmu: FMU2Slave, heights: Array) -> Iterator[list[float]]:
        driven, recorded = [self._references["z_road"]], [self._references[name] for name in RECORDED]
        steps = zip(TIMES[:-1].tolist(), np.diff(TIMES).tolist(), heights[:-1].tolist(), strict=True)
        for time, length, height in steps:
            fmu.setReal(driven, [height])
            fmu.doStep(time, length)
            yield fmu.getReal(recorded)

    @contextmanager
    def _instance(self) -> Iterator[FMU2Slave]:
        """An instance that no other run has. It is reset and used again, but not after a failure."""
        fmu = self._taken() or self._loaded()
        try:
            yield fmu
            fmu.reset()
        except Exception:
            fmu.freeInstance()
            raise
        self._idle.append(fmu)
        if self._removed:
            self.release()

    def _taken(self) -> FMU2Slave | None:
        try:
            return self._idle.pop()
        except IndexError:
            return None

    def _loaded(self) -> FMU2Slave:
        """A new instance. FMPy changes the working directory of the process while it loads: one thread at a time."""
        with self._loading:
            identifier = self._description.coSimulation.modelIdentifier
            fmu = FMU2Slave(guid=self._description.guid, modelIdentifier=identifier, unzipDirectory=self._folder)
        fmu.instantiate()
        return fmu
