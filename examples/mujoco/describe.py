#!/usr/bin/env python3
"""describe.py MODEL: prints the description from which `tessaro-fmu pack` makes the FMU of an MJCF model.

All actuators become inputs, all sensors outputs, and each ${PARAMETER=DEFAULT} a parameter. Needs the package mujoco.
"""

import contextlib
import json
import re
import sys
from collections.abc import Mapping
from pathlib import Path

import mujoco
from mujoco import mjtJoint, mjtSensor

import fmu_batch

UNITS = {
    mjtSensor.mjSENS_TOUCH: "N",
    mjtSensor.mjSENS_ACCELEROMETER: "m/s2",
    mjtSensor.mjSENS_VELOCIMETER: "m/s",
    mjtSensor.mjSENS_GYRO: "rad/s",
    mjtSensor.mjSENS_FORCE: "N",
    mjtSensor.mjSENS_TORQUE: "N.m",
    mjtSensor.mjSENS_RANGEFINDER: "m",
    mjtSensor.mjSENS_BALLANGVEL: "rad/s",
    mjtSensor.mjSENS_FRAMEPOS: "m",
    mjtSensor.mjSENS_FRAMELINVEL: "m/s",
    mjtSensor.mjSENS_FRAMEANGVEL: "rad/s",
    mjtSensor.mjSENS_FRAMELINACC: "m/s2",
    mjtSensor.mjSENS_FRAMEANGACC: "rad/s2",
    mjtSensor.mjSENS_SUBTREECOM: "m",
    mjtSensor.mjSENS_SUBTREELINVEL: "m/s",
    mjtSensor.mjSENS_E_POTENTIAL: "J",
    mjtSensor.mjSENS_E_KINETIC: "J",
    mjtSensor.mjSENS_CLOCK: "s",
}


def load(path: Path, values: Mapping[str, str] = {}) -> mujoco.MjModel:
    """Compiles a template with these values of parameters, otherwise its defaults."""
    with contextlib.chdir(path.parent):  # other files that it names count from there
        return mujoco.MjSpec.from_string(fmu_batch.fill(fmu_batch.read(path.name), values)).compile()


def resources(path: Path) -> list[str]:
    """The other files that the model names."""
    files = {Path(file).resolve() for file in mujoco.mju_getXMLDependencies(str(path))} - {path}
    if apart := sorted(str(file) for file in files if file.parent != path.parent):
        raise ValueError(f"the model and {apart[0]} must be in one folder, as they will be in the FMU")
    return sorted(file.name for file in files)


def unit_of(model: mujoco.MjModel, sensor: int) -> str | None:
    kind = mjtSensor(model.sensor_type[sensor])
    if kind not in (mjtSensor.mjSENS_JOINTPOS, mjtSensor.mjSENS_JOINTVEL):
        return UNITS.get(kind)
    turns = model.jnt_type[model.sensor_objid[sensor]] == mjtJoint.mjJNT_HINGE
    return ("rad" if turns else "m") + ("" if kind == mjtSensor.mjSENS_JOINTPOS else "/s")


def has_derivatives(model: mujoco.MjModel, sensor: int) -> bool:
    """As in tscicos.cpp."""
    is_position = model.sensor_type[sensor] == mjtSensor.mjSENS_JOINTPOS
    return is_position and model.sensor_cutoff[sensor] == 0.0 and model.sensor_historyadr[sensor] < 0


def signals(name: str, count: int, unit: str | None = None) -> list[str]:
    """The lines of an element of the model, one for each of its numbers."""
    if not name:
        raise ValueError("an actuator or sensor of the model has no name")
    quoted = name if re.fullmatch(r"[A-Za-z_]\w*(\.[A-Za-z_]\w*)*", name, re.ASCII) else f"'{name}'"
    lines = []
    for index in [f"[{k}]" for k in range(count)] if count > 1 else [""]:
        keys = {"name": quoted + index, "solver_name": name + index, "unit": unit}
        if keys["name"] == keys["solver_name"]:
            del keys["solver_name"]
        lines.append("    { " + ", ".join(f"{key} = {json.dumps(text)}" for key, text in keys.items() if text) + " },")
    return lines


def port(head: str, lines: list[str]) -> list[str]:
    return ["", head, "signals = [", *lines, "]"] if lines else []


def parameter(name: str, default: str) -> list[str]:
    try:
        start = repr(float(default))
    except ValueError:
        start = json.dumps(default)
    return ["", "[[parameter]]", f"name = {json.dumps(name)}", f"start = {start}"]


def describe(path: Path) -> list[str]:
    model = load(path)
    inputs, positions, others = [], [], []
    for a in range(model.nactuator):
        inputs += signals(model.actuator(a).name, model.actuator_ctrlnum[a])
    for s in range(model.nsensor):
        lines = signals(model.sensor(s).name, model.sensor_dim[s], unit_of(model, s))
        (positions if has_derivatives(model, s) else others).extend(lines)
    return [
        "[model]",
        f"name = {json.dumps(path.stem)}",
        f"template = {json.dumps(path.name)}",
        f"resources = {json.dumps(resources(path))}",
        "final_time = 10.0",
        "",
        "[experiment]",
        f"step_size = {round(10 * model.opt.timestep, 12)}  # a multiple of the model's time step",
        *port("[[input]]", inputs),
        *port("[[output]]", positions),
        *port("[[output]]\nderivatives = 0", others),
        *(line for item in fmu_batch.parameters(fmu_batch.read(str(path))).items() for line in parameter(*item)),
    ]


if __name__ == "__main__":
    try:
        print("\n".join(describe(Path(sys.argv[1]).resolve())))
    except (IndexError, OSError, ValueError) as error:
        sys.exit(f"describe.py: {error}")
