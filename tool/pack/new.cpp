#include "tool/pack/new.h"

#include "tool/fmu/names.h"
#include "tool/os/files.h"
#include "tool/os/text.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr const char* starterDescription = R"(# The FMU @NAME@: tessaro-fmu pack @NAME@.toml

[model]
name = "@NAME@"
description = "A mass on a spring that a force pushes"
final_time = 10.0            # s, unless the master sets another stop time
# template = "@NAME@.mdl"    # of the solver's model file
# resources = ["more.dat"]   # further files that the solver reads beside it

[experiment]
step_size = 0.01             # s, what masters propose

# A port: signals that the solver takes together, in its order. There are at most 8 ports of inputs and 8 of outputs.
[[input]]
signals = [
    { name = "force", unit = "N", description = "pushes the mass" },
]

[[output]]
derivatives = 2              # der(position) and der(position,2) are also variables
signals = [
    { name = "position", unit = "m", description = "of the mass, from where the spring is at rest" },
]

# Values that a master may set before the start. The solver's name of one is the same, unless solver_name gives another.
[[parameter]]
name = "mass"
start = 1.0
min = 0.001
unit = "kg"

[[parameter]]
name = "stiffness"
start = 100.0
min = 0.0
unit = "N/m"
description = "of the spring"

[[parameter]]
name = "damping"
start = 1.0
min = 0.0
unit = "N.s/m"

[[parameter]]
name = "start_position"
start = 0.1
unit = "m"
)";

constexpr const char* starterTemplate = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- Template of the solver's model file, as the demo's solver reads it: a mass on a spring that slides along x. -->
<mechanism name="@NAME@">
  <parameter name="mass" value="1" unit="kg"/>
  <parameter name="stiffness" value="100" unit="N/m"/>
  <parameter name="damping" value="1" unit="N s/m"/>
  <parameter name="start_position" value="0.1" unit="m"/>

  <body name="block" mass="${mass}">
    <joint type="slider" axis="1 0 0" coordinate="${start_position}"/>
  </body>
  <joint_spring name="spring" to="block" stiffness="${stiffness}" damping="${damping}"/>

  <input>
    <effort name="force" joint="block"/>
  </input>
  <output>
    <coordinate name="position" joint="block"/>
  </output>
</mechanism>
)";

std::string withName(std::string text, const std::string& name) {
    const std::string mark = "@NAME@";
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += name.size())
        text.replace(at, mark.size(), name);
    return text;
}

} // namespace

void writeStarter(const std::string& name, const fs::path& folder) {
    if (modelNameFault(name) != ModelNameFault::none)
        fail("{} cannot be the name of a model: it may contain only letters, digits, '_', '.' and '-', must not start "
             "with '.' or '-', must not contain \".xml\" and has at most {} characters.",
             inQuotes(name), longestModelName);
    const fs::path description = folder / (name + ".toml");
    const fs::path modelTemplate = folder / (name + ".mdl");
    for (const fs::path& file : {description, modelTemplate})
        if (fs::exists(fs::symlink_status(file))) fail("{} already exists.", file.string());
    writeNewFile(description, withName(starterDescription, name));
    try {
        writeNewFile(modelTemplate, withName(starterTemplate, name));
    } catch (...) {
        std::error_code ignored;
        fs::remove(description, ignored);
        throw;
    }
}

} // namespace tool
