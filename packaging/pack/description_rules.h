// What a description must keep to beyond its form, because of what the FMU, the solver's translator or masters do.
#pragma once

#include "packaging/pack/description.h"
#include "packaging/pack/mistakes.h"

namespace packaging {

class Section;

/// Checks what stands in the table [model]; adds warnings to the description.
void checkModel(Description& description, const Section& section, Mistakes& mistakes);

/// Checks ports, signals and parameters; adds warnings to the description.
void checkVariables(Description& description, Mistakes& mistakes);

/// The variable with which a master may choose the result file.
inline constexpr const char* resultFileVariableName = "result_file";

/// The meaning of a unit: what the description defines, otherwise what is commonly known; or nothing.
std::optional<Unit> findUnit(const Description& description, const std::string& name);

} // namespace packaging
