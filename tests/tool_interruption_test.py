"""A signal at any moment leaves none of tessaro-fmu's own files: tool_interruption_test.py PROGRAM"""

import os
import random
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from contextlib import chdir
from pathlib import Path

PROGRAM = str(Path(sys.argv[1]).resolve())
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE)
MOMENTS = 30
RESULTS = {"new": {"N.toml", "N.mdl"}, "pack": {"out.fmu"}}  # what is written at once or not at all


class Interruption(unittest.TestCase):
    def setUp(self) -> None:
        self.enterContext(chdir(self.enterContext(tempfile.TemporaryDirectory())))
        Path("tmp").mkdir()
        for call in ("new M", "pack M.toml"):
            subprocess.run([PROGRAM, *call.split()], check=True, stdout=subprocess.DEVNULL)
        self.files = set(os.listdir())

    def start(self, call: str) -> subprocess.Popen:
        return subprocess.Popen([PROGRAM, *call.split()], env={"TMPDIR": "tmp", "KORVAN_FMU_ROOT": "/nowhere"},
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)  # fmt: skip

    def remove_results(self, command: str) -> None:
        for name in RESULTS.get(command, ()):
            Path(name).unlink(missing_ok=True)

    def duration(self, call: str) -> float:
        """The longest of three, in seconds."""
        durations = []
        for _ in range(3):
            start = time.monotonic()
            self.start(call).wait()
            durations.append(time.monotonic() - start)
            self.remove_results(call.split()[0])
        return max(durations)

    def test_nothing_temporary_is_left_by_a_signal_at_any_moment(self) -> None:
        moments, ended, at_work = random.Random(1), 0, 0
        for call in ("new N", "pack M.toml -o out.fmu", "info M.fmu", "check M.fmu", "doctor M.fmu"):
            command, duration = call.split()[0], self.duration(call)
            for i in range(MOMENTS):
                process, wanted = self.start(call), SIGNALS[i % len(SIGNALS)]
                time.sleep(moments.uniform(0, duration))
                at_work += bool(os.listdir("tmp")) or bool(set(os.listdir()) - self.files)
                process.send_signal(wanted)
                code = process.wait(10)
                ended += code == -wanted
                with self.subTest(call=call, signal=wanted.name, moment=i):
                    self.assertIn(code, (-wanted, 0, 1))
                    self.assertEqual(os.listdir("tmp"), [])
                    self.assertIn(set(os.listdir()) - self.files, (set(), RESULTS.get(command, set())))
                self.remove_results(command)
        self.assertGreater(ended, 0, "no signal met a process")
        self.assertGreater(at_work, 0, "no signal met a temporary file")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
