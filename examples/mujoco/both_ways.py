"""Runs a model both ways: as an FMU in FMPy, and in the engine's own Python package."""

import contextlib
import copy
import ctypes
import itertools
import tempfile
from collections import defaultdict
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Self

import fmpy
import mujoco
import numpy as np
from fmpy import fmi2
from fmpy.logging import addLoggerProxy

import describe

# FMPy keeps one receiver of messages for the process, so all instances share this one.
messages: dict[str, list[str]] = defaultdict(list)
callbacks = fmi2.fmi2CallbackFunctions()
callbacks.logger = fmi2.fmi2CallbackLoggerTYPE(lambda _, name, *rest: messages[name.decode()].append(rest[-1].decode()))
callbacks.allocateMemory = fmi2.fmi2CallbackAllocateMemoryTYPE(fmi2.calloc)
callbacks.freeMemory = fmi2.fmi2CallbackFreeMemoryTYPE(fmi2.free)
addLoggerProxy(ctypes.byref(callbacks))
instance_names = (f"instance {n}" for n in itertools.count())


class Fmu:
    """An initialized instance of an FMU."""

    def __init__(self, fmu: Path, values: Mapping[str, float] = {}) -> None:
        """`fmu` is an archive, or a folder into which one is unpacked."""
        self.time = 0.0
        self._failed = False
        self.messages = messages[name := next(instance_names)]
        with contextlib.ExitStack() as ending:
            folder = ending.enter_context(tempfile.TemporaryDirectory())
            unpacked = str(fmu) if fmu.is_dir() else fmpy.extract(str(fmu), folder)
            description = fmpy.read_model_description(unpacked)
            variables = description.modelVariables
            self.references = {variable.name: variable.valueReference for variable in variables}
            self.inputs = [variable.name for variable in variables if variable.causality == "input"]
            self.signals = [variable.name for variable in variables if variable.initial == "calculated"]
            identifier = description.coSimulation.modelIdentifier
            self.slave = fmi2.FMU2Slave(
                guid=description.guid, modelIdentifier=identifier, unzipDirectory=unpacked, instanceName=name
            )
            self._start(values)
            self._ending = ending.pop_all()

    def _start(self, values: Mapping[str, float]) -> None:
        self.slave.instantiate(callbacks=callbacks, loggingOn=True)
        self.slave.setupExperiment(startTime=0.0)
        self.set(values)
        self.slave.enterInitializationMode()
        self.slave.exitInitializationMode()

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        if not self._failed:
            self.slave.terminate()
        self.slave.freeInstance()
        self._ending.close()

    def set(self, values: Mapping[str, float]) -> None:
        self.slave.setReal([self.references[name] for name in values], list(values.values()))

    def get(self, names: Sequence[str]) -> list[float]:
        return self.slave.getReal([self.references[name] for name in names])

    def step(self, size: float) -> None:
        self._failed = True
        self.slave.doStep(self.time, size)
        self._failed = False
        self.time += size

    def run(self, inputs: np.ndarray, size: float) -> np.ndarray:
        """All signals at the start and after each step; a row of `inputs` holds for a step."""
        rows = [self.get(self.signals)]
        for row in inputs:
            self.set(dict(zip(self.inputs, row, strict=True)))
            self.step(size)
            rows.append(self.get(self.signals))
        return np.array(rows)


class Engine:
    """A template's model in the engine. Signals have the names of the FMU."""

    def __init__(self, template: Path, values: Mapping[str, float] = {}) -> None:
        texts = {name: f"{value:.6f}" for name, value in values.items()}  # as the FMU passes them on
        self.model = describe.load(template, texts)
        self.data = mujoco.MjData(self.model)
        if self.model.nkey > 0:
            mujoco.mj_resetDataKeyframe(self.model, self.data, 0)

    def get(self, names: Sequence[str]) -> list[float]:
        """Evaluates the sensors on a copy, so that nothing but steps is made with the model itself."""
        now = copy.copy(self.data)
        mujoco.mj_forward(self.model, now)
        return [self._value(now, name) for name in names]

    def _value(self, data: mujoco.MjData, name: str) -> float:
        name = name.replace("'", "")
        if name.startswith("der("):
            sensor, _, second = name[4:-1].partition(",")
            joint = data.joint(self.model.sensor(sensor).objid[0])
            return (joint.qacc if second else joint.qvel)[0]
        sensor, _, index = name.rstrip("]").partition("[")
        return data.sensor(sensor).data[int(index or 0)]

    def run(self, inputs: np.ndarray, size: float, signals: Sequence[str]) -> np.ndarray:
        """As `Fmu.run`; the inputs are all actuators in the model's order."""
        rows = [self.get(signals)]
        for row in inputs:
            self.data.ctrl[:] = row
            mujoco.mj_step(self.model, self.data, nstep=round(size / self.model.opt.timestep))
            rows.append(self.get(signals))
        return np.array(rows)
