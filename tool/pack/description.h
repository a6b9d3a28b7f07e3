// The description of an FMU: one TOML file, from which everything else follows. docs/packaging.md is its reference.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tool/findings/report.h"
#include "tool/fmu/variable.h"
#include "tool/pack/units.h"

namespace tool {

/// A value of a variable; the alternatives are in the order of `Type`.
using Value = std::variant<double, std::int32_t, bool, std::string>;

inline Type typeOf(const Value& value) { return static_cast<Type>(value.index()); }

struct Signal {
    std::string name;
    std::string solverName; ///< the name in the solver's model
    std::string unit;       ///< or empty
    std::string description;
    double start = 0.0; ///< of inputs
    int line = 0;       ///< in the description, as below
};

struct PortDescription {
    std::vector<Signal> signals;
    int derivatives = 2; ///< of outputs: the orders that the model description shows
};

struct Parameter {
    std::string name;
    std::string solverName;
    std::string unit;
    std::string description;
    Value start;
    bool isStartKnown = true; ///< false when it is missing or not of the type, which is reported already
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

    std::vector<PortDescription> inputs;
    std::vector<PortDescription> outputs;
    std::vector<Parameter> parameters;
    std::map<std::string, Unit> units; ///< those that the file defines

    /// A line of the file, in findings.
    Place at(int lineNumber) const { return {file.string(), lineNumber}; }
};

/// Reads and checks a description, and reports what is wrong or doubtful in it. Nothing when there is an error. Throws
/// UserError when the file cannot be read. A given version takes the place of the file's.
std::optional<Description> readDescription(const std::filesystem::path& file, Report& report,
                                           const std::optional<std::string>& version = std::nullopt);

} // namespace tool
