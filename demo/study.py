"""Runs the quarter car for many suspensions, tyres and speeds on Dask, and draws comfort against road holding."""

import argparse
import hashlib
import logging
import os
import sys
import time
from collections.abc import Iterable, Iterator
from concurrent.futures import CancelledError
from contextlib import contextmanager
from itertools import islice
from pathlib import Path
from typing import Any, TypeVar

from dask.distributed import Client, Future, LocalCluster, as_completed
from distributed.client import ClosedClientError
from distributed.comm.core import CommClosedError
from rich.console import Console
from rich.progress import BarColumn, MofNCompleteColumn, Progress, TextColumn, TimeElapsedColumn

import car_runs
import road
from car_runs import Car, Parameters, run_one
from study_table import Row, Table, write_table

Run = TypeVar("Run")

OUT = Path(__file__).parent / "out" / "study"
SENT = (road.__file__, car_runs.__file__)
"""What the workers import."""
RUNS_PER_THREAD = 8
"""Runs that Dask holds for each thread of the cluster: enough to keep all at work, and no more in a study of a million.

When half of them are made, as many follow: handed over one by one they would cost Dask twice as much.
"""

LEAVE_INTERRUPTS = "import signal; signal.signal(signal.SIGINT, signal.SIG_IGN)"
"""What local workers do first: Ctrl-C at the terminal reaches them also, but this process ends them."""
MOST_SHOWN = 5
"""Failures that are printed; the journal has all."""

console = Console(highlight=False)


def main() -> int:
    options = parse_arguments()
    plan = planned(options)
    try:
        options.out.mkdir(parents=True, exist_ok=True)
    except OSError as failure:
        sys.exit(f"study: --out is not a folder that can be written to: {failure}")
    archive = options.fmu.read_bytes()
    with Table(options.out / "journal.csv", origin(archive, options.solver, options.translator)) as table:
        if table.damaged:
            console.print(f"Damaged lines of the journal that are not used: {table.damaged}", style="yellow")
        left = [parameters for parameters in plan if table.result(parameters) is None]
        console.print(f"{len(plan)} runs of {options.fmu.name}, {len(plan) - len(left)} of them made before")
        if left:
            with connected(options) as client, on_workers(client, archive) as car:
                make_runs(client, car, left, table)
        rows = [row for parameters in plan if (row := table.result(parameters))]
        failures = [f"{parameters}: {table.failure(parameters)}" for parameters in plan if not table.result(parameters)]
        return finish(options, rows, failures)


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="study", description=__doc__)
    parser.add_argument("fmu", type=Path, help="the quarter car's FMU")
    parser.add_argument("solver", type=Path, help="the solver's interface library, on which results depend")
    parser.add_argument("translator", type=Path, help="the solver's translator, on which they depend also")
    parser.add_argument("--out", metavar="DIR", type=Path, default=OUT, help="for the results")
    size = parser.add_mutually_exclusive_group()
    size.add_argument("--runs", metavar="N", type=count, default=200, help="the size of a sample")
    size.add_argument("--grid", metavar="N", type=count, help="N values of each parameter instead of a sample")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="ADDRESS", help="of a running Dask cluster, such as tcp://host:8786")
    where.add_argument("--workers", metavar="N", type=count, help="processes on this machine; default: one per core")
    parser.add_argument("--verify", action="store_true", help="compare each run with one of its own, to the last bit")
    return parser.parse_args()


def count(text: str) -> int:
    if not (text.isascii() and text.isdigit() and int(text) > 0):
        raise argparse.ArgumentTypeError(f"'{text}' is not a whole number above 0")
    return int(text)


def planned(options: argparse.Namespace) -> list[Parameters]:
    from study_plan import grid, sample  # not at the top, which every worker process reads

    return grid(options.grid) if options.grid else sample(options.runs)


def origin(archive: bytes, *solver: Path) -> str:
    """What results depend on beside the parameters: the FMU, the solver, and the code that computes them from a run."""
    content = archive + b"".join(file.read_bytes() for file in (*solver, *map(Path, SENT)))
    return hashlib.sha256(content).hexdigest()[:16]


@contextmanager
def connected(options: argparse.Namespace) -> Iterator[Client]:
    """A client of the running cluster, or of one on this machine that ends with it.

    The latter has one thread per worker: between the solver's steps a run holds Python's lock.
    """
    if options.scheduler:
        with running_cluster(options.scheduler) as client:
            yield client
        return
    workers = options.workers or len(os.sched_getaffinity(0))
    settings = {"dashboard_address": ":0", "silence_logs": logging.ERROR, "preload": LEAVE_INTERRUPTS}
    with LocalCluster(n_workers=workers, threads_per_worker=1, **settings) as cluster, Client(cluster) as client:
        yield client


def running_cluster(address: str) -> Client:
    logging.getLogger("distributed.client").setLevel(logging.CRITICAL)  # it logs a lost connection as a traceback
    try:
        client = Client(address, timeout=10)
        client.wait_for_workers(1, timeout=60)
    except (OSError, ValueError) as failure:  # a timeout also; an address that is none
        sys.exit(f"study: no cluster with workers at {address}: {failure}")
    return client


@contextmanager
def on_workers(client: Client, archive: bytes) -> Iterator[Car]:
    """The FMU on all workers, as long as the study needs it."""
    car = Car(archive)
    try:
        for file in SENT:
            client.upload_file(file)
        client.register_plugin(car)
        yield car
    except (CommClosedError, ClosedClientError, CancelledError):
        sys.exit("study: the cluster's scheduler has gone: the same command goes on from here")
    finally:
        if client.status == "running":
            client.unregister_worker_plugin(car.name)


def make_runs(client: Client, car: Car, plan: list[Parameters], table: Table) -> None:
    """Hands the runs to the cluster, a few at a time, and keeps what each of them gives as soon as it is there.

    Dask makes the run of a worker that died again on another one.
    """
    waiting = iter(plan)
    parameters: dict[Future[Any], Parameters] = {}

    def submit(number: int) -> list[Future[Any]]:
        chosen = list(islice(waiting, number))
        futures: list[Future[Any]] = client.map(run_one, chosen, car_name=car.name, pure=False)
        parameters.update(zip(futures, chosen, strict=True))
        return futures

    held = most_held(client)
    running = as_completed(submit(held), with_results=True, raise_errors=False)
    for future, result in progress(running, len(plan)):
        if future.cancelled():
            raise result
        failed = future.status == "error"
        failure = (str(result[1]) or repr(result[1])) if failed else ""
        table.add(parameters.pop(future), {} if failed else result, failure)
        if len(parameters) <= held // 2:
            held = most_held(client)
            running.update(submit(held - len(parameters)))


def most_held(client: Client) -> int:
    """For the workers of this moment: some may have joined or gone."""
    threads: dict[str, int] = client.nthreads()
    return RUNS_PER_THREAD * max(1, sum(threads.values()))


def progress(runs: Iterable[Run], number: int) -> Iterator[Run]:
    """The runs, with a bar that shows how many there are, and how many a second."""
    columns = (BarColumn(), MofNCompleteColumn(), TimeElapsedColumn(), TextColumn("{task.fields[speed]}"))
    with Progress(*columns, console=console) as bar:
        task = bar.add_task("", total=number, speed="")
        start = time.perf_counter()
        for made, run in enumerate(runs, start=1):
            yield run
            bar.update(task, completed=made, speed=f"{made / (time.perf_counter() - start):.1f} runs/s")


def finish(options: argparse.Namespace, rows: list[Row], failures: list[str]) -> int:
    """Writes the table and the map; the exit code is 0 if every run has a result, which is right if asked for."""
    import study_map
    import study_report

    write_table(options.out / "study.csv", rows)
    study_map.draw(options.out / "study.png", rows)
    study_report.write(options.out / "report.html", rows, ("demo/study", *sys.argv[4:]), options.fmu)
    console.print(f"Written to {options.out}: study.csv, study.png, report.html", soft_wrap=True)
    if options.verify:
        failures += verify(options.fmu, rows)
    for failure in failures[:MOST_SHOWN]:
        console.print(f"Failed: {failure}", style="bold red", soft_wrap=True)
    if len(failures) > MOST_SHOWN:
        console.print(f"and {len(failures) - MOST_SHOWN} more", style="bold red")
    return 1 if failures else 0


def verify(archive: Path, rows: list[Row]) -> list[str]:
    """Repeats each run on its own; returns what is wrong."""
    from study_verify import faults

    console.print("Comparing each run with a run of its own, and with the exact solution")
    found = [fault for fault in progress(faults(archive, rows), len(rows)) if fault]
    console.print(f"{len(rows) - len(found)} of {len(rows)} runs are equal to a single run, to the last bit")
    return found


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        console.print("Interrupted: the same command goes on from here.", style="yellow")
        sys.exit(130)
