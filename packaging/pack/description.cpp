#include "packaging/pack/description.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "packaging/pack/description_rules.h"
#include "packaging/pack/toml_file.h"
#include "packaging/pack/toml_section.h"
#include "packaging/text_forms.h"

namespace packaging {

namespace {

namespace fs = std::filesystem;

/// Turns a TOML file into a Description, table by table.
class DescriptionReader {
public:
    DescriptionReader(const fs::path& file, Mistakes& mistakes) : folder_(file.parent_path()), mistakes_(mistakes) {
        made_.file = file;
    }

    Description read(const toml::table& root) {
        Section all(root, "The description", 1, mistakes_);
        if (all.require("model") != nullptr) all.inTable("model", [this](Section& section) { readModel(section); });
        all.inTable("experiment", [this](Section& section) { readExperiment(section); });
        all.inTable("units", [this](Section& section) { readUnits(section); });
        all.forEachTable("input", "[[input]]", [this](Section& section) { readPort(section, made_.inputs, false); });
        all.forEachTable("output", "[[output]]", [this](Section& section) { readPort(section, made_.outputs, true); });
        all.forEachTable("parameter", "[[parameter]]", [this](Section& section) { readParameter(section); });
        all.refuseOtherKeys();
        return std::move(made_);
    }

private:
    void readModel(Section& section) {
        made_.line = section.line();
        section.require("name");
        made_.name = section.text("name").value_or("");
        made_.text = section.text("description").value_or("");
        made_.version = section.text("version").value_or("");
        made_.author = section.text("author").value_or("");
        made_.license = section.text("license").value_or("");
        made_.identifier = section.text("identifier").value_or(identifierFrom(made_.name));
        section.require("final_time");
        made_.finalTime = section.positive("final_time").value_or(1.0);
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
        const auto place = [&](const char* key, const std::string& name) {
            fs::path path = folder_ / name;
            std::error_code ignored;
            const bool isThere = key == std::string("documentation") ? fs::is_directory(path, ignored)
                                                                     : fs::is_regular_file(path, ignored);
            if (!isThere)
                mistakes_.add(section.line(key), "{}: there is no {} {}.", key,
                              key == std::string("documentation") ? "folder" : "regular file", path.string());
            return path;
        };
        for (const std::string& name : section.texts("resources"))
            made_.resources.push_back(place("resources", name).lexically_normal());
        if (const auto folder = section.text("documentation")) made_.documentation = place("documentation", *folder);
        const auto named = section.text("template");
        const auto isModelFile = [this](const fs::path& path) { return path.filename() == made_.name + ".xml"; };
        if (named || (isModelName(made_.name) && std::ranges::none_of(made_.resources, isModelFile)))
            made_.modelTemplate = place("template", named.value_or(made_.name + ".mdl"));
        std::error_code ignored;
        if (!made_.modelTemplate.empty() && fs::file_size(made_.modelTemplate, ignored) == 0)
            mistakes_.add(section.line("template"), "template: {} is empty.", made_.modelTemplate.string());
        checkModel(made_, section, mistakes_);
    }

    void readExperiment(Section& section) {
        made_.stepSize = section.positive("step_size");
        made_.tolerance = section.positive("tolerance");
        if (made_.stepSize && *made_.stepSize > made_.finalTime)
            mistakes_.add(section.line("step_size"), "step_size is longer than the whole run (final_time).");
    }

    void readUnits(Section& section) {
        constexpr std::size_t most = 10'000;
        if (section.table().size() > most)
            fail("there is a mistake:\n{}:{}: There are more than {} units.", made_.file.string(), section.line(),
                 most);
        for (const auto& [key, node] : section.table())
            section.inTable(key.str(),
                            [this, name = std::string(key.str())](Section& one) { made_.units[name] = readUnit(one); });
    }

    static Unit readUnit(Section& section) {
        Unit unit;
        for (std::size_t i = 0; i < baseUnits.size(); ++i) {
            const std::int64_t exponent = section.integer(baseUnits[i]).value_or(0);
            if (exponent < -99 || exponent > 99)
                section.mistakes().add(section.line(baseUnits[i]), "The exponent of {} is out of range.", baseUnits[i]);
            unit.exponents[i] = static_cast<int>(std::clamp<std::int64_t>(exponent, -99, 99));
        }
        unit.factor = section.number("factor").value_or(1.0);
        unit.offset = section.number("offset").value_or(0.0);
        return unit;
    }

    void readPort(Section& section, std::vector<Port>& ports, bool isOutput) {
        Port port;
        if (isOutput) {
            port.derivatives =
                static_cast<int>(std::clamp<std::int64_t>(section.integer("derivatives").value_or(2), -1, 3));
            if (port.derivatives < 0 || port.derivatives > 2)
                mistakes_.add(section.line("derivatives"), "derivatives must be 0, 1 or 2.");
        }
        section.require("signals");
        section.forEachTable("signals", "A signal",
                             [&](Section& one) { port.signals.push_back(readSignal(one, isOutput)); });
        if (port.signals.empty()) mistakes_.add(section.line(), "A port needs at least one signal.");
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
            parameter.start = section.number("start").value_or(0.0);
            readRange(parameter, [&](const char* key) { return section.number(key); });
        } else if (type == "Integer") {
            const auto whole = [&](const char* key) { return readInteger(section, key); };
            parameter.start = whole("start").value_or(0);
            readRange(parameter, whole);
        } else if (type == "Boolean") {
            parameter.start = section.flag("start").value_or(false);
        } else if (type == "String") {
            parameter.start = section.text("start").value_or("");
        } else {
            mistakes_.add(section.line("type"), "type must be Real, Integer, Boolean or String.");
            for (const char* key : {"start", "min", "max"}) section.find(key);
        }
        if (type != "Real" && !parameter.unit.empty()) mistakes_.add(section.line("unit"), "Only a Real has a unit.");
        made_.parameters.push_back(std::move(parameter));
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
        if (*value < Limits::min() || *value > Limits::max())
            mistakes_.add(section.line(key), "{} must fit into 32 bits.", key);
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(*value, Limits::min(), Limits::max()));
    }

    template <typename Named>
    static void readNames(Section& section, Named& named) {
        named.line = section.line("name");
        section.require("name");
        named.name = section.text("name").value_or("");
        named.solverName = section.text("solver_name").value_or(named.name);
        named.unit = section.text("unit").value_or("");
        named.description = section.text("description").value_or("");
    }

    Description made_;
    fs::path folder_;
    Mistakes& mistakes_;
};

} // namespace

Description readDescription(const fs::path& file) {
    const toml::table root = readToml(file);
    Mistakes mistakes;
    Description description = DescriptionReader(file, mistakes).read(root);
    checkVariables(description, mistakes);
    mistakes.throwIfAny(file);
    return description;
}

} // namespace packaging
