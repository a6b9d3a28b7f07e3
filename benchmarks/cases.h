// Everything that is measured, each beside its floor.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Case {
    std::string what;                     ///< what is called, such as "fmi2GetReal"
    std::string side;                     ///< "fmu", "floor", or what else stands beside them
    std::size_t size;                     ///< the number of values, ports, instances or variables
    std::function<void(std::size_t)> run; ///< does it so many times
    std::function<void()> prepare = {};   ///< before each single run; no part of what is measured
};

/// The cases with sizes up to `largest`. What they work on lives as long as the cases do.
std::vector<Case> makeCases(std::size_t largest);
