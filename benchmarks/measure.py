"""Runs the benchmark programs of a build and returns their results."""

import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterable, Iterator
from contextlib import chdir
from pathlib import Path

import numpy as np

import instructions

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "demo"))
from master import Master, communication_points  # noqa: E402

DESCRIPTION = ROOT / "demo/models/quarter_car/quarter_car.toml"
TIMING = ["--benchmark_min_time=0.002", "--benchmark_repetitions=40", "--benchmark_enable_random_interleaving=true"]

RUNS = 15  # of the demo's model

Times = dict[tuple[str, int], dict[str, float]]


def output(*command: object) -> list[str]:
    words = [str(word) for word in command]
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()


def times(build: Path) -> Times:
    """Processor time of every case in nanoseconds, by side: the shortest of many short repetitions, which are
    interleaved with those of the other cases."""
    results = build / "timing.json"
    output(build / "benchmarks/timing", *TIMING, f"--benchmark_out={results}")
    found: Times = {}
    for run in json.loads(results.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            what, side, size = run["run_name"].split("/")[:3]
            sides = found.setdefault((what, int(size)), {})
            sides[side] = min(sides.get(side, np.inf), run["cpu_time"])
    return found


def counts(build: Path) -> dict[tuple[str, int], dict[str, float]]:
    return instructions.count(str(build / "benchmarks/counting"), "valgrind")


def needed(library: str) -> list[str]:
    """The libraries that a library needs, each after those that it needs itself."""
    paths = dict(re.findall(r"(\S+) => (\S+)", "\n".join(output("ldd", library))))
    order: list[str] = []

    def add(path: str) -> None:
        for name in re.findall(r"NEEDED.*\[(.*)\]", "\n".join(output("readelf", "-d", path))):
            if name in paths and paths[name] not in order and not name.startswith("libc.so"):
                add(paths[name])
                order.append(paths[name])

    add(library)
    return order


def loading(build: Path) -> tuple[dict[str, float], float]:
    """Nanoseconds to load an empty library, each library that the FMU's needs, and the FMU's; and to look up the names
    of all functions. Medians of 50 new processes."""
    library = str(build / "libtessaro_fmu.so")
    names = re.findall(r"^\s*(fmi2\w+);", (ROOT / "tessaro_fmu.map").read_text(), re.M)
    files = [str(build / "benchmarks/empty.so"), *needed(library), library]
    runs = [map(float, output(build / "benchmarks/loading", *files, "--", *names)) for _ in range(50)]
    *loads, look_up = map(statistics.median, zip(*runs, strict=True))
    return dict(zip((Path(file).name for file in files), loads, strict=True)), look_up


def cosimulation(build: Path) -> dict[str, float]:
    """Mean nanoseconds of a step of the demo's model: with its solver alone, through the FMU, in FMPy. For each step the
    shortest time of all runs is used."""
    os.environ["KORVAN_FMU_ROOT"] = str(build.resolve() / "installation")
    files = ("benchmarks/cosimulation", "tessaro-fmu", "libtessaro_fmu.so")
    program, packer, library = (build.resolve() / file for file in files)
    with tempfile.TemporaryDirectory() as folder, chdir(folder):
        archive = Path(folder, "QuarterCar.fmu")
        output(packer, "pack", DESCRIPTION, "--library", library, "--output", archive)
        shutil.unpack_archive(archive, "unit", "zip")
        fmu, solver = map(float, output(program, f"{folder}/unit", RUNS))
        master = Master(archive, lambda status, text: None)
        points = communication_points(4.0, 0.01)
        least = np.full(len(points) - 1, np.inf)

        def watched(steps: Iterable[int]) -> Iterator[int]:
            for n in steps:
                start = time.perf_counter_ns()
                yield n
                least[n] = min(least[n], time.perf_counter_ns() - start)

        for _ in range(RUNS):
            master.run({}, points, np.full(len(points), 0.05), watched)
    return {"solver": solver, "fmu": fmu, "FMPy": least.mean()}
