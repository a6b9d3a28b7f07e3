"""Figures for the reports: signals over time with their errors, and scenes in motion."""

from collections.abc import Callable, Mapping, Sequence

import numpy as np
import plotly.graph_objects as go
from fmpy.model_description import ModelVariable
from plotly.subplots import make_subplots

from master import Array
from report import Comparison

Panel = tuple[str, Mapping[str, str]]
"""A unit, and the signals that are drawn together with their colours."""

LEGEND = {"orientation": "h", "x": 0.0, "y": 1.01, "yanchor": "bottom"}
GRID = {"gridcolor": "#e4e4e4", "zerolinecolor": "#c8c8c8", "exponentformat": "power"}
ALLOWED = "#b03030"
MOST_FRAMES = 120


def look(figure: go.Figure) -> None:
    """The look of all figures."""
    margins = {"l": 10, "r": 10, "t": 10, "b": 10}
    figure.update_layout(margin=margins, legend=LEGEND, plot_bgcolor="white", hoverlabel={"namelength": -1})
    figure.update_xaxes(**GRID, automargin=True)
    figure.update_yaxes(**GRID, automargin=True)


def over_time(
    panels: Sequence[Panel], form: str, suffix: str, driven: ModelVariable, comparison: Comparison
) -> go.Figure:
    """The signals of a form, such as "der({})", with the exact ones over them, and at the bottom their errors.

    The suffix makes the unit of this form from that of the values. The input is where its unit is.
    """
    bottom = len(panels) + 1
    figure = make_subplots(bottom, 1, shared_xaxes=True, vertical_spacing=0.04)
    for row, (unit, colours) in enumerate(panels, start=1):
        if unit + suffix == driven.unit:
            _add_input(figure, row, driven.name, comparison)
        for name, colour in colours.items():
            _add_signal(figure, row, form.format(name), colour, comparison)
        for name in colours:
            _add_exact(figure, row, form.format(name), comparison)
        for name, colour in colours.items():
            _add_error(figure, bottom, form.format(name), colour, comparison)
        figure.update_yaxes(title_text=unit + suffix, row=row)
    _name_exact(figure)
    figure.add_hline(comparison.tolerance, line={"color": ALLOWED, "dash": "dash", "width": 1}, row=bottom)
    figure.update_yaxes(title_text="error / range", type="log", row=bottom)
    figure.update_xaxes(title_text="time in s", row=bottom)
    look(figure)
    return figure


def _add_input(figure: go.Figure, row: int, name: str, comparison: Comparison) -> None:
    trace = go.Scatter(x=comparison.record.times, y=comparison.record.inputs, name=name, mode="lines", fill="tozeroy")
    figure.add_trace(trace.update(line={"color": "#a0a0a0", "width": 1, "shape": "hv"}), row, 1)


def _add_signal(figure: go.Figure, row: int, name: str, colour: str, comparison: Comparison) -> None:
    line = {"color": colour, "width": 4}
    trace = go.Scatter(x=comparison.record.times, y=comparison.record.signals[name], name=name, legendgroup=name)
    figure.add_trace(trace.update(line=line, opacity=0.7, mode="lines"), row, 1)


def _add_exact(figure: go.Figure, row: int, name: str, comparison: Comparison) -> None:
    trace = go.Scatter(x=comparison.record.times, y=comparison.exact[name], name=f"{name}, exact", legendgroup="exact")
    line = {"color": "black", "width": 1}
    figure.add_trace(trace.update(line=line, mode="lines", showlegend=False), row, 1)


def _name_exact(figure: go.Figure) -> None:
    """One entry of the legend for all exact signals."""
    line = {"color": "black", "width": 1}
    entry = go.Scatter(x=[None], y=[None], name="exact", legendgroup="exact", mode="lines", line=line)
    figure.add_trace(entry, 1, 1)


def _add_error(figure: go.Figure, row: int, name: str, colour: str, comparison: Comparison) -> None:
    """Errors of zero, which a logarithmic axis can't show, leave a gap."""
    error = comparison.error(name) / comparison.range(name)
    visible = np.where(error > 0.0, error, np.nan)
    trace = go.Scatter(x=comparison.record.times, y=visible, name=f"{name}, error", legendgroup=name)
    line = {"color": colour, "width": 1.5}
    figure.add_trace(trace.update(line=line, mode="lines", showlegend=False), row, 1)


def moving(scene: Callable[[int], list[go.Scatter]], times: Array, seconds: float) -> go.Figure:
    """A scene at the communication points, or some of them if there are many, with a button and a slider.

    scene(n) gives the traces at the n-th point, always the same ones; seconds is how long the whole motion is shown.
    """
    last = len(times) - 1
    chosen = np.unique(np.linspace(0, last, min(last + 1, MOST_FRAMES)).astype(int)).tolist()
    frames = [go.Frame(data=scene(n), name=f"{times[n]:.4g} s") for n in chosen]
    figure = go.Figure(frames[0].data, frames=frames)
    look(figure)
    figure.update_xaxes(constrain="domain")
    figure.update_yaxes(constrain="domain", scaleanchor="x")
    figure.update_layout(
        updatemenus=[_buttons(1e3 * seconds / len(chosen))], sliders=[_slider([frame.name for frame in frames])]
    )
    return figure


def _buttons(pause: float) -> dict[str, object]:
    running = {"frame": {"duration": pause, "redraw": False}, "transition": {"duration": 0}, "fromcurrent": True}
    halted = {"frame": {"duration": 0, "redraw": False}, "mode": "immediate"}
    buttons = [
        {"label": "Play", "method": "animate", "args": [None, running]},
        {"label": "Pause", "method": "animate", "args": [[None], halted]},
    ]
    return {"type": "buttons", "direction": "left", "buttons": buttons, **_below(45)}


def _slider(names: list[str]) -> dict[str, object]:
    at_once = {"frame": {"duration": 0, "redraw": False}, "mode": "immediate"}
    steps = [{"label": name, "method": "animate", "args": [[name], at_once]} for name in names]
    invisible = {"color": "rgba(0,0,0,0)"}
    value = {"font": {"color": "black"}, "xanchor": "right"}
    return {"steps": steps, "ticklen": 0, "minorticklen": 0, "font": invisible, "currentvalue": value, **_below(65)}


def _below(distance: int) -> dict[str, object]:
    """A place under the plot, so many pixels below."""
    return {"x": 0.0, "xanchor": "left", "y": 0.0, "yanchor": "top", "pad": {"t": distance}}
