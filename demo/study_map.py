"""The map of a study: comfort against road holding, with the Pareto front at each speed."""

from collections.abc import Iterable
from itertools import filterfalse
from pathlib import Path

from matplotlib.figure import Figure

from report import COLOURS, finish
from study_table import Row

COMFORT = "effective acceleration of the body in m/s²"
HOLDING = "effective change of the wheel load in % of the weight"
TITLE = "Quarter car over a bump: comfort and road holding"


def by_speed(rows: Iterable[Row]) -> dict[float, list[Row]]:
    speeds: dict[float, list[Row]] = {}
    for row in rows:
        speeds.setdefault(row["speed"], []).append(row)
    return dict(sorted(speeds.items()))


def stays(row: Row) -> bool:
    """Whether the wheel stays on the road. The model does not let it lift, so a run where it would means nothing."""
    return bool(row["least_load"] >= 0.0)


def front(rows: Iterable[Row]) -> list[Row]:
    """The Pareto front of the runs in which the wheel stays on the road.

    Of runs with equal results it has one.
    """
    best: list[Row] = []
    for row in sorted(filter(stays, rows), key=lambda row: (row["comfort"], row["load_change"])):
        if not best or row["load_change"] < best[-1]["load_change"]:
            best.append(row)
    return best


def draw(file: Path, rows: Iterable[Row]) -> None:
    figure = Figure(figsize=(9, 6.5), layout="constrained")
    axis = figure.subplots()
    axis.set_title(TITLE)
    for (speed, group), colour in zip(by_speed(rows).items(), COLOURS, strict=False):
        axis.scatter(
            *places(filter(stays, group)), s=22, color=colour, alpha=0.45, linewidths=0.0, label=f"{speed:g} m/s"
        )
        axis.scatter(*places(filterfalse(stays, group)), s=22, facecolors="none", edgecolors=colour, alpha=0.6)
        axis.plot(*places(front(group)), color=colour, linewidth=1.6, marker="o", markersize=3.5)
    axis.scatter([], [], s=22, facecolors="none", edgecolors="grey", label="the wheel would leave the road")
    axis.plot([], [], color="grey", linewidth=1.6, marker="o", markersize=3.5, label="Pareto front")
    axis.set_xlabel(COMFORT)
    finish(axis, HOLDING)
    axis.set_xlim(left=0.0)
    axis.set_ylim(bottom=0.0)
    axis.legend(frameon=False)
    figure.savefig(file, dpi=120)


def place(row: Row) -> tuple[float, float]:
    """Where a run is on the map."""
    return row["comfort"], 100.0 * row["load_change"]


def places(rows: Iterable[Row]) -> tuple[list[float], list[float]]:
    pairs = [place(row) for row in rows]
    return [comfort for comfort, _ in pairs], [change for _, change in pairs]
