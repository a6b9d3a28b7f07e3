#include "tool/manual.h"

#include <sstream>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tool {

namespace {

/// Those that are shown in --help, in their order.
std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app, bool isPositional) {
    return app.get_options([isPositional](const CLI::Option* option) {
        return option->get_positional() == isPositional && !option->get_group().empty();
    });
}

std::vector<std::string> flagsOf(const CLI::App& app) {
    std::vector<std::string> flags;
    for (const CLI::Option* option : optionsOf(app, false)) {
        for (const std::string& name : option->get_snames()) flags.push_back("-" + name);
        for (const std::string& name : option->get_lnames()) flags.push_back("--" + name);
    }
    return flags;
}

/// Text for roff, in which a backslash, a minus sign, and a dot or an apostrophe at the start of a line mean something.
std::string roff(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        const bool isLineStart = escaped.empty() || escaped.back() == '\n';
        if (isLineStart && (character == '.' || character == '\'')) escaped += "\\&";
        if (character == '\\')
            escaped += "\\e";
        else if (character == '-')
            escaped += "\\-";
        else
            escaped += character;
    }
    return escaped;
}

std::string nameOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    const std::string all = option.get_positional() ? option.get_name() : fmt::format("{}", fmt::join(names, ", "));
    return option.get_positional() || option.get_items_expected_max() == 0 ? all : all + " " + option.get_type_name();
}

void writeOptions(std::ostream& page, const CLI::App& app) {
    for (const bool isPositional : {true, false})
        for (const CLI::Option* option : optionsOf(app, isPositional))
            page << ".TP\n\\fB" << roff(nameOf(*option)) << "\\fR\n" << roff(option->get_description()) << "\n";
}

/// Lines as they are, since examples and tables are aligned.
void writeVerbatim(std::ostream& page, const std::string& text) { page << ".PP\n.nf\n" << roff(text) << "\n.fi\n"; }

} // namespace

std::string bashCompletion(const CLI::App& app) {
    std::ostringstream cases;
    std::vector<std::string> names;
    for (const CLI::App* command : commandsOf(app)) {
        names.push_back(command->get_name());
        cases << fmt::format("        {}) words=\"{}\" ;;\n", command->get_name(), fmt::join(flagsOf(*command), " "));
    }
    const std::string commands = fmt::format("{}", fmt::join(names, " "));
    return fmt::format(R"(# Completion of {name} for bash.
_tessaro_fmu() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} words
    case ${{COMP_WORDS[1]}} in
{cases}        *) words="{flags}" ;;
    esac
    if ((COMP_CWORD == 1)); then
        words="{commands} {flags}"
    elif [[ ${{COMP_WORDS[1]}} == help ]]; then
        words="{commands}"
    elif [[ $word != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames 2>/dev/null
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}}
complete -F _tessaro_fmu {name}
)",
                       fmt::arg("name", app.get_name()), fmt::arg("cases", cases.str()), fmt::arg("commands", commands),
                       fmt::arg("flags", fmt::join(flagsOf(app), " ")));
}

std::string manualPage(const CLI::App& app) {
    std::ostringstream page;
    const std::string name = roff(app.get_name());
    page << ".TH TESSARO\\-FMU 1\n.SH NAME\n" << name << " \\- makes, shows and checks FMUs\n";
    page << ".SH SYNOPSIS\n.B " << name << "\nCOMMAND [OPTIONS]\n";
    page << ".SH DESCRIPTION\n" << roff(app.get_description()) << "\n.SH OPTIONS\n";
    writeOptions(page, app);
    page << ".SH COMMANDS\n";
    for (const CLI::App* command : commandsOf(app)) {
        page << ".SS " << roff(command->get_name()) << "\n" << roff(command->get_description()) << ".\n";
        writeOptions(page, *command);
        const std::string footer = command->get_footer();
        writeVerbatim(page, footer.substr(0, footer.find("\n\n" + app.get_footer())));
    }
    page << ".SH EXIT STATUS\n";
    writeVerbatim(page, app.get_footer());
    return page.str();
}

} // namespace tool
