"""`tessaro-fmu new` and `pack` as a user meets them: tool_pack_test.py PROGRAM LIBRARY INSTALLATION"""

import ctypes
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from contextlib import chdir
from pathlib import Path
from unittest import mock
from zipfile import ZipFile

import numpy as np
from fmpy import read_model_description, simulate_fmu
from fmpy.validation import validate_fmu

PROGRAM, LIBRARY, INSTALLATION = (str(Path(argument).resolve()) for argument in sys.argv[1:4])

# All types, several ports of different widths, names that need care.
DESCRIPTION = """\
input = [
  { signals = [{ name = "u[1]", unit = "deg" }, { name = "u[2]", solver_name = "u 2", start = 2.5 }] },
  { signals = [{ name = "v" }] } ]
output = [
  { signals = [{ name = "a.x", unit = "N.m" }, { name = "a.'y z'", unit = "furlong" }] },
  { derivatives = 1, signals = [{ name = "b", unit = "W/(m2.s)", solver_name = "der_a.x" }] } ]
parameter = [
  { name = "k", start = 0.1, max = 1 },
  { name = "n", type = "Integer", start = -2147483648, max = 1000000 },
  { name = "on", type = "Boolean", start = true },
  { name = "file", type = "String", start = "a, b" } ]
units.furlong = { m = 1, factor = 201.168 }
[model]
name = "All.Types-1"
description = "a \\"<&>\\" b"
template = "t"
final_time = 1e-3
result_file_variable = true
resources = ["more"]
"""
REALS = "u[1]|u 2|v|a.x|a.'y z'|der_a.x_|der_a.'y z'|der2_a.x|der2_a.'y z'|der_a.x|der_der_a.x|der2_der_a.x|k"
VARIABLES = """\
u[1] Real 0 deg 0|u[2] Real 1 None 2.5|v Real 2 None 0|a.x Real 3 N.m None|der(a.x) Real 5 N.m/s None\
|der(a.x,2) Real 7 N.m/s2 None|a.'y z' Real 4 furlong None|der(a.'y z') Real 6 furlong/s None\
|der(a.'y z',2) Real 8 furlong/s2 None|b Real 9 W/(m2.s) None|der(b) Real 10 W/(m2.s2) None\
|result_file String 0 None ./All.Types-1_result.mrf|k Real 12 None 0.1|n Integer 0 None -2147483648\
|on Boolean 0 None true|file String 1 None a, b"""

ROOT = Path(__file__).resolve().parent.parent
DOCUMENTED = (ROOT / "docs/packaging.md").read_text()
UNITS = " ".join(re.search(r"Known are\s(.*?),\sand products", DOCUMENTED, re.DOTALL)[1].split())

LIKELY_UNITS = [("Nm", "N.m"), ("W/m2.s", "W/(m2.s)"), ("Kg", "kg"), ("KNm", "kN.m"), ("Nms/rad", "N.m.s/rad"),
                ("kgms", "kg.m.s"), ("Nmm", "N.mm"), ("mNm", "mN.m"), ("mN s", "mN.s"), ("deg C", "degC")]  # fmt: skip

# A part of the description, what replaces it, the rule, how the message begins.
MISTAKES = [
    ('-1"', '-1.xml"', "model-name-extension", 'name must not contain ".xml".'),
    ("All", "A" * 250, "model-name-length", "name is longer than 251 characters."),
    ("All.T", ".T", "model-name-characters", "name may contain only letters, digits, '_', '.' and '-', and must not"),
    ('"a \\', '"modelName \\', "text-model-name", "description must not contain the word modelName."),
    ('"t"', '"none"', "template-missing", "template: there is no regular file none."),
    ("1e-3", "0", "key-value", "final_time must be above 0."),
    ("derivatives", "order", "key-unknown", '[[output]] has no key "order"; its keys are derivatives, signals.'),
    ('"more"', '"more", "more"', "file-duplicate", 'resources: the FMU already has a file "more".'),
    ('"more"', '"mere"', "file-missing", "resources: there is no regular file mere."),
    ('"u 2"', '"u,2"', "name-comma", 'The solver\'s name of "u[2]" is "u,2".'),
    ('"u 2"', '" u"', "name-blank", 'The solver\'s name of "u[2]" is " u".'),
    ('"u 2"', '"u\\n2"', "key-value", "solver_name holds a line feed or another control character."),
    ('"der_a.x"', '"v"', "name-shared", 'Line 3 has a variable of the solver\'s name "v" already.'),
    ('"on"', '"k"', "name-duplicate", 'Line 8 has a variable of the name "k" already.'),
    ("derivatives = 1", "derivatives = 3", "key-value", "derivatives must be 0, 1 or 2."),
    *[('"N.m"', f'"{unit}"', "unit-undefined", f'The unit "{unit}" is not known. [unit-undefined]\n    Masters cannot convert the value.\n    Write {meant} if') for unit, meant in LIKELY_UNITS],
    ("units.f", "units.m = { s = 1 }\nunits.f", "key-value", '"m" is a known unit.'),
    ("201.168", "0.0", "key-value", "factor must not be 0."),
    ("signals", "singals", "key-unknown", '[[input]] has no key "singals"; its keys are signals. [key-unknown]\n    A misspelt key would be ignored.\n    Did you mean signals?\n'),
    ("[model]", "[[model]]", "key-value", "model must be a table: write [model]."),
    ('"N.m"', '"ell"', "unit-undefined", f'The unit "ell" is not known. [unit-undefined]\n    Masters cannot convert the value.\n    Define it under [units]. Known are {UNITS}.\n'),
    ('"v"', '"", solver_name = "v"', "key-value", "name must not be empty."),
    ('"u 2"', '""', "key-value", "solver_name must not be empty."),
    ('"N.m"', '""', "key-value", "unit must not be empty."),
    ('"t"', '""', "key-value", "template must not be empty."),
    ('"more"', '""', "key-value", "resources must not hold an empty string."),
    ('resources = ["more"]', 'documentation = ""', "key-value", "documentation must not be empty."),
    ("-2147483648", "2.5, min = 1", "key-value", "start must be an integer."),
    ("a.'y z'", "a.'", "name-structured", '"a.\'" is not a structured name.'),
    ("max = 1 ", "max = 0 ", "start-range", 'The start of "k" is above its max.'),
    ("max = 1 ", "max = 1, min = 2 ", "min-max", 'The min of "k" is above its max.'),
    ("-2147483648", "-2147483649", "key-value", "start must fit into 32 bits."),
    ('"file"', '"file", unit = "m"', "key-value", "Only a Real has a unit."),
    ('[{ name = "v" }]', '"v"', "key-value", 'signals must be a list of tables: write [{ name = "..." }].'),
    ('signals = [{ name = "v" }]', "", "key-missing", "[[input]] needs the key signals."),
    ("m = 1,", "m = 0.5,", "key-value", "m must be an integer."),
    ('"Boolean"', '"Bool", unit = "m"', "key-value", "type must be Real, Integer, Boolean or String."),
    ("template", 'library_file = "l.so"\ntemplate', "solver-file-missing", 'library_file: "l.so" is not among the'),
]


# A template; the start value of a parameter "k[1].m", and what is found of it.
TEMPLATES = [
    ("k[1].m", "0.1", []),
    ("k[1].mm", "0.1", ["template-name"]),
    ("k[1].m_2 m2", "0.1", ["template-name"]),
    ('<group name="k"><item index="1"/><parameter name="m"/></group>', "0.1", []),
    ('<parameter name="k[1].m" value="0.1000000001"/>', "0.1", []),
    ('<parameter name="k[1].m" value="0.2" unit="m"/>', "0.1", ["template-start"]),
    ("<parameter\n value='2'\n name='k[1].m'/>", "0.1", ["template-start"]),
    ('<parameter rename="k[1].m" value="2"/>', "0.1", []),
    ('<parameter name="k[1].m" value="2*a"/>', "0.1", []),
    ('<parameter name="k[1].m" value="1"/><parameter name="k[1].m" value="2"/>', "0.1", []),
    ('<!-- <parameter name="k[1].m" value="2"/> -->', "0.1", []),
    ('<parameter name="k[1].m" value="0"/>', "true", ["template-start"]),
    ('<parameter name="k[1].m" value="0"/>', "false", []),
    ('<parameter name="k[1].m" value="b"/>', "'a'", ["template-start"]),
    ("  k[1].m = 2 ; # a comment", "0.1", ["template-start"]),
    ("x = k[1].m = 2", "0.1", []),
    ("${k[1].m=2} ${k[1].m}", "0.1", ["template-start"]),
    ("${k[1].m=1e-1}", "0.1", []),
    ("k\0[1].mm", "0.1", []),
]


class MvPar(ctypes.Structure):
    _fields_ = [("counts", ctypes.c_int32 * 4), ("names", ctypes.POINTER(ctypes.c_char_p) * 4)]


class Packing(unittest.TestCase):
    def setUp(self) -> None:
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.enterContext(chdir(folder))
        self.enterContext(mock.patch.object(tempfile, "tempdir", folder))
        self.enterContext(mock.patch.dict(os.environ, KORVAN_FMU_ROOT=INSTALLATION, NUSOL_DLL_DIR="", KELDEX_PATH=""))

    def run_program(self, *arguments: str, **files: str) -> tuple[int, str]:
        for name, text in ({"t": "of k, n, on and file", "more": "data"} | files).items():
            Path(name).write_text(text)
        result = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True)
        return result.returncode, result.stderr

    def test_errors_are_reported_with_file_and_line_and_leave_the_archive_alone(self) -> None:
        Path("f.fmu").write_text("an earlier one")
        for old, new, rule, sentence in MISTAKES:
            with self.subTest(new[:80]):
                before, after = DESCRIPTION.split(old, 1)
                code, printed = self.run_program("pack", "m", "-o", "f.fmu", m=before + new + after)
                self.assertEqual(code, 1)
                self.assertIn(f"m:{before.count(chr(10)) + 1}: error: {sentence}", printed)
                self.assertIn(f" [{rule}]\n", printed)
                self.assertRegex(printed, "\nm: 1 error, [01] warnings?\n$")
        self.assertRegex(self.run_program("pack", "m", m="model = { nam = 'x' }\ninput = 2\n")[1], "(?s)^m:1: .*\nm: 3 errors")
        for table in ("input", "output", "parameter"):
            printed = self.run_program("pack", "m", m=f"[model]\nname = '-'\nfinal_time = 1\n[{table}]\nname = 'x'\n")[1]
            self.assertIn(f"\nm:4: error: {table} must be a list of tables: write [[{table}]]. [key-value]\n", printed)
            self.assertIn("\nm: 2 errors, ", printed)
        printed = self.run_program("pack", "m", m="[model]\nname = 'x'\ntemplate = 't'\n[experiment]\nstep_size = 2\n")[1]
        self.assertRegex(printed, "m:1: error: .model. needs the key final_time. (?s:.*)\nm: 1 error, 0 warnings")
        ports = "".join(f"[[input]]\nsignals = [{{ name = 'u{i}' }}]\n" for i in range(9))
        printed = self.run_program("pack", "m", m="[model]\nname = 'x'\ntemplate = 't'\nfinal_time = 1\n" + ports)[1]
        self.assertIn("m:1: error: There are 9 input ports. [port-count]", printed)
        self.assertIn(": template: t is empty. [template-missing]", self.run_program("pack", "m", m=DESCRIPTION, t="")[1])
        self.assertRegex(self.run_program("pack", "m", m="[model]\n[model]\n")[1], r"^m:2: error: .* \[toml-syntax\]")
        printed = self.run_program("pack", "m", m=DESCRIPTION.replace('a \\"', "a" * 1000))[1]
        self.assertIn("m:13: error: description, author, version and license are too long", printed)
        self.assertEqual(Path("f.fmu").read_text(), "an earlier one")
        self.assertEqual(sorted(os.listdir()), ["f.fmu", "m", "more", "t"])

    def test_doubtful_values_are_packed_with_a_warning(self) -> None:
        toml = DESCRIPTION.replace("_variable = true", ' = "r.csv"').replace("-2147483648", "-99999")
        code, printed = self.run_program("pack", "m", m=toml.replace("0.1", "1.26e-6"))
        found = [line for line in printed.splitlines() if line.startswith("m")]
        forms = [r'm:2: warning: "u\[2\]" starts at 2.5, but is 0 .* \[start-lost\]',
                 r'm:8: warning: "k" starts at 1.26e-06, which becomes 1e-06. \[start-precision\]',
                 r'm:9: warning: "n" starts at -99999. \[start-marker\]',
                 r'm:18: warning: The result file is "r.csv". \[result-file\]', "m: 0 errors, 4 warnings"]  # fmt: skip
        self.assertRegex(f"{code} " + "\n".join(found), "^0 " + "\n".join(forms) + "$")
        self.assertIn("\n    Write start = 0, or make it a parameter.\n", printed)
        (text,) = (v for v in read_model_description("All.Types-1.fmu").modelVariables if v.type == "String")
        self.assertEqual((text.name, text.valueReference), ("file", 1), "0 is never written to the value file")

    def test_parameters_are_compared_with_the_template(self) -> None:
        types = {"t": "Boolean", "f": "Boolean", "'": "String"}
        for template, start, rules in TEMPLATES:
            with self.subTest(template):
                parameter = f"name = 'k[1].m'\ntype = '{types.get(start[0], 'Real')}'\nstart = {start}\n"
                toml = f"[model]\nname = 'M'\nfinal_time = 1\ntemplate = 't'\n[[parameter]]\n{parameter}"
                code, printed = self.run_program("pack", "m", m=toml, t=template)
                self.assertEqual((code, re.findall(r"^m:6: warning: .* \[(.*)\]$", printed, re.M)), (0, rules), printed)
        Path("M.fmu").unlink()
        code, printed = self.run_program("pack", "m", m=toml.replace("final", "resources = ['more']\nfinal"), more="k[1].m", t="x")
        self.assertEqual((code, printed), (0, ""), "it may be in a resource")

    def test_nothing_is_found_in_the_models_of_this_project(self) -> None:
        for description in sorted([*ROOT.glob("demo/models/*/*.toml"), *ROOT.glob("examples/*/model/*.toml")]):
            with self.subTest(description.name):
                self.assertEqual(self.run_program("pack", str(description), "-o", "f.fmu"), (0, ""))
                self.assertEqual(self.check("f.fmu"), [])

    def check(self, fmu: str) -> list[str]:
        result = subprocess.run([PROGRAM, "check", "--json", fmu], capture_output=True, text=True)
        return [found["rule"] for found in json.loads(result.stdout)["findings"] if found["severity"] != "note"]

    def test_what_is_changed_after_packing_is_found_and_what_a_run_leaves_is_not(self) -> None:
        toml = DESCRIPTION.replace("_variable = true", ' = "r.csv"')
        changes = {"resources/more": "Data", "resources/t": "x", "documentation/index.html": "", "resources/All.Types-1.mdl": "t"}
        runs_files = {"resources/All.Types-1.csv": "k, 1", "resources/All.Types-1.xml": "<m/>", "resources/r.csv": "0"}
        for name, text in (changes | runs_files).items():
            with self.subTest(name):
                self.run_program("pack", "m", "-o", "f.fmu", m=toml)
                shutil.rmtree("f", ignore_errors=True)
                ZipFile("f.fmu").extractall("f")
                self.assertNotIn("content-changed", self.check("f"))
                Path("f", name).write_text(text)
                self.assertEqual("content-changed" in self.check("f"), name in changes)

    def test_derivatives_are_promised_to_the_order_that_all_output_ports_have(self) -> None:
        for orders, promised in (((2, 2), 2), ((1, 2), 1), ((2, 0), 0)):
            ports = "".join(f"[[output]]\nderivatives = {n}\nsignals = [{{ name = 'y{i}' }}]\n" for i, n in enumerate(orders))
            self.run_program("pack", "m", m="[model]\nname = 'M'\nfinal_time = 1\ntemplate = 't'\n" + ports)
            text = ZipFile("M.fmu").read("modelDescription.xml").decode()
            self.assertIn(f' maxOutputDerivativeOrder="{promised}" ', text, orders)

    def test_a_command_line_that_makes_no_sense_is_answered_in_a_sentence(self) -> None:
        for arguments, code, sentence in [
            ("chekc x", 2, 'There is no command "chekc": did you mean check?'),
            ("x" * 9999, 2, ". tessaro-fmu --help lists all."),
            ("doctor --solver x --time-limit -5", 2, '"-5" is not a number of seconds above 0 and up to a million'),
            ("doctor --solver x --time-limit 1e10", 2, '"1e10" is not a number of seconds above 0'),
            ("pack .", 1, ". is a folder: name a file in it."),
            ("pack ", 1, "A file without a name does not exist."),
        ]:
            with self.subTest(arguments[:80]):
                found, printed = self.run_program(*arguments.split(" "))
                self.assertEqual(found, code)
                self.assertIn(sentence, printed)
                self.assertLess(len(printed), 300)

    def test_the_same_input_gives_the_same_bytes_and_another_one_another_guid(self) -> None:
        guids = []
        for i, text in enumerate(("one", "one", "two")):
            with mock.patch.dict(os.environ, TZ=("Asia/Tokyo", "America/Lima")[i % 2]):
                self.run_program("pack", "m", "-o", f"{i}.fmu", m=DESCRIPTION, t=text)
            guids.append(read_model_description(f"{i}.fmu").guid)
        self.assertEqual(Path("0.fmu").read_bytes(), Path("1.fmu").read_bytes())
        self.assertNotEqual(guids[1], guids[2])

    def test_the_library_and_masters_read_the_same_layout(self) -> None:
        self.run_program("pack", "m", m=DESCRIPTION)
        archive = ZipFile("All.Types-1.fmu")
        archive.extractall("fmu")
        library, par, mv = ctypes.CDLL(LIBRARY), ctypes.create_string_buffer(4000), MvPar()
        self.assertEqual(library.fread_par(b"fmu/resources/fmu2ts.par", par), 2)
        self.assertEqual(library.fread_mv_par(b"fmu/resources/mv.par", ctypes.byref(mv)), 0)
        self.assertEqual(struct.unpack_from("d6i", par, 512), (0.001, 2, 2, 13, 1, 1, 2))
        self.assertEqual(struct.unpack_from("2i24x" * 4, par, 3872), (2, 1, 0, 2, 2, 1, 3, 9))
        self.assertEqual((par[544:560], par[1568:1593]), (b"All.Types-1.xml\0", b"./All.Types-1_result.mrf\0"))
        names = [b"|".join(mv.names[i][k] for k in range(mv.counts[i - 1])).decode() for i in range(4)]
        self.assertEqual(names, ["result_file|file", REALS, "n", "on"])
        self.assertEqual(validate_fmu("All.Types-1.fmu"), [])
        self.assertIn("binaries/linux64/All_Types_1.so", archive.namelist())
        text = archive.read("modelDescription.xml")
        self.assertEqual(archive.read("resources/modelDescription.xml"), text)
        self.assertRegex(text, b'^.*\n<fmiModelDescription .* modelName="All.Types-1">\n')
        described = read_model_description("All.Types-1.fmu")
        found = "|".join(f"{v.name} {v.type} {v.valueReference} {v.unit} {v.start}" for v in described.modelVariables)
        self.assertEqual(found, VARIABLES)
        derived = [f"{v.name}: {v.derivative.name}" for v in described.modelVariables if v.derivative]
        self.assertIn("der(a.'y z'): a.'y z'|der(a.'y z',2): der(a.'y z')", "|".join(derived))
        units = {unit.name: unit.baseUnit for unit in described.unitDefinitions}
        found = [(units[u].kg, units[u].m, units[u].s, units[u].factor) for u in ("W/(m2.s2)", "furlong/s2")]
        self.assertEqual(found, [(1, 0, -5, 1.0), (0, 1, -2, 201.168)])
        self.assertRegex(text, b'(?s) maxOutputDerivativeOrder="0" .* max="1000000" ')

    def test_a_starter_packs_validates_and_runs_and_is_never_overwritten(self) -> None:
        self.assertEqual([self.run_program("new", "M-1.b"), self.run_program("pack", "M-1.b.toml")], [(0, "")] * 2)
        self.assertEqual(validate_fmu("M-1.b.fmu"), [])
        force = np.array([(0.0, 5.0)], dtype=[("time", float), ("force", float)])
        result = simulate_fmu("M-1.b.fmu", start_values={"damping": 50.0}, input=force, output=["position"])
        self.assertAlmostEqual(result["position"][-1], 0.05, 6)
        Path("M-1.b.toml").unlink()
        self.assertRegex(self.run_program("new", "M-1.b")[1], "M-1.b.mdl already exists")
        self.assertFalse(Path("M-1.b.toml").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
