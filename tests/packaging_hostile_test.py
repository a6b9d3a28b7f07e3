"""`tessaro-fmu check` and `pack` with what was made to break them: packaging_hostile_test.py PROGRAM LIBRARY"""

import io
import os
import resource
import struct
import subprocess
import sys
import tempfile
import unittest
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

ARCHIVES = {  # what is told
    "many GB": (repeated(ZEROS, 60), "The archive unpacks to too much"),
    "more than it says": (patched(ZEROS, 22, 24, "<I", 10), '"00000" is larger than the archive says'),
    "overlapping": (repeated(ONE, 3), "There is no modelDescription.xml"),
    "too many": (ONE[: ONE.index(b"PK\5\6")] + MANY, "is no FMU: .*ZIP archive"),
    "encrypted": (patched(ONE, 6, 8, "<H", 1), '"00000" can\'t be unpacked: .*password'),
    "unknown method": (patched(ONE, 8, 10, "<H", 6), '"00000" can\'t be unpacked: .*not supported'),
    "link": (archive(("l", "/tmp", 0o120777), ("l/out", "x")), '"l" is neither a file nor a folder'),
    "long name": (archive(("n" * 60000, "x")), '"n{100}..." can\'t be written to tmp/'),
    "deep": (archive(("a/" * 2000 + "f", "x")), 'a/..." lies in too many folders'),
    "folder": (archive(("modelDescription.xml/", "")), "There is no modelDescription.xml"),
    "file and folder": (archive(("a", "x"), ("a/b", "x")), '"a/b" can\'t be unpacked: Not a directory'),
    "other case": (archive(("a", "x"), ("A", "y")), "1 error, 0 warnings"),
    "control characters": (archive(*((f"../{i}\n", "") for i in range(99))), 'entry "../0\\?" leads out'),
    "counted": (archive(*((f"../{i}", "") for i in range(99))), "The same is found 94 more times"),
}

MODEL = '[model]\nname = "M"\nfinal_time = 1\n'
DESCRIPTIONS = {
    "nested": ("a = " + "[" * 1_000_000, "m:1: "),
    "long key": ("a" + ".a" * 1_000_000 + " = 1", "m:1: A key has more than 16 parts"),
    "hidden key": ('b = """"x""""\n"a"' + ". 'a'" * 1_000_000 + " = 1", "m:2: A key has more than 16 parts"),
    "long line": ('a = "' + "x" * 200_000_000 + '"', "is larger than 32 MiB"),
    "many mistakes": ("".join(f"a{i} = 1\n" for i in range(200_000)), "and 199902 more"),
    "many units": ("[units]\n" + "".join(f"u{i} = {{}}\n" for i in range(300_000)), "m:1: There are more than 10000"),
    "parentheses": (MODEL + f'[[input]]\nsignals = [{{name = "x", unit = "{"(" * 1_000_000}"}}]', "isn't known"),
    "exponents": (MODEL + '[[input]]\nsignals = [{name = "x", unit = "km99.km99"}]', "isn't known"),
    "control characters": (MODEL + '"\\u001b[31m" = 1', r"no key \?\[31m"),
    "pipe": (MODEL + 'template = "pipe"', "m:4: template: there is no regular file pipe"),
    "device": (MODEL + 'template = "/dev/zero"', "m:4: template: there is no regular file /dev/zero"),
    "folder": (MODEL + 'resources = ["."]', "m:4: resources: there is no regular file "),
    "file as a folder": (MODEL + 'documentation = "m"', "m:4: documentation: there is no folder m"),
    "backslash": (MODEL + 'template = "m"\ndocumentation = "d"\nresult_file_variable = true\nresult_file = "./.mrf"',
                  r"documentation: a\\b isn't a file name for every system"),
    "zero byte": (MODEL + 'resources = ["m\\u0000"]', "m:4: resources holds a line feed or another control character"),
}


class Hostile(unittest.TestCase):
    def setUp(self) -> None:
        self.enterContext(chdir(self.enterContext(tempfile.TemporaryDirectory())))
        Path("tmp").mkdir()
        Path("d").mkdir()
        Path("d/a\\b").touch()
        os.mkfifo("pipe")

    def told(self, *arguments: str, code: int = 1, file_size: int = GIB, seconds: int = 10) -> str:
        """What it prints in ten seconds, with 2 GiB of memory, leaving no temporary files."""

        def limit() -> None:
            resource.setrlimit(resource.RLIMIT_AS, (2 * GIB, 2 * GIB))
            resource.setrlimit(resource.RLIMIT_FSIZE, (file_size, file_size))

        result = subprocess.run([PROGRAM, *arguments], env={"TMPDIR": "tmp"}, text=True, timeout=seconds, preexec_fn=limit,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)  # fmt: skip
        self.assertEqual((result.returncode, os.listdir("tmp")), (code, []), result.stdout[:500])
        return result.stdout

    def test_archives(self) -> None:
        for case, (data, told) in ARCHIVES.items():
            with self.subTest(case):
                Path("f.fmu").write_bytes(data)
                self.assertRegex(self.told("check", "f.fmu"), told)
        for i in range(20):
            Path("f.fmu").write_bytes(GOOD[: len(GOOD) * i // 20])
            self.assertRegex(self.told("check", "f.fmu"), "is no FMU: neither a folder nor a ZIP archive")

    def test_folders(self) -> None:
        Path("fmu/resources").mkdir(parents=True)
        Path("fmu/modelDescription.xml").symlink_to("/dev/zero")
        Path("fmu/out").symlink_to("/")
        os.mkfifo("fmu/resources/pipe")
        self.assertIn("There is no modelDescription.xml", self.told("check", "fmu"))
        Path("fmu/modelDescription.xml").unlink()
        attributes = "".join(f' a{i}=""' for i in range(200_000))
        for text, found in (
            (f"<a{attributes}/>", "too many attributes"),
            ("<a>" * 9_000_000, "xml-malformed"),
            (" " * 70_000_000, "larger than 64 MiB"),
            ('<fmiModelDescription fmiVersion="2.0"/>', '"pipe" is neither a regular file nor a folder'),
        ):
            Path("fmu/modelDescription.xml").write_text(text)
            self.assertIn(found, self.told("check", "fmu"))
        for path in ("pipe", "/dev/zero"):
            self.assertIn("is neither a folder nor a regular file", self.told("check", path))

    def test_no_code_of_the_fmu_runs(self) -> None:
        Path("a.c").write_text('#include <stdio.h>\nunsigned la_version(unsigned v) { fopen("ran", "w"); return v; }')
        subprocess.run(["cc", "-shared", "-fPIC", "a.c", "-o", "a.so"], check=True)
        Path("fmu/binaries/linux64").mkdir(parents=True)
        options = [f"-Wl,--audit={Path.cwd()}/a.so", "-Wl,--no-as-needed,-rpath,$ORIGIN/../../..", "-L.", "-l:a.so"]
        subprocess.run(["cc", "-shared", "a.so", *options, "-o", "fmu/binaries/linux64/M.so"], check=True)
        text = '<fmiModelDescription fmiVersion="2.0"><CoSimulation modelIdentifier="M"/></fmiModelDescription>'
        Path("fmu/modelDescription.xml").write_text(text)
        self.assertNotIn("The loader", self.told("check", "fmu"))
        self.assertFalse(Path("ran").exists())
        Path("a.so").unlink()
        self.assertIn('The loader finds no "a.so" here', self.told("check", "fmu"))
        os.mkfifo("a.so")
        self.assertIn("The loader waits for something", self.told("check", "fmu", seconds=15))

    def test_descriptions(self) -> None:
        for case, (text, told) in DESCRIPTIONS.items():
            with self.subTest(case):
                Path("m").write_text(text)
                self.assertRegex(self.told("pack", "m", "--library", LIBRARY), told)
        for path in ("pipe", "/dev/zero", "tmp"):
            self.assertIn("There is no file", self.told("pack", path, "--library", LIBRARY))
        self.assertEqual(sorted(os.listdir()), ["d", "m", "pipe", "tmp"])

    def test_outputs(self) -> None:
        Path("m").write_text(MODEL + 'template = "m"\n[[input]]\nsignals = [{ name = "u" }]\n')
        Path("f.fmu").write_bytes(ONE)
        for output in ("no/f.fmu", "/proc/f.fmu", "tmp", "pipe", "n" * 255, ""):
            with self.subTest(output):
                self.assertIn("can't be written", self.told("pack", "m", "--library", LIBRARY, "-o", output or "m/f"))
        for size in (0, 1, 20_000):
            self.assertIn("can't be written", self.told("pack", "m", "--library", LIBRARY, "-o", "f.fmu", file_size=size))
        self.assertRegex(self.told("pack", "m", "--library", "pipe"), "pipe is no regular file")
        self.assertIn("isn't replaced", self.told("pack", "m", "--library", LIBRARY, "-o", "m"))
        self.assertEqual(Path("f.fmu").read_bytes(), ONE)
        self.assertEqual(sorted(os.listdir()), ["d", "f.fmu", "m", "pipe", "tmp"])
        self.told("pack", "m", "--library", LIBRARY, code=0)
        self.assertIn("can't be written", self.told("check", "M.fmu", file_size=1000))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
