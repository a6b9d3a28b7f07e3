// All benchmark cases, each with its floor.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Case {
    std::string what; ///< what is called, such as "fmi2GetReal"
    std::string side; ///< "fmu", "floor", "checked" (the floor with the calls' checks), "own length"
    std::size_t size; ///< the number of values, ports, instances or variables
    std::function<void(std::size_t)> run; ///< repeats the call so many times
    std::function<void()> prepare = {};   ///< called before each run, not measured
};

/// The cases with sizes up to `largest`. They own the data they use.
std::vector<Case> makeCases(std::size_t largest);
