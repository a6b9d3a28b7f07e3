"""Compares this example's FMUs with the engine and with theory: compare.py FOLDER

FOLDER has the FMUs and gets a picture of the rover's way, rover.png. Exit code: 0 when everything agrees.
"""

import contextlib
import math
import sys
import time
from collections.abc import Mapping
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

from both_ways import Engine, Fmu

MODELS = Path(__file__).resolve().parent / "model"
STEP = 0.01


@dataclass
class Case:
    name: str
    values: Mapping[str, float]
    inputs: np.ndarray


def pendulum() -> Case:
    """It swings higher and higher and goes over. The torque is in N.m."""
    times = np.arange(2000) * STEP
    values = {"length": 0.7, "mass": 1.3, "damping": 0.05, "start_angle": 0.3}
    return Case("Pendulum", values, (0.2 * times * np.sin(3.0 * times))[:, np.newaxis])


def rover(payload: float) -> Case:
    """It drives a circle to the left, one to the right, straight on, and halts. The wheels' speeds are in rad/s."""
    speeds = np.full((1500, 2), 8.0)
    speeds[:590] += -2.0, 2.0
    speeds[590:1180] += 2.0, -2.0
    speeds[1300:] = 0.0
    return Case("Rover", {"payload": payload}, speeds)


def exact_period(length: float, mass: float, amplitude: float) -> float:
    """Of a ball of 0.05 m on a massless rod, in s, by the arithmetic-geometric mean."""
    inertia = mass * (length**2 + 0.4 * 0.05**2)
    a, b = 1.0, math.cos(amplitude / 2)
    while a - b > 1e-15:
        a, b = (a + b) / 2, math.sqrt(a * b)
    return 2 * math.pi * math.sqrt(inertia / (mass * 9.81 * length)) / a


def measured_period(times: np.ndarray, angle: np.ndarray, speed: np.ndarray) -> float:
    """Between the first and the last passage upward through 0."""
    before = np.flatnonzero((angle[:-1] < 0) & (angle[1:] >= 0))
    passages = times[before] - angle[before] / speed[before]
    return (passages[-1] - passages[0]) / (len(passages) - 1)


class Table:
    """Prints a row for each comparison."""

    def __init__(self, folder: Path) -> None:
        self._folder = folder
        self.agrees = True

    def row(self, what: str, result: str, agrees: bool) -> None:
        self.agrees &= agrees
        print(f"{what:40}{'' if agrees else 'WRONG: '}{result}", flush=True)

    def with_engine(self, what: str, *cases: Case) -> dict[str, np.ndarray]:
        """Steps instances at the same time, each on a thread of its own. Gives the signals of the first."""
        different, numbers = 0, 0
        with contextlib.ExitStack() as ending, ThreadPoolExecutor(len(cases)) as pool:
            fmus = [ending.enter_context(Fmu(self._folder / f"{case.name}.fmu", case.values)) for case in cases]
            began = time.perf_counter()
            results = list(pool.map(lambda fmu, case: fmu.run(case.inputs, STEP), fmus, cases))
            seconds = time.perf_counter() - began
        for fmu, case, result in zip(fmus, cases, results, strict=True):
            engine = Engine(MODELS / f"{case.name}.mdl", case.values)
            expected = engine.run(case.inputs, STEP, fmu.signals)
            different += np.count_nonzero(result.view(np.int64) != expected.view(np.int64))
            numbers += result.size
        steps = sum(len(case.inputs) for case in cases)
        text = f"{different} of {numbers} numbers differ in {steps} steps, {1e6 * seconds / steps:.0f} us a step"
        self.row(what, text, different == 0)
        return dict(zip(fmus[0].signals, results[0].T, strict=True))

    def with_theory(self, amplitude: float) -> None:
        """Swings the pendulum freely, in steps of 1 ms for 60 s."""
        length, mass, step = 0.8, 1.5, 0.001
        with Fmu(self._folder / "Pendulum.fmu", {"length": length, "mass": mass, "start_angle": amplitude}) as fmu:
            result = dict(zip(fmu.signals, fmu.run(np.zeros((60000, 1)), step).T, strict=True))
        times = np.arange(60001) * step
        exact = exact_period(length, mass, amplitude)
        error = measured_period(times, result["angle"], result["der(angle)"]) / exact - 1
        self.row(f"period at {amplitude:g} rad", f"{exact:.9f} s, relative error {error:.1e}", abs(error) < 1e-8)
        energy = result["kinetic_energy"] + result["potential_energy"]
        drift = np.ptp(energy) / np.ptp(result["potential_energy"])
        self.row(f"energy at {amplitude:g} rad", f"changes by {drift:.1e} of the swing's", drift < 1e-8)


def draw(result: Mapping[str, np.ndarray], file: Path) -> None:
    figure, axes = plt.subplots(figsize=(6, 5), layout="constrained")
    x, y = result["position[0]"], result["position[1]"]
    axes.plot(x, y, linewidth=1.5)
    axes.quiver(x[::75], y[::75], result["forward[0]"][::75], result["forward[1]"][::75], color="C1", zorder=2)
    axes.set(title="The rover's way, and where it looks every 0.75 s", xlabel="x in m", ylabel="y in m", aspect="equal")
    axes.grid(alpha=0.3)
    figure.savefig(file, dpi=100)


def main(folder: Path) -> int:
    table = Table(folder)
    table.with_engine("pendulum against the engine", pendulum())
    way = table.with_engine("rover against the engine", rover(2.0))
    table.with_engine("4 rovers on 4 threads", *[rover(0.5 * n) for n in range(1, 5)])
    table.with_theory(0.01)
    table.with_theory(2.0)
    draw(way, folder / "rover.png")
    return 0 if table.agrees else 1


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
