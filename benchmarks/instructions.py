"""Counts the instructions of each call and compares them with recorded counts.

instructions.py PROGRAM VALGRIND RECORDED [--record]

Runs PROGRAM, which has all cases, under callgrind. Fails when the mean count of a case has grown by more than 5
percent, or when the cases are not those of the file RECORDED. The exit code is 77 when that file does not exist, as
for another compiler. --record writes it.
"""

import csv
import re
import subprocess
import sys
import tempfile
from pathlib import Path

GROWTH = 1.05

# The counts must not depend on the machine: no environment, no string functions for newer processors.
FEATURES = "AVX512F AVX2 AVX SSE4_2 SSE4_1 SSSE3 ERMS FSRM BMI2 BMI1 MOVBE LZCNT POPCNT"
ENVIRONMENT = {"GLIBC_TUNABLES": "glibc.cpu.hwcaps=" + ",".join(f"-{name}" for name in FEATURES.split())}

Case = tuple[str, int]


def count(program: str, valgrind: str) -> dict[Case, dict[str, float]]:
    """The mean count of each case, by side ("fmu", "floor", ...)."""
    counts: dict[Case, dict[str, float]] = {}
    with tempfile.TemporaryDirectory() as folder:
        command = [valgrind, "--quiet", "--tool=callgrind", f"--callgrind-out-file={folder}/out", program]
        subprocess.run(command, check=True, env=ENVIRONMENT)
        for file in Path(folder).glob("out.*"):
            text = file.read_text()
            if not (name := re.search(r"Client Request: (.*)/(.*)/(\d+)/(\d+)$", text, re.M)):
                continue
            what, side, size, runs = name.groups()
            total = int(re.search(r"^summary: (\d+)", text, re.M)[1])
            counts.setdefault((what, int(size)), {})[side] = round(total / int(runs), 1)
    return dict(sorted(counts.items()))


def record(file: Path, counts: dict[Case, dict[str, float]]) -> None:
    with file.open("w", newline="") as stream:
        rows = csv.writer(stream, lineterminator="\n")
        rows.writerow(["call", "size", "fmu", "floor"])
        rows.writerows([*case, sides["fmu"], sides.get("floor", "")] for case, sides in counts.items())


def read(file: Path) -> dict[Case, float]:
    with file.open() as stream:
        return {(row["call"], int(row["size"])): float(row["fmu"]) for row in csv.DictReader(stream)}


def differences(counts: dict[Case, dict[str, float]], recorded: dict[Case, float]) -> list[str]:
    found = [f"{what}, size {size}: has no recorded count" for what, size in counts.keys() - recorded.keys()]
    for case, before in recorded.items():
        name = "{}, size {}".format(*case)
        if case not in counts:
            found.append(f"{name}: has a recorded count, but is no longer measured")
        elif (now := counts[case]["fmu"]) > before * GROWTH:
            found.append(f"{name}: grew from {before:g} to {now:g} instructions, {now / before - 1:+.1%}")
    return sorted(found)


def main() -> int:
    program, valgrind, file = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    recording = sys.argv[4:] == ["--record"]
    if not recording and not file.exists():
        print(f"no counts are recorded for this compiler: {file} does not exist")
        return 77
    counts = count(program, valgrind)
    if recording:
        record(file, counts)
        return 0
    recorded = read(file)
    for (what, size), before in recorded.items():
        now = counts.get((what, size), {}).get("fmu", before)
        if now * GROWTH < before:
            print(f"{what}, size {size}: fell from {before:g} to {now:g} instructions; record the new count")
    found = differences(counts, recorded)
    print(*found, sep="\n")
    if found:
        print("To record new counts: cmake --build --preset release --target record_instructions")
    else:
        print(f"{len(counts)} calls, none grew by more than {GROWTH - 1:.0%}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
