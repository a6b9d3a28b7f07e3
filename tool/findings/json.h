// What the commands print with --json, for tools.
#pragma once

#include <cstdio>
#include <string_view>

#include <nlohmann/json.hpp>

#include "tool/findings/report.h"

namespace tool {

/// One object: subject, errors, warnings, examined, skipped, findings (severity, rule, file, line, what, why, fix).
nlohmann::ordered_json toJson(const Report& report, std::string_view subject);

/// Writes the object and a line end. What is not UTF-8 in it, such as a name in a broken file, is replaced.
void write(const nlohmann::ordered_json& object, std::FILE* stream);

} // namespace tool
