"""A small co-simulation master: steps an FMU from communication point to communication point and records it."""

import math
import tempfile
import time
from collections.abc import Callable, Iterable, Iterator, Mapping
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path

import fmpy
import numpy as np
from fmpy.fmi1 import FMICallException
from fmpy.fmi2 import FMU2Slave
from fmpy.model_description import ModelVariable
from fmpy.simulation import instantiate_fmu
from numpy.typing import NDArray

Array = NDArray[np.float64]


class FmuError(Exception):
    """A call of the FMU failed; the FMU has logged the reason."""


class Stopwatch:
    """Adds up the time spent inside `with stopwatch:`."""

    def __init__(self) -> None:
        self.seconds = 0.0
        self._started = 0.0

    def __enter__(self) -> None:
        self._started = time.perf_counter()

    def __exit__(self, *_: object) -> None:
        self.seconds += time.perf_counter() - self._started


@dataclass
class Recording:
    """A run of an FMU: its input and signals at the communication points, and the time spent in it."""

    times: Array
    inputs: Array
    signals: dict[str, Array]
    starting: Stopwatch = field(default_factory=Stopwatch)
    stepping: Stopwatch = field(default_factory=Stopwatch)
    ending: Stopwatch = field(default_factory=Stopwatch)


def communication_points(stop: float, step: float) -> Array:
    """0, step, 2 step and so on up to stop; the last step may be shorter than the others."""
    steps = math.ceil(stop / step - 1e-9)
    return np.append(np.arange(steps) * step, stop)


class Master:
    """Runs an FMU with one input and records its outputs with their first and second derivatives.

    log(status, text) is called with every message of the FMU.
    """

    def __init__(self, archive: Path, log: Callable[[int, str], None]) -> None:
        self._archive = archive
        self._log = log
        self._description = fmpy.read_model_description(str(archive))
        self.stop_time = float(self._description.defaultExperiment.stopTime)
        self.step_size = float(self._description.defaultExperiment.stepSize)
        self._references = {variable.name: variable.valueReference for variable in self._description.modelVariables}
        self.parameters = self._variables("parameter")
        self.outputs = self._variables("output")
        (self.input,) = self._variables("input")
        names = [variable.name for variable in self.outputs]
        self.signals = [form.format(name) for form in ("{}", "der({})", "der({},2)") for name in names]

    def run(
        self,
        values: Mapping[str, float],
        times: Array,
        inputs: Array,
        track: Callable[[range], Iterable[int]] = iter,
    ) -> Recording:
        """Steps through the times with these parameters; inputs[n] is set at times[n].

        track wraps the step numbers and may show the progress.
        """
        record = Recording(times, inputs, {name: np.zeros(len(times)) for name in self.signals})
        try:
            with self._instance(values, times[-1], record) as fmu:
                self._sample(fmu, record, 0)
                for n in track(range(len(times) - 1)):
                    self._step(fmu, record, n)
                    self._sample(fmu, record, n + 1)
        except FMICallException as failure:
            raise FmuError(str(failure)) from failure
        return record

    @contextmanager
    def _instance(self, values: Mapping[str, float], stop: float, record: Recording) -> Iterator[FMU2Slave]:
        """The FMU after its initialization, unpacked into a folder of its own."""
        with tempfile.TemporaryDirectory(prefix=f"{self._archive.stem}-") as folder:
            fmpy.extract(str(self._archive), unzipdir=folder)
            with record.starting:
                fmu = self._initialized(folder, values, stop)
            try:
                yield fmu
                with record.ending:
                    fmu.terminate()
            finally:
                with record.ending:
                    fmu.freeInstance()

    def _initialized(self, folder: str, values: Mapping[str, float], stop: float) -> FMU2Slave:
        """An instance ready to step. One whose solver does not start releases itself, so it is not freed here."""
        try:
            fmu = instantiate_fmu(folder, self._description, "CoSimulation", debug_logging=True, logger=self._receive)
        except Exception as failure:  # FMPy raises nothing narrower
            raise FmuError(str(failure)) from failure
        fmu.setupExperiment(startTime=0.0, stopTime=stop)
        set_here = [variable for variable in self.parameters if variable.name in values]
        fmu.setReal([v.valueReference for v in set_here], [values[v.name] for v in set_here])
        fmu.enterInitializationMode()
        fmu.exitInitializationMode()
        return fmu

    def _step(self, fmu: FMU2Slave, record: Recording, n: int) -> None:
        with record.stepping:
            fmu.setReal([self.input.valueReference], [record.inputs[n]])
            fmu.doStep(record.times[n], record.times[n + 1] - record.times[n])

    def _sample(self, fmu: FMU2Slave, record: Recording, n: int) -> None:
        """Reads all signals. Derivatives are read as variables, which works for ports of any width."""
        references = [self._references[name] for name in self.signals]
        with record.stepping:
            values = fmu.getReal(references)
        for signal, value in zip(record.signals.values(), values, strict=True):
            signal[n] = value

    def _variables(self, causality: str) -> list[ModelVariable]:
        return [variable for variable in self._description.modelVariables if variable.causality == causality]

    def _receive(self, _environment: object, _instance: bytes, status: int, _category: bytes, message: bytes) -> None:
        self._log(status, message.decode(errors="replace").strip())
