// tessaro-fmu: makes FMUs from a description, checks them, and finds out why one doesn't start.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "packaging/check/check.h"
#include "packaging/doctor/doctor.h"
#include "packaging/findings.h"
#include "packaging/fmu_tree.h"
#include "packaging/pack/new.h"
#include "packaging/pack/pack.h"
#include "packaging/user_error.h"

namespace {

namespace fs = std::filesystem;
using namespace packaging;

enum ExitCode { fine, wrong, misused };

/// The library that belongs to this program: beside it in a build, in the library folder of an installation.
fs::path libraryOfThisProgram() {
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path();
    for (const fs::path& folder : {program, program / ".." / TESSARO_LIBRARY_FOLDER}) {
        const fs::path library = folder / "libtessaro_fmu.so";
        std::error_code ignored;
        if (fs::exists(library, ignored)) return library.lexically_normal();
    }
    fail("libtessaro_fmu.so isn't beside this program ({}): name it with --library.", program.string());
}

/// How findings are shown.
struct Report {
    bool asJson = false;

    /// Shows what `look` finds. That something can't be looked at at all is a finding, too.
    template <typename Look>
    ExitCode show(const std::string& subject, const Look& look) const {
        Findings findings;
        try {
            look(findings);
        } catch (const UserError& error) {
            findings.error("unreadable", {}, error.what(), "Nothing more can be said of it.");
        }
        (asJson ? writeJson : writeText)(findings, subject, stdout);
        if (std::fflush(stdout) != 0) fail("What was found can't be written: {}.", std::strerror(errno));
        return findings.errors() > 0 ? wrong : fine;
    }
};

/// The command line's subcommands, each with what it was given.
class Program {
public:
    Program() {
        app_.require_subcommand(1);
        app_.set_version_flag("--version", "tessaro-fmu " TESSARO_VERSION);
        addNew();
        addPack();
        addCheck();
        addDoctor();
    }

    int run(int count, char** arguments) {
        try {
            app_.parse(count, arguments);
        } catch (const CLI::ParseError& error) {
            return app_.exit(error) == 0 ? fine : misused;
        }
        return result_;
    }

private:
    void addNew() {
        CLI::App* command = app_.add_subcommand("new", "Write a starter description and template");
        command->add_option("NAME", name_, "Name of the model: letters, digits, _ . -")->required();
        command->callback([this] {
            writeStarter(name_, fs::current_path());
            fmt::print("Written: {0}.toml and {0}.mdl. Next: tessaro-fmu pack {0}.toml\n", name_);
        });
    }

    void addPack() {
        CLI::App* command = app_.add_subcommand("pack", "Make an FMU from a description");
        command->add_option("FILE", pack_.description, "The description, a TOML file")->required();
        command->add_option("-o,--output", pack_.output, "The archive (default: NAME.fmu in the working directory)");
        command->add_option("--library", pack_.library,
                            "libtessaro_fmu.so (default: the one that came with this program)");
        command->add_flag("--bundle", pack_.bundle, "Put the libraries that the FMU needs into the archive, too");
        command->callback([this] {
            if (pack_.library.empty()) pack_.library = libraryOfThisProgram();
            show(pack(pack_));
        });
    }

    static void show(const PackResult& packed) {
        for (const std::string& warning : packed.warnings) fmt::print(stderr, "{}\n", warning);
        fmt::print("Written: {}\n", packed.archive.string());
        if (!packed.bundled.empty())
            fmt::print("With it: {} ({:.1f} MB unpacked)\n", fmt::join(packed.bundled, ", "),
                       static_cast<double>(packed.bundledBytes) / 1e6);
    }

    void addCheck() {
        CLI::App* command = app_.add_subcommand("check", "Say what is wrong or risky in an FMU");
        command->add_option("FMU_OR_FOLDER", fmu_, "An archive, or the folder of an unpacked one")->required();
        command->add_flag("--json", report_.asJson, "Print one JSON object, for tools");
        command->callback([this] {
            result_ = report_.show(fmu_.string(),
                                   [this](Findings& findings) { checkFmu(FmuTree(fmu_, findings), findings); });
        });
    }

    void addDoctor() {
        CLI::App* command = app_.add_subcommand("doctor", "Say why an FMU doesn't start on this machine");
        command->add_option("FMU", doctor_.fmu,
                            "An archive or the folder of an unpacked one (default: the installation alone)");
        CLI::Option* solver = command->add_flag("--solver", doctor_.driveSolver,
                                                "Also run the solver's interface library through a session");
        command->add_option("--time-limit", doctor_.timeLimit, "Seconds that the solver is given (default: 60)")
            ->check(CLI::PositiveNumber)
            ->needs(solver);
        command->add_flag("--json", report_.asJson, "Print one JSON object, for tools");
        command->callback([this] {
            if (doctor_.driveSolver && doctor_.fmu.empty())
                fail("--solver needs an FMU: its ports and its model are what the solver is driven with.");
            result_ = report_.show(doctor_.fmu.empty() ? "installation" : doctor_.fmu.string(),
                                   [this](Findings& findings) { examine(doctor_, findings); });
        });
    }

    CLI::App app_{
        "Makes FMUs for the Tessaro solver from a description, checks them, and finds out why one doesn't start."};
    std::string name_;
    PackOptions pack_;
    fs::path fmu_;
    DoctorOptions doctor_;
    Report report_;
    ExitCode result_ = fine;
};

} // namespace

int main(int count, char** arguments) {
    // A file that may grow no further is an error as any other: nothing is left half written.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return Program().run(count, arguments);
    } catch (const std::bad_alloc&) {
        fmt::print(stderr, "tessaro-fmu: There isn't enough memory.\n");
        return wrong;
    } catch (const std::exception& error) {
        fmt::print(stderr, "tessaro-fmu: {}\n", error.what());
        return wrong;
    }
}
