"""Which runs a study makes."""

import itertools

import numpy as np
from scipy.stats import qmc

from car_runs import DESIGN, Parameters

RANGES = {"k_c": (8000.0, 40000.0), "d_c": (400.0, 4000.0), "k_w": (100000.0, 250000.0)}
"""Stiffness and damping of the suspension, stiffness of the tyre: N/m, N s/m, N/m."""
SPEEDS = (8.0, 12.0, 16.0)
"""Speeds over the bump in m/s. No choice of the designer's, so suspensions are compared at the same speed."""


def sample(runs: int) -> list[Parameters]:
    """The first points of a Halton sequence, which fills the ranges evenly; a longer sample contains a shorter one."""
    points = qmc.Halton(len(DESIGN) + 1, rng=0).random(runs)
    lowest, highest = zip(*(RANGES[name] for name in DESIGN), strict=True)
    designs = np.round(qmc.scale(points[:, :-1], lowest, highest))
    speeds = np.array(SPEEDS)[(points[:, -1] * len(SPEEDS)).astype(int)]
    return [_parameters(design, speed) for design, speed in zip(designs.tolist(), speeds.tolist(), strict=True)]


def grid(values: int) -> list[Parameters]:
    """Every combination of so many values of each parameter, at every speed."""
    axes = [np.round(np.linspace(*RANGES[name], values)).tolist() for name in DESIGN]
    return [_parameters(design, speed) for *design, speed in itertools.product(*axes, SPEEDS)]


def _parameters(design: list[float], speed: float) -> Parameters:
    return dict(zip(DESIGN, design, strict=True)) | {"speed": speed}
