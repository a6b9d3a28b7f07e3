"""The packed FMU in FMPy: fmpy_test.py ARCHIVE INSTALLATION [unittest's arguments]"""

import os
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any, ClassVar
from unittest import mock

import numpy as np
from fmpy import read_model_description, simulate_fmu
from fmpy.validation import validate_fmu

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "demo"))
import quarter_car

TOLERANCE = 1e-6
TIMES = np.arange(201) * 0.01
SIGNALS = [form.format(name) for name in quarter_car.OUTPUTS for form in ("{}", "der({})", "der({},2)")]


def road() -> np.ndarray:
    """The input as FMPy takes it. At each communication point it sets a sample's value and holds it for the step."""
    samples = np.zeros(len(TIMES), dtype=[("time", float), ("z_road", float)])
    samples["time"] = TIMES
    samples["z_road"] = quarter_car.input_signal(TIMES)
    return samples


class QuarterCarInFmpy(unittest.TestCase):
    archive: ClassVar[str]
    installation: ClassVar[str]

    def setUp(self) -> None:
        """Works in a folder of its own, where FMPy also unpacks; the installation's root is the only setting."""
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder)
        self.enterContext(mock.patch.object(tempfile, "tempdir", folder))
        self.enterContext(mock.patch.dict(os.environ, KORVAN_FMU_ROOT=self.installation))
        for name in ("NUSOL_DLL_DIR", "KELDEX_PATH"):
            os.environ.pop(name, None)

    def start_values(self) -> dict[str, float]:
        variables = read_model_description(self.archive).modelVariables
        return {variable.name: float(variable.start) for variable in variables if variable.causality == "parameter"}

    def assert_exact(self, result: Any, parameters: dict[str, float]) -> None:
        np.testing.assert_allclose(result["time"], TIMES, rtol=0.0, atol=1e-12)
        exact = quarter_car.exact(parameters, TIMES, quarter_car.input_signal(TIMES))
        for name in SIGNALS:
            with self.subTest(signal=name):
                error = np.max(np.abs(result[name] - exact[name]))
                self.assertLessEqual(error, TOLERANCE * np.ptp(exact[name]))

    def test_validation_finds_nothing(self) -> None:
        self.assertEqual(validate_fmu(self.archive), [])

    def test_the_template_alone_moves_as_the_start_values_say(self) -> None:
        result = simulate_fmu(self.archive, input=road(), stop_time=2.0, output=SIGNALS)
        self.assert_exact(result, self.start_values())

    def test_a_stiffness_set_by_the_master_changes_the_motion_as_it_should(self) -> None:
        result = simulate_fmu(self.archive, input=road(), stop_time=2.0, output=SIGNALS, start_values={"k_c": 30000.0})
        self.assert_exact(result, self.start_values() | {"k_c": 30000.0})


if __name__ == "__main__":
    QuarterCarInFmpy.archive, QuarterCarInFmpy.installation = (str(Path(path).resolve()) for path in sys.argv[1:3])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
