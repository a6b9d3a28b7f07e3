"""Makes and checks FMUs for the Tessaro solver, by the program tessaro-fmu that comes with this module.

    import tessaro_fmu

    packed = tessaro_fmu.pack("Block.toml")
    for finding in tessaro_fmu.check(packed.archive):
        print(finding)
"""

from __future__ import annotations

import dataclasses
import json
import os
import subprocess
import sys
from collections.abc import Sequence
from pathlib import Path
from typing import Any, Literal, NoReturn

__all__ = ["Error", "Finding", "PackError", "Packed", "PROGRAM", "check", "pack"]

#: The program tessaro-fmu.
PROGRAM = Path(__file__).parent / "installation/bin/tessaro-fmu"

AnyPath = str | os.PathLike[str]


@dataclasses.dataclass(frozen=True)
class Finding:
    """Something wrong or risky."""

    severity: Literal["error", "warning"]
    rule: str  #: the rule's name, as in docs/checks.md
    file: str  #: the file in which it was found; empty: the FMU as a whole
    line: int  #: from 1; 0: the file as a whole
    what: str  #: a sentence
    why: str  #: why it matters
    fix: str  #: how to fix it; may be empty

    def __str__(self) -> str:
        line = f":{self.line}" if self.line else ""
        place = f"{self.file}{line}: " if self.file else ""
        return f"{place}{self.severity}: {self.what} [{self.rule}]"


@dataclasses.dataclass(frozen=True)
class Packed:
    """An FMU that was made."""

    archive: Path
    warnings: list[Finding]
    bundled: list[str]  #: the names of the libraries that were copied into it


class Error(Exception):
    """The program could not do what it was asked for; the text is its message."""


class PackError(Error):
    """No FMU was made. The text has all of `findings`, a line each."""

    def __init__(self, findings: list[Finding]) -> None:
        super().__init__("\n".join(map(str, findings)))
        self.findings = findings


def pack(
    description: AnyPath,
    output: AnyPath | None = None,
    *,
    bundle: bool = False,
    version: str | None = None,
    library: AnyPath | None = None,
) -> Packed:
    """Makes an FMU from a description, a TOML file.

    output: the archive; without it NAME.fmu in the working directory
    bundle: also puts the libraries that the FMU needs into the archive, for machines without libxml2
    version: the model's version, in place of the description's
    library: another libtessaro_fmu.so than the one that comes with this module

    Raises PackError if something is wrong in the description or an argument; then no archive is written.
    """
    given = {"--output": output, "--version": version, "--library": library}
    options = [f"{name}={os.fsdecode(value)}" for name, value in given.items() if value is not None]
    answer = _run("pack", description, *options, *(["--bundle"] if bundle else []))
    findings = _findings(answer)
    if answer.get("archive") is None:
        raise PackError(findings)
    return Packed(Path(answer["archive"]), findings, answer["bundled"])


def check(fmu: AnyPath) -> list[Finding]:
    """What is wrong or risky in an FMU, an archive or the folder of an unpacked one; none of its code runs.

    Of each rule the first few findings are given. What is not an FMU at all has the finding "unreadable".
    Raises FileNotFoundError if there is no such file.
    """
    os.stat(fmu)
    return _findings(_run("check", fmu))


def _run(command: str, path: AnyPath, *options: str) -> dict[str, Any]:
    arguments = [str(PROGRAM), command, "--json", *options, os.path.abspath(path)]
    try:
        ended = subprocess.run(arguments, capture_output=True, encoding="utf-8", errors="replace")
    except OSError as failure:
        raise Error(f"tessaro-fmu cannot be started: {failure}") from failure
    try:
        answer: dict[str, Any] = json.loads(ended.stdout)
    except ValueError:
        raise Error(ended.stderr.strip() or f"tessaro-fmu ended with exit code {ended.returncode}") from None
    return answer


def _findings(answer: dict[str, Any]) -> list[Finding]:
    """Without notes, which say what is in order."""
    return [Finding(**finding) for finding in answer["findings"] if finding["severity"] != "note"]


def main(arguments: Sequence[str] | None = None) -> NoReturn:
    """Becomes the program tessaro-fmu: the command of this name in a Python environment."""
    given = sys.argv[1:] if arguments is None else arguments
    os.execv(PROGRAM, ["tessaro-fmu", *given])
