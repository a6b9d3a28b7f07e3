"""The results of a study on disk: a journal to which each run is added as it ends, and the table at the end."""

import csv
import fcntl
import math
from collections.abc import Iterable, Mapping
from pathlib import Path
from types import TracebackType
from typing import Any, Self

from car_runs import DESIGN, Parameters

INPUTS = (*DESIGN, "speed")
RESULTS = ("comfort", "load_change", "least_load", "digest")
COLUMNS = (*INPUTS, *RESULTS)
JOURNAL = ("origin", *COLUMNS, "failure")

Row = dict[str, Any]
"""Parameters and results of a run."""


class Table:
    """The journal, of one process at a time. It only grows: rows of another origin stay in it and are not used.

    A line without its end is what an interrupted process has left; it is removed. Damaged lines stay and are not used.
    """

    def __init__(self, file: Path, origin: str) -> None:
        self._file, self._origin = file, origin
        self._results: dict[tuple[float, ...], Row] = {}
        self._failures: dict[tuple[float, ...], str] = {}
        self.damaged = 0
        """How many lines are."""

    def __enter__(self) -> Self:
        try:
            self._stream = self._file.open("a", newline="", encoding="utf-8")
            fcntl.flock(self._stream, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            self._stream.close()
            raise SystemExit(f"study: another study writes {self._file}: wait for it, or choose another --out") from None
        except OSError as failure:
            raise SystemExit(f"study: no journal can be written: {failure}") from None
        self._read()
        self._writer = csv.writer(self._stream, lineterminator="\n")
        return self

    def __exit__(self, _kind: type | None, _error: BaseException | None, _trace: TracebackType | None) -> None:
        self._stream.close()

    def _read(self) -> None:
        content = self._file.read_bytes()
        if not content:
            self._stream.write(",".join(JOURNAL) + "\n")
            return
        header, *lines = content.decode(errors="replace").split("\n")
        if tuple(header.split(",")) != JOURNAL or not lines:
            self._stream.close()
            raise SystemExit(f"study: {self._file} is not a journal of this study: move it away, or choose another --out")
        self._stream.truncate(content.rfind(b"\n") + 1)
        for line in lines[:-1]:
            try:
                self._take(dict(zip(JOURNAL, *csv.reader([line]), strict=True)))
            except (ValueError, TypeError, csv.Error):
                self.damaged += 1

    def _take(self, line: Mapping[str, str]) -> None:
        if line["origin"] != self._origin:
            return
        key = tuple(float(line[name]) for name in INPUTS)
        if line["failure"]:
            self._failures[key] = line["failure"]
            return
        numbers = {name: float(line[name]) for name in COLUMNS if name != "digest"}
        if not all(map(math.isfinite, numbers.values())):
            raise ValueError
        self._results[key] = numbers | {"digest": line["digest"]}

    def add(self, parameters: Parameters, results: Row, failure: str = "") -> None:
        """Writes a run that has ended, at once to the file."""
        values = {"origin": self._origin, **parameters, **results, "failure": " ".join(failure.split())}
        line = {name: str(values.get(name, "")) for name in JOURNAL}
        self._writer.writerow(line.values())
        self._stream.flush()
        self._take(line)

    def result(self, parameters: Parameters) -> Row | None:
        return self._results.get(_key(parameters))

    def failure(self, parameters: Parameters) -> str:
        """Why a run has no result; empty if it has one, or was not made. A study tries such a run again."""
        return "" if _key(parameters) in self._results else self._failures.get(_key(parameters), "")


def write_table(file: Path, rows: Iterable[Row]) -> None:
    with file.open("w", newline="", encoding="utf-8") as stream:
        writer = csv.DictWriter(stream, COLUMNS, lineterminator="\n")
        writer.writeheader()
        writer.writerows(rows)


def _key(parameters: Parameters) -> tuple[float, ...]:
    return tuple(parameters[name] for name in INPUTS)
