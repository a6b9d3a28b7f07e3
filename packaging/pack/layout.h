// Where everything in an FMU lies: indices, value references, port offsets, and the solver's name behind each value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "packaging/pack/description.h"

namespace packaging {

enum class Role { input, output, derivative, parameter };

/// A variable of the model description.
struct Variable {
    std::string name;
    VariableType type = VariableType::real;
    std::uint32_t reference = 0; ///< value reference
    Role role = Role::parameter;
    std::string unit;
    std::string description;
    std::optional<Value> start; ///< of inputs and parameters
    std::optional<Value> min;
    std::optional<Value> max;
    std::size_t derivativeOf = 0; ///< of derivatives: index of the variable
};

struct PortPlace {
    std::uint32_t width;
    std::uint32_t offset; ///< value reference of the first signal; derivatives lie one and two widths behind
};

struct Layout {
    std::vector<Variable> variables; ///< variable k has index k + 1
    std::vector<PortPlace> inputs;
    std::vector<PortPlace> outputs;

    /// For each type, in the order of `VariableType`: the solver's names by value reference.
    std::array<std::vector<std::string>, 4> solverNames;

    const std::vector<std::string>& namesOf(VariableType type) const {
        return solverNames[static_cast<std::size_t>(type)];
    }

    /// What `fmi2GetRealOutputDerivatives` can be relied on for: it looks at the distance that holds for port 0.
    int maxOutputDerivativeOrder() const;
};

/// Reals are inputs port by port, then the outputs' ports, each with its values, first and second derivatives in three
/// blocks of its width, then parameters. String 0 is the result file; it is reserved, too, where only other strings
/// are.
Layout layOut(const Description& description);

} // namespace packaging
