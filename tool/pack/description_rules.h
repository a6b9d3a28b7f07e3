// What a description must keep to beyond its form, because of what the FMU, the solver's translator or masters do. Each
// fault is reported under the name that it would have in the FMU.
#pragma once

#include "tool/pack/description.h"

namespace tool {

class Section;

/// Checks the table [model].
void checkModelTable(const Description& description, Section& section);

/// Checks ports, signals and parameters.
void checkVariableTables(const Description& description, Report& report);

/// The variable with which a master may choose the result file.
inline constexpr const char* resultFileVariableName = "result_file";

/// The meaning of a unit: what the description defines, otherwise what is commonly known; or nothing.
std::optional<Unit> findUnit(const Description& description, const std::string& name);

} // namespace tool
