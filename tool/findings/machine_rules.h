// The rules for the machine that an FMU is to run on: environment, solver installation, places. `doctor`
#pragma once

#include "tool/findings/rule.h"

namespace tool {

inline constexpr Rule machineRules[] = {
    // The environment
    {"root-unset", Severity::error,
     "No FMU can be instantiated; with the master's logging off it fails without a message.",
     "Set KORVAN_FMU_ROOT to the installation's root folder where the master is started: a master started from a "
     "desktop or as a service does not see what a shell sets."},
    {"root-missing", Severity::error, "The interface library and the translator are looked for in it.",
     "Correct the path; ~ and $VARIABLES are not expanded here."},
    {"root-relative", Severity::error,
     "The library is looked for from the master's working directory, the translator from the FMU's resources: no "
     "directory has both.",
     "Set it to an absolute path."},
    {"root-characters", Severity::error,
     "The translator is started by a shell that would read another path: initialization fails.",
     "Write the path with slashes, or move the installation, or set a link to it."},
    {"variable-too-long", Severity::error, "The library refuses it: no FMU can be instantiated.",
     "Put the installation into a shorter path."},
    {"directory-differs", Severity::warning, "It is used all the same, and the master's log warns of it.",
     "Unset the variable unless it is meant so."},
    {"directory-relative", Severity::warning,
     "It counts from the working directory of the master, which differs from master to master.",
     "Set it to an absolute path."},
    {"common-folder-missing", Severity::warning, "The FMU does not need it, but the solver may; it reads KELDEX_PATH.",
     "Complete the installation, or set KELDEX_PATH."},

    // The solver's interface library
    {"interface-library-missing", Severity::error,
     "Initialization fails with \"Failed to load tscicos.dll\", on any system.",
     "Complete the installation, or name the folder of tscicos.so in NUSOL_DLL_DIR."},
    {"entry-point-missing", Severity::error, "The FMU refuses the library: \"Failed to load fcn ...\".",
     "Declare the function extern \"C\" and give it default visibility."},
    {"library-load", Severity::error, "The FMU cannot be used without it.",
     "The loader's text names the reason; a library for a newer system has to be built again."},
    {"library-undefined", Severity::warning, "The master's process ends when the function is called.",
     "Link the interface library with -Wl,--no-undefined."},
    {"library-streams", Severity::warning,
     "In a master written in C++ it sees another object of this name, which nobody initialized, and ends the process; "
     "in other masters it works.",
     "Report messages to MessageHandler; printf is also safe."},
    {"library-runtime", Severity::warning,
     "An exception that leaves it may end the master's process, and file streams may fail in a master written in C++.",
     "Link without -static-libstdc++ and -static-libgcc."},

    // The translator
    {"translator-missing", Severity::error, "Without it no model file can be made: initialization fails.",
     "Complete the installation."},
    {"translator-permission", Severity::error, "Without it no model file can be made: initialization fails.",
     "Make it executable with chmod +x."},
    {"translator-kind", Severity::error, "Without it no model file can be made: initialization fails.",
     "Install the translator for 64-bit Linux."},
    {"translator-dependency", Severity::error, "Without it no model file can be made: initialization fails.",
     "Install what is missing."},

    // Places
    {"folder-permission", Severity::error, "What is in it cannot be used, whether it is there or not.",
     "Give search permission (chmod +x) to the folder, or start the master as a user who has it."},
    {"folder-noexec", Severity::error, "The system loads no libraries from there, and runs no programs.",
     "Install it on a file system that is mounted without noexec."},
    {"location-characters", Severity::warning,
     "These masters do not encode spaces, umlauts, braces, brackets, # and %: instantiation fails with \"Unable to "
     "read "
     "parameter file\". Other masters are not concerned.",
     "Unpack to, and start from, a path of letters, digits and . _ - only; the variable TMPDIR moves the temporary "
     "folder."},
    {"location-too-long", Severity::error, "The library takes locations of at most 1023 bytes, %-encoding included.",
     "Unpack the FMU to a shorter path."},
    {"temporary-folder", Severity::error, "Masters unpack the archive into it; some use /tmp instead, others fail.",
     "Set TMPDIR to a folder that can be written, with room in it."},
    {"resources-not-writable", Severity::error,
     "At each start the library writes the values that the master set, and the translator the model file: "
     "initialization fails.",
     "Give write permission, or unpack the FMU to another place."},
    {"result-not-writable", Severity::warning, "The solver's own results are lost, or it does not start.",
     "Make the folder, or give write permission."},
};

} // namespace tool
