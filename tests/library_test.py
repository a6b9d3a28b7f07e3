"""What the library exports, and which folder includes which: library_test.py ROOT LIBRARY NM"""

import re
import subprocess
import sys
import unittest
from pathlib import Path

ROOT, LIBRARY, NM = Path(sys.argv[1]), sys.argv[2], sys.argv[3]

# A file of a layer includes files of its own and of lower layers only.
LAYERS = [
    [r"util/.*"],
    [r"fmi/(allocation|call_rules|fmi2|fmu_callback2|fmu_instance|installation|log)\..*", r"fmi/released_handles\.cpp"],
    [r"resources/.*"],
    [r"plant/.*"],
    [r"fmi/.*"],
]
# A program of its own: may stand on the parameter files, and on what every solver is written against.
PACKAGING = r"packaging/.*|plant/access_interface\.h"


def layer_of(file: str) -> int:
    return next((i for i, layer in enumerate(LAYERS) if any(re.fullmatch(form, file) for form in layer)), len(LAYERS))


def arrows_from(*folders: str) -> list[tuple[str, str]]:
    """The pairs of a file of these folders and a file of the project that it includes."""
    return [
        (str(file.relative_to(ROOT)), included)
        for folder in folders
        for file in (ROOT / folder).rglob("*.[ch]*")
        for included in re.findall(r'^\s*#\s*include\s*"(.+)"', file.read_text(), re.M)
    ]


class Library(unittest.TestCase):
    def test_it_exports_what_the_map_lists_and_nothing_else(self) -> None:
        text = re.sub(r"#.*", "", (ROOT / "tessaro_fmu.map").read_text().split("local:")[0])
        listed = set(re.findall(r'"(.+)";', text)) | set(re.findall(r"^\s*(\w+);", text, re.M))
        lines = subprocess.run([NM, "-D", "-C", "--defined-only", LIBRARY], check=True, capture_output=True, text=True)
        exported = [line.split(" ", 2)[2] for line in lines.stdout.splitlines()]
        self.assertEqual(sorted(exported), sorted(listed))

    def test_includes_run_from_the_exported_functions_down_to_the_utilities(self) -> None:
        arrows = arrows_from("fmi", "plant", "resources", "util")
        self.assertGreater(len(arrows), 50)
        upward = [arrow for arrow in arrows if layer_of(arrow[1]) > layer_of(arrow[0]) or not (ROOT / arrow[1]).exists()]
        self.assertEqual(upward, [])

    def test_the_packaging_program_includes_nothing_above_the_resources(self) -> None:
        arrows = arrows_from("packaging")
        self.assertGreater(len(arrows), 20)
        upward = [arrow for arrow in arrows if layer_of(arrow[1]) > 2 and not re.fullmatch(PACKAGING, arrow[1])]
        self.assertEqual(upward, [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
