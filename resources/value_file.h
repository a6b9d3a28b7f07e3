// The value file, in which the translator receives what the master has set.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fmi/instance/fmu_instance.h"
#include "resources/parameter_files.h"

/// A variable that was set, but has no name in `mv.par`.
struct UnnamedVariable {
    const char* type; ///< "Real", "Integer", "Boolean" or "String"
    std::uint32_t valueReference;
};

/// The content of the value file.
struct ValueLines {
    std::string text; ///< one line `name, value` per variable
    std::vector<UnnamedVariable> unnamed;
};

/// The values that were set and are not "never set", in the order reals, integers, booleans, strings, each by ascending
/// value reference. Of an instance that was reset: only what was set since.
ValueLines valueLines(const FmuInstance* instance, const MvParRecord& names);
