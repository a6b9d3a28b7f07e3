"""`tessaro-fmu info` and what the program says of itself: tool_info_test.py PROGRAM"""

import json
import os
import pty
import re
import subprocess
import sys
import tempfile
import unittest
from contextlib import chdir
from pathlib import Path
from zipfile import ZipFile

PROGRAM = str(Path(sys.argv[1]).resolve())

DESCRIPTION = """\
[model]
name = "Rig"
version = "3.1"
final_time = 2
result_file_variable = true
[experiment]
step_size = 0.01
[[input]]
signals = [{ name = "u[1]", unit = "N", solver_name = "force" }, { name = "u[2]" }]
[[output]]
derivatives = 1
signals = [{ name = "x", unit = "m" }]
[[parameter]]
name = "n"
type = "Integer"
start = 3
max = 9
"""

TEXT = [
    r"(?m)^model +Rig$", r"(?m)^version +3\.1$", r"(?m)^stop time, s +2$", r"(?m)^result file +\./Rig_result\.mrf$",
    r"\ninput port 0: 2 signals\n  u\[1\]  Real  N  start 0; in the solver's model: force\n  u\[2\]  Real     start 0\n",
    r"\noutput port 0: 1 signal, with first derivatives\n  x  Real  m\n\n",
    r"\nparameters\n  result_file  String .*\n  n +Integer +start 3; max 9\n",
    r"\n  binaries/linux64/Rig\.so +\d+ bytes\n", r"\n  libc\.so\.6, .*libxml2\.so\.2\n  glibc 2\.\d+ or newer\n",
]  # fmt: skip


class Program(unittest.TestCase):
    def setUp(self) -> None:
        self.enterContext(chdir(self.enterContext(tempfile.TemporaryDirectory())))

    def run_program(self, *arguments: str, code: int = 0, **options: object) -> str:
        result = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, **options)
        self.assertEqual(result.returncode, code, result.stdout + result.stderr)
        return result.stdout

    def pack(self) -> None:
        Path("Rig.toml").write_text(DESCRIPTION)
        Path("Rig.mdl").write_text("with n")
        self.run_program("pack", "Rig.toml")

    def test_help_shows_examples_and_exit_codes_of_every_command(self) -> None:
        commands = re.findall(r"(?m)^  ([a-z]+) {3,}", self.run_program("--help").split("Subcommands:")[1])
        self.assertGreaterEqual(len(commands), 6)
        for command in commands:
            with self.subTest(command):
                text = self.run_program("help", command)
                self.assertRegex(text, rf"(?s)Usage: tessaro-fmu {command} .*Examples?:\n  tessaro-fmu {command}.*Exit codes:")
                self.assertEqual(text.splitlines()[3:], self.run_program(command, "--help").splitlines()[3:])
        self.assertIn("Subcommands:", self.run_program("help"))
        self.run_program("help", "nothing", code=2)

    def test_bash_completes_commands_options_and_files(self) -> None:
        Path("script").write_text(self.run_program("bash-completion"))
        Path("my model.toml").touch()
        for words, expected in (
            (["pa"], ["pack"]),
            (["check", "--j"], ["--json"]),
            (["pack", "--l"], ["--library"]),
            (["doctor", "--library"], []),
            (["help", "in"], ["info"]),
            (["pack", "my"], ["my model.toml"]),
        ):
            with self.subTest(words):
                call = f"COMP_WORDS=(tessaro-fmu {' '.join(words)}); COMP_CWORD={len(words)}; _tessaro_fmu"
                script = f'set -u; . ./script; {call}; printf "%s\\n" "${{COMPREPLY[@]}}"'
                result = subprocess.run(["bash", "-c", script], capture_output=True, text=True)
                self.assertEqual(([line for line in result.stdout.splitlines() if line], result.stderr), (expected, ""))

    def test_the_man_page_has_every_option_and_no_formatting_errors(self) -> None:
        page = self.run_program("man-page")
        shown = subprocess.run(["groff", "-man", "-ww", "-Tascii", "-P-c"], input=page, capture_output=True, text=True)
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        for words in "pack Block.toml --bundle", "--time-limit", "FMU_OR_FOLDER", "EXIT STATUS":
            self.assertIn(words, re.sub(".\x08", "", shown.stdout))

    def test_exit_codes_are_as_documented(self) -> None:
        self.pack()
        self.run_program("check", "Rig.fmu", code=0)
        self.run_program("check", "Rig.toml", code=1)
        self.run_program("pack", "none.toml", code=1)
        self.run_program("check", code=2)
        for words in (["--version=", "Rig.toml"], ["-o=Rig.fmu"], ["--output", "--json"]):
            self.run_program("pack", *words, "Rig.toml", code=2)

    def test_pack_gives_findings_and_archive_as_json(self) -> None:
        self.pack()
        packed = json.loads(self.run_program("pack", "Rig.toml", "--json"))
        self.assertEqual((packed["errors"], packed["archive"], packed["bundled"]), (0, "Rig.fmu", []))
        Path("Rig.toml").write_text(DESCRIPTION.replace("final_time = 2", "final_time = -2"))
        refused = json.loads(self.run_program("pack", "Rig.toml", "--json", code=1))
        self.assertEqual((refused["archive"], [found["rule"] for found in refused["findings"]]), (None, ["key-value"]))
        for broken in ["none.toml"], ["Rig.toml", "--library", "none.so"]:
            self.assertEqual(json.loads(self.run_program("pack", *broken, "--json", code=1))["errors"], 1)

    def test_pack_takes_the_models_version_from_the_command_line(self) -> None:
        self.pack()
        self.run_program("pack", "Rig.toml", "--version", "4 <&> &#38;")
        self.assertEqual(json.loads(self.run_program("info", "Rig.fmu", "--json"))["version"], "4 <&> &#38;")
        for version, rule in (
            ("modelName", "text-model-name"),
            ("4\n", "not-packed"),
            (b"\xff", "not-packed"),
            ("4" * 1000, "texts-length"),
        ):
            with self.subTest(version[:20]):
                packed = json.loads(self.run_program("pack", "Rig.toml", "--version", version, "--json", code=1))
                self.assertEqual([found["rule"] for found in packed["findings"]], [rule])
        self.assertRegex(self.run_program("--version"), r"^tessaro-fmu \d")

    def test_the_depfile_names_all_inputs_and_replaces_none(self) -> None:
        self.pack()
        Path("my data").write_text("1")
        Path("Rig.toml").write_text(DESCRIPTION.replace("final_time", 'resources = ["my data"]\nfinal_time'))
        self.run_program("pack", "Rig.toml", "--depfile", "Rig.d")
        target, *inputs = (line.strip(" \\:") for line in Path("Rig.d").read_text().splitlines())
        self.assertEqual(target, f"{Path.cwd()}/Rig.fmu")
        self.assertEqual(sorted(Path(name).name for name in inputs), ["Rig.mdl", "Rig.toml", "libtessaro_fmu.so", "my\\ data"])
        os.link("Rig.d", "earlier.d")
        Path("earlier.d").write_text("complete")
        self.run_program("pack", "Rig.toml", "--depfile", "Rig.d")
        self.assertEqual(Path("earlier.d").read_text(), "complete", "a new file takes its place as a whole")
        self.run_program("pack", "Rig.toml", "--depfile", "Rig.mdl", code=1)
        self.assertEqual(Path("Rig.mdl").read_text(), "with n")
        Path("Rig.fmu").unlink()
        self.run_program("pack", "Rig.toml", "--depfile", "./Rig.fmu", code=1)
        self.run_program("pack", "Rig.toml", "--depfile", "new.d", "-o", "none/Rig.fmu", code=1)
        self.assertEqual([name for name in ("Rig.fmu", "new.d") if Path(name).exists()], [])

    def test_colours_are_for_terminals_only_and_can_be_refused(self) -> None:
        for variables, is_coloured in (
            ({"TERM": "xterm"}, True),
            ({"TERM": "xterm", "NO_COLOR": ""}, True),
            ({"TERM": "xterm", "NO_COLOR": "1"}, False),
            ({"TERM": "dumb"}, False),
        ):
            with self.subTest(variables):
                master, slave = pty.openpty()
                subprocess.run([PROGRAM, "check", "none"], stdout=slave, env=variables)
                os.close(slave)
                self.assertEqual(b"\x1b[" in os.read(master, 4096), is_coloured)
                os.close(master)
        plain = subprocess.run([PROGRAM, "check", "none"], capture_output=True, env={"TERM": "xterm"}).stdout
        self.assertIn(b"error:", plain)
        self.assertNotIn(b"\x1b", plain)

    def test_info_shows_ports_parameters_files_and_needs(self) -> None:
        self.pack()
        ZipFile("Rig.fmu").extractall("unpacked")
        for fmu in "Rig.fmu", "unpacked":
            text = self.run_program("info", fmu)
            for form in TEXT:
                with self.subTest(fmu=fmu, form=form):
                    self.assertRegex(text, form)

    def test_info_gives_the_same_as_json(self) -> None:
        self.pack()
        info = json.loads(self.run_program("info", "Rig.fmu", "--json"))
        self.assertEqual((info["model"], info["version"], info["final_time"], info["step_size"]), ("Rig", "3.1", 2, 0.01))
        ports = [(p["kind"], p["width"], p["first_reference"], p["derivatives"]) for p in info["ports"]]
        self.assertEqual(ports, [("input", 2, 0, 0), ("output", 1, 2, 1)])
        signals = [(s["name"], s["unit"], s["solver_name"]) for p in info["ports"] for s in p["signals"]]
        self.assertEqual(signals, [("u[1]", "N", "force"), ("u[2]", None, "u[2]"), ("x", "m", "x")])
        self.assertEqual([v["name"] for v in info["variables"]], ["result_file", "n"])
        with ZipFile("Rig.fmu") as archive:
            files = sorted((entry.filename, entry.file_size) for entry in archive.infolist())
        self.assertEqual([(file["name"], file["bytes"]) for file in info["files"]], files)
        self.assertIn("libxml2.so.2", info["needs"]["libraries"])

    def test_info_of_something_damaged_says_what_is_there_or_why_it_cannot(self) -> None:
        self.pack()
        ZipFile("Rig.fmu").extractall("f")
        Path("f/resources/fmu2ts.par").write_text("x\n" * 17)
        Path("f/binaries/linux64/Rig.so").write_text("no library")
        info = json.loads(self.run_program("info", "f", "--json"))
        self.assertEqual((info["ports"], len(info["variables"])), ([], 6))
        self.assertIn("Rig.so", info["needs"]["unknown"])
        description = Path("f/modelDescription.xml")
        description.write_text(description.read_text().replace('version="3.1"', 'version="1&#10;model  Other"'))
        self.assertIn(r"1\nmodel  Other", self.run_program("info", "f"), "a value cannot imitate a line")
        description.write_text("<a")
        for fmu in "f", "nothing":
            found = json.loads(self.run_program("info", fmu, "--json", code=1))
            self.assertEqual([finding["rule"] for finding in found["findings"]], ["unreadable"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
