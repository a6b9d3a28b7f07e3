#include "packaging/doctor/libraries.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include "packaging/doctor/child.h"
#include "packaging/shared_object.h"
#include "packaging/user_error.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

constexpr double loadingTimeLimit = 20;
constexpr std::array entryPoints{"blkStart", "blkRequestPlantOutput", "blkDepositPlantInput", "blkTerminate"};
constexpr std::array standardStreams{std::pair("_ZSt4cout", "std::cout"), std::pair("_ZSt4cerr", "std::cerr"),
                                     std::pair("_ZSt4clog", "std::clog"), std::pair("_ZSt3cin", "std::cin")};
constexpr std::array translatorFolders{"io/translators/bin/linux64", "pldesktop/io/translators/bin/linux64"};

bool isFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

std::string firstLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// Why the loader doesn't load a library, in its own words; empty when it does.
std::string refusalOf(const fs::path& file, int flags) {
    const ChildResult child = runInChild(
        [&](int report) {
            const bool loaded = dlopen(file.c_str(), flags) != nullptr;
            writeAll(report, loaded ? "loaded" : dlerror());
        },
        loadingTimeLimit);
    if (child.timedOut) return fmt::format("loading isn't over after {} s", loadingTimeLimit);
    if (child.signal != 0) return fmt::format("loading ends the process: {}", strsignal(child.signal));
    if (child.report.empty()) return fmt::format("loading ends the process with code {}", child.exitCode);
    return child.report == "loaded" ? "" : child.report;
}

/// Empty also for a file that the loader doesn't take at all: a program without a loader, or one with other faults.
std::vector<std::string> missingDependencies(const fs::path& file) {
    std::vector<std::string> names;
    try {
        for (const Dependency& dependency : findDependenciesOfProgram(file))
            if (dependency.path.empty()) names.push_back(dependency.name);
    } catch (const UserError&) {
    }
    return names;
}

/// Where in the installation a library lies that the loader doesn't find, as advice.
std::string adviceFor(const std::vector<std::string>& missing, const SolverInstallation& installation) {
    for (const fs::path& folder : {installation.commonFolder, installation.solverFolder})
        for (const std::string& name : missing)
            if (!folder.empty() && isFile(folder / name))
                return fmt::format("{} is in {}: put this folder into LD_LIBRARY_PATH before the master starts. The "
                                   "loader doesn't look into NUSOL_DLL_DIR and KELDEX_PATH.",
                                   name, folder.string());
    return "Install what is missing, or name its folder in LD_LIBRARY_PATH before the master starts.";
}

/// What loading a library needs besides the file. False with a finding when it doesn't load.
bool examineLoading(const fs::path& file, const std::string& name, int flags, const SolverInstallation& installation,
                    Findings& findings) {
    const std::string refusal = refusalOf(file, flags);
    if (refusal.empty()) return true;

    const std::vector<std::string> missing = missingDependencies(file);
    if (missing.empty())
        findings.error("library-load", {name}, fmt::format("The library doesn't load: {}.", refusal),
                       "The FMU can't be used without it.",
                       "The loader's text names the reason; a library for a newer system has to be built again.");
    else
        findings.error("library-dependency", {name},
                       fmt::format("The library needs {}, not found here.", fmt::join(missing, ", ")),
                       fmt::format("It doesn't load: {}.", refusal), adviceFor(missing, installation));
    return false;
}

/// Functions that nobody defines show at their first call only, as the FMU loads the library.
void examineUndefined(const fs::path& file, Findings& findings) {
    const std::string refusal = refusalOf(file, RTLD_NOW | RTLD_DEEPBIND);
    if (!refusal.empty())
        findings.warning("library-undefined", {file.string()},
                         fmt::format("The library loads, but not all of its functions are there: {}.", refusal),
                         "The master's process ends when the first of them is called.",
                         "Link the interface library with -Wl,--no-undefined.");
}

bool examineEntryPoints(const fs::path& file, const SharedObject& library, Findings& findings) {
    bool complete = true;
    for (const std::string name : entryPoints) {
        if (library.functions.contains(name)) continue;
        complete = false;
        const std::string mangled = fmt::format("_Z{}{}", name.size(), name);
        const bool isMangled = std::ranges::any_of(
            library.functions, [&](const std::string& function) { return function.starts_with(mangled); });
        findings.error("entry-point-missing", {file.string()},
                       isMangled ? fmt::format("The library has {} under a C++ name only.", name)
                                 : fmt::format("The library has no function {}.", name),
                       fmt::format("The FMU refuses it: \"Failed to load fcn {}.\"", name),
                       "Declare the function extern \"C\" and give it default visibility.");
    }
    return complete;
}

void examineStreams(const fs::path& file, const SharedObject& library, Findings& findings) {
    for (const auto& [symbol, name] : standardStreams)
        if (library.imports.contains(symbol))
            findings.warning(
                "library-streams", {file.string()}, fmt::format("The library uses {}.", name),
                "In a master written in C++ it sees another object of this name, which nobody initialized, "
                "and ends the process; in other masters it works.",
                "Report messages to MessageHandler; printf is safe, too.");
}

void reportMissingLibrary(const fs::path& file, const SolverInstallation& installation, Findings& findings) {
    const fs::path own = installation.root / "plsolvers/tessaro/bin/linux64/tscicos.so";
    findings.error("library-missing", {file.string()}, "The interface library isn't there.",
                   "Initialization fails with \"Failed to load tscicos.dll\", whatever the system.",
                   isFile(own) ? "The installation has one: unset NUSOL_DLL_DIR."
                               : "Complete the installation, or name the folder of tscicos.so in NUSOL_DLL_DIR.");
}

/// What is wrong with a translator's file.
struct Fault {
    const char* rule;
    std::string what;
    std::string mend = "Repair the installation.";
};

std::optional<Fault> faultOfScript(const std::string& line) {
    const std::size_t start = std::min(line.find_first_not_of(" \t", 2), line.size());
    const std::string interpreter = line.substr(start, line.find_first_of(" \t", start) - start);
    if (isFile(interpreter)) return std::nullopt;
    if (interpreter.ends_with('\r'))
        return Fault{"translator-dependency",
                     "The translator is a script whose lines end with carriage returns: its interpreter isn't found.",
                     "Write the script with line feeds alone, as dos2unix does."};
    return Fault{"translator-dependency",
                 fmt::format("The translator is a script for \"{}\", which isn't here.", interpreter)};
}

std::optional<Fault> faultOf(const fs::path& translator) {
    constexpr std::string_view program64 = "\177ELF\2"; // as it begins, and the processor further on
    constexpr std::size_t processorAt = 18;
    if (access(translator.c_str(), X_OK) != 0)
        return Fault{"translator-permission", "The translator isn't executable.",
                     fmt::format("Make it so: chmod +x '{}'.", translator.string())};

    std::array<char, processorAt + 1> head{};
    std::ifstream(translator).read(head.data(), head.size());
    const std::string_view start(head.data(), head.size());
    if (start.starts_with("#!")) return faultOfScript(firstLine(translator));
    if (!start.starts_with(program64.substr(0, 4))) return std::nullopt; // the shell takes it for a script
    if (!start.starts_with(program64) || head[processorAt] != EM_X86_64)
        return Fault{"translator-kind", "The translator is no program for 64-bit x86."};

    const std::vector<std::string> missing = missingDependencies(translator);
    if (missing.empty()) return std::nullopt;
    return Fault{"translator-dependency",
                 fmt::format("The translator needs {}, not found here.", fmt::join(missing, ", "))};
}

void reportMissingTranslator(const SolverInstallation& installation, bool needed, Findings& findings) {
    if (!needed) return findings.note("translator", "none; this FMU's model file is there, so none is needed");
    findings.error("translator-missing", {},
                   fmt::format("There is no translator: neither {0}/{1}/fmu_batch nor {0}/{2}/fmu_batch.",
                               installation.root.string(), translatorFolders[0], translatorFolders[1]),
                   "Without it no model file can be made: initialization fails.", "Complete the installation.");
}

} // namespace

bool examineInterfaceLibrary(const SolverInstallation& installation, Findings& findings) {
    const fs::path file = installation.solverFolder / "tscicos.so";
    if (!isFile(file)) {
        reportMissingLibrary(file, installation, findings);
        return false;
    }
    try {
        const SharedObject library = readSharedObject(file);
        const bool complete = examineEntryPoints(file, library, findings);
        if (!examineLoading(file, file.string(), RTLD_LAZY | RTLD_DEEPBIND, installation, findings)) return false;
        examineUndefined(file, findings);
        examineStreams(file, library, findings);
        if (complete)
            findings.note("interface library", fmt::format("{}\n{}; loads, has its four functions", file.string(),
                                                           installation.solverOrigin));
        return complete;
    } catch (const UserError& error) {
        findings.error("library-kind", {file.string()}, error.what(), "The FMU can't load it.",
                       "Install the solver's library for 64-bit Linux.");
        return false;
    }
}

bool examineTranslators(const SolverInstallation& installation, bool needed, Findings& findings) {
    fs::path used;
    std::vector<std::pair<fs::path, Fault>> faults;
    for (const char* folder : translatorFolders) {
        const fs::path translator = installation.root / folder / "fmu_batch";
        if (!isFile(translator)) continue;
        if (std::optional<Fault> fault = faultOf(translator))
            faults.emplace_back(translator, std::move(*fault));
        else if (used.empty())
            used = translator;
    }

    for (auto& [translator, fault] : faults) {
        const std::string why = used.empty() ? "Without it no model file can be made: initialization fails."
                                             : "The FMU tries this one, too.";
        if (used.empty() && needed)
            findings.error(fault.rule, {translator.string()}, std::move(fault.what), why, std::move(fault.mend));
        else
            findings.warning(fault.rule, {translator.string()}, std::move(fault.what), why, std::move(fault.mend));
    }
    if (!used.empty())
        findings.note("translator", used.string());
    else if (faults.empty())
        reportMissingTranslator(installation, needed, findings);
    return !used.empty();
}

void examineFmuLibrary(const FmuFiles& files, Findings& findings) {
    if (files.description.modelIdentifier.empty()) return;
    const std::string name = "binaries/linux64/" + files.description.modelIdentifier + ".so";
    const fs::path library = files.root / name;
    if (!isFile(library)) {
        findings.error("fmu-library-missing", {name}, "The FMU has no library of this name for 64-bit Linux.",
                       "The model description's modelIdentifier names it: no master on this machine can load the FMU.",
                       "Pack the FMU with libtessaro_fmu.so.");
        return;
    }
    try {
        if (examineLoading(library, name, RTLD_NOW | RTLD_LOCAL, {}, findings))
            findings.note("FMU's library", name + ": loads");
    } catch (const UserError& error) {
        findings.error("library-kind", {name}, error.what(), "No master on this machine can load the FMU.");
    }
}

} // namespace packaging
