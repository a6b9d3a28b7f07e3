#!/usr/bin/env python3
"""Which versions of the C library and the C++ runtime compiled files need, by the versions of the symbols they import.

oldest_systems.py README PROGRAM LIBRARY
oldest_systems.py --glibc README FOLDER     also prints the oldest glibc that works for all compiled files in a folder

Both fail if a file needs a newer system than the README says. The first also looks at the libraries that PROGRAM needs,
since they are bundled. Exit code 77: those of this system are newer than the ones that releases are made with.
"""

import platform
import re
import subprocess
import sys
from pathlib import Path

NUMBER = r"(\d+(?:\.\d+)+)"

Version = tuple[int, ...]


def versions(text: str) -> Version:
    return tuple(map(int, text.split(".")))


def dotted(version: Version) -> str:
    return ".".join(map(str, version))


def newest_needed(file: Path, name: str) -> Version:
    """The newest version of GLIBC or GLIBCXX that a file imports; (0,) if none."""
    imported = subprocess.run(["readelf", "--version-info", "--wide", file], check=True, capture_output=True, text=True)
    needs = imported.stdout.partition(".gnu.version_r")[2]
    return max(map(versions, re.findall(rf"Name: {name}_([\d.]+)", needs)), default=(0,))


def is_compiled(file: Path) -> bool:
    return file.is_file() and file.read_bytes()[:4] == b"\x7fELF"


def bundled(program: Path) -> list[Path]:
    found = subprocess.run(["ldd", program], check=True, capture_output=True, text=True).stdout
    return [Path(path) for path in re.findall(r"=> (/\S+)", found) if not re.search(r"/lib[cm]\.so", path)]


def promised(readme: Path, pattern: str) -> Version:
    if not (match := re.search(pattern, readme.read_text())):
        sys.exit(f"{readme} does not say: {pattern}")
    return versions(match[1])


def promised_to_all(readme: Path) -> Version:
    return promised(readme, rf"the archive and the wheel glibc {NUMBER}")


def oldest_glibc(readme: Path, folder: Path) -> Version:
    found = max(newest_needed(file, "GLIBC") for file in folder.rglob("*") if is_compiled(file))
    if found > (limit := promised_to_all(readme)):
        sys.exit(f"{folder} needs glibc {dotted(found)}, the README says {dotted(limit)}: make it on an older system")
    return found


def main(readme: Path, program: Path, library: Path) -> None:
    all_glibc = promised_to_all(readme)
    if versions(platform.libc_ver()[1]) > all_glibc:
        print(f"releases are made on a system with an older glibc than {platform.libc_ver()[1]}")
        sys.exit(77)
    limits = [
        (file, name, promised(readme, rf"the program need .*{prefix} {NUMBER}"))
        for file in (library, program)
        for name, prefix in (("GLIBC", "glibc"), ("GLIBCXX", "GLIBCXX"))
    ]
    limits += [(file, "GLIBC", all_glibc) for file in bundled(program)]
    wrong = [
        f"{file} needs {name} {dotted(found)}, the README says {dotted(limit)}"
        for file, name, limit in limits
        if (found := newest_needed(file, name)) > limit
    ]
    sys.exit("\n".join(wrong) or None)


if __name__ == "__main__":
    if sys.argv[1] == "--glibc":
        print(dotted(oldest_glibc(*map(Path, sys.argv[2:]))))
    else:
        main(*map(Path, sys.argv[1:]))
