"""Runs the FMU of a demo model step by step and compares it with the model's exact solution.

What differs between models is in a module named after the model; `Model` says what such a module has.
"""

import argparse
import importlib
import math
import sys
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Protocol, cast

import numpy as np
import plotly.graph_objects as go
from rich.console import Console

import report
import run_report
from figures import Panel
from master import Array, FmuError, Master, Recording, communication_points
from page import Page
from session import Session, show_message

TOLERANCE = 1e-6

console = Console(highlight=False)


class Model(Protocol):
    """The module of a model."""

    TITLE: str
    PANELS: Sequence[Panel]
    """The panels of the figures over time."""
    NOTHING_MOVES: str
    """The message if the exact solution is constant, so that there is nothing to compare."""

    def input_signal(self, times: Array) -> Array:
        """The input from each of the times to the next one."""

    def exact(self, values: Mapping[str, float], times: Array, inputs: Array) -> dict[str, Array]:
        """Every output, "x", with its derivatives, "der(x)" and "der(x,2)", at each of the times."""

    def check(self, session: Session, comparison: report.Comparison) -> list[str]:
        """Shows further checks of the run; returns the names of those that fail."""

    def draw(self, session: Session, comparison: report.Comparison) -> list[str]:
        """Draws pictures in the session's folder and returns the names of their files."""

    def moving(self, record: Recording) -> go.Figure:
        """The model in motion."""


def main() -> int:
    options = parse_arguments()
    model = cast(Model, importlib.import_module(options.model))
    archive = options.fmu.resolve()
    master = Master(archive, lambda status, text: show_message(console, status, text))
    values = parameter_values(master, dict(options.values))
    times = communication_points(options.stop or master.stop_time, options.step or master.step_size)
    inputs = model.input_signal(times)
    exact = model.exact(values, times, inputs)
    if not all(np.ptp(signal) > 0.0 for signal in exact.values()):
        reason = f"{model.NOTHING_MOVES}, so there would be nothing to compare"
        sys.exit(f"cosimulate: {reason}: a smaller --step or a later --stop")

    out = options.out.resolve()
    out.mkdir(parents=True, exist_ok=True)
    session = Session(console, archive, master, values, times, inputs, out)
    console.print(f"{options.fmu.name}: {len(times) - 1} steps to {times[-1]:g} s, {describe(values)}", soft_wrap=True)
    try:
        comparison = report.Comparison(session.run(), exact, TOLERANCE)
        distance = report.distance(comparison)
        distance.show(console)
        failures = distance.failures + model.check(session, comparison)
    except FmuError as failure:
        sys.exit(f"cosimulate: {failure}")

    show_time(comparison.record)
    report.write_csv(out / f"{options.model}.csv", master.input.name, comparison)
    page = Page(model.TITLE)
    run_report.add_run(page, session, comparison, model.PANELS, model.moving(comparison.record))
    run_report.add_origin(page, ("demo/run", options.model, *sys.argv[4:]), archive)
    page.write(out / options.model / "report.html")
    files = [f"{options.model}.csv", *model.draw(session, comparison), f"{options.model}/report.html"]
    console.print(f"Written to {options.out}: {', '.join(files)}", soft_wrap=True)
    return show_verdict(failures)


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="cosimulate", description=__doc__)
    parser.add_argument("model", help="name of the model, a folder of demo/models")
    parser.add_argument("fmu", type=Path, help="the FMU to run")
    parser.add_argument("out", type=Path, help="the folder for the results")
    parser.add_argument("--set", dest="values", metavar="NAME=VALUE", type=assignment, action="append", default=[],
                        help="give a parameter another value; may be repeated")  # fmt: skip
    parser.add_argument("--step", metavar="S", type=positive, help="communication step in seconds")
    parser.add_argument("--stop", metavar="S", type=positive, help="stop time in seconds")
    return parser.parse_args()


def assignment(text: str) -> tuple[str, float]:
    name, equals, value = text.partition("=")
    if not equals:
        raise argparse.ArgumentTypeError(f"'{text}' is not of the form NAME=VALUE")
    return name, number(value)


def number(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = math.nan
    if not math.isfinite(value):
        raise argparse.ArgumentTypeError(f"'{text}' is not a number")
    return value


def positive(text: str) -> float:
    value = number(text)
    if value <= 0.0:
        raise argparse.ArgumentTypeError(f"'{text}' is not positive")
    return value


def parameter_values(master: Master, changes: dict[str, float]) -> dict[str, float]:
    """The start value of every parameter, or its new value, rounded to the six decimals that reach the solver."""
    values = {parameter.name: float(parameter.start) for parameter in master.parameters}
    if unknown := sorted(changes.keys() - values.keys()):
        sys.exit(f"cosimulate: there is no parameter {', '.join(unknown)}; there are {', '.join(values)}")
    values |= {name: round(value, 6) for name, value in changes.items()}
    for parameter in master.parameters:
        if parameter.min is not None and values[parameter.name] < float(parameter.min):
            sys.exit(f"cosimulate: {parameter.name} must not be below {parameter.min}")
    return values


def describe(values: dict[str, float]) -> str:
    return ", ".join(f"{name} = {value:g}" for name, value in values.items())


def show_time(record: Recording) -> None:
    steps = len(record.times) - 1
    start, step, end = record.starting.seconds, record.stepping.seconds, record.ending.seconds
    console.print(
        f"Time in the FMU: {start + step + end:.3f} s in all, {start:.3f} s to start, "
        f"{1e3 * step / steps:.3f} ms a step, {end:.3f} s to end",
        soft_wrap=True,
    )


def show_verdict(failures: list[str]) -> int:
    """The exit code: 0 if every signal is as exact as required."""
    if failures:
        console.print(f"Too far from the exact solution: {', '.join(dict.fromkeys(failures))}", style="bold red")
        return 1
    console.print("Every signal agrees with the exact solution.", style="green")
    return 0


if __name__ == "__main__":
    sys.exit(main())
