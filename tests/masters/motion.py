"""The demo's FMUs as the tests of the masters run them in FMPy, and the motion that each run has to show."""

import sys
from collections.abc import Mapping
from functools import cache
from pathlib import Path

import numpy as np
from fmpy import read_model_description
from fmpy.fmi2 import FMU2Slave

ROOT = Path(__file__).resolve().parents[2]
MASTERS = ROOT / "build" / "masters"
sys.path.insert(0, str(ROOT / "demo"))
import quarter_car
import squeezer_motion
from master import Array

CAR, SQUEEZER = MASTERS / "QuarterCar.fmu", MASTERS / "Squeezer.fmu"
TOLERANCE = 1e-6
"""How far a run may be from the exact solution, as a part of the signal's range."""

CAR_TIMES = np.arange(51) * 0.01
BUMP = quarter_car.input_signal(CAR_TIMES)
"""The road at each of the times. It begins to rise at 0.2 s, so that 30 of the 50 steps move the car."""
SQUEEZER_TIMES = np.arange(31) * 0.0003
CAR_OUTPUTS, SQUEEZER_OUTPUTS = ["z_c", "z_w", "F_s"], ["beta", "epsilon", "F_y", "P_x"]


def with_derivatives(names: list[str]) -> list[str]:
    return [form.format(name) for name in names for form in squeezer_motion.FORMS]


@cache
def start_values(archive: Path) -> dict[str, float]:
    """The parameters of an FMU with the values of its model description, which are also those of its template."""
    variables = read_model_description(str(archive)).modelVariables
    return {variable.name: float(variable.start) for variable in variables if variable.causality == "parameter"}


@cache
def exact_car(k_c: float) -> dict[str, Array]:
    return exact_car_on(CAR_TIMES, BUMP, k_c)


def exact_car_on(times: Array, road: Array, k_c: float) -> dict[str, Array]:
    return quarter_car.exact(start_values(CAR) | {"k_c": k_c}, times, road)


@cache
def exact_squeezer(drive: float) -> dict[str, Array]:
    parameters = start_values(SQUEEZER) | {"drive": drive}
    return squeezer_motion.exact(parameters, SQUEEZER_TIMES, np.zeros(len(SQUEEZER_TIMES)))


def distance(signals: Mapping[str, Array], expected: Mapping[str, Array]) -> float:
    """The largest distance of any of the signals from the expected one, as a part of the latter's range."""
    return float(np.max([np.max(np.abs(signals[name] - expected[name])) / np.ptp(expected[name]) for name in signals]))


class Instance:
    """An instance of an unpacked FMU, driven call by call, which records variables at its communication points.

    The constructor loads the FMU's library. Meanwhile FMPy changes the process's working directory.
    """

    def __init__(self, folder: Path, times: Array, names: list[str]) -> None:
        description = read_model_description(str(folder))
        identifier = description.coSimulation.modelIdentifier
        self._references = {variable.name: variable.valueReference for variable in description.modelVariables}
        self._fmu = FMU2Slave(guid=description.guid, modelIdentifier=identifier, unzipDirectory=str(folder))
        self._times, self._names = times, names
        self.steps = len(times) - 1
        self._rows: list[list[float]] = []

    def instantiate(self) -> None:
        self._fmu.instantiate()

    def initialize(self, **parameters: float) -> None:
        self._fmu.setupExperiment(stopTime=self._times[-1])
        self._set(parameters)
        self._fmu.enterInitializationMode()
        self._fmu.exitInitializationMode()
        self._record()

    def step(self, **inputs: float) -> None:
        n = len(self._rows) - 1
        self._set(inputs)
        self._fmu.doStep(self._times[n], self._times[n + 1] - self._times[n])
        self._record()

    def free(self) -> dict[str, Array]:
        """Ends the run and gives the recorded values of each variable."""
        self._fmu.terminate()
        self._fmu.freeInstance()
        return dict(zip(self._names, np.array(self._rows).T, strict=True))

    def _set(self, values: Mapping[str, float]) -> None:
        self._fmu.setReal([self._references[name] for name in values], list(values.values()))

    def _record(self) -> None:
        self._rows.append(self._fmu.getReal([self._references[name] for name in self._names]))


def drive(instance: Instance, inputs: Mapping[str, Array], **parameters: float) -> dict[str, Array]:
    """A whole run, from instantiation to release; an input's n-th value holds over the n-th step."""
    instance.instantiate()
    instance.initialize(**parameters)
    for n in range(instance.steps):
        instance.step(**{name: values[n] for name, values in inputs.items()})
    return instance.free()
