"""Pictures of the squeezing mechanism: its signals over time, and an animation of its links."""

from collections.abc import Sequence
from pathlib import Path
from typing import Any, TypeVar

import numpy as np
import plotly.graph_objects as go
from matplotlib.artist import Artist
from matplotlib.axes import Axes
from matplotlib.backends.backend_agg import FigureCanvasAgg
from matplotlib.figure import Figure
from matplotlib.lines import Line2D
from PIL import Image

from figures import moving
from master import Array, Recording
from report import Comparison, finish
from squeezer_motion import ANGLES, ARM_END, FORMS, P_BY, SECOND_ARM_END, A, B, C, ComplexArray, D, F, O, P, Point

AnyArtist = TypeVar("AnyArtist", bound=Artist)

TITLE = "Andrews' squeezing mechanism: seven bodies in closed loops"
LINKS = (
    ("crank", (O, F), "#1f5fa8"),
    ("link", (F, P_BY["link"]), "#e08a2e"),
    ("rocker", (B, P_BY["rocker"], D, B), "#3a8f4d"),
    ("arm", (A, ARM_END), "#c23b52"),
    ("rod", (ARM_END, P_BY["rod"]), "#8450a0"),
    ("second arm", (A, SECOND_ARM_END), "#7a6a58"),
    ("second rod", (SECOND_ARM_END, P_BY["second rod"]), "#2a9d9d"),
)
COLOURS = {
    "beta": "#1f5fa8",
    "theta": "#e08a2e",
    "gamma": "#3a8f4d",
    "phi": "#8450a0",
    "delta": "#c23b52",
    "omega": "#2a9d9d",
    "epsilon": "#7a6a58",
}
GREEK = {"beta": "β", "theta": "θ", "gamma": "γ", "phi": "φ", "delta": "δ", "omega": "ω", "epsilon": "ε"}
POSITIONS = {"F_x": "#b8a000", "F_y": "#9ccf3d", "P_x": "#e05fb0", "P_y": "#58b4f0"}
"""Other colours than the angles': the errors of all are in one panel."""
PANELS = (
    ("rad", {name: COLOURS[name] for name in ANGLES[:2]}),
    ("rad", {name: COLOURS[name] for name in ANGLES[2:]}),
    ("m", POSITIONS),
)
UNITS = ("rad", "1000 rad/s", "10⁶ rad/s²")
MOST_FRAMES = 120


def draw_signals(file: Path, comparison: Comparison) -> None:
    """The angles with their derivatives, fast ones separately; the points F and P; and the errors of all signals."""
    figure = Figure(figsize=(12, 12), layout="constrained")
    axes = figure.subplots(4, 2, sharex=True)
    figure.suptitle(TITLE, fontsize=14)
    for column, names in enumerate((ANGLES[:2], ANGLES[2:])):
        for order, (form, unit) in enumerate(zip(FORMS, UNITS, strict=True)):
            _draw_angles(axes[order, column], names, form, 1000.0**-order, comparison)
            finish(axes[order, column], f"{('angle', 'rate', 'acceleration')[order]} in {unit}")
        _legend_above(axes[0, column])
    _draw_positions(axes[3, 0], comparison)
    _draw_errors(axes[3, 1], comparison)
    for axis in axes[-1]:
        axis.set_xlabel("time in ms")
        axis.set_xlim(0.0, 1e3 * comparison.record.times[-1])
    figure.align_ylabels(axes)
    figure.savefig(file, dpi=110)


def _draw_angles(axis: Axes, names: tuple[str, ...], form: str, scale: float, comparison: Comparison) -> None:
    """The recorded signals as broad lines, the exact ones as thin lines in their place."""
    times = 1e3 * comparison.record.times
    for name in names:
        signal = scale * comparison.record.signals[form.format(name)]
        label = f"{GREEK[name]} {name}"
        axis.plot(times, signal, color=COLOURS[name], linewidth=3.0, alpha=0.7, label=label)
    for name in names:
        axis.plot(times, scale * comparison.exact[form.format(name)], color="black", linewidth=0.7)
    axis.plot([], [], color="black", linewidth=0.7, label="exact")


def _draw_positions(axis: Axes, comparison: Comparison) -> None:
    times = 1e3 * comparison.record.times
    for name, colour in POSITIONS.items():
        axis.plot(times, 1e3 * comparison.record.signals[name], color=colour, linewidth=3.0, alpha=0.8, label=name)
        axis.plot(times, 1e3 * comparison.exact[name], color="black", linewidth=0.7)
    finish(axis, "position in mm")
    _legend_above(axis)


def _draw_errors(axis: Axes, comparison: Comparison) -> None:
    """The largest error of all values, of all first and of all second derivatives."""
    names = [*ANGLES, *POSITIONS]
    for form, label in zip(FORMS, ("values", "first derivatives", "second derivatives"), strict=True):
        signals = [form.format(name) for name in names]
        errors = np.max([comparison.error(name) / comparison.range(name) for name in signals], axis=0)
        axis.semilogy(1e3 * comparison.record.times, np.where(errors > 0.0, errors, np.nan), linewidth=1.4, label=label)
    axis.axhline(comparison.tolerance, color="#b03030", linestyle="--", linewidth=1.0, label="allowed")
    finish(axis, "largest error / range")
    _legend_above(axis)


def _legend_above(axis: Axes) -> None:
    """A legend in one line, where no curve passes."""
    spacing = {"handlelength": 1.3, "columnspacing": 1.0}
    axis.legend(loc="lower center", bbox_to_anchor=(0.5, 1.0), frameon=False, ncols=6, **spacing)


def animate(file: Path, record: Recording) -> None:
    """The mechanism at the communication points, or at some of them when there are many, with the way of P so far."""
    last = len(record.times) - 1
    chosen = np.unique(np.linspace(0, last, min(last + 1, MOST_FRAMES)).astype(int))
    angles = np.stack([record.signals[name] for name in ANGLES], axis=-1)
    scene = _Scene(record.times, angles)
    frames = [scene.frame(n) for n in chosen]
    palette = frames[len(frames) // 2].quantize(128, Image.Quantize.FASTOCTREE)
    frames = [frame.quantize(palette=palette, dither=Image.Dither.NONE) for frame in frames]
    pauses = [60] * (len(frames) - 1) + [1500]
    frames[0].save(file, save_all=True, append_images=frames[1:], duration=pauses, loop=0, optimize=True)


class _Scene:
    """A figure of the mechanism, in mm. What does not move is drawn once, what moves in each frame on top of it."""

    def __init__(self, times: Array, angles: Array) -> None:
        self._times = times
        self._angles = angles
        self._trace = 1e3 * P.position(angles)
        figure = Figure(figsize=(6.4, 6.0), dpi=90)
        figure.subplots_adjust(left=0.11, right=0.97, bottom=0.09, top=0.93)
        self._canvas = FigureCanvasAgg(figure)
        self._axis = figure.add_subplot()
        self._moving: list[Artist] = []
        self._spring = self._line("spring", color="#808080", linewidth=1.3)
        self._fill = self._added(self._axis.fill([], [], color="#3a8f4d", alpha=0.15, animated=True)[0])
        look = {"linewidth": 4.5, "marker": "o", "markersize": 5.0, "markerfacecolor": "white"}
        self._links = [self._line(name, color=colour, markeredgecolor="black", **look) for name, _, colour in LINKS]
        self._way = self._line("way of P", color="black", linewidth=1.0)
        self._end = self._line("", color="black", marker="o", markersize=6.0)
        place = {"transform": self._axis.transAxes, "ha": "center", "family": "DejaVu Sans Mono"}
        self._title = self._added(self._axis.text(0.5, 1.02, "", animated=True, **place))
        self._draw_plane()
        self._canvas.draw()
        self._background = self._canvas.copy_from_bbox(figure.bbox)

    def frame(self, n: int) -> Image.Image:
        """The picture at the n-th communication point."""
        angles = self._angles[n]
        for line, (name, points, _) in zip(self._links, LINKS, strict=True):
            places = 1e3 * np.array([point.position(angles) for point in points])
            _place(line, places)
            if name == "rocker":
                self._fill.set_xy(np.column_stack((places.real, places.imag)))
        _place(self._spring, _zigzag(1e3 * C.origin, 1e3 * D.position(angles)))
        _place(self._way, self._trace[: n + 1])
        _place(self._end, self._trace[n : n + 1])
        beta = angles[ANGLES.index("beta")]
        turns = beta / (2.0 * np.pi)
        self._title.set_text(f"{1e3 * self._times[n]:4.1f} ms   crank angle β = {beta:5.2f} rad = {turns:5.2f} turns")

        self._canvas.restore_region(self._background)
        for artist in self._moving:
            self._axis.draw_artist(artist)
        return Image.fromarray(np.asarray(self._canvas.buffer_rgba())).convert("RGB")

    def _draw_plane(self) -> None:
        """The frame of the picture and the fixed points."""
        self._axis.set(xlim=(-85, 30), ylim=(-30, 80), aspect="equal", xlabel="x in mm", ylabel="y in mm")
        self._axis.grid(alpha=0.2, linewidth=0.6)
        self._axis.spines[["top", "right"]].set_visible(False)
        self._axis.legend(loc="upper left", frameon=False, fontsize=9)
        for name, point, beside in (("O", O, (9, -13)), ("A", A, (-20, -4)), ("B", B, (-20, -2)), ("C", C, (11, -4))):
            place = (1e3 * point.origin.real, 1e3 * point.origin.imag)
            self._axis.plot(*place, "^", color="#606060", markersize=13)
            self._axis.annotate(name, place, beside, textcoords="offset points", fontsize=12)

    def _line(self, label: str, **look: Any) -> Line2D:
        return self._added(self._axis.plot([], [], label=label, animated=True, **look)[0])

    def _added(self, artist: AnyArtist) -> AnyArtist:
        self._moving.append(artist)
        return artist


def moving_links(record: Recording) -> go.Figure:
    """The mechanism in motion, for the report."""
    angles = np.stack([record.signals[name] for name in ANGLES], axis=-1)
    fixed = go.Scatter(x=_mm([O, A, B, C], angles[0]).real, y=_mm([O, A, B, C], angles[0]).imag, mode="markers")
    fixed.update(marker={"symbol": "triangle-up", "size": 14, "color": "#606060"}, name="fixed points")

    def scene(n: int) -> list[go.Scatter]:
        spring = _zigzag(*_mm([C, D], angles[n]))
        grey = {"color": "#808080", "width": 1.5}
        traces = [fixed, go.Scatter(x=spring.real, y=spring.imag, name="spring", mode="lines", line=grey)]
        for name, points, colour in LINKS:
            places = _mm(points, angles[n])
            traces.append(go.Scatter(x=places.real, y=places.imag, name=name, line={"color": colour, "width": 5}))
        for trace in traces:
            trace.update(hoverinfo="skip")
        return traces

    figure = moving(scene, record.times, 7.0)
    figure.update_xaxes(range=[-85, 30], title_text="x in mm")
    figure.update_yaxes(range=[-30, 85], title_text="y in mm")
    return figure


def _mm(points: Sequence[Point], angles: Array) -> ComplexArray:
    return np.array([1e3 * point.position(angles) for point in points], np.complex128)


def _place(line: Line2D, places: ComplexArray) -> None:
    line.set_data(places.real, places.imag)


def _zigzag(start: complex, end: complex) -> ComplexArray:
    """The shape of a spring between two points."""
    along = np.concatenate(([0.0, 0.15], np.linspace(0.18, 0.82, 14), [0.85, 1.0]))
    across = np.concatenate(([0.0, 0.0], 2.2 * (-1.0) ** np.arange(14), [0.0, 0.0]))
    return start + (along + 1j * across / abs(end - start)) * (end - start)
