// The families of rules that need only the FMU. Each function reports what it finds, and nothing that only follows from
// another finding.
#pragma once

#include <string_view>

#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"

namespace tool {

/// Where a variable is described.
inline Place placeOf(const DescribedVariable& variable) { return {descriptionFile, variable.line()}; }

/// The files of the FMU, whatever they hold: entries left out of the archive, strays, and what is not a regular file.
void checkTree(const Fmu& fmu, Report& report);

/// Whether an FMU that this program made is still as it was made.
void checkContent(const Fmu& fmu, Report& report);

/// The library that the model identifier asks for: file, exports, dependencies. `place` is the identifier's.
void checkLibrary(const Fmu& fmu, std::string_view identifier, const Place& place, Report& report);

/// Version, interfaces, capabilities, categories of messages, experiment.
void checkGeneral(const ModelDescription& description, Report& report);

/// Units and types, and the variables' use of them.
void checkUnitsAndTypes(const ModelDescription& description, Report& report);

/// Each variable by itself, and the variables among themselves: names, combinations, start values, limits, aliases.
void checkVariables(const ModelDescription& description, Report& report);

/// Start values on their way to the solver's model.
void checkStartValues(const ModelDescription& description, Report& report);

/// Lists of outputs, derivatives and unknowns.
void checkStructure(const ModelDescription& description, Report& report);

/// The parameter files by themselves.
void checkShapeFile(const ShapeFile& shape, Report& report);
void checkNameFile(const NameFile& names, Report& report);

/// The parameter files against the description.
void checkReferences(const Fmu& fmu, Report& report);
void checkFinalTime(const Fmu& fmu, Report& report);
void checkPorts(const Fmu& fmu, Report& report);
void checkNames(const Fmu& fmu, Report& report);

/// How the library finds the model's name in the text of the description.
void checkModelName(const Fmu& fmu, Report& report);

/// The name of the result file, from the parameter file or a string's start value: where it goes, what the solver
/// receives.
void checkResultFile(std::string_view name, const Place& place, Report& report);

/// The files that the resources hold besides the parameter files.
void checkResources(const Fmu& fmu, Report& report);

} // namespace tool
