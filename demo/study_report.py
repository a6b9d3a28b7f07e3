"""The report of a study."""

from collections.abc import Iterator, Sequence
from itertools import filterfalse
from pathlib import Path
from typing import Any

import fmpy
import plotly.graph_objects as go
from fmpy.model_description import ModelVariable

import study_map
from figures import look
from page import Page
from report import COLOURS
from run_report import add_origin
from study_plan import RANGES, SPEEDS
from study_table import INPUTS, Row

HOVER = (
    "k_c = %{customdata[0]:.0f} N/m<br>d_c = %{customdata[1]:.0f} N s/m<br>k_w = %{customdata[2]:.0f} N/m"
    "<br>speed %{customdata[3]:.0f} m/s<br>body %{x:.3f} m/s²<br>wheel load ± %{y:.2f} %"
    "<br>least wheel load %{customdata[4]:.0%} of the weight<extra></extra>"
)


def write(file: Path, rows: list[Row], command: Sequence[str], archive: Path) -> None:
    page = Page(study_map.TITLE)
    page.add_text(
        f"{len(rows)} runs. The lower, the better, in both directions. The lines are the Pareto fronts, one at each "
        "speed: a dot beside the line of its speed is outdone by one on it, which is better in one respect and not "
        "worse in the other. Rings are in no front: the wheel would leave the road."
    )
    page.add_figure("Map", chart(rows), "min(40rem, 160vw)")
    known = {variable.name: variable for variable in fmpy.read_model_description(str(archive)).modelVariables}
    designs = (f"{name} in {known[name].unit}" for name in RANGES)
    page.add_table("Pareto fronts", ("speed in m/s", *designs, "body in m/s²", "wheel load in %"), best(rows))
    parameters = [variable for variable in known.values() if variable.causality == "parameter"]
    values = [(variable.name, range_of(variable), variable.unit, variable.description) for variable in parameters]
    speeds = ("speed", ", ".join(f"{speed:g}" for speed in SPEEDS), "m/s", "speed over the bump")
    page.add_table("Parameters", ("name", "values", "unit", "meaning"), [*values, speeds])
    add_origin(page, command, archive, "dask", "distributed")
    page.write(file)


def range_of(parameter: ModelVariable) -> str:
    if parameter.name not in RANGES:
        return f"{float(parameter.start):g}"
    lowest, highest = RANGES[parameter.name]
    return f"{lowest:g} to {highest:g}"


def chart(rows: list[Row]) -> go.Figure:
    """The map; at the pointer a run's parameters."""
    figure = go.Figure()
    for (speed, group), colour in zip(study_map.by_speed(rows).items(), COLOURS, strict=False):
        name = f"{speed:g} m/s"
        staying, lifting = list(filter(study_map.stays, group)), list(filterfalse(study_map.stays, group))
        solid = {"color": colour, "size": 7, "opacity": 0.5}
        figure.add_trace(_points(staying, name, marker=solid, mode="markers"))
        ring = {"color": colour, "size": 7, "symbol": "circle-open"}
        figure.add_trace(_points(lifting, name, marker=ring, mode="markers", showlegend=False))
        line = {"color": colour, "width": 2}
        figure.add_trace(_points(study_map.front(group), name, line=line, mode="lines+markers", showlegend=False))
    look(figure)
    figure.update_xaxes(title_text=study_map.COMFORT, rangemode="tozero")
    figure.update_yaxes(title_text=study_map.HOLDING, rangemode="tozero")
    return figure


def _points(rows: list[Row], name: str, **more: Any) -> go.Scatter:
    comfort, holding = study_map.places(rows)
    shown = [[row[name] for name in (*INPUTS, "least_load")] for row in rows]
    return go.Scatter(
        x=comfort, y=holding, customdata=shown, hovertemplate=HOVER, name=name, legendgroup=name, **more
    )  # fmt: skip


def best(rows: list[Row]) -> Iterator[list[float]]:
    """The runs of the fronts, speed by speed."""
    for speed, group in study_map.by_speed(rows).items():
        for row in study_map.front(group):
            yield [speed, *(row[name] for name in RANGES), *(float(f"{value:.3g}") for value in study_map.place(row))]
