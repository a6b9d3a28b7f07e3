// Units of measurement: what a name such as "N.m/rad" means in SI base units, and what the derivative's unit is called.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

inline constexpr std::array<const char*, 8> baseUnits{"kg", "m", "s", "A", "K", "mol", "cd", "rad"};

/// value in base units = factor * value + offset
struct Unit {
    std::array<int, baseUnits.size()> exponents{}; ///< in the order of `baseUnits`
    double factor = 1.0;
    double offset = 0.0;
};

/// Reads products of known symbols with exponents, "kg.m2", and one quotient, "W/(m2.K)"; '*' serves as '.', and "m^2"
/// is "m2". Nothing when a symbol is unknown, or the form another.
std::optional<Unit> parseUnit(std::string_view name);

/// What an unknown unit is likely to mean: "Nm" -> "N.m", "m/s/s" -> "m/(s.s)"; empty when nothing is.
std::string likelyUnit(const std::string& name);

/// All symbols and prefixes, for a sentence.
std::string knownUnits();

/// The unit of the time derivative: "m" -> "m/s" -> "m/s2", "N.s/m" -> "N.s/(m.s)".
std::string derivativeUnitName(const std::string& name);

/// The meaning of the time derivative's unit.
Unit derivativeUnit(Unit unit);

} // namespace tool
