"""The README's commands, run as they are in an empty folder: readme_test.py ROOT"""

import csv
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(sys.argv[1]).resolve()


def main(folder: Path) -> None:
    section = (ROOT / "README.md").read_text().split("## Make your own FMU")[1]
    commands = re.search(r"\n```\n(.*?)```", section, re.S)[1]
    environment = {name: os.environ[name] for name in ("PATH", "HOME") if name in os.environ} | {"R": str(ROOT)}
    script = ["bash", "-euxo", "pipefail", "-c", commands]
    result = subprocess.run(script, cwd=folder, env=environment, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"exit code {result.returncode}:\n{result.stdout}{result.stderr}")
    rows = list(csv.DictReader((folder / "block.csv").open()))
    positions = [float(row["position"]) for row in rows]
    if len(rows) < 100 or not min(positions) < -0.05 < 0.05 < max(positions):
        sys.exit(f"The mass does not swing: {len(rows)} rows, from {min(positions)} to {max(positions)}")


with tempfile.TemporaryDirectory() as temporary:
    main(Path(temporary))
