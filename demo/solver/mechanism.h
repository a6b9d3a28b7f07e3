// The mechanism as the multibody library runs it: advances in time and measures the outputs.
//
// Built from a Model by the run. Hides the multibody library's headers; compiles as C++17.
#pragma once

#include <memory>
#include <stdexcept>
#include <vector>

#include "demo/solver/model.h"

namespace solver {

/// A measured signal with its first and second time derivatives.
struct Signal {
    double value = 0;
    double first = 0;
    double second = 0;
};

/// The ends of closures can't be joined; the message is a sentence for the user.
class ClosureError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One mechanism in motion. The inputs keep their values while time advances. Every function passes on the multibody
/// library's exceptions, which are all derived from std::exception.
class Mechanism {
public:
    /// Sets the mechanism up in its initial position at time 0, with driven joints as in the model and driven loads 0.
    /// Throws a ClosureError if its closures don't fit that position, and another exception if its equations of motion
    /// have no solution there.
    explicit Mechanism(const Model& model);
    ~Mechanism();

    /// Number of degrees of freedom that driven joints and closures leave in the present position.
    int degreesOfFreedom() const;

    double time() const;
    /// Sets the present time; nothing moves.
    void setTime(double time);

    /// Sets all inputs, in the order of the ports and their signals. A driven joint jumps to its new coordinate and
    /// rests there; what closures connect to it follows. Throws a ClosureError if it can't.
    void setInputs(const std::vector<double>& values);

    /// Integrates up to `time` exactly, which must not be before `time()`. Throws std::runtime_error when the motion
    /// cannot be followed.
    void advanceTo(double time);

    /// Measures all outputs, in the order of the ports and their signals. Derivatives of coordinates and points are the
    /// speeds and accelerations of the equations of motion, and the first derivative of a spring's force follows from
    /// them exactly. Its second derivative is a central difference of the first along the motion: exact but for
    /// rounding while the mechanism is linear, otherwise good to about 1e-8 of its size unless a spring is nearly of
    /// length 0. A joint that an input drives is at rest: its derivatives are 0.
    void measure(std::vector<Signal>& signals);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace solver
