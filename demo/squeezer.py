"""The run of the squeezing mechanism, driven only by a constant torque on the crank; its checks and pictures."""

from collections.abc import Mapping

import numpy as np
import plotly.graph_objects as go

import squeezer_pictures
from master import Array, Recording
from report import Checks, Comparison
from session import Session
from squeezer_motion import FORMS, P_BY, F, coordinates, exact

__all__ = ["NOTHING_MOVES", "PANELS", "TITLE", "check", "draw", "exact", "input_signal", "moving"]

TITLE = squeezer_pictures.TITLE
PANELS = squeezer_pictures.PANELS
NOTHING_MOVES = "the mechanism has no time to move"
PUBLISHED_TIME = 0.03
PUBLISHED = {
    "beta": 15.81077119629904,
    "theta": -15.75637105984298,
    "gamma": 0.04082224013073101,
    "phi": -0.5347301163226948,
    "delta": 0.5244099658805304,
    "omega": 0.5347301163226948,
    "epsilon": 1.048080741042263,
}
PUBLISHED_TOLERANCE = 1e-8
GEOMETRY_TOLERANCE = 1e-9
STEP_FACTORS = (1, 3, 10)


def input_signal(times: Array) -> Array:
    """The torque on the crank in addition to its drive: none."""
    return np.zeros(len(times))


def check(session: Session, comparison: Comparison) -> list[str]:
    """Compares the run with the published angles, the geometry and runs with longer steps; returns the failures."""
    checks = [_geometry(comparison), _steps(session, comparison)]
    if session.has_defaults() and np.isclose(session.times[-1], PUBLISHED_TIME):
        checks.insert(0, _published(comparison))
    else:
        session.console.print("The published angles are those of the default parameters at 0.03 s: not compared.")
    for found in checks:
        found.show(session.console)
    return [failure for found in checks for failure in found.failures]


def draw(session: Session, comparison: Comparison) -> list[str]:
    """All signals over time, and the mechanism in motion."""
    squeezer_pictures.draw_signals(session.out / "squeezer.png", comparison)
    squeezer_pictures.animate(session.out / "squeezer.gif", comparison.record)
    return ["squeezer.png", "squeezer.gif"]


def moving(record: Recording) -> go.Figure:
    return squeezer_pictures.moving_links(record)


def _published(comparison: Comparison) -> Checks:
    checks = Checks(
        f"Published angles at {PUBLISHED_TIME} s, at most {PUBLISHED_TOLERANCE:g} away",
        ("angle", "published", "reached", "relative error"),
    )
    for name, published in PUBLISHED.items():
        reached = comparison.record.signals[name][-1]
        error = abs(reached / published - 1.0)
        checks.add(name, error <= PUBLISHED_TOLERANCE, f"{published:.12f}", f"{reached:.12f}", f"{error:.1e}")
    return checks


def _geometry(comparison: Comparison) -> Checks:
    """F, and P along each chain, with their derivatives, from the recorded angles and their derivatives."""
    checks = Checks(
        f"F and P as the angles place them, error / range at most {GEOMETRY_TOLERANCE:g}",
        ("point, by", "position", "velocity", "acceleration"),
    )
    for name, way, point in (("F", "crank", F), *(("P", way, point) for way, point in P_BY.items())):
        computed = coordinates(name, point, comparison.record.signals)
        errors = [
            _difference(comparison, computed, [form.format(f"{name}_{axis}") for axis in "xy"]) for form in FORMS
        ]
        passes = all(error <= GEOMETRY_TOLERANCE for error in errors)
        checks.add(f"{name}, {way}", passes, *(f"{error:.1e}" for error in errors))
    return checks


def _steps(session: Session, comparison: Comparison) -> Checks:
    """The step of the run and longer ones, whose communication points are among those of the run."""
    record = comparison.record
    checks = Checks(
        f"Other communication steps, differences at most {comparison.tolerance:g} of the range",
        ("step", "steps", "largest difference / range", "time in the steps"),
    )
    for factor in STEP_FACTORS:
        last = len(record.times) - 1
        chosen = np.append(np.arange(0, last, factor), last)
        other = session.run_again(chosen) if factor > 1 else record
        difference = _difference(comparison, other.signals, list(record.signals), chosen)
        checks.add(
            f"{np.max(np.diff(other.times)):g} s",
            difference <= comparison.tolerance,
            f"{len(chosen) - 1}",
            f"{difference:.1e}" if factor > 1 else "the run itself",
            f"{other.stepping.seconds:.2f} s",
        )
    return checks


def _difference(
    comparison: Comparison, others: Mapping[str, Array], names: list[str], at: slice | Array = slice(None)
) -> float:
    """The largest distance of the recorded signals at some points from others, relative to the signals' ranges."""
    recorded = comparison.record.signals
    return float(np.max([np.abs(recorded[name][at] - others[name]) / comparison.range(name) for name in names]))
