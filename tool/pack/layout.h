// Where everything in an FMU is: indices, value references, port offsets, and the solver's name of each value.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tool/pack/description.h"

namespace tool {

/// A variable of the FMU that is made.
struct PlannedVariable : Variable {
    std::string unit;
    std::string description;
    std::optional<Value> start; ///< of inputs and parameters
    std::optional<Value> min;
    std::optional<Value> max;
    std::size_t derivativeOf = 0; ///< of derivatives: index of the variable
};

struct Layout {
    std::vector<PlannedVariable> variables; ///< variable k has index k + 1
    std::vector<Port> inputs;
    std::vector<Port> outputs;

    /// By type: the solver's names, by value reference.
    std::array<std::vector<std::string>, 4> solverNames;

    /// What `fmi2GetRealOutputDerivatives` can be relied on for: it looks at the distance that holds for port 0, and
    /// the solver writes the orders that each port's description names.
    int maxOutputDerivativeOrder = 0;
};

/// Reals are inputs port by port, then the outputs' ports, each with its values, first and second derivatives in three
/// blocks of its width, then parameters. String 0 is the result file; it is also reserved where there are only
/// other strings.
Layout layOut(const Description& description);

} // namespace tool
