"""The results of a study on disk: a journal to which each run is added as it ends, and the table at the end."""

import csv
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
    """The journal. It only grows: rows of another origin stay in it and are not used.

    A line without its end is what an interrupted process has left; it is removed.
    """

    def __init__(self, file: Path, origin: str) -> None:
        self._file, self._origin = file, origin
        self._results: dict[tuple[float, ...], Row] = {}
        self._failures: dict[tuple[float, ...], str] = {}

    def __enter__(self) -> Self:
        if not self._file.exists():
            self._file.write_text(",".join(JOURNAL) + "\n", encoding="utf-8")
        self._stream = self._file.open("r+", newline="", encoding="utf-8")
        self._read()
        self._writer = csv.writer(self._stream, lineterminator="\n")
        return self

    def __exit__(self, _kind: type | None, _error: BaseException | None, _trace: TracebackType | None) -> None:
        self._stream.close()

    def _read(self) -> None:
        content = self._stream.read()
        whole = content[: content.rfind("\n") + 1]
        header, *lines = csv.reader(whole.splitlines()) if whole else [[]]
        if tuple(header) != JOURNAL:
            self._stream.close()
            raise SystemExit(f"study: {self._file} is not a journal of this study: move it away, or choose another --out")
        self._stream.seek(0)
        self._stream.truncate(len(whole.encode()))
        self._stream.seek(0, 2)
        for line in lines:
            self._take(dict(zip(JOURNAL, line, strict=True)))

    def _take(self, line: Mapping[str, str]) -> None:
        if line["origin"] != self._origin:
            return
        key = tuple(float(line[name]) for name in INPUTS)
        if line["failure"]:
            self._failures[key] = line["failure"]
            return
        numbers = {name: float(line[name]) for name in COLUMNS if name != "digest"}
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
