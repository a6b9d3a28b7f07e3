"""The Python module tessaro_fmu as it is installed."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import tessaro_fmu


class Module(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)
        subprocess.run([tessaro_fmu.PROGRAM, "new", "Block"], check=True, stdout=subprocess.DEVNULL)

    def test_an_fmu_is_packed_and_checked(self) -> None:
        packed = tessaro_fmu.pack("Block.toml", "other.fmu", version="7", bundle=True)
        self.assertEqual(packed.warnings, [])
        self.assertEqual(packed.archive.resolve(), Path("other.fmu").resolve())
        self.assertIn("libxml2.so.2", packed.bundled)
        self.assertEqual(tessaro_fmu.check(packed.archive), [])

    def test_all_errors_of_a_description_are_in_the_exception(self) -> None:
        Path("wrong.toml").write_text('[model]\nname = "a b"\nnonsense = 1\n')
        with self.assertRaises(tessaro_fmu.PackError) as raised:
            tessaro_fmu.pack("wrong.toml")
        self.assertGreater(len(raised.exception.findings), 1)
        self.assertIn("wrong.toml:3: error: ", str(raised.exception))

    def test_an_empty_version_is_refused(self) -> None:
        with self.assertRaisesRegex(tessaro_fmu.PackError, "--version="):
            tessaro_fmu.pack("Block.toml", version="")

    def test_what_is_not_an_fmu_is_a_finding(self) -> None:
        Path("none.fmu").write_text("nothing")
        self.assertEqual([finding.rule for finding in tessaro_fmu.check("none.fmu")], ["unreadable"])

    def test_a_missing_file_is_an_exception(self) -> None:
        with self.assertRaises(FileNotFoundError):
            tessaro_fmu.check("missing.fmu")


if __name__ == "__main__":
    unittest.main()
