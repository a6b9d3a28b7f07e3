// tessaro-fmu: makes FMUs from a description, shows and checks them, and finds out why one does not start.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <libxml/xmlstring.h>
#include <unistd.h>

#include "tool/check/check.h"
#include "tool/doctor/doctor.h"
#include "tool/findings/json.h"
#include "tool/findings/report.h"
#include "tool/fmu/fmu.h"
#include "tool/fmu/numbers.h"
#include "tool/info/info.h"
#include "tool/manual.h"
#include "tool/os/files.h"
#include "tool/os/interruption.h"
#include "tool/os/text.h"
#include "tool/os/user_error.h"
#include "tool/pack/new.h"
#include "tool/pack/pack.h"

namespace {

namespace fs = std::filesystem;
using namespace tool;

enum ExitCode { fine, wrong, misused };

/// The library that belongs to this program: beside it in a build, in the library folder of an installation.
fs::path libraryOfThisProgram() {
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path();
    for (const fs::path& folder : {program, program / ".." / TESSARO_LIBRARY_FOLDER}) {
        const fs::path library = folder / "libtessaro_fmu.so";
        if (isRegularFile(library)) return library.lexically_normal();
    }
    fail("libtessaro_fmu.so is not beside this program ({}): name it with --library.", program.string());
}

/// What a description's key may hold, as TOML sees to it there.
void checkVersion(const std::string& version) {
    if (hasControlCharacters(version) || xmlCheckUTF8(reinterpret_cast<const unsigned char*>(version.c_str())) == 0)
        fail("--version: {} holds a control character or is not UTF-8.", inQuotes(version));
}

void flush(std::FILE* stream) {
    if (std::fflush(stream) != 0) fail("The output cannot be written: {}.", std::strerror(errno));
}

/// A command line that makes no sense; the text is a sentence.
struct Misuse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string isPositive(const std::string& text) {
    const std::optional<double> value = realOf(text);
    return value && *value > 0.0 && *value <= 1e6
               ? ""
               : fmt::format("{} is not a number of seconds above 0 and up to a million", inQuotes(text));
}

// Examples, after the options of --help.
constexpr const char* newExamples = R"(Example:
  tessaro-fmu new Block         writes Block.toml and Block.mdl)";
constexpr const char* packExamples = R"(Examples:
  tessaro-fmu pack Block.toml                     makes Block.fmu
  tessaro-fmu pack Block.toml -o out/Block.fmu
  tessaro-fmu pack Block.toml --bundle            for machines without libxml2)";
constexpr const char* infoExamples = R"(Examples:
  tessaro-fmu info Block.fmu
  tessaro-fmu info Block.fmu --json | jq .ports)";
constexpr const char* checkExamples = R"(Examples:
  tessaro-fmu check Block.fmu
  tessaro-fmu check unpacked/
  tessaro-fmu check Block.fmu --json)";
constexpr const char* doctorExamples = R"(Examples:
  tessaro-fmu doctor                              the installation alone
  tessaro-fmu doctor Block.fmu                    also the FMU
  tessaro-fmu doctor Block.fmu --solver           also drives the solver through many runs)";
constexpr const char* helpExamples = R"(Example:
  tessaro-fmu help pack)";
constexpr const char* exitCodes = R"(Exit codes:
  0  no error was found; there may be warnings
  1  an error was found, or what was asked for could not be done
  2  the command line is wrong)";

/// The command line's subcommands, each with what it was given.
class Program {
public:
    Program() {
        app_.require_subcommand(1);
        app_.footer(exitCodes);
        app_.set_version_flag("--version", "tessaro-fmu " TESSARO_VERSION);
        addNew();
        addPack();
        addInfo();
        addCheck();
        addDoctor();
        addHelp();
        addGenerated("bash-completion", bashCompletion);
        addGenerated("man-page", manualPage);
    }

    int run(int count, char** arguments) {
        if (count > 1) refuseUnknownCommand(arguments[1]);
        refuseEmptyValues({arguments, arguments + count});
        try {
            app_.parse(count, arguments);
        } catch (const CLI::Success& help) {
            app_.exit(help); // prints it
            if (!std::cout.flush()) fail("The output cannot be written: {}.", std::strerror(errno));
        } catch (const CLI::ParseError& error) {
            throw Misuse(fmt::format("{}. Run with --help for more information.", error.what()));
        }
        return result_;
    }

private:
    /// Without it the parser only says that a command is missing.
    void refuseUnknownCommand(const std::string& word) const {
        const auto commands = app_.get_subcommands(nullptr);
        const auto isNamed = [&](const CLI::App* command) { return command->get_name() == word; };
        if (word.empty() || word.starts_with('-') || std::ranges::any_of(commands, isNamed)) return;
        constexpr std::size_t farthest = 2;
        const auto distance = [&](const CLI::App* command) {
            const std::string& name = command->get_name();
            return word.size() > name.size() + farthest ? word.size() : editDistance(name, word);
        };
        const CLI::App* nearest = *std::ranges::min_element(commands, {}, distance);
        throw Misuse(fmt::format("There is no command {}{}", inQuotes(word),
                                 distance(nearest) <= farthest ? fmt::format(": did you mean {}?", nearest->get_name())
                                                               : ". tessaro-fmu --help lists all."));
    }

    /// The parser would take the next word for the value of "--option=".
    static void refuseEmptyValues(const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            if (word == "--") return;
            if (word.starts_with("--") && word.find('=') == word.size() - 1)
                throw Misuse(fmt::format("{} has no value.", inQuotes(word)));
        }
    }

    CLI::App* addCommand(const char* name, const char* purpose, const char* examples) {
        return app_.add_subcommand(name, purpose)->footer(fmt::format("{}\n\n{}", examples, exitCodes));
    }

    void addJson(CLI::App* command) { command->add_flag("--json", asJson_, "Print one JSON object, for tools"); }

    void addHelp() {
        CLI::App* command = addCommand("help", "Show the options of a command, with examples", helpExamples);
        command->add_option("COMMAND", name_, "The command (default: all of them in short)");
        command->callback([this] { showHelp(); });
    }

    /// For the build of this program; not shown.
    void addGenerated(const char* name, std::string (*generate)(const CLI::App&)) {
        app_.add_subcommand(name, "")->group("")->callback([this, generate] {
            fmt::print("{}", generate(app_));
            flush(stdout);
        });
    }

    void showHelp() {
        refuseUnknownCommand(name_);
        const auto mode = CLI::AppFormatMode::Normal;
        fmt::print("{}", name_.empty() ? app_.get_formatter()->make_help(&app_, app_.get_name(), mode)
                                       : app_.get_subcommand(name_)->help(app_.get_name()));
        flush(stdout);
    }

    void addNew() {
        CLI::App* command = addCommand("new", "Write a starter description and template", newExamples);
        command->add_option("NAME", name_, "Name of the model: letters, digits, _ . -")->required();
        command->callback([this] {
            writeStarter(name_, fs::current_path());
            fmt::print("Written: {0}.toml and {0}.mdl. Next: tessaro-fmu pack {0}.toml\n", name_);
            flush(stdout);
        });
    }

    void addPack() {
        // What the parser would take for a file: another option, or the rest of "-o=FILE".
        const CLI::Validator file(
            [](const std::string& word) {
                return word.starts_with('-') || word.starts_with('=')
                           ? fmt::format("{} is not taken for a file; ./{} would be one", inQuotes(word), word)
                           : std::string();
            },
            "");
        CLI::App* command = addCommand("pack", "Make an FMU from a description", packExamples);
        command->add_option("FILE", pack_.description, "The description, a TOML file")->required();
        command->add_option("-o,--output", pack_.output, "The archive (default: NAME.fmu in the working directory)")
            ->check(file);
        command
            ->add_option("--library", pack_.library, "libtessaro_fmu.so (default: the one that came with this program)")
            ->check(file);
        command->add_flag("--bundle", pack_.bundle, "Also put the libraries that the FMU needs into the archive");
        command->add_option("--version", pack_.version, "The model's version, in place of the description's");
        command->add_option("--depfile", pack_.depfile, "Also write what the archive is made from, as a rule of make")
            ->check(file);
        addJson(command);
        command->callback([this] { makeFmu(); });
    }

    /// Of each rule many findings are shown, since all have to be fixed.
    void makeFmu() {
        constexpr int shownOfARule = 20;
        Report report(shownOfARule);
        std::optional<PackResult> packed;
        attempt(report, "not-packed", [&] {
            if (pack_.library.empty()) pack_.library = libraryOfThisProgram();
            if (pack_.version) checkVersion(*pack_.version);
            packed = pack(pack_, report);
        });
        asJson_ ? write(packedJson(report, packed), stdout) : showPacked(report, packed);
        flush(stdout);
        result_ = packed && report.errors() == 0 ? fine : wrong;
    }

    nlohmann::ordered_json packedJson(const Report& report, const std::optional<PackResult>& packed) const {
        auto all = toJson(report, pack_.description.string());
        all["archive"] = packed ? nlohmann::ordered_json(packed->archive.string()) : nullptr;
        all["bundled"] = packed ? packed->bundled : std::vector<std::string>();
        return all;
    }

    void showPacked(const Report& report, const std::optional<PackResult>& packed) const {
        if (!report.findings().empty()) writeText(report, pack_.description.string(), stderr);
        if (!packed) return;
        fmt::print("Written: {}\n", readable(packed->archive.string()));
        if (!packed->bundled.empty())
            fmt::print("With it: {} ({:.1f} MB unpacked)\n",
                       readable(fmt::format("{}", fmt::join(packed->bundled, ", "))),
                       static_cast<double>(packed->bundledBytes) / 1e6);
    }

    void addInfo() {
        CLI::App* command = addCommand("info", "Show what an FMU has and needs", infoExamples);
        command->add_option("FMU_OR_FOLDER", fmu_, "An archive, or the folder of an unpacked one")->required();
        addJson(command);
        command->callback([this] { showInfo(); });
    }

    /// What cannot be looked into is reported as `check` reports it.
    void showInfo() {
        Report report;
        attempt(report, "unreadable", [this] {
            const Fmu fmu(fmu_);
            const Info info = inform(fmu);
            asJson_ ? write(toJson(info, fmu_.string()), stdout) : writeText(info, stdout);
            flush(stdout);
        });
        if (report.errors() > 0) showFindings(report, fmu_.string());
    }

    void addCheck() {
        CLI::App* command = addCommand("check", "Say what is wrong or risky in an FMU", checkExamples);
        command->add_option("FMU_OR_FOLDER", fmu_, "An archive, or the folder of an unpacked one")->required();
        addJson(command);
        command->callback([this] { show(fmu_.string(), [this](Report& report) { checkFmu(Fmu(fmu_), report); }); });
    }

    void addDoctor() {
        CLI::App* command =
            addCommand("doctor",
                       "Say why an FMU does not start on this machine. It loads the FMU's library and the solver's: "
                       "their code runs. check runs none",
                       doctorExamples);
        command->add_option("FMU", doctor_.fmu,
                            "An archive or the folder of an unpacked one (default: the installation alone)");
        CLI::Option* solver = command->add_flag("--solver", doctor_.driveSolver,
                                                "Also run the solver's interface library through a session");
        command->add_option("--time-limit", doctor_.timeLimit, "Seconds that the solver is given (default: 60)")
            ->check(isPositive)
            ->needs(solver);
        addJson(command);
        command->callback([this] {
            show(doctor_.fmu.empty() ? "installation" : doctor_.fmu.string(),
                 [this](Report& report) { examine(doctor_, report); });
        });
    }

    /// Whatever keeps a command from its work is a finding as well.
    template <typename Work>
    static void attempt(Report& report, RuleName rule, const Work& work) {
        try {
            work();
        } catch (const std::bad_alloc&) {
            report.add(rule, {}, "There is not enough memory.");
        } catch (const fs::filesystem_error& error) {
            const fs::path& file = error.path2().empty() ? error.path1() : error.path2();
            report.add(rule, {}, "{}: {}.", file.string(), error.code().message());
        } catch (const std::exception& error) {
            report.add(rule, {}, "{}", error.what());
        }
    }

    /// Shows what `look` finds.
    template <typename Look>
    void show(const std::string& subject, const Look& look) {
        Report report;
        attempt(report, "unreadable", [&] { look(report); });
        showFindings(report, subject);
    }

    void showFindings(const Report& report, const std::string& subject) {
        asJson_ ? write(toJson(report, subject), stdout) : writeText(report, subject, stdout);
        flush(stdout);
        result_ = report.errors() > 0 ? wrong : fine;
    }

    CLI::App app_{
        "Makes FMUs for the Tessaro solver from a description, shows and checks them, and finds out why one does "
        "not start.",
        "tessaro-fmu"};
    std::string name_;
    PackOptions pack_;
    fs::path fmu_;
    DoctorOptions doctor_;
    bool asJson_ = false;
    ExitCode result_ = fine;
};

/// Nothing is said of what an interruption made fail.
int failed(const std::string& reason) {
    if (!isInterrupted()) std::fputs(fmt::format("tessaro-fmu: {}\n", readable(reason)).c_str(), stderr);
    return wrong;
}

/// A command line that makes no sense is answered in the form that it asks for.
int answer(const Misuse& misuse, int count, char** arguments) {
    const auto isJson = [](const char* argument) { return std::string_view(argument) == "--json"; };
    if (std::none_of(arguments, arguments + count, isJson)) {
        failed(misuse.what());
        return misused;
    }
    Report report;
    report.add("usage", {}, "{}", misuse.what());
    write(toJson(report, ""), stdout);
    flush(stdout);
    return misused;
}

int run(int count, char** arguments) {
    try {
        return Program().run(count, arguments);
    } catch (const Misuse& misuse) {
        return answer(misuse, count, arguments);
    }
}

/// A stream that is closed must not become a file that is opened later: writing to it fails instead.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);
}

} // namespace

int main(int count, char** arguments) {
    occupyStandardStreams();
    const SignalWatch watch;
    // A file that may grow no further is an error as any other: nothing is left half written.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(count, arguments);
    } catch (const Interrupted&) {
        return wrong;
    } catch (const std::bad_alloc&) {
        return failed("There is not enough memory.");
    } catch (const std::exception& error) {
        return failed(error.what());
    }
}
