"""The quarter car, and two of it on the squeezing mechanism, in other masters, each in an environment of its own.

The signals of each master are compared with FMPy's and with the exact solution.
"""

import json
import os
import subprocess
import tempfile
import unittest
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, replace
from functools import cache, partial
from pathlib import Path

import numpy as np
from fmpy import extract

import motion
from isolated import in_a_process
from job import Job
from master import Array
from motion import BUMP, CAR, CAR_TIMES, SQUEEZER, SQUEEZER_TIMES, Instance

Signals = dict[str, Array]

TOLERANCES = {"FMPy": 1e-10, "the exact solution": motion.TOLERANCE}
"""How far signals may be from each other, as a part of their range."""
TIME_LIMIT = 120
OUTPUTS = {str(CAR): motion.CAR_OUTPUTS, str(SQUEEZER): motion.SQUEEZER_OUTPUTS}
STIFFNESS, OTHER_STIFFNESS, DRIVE = 25000.0, 20000.0, 0.04


@dataclass(frozen=True)
class Master:
    """What its users have to know of a master."""

    sets_parameters_in_time: bool = True
    """Otherwise it sets them in initialization mode, when the solver runs already, and the start values hold."""
    reads_locals: bool = True
    """Whether it gives the derivatives, which are local variables; otherwise outputs alone."""
    hands_on_the_new_value: bool = False
    """Whether a connected input holds, over a step, the output at the end of this step, or else at its beginning."""

    def arriving(self, archive: Path, **parameter: float) -> dict[str, float]:
        """The value of the parameter that the solver gets."""
        start = motion.start_values(archive)
        return parameter if self.sets_parameters_in_time else {name: start[name] for name in parameter}

    def signals(self, job: Job) -> list[str]:
        names = motion.with_derivatives if self.reads_locals else list
        return [f"{instance}.{name}" for instance, archive in job.archives.items() for name in names(OUTPUTS[archive])]


MASTERS = {
    "libcosimpy": Master(),
    "ecospy": Master(sets_parameters_in_time=False),
    "fmucontainer": Master(),
    "cofmupy": Master(reads_locals=False, hands_on_the_new_value=True),
    "pathsim": Master(sets_parameters_in_time=False, reads_locals=False),
}

CAR_JOB = Job(
    archives={"car": str(CAR)},
    parameters={"car.k_c": STIFFNESS},
    inputs={"car.z_road": BUMP[:-1].tolist()},
    step=0.01,
    steps=len(CAR_TIMES) - 1,
)
BOTH_JOB = Job(
    archives={"car": str(CAR), "other": str(CAR), "squeezer": str(SQUEEZER)},
    parameters={"car.k_c": STIFFNESS, "other.k_c": OTHER_STIFFNESS, "squeezer.drive": DRIVE},
    connections=[("squeezer.F_y", "car.z_road"), ("squeezer.F_y", "other.z_road")],
    step=0.0003,
    steps=len(SQUEEZER_TIMES) - 1,
)


def drive(name: str, job: Job) -> Signals:
    """The signals that a master gives at the ends of the steps."""
    environment = motion.MASTERS / name
    if not (environment / "made-of").exists():
        raise AssertionError(f"{name} is not installed; scripts/setup.sh masters installs it")
    with tempfile.TemporaryDirectory() as folder:
        job.write(Path(folder, "job"))
        driver = Path(__file__).parent / f"drive_{name}.py"
        ended = subprocess.run(
            [environment / "bin" / "python", driver, "job", "signals"],
            cwd=folder,
            env=os.environ | {"TMPDIR": folder},
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            timeout=TIME_LIMIT,
        )
        if ended.returncode != 0:
            raise AssertionError(f"{name} ended with {ended.returncode}: {ended.stdout.decode(errors='replace')}")
        signals = json.loads(Path(folder, "signals").read_text())
    return {signal: np.array(values) for signal, values in signals.items()}


def in_fmpy(archive: Path, times: Array, inputs: dict[str, Array], parameters: dict[str, float]) -> Signals:
    signals = motion.with_derivatives(OUTPUTS[str(archive)])
    return motion.drive(Instance(extract(archive), times, signals), inputs, **parameters)


def car_motions(times: Array, road: Array, parameter: dict[str, float]) -> list[Signals]:
    """By FMPy, and exactly."""
    recorded, _ = in_a_process(partial(in_fmpy, CAR, times, {"z_road": road}, parameter))
    return [recorded, motion.exact_car_on(times, road, **parameter)]


@cache
def squeezer_motions(drive: float) -> list[Signals]:
    recorded, _ = in_a_process(partial(in_fmpy, SQUEEZER, SQUEEZER_TIMES, {}, {"drive": drive}))
    return [recorded, motion.exact_squeezer(drive)]


def motions_of_both(master: Master) -> dict[str, list[Signals]]:
    squeezer = squeezer_motions(**master.arriving(SQUEEZER, drive=DRIVE))
    heights = squeezer[0]["F_y"]
    road = np.append(heights[1:], 0.0) if master.hands_on_the_new_value else heights
    return {
        "car": car_motions(SQUEEZER_TIMES, road, master.arriving(CAR, k_c=STIFFNESS)),
        "other": car_motions(SQUEEZER_TIMES, road, master.arriving(CAR, k_c=OTHER_STIFFNESS)),
        "squeezer": squeezer,
    }


class OtherMasters(unittest.TestCase):
    longMessage = False

    def test_the_car_moves_over_the_bump(self) -> None:
        self.check(CAR_JOB, lambda master: {"car": car_motions(CAR_TIMES, BUMP, master.arriving(CAR, k_c=STIFFNESS))})

    def test_two_cars_move_on_the_crank_pin_of_the_mechanism(self) -> None:
        self.check(BOTH_JOB, motions_of_both)

    def check(self, job: Job, motions_of: Callable[[Master], dict[str, list[Signals]]]) -> None:
        """Every master's signals against the motions of each instance, by FMPy and exactly."""
        with ThreadPoolExecutor(2) as pool:
            runs = {
                name: pool.submit(drive, name, replace(job, signals=master.signals(job)))
                for name, master in MASTERS.items()
            }
        for name, master in MASTERS.items():
            with self.subTest(name):
                signals = runs[name].result()
                self.assertCountEqual(signals, master.signals(job))
                for instance, motions in motions_of(master).items():
                    for (other, tolerance), expected in zip(TOLERANCES.items(), motions, strict=True):
                        ends = {f"{instance}.{signal}": values[1:] for signal, values in expected.items()}
                        own = {signal: values for signal, values in signals.items() if signal in ends}
                        away = motion.distance(own, ends)
                        self.assertLessEqual(away, tolerance, f"{instance}: {away:.1e} of the range from {other}")


if __name__ == "__main__":
    unittest.main()
