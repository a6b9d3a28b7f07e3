"""Measures a build, prints all results, and writes the table in README.md and the picture: report.py BUILD_FOLDER"""

import re
import sys
from dataclasses import dataclass, replace
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

import measure  # noqa: E402

HERE = Path(__file__).resolve().parent
SIDES = {
    "fmu": ("FMU", "o-"),
    "floor": ("floor", "s--"),
    "checked": ("floor with checks", "^:"),
    "own length": ("blocks as long as names", "^:"),
}
NUMBERS = [f"fmi2{verb}{kind}" for kind in ("Real", "Integer", "Boolean") for verb in ("Get", "Set")]
CATEGORIES = ("none", "logError", "logEvent", "logFmiCall", "logAll")
HEADER = ("what", "FMU", "floor", "result", "goal", "met")


@dataclass(frozen=True)
class Row:
    """A call beside its floor. A row with a goal has the ratio of its result to the goal."""

    what: str
    fmu: str
    floor: str = ""
    result: str = ""
    goal: str = ""
    ratio: float = 0.0
    note: str = ""

    def cells(self) -> tuple[str, ...]:
        met = "" if not self.goal else "yes" if self.ratio <= 1 else f"no{self.note}"
        return self.what, self.fmu, self.floor, self.result, self.goal, met


def nanoseconds(value: float) -> str:
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def count_row(counts: dict, what: str, size: int, goal: int) -> Row:
    fmu, floor = (counts[what, size][side] for side in ("fmu", "floor"))
    more = fmu - floor
    name = f"`{what}`, instructions"
    return Row(name, f"{fmu:.0f}", f"{floor:.0f}", f"{more:.0f} more", f"{goal} more", more / goal)


def time_row(times: dict, what: str, size: int, goal: float) -> Row:
    fmu, floor, checked = (times[what, size].get(side) for side in ("fmu", "floor", "checked"))
    note = f" ({fmu / checked:.2f} with checks)" if checked else ""
    unit = "value" if size == 1 else "values" if what.startswith("fmi2") else "variables"
    name = f"`{what}`" if what.startswith("fmi2") else what
    return Row(f"{name}, {size:,} {unit}", nanoseconds(fmu), nanoseconds(floor), f"{fmu / floor:.2f}", f"{goal:g}",
               fmu / floor / goal, note)  # fmt: skip


def worst(label: str, rows: list[Row]) -> Row:
    row = max(rows, key=lambda row: row.ratio)
    return replace(row, what=f"{label}, the worst of {len(rows)} cases: {row.what}")


def step_row(times: dict) -> Row:
    fmu, floor = (times["fmi2DoStep", 2][side] for side in ("fmu", "floor"))
    return Row("`fmi2DoStep`", nanoseconds(fmu), nanoseconds(floor), f"{fmu - floor:.1f} ns more", "10 ns more",
               (fmu - floor) / 10)  # fmt: skip


def logging_rows(times: dict) -> list[Row]:
    cases = (("fmi2DoStep", 2, ""), ("fmi2GetReal", 16, ", 16 values"))
    return [
        Row(f"`{call}`{values}, log category {category}", nanoseconds(times[f"{call}, {category}", size]["fmu"]))
        for category in CATEGORIES
        for call, size, values in cases
    ]


def loading_rows(loads: dict[str, float], look_up: float) -> list[Row]:
    empty, whole = loads["empty.so"], sum(loads.values()) - loads["empty.so"]
    rows = [Row("loading, with all dependencies", nanoseconds(whole), nanoseconds(empty), f"{whole / empty:.1f}")]
    for name, time in list(loads.items())[1:]:
        rows.append(Row(f"loading {name}", nanoseconds(time), "", f"{time / whole:.0%} of all"))
    return [*rows, Row("looking up all fmi2 names", nanoseconds(look_up))]


def demo_rows(times: dict, steps: dict[str, float]) -> list[Row]:
    own = sum(times[case]["fmu"] for case in (("fmi2DoStep", 2), ("fmi2SetReal", 1), ("fmi2GetReal", 4)))
    solver = steps["solver"]
    share = own / solver
    rows = [Row("the demo: the FMU's calls of a step beside the solver's step", nanoseconds(own), nanoseconds(solver),
                f"{share:.4%}", "1%", share / 0.01)]  # fmt: skip
    for label, side in (("the demo: a step through the FMU", "fmu"), ("the demo: a step in FMPy", "FMPy")):
        rows.append(Row(label, nanoseconds(steps[side]), nanoseconds(solver), f"{steps[side] / solver - 1:+.2%}"))
    return rows


def table(rows: list[Row]) -> str:
    lines = [HEADER, ["---"] * len(HEADER), *(row.cells() for row in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def write_page(rows: list[Row]) -> None:
    page = HERE / "README.md"
    results = f"<!-- results -->\n{table(rows)}\n<!-- end -->"
    page.write_text(re.sub("<!-- results -->.*<!-- end -->", lambda _: results, page.read_text(), flags=re.S))


def curve(axes: plt.Axes, times: dict, what: str, color: str, label: str = "") -> None:
    for side, (name, style) in SIDES.items():
        points = sorted((size, found[side]) for (case, size), found in times.items() if case == what and side in found)
        if not points or (side == "checked" and label):
            continue
        opaque = 1.0 if side == "fmu" else 0.6
        axes.loglog(*zip(*points, strict=True), style, color=color, alpha=opaque, markersize=4, label=f"{label}{name}")


def draw(times: dict, file: Path) -> None:
    figure, panels = plt.subplots(2, 3, figsize=(15, 8.5), layout="constrained")
    (reals, strings, steps), (lives, files, logs) = panels
    curve(reals, times, "fmi2GetReal", "C0", "fmi2GetReal, ")
    curve(reals, times, "fmi2SetReal", "C1", "fmi2SetReal, ")
    curve(strings, times, "fmi2SetString", "C2")
    curve(steps, times, "fmi2DoStep", "C3", "by ports, ")
    curve(steps, times, "fmi2DoStep, instances", "C4", "by instances, ")
    curve(lives, times, "instantiate to free", "C5")
    curve(files, times, "value file", "C6")
    titles = {
        reals: ("Reals, fmi2GetReal and fmi2SetReal", "values", "time of a call in ns"),
        strings: ("Strings of 24 characters, fmi2SetString", "values", "time of a call in ns"),
        steps: ("fmi2DoStep with a solver that does nothing", "ports or instances", "time of a step in ns"),
        lives: ("fmi2Instantiate to fmi2FreeInstance", "variables", "time in ns"),
        files: ("Writing the value file", "variables", "time in ns"),
    }
    for axes, (title, across, up) in titles.items():
        axes.set(title=title, xlabel=across, ylabel=up)
        axes.grid(which="major", alpha=0.4)
        axes.legend(fontsize=9)
    steps.set_ylim(1, 100)

    for shift, (what, size, color) in enumerate((("fmi2DoStep", 2, "C3"), ("fmi2GetReal", 16, "C0"))):
        heights = [times[f"{what}, {category}", size]["fmu"] for category in CATEGORIES]
        places = [i + 0.4 * shift for i in range(len(heights))]
        bars = logs.bar(places, heights, 0.38, color=color, label=f"{what}, 16 values" if shift else what)
        logs.bar_label(bars, fmt="%.0f", fontsize=9)
    logs.set_xticks([i + 0.2 for i in range(len(CATEGORIES))], CATEGORIES)
    logs.set(title="Log categories, with a logger that does nothing", ylabel="time of a call in ns")
    logs.margins(y=0.1)
    logs.legend(fontsize=9)
    figure.savefig(file, dpi=100)


def main() -> None:
    build = Path(sys.argv[1])
    times, counts = measure.times(build), measure.counts(build)
    draw(times, HERE / "costs.png")

    steps = [count_row(counts, "fmi2DoStep", 2, 40), step_row(times)]
    number_counts = [count_row(counts, call, 1, 30) for call in NUMBERS]
    numbers = [time_row(times, call, size, 1.25) for call in NUMBERS for size in (16, 1024, 100_000)]
    strings = [time_row(times, "fmi2SetString", size, 1.5) for size in (1, 16, 1024, 100_000)]
    instances = [time_row(times, "instantiate to free", size, 1.3) for size in (10, 1000, 100_000)]
    value_file = time_row(times, "value file", 100_000, 1.0)
    demo = demo_rows(times, measure.cosimulation(build))
    others = [*logging_rows(times), *loading_rows(*measure.loading(build))]
    print(table([*steps, *number_counts, *numbers, *strings, *instances, value_file, *demo, *others]))
    write_page([steps[0], worst("numbers", numbers), worst("strings", strings), instances[-1], demo[0]])


if __name__ == "__main__":
    main()
