// Reals on their way through the value file, in which the solver is told the start values.
#pragma once

#include <charconv>
#include <cmath>

#include "resources/value_text.h"

namespace packaging {

/// What is left of a finite value behind the six decimals of the value file.
inline double throughValueFile(double value) {
    ValueText room;
    const std::string_view text = writeValue(value, room);
    double passed = value;
    std::from_chars(text.data(), text.data() + text.size(), passed);
    return passed;
}

/// Whether the value file changes a finite value by more than 1e-9 of itself.
inline bool losesDigits(double value) {
    constexpr double tolerable = 1e-9;
    return std::abs(throughValueFile(value) - value) > tolerable * std::abs(value);
}

} // namespace packaging
