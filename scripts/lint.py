"""Clang's view of the sources: clang-tidy for the library and the program, Clang's warnings for everything else.

    scripts/lint.py BUILD_FOLDER    a folder configured with Clang, for its compile commands

Most of the time would go into the same headers again and again, so the files of the library, of the program and of each
other target are looked at together, those with the same options in one unit that includes them all. A name that two files of
a unit define in two ways is found too, which a linker would not notice. Exit code: 1 if anything is found.
"""

import json
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TIDIED = re.findall(r"\w+", re.findall("HeaderFilterRegex:(.*)", (ROOT / ".clang-tidy").read_text())[0])


class Unit:
    """Files that are compiled with the same options."""

    def __init__(self, source: Path, options: list[str], is_tidied: bool) -> None:
        self.source, self.options, self.is_tidied = source, options, is_tidied
        self.files: list[str] = []

    def findings(self) -> str:
        self.source.write_text("".join(f'#include "{file}"\n' for file in self.files))
        if self.is_tidied:
            command = ["clang-tidy", "--quiet", "--checks=-bugprone-suspicious-include", str(self.source), "--"]
        else:
            command = ["clang++", "-fsyntax-only", str(self.source)]
        command += [*self.options, "-Wno-shadow"]
        result = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return result.stdout if result.returncode != 0 else ""


def units_of(build: Path) -> list[Unit]:
    scratch = build / "lint"
    scratch.mkdir(exist_ok=True)
    units: dict[tuple[str, ...], Unit] = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        words = shlex.split(entry["command"])
        options = words[1 : words.index("-o")]
        is_tidied = Path(entry["file"]).relative_to(ROOT).parts[0] in TIDIED
        target = re.findall(r"CMakeFiles/(\w+)\.dir", words[words.index("-o") + 1])[0]
        name = "tidied" if is_tidied else target
        unit = Unit(scratch / f"{name}-{len(units)}.cpp", options, is_tidied)
        units.setdefault((name, *options), unit).files.append(entry["file"])
    return sorted(units.values(), key=lambda unit: -len(unit.files))


def main() -> int:
    units = units_of(Path(sys.argv[1]).resolve())
    number = len({file for unit in units for file in unit.files})
    with ThreadPoolExecutor(2) as pool:
        found = "".join(pool.map(Unit.findings, units))
    print(found or f"{number} files in {len(units)} units, nothing found")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
