"""`tessaro-fmu check` and `pack` with what was made to break them: tool_hostile_test.py PROGRAM LIBRARY"""

import io
import json
import os
import re
import resource
import shlex
import struct
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
from contextlib import chdir
from pathlib import Path
from zipfile import ZIP_DEFLATED, ZIP_STORED, ZipFile, ZipInfo

PROGRAM, LIBRARY = (str(Path(argument).resolve()) for argument in sys.argv[1:3])
GIB = 1 << 30


def archive(*entries: tuple, method: int = ZIP_STORED) -> bytes:
    """Entries are names, contents and perhaps Unix modes."""
    stream = io.BytesIO()
    with ZipFile(stream, "w") as file:
        for name, content, *mode in entries:
            info = ZipInfo(name)
            info.compress_type, info.create_system, info.external_attr = method, 3, (mode or [0o100644])[0] << 16
            file.writestr(info, content)
    return stream.getvalue()


def patched(data: bytes, local: int, central: int, form: str, value: int) -> bytes:
    """The first entry with another number in both of its headers."""
    changed = bytearray(data)
    for place in (local, data.index(b"PK\1\2") + central):
        struct.pack_into(form, changed, place, value)
    return bytes(changed)


def repeated(data: bytes, times: int) -> bytes:
    """Many entries of other names, but the same bytes in the archive."""
    start, end = data.index(b"PK\1\2"), data.index(b"PK\5\6")
    entries = [data[start : start + 46] + b"%05d" % i for i in range(times)]
    sizes = struct.pack("<HHIIH", times, times, sum(map(len, entries)), start, 0)
    return data[:start] + b"".join(entries) + data[end : end + 8] + sizes


ONE = archive(("00000", "secret"))
ZEROS = archive(("00000", bytes(100_000_000)), method=ZIP_DEFLATED)
GOOD = archive(("modelDescription.xml", "<a/>" * 99), ("resources/mv.par", "0\n" * 4), method=ZIP_DEFLATED)
MANY = (b"PK\6\6" + struct.pack("<QHHIIQQQQ", 44, 45, 45, 0, 0, 1 << 40, 1 << 40, 51, 41)
        + b"PK\6\7" + struct.pack("<IQI", 0, 92, 1) + b"PK\5\6" + b"\0" * 4 + b"\xff" * 12 + b"\0\0")  # fmt: skip

ARCHIVES = {  # what is reported
    "many GB": (repeated(ZEROS, 60), "The archive would unpack to more than "),
    "more than it says": (patched(ZEROS, 22, 24, "<I", 10), '"00000" is larger than the archive says'),
    "overlapping": (repeated(ONE, 3), "There is no modelDescription.xml"),
    "too many": (ONE[: ONE.index(b"PK\5\6")] + MANY, "is not an FMU: .*ZIP archive"),
    "encrypted": (patched(ONE, 6, 8, "<H", 1), '"00000" cannot be unpacked: .*password'),
    "unknown method": (patched(ONE, 8, 10, "<H", 6), '"00000" cannot be unpacked: .*not supported'),
    "link": (archive(("l", "/tmp", 0o120777), ("l/out", "x")), '"l" is neither a file nor a folder'),
    "long name": (archive(("n" * 60000, "x")), '"n{100}..." cannot be written to tmp/'),
    "deep": (archive(("a/" * 2000 + "f", "x")), 'a/..." is in too many folders'),
    "folder": (archive(("modelDescription.xml/", "")), "There is no modelDescription.xml"),
    "file and folder": (archive(("a", "x"), ("a/b", "x")), '"a/b" cannot be unpacked: Not a directory'),
    "other case": (archive(("a", "x"), ("A", "y")), "1 error, 0 warnings"),
    "control characters": (archive(*((f"../{i}\n", "") for i in range(99))), 'entry "../0.n" leads out'),
    "counted": (archive(*((f"../{i}", "") for i in range(99))), "... and 94 more of these, the first here"),
}

MODEL = '[model]\nname = "M"\nfinal_time = 1\n'
DESCRIPTIONS = {
    "nested": ("a = " + "[" * 1_000_000, "m:1: error: "),
    "long key": ("a" + ".a" * 1_000_000 + " = 1", "m:1: error: A key has more than 16 parts"),
    "hidden key": ('b = """"x""""\n"a"' + ". 'a'" * 1_000_000 + " = 1", "m:2: error: A key has more than 16 parts"),
    "long line": ('a = "' + "x" * 200_000_000 + '"', "is larger than 32 MiB"),
    "many mistakes": ("".join(f"a{i} = 1\n" for i in range(200_000)), "and 199980 more of these"),
    "many units": ("[units]\n" + "".join(f"u{i} = {{}}\n" for i in range(300_000)), "m:1: error: There are more than 10000"),
    "parentheses": (MODEL + f'[[input]]\nsignals = [{{name = "x", unit = "{"(" * 1_000_000}"}}]', "is not known"),
    "exponents": (MODEL + '[[input]]\nsignals = [{name = "x", unit = "km99.km99"}]', "is not known"),
    "control characters": (MODEL + '"\\u001b[31m" = 1', r'no key "\\x1b\[31m"'),
    "pipe": (MODEL + 'template = "pipe"', "m:4: error: template: there is no regular file pipe"),
    "device": (MODEL + 'template = "/dev/zero"', "m:4: error: template: there is no regular file /dev/zero"),
    "folder": (MODEL + 'resources = ["."]', "m:4: error: resources: there is no regular file "),
    "file as a folder": (MODEL + 'documentation = "m"', "m:4: error: documentation: there is no folder m"),
    "backslash": (MODEL + 'template = "m"\ndocumentation = "d"\nresult_file_variable = true\nresult_file = "./.mrf"',
                  r'documentation: "a\\b" holds a backslash or a control character'),
    "zero byte": (MODEL + 'resources = ["m\\u0000"]', "m:4: error: resources holds a line feed or another control character"),
}


class Hostile(unittest.TestCase):
    def setUp(self) -> None:
        self.enterContext(chdir(self.enterContext(tempfile.TemporaryDirectory())))
        Path("tmp").mkdir()
        Path("d").mkdir()
        Path("d/a\\b").touch()
        os.mkfifo("pipe")

    def output(self, *arguments: str, code: int = 1, file_size: int = GIB, memory: int = 2 * GIB, **variables: str) -> str:
        """What it prints in ten seconds of the processor, with so much memory, leaving no temporary files."""

        def limit() -> None:
            resource.setrlimit(resource.RLIMIT_AS, (memory, memory))
            resource.setrlimit(resource.RLIMIT_CPU, (10, 10))
            resource.setrlimit(resource.RLIMIT_FSIZE, (file_size, file_size))

        result = subprocess.run([PROGRAM, *arguments], env={"TMPDIR": "tmp", **variables}, text=True, timeout=120, preexec_fn=limit,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)  # fmt: skip
        self.assertEqual((result.returncode, os.listdir("tmp")), (code, []), result.stdout[:500])
        return result.stdout

    def test_archives(self) -> None:
        for case, (data, printed) in ARCHIVES.items():
            with self.subTest(case):
                Path("f.fmu").write_bytes(data)
                self.assertRegex(self.output("check", "f.fmu"), printed)
        for i in range(20):
            Path("f.fmu").write_bytes(GOOD[: len(GOOD) * i // 20])
            self.assertRegex(self.output("check", "f.fmu"), "is not an FMU: neither a folder nor a ZIP archive")

    def test_folders(self) -> None:
        Path("fmu/resources").mkdir(parents=True)
        Path("fmu/modelDescription.xml").symlink_to("/dev/zero")
        Path("fmu/out").symlink_to("/")
        os.mkfifo("fmu/resources/pipe")
        self.assertIn("There is no modelDescription.xml", self.output("check", "fmu"))
        Path("fmu/modelDescription.xml").unlink()
        attributes = "".join(f' a{i}=""' for i in range(200_000))
        for text, found in (
            (f"<a{attributes}/>", "too many attributes"),
            ("<a>" * 9_000_000, "xml-malformed"),
            (" " * 70_000_000, "larger than 64 MiB"),
            ("<a>" + "<b/>" * 16_000_000 + "</a>", "more than 2000000 elements"),
            ("<a>" + '<b c="" d="" e=""/>' * 3_000_000 + "</a>", "more than 4000000 attributes"),
            ("<a" + "".join(f" xmlns:n{i}='u'" for i in range(20_000)) + ">" + "<n0:b/>" * 7_000_000, "than 100 namespaces"),
            ("<?xml version='1.0' encoding='IBM037'?>" + "<a/>" * 9, 'The encoding is "IBM037"; only UTF-8 and UTF-16 are read'),
            ("<?xml version='1.0' encoding='iso-8859-1'?><a/>", 'The encoding is "iso-8859-1"; only UTF-8'),
            ("<?xml version='1.0'" + " " * 2000 + "encoding='IBM037'?><a/>", "The encoding is unknown; only UTF-8"),
            ('<fmiModelDescription fmiVersion="2.0"/>', '"pipe" is neither a regular file nor a folder'),
        ):
            Path("fmu/modelDescription.xml").write_text(text)
            self.assertIn(found, self.output("check", "fmu"))
        for path in ("pipe", "/dev/zero"):
            self.assertIn("is neither a folder nor a regular file", self.output("check", path))

    def test_nothing_that_is_shown_misleads_a_terminal(self) -> None:
        Path("f.fmu").write_bytes(archive(("../\x1b[2J", ""), ("../\u009b\u202e\u2066\ufeff\u00fc", ""), ("../" + "x" * 60000, "")))
        printed = self.output("check", "f.fmu")
        self.assertNotIn("\x1b", printed)
        self.assertIn(r'"../\u009b\u202e\u2066\ufeff' + '\u00fc"', printed)
        self.assertLess(max(map(len, printed.splitlines())), 700)
        for name in (b"\x9b31m\x1b[2J", "\u202e".encode()):
            os.mkdir(os.fsencode("fmu") + name)
            printed = self.output("check", os.fsdecode(b"fmu" + name))
            self.assertTrue(printed.isascii() and printed.replace("\n", "").isprintable(), printed)
        for arguments, code in ((["check"], 1), (["info"], 1), (["doctor"], 1), (["new"], 1), (["nonsense"], 2), (["--"], 2)):
            printed = self.output(*arguments, os.fsdecode(b"\x9b\x1b[2J" * 500), code=code)
            self.assertTrue(printed.isascii() and printed.replace("\n", "").isprintable(), printed)
            self.assertLess(max(map(len, printed.splitlines())), 700)

    def test_closed_streams_and_failures_end_in_an_exit_code(self) -> None:
        Path("f.fmu").write_bytes(GOOD)
        for closed in ("<&-", ">&-", "2>&-", ">&- 2>&-", "<&- >&- 2>&-", ">/dev/full", ">/dev/full 2>&1"):
            for call in ("check f.fmu", "check no", "check f.fmu --json", "pack m", "doctor", "nonsense"):
                code = subprocess.run(["sh", "-c", f"{PROGRAM} {call} {closed}"], capture_output=True).returncode
                self.assertIn(code, (1, 2), f"{call} {closed}")
        self.assertEqual(Path("f.fmu").read_bytes(), GOOD)
        for path in ("no", "n" * 300, "n" * 5000, "m/m", "pipe", "tmp"):
            self.assertGreater(json.loads(self.output("check", "--json", path))["errors"], 0)
        self.assertGreater(json.loads(self.output("doctor", "--solver", "--json"))["errors"], 0)
        Path("d/modelDescription.xml").write_text("<a>" + "<b/>" * 1_500_000 + "</a>")
        for call in ("check", "info"):
            found = json.loads(self.output(call, "--json", "d", memory=GIB // 10))["findings"]
            self.assertEqual([finding["what"] for finding in found], ["There is not enough memory."])
        for call in ("check", "check a b", "info", "pack", "pack m --nothing", "nonsense", "doctor --time-limit -5 f.fmu", ""):
            found = json.loads(self.output(*call.split(), "--json", code=2))["findings"]
            self.assertEqual([finding["rule"] for finding in found], ["usage"], call)

    def test_what_cannot_be_written_is_reported_with_the_reason(self) -> None:
        Path("m").write_text(MODEL + 'template = "m"\n[[input]]\nsignals = [{ name = "u" }]\n')
        pack = ["pack", "m", "--library", LIBRARY]
        full, large = "No space left on device", "File too large"
        self.assertIn(f"M.fmu cannot be written: Write error: {large}", self.output(*pack, file_size=1000))
        self.assertIn(f"/dev/full cannot be written: {full}", self.output(*pack, "--depfile", "/dev/full"))
        self.assertRegex(self.output("check", "M.fmu", file_size=1000), f'"[^"]+" cannot be written to tmp/.*: {large}')
        self.assertIn(f"N.toml cannot be written: {large}", self.output("new", "N", file_size=1000))
        for call in ("check M.fmu", "info M.fmu", "help", "--help", "--version", "man-page", "pack m --json", "check --json M.fmu --nothing"):
            printed = subprocess.run(f"{shlex.quote(PROGRAM)} {call} >/dev/full", shell=True, stderr=subprocess.PIPE, text=True).stderr
            self.assertIn(f": {full}", printed, call)
        self.assertEqual(sorted(os.listdir()), ["M.fmu", "d", "m", "pipe", "tmp"])

    def library(self, path: str, *options: str, code: str = "") -> None:
        Path(path).parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["cc", "-shared", "-fPIC", "-xc", "-", "-o", path, "-Wl,--no-as-needed", *options],
                       input=code, text=True, check=True)  # fmt: skip

    def fmu_with_library(self, *options: str, code: str = "") -> None:
        self.library("fmu/binaries/linux64/M.so", *options, code=code)
        text = '<fmiModelDescription fmiVersion="2.0"><CoSimulation modelIdentifier="M"/></fmiModelDescription>'
        Path("fmu/modelDescription.xml").write_text(text)

    def test_no_code_of_the_fmu_runs(self) -> None:
        write = '{ fopen("ran", "w"); return 1; }\n'
        code = f"#include <stdio.h>\nunsigned la_version(unsigned v) {write}__attribute__((constructor)) int a(void) {write}"
        self.library("a.so", code=code)
        self.fmu_with_library(f"-Wl,--audit={Path.cwd()}/a.so", "-Wl,-rpath,$ORIGIN/../../..", "-L.", "-l:a.so", code=code)
        self.assertNotIn("oader ", self.output("check", "fmu"))
        Path("a.so").unlink()
        self.assertIn('loader cannot find "a.so" on this machine; "M.so" needs it', self.output("check", "fmu"))
        os.mkfifo("a.so")
        self.assertIn('../a.so for "a.so" and stops, since it is not a shared library', self.output("check", "fmu"))

        library = Path("fmu/binaries/linux64/M.so")
        data = bytearray(library.read_bytes())
        headers = range(64, 64 + 56 * data[56], 56)
        second = [at for at in headers if data[at] == 1][1]  # where the loader would map it over itself, or beyond
        struct.pack_into("<Q", data, second + 16, 1 << 30)
        library.write_bytes(data)
        self.assertIn("M.so has segments out of order", self.output("check", "fmu"))
        self.assertFalse(Path("ran").exists())

    def test_dependencies_are_found_where_the_loader_finds_them(self) -> None:
        """M.so needs x/b.so, which needs y/c.so: the loader's own answer, for libraries that it may have."""
        old, root = "-Wl,--disable-new-dtags", "-Wl,-rpath,$ORIGIN/../../.."
        self.library("y/c.so")
        missing = []
        for of_m, of_b, path in (
            ([], [], ""),
            ([], [], "x:y"),
            ([old, f"{root}/x:$ORIGIN/../../../y"], [], ""),  # what has an RPATH passes it on
            ([f"{root}/x:$ORIGIN/../../../y"], [], ""),  # a RUNPATH is for one's own
            ([f"{root}/x"], [old, "-Wl,-rpath,${ORIGIN}/../y"], ""),
            ([old, f"{root}/x:y"], ["-Wl,-rpath,$ORIGIN"], ""),  # what has a RUNPATH takes none over
            ([old, f"{root}/x:y"], [old, "-Wl,-rpath,$ORIGIN"], ""),
            ([f"{root}/y"], [], "x;z"),
            (["-Wl,-z,nodefaultlib"], [], "x:y"),
        ):
            self.library("x/b.so", *of_b, "-Ly", "-l:c.so")
            self.fmu_with_library(*of_m, "-Lx", "-l:b.so", "-Wl,--allow-shlib-undefined,-rpath-link,y")
            with self.subTest(f"{of_m} {of_b} {path}"), unittest.mock.patch.dict(os.environ, LD_LIBRARY_PATH=path):
                printed = re.findall('cannot find "(.*?)"', self.output("check", "fmu", LD_LIBRARY_PATH=path))
                loader = subprocess.run(["ldd", "fmu/binaries/linux64/M.so"], capture_output=True, text=True).stdout
                self.assertEqual(printed, re.findall(r"(\S+) => not found", loader), loader)
                missing.append(printed)
        self.assertIn(["b.so"], missing)
        self.assertIn(["c.so"], missing)
        self.assertIn([], missing)

    def test_descriptions(self) -> None:
        for case, (text, printed) in DESCRIPTIONS.items():
            with self.subTest(case):
                Path("m").write_text(text)
                self.assertRegex(self.output("pack", "m", "--library", LIBRARY), printed)
        for path, printed in (("pipe", "is not a regular file"), ("/dev/zero", "is not a regular file"), ("tmp", "is a folder")):
            self.assertIn(printed, self.output("pack", path, "--library", LIBRARY))
        self.assertEqual(sorted(os.listdir()), ["d", "m", "pipe", "tmp"])

    def test_outputs(self) -> None:
        Path("m").write_text(MODEL + 'template = "m"\n[[input]]\nsignals = [{ name = "u" }]\n')
        Path("f.fmu").write_bytes(ONE)
        for output in ("no/f.fmu", "/proc/f.fmu", "tmp", "pipe", "/dev/null", "n" * 256, ""):
            with self.subTest(output):
                printed = "is a folder" if output == "tmp" else "cannot be written"
                self.assertIn(printed, self.output("pack", "m", "--library", LIBRARY, "-o", output or "m/f"))
        for size in (0, 1, 20_000):
            self.assertIn("cannot be written", self.output("pack", "m", "--library", LIBRARY, "-o", "f.fmu", file_size=size))
        self.assertRegex(self.output("pack", "m", "--library", "pipe"), "pipe is not a regular file")
        self.assertIn("is not replaced", self.output("pack", "m", "--library", LIBRARY, "-o", "m"))
        self.assertEqual(Path("f.fmu").read_bytes(), ONE)
        self.assertEqual(sorted(os.listdir()), ["d", "f.fmu", "m", "pipe", "tmp"])
        Path("r.zip").write_bytes(ONE)
        Path("m").write_text(MODEL + 'template = "m"\nresources = ["r.zip"]\n[[input]]\nsignals = [{ name = "u" }]\n')
        self.assertIn("own inputs", self.output("pack", "m", "--library", LIBRARY, "-o", "tmp/../r.zip"))
        os.truncate("r.zip", (4 << 30) + 1)
        self.assertIn("The files are more than 4 GiB together", self.output("pack", "m", "--library", LIBRARY))

    def test_nothing_is_packed_that_check_refuses_for_its_size(self) -> None:
        one = '[[input]]\nsignals = [{ name = "u" }]\n'
        Path("zeros").touch()
        Path("m").write_text(MODEL + 'template = "m"\nresources = ["zeros"]\n' + one)
        pack = ["pack", "m", "--library", LIBRARY]
        os.truncate("zeros", 160 << 20)  # compressed, it would be less than a two-hundredth
        self.output(*pack, code=0)
        self.output("check", "M.fmu", code=0)
        Path("M.fmu").unlink()
        for size in (4 << 30, (4 << 30) + 1):
            os.truncate("zeros", size)
            self.assertIn("The files are more than 4 GiB together", self.output(*pack))
        names = "".join(f"{{ name = \"'{i}{'x' * 999_999}'\", solver_name = 's{i}' }}," for i in range(15))
        Path("m").write_text(MODEL + f'template = "pipe"\n[[output]]\nsignals = [{names}]\n'.replace("pipe", "d/t"))
        Path("d/t").write_text("x")
        self.assertIn("modelDescription.xml would be larger than 64 MiB", self.output(*pack))
        Path("d/many").mkdir()
        for i in range(100_001):
            os.mknod(f"d/many/{i}")
        Path("m").write_text(MODEL + 'template = "m"\ndocumentation = "d/many"\n' + one)
        self.assertIn("There are more than 100000 files", self.output(*pack))
        self.assertFalse(Path("M.fmu").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
