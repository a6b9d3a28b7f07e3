"""The results of a run: its distance from the exact solution, a table of values, a picture."""

import csv
import itertools
from collections.abc import Mapping, Sequence
from dataclasses import dataclass, field
from pathlib import Path

import numpy as np
from fmpy.model_description import ModelVariable
from matplotlib.axes import Axes
from matplotlib.figure import Figure
from rich.console import Console
from rich.table import Table

from master import Array, Recording

COLOURS = ("#1f5fa8", "#e08a2e", "#3a8f4d", "#8450a0")


@dataclass(frozen=True)
class Comparison:
    """A run and the exact solution."""

    record: Recording
    exact: Mapping[str, Array]
    tolerance: float

    def error(self, name: str) -> Array:
        return np.abs(self.record.signals[name] - self.exact[name])

    def range(self, name: str) -> float:
        return float(np.ptp(self.exact[name]))


@dataclass
class Checks:
    """A table whose rows pass or fail, and the names of those that fail."""

    title: str
    headings: Sequence[str]
    failures: list[str] = field(default_factory=list)
    _lines: list[tuple[str, ...]] = field(default_factory=list)

    def add(self, name: str, passes: bool, *cells: str) -> None:
        self._lines.append((name, *cells))
        if not passes:
            self.failures.append(name)

    def show(self, console: Console) -> None:
        """Prints title and table, failing rows in red."""
        table = Table()
        for heading in self.headings:
            table.add_column(heading, justify="right" if table.columns else "left")
        for line in self._lines:
            table.add_row(*line, style="bold red" if line[0] in self.failures else None)
        console.print(f"{self.title}:", soft_wrap=True)
        console.print(table)


def distance(comparison: Comparison) -> Checks:
    """A row for each signal; a NaN fails as well."""
    checks = Checks(
        f"Distance from the exact solution, at most {comparison.tolerance:g} of the range",
        ("signal", "range", "largest error", "error / range"),
    )
    for name in comparison.record.signals:
        largest, size = float(np.max(comparison.error(name))), comparison.range(name)
        passes = largest / size <= comparison.tolerance
        checks.add(name, passes, f"{size:.4g}", f"{largest:.1e}", f"{largest / size:.1e}")
    return checks


def write_csv(file: Path, input_name: str, comparison: Comparison) -> None:
    """Time, input, every signal, and the exact solution of every signal."""
    record = comparison.record
    columns = {"time": record.times, input_name: record.inputs, **record.signals}
    columns |= {f"exact {name}": comparison.exact[name] for name in record.signals}
    with file.open("w", newline="", encoding="utf-8") as stream:
        writer = csv.writer(stream)
        writer.writerow(columns)
        writer.writerows(zip(*(column.tolist() for column in columns.values()), strict=True))


def draw(
    file: Path, title: str, driven: ModelVariable, outputs: Sequence[ModelVariable], comparison: Comparison
) -> None:
    """A panel for each unit with the exact solution as a thin line, and the errors below."""
    units = dict.fromkeys(variable.unit for variable in outputs)
    figure = Figure(figsize=(9, 8), layout="constrained")
    axes = figure.subplots(len(units) + 1, sharex=True)
    figure.suptitle(title, fontsize=14)
    colours = dict(zip((variable.name for variable in outputs), itertools.cycle(COLOURS), strict=False))

    for axis, unit in zip(axes, units, strict=False):
        if driven.unit == unit:
            _draw_input(axis, driven, comparison.record)
        _draw_outputs(axis, [variable for variable in outputs if variable.unit == unit], colours, comparison)
        finish(axis, unit)
        axis.legend(loc="upper right", frameon=False)
    _draw_errors(axes[-1], colours, comparison)
    finish(axes[-1], "error / range")
    axes[-1].legend(loc="lower right", frameon=False, ncols=len(outputs) + 1)

    axes[-1].set_xlabel("time in s")
    axes[-1].set_xlim(comparison.record.times[0], comparison.record.times[-1])
    figure.align_ylabels(axes)
    figure.savefig(file, dpi=120)


def _draw_input(axis: Axes, driven: ModelVariable, record: Recording) -> None:
    axis.fill_between(record.times, record.inputs, step="post", color="#c9c9c9", label=_label(driven))


def _draw_outputs(
    axis: Axes, outputs: Sequence[ModelVariable], colours: Mapping[str, str], comparison: Comparison
) -> None:
    times = comparison.record.times
    for variable in outputs:
        signal, colour = comparison.record.signals[variable.name], colours[variable.name]
        axis.plot(times, signal, color=colour, linewidth=3.0, alpha=0.7, label=_label(variable))
    for variable in outputs:
        axis.plot(times, comparison.exact[variable.name], color="black", linewidth=0.7)
    axis.plot([], [], color="black", linewidth=0.7, label="the exact solution")


def _draw_errors(axis: Axes, colours: Mapping[str, str], comparison: Comparison) -> None:
    """Errors of zero, which a logarithmic axis can't show, leave a gap."""
    for name, colour in colours.items():
        error = comparison.error(name) / comparison.range(name)
        visible = np.where(error > 0.0, error, np.nan)
        axis.semilogy(comparison.record.times, visible, color=colour, linewidth=1.2, label=name)
    axis.axhline(comparison.tolerance, color="#b03030", linestyle="--", linewidth=1.0, label="allowed")


def _label(variable: ModelVariable) -> str:
    return f"{variable.name}: {variable.description}"


def finish(axis: Axes, label: str) -> None:
    """Gives an axis its label and the look of all pictures."""
    axis.set_ylabel(label)
    axis.grid(alpha=0.25, linewidth=0.6)
    axis.spines[["top", "right"]].set_visible(False)
