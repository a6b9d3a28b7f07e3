// The values that a master may set before the start, for trying them with the translator.
#pragma once

#include <string>
#include <vector>

#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"
#include "tool/fmu/library_log.h"

namespace tool {

/// A variable that can be set before the start.
struct Settable {
    const DescribedVariable* variable = nullptr;
    std::string nameInModel;
    Place place; ///< of this name

    bool isParameter() const { return variable->causality == Causality::parameter; }
};

/// All but the name of the result file, and what mv.par has no name for.
std::vector<Settable> settablesOf(const Fmu& fmu);

/// Which value a variable gets: the description's start value, or one beside it that the description also allows.
enum class Choice { start, changed };

struct Setting {
    const Settable* settable;
    Choice choice;
};

/// False when the description allows no value beside the start value.
bool canBeChanged(const Settable& settable);

/// An instance, not to be run, in which a master has set some values.
class SetInstance {
public:
    SetInstance(const ShapeFile& shape, const std::vector<Setting>& settings);

    FmuInstance* instance() { return log_.instance(); }
    const std::vector<std::string>& errors() const { return log_.errors(); }

private:
    void set(const Setting& setting);

    LibraryLog log_;
    std::vector<fmi2Real> reals_;
    std::vector<fmi2Integer> integers_;
    std::vector<fmi2Boolean> booleans_;
    std::vector<std::string> texts_;
    std::vector<char*> strings_;
};

} // namespace tool
