"""The quarter car and the squeezing mechanism in one process, each unpacked by itself, driven call by call by FMPy."""

import unittest
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from fmpy import extract

import motion
from isolated import in_a_process
from master import Array
from motion import BUMP, CAR, CAR_TIMES, SQUEEZER, SQUEEZER_TIMES, TOLERANCE, Instance

Signals = dict[str, Array]

STIFFNESS, DRIVE = 25000.0, 0.04
ROUNDS = 10
CAR_SIGNALS = motion.with_derivatives(motion.CAR_OUTPUTS)
SQUEEZER_SIGNALS = motion.with_derivatives(motion.SQUEEZER_OUTPUTS)

ORDERS = {
    "the car is ready before the squeezer is instantiated": "car.instantiate car.initialize squeezer.instantiate squeezer.initialize",
    "the squeezer is ready before the car is instantiated": "squeezer.instantiate squeezer.initialize car.instantiate car.initialize",
    "the one instantiated last is initialized first": "car.instantiate squeezer.instantiate squeezer.initialize car.initialize",
    "the one instantiated last is initialized last": "car.instantiate squeezer.instantiate car.initialize squeezer.initialize",
}


def new_car() -> Instance:
    return Instance(extract(CAR), CAR_TIMES, CAR_SIGNALS)


def new_squeezer() -> Instance:
    return Instance(extract(SQUEEZER), SQUEEZER_TIMES, SQUEEZER_SIGNALS)


def side_by_side(order: str) -> tuple[Signals, Signals]:
    """Both take their steps in turn; the squeezer takes fewer."""
    car, squeezer = new_car(), new_squeezer()
    calls = {
        "car.instantiate": car.instantiate,
        "car.initialize": partial(car.initialize, k_c=STIFFNESS),
        "squeezer.instantiate": squeezer.instantiate,
        "squeezer.initialize": partial(squeezer.initialize, drive=DRIVE),
    }
    for call in order.split():
        calls[call]()
    for n in range(car.steps):
        car.step(z_road=BUMP[n])
        if n < squeezer.steps:
            squeezer.step()
    return car.free(), squeezer.free()


def on_two_threads() -> tuple[Signals, Signals]:
    """Both with all of their calls on threads of their own, which begin at once."""
    car, squeezer = new_car(), new_squeezer()
    with ThreadPoolExecutor(2) as pool:
        car_run = pool.submit(motion.drive, car, {"z_road": BUMP}, k_c=STIFFNESS)
        squeezer_run = pool.submit(motion.drive, squeezer, {}, drive=DRIVE)
        return car_run.result(), squeezer_run.result()


class CarAndSqueezer(unittest.TestCase):
    def assert_exact(self, car: Signals, squeezer: Signals) -> None:
        self.assertLessEqual(motion.distance(car, motion.exact_car(STIFFNESS)), TOLERANCE)
        self.assertLessEqual(motion.distance(squeezer, motion.exact_squeezer(DRIVE)), TOLERANCE)

    def test_each_moves_by_its_own_parameters_in_any_order_of_the_calls(self) -> None:
        for description, order in ORDERS.items():
            with self.subTest(description):
                signals, _ = in_a_process(partial(side_by_side, order))
                self.assert_exact(*signals)

    def test_each_moves_by_its_own_parameters_when_both_start_at_once(self) -> None:
        for n in range(ROUNDS):
            with self.subTest(round=n):
                signals, stays = in_a_process(on_two_threads)
                self.assert_exact(*signals)
                self.assertTrue(stays, "the working directory has changed")


if __name__ == "__main__":
    unittest.main()
