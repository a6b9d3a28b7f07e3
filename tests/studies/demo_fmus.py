"""The demo's FMUs and code for the tests."""

import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "release"
INSTALLATION = BUILD / "installation"
sys.path += [str(ROOT / "demo"), str(ROOT / "benchmarks")]


def pack(model: str, folder: Path) -> Path:
    """The FMU of a demo model."""
    archive = folder / f"{model}.fmu"
    description = ROOT / "demo" / "models" / model / f"{model}.toml"
    command: list[str | Path] = [BUILD / "tessaro-fmu", "pack", description, "--output", archive]
    subprocess.run(command, check=True, capture_output=True)
    return archive
