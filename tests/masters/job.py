"""What a master is asked to do and what it recorded, as the tests and the programs that drive the masters exchange it."""

import json
import sys
from collections.abc import Callable
from dataclasses import asdict, dataclass, field
from pathlib import Path

Signals = dict[str, list[float]]


@dataclass(kw_only=True)
class Job:
    """FMUs to be stepped together. Variables are named "instance.variable"."""

    archives: dict[str, str]
    """The FMU of each instance."""
    parameters: dict[str, float]
    inputs: dict[str, list[float]] = field(default_factory=dict)
    """The values of the free inputs; the n-th holds over the n-th step."""
    connections: list[tuple[str, str]] = field(default_factory=list)
    """Pairs of an output and the input that it drives."""
    signals: list[str] = field(default_factory=list)
    """The variables to record at the end of each step."""
    step: float
    """The length of a step in s."""
    steps: int

    def write(self, path: Path) -> None:
        path.write_text(json.dumps(asdict(self)))


def drive(master: Callable[[Job], Signals]) -> None:
    """The main program of a driver: runs the job of the first file and writes the signals to the second one."""
    job = Job(**json.loads(Path(sys.argv[1]).read_text()))
    Path(sys.argv[2]).write_text(json.dumps(master(job)))
