"""The road under the quarter car."""

import numpy as np
from numpy.typing import NDArray

Array = NDArray[np.float64]


def bump(times: Array, speed: float) -> Array:
    """The road's height at some times: 1 m ahead a bump, 5 cm high and 2 m long, in the shape of a cosine."""
    distance, length, height = 1.0, 2.0, 0.05
    phase = np.clip((times - distance / speed) / (length / speed), 0.0, 1.0)
    return height / 2.0 * (1.0 - np.cos(2.0 * np.pi * phase))
