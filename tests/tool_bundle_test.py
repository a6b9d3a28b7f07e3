"""A bundled FMU where nothing is installed: tool_bundle_test.py PROGRAM MINIMAL_MASTER

The master runs in a root folder with the C library, the C++ runtime and FMUs only. Exit code 77: that's impossible here.
"""

import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from zipfile import ZipFile

PROGRAM, MASTER = (Path(argument).resolve() for argument in sys.argv[1:3])
ENVIRONMENT = {"KORVAN_FMU_ROOT": "/", "PATH": "/usr/sbin:/usr/bin:/sbin:/bin"}
PRESENT = r"(/\S*/(?:libc|libm|libstdc\+\+|libgcc_s|ld-linux-x86-64)\.so\.\d) \(0x"


def check_licenses(folder: Path, licenses: Path) -> None:
    """Each library that was added has its package's; without dpkg there are warnings, and the FMU is packed as well."""
    libraries = {path.name for path in (licenses.parent.parent / "binaries/linux64").glob("lib*")}
    texts = {path.stem: path.read_text() for path in licenses.iterdir()}
    if "libxml2" not in texts or "Permission is hereby granted" not in texts["libxml2"]:
        sys.exit(f"The licence of libxml2 is missing; there are {texts.keys()} for {libraries}")
    (folder / "bin").mkdir()
    (folder / "bin/patchelf").symlink_to(shutil.which("patchelf"))
    command = [PROGRAM, "pack", "Lonely.toml", "--bundle", "--output", "without.fmu"]
    printed = subprocess.run(command, cwd=folder, env={"PATH": str(folder / "bin")}, capture_output=True, text=True, check=True).stderr
    if len(re.findall(r"No licence of .*\[license-missing\]", printed)) != len(libraries):
        sys.exit(f"There should be a warning for each of {libraries}:\n{printed}")

    # An installation that brings the libraries along has the texts of all of them.
    brought, texts = folder / "prefix/lib/tessaro-fmu", folder / "prefix/share/doc/tessaro-fmu/licences"
    shutil.copytree(licenses.parent.parent / "binaries/linux64", brought)
    texts.mkdir(parents=True)
    (texts / "zlib1g").write_text("the text")
    command += ["--library", brought / "Lonely.so"]
    printed = subprocess.run(command, cwd=folder, env={"PATH": ""}, capture_output=True, text=True, check=True).stderr
    if printed or ZipFile(folder / "without.fmu").read("documentation/licenses/zlib1g.txt") != b"the text":
        sys.exit(f"The licence that the installation has should be in the FMU:\n{printed}")


def main(folder: Path, root: Path) -> None:
    subprocess.run([PROGRAM, "new", "Lonely"], cwd=folder, check=True)
    for fmu, options in ("plain", []), ("whole", ["--bundle", "--depfile", "inputs"]):
        subprocess.run([PROGRAM, "pack", "Lonely.toml", *options], cwd=folder, check=True)
        shutil.unpack_archive(folder / "Lonely.fmu", root / fmu, "zip")
    check_licenses(folder, root / "whole/documentation/licenses")
    for file in r"/libxml2\.so", r"/libxml2\S*/copyright":
        if not re.search(file, (folder / "inputs").read_text()):
            sys.exit(f"{file} should be among the inputs of the archive")
    shutil.copy(MASTER, root / "master")
    for library in re.findall(PRESENT, subprocess.getoutput(f"ldd {root}/plain/binaries/linux64/Lonely.so")):
        (root / library[1:]).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(library, root / library[1:])

    def run(way: list[str], fmu: str) -> subprocess.CompletedProcess[str]:
        command = [*way, root, "/master", f"/{fmu}/binaries/linux64/Lonely.so", f"file:///{fmu}/resources"]
        return subprocess.run(command, env=ENVIRONMENT, capture_output=True, text=True)

    # Without an FMU the master says that there is none, once it runs at all.
    ways = [way for way in (["chroot"], ["unshare", "-r", "chroot"]) if "/nowhere/" in run(way, "nowhere").stderr]
    plain, whole = (run(ways[0], fmu) for fmu in ("plain", "whole")) if ways else sys.exit(77)
    if plain.returncode != 1 or "libxml2" not in plain.stderr or whole.returncode != 0:
        sys.exit(f"The first should fail for its libraries, the second run:\n{plain}\n{whole}")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as name:
        main(Path(name), Path(name) / "root")
