"""The quarter car in motion on its road, to scale."""

import numpy as np
import plotly.graph_objects as go

from figures import moving
from master import Array, Recording
from road import bump

SPEED = 5.0
RADIUS = 0.3
BODY = (0.75, 1.05)
"""Heights of the lower and the upper edge of the body at rest, in m."""
AHEAD = np.linspace(-1.3, 1.3, 66)
TURN = np.linspace(0.0, 2.0 * np.pi, 49)


def car(record: Recording) -> go.Figure:
    def scene(n: int) -> list[go.Scatter]:
        wheel, body = RADIUS + record.signals["z_w"][n], record.signals["z_c"][n]
        lower, upper = (height + body for height in BODY)
        return [
            _line(AHEAD, bump(record.times[n] + AHEAD / SPEED, SPEED), "road", "#8c8c8c", fill="tozeroy"),
            _line(RADIUS * np.cos(TURN), wheel + RADIUS * np.sin(TURN), "wheel", "#e08a2e"),
            _line(*_spring(wheel, lower), "suspension", "#3a8f4d"),
            _line(np.array([-0.9, 0.9, 0.9, -0.9, -0.9]), _box(lower, upper), "body", "#1f5fa8", fill="toself"),
        ]

    figure = moving(scene, record.times, float(record.times[-1]))
    figure.update_xaxes(range=[-1.3, 1.3], title_text="m")
    figure.update_yaxes(range=[-0.1, 1.25])
    return figure


def _line(x: Array, y: Array, name: str, colour: str, **more: str) -> go.Scatter:
    return go.Scatter(x=x, y=y, name=name, mode="lines", line={"color": colour, "width": 3}, hoverinfo="skip", **more)


def _box(lower: float, upper: float) -> Array:
    return np.array([lower, lower, upper, upper, lower])


def _spring(lower: float, upper: float) -> tuple[Array, Array]:
    across = np.concatenate(([0.0], 0.06 * (-1.0) ** np.arange(9), [0.0]))
    return across, np.linspace(lower, upper, len(across))
