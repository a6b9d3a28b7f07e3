"""The map of a study: comfort against road holding, with the Pareto front at each speed."""

from collections.abc import Iterable
from pathlib import Path

from matplotlib.figure import Figure

from report import COLOURS, finish
from study_table import Row

LEGEND = "effective change of the wheel load / static load in %"


def by_speed(rows: Iterable[Row]) -> dict[float, list[Row]]:
    speeds: dict[float, list[Row]] = {}
    for row in rows:
        speeds.setdefault(float(row["speed"]), []).append(row)
    return dict(sorted(speeds.items()))


def front(rows: Iterable[Row]) -> list[Row]:
    """The runs than which no other one is at least as good in both respects and better in one, from comfort to grip."""
    best: list[Row] = []
    for row in sorted(rows, key=lambda row: (row["comfort"], row["load_change"])):
        if not best or row["load_change"] < best[-1]["load_change"]:
            best.append(row)
    return best


def draw(file: Path, rows: Iterable[Row]) -> None:
    figure = Figure(figsize=(9, 6.5), layout="constrained")
    axis = figure.subplots()
    axis.set_title("Quarter car over a bump: comfort and road holding")
    for (speed, group), colour in zip(by_speed(rows).items(), COLOURS, strict=False):
        lifting = [row for row in group if float(row["least_load"]) < 0.0]
        staying = [row for row in group if float(row["least_load"]) >= 0.0]
        axis.scatter(*_places(staying), s=22, color=colour, alpha=0.45, linewidths=0.0, label=f"{speed:g} m/s")
        axis.scatter(*_places(lifting), s=22, facecolors="none", edgecolors=colour, alpha=0.6)
        axis.plot(*_places(front(group)), color=colour, linewidth=1.6, marker="o", markersize=3.5)
    axis.scatter([], [], s=22, facecolors="none", edgecolors="grey", label="the wheel would leave the road")
    axis.plot([], [], color="grey", linewidth=1.6, marker="o", markersize=3.5, label="Pareto front")
    axis.set_xlabel("effective acceleration of the body in m/s²")
    finish(axis, "effective change of the wheel load in % of the weight")
    axis.set_xlim(left=0.0)
    axis.set_ylim(bottom=0.0)
    axis.legend(frameon=False)
    figure.savefig(file, dpi=120)


def _places(rows: list[Row]) -> tuple[list[float], list[float]]:
    return [float(row["comfort"]) for row in rows], [100.0 * float(row["load_change"]) for row in rows]
