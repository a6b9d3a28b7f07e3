// What libFuzzer feeds tessaro-fmu with.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "resources/parameter_records.h"
#include "tests/fuzz/targets.h"
#include "tests/support.h"
#include "tool/check/check.h"
#include "tool/findings/json.h"
#include "tool/fmu/names.h"
#include "tool/fmu/shared_object.h"
#include "tool/os/user_error.h"
#include "tool/pack/description.h"
#include "tool/pack/layout.h"
#include "tool/pack/model_description_writer.h"
#include "tool/pack/parameter_file_writer.h"
#include "tool/pack/template_rules.h"

using namespace tool;

namespace fuzzing {

void require(bool condition, const std::string& what) {
    if (condition) return;
    std::fprintf(stderr, "broken: %s\n", what.c_str());
    std::abort();
}

const fs::path& working() {
    static const Folder folder;
    return folder.path;
}

/// What a check finds can be shown. Gives the errors among it, but for those of an expected rule.
std::string errorsIn(const fs::path& fmu, const std::string& expected = "") {
    // What the program prints is printed, but goes nowhere.
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    require(silent, "no /dev/null");
    Report report;
    checkFmu(Fmu(fmu), report);
    std::string errors;
    for (const Finding& found : report.findings()) {
        require(!hasControlCharacters(found.place.file + found.why + found.fix),
                found.rule + " holds control characters");
        if (found.severity == Severity::error && found.rule != expected)
            errors += found.rule + ": " + found.what + "\n";
    }
    writeText(report, "", stdout);
    write(toJson(report, ""), stdout);
    return errors;
}

/// The library reads what the layout says.
void compareWithReaders(const Layout& layout, const fs::path& resources) {
    static auto shape = std::make_unique<FmuParRecord>();
    require(fread_par((resources / "fmu2ts.par").c_str(), shape.get()) >= 0, "fmu2ts.par");
    MvParRecord names{};
    require(fread_mv_par((resources / "mv.par").c_str(), &names) == 0, "mv.par");
    const std::int32_t counts[] = {shape->nReal, shape->nInteger, shape->nBoolean, shape->nString};
    const std::pair<std::int32_t, char**> lists[] = {{names.nRealNames, names.realNames},
                                                     {names.nIntegerNames, names.integerNames},
                                                     {names.nBooleanNames, names.booleanNames},
                                                     {names.nStringNames, names.stringNames}};
    for (std::size_t type = 0; type < 4; ++type) {
        const std::vector<std::string>& written = layout.solverNames[type];
        require(std::cmp_equal(counts[type], written.size()) && counts[type] == lists[type].first, "counts");
        for (std::size_t i = 0; i < written.size(); ++i) require(lists[type].second[i] == written[i], written[i]);
    }
    releaseNames(names);
    const auto compare = [](const std::vector<Port>& ports, int count, const auto& widths, const auto& offsets) {
        require(std::cmp_equal(count, ports.size()), "number of ports");
        for (std::size_t i = 0; i < ports.size(); ++i)
            require(std::cmp_equal(widths[i], ports[i].width) && std::cmp_equal(offsets[i], ports[i].offset), "port");
    };
    compare(layout.inputs, shape->nInputPorts, shape->inputPortWidth, shape->inputPortOffset);
    compare(layout.outputs, shape->nOutputPorts, shape->outputPortWidth, shape->outputPortOffset);
}

/// What a description makes is checked without an error, but for the library, which is not in the FMU.
void description(const std::string& text) {
    const fs::path fmu = working() / "fmu", resources = fmu / "resources", toml = working() / "m.toml";
    for (const char* name : {"t", "r", "d/f"}) writeFile(working() / name, "x");
    writeFile(toml, text);
    fs::remove_all(fmu);
    Report report;
    const std::optional<Description> described = readDescription(toml, report);
    if (!described) return;
    const Layout layout = layOut(*described);
    const std::string document = modelDescription(*described, layout, "{1}");
    checkRootLine(*described, document, report);
    checkTemplate(*described, text, {}, report);
    if (report.errors() > 0) return;
    for (const fs::path& folder : {fmu, resources}) writeFile(folder / descriptionFile, document);
    writeFile(fmu / shapeFileName, fmu2tsPar(*described, layout));
    writeFile(fmu / nameFileName, mvPar(layout));
    writeFile(resources / (described->name + ".mdl"), "x");
    for (const fs::path& file : described->resources) writeFile(resources / file.filename(), "");
    const std::string errors = errorsIn(fmu, "library-missing");
    require(errors.empty(), errors);
    compareWithReaders(layout, resources);
}

/// modelDescription.xml, fmu2ts.par and mv.par, one after the other, with a line of its own between.
void fmu(const std::string& text) {
    const std::string border = "\n=====\n";
    const fs::path folder = working() / "fmu";
    std::size_t start = 0;
    for (const char* name : {"modelDescription.xml", "resources/fmu2ts.par", "resources/mv.par"}) {
        const std::size_t end = std::min(text.find(border, start), text.size());
        writeFile(folder / name, text.substr(start, end - start));
        start = std::min(end + border.size() - 1, text.size()), start += start < text.size() ? 1 : 0;
    }
    writeFile(folder / "resources/Rig.mdl", "");
    errorsIn(folder);
}

/// Nothing is left in the temporary folder or written beside it.
void archive(const std::string& text) {
    static const fs::path temporary = working() / "a/b/c", file = working() / "a/b/f.fmu";
    static const bool made = fs::create_directories(temporary) && setenv("TMPDIR", temporary.c_str(), 1) == 0;
    require(made, "no temporary folder");
    writeFile(file, text);
    try {
        const FmuTree tree(file, {64, 1U << 20U, 100});
        require(tree.root().parent_path() == temporary, tree.root());
        for (const auto& entry : fs::recursive_directory_iterator(tree.root()))
            require(entry.is_directory() || entry.file_size() <= 1U << 20U, entry.path());
    } catch (const UserError& error) {
        require(!hasControlCharacters(error.what()), "control characters");
    }
    const auto left = std::distance(fs::recursive_directory_iterator(working()), {});
    require(left == 4, "something was left, or written outside");
}

void library(const std::string& text) {
    writeFile(working() / "library", text);
    try {
        readSharedObject(working() / "library");
    } catch (const UserError&) {
    }
}

} // namespace fuzzing
