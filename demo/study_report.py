"""The report of a study."""

from collections.abc import Iterator, Sequence
from itertools import filterfalse
from pathlib import Path
from typing import Any

import plotly.graph_objects as go

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
        f"{len(rows)} runs. The lower, the better, in both directions. The lines are the Pareto fronts: what is "
        "not on them is outdone in both respects by something that is. Rings: the wheel would leave the road."
    )
    page.add_figure("Map", chart(rows), "min(40rem, 160vw)")
    columns = ("speed in m/s", "k_c", "d_c", "k_w", "body in m/s²", "wheel load in %")
    page.add_table("Pareto fronts", columns, best(rows))
    ranges = [(name, *RANGES[name], unit) for name, unit in zip(RANGES, ("N/m", "N s/m", "N/m"), strict=True)]
    page.add_table("Parameters", ("name", "from", "to", "unit"), [*ranges, ("speed", SPEEDS[0], SPEEDS[-1], "m/s")])
    add_origin(page, command, archive, "dask", "distributed")
    page.write(file)


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
