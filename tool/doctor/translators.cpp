#include <algorithm>
#include <fstream>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/ranges.h>
#include <unistd.h>

#include "fmi/instance/installation.h"
#include "tool/doctor/examinations.h"
#include "tool/doctor/obstacles.h"
#include "tool/fmu/dependencies.h"
#include "tool/fmu/elf_file.h"
#include "tool/fmu/shared_object.h"
#include "tool/os/child_process.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// What is wrong with a translator's file.
struct Fault {
    RuleName rule;
    std::string what;
};

std::string firstLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// `line` is the first one, with the interpreter.
std::optional<Fault> faultOfScript(const std::string& line) {
    const std::size_t start = std::min(line.find_first_not_of(" \t", 2), line.size());
    const std::string interpreter = line.substr(start, line.find_first_of(" \t", start) - start);
    if (isRegularFile(interpreter)) return std::nullopt;
    if (interpreter.ends_with('\r'))
        return Fault{"translator-dependency", "The translator is a script whose lines end with carriage returns: its "
                                              "interpreter is not found. dos2unix removes them."};
    return Fault{"translator-dependency",
                 fmt::format("The translator is a script for {}, which does not exist.", inQuotes(interpreter))};
}

/// The line in which the loader says which version of a library there is not; or empty.
std::string lineOfMissing(const std::string& output) {
    const std::size_t fault = output.find(" not found");
    if (fault == std::string::npos) return "";
    const std::size_t start = output.rfind('\n', fault) + 1;
    return output.substr(start, output.find('\n', fault) - start);
}

/// Why a program does not start, in the loader's words, without running the program; or empty.
std::string loaderRefusal(const fs::path& translator) {
    try {
        if (readLoadingNeeds(ElfFile(translator)).needed.empty()) return ""; // it would run
        return lineOfMissing(runProgram({{translator.string()}, {}, {{"LD_TRACE_LOADED_OBJECTS", "1"}}, 20}).output);
    } catch (const UserError& error) {
        return error.what();
    }
}

std::optional<Fault> faultOf(const fs::path& translator) {
    if (isNoexec(translator.parent_path()))
        return Fault{"folder-noexec",
                     fmt::format("{} is on a file system that is mounted noexec.", inQuotes(translator.string()))};
    if (access(translator.c_str(), X_OK) != 0)
        return Fault{"translator-permission",
                     fmt::format("The translator is not executable: chmod +x '{}' makes it so.", translator.string())};
    const std::string line = firstLine(translator);
    if (line.starts_with("#!")) return faultOfScript(line);
    switch (binaryKindOf(translator)) {
    case BinaryKind::none: // the shell takes it for a script
        return std::nullopt;
    case BinaryKind::foreign:
        return Fault{"translator-kind", "The translator is not a program for 64-bit x86."};
    case BinaryKind::native:
        break;
    }
    if (const std::vector<std::string> missing = missingDependencies(translator); !missing.empty())
        return Fault{"translator-dependency",
                     fmt::format("The translator needs {}, not found here.", fmt::join(missing, ", "))};
    if (const std::string refusal = loaderRefusal(translator); !refusal.empty())
        return Fault{"translator-dependency", fmt::format("The translator does not start: {}", refusal)};
    return std::nullopt;
}

void reportMissingTranslator(const SolverInstallation& installation, bool needed, Report& report) {
    for (const char* folder : installation::translatorDirectories)
        if (isInClosedFolder((installation.root / folder / installation::translator).parent_path(), report)) return;
    if (!needed) return report.note("translator", "none; this FMU's model file is there, so none is needed");
    report.add("translator-missing", {}, "There is no translator: neither {0}/{1}/{3} nor {0}/{2}/{3}.",
               installation.root.string(), installation::translatorDirectories[0],
               installation::translatorDirectories[1], installation::translator);
}

} // namespace

bool examineTranslators(const SolverInstallation& installation, bool needed, Report& report) {
    fs::path used;
    std::vector<std::pair<fs::path, Fault>> faults;
    for (const char* folder : installation::translatorDirectories) {
        const fs::path translator = installation.root / folder / installation::translator;
        if (!isRegularFile(translator)) continue;
        if (const std::optional<Fault> fault = faultOf(translator))
            faults.emplace_back(translator, *fault);
        else if (used.empty())
            used = translator;
    }

    for (const auto& [translator, fault] : faults) {
        Report::Added added = report.add(fault.rule, {translator.string()}, "{}", fault.what);
        if (!used.empty()) added.why("The FMU also tries this one.").asWarning();
        if (!needed) added.why("This FMU's model file is there, so no translator is needed.").asWarning();
    }
    if (!used.empty())
        report.note("translator", used.string());
    else if (faults.empty())
        reportMissingTranslator(installation, needed, report);
    return !used.empty();
}

} // namespace tool
