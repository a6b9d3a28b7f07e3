#include "tool/pack/description.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "tool/fmu/names.h"
#include "tool/os/files.h"
#include "tool/pack/description_rules.h"
#include "tool/pack/toml_file.h"
#include "tool/pack/toml_section.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// Turns a TOML file into a Description, table by table.
class DescriptionReader {
public:
    DescriptionReader(const fs::path& file, Report& report, const std::optional<std::string>& version)
        : folder_(file.parent_path()), report_(report), version_(version) {
        made_.file = file;
        made_.finalTime = std::numeric_limits<double>::max(); // as long as none is known
    }

    Description read(const toml::table& root) {
        Section all(root, "The description", made_.at(1), report_);
        if (all.require("model") != nullptr) all.inTable("model", [this](Section& section) { readModel(section); });
        all.inTable("experiment", [this](Section& section) { readExperiment(section); });
        all.inTable("units", [this](Section& section) { readUnits(section); });
        all.forEachTable("input", "[[input]]", "[[input]]",
                         [this](Section& section) { readPort(section, made_.inputs, false); });
        all.forEachTable("output", "[[output]]", "[[output]]",
                         [this](Section& section) { readPort(section, made_.outputs, true); });
        all.forEachTable("parameter", "[[parameter]]", "[[parameter]]",
                         [this](Section& section) { readParameter(section); });
        all.refuseOtherKeys();
        return std::move(made_);
    }

private:
    void readModel(Section& section) {
        made_.line = section.place().line;
        section.require("name");
        made_.name = section.text("name").value_or("");
        made_.text = section.text("description").value_or("");
        made_.version = section.text("version").value_or("");
        if (version_) made_.version = *version_;
        made_.author = section.text("author").value_or("");
        made_.license = section.text("license").value_or("");
        made_.identifier = section.text("identifier").value_or(identifierFrom(made_.name));
        section.require("final_time");
        made_.finalTime = section.positive("final_time").value_or(made_.finalTime);
        made_.needsExecutionTool = section.flag("needs_execution_tool").value_or(true);
        made_.resultFileVariable = section.flag("result_file_variable").value_or(false);
        made_.resultFile =
            section.text("result_file")
                .value_or("./" + made_.name + (made_.resultFileVariable ? "_result.mrf" : "_result.csv"));
        made_.libraryFile = section.text("library_file").value_or("");
        made_.address = section.text("address").value_or("");
        readFiles(section);
    }

    void readFiles(Section& section) {
        for (const std::string& name : section.texts("resources"))
            made_.resources.push_back(fileOf(section, "resources", name).lexically_normal());
        if (const auto folder = section.nonEmptyText("documentation")) made_.documentation = folderOf(section, *folder);
        const auto named = section.nonEmptyText("template");
        const auto isModelFile = [this](const fs::path& path) { return path.filename() == made_.name + ".xml"; };
        const bool isNeeded = std::ranges::none_of(made_.resources, isModelFile);
        const bool isDefault = section.find("template") == nullptr;
        if (named || (isDefault && isNeeded && modelNameFault(made_.name) == ModelNameFault::none))
            made_.modelTemplate = templateOf(section, named.value_or(made_.name + ".mdl"));
        checkModelTable(made_, section);
    }

    fs::path fileOf(Section& section, const char* key, const std::string& name) {
        fs::path path = folder_ / name;
        if (!isRegularFile(path))
            report_.add("file-missing", section.at(key), "{}: there is no regular file {}.", key, path.string());
        return path;
    }

    fs::path folderOf(Section& section, const std::string& name) {
        fs::path path = folder_ / name;
        if (!isFolder(path))
            report_.add("file-missing", section.at("documentation"), "documentation: there is no folder {}.",
                        path.string());
        return path;
    }

    fs::path templateOf(Section& section, const std::string& name) {
        fs::path path = folder_ / name;
        std::error_code failure;
        if (!isRegularFile(path))
            report_.add("template-missing", section.at("template"), "template: there is no regular file {}.",
                        path.string());
        else if (fs::file_size(path, failure) == 0)
            report_.add("template-missing", section.at("template"), "template: {} is empty.", path.string());
        return path;
    }

    void readExperiment(Section& section) {
        made_.stepSize = section.positive("step_size");
        made_.tolerance = section.positive("tolerance");
        if (made_.stepSize && *made_.stepSize > made_.finalTime)
            report_.add("experiment-step", section.at("step_size"), "step_size is longer than the run (final_time).");
    }

    void readUnits(Section& section) {
        constexpr std::size_t most = 10'000;
        if (section.table().size() > most) {
            report_.add("description-size", section.place(), "There are more than {} units.", most);
            return section.acceptOtherKeys();
        }
        for (const auto& [key, node] : section.table()) {
            if (parseUnit(key.str()))
                report_.add("key-value", section.at(key.str()), "{} is a known unit.", inQuotes(key.str()))
                    .fix("Remove the definition, or give the unit another name.");
            section.inTable(key.str(),
                            [this, name = std::string(key.str())](Section& one) { made_.units[name] = readUnit(one); });
        }
    }

    static Unit readUnit(Section& section) {
        Unit unit;
        for (std::size_t i = 0; i < baseUnits.size(); ++i) {
            const std::int64_t exponent = section.integer(baseUnits[i]).value_or(0);
            if (exponent < -99 || exponent > 99)
                section.report().add("key-value", section.at(baseUnits[i]),
                                     "The exponent of {} is not within -99 and 99.", baseUnits[i]);
            unit.exponents[i] = static_cast<int>(std::clamp<std::int64_t>(exponent, -99, 99));
        }
        unit.factor = section.number("factor").value_or(1.0);
        if (unit.factor == 0.0) section.report().add("key-value", section.at("factor"), "factor must not be 0.");
        unit.offset = section.number("offset").value_or(0.0);
        return unit;
    }

    void readPort(Section& section, std::vector<PortDescription>& ports, bool isOutput) {
        PortDescription port;
        if (isOutput) {
            port.derivatives =
                static_cast<int>(std::clamp<std::int64_t>(section.integer("derivatives").value_or(2), -1, 3));
            if (port.derivatives < 0 || port.derivatives > 2)
                report_.add("key-value", section.at("derivatives"), "derivatives must be 0, 1 or 2.");
        }
        const toml::node* signals = section.require("signals");
        section.forEachTable("signals", "A signal", R"([{ name = "..." }])",
                             [&](Section& one) { port.signals.push_back(readSignal(one, isOutput)); });
        if (signals != nullptr && signals->is_array() && signals->as_array()->empty())
            report_.add("port-empty", section.place(), "A port needs at least one signal.");
        ports.push_back(std::move(port));
    }

    Signal readSignal(Section& section, bool isOutput) {
        Signal signal;
        readNames(section, signal);
        if (!isOutput) signal.start = section.number("start").value_or(0.0);
        return signal;
    }

    void readParameter(Section& section) {
        Parameter parameter;
        readNames(section, parameter);
        const std::string type = section.text("type").value_or("Real");
        section.require("start");
        if (type == "Real") {
            readStart(parameter, section.number("start"), 0.0);
            readRange(parameter, [&](const char* key) { return section.number(key); });
        } else if (type == "Integer") {
            const auto whole = [&](const char* key) { return readInteger(section, key); };
            readStart(parameter, whole("start"), std::int32_t{0});
            readRange(parameter, whole);
        } else if (type == "Boolean") {
            readStart(parameter, section.flag("start"), false);
        } else if (type == "String") {
            readStart(parameter, section.text("start"), std::string());
        } else {
            report_.add("key-value", section.at("type"), "type must be Real, Integer, Boolean or String.");
            for (const char* key : {"start", "min", "max"}) section.find(key);
            parameter.unit.clear();
        }
        if (type != "Real" && !parameter.unit.empty())
            report_.add("key-value", section.at("unit"), "Only a Real has a unit.");
        made_.parameters.push_back(std::move(parameter));
    }

    template <typename Type>
    static void readStart(Parameter& parameter, const std::optional<Type>& start, const Type& otherwise) {
        parameter.start = start.value_or(otherwise);
        parameter.isStartKnown = start.has_value();
    }

    template <typename Read>
    static void readRange(Parameter& parameter, const Read& read) {
        if (const auto min = read("min")) parameter.min = *min;
        if (const auto max = read("max")) parameter.max = *max;
    }

    std::optional<std::int32_t> readInteger(Section& section, const char* key) {
        using Limits = std::numeric_limits<std::int32_t>;
        const std::optional<std::int64_t> value = section.integer(key);
        if (!value) return std::nullopt;
        if (*value >= Limits::min() && *value <= Limits::max()) return static_cast<std::int32_t>(*value);
        report_.add("key-value", section.at(key), "{} must fit into 32 bits.", key);
        return std::nullopt;
    }

    template <typename Named>
    static void readNames(Section& section, Named& named) {
        named.line = section.at("name").line;
        section.require("name");
        named.name = section.nonEmptyText("name").value_or("");
        named.solverName = section.nonEmptyText("solver_name").value_or(named.name);
        named.unit = section.nonEmptyText("unit").value_or("");
        named.description = section.text("description").value_or("");
    }

    Description made_;
    fs::path folder_;
    Report& report_;
    const std::optional<std::string>& version_;
};

} // namespace

std::optional<Description> readDescription(const fs::path& file, Report& report,
                                           const std::optional<std::string>& version) {
    const std::optional<toml::table> root = readToml(file, report);
    if (!root) return std::nullopt;
    Description description = DescriptionReader(file, report, version).read(*root);
    checkVariableTables(description, report);
    return report.errors() == 0 ? std::optional(std::move(description)) : std::nullopt;
}

} // namespace tool
