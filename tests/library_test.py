"""What the library exports, which folder includes which, and that lists which belong together are complete:
library_test.py ROOT LIBRARY NM"""

import re
import subprocess
import sys
import unittest
from pathlib import Path

ROOT, LIBRARY, NM = Path(sys.argv[1]), sys.argv[2], sys.argv[3]

# A file includes files of its own folder and of those before it; a longer name goes before the one that it begins with.
LAYERS = ["util/internal/", "util/", "fmi/instance/", "resources/", "plant/", "fmi/"]
# The program tessaro-fmu: a file includes files of its own folder and of the groups before it.
TOOL = [
    ["tool/os/"],
    ["tool/findings/", "tool/fmu/"],
    ["tool/pack/", "tool/info/", "tool/check/", "tool/doctor/solver/"],
    ["tool/doctor/"],
    ["tool/"],
]
# What the program shares with the library: all but the exported functions.
SHARED = LAYERS[:-1]


def layer_of(file: str) -> int:
    return next((i for i, folder in enumerate(LAYERS) if file.startswith(folder)), len(LAYERS))


def arrows_from(*folders: str) -> list[tuple[str, str]]:
    """The pairs of a file of these folders and a file of the project that it includes."""
    return [
        (str(file.relative_to(ROOT)), included)
        for folder in folders
        for file in (ROOT / folder).rglob("*.[ch]*")
        for included in re.findall(r'^\s*#\s*include\s*"(.+)"', file.read_text(), re.M)
    ]


def in_map() -> set[str]:
    """The names that tessaro_fmu.map lists, with their parameters where they have C++ names."""
    text = re.sub(r"#.*", "", (ROOT / "tessaro_fmu.map").read_text().split("local:")[0])
    return set(re.findall(r'"(.+)";', text)) | set(re.findall(r"^\s*(\w+);", text, re.M))


class Library(unittest.TestCase):
    def test_it_exports_what_the_map_lists_and_nothing_else(self) -> None:
        lines = subprocess.run([NM, "-D", "-C", "--defined-only", LIBRARY], check=True, capture_output=True, text=True)
        exported = [line.split(" ", 2)[2] for line in lines.stdout.splitlines()]
        self.assertEqual(sorted(exported), sorted(in_map()))

    def test_the_map_lists_what_headers_declare_for_export(self) -> None:
        headers = [file for folder in LAYERS for file in (ROOT / folder).glob("*.h")]
        text = "".join(re.sub("//.*", "", file.read_text()) for file in headers)
        declared = set(re.findall(r"^(?:extern .C. )?TESSARO_EXPORT\b[^;(]*?(\w+)\(", text, re.M))
        self.assertGreater(len(declared), 50)
        self.assertEqual(declared - {"fixPathUnmangled"}, {name.split("(")[0] for name in in_map()})

    def test_every_call_rule_has_a_row_in_the_test_of_states(self) -> None:
        rules = set(re.findall(r'CallRule \w+{"(\w+)"', (ROOT / "fmi/instance/call_rules.h").read_text()))
        rows = set(re.findall(r'^    {"(\w+)", \d+,', (ROOT / "tests/call_rules_test.cpp").read_text(), re.M))
        self.assertGreater(len(rules), 20)
        self.assertEqual(rules, rows)

    def test_the_tests_of_kept_behaviour_exist(self) -> None:
        tests = "".join(file.read_text() for file in (ROOT / "tests").rglob("*.cpp"))
        held_by = re.findall(r"`([A-Z]\w+)\.(\w+)`", (ROOT / "docs/kept-behaviour.md").read_text())
        self.assertGreater(len(held_by), 20)
        missing = [name for name in held_by if not re.search(r"TEST(_F)?\(%s, %s\)" % name, tests)]
        self.assertEqual(missing, [])

    def test_includes_run_from_the_exported_functions_down_to_the_utilities(self) -> None:
        arrows = arrows_from("fmi", "plant", "resources", "util")
        self.assertGreater(len(arrows), 50)
        upward = [arrow for arrow in arrows if layer_of(arrow[1]) > layer_of(arrow[0]) or not (ROOT / arrow[1]).exists()]
        self.assertEqual(upward, [])

    def test_the_program_includes_run_down_its_folders_and_end_at_the_resources(self) -> None:
        folders = [folder for group in TOOL for folder in group]
        arrows = arrows_from("tool")
        self.assertGreater(len(arrows), 100)
        wrong = []
        for file, included in arrows:
            own = next(folder for folder in folders if file.startswith(folder))
            group = next(i for i, group in enumerate(TOOL) if own in group)
            allowed = [own, *(folder for group in TOOL[:group] for folder in group), *SHARED]
            target = next((folder for folder in folders + SHARED if included.startswith(folder)), "")
            if target not in allowed or not (ROOT / included).exists():
                wrong.append((file, included))
        self.assertEqual(wrong, [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
