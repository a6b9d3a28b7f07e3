"""The geometry of Andrews' squeezing mechanism, and its exact motion, computed without the solver.

The plane is that of complex numbers. Four chains start at fixed points and meet in P: from O crank and link, from B the
rocker, from A an arm with a rod, and a second arm with a second rod. A spring pulls the rocker's corner D to C. Lengths
are in m, angles in rad, masses in kg.
"""

from collections.abc import Mapping
from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray
from scipy.integrate import solve_ivp

Array = NDArray[np.float64]
ComplexArray = NDArray[np.complex128]

START = {
    "beta": -0.0617138900142764,
    "theta": 0.0,
    "gamma": 0.455279819163070,
    "phi": 0.222668390165886,
    "delta": 0.487364979543843,
    "omega": -0.222668390165886,
    "epsilon": 1.23054744454982,
}
ANGLES = tuple(START)
FORMS = ("{}", "der({})", "der({},2)")


@dataclass(frozen=True)
class Point:
    """The end of a chain: a fixed origin and arms, the angle of each being a sum of some of the mechanism's angles.

    Angles, their rates and accelerations are arrays whose last axis has the order of ANGLES.
    """

    origin: complex
    arms: tuple[complex, ...] = ()
    sums: tuple[tuple[float, ...], ...] = ()

    def arm(self, vector: complex, *angles: str) -> "Point":
        """The end of one more arm, which is this vector while the angles are 0."""
        return Point(self.origin, (*self.arms, vector), (*self.sums, tuple(float(name in angles) for name in ANGLES)))

    def position(self, angles: Array) -> ComplexArray:
        return self.origin + self._turned(angles).sum(axis=-1)

    def velocity(self, angles: Array, rates: Array) -> ComplexArray:
        return (1j * self._sum(rates) * self._turned(angles)).sum(axis=-1)

    def acceleration(self, angles: Array, rates: Array, accelerations: Array) -> ComplexArray:
        return ((1j * self._sum(accelerations) - self._sum(rates) ** 2) * self._turned(angles)).sum(axis=-1)

    def gradient(self, angles: Array) -> ComplexArray:
        """The derivatives of the position by each angle."""
        return 1j * self._turned(angles) @ self._selection()

    def _sum(self, angles: Array) -> Array:
        return angles @ self._selection().T

    def _selection(self) -> Array:
        """A row for each arm: 1 for each of the angles that turn it."""
        return np.array(self.sums).reshape(-1, len(ANGLES))

    def _turned(self, angles: Array) -> ComplexArray:
        return np.array(self.arms) * np.exp(1j * self._sum(angles))


O, A, B, C = Point(0j), Point(-0.06934 - 0.00227j), Point(-0.03635 + 0.03273j), Point(0.014 + 0.072j)
F = O.arm(0.007, "beta")
D = B.arm(0.02 - 0.018j, "gamma")
ARM_END = A.arm(0.04, "delta")
SECOND_ARM_END = A.arm(-0.04j, "epsilon")
P_BY = {
    "link": F.arm(-0.028, "beta", "theta"),
    "rocker": B.arm(-0.035j, "gamma"),
    "rod": ARM_END.arm(-0.02j, "phi", "delta"),
    "second rod": SECOND_ARM_END.arm(0.02, "omega", "epsilon"),
}
P = P_BY["rocker"]


@dataclass(frozen=True)
class Body:
    """A body with the name of its mass, its inertia in kg m2 and its centre of mass, on the last arm of a chain."""

    mass: str
    inertia: float
    centre: Point


BODIES = (
    Body("m1", 2.194e-6, O.arm(0.00092, "beta")),
    Body("m2", 4.410e-7, F.arm(-0.0115, "beta", "theta")),
    Body("m3", 5.255e-6, B.arm(0.01874 + 0.01043j, "gamma")),
    Body("m4", 5.667e-7, ARM_END.arm(-0.00579j, "phi", "delta")),
    Body("m5", 1.169e-5, A.arm(0.02308 + 0.00916j, "delta")),
    Body("m6", 5.667e-7, SECOND_ARM_END.arm(0.00579, "omega", "epsilon")),
    Body("m7", 1.912e-5, A.arm(0.01228 + 0.00449j, "epsilon")),
)


def exact(parameters: Mapping[str, float], times: Array, torques: Array) -> dict[str, Array]:
    """Every output with its derivatives at each of the times, from the equations of motion.

    The first of the torques acts on the crank, constantly, beside its drive.

    Integrated by the Dormand-Prince method of order 8 with tolerances of 1e-12. The loops are closed by multipliers; on
    the short way their ends drift apart by no more than the method's errors.
    """

    def rates(_time: float, state: Array) -> Array:
        return np.concatenate((state[7:], _accelerations(parameters, torque, state[:7], state[7:])))

    torque = parameters["drive"] + torques[0]
    start = np.array([*START.values(), *np.zeros(7)])
    solution = solve_ivp(rates, (0.0, times[-1]), start, "DOP853", times, rtol=1e-12, atol=1e-12)
    angles, speeds = solution.y[:7].T, solution.y[7:].T
    accelerations = np.array([rates(0.0, state)[7:] for state in solution.y.T])

    signals: dict[str, Array] = {}
    for form, values in zip(FORMS, (angles, speeds, accelerations), strict=True):
        signals |= {form.format(name): column for name, column in zip(ANGLES, values.T, strict=True)}
    return signals | coordinates("F", F, signals) | coordinates("P", P, signals)


def _accelerations(parameters: Mapping[str, float], torque: float, angles: Array, rates: Array) -> Array:
    """Lagrange's equations of the first kind, with the two components of three gaps at P as constraints."""
    mass, force, at_rest = np.zeros((7, 7)), np.zeros(7), np.zeros(7)
    for body in BODIES:
        gradient, turn = body.centre.gradient(angles), np.array(body.centre.sums[-1])
        mass += parameters[body.mass] * (gradient.conj()[:, None] * gradient).real + body.inertia * np.outer(turn, turn)
        bias = body.centre.acceleration(angles, rates, at_rest)
        force -= parameters[body.mass] * (gradient.conj() * bias).real
    force[ANGLES.index("beta")] += torque
    stretch = C.origin - D.position(angles)
    pull = parameters["c0"] * (abs(stretch) - parameters["l0"]) * stretch / abs(stretch)
    force += (D.gradient(angles).conj() * pull).real

    others = [point for point in P_BY.values() if point is not P]
    gradients = np.array([point.gradient(angles) - P.gradient(angles) for point in others])
    biases = [point.acceleration(angles, rates, at_rest) - P.acceleration(angles, rates, at_rest) for point in others]
    constraints = np.concatenate((gradients.real, gradients.imag))
    system = np.block([[mass, constraints.T], [constraints, np.zeros((6, 6))]])
    return np.linalg.solve(system, np.concatenate((force, -np.real(biases), -np.imag(biases))))[:7]


def coordinates(name: str, point: Point, signals: Mapping[str, Array]) -> dict[str, Array]:
    """x and y of a point, "P_x", with their derivatives, "der(P_x)" and "der(P_x,2)", from the angles and theirs."""
    angles, rates, accelerations = (np.stack([signals[form.format(n)] for n in ANGLES], axis=-1) for form in FORMS)
    values = (
        point.position(angles),
        point.velocity(angles, rates),
        point.acceleration(angles, rates, accelerations),
    )
    parts: dict[str, Array] = {}
    for form, value in zip(FORMS, values, strict=True):
        parts |= {form.format(f"{name}_x"): value.real, form.format(f"{name}_y"): value.imag}
    return parts
