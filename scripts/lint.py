"""Clang's view of the sources: clang-tidy for the library and the program, Clang's warnings for everything else.

    scripts/lint.py BUILD_FOLDER    a folder configured with Clang, for its compile commands

Most of the time would go into the same headers again and again, so the files of a folder are looked at together, as one
unit that includes them all. Those that don't compile together, such as two with a helper of the same name, go into
another unit; a mistake shows in a unit of its own. Exit code: 1 if anything is found.
"""

import json
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIBRARY = ["fmi", "plant", "resources", "util"]  # small enough for one unit
TIDIED = re.findall(r"\w+", re.findall("HeaderFilterRegex:(.*)", (ROOT / ".clang-tidy").read_text())[0])


class Unit:
    """Files of a folder, with the options of all of them."""

    def __init__(self, name: str, scratch: Path, options: list[str], is_tidied: bool) -> None:
        self.name, self.scratch, self.options, self.is_tidied = name, scratch, options, is_tidied
        self.files: list[str] = []
        self.definitions: dict[str, None] = {}

    def add(self, file: str, definitions: list[str]) -> None:
        if file not in self.files:
            self.files.append(file)
            self.definitions |= dict.fromkeys(definitions)

    def findings(self) -> str:
        apart = self.without_those_that_fail()
        if self.is_tidied:
            source, *options = self.command("-Wno-shadow")
            result = run("clang-tidy", "--quiet", "--checks=-bugprone-suspicious-include", source, "--", *options)
        else:
            result = run("clang++", *self.command("-fsyntax-only", "-Wno-shadow"))
        found = result.stdout if result.returncode != 0 else ""
        return found + (apart.findings() if apart.files else "")

    def without_those_that_fail(self) -> "Unit":
        """Moves the files that don't compile with those before them to another unit, which is returned."""
        apart = Unit(self.name + "-apart", self.scratch, self.options, self.is_tidied)
        apart.definitions = self.definitions
        while len(self.files) > 1:
            printed = run("clang++", *self.command("-fsyntax-only", "-w", "-ferror-limit=0")).stdout
            pattern = r"^In file included from (/.+?):\d+:$|^(/.+?):\d+:\d+: (?:fatal )?error:"
            places = [including or file for including, file in re.findall(pattern, printed, re.M)]
            failing = [file for file in self.files[1:] if file in places]
            if not failing:
                break
            apart.files += failing
            self.files = [file for file in self.files if file not in failing]
        return apart

    def command(self, *options: str) -> list[str]:
        source = self.scratch / f"{self.name}.cpp"
        source.write_text("".join(f'#include "{file}"\n' for file in self.files))
        return [str(source), *self.options, *self.definitions, *options]


def run(*command: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def units_of(build: Path) -> list[Unit]:
    scratch = build / "lint"
    scratch.mkdir(exist_ok=True)
    units: dict[tuple[str, ...], Unit] = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        command = entry["command"].replace("-isystem ", "-isystem")
        words = shlex.split(command)
        words = words[1 : words.index("-o")]
        definitions = [word for word in words if word.startswith(("-D", "-I", "-isystem"))]
        options = [word for word in words if word not in [*definitions, "-fPIC", "-fPIE"]]
        folder = Path(entry["file"]).relative_to(ROOT).parent
        name = "library" if folder.parts[0] in LIBRARY else "-".join(folder.parts)
        unit = Unit(f"{name}-{len(units)}", scratch, options, folder.parts[0] in TIDIED)
        units.setdefault((name, *options), unit).add(entry["file"], definitions)
    return sorted(units.values(), key=lambda unit: -len(unit.files))


def main() -> int:
    units = units_of(Path(sys.argv[1]).resolve())
    number = sum(len(unit.files) for unit in units)
    with ThreadPoolExecutor(2) as pool:
        found = "".join(pool.map(Unit.findings, units))
    print(found or f"{number} files in {len(units)} units, nothing found")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
