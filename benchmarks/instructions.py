"""Counts the instructions of each call and holds them against the counts that are kept.

instructions.py PROGRAM VALGRIND KEPT [--record]

PROGRAM runs each case under callgrind; the mean of each goes into a row. Fails when one has grown by more than 5
percent, or when cases and rows are not the same ones. Without a file of kept counts, as for a compiler that has none,
the exit code is 77. --record writes the file.
"""

import csv
import re
import subprocess
import sys
import tempfile
from pathlib import Path

GROWTH = 1.05

# Nothing of the machine counts: no variables beside the program's own, no text functions for newer processors.
FEATURES = "AVX512F AVX2 AVX SSE4_2 SSE4_1 SSSE3 ERMS FSRM BMI2 BMI1 MOVBE LZCNT POPCNT"
ENVIRONMENT = {"GLIBC_TUNABLES": "glibc.cpu.hwcaps=" + ",".join(f"-{name}" for name in FEATURES.split())}

Case = tuple[str, int]


def count(program: str, valgrind: str) -> dict[Case, dict[str, float]]:
    """The mean of each case's runs, by side ("fmu", "floor", ...)."""
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


def complaints(counts: dict[Case, dict[str, float]], kept: dict[Case, float]) -> list[str]:
    found = [f"{what}, size {size}: is counted, but has no kept count" for what, size in counts.keys() - kept.keys()]
    for case, before in kept.items():
        name = "{}, size {}".format(*case)
        if case not in counts:
            found.append(f"{name}: has a kept count, but is no longer counted")
        elif (now := counts[case]["fmu"]) > before * GROWTH:
            found.append(f"{name}: grew from {before:g} to {now:g} instructions, {now / before - 1:+.1%}")
    return sorted(found)


def main() -> int:
    program, valgrind, file = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    recording = sys.argv[4:] == ["--record"]
    if not recording and not file.exists():
        print(f"{file} is not there: no counts are kept for this compiler")
        return 77
    counts = count(program, valgrind)
    if recording:
        record(file, counts)
        return 0
    kept = read(file)
    for (what, size), before in kept.items():
        now = counts.get((what, size), {}).get("fmu", before)
        if now * GROWTH < before:
            print(f"{what}, size {size}: fell from {before:g} to {now:g} instructions; record that")
    found = complaints(counts, kept)
    print(*found, sep="\n")
    if found:
        print("To record new counts: cmake --build --preset release --target record_instructions")
    else:
        print(f"{len(counts)} calls, none grew by more than {GROWTH - 1:.0%}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
