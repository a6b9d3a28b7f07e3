"""The archive of a release where nothing else is: empty_root.py DIST

Its files and the C library are all that there is in the root folder. Exit code 77: a process can be given no other root
folder here.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

# Mounts that end with the process; the program finds its own folder by /proc.
WAY = ["unshare", *([] if os.geteuid() == 0 else ["--map-root-user"]), "--mount", "--pid", "--fork", "sh", "-c"]
ENTER = 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"'
SOLVER = "solver/plsolvers/tessaro/bin/linux64"
C_LIBRARY = r"(/\S*/(?:ld-linux-x86-64|lib(?:c|m|dl|pthread|rt))\.so\.\d) \(0x"


def copy_c_library(files: list[Path], root: Path) -> None:
    for library in set(re.findall(C_LIBRARY, subprocess.getoutput(f"ldd {' '.join(map(str, files))}"))):
        (root / library[1:]).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(library, root / library[1:])


class EmptyRoot:
    """A root folder with an unpacked archive, the C library, and what needs libxml2 in place of the solver's library."""

    def __init__(self, archive: Path, root: Path) -> None:
        shutil.unpack_archive(archive, root)
        [unpacked] = root.iterdir()
        self.root, self.program = root, f"/{unpacked.name}/bin/tessaro-fmu"
        copy_c_library([unpacked / "bin/tessaro-fmu", *unpacked.rglob("*.so*")], root)
        for folder in ("proc", "tmp", SOLVER):
            (root / folder).mkdir(parents=True)
        shutil.copy(next(unpacked.rglob("libtessaro_fmu.so")), root / SOLVER / "tscicos.so")

    def run(self, *arguments: str) -> subprocess.CompletedProcess[str]:
        command = [*WAY, ENTER, str(self.root), self.program, *arguments]
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "KORVAN_FMU_ROOT": "/solver"}
        return subprocess.run(command, env=environment, capture_output=True, text=True)

    def errors(self, *arguments: str) -> set[str]:
        """The rules that are broken, and the libraries that are missing."""
        findings = json.loads(self.run(*arguments, "--json").stdout)["findings"]
        errors = [finding for finding in findings if finding["severity"] == "error"]
        rules = {finding["rule"] for finding in errors} - {"library-dependency"}
        return rules | {name for finding in errors for name in re.findall(r"\blib[^\s\",]+\.so\.\d+", finding["what"])}


def main(machine: EmptyRoot) -> None:
    for command in ("new Block", "pack Block.toml --output Plain.fmu", "pack Block.toml --bundle"):
        if (result := machine.run(*command.split())).returncode != 0:
            sys.exit(f"{command}: {result.stdout}{result.stderr}")

    # The program has loaded libxml2 and the C++ runtime; nobody else here has them.
    runtime = {"libstdc++.so.6", "libgcc_s.so.1"}
    for command, expected in {
        "check Plain.fmu": runtime | {"libxml2.so.2"},
        "check Block.fmu": runtime,
        "doctor Block.fmu": runtime | {"libxml2.so.2", "entry-point-missing", "translator-missing"},
    }.items():
        if (errors := machine.errors(*command.split())) != expected:
            sys.exit(f"{command} should find {expected}, not {errors}")
    print("the archive works in an empty root folder")


if __name__ == "__main__":
    if subprocess.run([*WAY, "mount -t proc proc /proc"], stderr=subprocess.DEVNULL).returncode != 0:
        print("no namespaces here: the archive was not tried in an empty root folder")
        sys.exit(77)
    [archive] = Path(sys.argv[1]).glob("*.tar.gz")
    with tempfile.TemporaryDirectory() as name:
        main(EmptyRoot(archive, Path(name)))
