"""The quarter car: the road it drives over and its exact motion, computed without the solver.

Body and wheel move up and down only, m_c z_c'' = F_s and m_w z_w'' = k_w (z_road - z_w) - F_s, with
F_s = k_c (z_w - z_c) + d_c (z_w' - z_c'). The state is (z_c, z_c', z_w, z_w'); the car starts from rest.
"""

from collections.abc import Mapping

import numpy as np
import plotly.graph_objects as go
from scipy.linalg import expm

import quarter_car_scene
import report
from master import Array, Recording
from road import bump
from session import Session

TITLE = "Quarter car over a bump"
NOTHING_MOVES = "no step meets the bump"
OUTPUTS = ("z_c", "z_w", "F_s")
PANELS = (("m", {"z_c": "#1f5fa8", "z_w": "#e08a2e"}), ("N", {"F_s": "#3a8f4d"}))


def input_signal(times: Array) -> Array:
    """The road at 5 m/s: the bump is under the wheel from 0.2 s to 0.6 s."""
    return bump(times, quarter_car_scene.SPEED)


def exact(parameters: Mapping[str, float], times: Array, road: Array) -> dict[str, Array]:
    """Every output, "z_c", with its derivatives, "der(z_c)" and "der(z_c,2)", at each of the times.

    road[n] is the road's height from times[n] to times[n + 1]. Where a derivative jumps with the road, its value is the
    one before the jump: the road that a step began with applies up to its end.
    """
    a, b, c = _matrices(**parameters)
    states = _states(a, b, times, road)
    before = np.concatenate(([0.0], road[:-1]))
    rates = states @ a.T + np.outer(before, b)

    signals: dict[str, Array] = {}
    for name, row in zip(OUTPUTS, c, strict=True):
        signals[name] = states @ row
        signals[f"der({name})"] = rates @ row
        signals[f"der({name},2)"] = rates @ a.T @ row
    return signals


def _matrices(m_c: float, m_w: float, k_c: float, d_c: float, k_w: float) -> tuple[Array, Array, Array]:
    """A, b and C of x' = A x + b z_road, y = C x."""
    body, body_rate, wheel, wheel_rate = np.eye(4)
    force = k_c * (wheel - body) + d_c * (wheel_rate - body_rate)
    a = np.array([body_rate, force / m_c, wheel_rate, (-k_w * wheel - force) / m_w])
    b = np.array([0.0, 0.0, 0.0, k_w / m_w])
    return a, b, np.array([body, wheel, force])


def _states(a: Array, b: Array, times: Array, road: Array) -> Array:
    """The states at the times, from rest, by the matrix exponential of the system with its constant input appended."""
    system = np.zeros((5, 5))
    system[:4, :4] = a
    system[:4, 4] = b
    states = np.zeros((len(times), 4))
    for n, length in enumerate(np.diff(times)):
        states[n + 1] = expm(system * length)[:4] @ np.append(states[n], road[n])
    return states


def check(_session: Session, _comparison: report.Comparison) -> list[str]:
    """There is nothing to check besides the exact solution."""
    return []


def draw(session: Session, comparison: report.Comparison) -> list[str]:
    """All signals over time, with their errors."""
    report.draw(session.out / "quarter_car.png", TITLE, session.master.input, session.master.outputs, comparison)
    return ["quarter_car.png"]


def moving(record: Recording) -> go.Figure:
    return quarter_car_scene.car(record)
