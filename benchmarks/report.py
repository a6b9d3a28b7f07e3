"""Measures a build and writes the table in README.md and the picture: report.py BUILD_FOLDER"""

import datetime
import re
import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

import measure  # noqa: E402

HERE = Path(__file__).resolve().parent
SIDES = {
    "fmu": ("FMU", "o-"),
    "floor": ("floor", "s--"),
    "checked": ("floor, checked", "^:"),
    "own length": ("blocks as long as names", "^:"),
}
TYPES = ("Real", "Integer", "Boolean")
CATEGORIES = ("none", "logError", "logEvent", "logFmiCall", "logAll")

Row = tuple[str, str, str, str, str]


def nanoseconds(value: float) -> str:
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def verdict(figure: float, goal: float, checked: bool = False) -> str:
    """Checked: whether the call keeps within its bound beside the floor that makes the calls' fixed checks, too."""
    return "yes" if figure <= goal else "beside the checked loop" if checked else "no"


def count_rows(counts: dict) -> list[Row]:
    goals = {("fmi2DoStep", 2): 40} | {(f"fmi2{verb}{kind}", 1): 30 for kind in TYPES for verb in ("Get", "Set")}
    rows = []
    for (what, size), goal in goals.items():
        fmu, floor = (counts[what, size][side] for side in ("fmu", "floor"))
        text = f"{fmu - floor:.0f} more (goal: {goal})"
        rows.append((f"{what}, instructions", f"{fmu:.0f}", f"{floor:.0f}", text, verdict(fmu - floor, goal)))
    return rows


def time_row(times: dict, what: str, size: int, goal: float) -> Row:
    fmu, floor, checked = (times[what, size].get(side) for side in ("fmu", "floor", "checked"))
    kept = checked is not None and fmu <= 1.25 * checked
    text = f"{fmu / floor:.2f} (goal: {goal:g})" + (f"; {fmu / checked:.2f} of the checked loop" if checked else "")
    return f"{what}, {size:,}", nanoseconds(fmu), nanoseconds(floor), text, verdict(fmu / floor, goal, kept)


def time_rows(times: dict) -> list[Row]:
    fmu, floor = (times["fmi2DoStep", 2][side] for side in ("fmu", "floor"))
    text = f"{fmu - floor:.1f} ns more (goal: 10)"
    rows = [("fmi2DoStep", nanoseconds(fmu), nanoseconds(floor), text, verdict(fmu - floor, 10))]
    for call in (f"fmi2{verb}{kind}" for kind in TYPES for verb in ("Get", "Set")):
        for size in (16, 1024, 100_000):
            rows.append(time_row(times, call, size, 1.25))
    rows += [time_row(times, "fmi2SetString", size, 1.5) for size in (1, 16, 1024, 100_000)]
    rows += [time_row(times, "instantiate to free", size, 1.3) for size in (10, 1000, 100_000)]
    return [*rows, time_row(times, "value file", 100_000, 1.0)]


def logging_rows(times: dict) -> list[Row]:
    rows = []
    for category in CATEGORIES:
        step, get = times[f"fmi2DoStep, {category}", 2]["fmu"], times[f"fmi2GetReal, {category}", 16]["fmu"]
        figures = f"{nanoseconds(step)}; {nanoseconds(get)}"
        rows.append((f"logging {category}: fmi2DoStep; fmi2GetReal, 16", figures, "", "", "shown"))
    return rows


def loading_rows(loads: dict[str, float], look_up: float) -> list[Row]:
    empty, whole = loads["empty.so"], sum(loads.values()) - loads["empty.so"]
    rows = [("loading, with all dependencies", nanoseconds(whole), nanoseconds(empty), f"{whole / empty:.1f}", "shown")]
    for name, time in list(loads.items())[1:]:
        rows.append((f"of it {name}", nanoseconds(time), "", f"{time / whole:.0%}", "shown"))
    return [*rows, ("looking up all fmi2 names", nanoseconds(look_up), "", "", "shown")]


def demo_rows(times: dict, steps: dict[str, float]) -> list[Row]:
    own = sum(times[case]["fmu"] for case in (("fmi2DoStep", 2), ("fmi2SetReal", 1), ("fmi2GetReal", 4)))
    solver = steps["solver"]
    text = f"{own / solver:.4%} of the solver's step (goal: 1 %)"
    met = verdict(own / solver, 0.01)
    rows = [("demo, the FMU's calls of a step", nanoseconds(own), nanoseconds(solver), text, met)]
    for label, side in (("demo, a step through the FMU", "fmu"), ("demo, a step in FMPy", "FMPy")):
        rows.append((label, nanoseconds(steps[side]), nanoseconds(solver), f"{steps[side] / solver - 1:+.2%}", "shown"))
    return rows


def write_table(rows: list[Row]) -> None:
    lines = ["| what | FMU | floor | against the floor | goal met |", "|---|---|---|---|---|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    print(*lines, sep="\n")
    page = HERE / "README.md"
    note = f"Measured on {datetime.date.today()} with `./benchmarks/run`:"
    figures = "\n".join(["<!-- figures -->", note, "", *lines, "<!-- end -->"])
    page.write_text(re.sub(r"<!-- figures -->.*<!-- end -->", lambda _: figures, page.read_text(), flags=re.S))


def curve(axes: plt.Axes, times: dict, what: str, color: str, label: str = "") -> None:
    for side, (name, style) in SIDES.items():
        points = sorted((size, found[side]) for (case, size), found in times.items() if case == what and side in found)
        if not points or (side == "checked" and label):
            continue
        opaque = 1.0 if side == "fmu" else 0.6
        axes.loglog(*zip(*points, strict=True), style, color=color, alpha=opaque, markersize=4, label=f"{label}{name}")


def draw(times: dict, file: Path) -> None:
    figure, panels = plt.subplots(2, 3, figsize=(15, 8.5), layout="constrained")
    (reals, texts, steps), (lives, files, logs) = panels
    curve(reals, times, "fmi2GetReal", "C0", "fmi2GetReal, ")
    curve(reals, times, "fmi2SetReal", "C1", "fmi2SetReal, ")
    curve(texts, times, "fmi2SetString", "C2")
    curve(steps, times, "fmi2DoStep", "C3", "by ports, ")
    curve(steps, times, "fmi2DoStep, instances", "C4", "by instances, ")
    curve(lives, times, "instantiate to free", "C5")
    curve(files, times, "value file", "C6")
    titles = {
        reals: ("Reals of a call", "values", "time of a call in ns"),
        texts: ("Texts of 24 characters, fmi2SetString", "values", "time of a call in ns"),
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
    loads, look_up = measure.loading(build)
    draw(times, HERE / "costs.png")
    rows = [*count_rows(counts), *time_rows(times), *logging_rows(times), *loading_rows(loads, look_up)]
    write_table([*rows, *demo_rows(times, measure.cosimulation(build))])


if __name__ == "__main__":
    main()
