"""Models of one's own as FMUs, and what can be wrong with them: mujoco_test.py BUILD TESSARO_FMU

BUILD has the installation and the example's FMUs, TESSARO_FMU is the program.
"""

import contextlib
import math
import os
import subprocess
import sys
import tempfile
import unittest
from collections.abc import Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import fmpy
import numpy as np
from fmpy.fmi1 import FMICallException

EXAMPLE = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(EXAMPLE))
import fmu_batch
from both_ways import Engine, Fmu, messages

BUILD, PROGRAM = Path(sys.argv[1]).resolve(), sys.argv[2]

# Names that are not identifiers, elements with several numbers, limited and late sensors, a motor with a state, a file.
ARM = """
<mujoco>
  <option timestep="0.002"/>
  <include file="weight.xml"/>
  <worldbody>
    <body><joint name="shoulder" axis="0 1 0" damping="0.1"/><geom size="0.05" pos="0 0 -0.5"/>
      <body pos="0 0 -0.5"><joint name="elbow" axis="0 1 0" damping="0.1"/><geom size="0.05" pos="0 0 -0.4"/>
        <site name="hand" pos="0 0 -0.4"/></body></body>
  </worldbody>
  <actuator>
    <motor name="shoulder/torque" joint="shoulder"/>
    <general name="elbow/torque" joint="elbow" dyntype="filter" dynprm="0.1"/>
  </actuator>
  <keyframe><key qpos="0.4 -0.2" act="0.5"/></keyframe>
  <sensor>
    <framepos name="hand" objtype="site" objname="hand"/>
    <jointpos name="elbow/angle" joint="elbow"/>
    <jointpos name="limited" joint="elbow" cutoff="0.1"/>
    <jointpos name="late" joint="shoulder" nsample="10" delay="0.01"/>
    <jointpos name="shoulder/angle" joint="shoulder"/>
    <gyro name="gyro" site="hand"/>
  </sensor>
</mujoco>
"""

WEIGHT = '<mujoco><default><geom mass="1.5"/></default></mujoco>'

PART_OF_ARM = """
[model]
name = "Arm"
template = "Arm.xml"
resources = ["weight.xml"]
final_time = 1.0
[[input]]
signals = [{ name = "pull", solver_name = "elbow/torque" }]
[[output]]
signals = [{ name = "y", solver_name = "gyro[1]" }, { name = "angle", solver_name = "shoulder/angle" }]
[[output]]
signals = [{ name = "z", solver_name = "hand[2]" }, { name = "late" }, { name = "limited" }]
"""

BALL = """
<mujoco>
  <option timestep="0.001"/>
  <worldbody>
    <geom type="plane" size="1 1 1"/>
    <body pos="0 0 0.11"><joint name="height" type="slide" axis="0 0 1"/><geom size="0.1" mass="${mass=2}"/></body>
  </worldbody>
  <actuator><motor name="lift" joint="height"/></actuator>
  <sensor><jointpos name="height" joint="height"/></sensor>
</mujoco>
"""

MASS = '\n[[parameter]]\nname = "mass"\nstart = 2.0'


@contextlib.contextmanager
def standard_error() -> Iterator[Path]:
    """The file that gets what this process and its children print on standard error, such as the translator."""
    saved = os.dup(2)
    with tempfile.NamedTemporaryFile() as file:
        os.dup2(file.fileno(), 2)
        try:
            yield Path(file.name)
        finally:
            os.dup2(saved, 2)
            os.close(saved)


class OwnModels(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="own models ")))
        self.write("weight.xml", WEIGHT)

    def write(self, name: str, text: str) -> Path:
        path = self.folder / name
        path.write_text(text)
        return path

    def describe(self, model: Path) -> str:
        call = [sys.executable, EXAMPLE / "describe.py", model]
        return subprocess.run(call, check=True, capture_output=True, text=True).stdout

    def pack(self, description: str) -> Path:
        archive = self.folder / "own.fmu"
        call = [PROGRAM, "pack", self.write("own.toml", description), "--output", archive]
        subprocess.run(call, check=True, capture_output=True)
        return archive

    def test_every_signal_of_a_described_model_is_the_engines(self) -> None:
        model = self.write("Arm.xml", ARM)
        inputs = np.random.default_rng(1).uniform(-1.0, 1.0, (300, 2))
        with Fmu(self.pack(self.describe(model))) as fmu:
            result = fmu.run(inputs, 0.01)
        self.assertEqual(len(fmu.signals), 10 + 4)
        np.testing.assert_array_equal(result, Engine(model).run(inputs, 0.01, fmu.signals))

    def test_a_description_may_leave_signals_out_and_order_them_as_it_likes(self) -> None:
        model = self.write("Arm.xml", ARM)
        with Fmu(self.pack(PART_OF_ARM)) as fmu:
            result = dict(zip(fmu.signals, fmu.run(np.full((50, 1), 0.7), 0.01).T, strict=True))
        names = {"y": "gyro[1]", "angle": "shoulder/angle", "der(angle)": "der(shoulder/angle)", "z": "hand[2]"}
        expected = Engine(model).run(np.full((50, 2), [0.0, 0.7]), 0.01, list(names.values()))
        for name, column in zip(names, expected.T, strict=True):
            np.testing.assert_array_equal(result[name], column, err_msg=name)
        for name in ("der(y)", "der(z)", "der(late)", "der(late,2)", "der(limited)", "der(limited,2)"):
            np.testing.assert_array_equal(result[name], 0.0, err_msg=name)

    def test_what_is_wrong_with_a_model_is_said(self) -> None:
        cases = [
            ("no such sensor", '"height" joint', '"depth" joint', "The model has no sensor 'height'; it has: depth"),
            ("no such actuator", '"lift"', '"pull"', "The model has no actuator 'lift'; it has: pull"),
            ("not MJCF", "slide", "slid", "Can't read the model file"),
            ("no such parameter", "${mass=2}", "2", "the template has no parameter mass"),
        ]
        description = self.describe(self.write("Ball.xml", BALL))
        for what, old, new, text in cases:
            with self.subTest(what):
                self.write("Ball.xml", BALL.replace(old, new))
                archive = self.pack(description)
                messages.clear()
                with standard_error() as printed:
                    self.assertRaises(FMICallException, Fmu, archive, {"mass": 3.0})
                    self.assertIn(text, str(messages) + printed.read_text())

    def test_an_error_in_the_engine_ends_the_run_and_not_the_process(self) -> None:
        model = self.write("Ball.xml", BALL.replace("<worldbody>", '<size memory="1800"/><worldbody>'))
        with Fmu(self.pack(self.describe(model))) as fmu:
            self.assertRaises(FMICallException, fmu.run, np.zeros((100, 1)), 0.01)
        self.assertIn("out of memory", str(fmu.messages))

    def test_what_is_wrong_with_a_step_is_said(self) -> None:
        self.write("Ball.xml", BALL)
        archive = self.pack(self.describe(self.folder / "Ball.xml"))
        no_multiple = "The step from 0 s to {} s is not a multiple of the model's time step, 0.001 s"
        cases = [
            (0.0, 0.0, 0.0125, no_multiple.format(0.0125)),
            (0.0, 0.0, 1e-6, no_multiple.format("1e-06")),
            (0.0, 0.5, 0.01, "The step begins at 0.5 s, but the run is at 0 s"),
            (1e20, 0.0, 0.01, "The simulation became unstable in the step that began at 0 s"),
            (math.nan, 0.0, 0.01, "The simulation became unstable in the step that began at 0 s"),
        ]
        for force, begin, size, text in cases:
            with self.subTest(force=force, begin=begin, size=size), Fmu(archive) as fmu:
                fmu.set({"lift": force})
                fmu.time = begin
                self.assertRaises(FMICallException, fmu.step, size)
                self.assertIn(text, str(fmu.messages))


class Runs(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="unpacked ")))
        fmpy.extract(str(BUILD / "Pendulum.fmu"), str(self.folder))
        self.model = self.folder / "resources/Pendulum.xml"

    def test_rounded_communication_points_count_as_what_they_mean(self) -> None:
        with Fmu(self.folder) as fmu:
            for size in [0.01, 0.009999999999999787] * 2000:  # of a master that keeps its time in integers
                fmu.step(size)
            self.assertNotEqual(fmu.time, 40.0)
            expected = Engine(EXAMPLE / "model/Pendulum.mdl").run(np.zeros((1, 1)), 40.0, ["angle"])
            self.assertEqual(fmu.get(["angle"]), list(expected[-1]))

    def test_each_run_from_one_folder_has_its_own_parameters(self) -> None:
        for angle in (0.1, 0.2):
            with Fmu(self.folder, {"start_angle": angle}) as fmu:
                self.assertEqual(fmu.get(["angle"]), [angle])
            self.assertFalse(self.model.exists())

    def test_a_reset_instance_starts_anew(self) -> None:
        with Fmu(self.folder) as fmu:
            before = fmu.run(np.ones((10, 1)), 0.1)
            fmu.slave.reset()
            fmu.slave.enterInitializationMode()
            fmu.slave.exitInitializationMode()
            fmu.time = 0.0
            np.testing.assert_array_equal(fmu.run(np.ones((10, 1)), 0.1), before)

    def test_a_model_file_that_the_translator_has_not_written_stays(self) -> None:
        model = fmu_batch.fill(fmu_batch.read(str(EXAMPLE / "model/Pendulum.mdl")), {"start_angle": "0.4"})
        self.model.write_text(model)
        with Fmu(self.folder, {"start_angle": 0.1}) as fmu:
            self.assertEqual(fmu.get(["angle"]), [0.4])
        self.assertEqual(self.model.read_text(), model)

    def test_instances_start_and_end_while_others_step(self) -> None:
        inputs = np.random.default_rng(2).uniform(0.0, 8.0, (1500, 2))
        with Fmu(BUILD / "Rover.fmu") as fmu, ThreadPoolExecutor(1) as pool:
            stepping = pool.submit(fmu.run, inputs, 0.01)
            while not stepping.done():
                with Fmu(BUILD / "Rover.fmu", {"payload": 0.5}) as other:
                    other.step(0.01)
            expected = Engine(EXAMPLE / "model/Rover.mdl").run(inputs, 0.01, fmu.signals)
            np.testing.assert_array_equal(stepping.result(), expected)

    def test_the_rover_goes_where_its_wheels_roll(self) -> None:
        radius, offset = 0.08, 0.15
        names = ["position[0]", "position[1]", "forward[0]", "forward[1]", "left_angle", "right_angle"]
        with Fmu(BUILD / "Rover.fmu") as fmu:
            fmu.run(np.full((300, 2), 5.0), 0.01)
            x, y, _, _, left, right = fmu.get(names)
            self.assertAlmostEqual(x / (radius * (left + right) / 2), 1.0, delta=0.01)
            self.assertAlmostEqual(y, 0.0, delta=0.001)
            fmu.run(np.full((100, 2), [-2.0, 2.0]), 0.01)
            _, _, forward, leftward, new_left, new_right = fmu.get(names)
            turned = radius * ((new_right - right) - (new_left - left)) / (2 * offset)
            self.assertAlmostEqual(math.atan2(leftward, forward) / turned, 1.0, delta=0.02)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
