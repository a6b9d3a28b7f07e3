// What a variable of an FMU is, wherever it comes from or goes to, and the ports in which reals lie.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace tool {

/// In the order in which the parameter files list them.
enum class Type { real, integer, boolean, string };

struct TypeName {
    std::string_view word;    ///< in sentences
    std::string_view element; ///< in modelDescription.xml
};

inline constexpr std::array<TypeName, 4> typeNames{
    {{"real", "Real"}, {"integer", "Integer"}, {"boolean", "Boolean"}, {"string", "String"}}};

inline constexpr std::size_t indexOf(Type type) { return static_cast<std::size_t>(type); }
inline constexpr std::string_view wordOf(Type type) { return typeNames[indexOf(type)].word; }

enum class Causality { parameter, calculatedParameter, input, output, local, independent };
enum class Variability { constant, fixed, tunable, discrete, continuous };
enum class Initial { none, exact, approx, calculated };

/// As the attributes of modelDescription.xml have them, in the order of the enumerations.
inline constexpr std::array<std::string_view, 6> causalityNames{"parameter", "calculatedParameter", "input", "output",
                                                                "local",     "independent"};
inline constexpr std::array<std::string_view, 5> variabilityNames{"constant", "fixed", "tunable", "discrete",
                                                                  "continuous"};
inline constexpr std::array<std::string_view, 4> initialNames{"", "exact", "approx", "calculated"};

struct Variable {
    std::string name;
    Type type = Type::real; ///< of its value reference: enumerations count as integers
    std::optional<std::uint32_t> reference;
    Causality causality = Causality::local;
    Variability variability = Variability::continuous;
    Initial initial = Initial::none;

    /// A master may set it before the run, and it has a place in the value file.
    bool isSettable() const { return causality == Causality::parameter || causality == Causality::input; }
};

/// String variable 0 is the result file's name, and never written to the value file.
inline bool isResultFile(const Variable& variable) {
    return variable.type == Type::string && variable.reference == std::uint32_t{0};
}

/// A block of reals that belongs to a port. An output port has three blocks of its width: values, first and second
/// derivatives.
struct Port {
    bool isInput = false;
    int number = 0; ///< from 0
    std::int64_t width = 0;
    std::int64_t offset = 0; ///< value reference of the first signal

    std::int64_t end() const { return offset + (isInput ? width : 3 * width); }
    std::string name() const { return fmt::format("{} port {}", isInput ? "input" : "output", number); }
};

} // namespace tool
