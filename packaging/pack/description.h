// The description of an FMU: one TOML file, from which everything else follows. docs/packaging.md is its reference.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "packaging/pack/units.h"

namespace packaging {

/// In the order in which the parameter files list them.
enum class VariableType { real, integer, boolean, string };

/// A value of a variable; the alternatives are in the order of `VariableType`.
using Value = std::variant<double, std::int32_t, bool, std::string>;

inline VariableType typeOf(const Value& value) { return static_cast<VariableType>(value.index()); }

struct Signal {
    std::string name;
    std::string solverName; ///< the name in the solver's model
    std::string unit;       ///< or empty
    std::string description;
    double start = 0.0; ///< of inputs
    int line = 0;       ///< in the description, here and below
};

struct Port {
    std::vector<Signal> signals;
    int derivatives = 2; ///< of outputs: the orders that the model description shows
};

struct Parameter {
    std::string name;
    std::string solverName;
    std::string unit;
    std::string description;
    Value start;
    std::optional<Value> min; ///< of the same type as `start`
    std::optional<Value> max;
    int line = 0;
};

struct Description {
    std::filesystem::path file;
    int line = 1; ///< of the table [model]

    std::string name;
    std::string text; ///< what the model is
    std::string version;
    std::string author;
    std::string license;
    std::string identifier;
    std::filesystem::path modelTemplate; ///< empty when a model file among the resources makes it needless
    double finalTime = 0.0;              ///< seconds
    std::string resultFile;
    std::string libraryFile;
    std::string address;
    std::vector<std::filesystem::path> resources;
    std::filesystem::path documentation; ///< a folder; or empty
    bool needsExecutionTool = true;
    bool resultFileVariable = false;

    std::optional<double> stepSize; ///< seconds
    std::optional<double> tolerance;

    std::vector<Port> inputs;
    std::vector<Port> outputs;
    std::vector<Parameter> parameters;
    std::map<std::string, Unit> units; ///< those that the file defines

    std::vector<std::string> warnings; ///< lines "FILE:LINE: warning: sentence"
};

/// Reads and checks a description. Throws UserError with file, line and a sentence for every mistake.
Description readDescription(const std::filesystem::path& file);

} // namespace packaging
