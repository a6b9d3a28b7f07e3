"""Runs the FMU of a demo model step by step and holds it against the model's exact solution."""

import argparse
import importlib
import math
import sys
from contextlib import chdir
from pathlib import Path

import numpy as np
from rich.console import Console
from rich.progress import track
from rich.text import Text

import report
from master import FmuError, Master, Recording, communication_points

TOLERANCE = 1e-6
STATUS = ("information", "warning", "discarded", "error", "fatal", "pending")

console = Console(highlight=False)


def main() -> int:
    options = parse_arguments()
    model = importlib.import_module(options.model)
    master = Master(options.fmu.resolve(), show_message)
    values = parameter_values(master, dict(options.values))
    times = communication_points(options.stop or master.stop_time, options.step or master.step_size)
    inputs = model.input_signal(times)
    exact = model.exact(values, times, inputs)
    if not all(np.ptp(signal) > 0.0 for signal in exact.values()):
        sys.exit("cosimulate: no step meets the bump, so there would be nothing to compare: a smaller --step or a later --stop")

    out = options.out.resolve()
    out.mkdir(parents=True, exist_ok=True)
    console.print(f"{options.fmu.name}: {len(times) - 1} steps to {times[-1]:g} s, {describe(values)}", soft_wrap=True)
    try:
        # The solver writes its result file into the working directory.
        with chdir(out):
            record = master.run(values, times, inputs, lambda steps: track(steps, "Stepping", console=console))
    except FmuError as failure:
        sys.exit(f"cosimulate: {failure}")

    comparison = report.Comparison(record, exact, TOLERANCE)
    report.write_csv(out / f"{options.model}.csv", master.input.name, comparison)
    report.draw(out / f"{options.model}.png", model.TITLE, master.input, master.outputs, comparison)
    console.print(f"Distance from the exact solution, at most {TOLERANCE:g} of the range:")
    console.print(report.table(comparison))
    show_time(record)
    console.print(f"Written to {options.out}: {options.model}.csv, {options.model}.png", soft_wrap=True)
    return show_verdict(comparison)


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
        raise argparse.ArgumentTypeError(f"'{text}' is not above 0")
    return value


def parameter_values(master: Master, changes: dict[str, float]) -> dict[str, float]:
    """The start value of every parameter, or what it is changed to, with the six decimals that reach the solver."""
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


def show_message(status: int, text: str) -> None:
    """Shows a message of the FMU or of its solver."""
    style = "dim" if status == 0 else "yellow" if status == 1 else "bold red"
    console.print(Text(f"FMU, {STATUS[status]}: {text}", style), soft_wrap=True)


def show_time(record: Recording) -> None:
    steps = len(record.times) - 1
    start, step, end = record.starting.seconds, record.stepping.seconds, record.ending.seconds
    console.print(
        f"Time in the FMU: {start + step + end:.3f} s in all, {start:.3f} s to start, "
        f"{1e3 * step / steps:.3f} ms a step, {end:.3f} s to end",
        soft_wrap=True,
    )


def show_verdict(comparison: report.Comparison) -> int:
    """The exit code: 0 when every signal is as exact as it has to be."""
    too_far = [found.name for found in comparison.deviations() if not comparison.allows(found)]
    if too_far:
        console.print(f"Too far from the exact solution: {', '.join(too_far)}", style="bold red")
        return 1
    console.print("Every signal agrees with the exact solution.", style="green")
    return 0


if __name__ == "__main__":
    sys.exit(main())
