"""The commands of README.md and docs/packaging.md, run as they are in an empty folder: readme_test.py ROOT"""

import csv
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(sys.argv[1]).resolve()


def run_block(page: str, heading: str, form: str, folder: Path, path: str) -> None:
    """The first block of commands of this form after a heading."""
    section = (ROOT / page).read_text().split(heading)[1]
    commands = re.search(rf"\n```{form}\n(.*?)```", section, re.S)[1]
    environment = {"PATH": path, "HOME": os.environ.get("HOME", "/"), "R": str(ROOT)}
    script = ["bash", "-euxo", "pipefail", "-c", commands]
    result = subprocess.run(script, cwd=folder, env=environment, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"{page}: exit code {result.returncode}:\n{result.stdout}{result.stderr}")


def main(folder: Path) -> None:
    run_block("README.md", "## Make your own FMU", "", folder, os.environ["PATH"])
    rows = list(csv.DictReader((folder / "block.csv").open()))
    positions = [float(row["position"]) for row in rows]
    if len(rows) < 100 or not min(positions) < -0.05 < 0.05 < max(positions):
        sys.exit(f"The mass does not swing: {len(rows)} rows, from {min(positions)} to {max(positions)}")

    (folder / "packaging").mkdir()
    run_block("docs/packaging.md", "# Making an FMU", "sh", folder / "packaging", f"{ROOT}/build/release:{os.environ['PATH']}")
    found = json.loads((folder / "packaging/findings.json").read_text())
    info = json.loads((folder / "packaging/block.json").read_text())
    if (found["archive"], found["findings"], info["model"]) != ("Block.fmu", [], "Block"):
        sys.exit(f"docs/packaging.md: {found} {info}")


with tempfile.TemporaryDirectory() as temporary:
    main(Path(temporary))
