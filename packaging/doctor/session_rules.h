// What stands behind each rule of a session with the solver.
#pragma once

#include <string>

#include "packaging/findings.h"

namespace packaging {

/// Adds what a session found to the findings, with the rule's severity, its reason and its remedy. `place` is the
/// interface library.
void addSessionFact(const std::string& rule, const std::string& what, const std::string& place, Findings& findings);

} // namespace packaging
