#include "tool/pack/description_rules.h"

#include <map>
#include <set>

#include "fmi/instance/fmu_instance.h"
#include "tool/fmu/location.h"
#include "tool/fmu/names.h"
#include "tool/fmu/numbers.h"
#include "tool/fmu/structured_name.h"
#include "tool/pack/toml_section.h"

namespace tool {

namespace {

/// Room is left for the prefixes of derivatives.
constexpr std::size_t longestSolverName = 1000;

/// Whether the table has a name, whatever it is worth; otherwise that is reported already.
bool hasName(const Section& section) {
    const toml::node* name = section.table().get("name");
    return name != nullptr && name->is_string() && !hasControlCharacters(name->as_string()->get());
}

void checkModelName(const Description& model, Section& section) {
    const Place place = section.at("name");
    switch (modelNameFault(model.name)) {
    case ModelNameFault::none:
        break;
    case ModelNameFault::characters:
        section.report().add("model-name-characters", place,
                             "name may contain only letters, digits, '_', '.' and '-', and must not start with '.' or "
                             "'-'.");
        break;
    case ModelNameFault::extension:
        section.report().add("model-name-extension", place, "name must not contain \".xml\".");
        break;
    case ModelNameFault::length:
        section.report().add("model-name-length", place, "name is longer than {} characters.", longestModelName);
        break;
    }
}

void checkIdentifier(const Description& model, Section& section) {
    if (!isIdentifier(model.identifier))
        section.report().add("identifier", section.at("identifier"), "identifier must be a C identifier.");
    else if (model.identifier.size() > longestModelName)
        section.report().add("identifier", section.at("identifier"), "identifier is longer than {} characters.",
                             longestModelName);
}

/// The FMU takes its model's name from the first line of the model description that holds the word.
void checkTexts(const Description& model, Section& section) {
    const std::pair<const char*, const std::string&> texts[] = {
        {"description", model.text}, {"version", model.version}, {"author", model.author}, {"license", model.license}};
    for (const auto& [key, text] : texts)
        if (text.find("modelName") != std::string::npos)
            section.report().add("text-model-name", section.at(key), "{} must not contain the word modelName.", key);
}

void checkLines(const Description& model, Section& section) {
    const auto checkLength = [&](const char* key, const std::string& text, std::size_t longest) {
        if (text.size() > longest)
            section.report().add("parameter-line-length", section.at(key),
                                 "{} is longer than {} bytes, the room for it in fmu2ts.par.", key, longest);
    };
    checkLength("result_file", model.resultFile, longestLine);
    checkLength("library_file", model.libraryFile, longestLine);
    checkLength("address", model.address, longestShortText);
    if (const std::string path = changedResource(model.libraryFile); !path.empty())
        section.report().add("file-name-uri", section.at("library_file"),
                             "The solver would receive the path {}, which does not name library_file.", inQuotes(path));
}

void checkResultFile(const Description& model, Section& section) {
    const Place place = section.at("result_file");
    if (model.resultFile.empty()) {
        section.report().add("key-value", place, "result_file is empty.");
        return;
    }
    if (const std::string path = changedResultFile(model.resultFile); !path.empty())
        section.report().add("result-file-uri", place, "The solver would receive the path {}, which does not name {}.",
                             inQuotes(path), inQuotes(model.resultFile));
    if (model.resultFileVariable && model.resultFile.find(".mrf") == std::string::npos)
        section.report().add("key-value", place,
                             "With result_file_variable, result_file must contain \".mrf\": the FMU appends it to a "
                             "name that a master sets.");
    else if (isAmongResources(model.resultFile))
        section.report().add("result-file", place, "The result file is {}.", inQuotes(model.resultFile));
}

void checkResourceFiles(const Description& model, Section& section) {
    std::set<std::string> taken{descriptionFile, "fmu2ts.par", "mv.par", model.name + ".mdl", model.name + ".csv"};
    const Place place = section.at("resources");
    for (const auto& path : model.resources) {
        const std::string name = path.filename().string();
        if (!taken.insert(name).second)
            section.report().add("file-duplicate", place, "resources: the FMU already has a file {}.", inQuotes(name));
        if (name.find('\\') != std::string::npos || hasControlCharacters(name))
            section.report().add("file-name", place, "resources: {} holds a backslash or a control character.",
                                 inQuotes(name));
        if (name == model.name + ".xml")
            section.report().add("model-file-present", place, "The model file {} is among the resources.", name);
    }
    if (!model.libraryFile.empty() && !taken.contains(model.libraryFile))
        section.report().add("solver-file-missing", section.at("library_file"),
                             "library_file: {} is not among the resources.", inQuotes(model.libraryFile));
}

/// What both signals and parameters have to keep to.
class VariableChecks {
public:
    VariableChecks(const Description& description, Report& report) : description_(description), report_(report) {
        if (description.resultFileVariable) names_[resultFileVariableName] = description.line;
    }

    template <typename Named>
    void check(const Named& named) {
        if (named.name.empty()) return; // reported already
        const Place place = description_.at(named.line);
        if (!isStructuredName(named.name))
            report_.add("name-structured", place, "{} is not a structured name.", inQuotes(named.name))
                .fix("Write identifiers with dots between, such as axle.wheel[2].z; put anything else in single "
                     "quotes.");
        const auto [first, isNew] = names_.emplace(named.name, named.line);
        if (isNew)
            checkSolverName(named.solverName, named.name, place);
        else
            report_.add("name-duplicate", place, "Line {} has a variable of the name {} already.", first->second,
                        inQuotes(named.name));
        if (!named.unit.empty() && !findUnit(description_, named.unit)) reportUnit(named.unit, place);
    }

    /// Values pass through the value file in fixed notation, and one value means "never set".
    void checkStart(const Parameter& parameter) {
        const Place place = description_.at(parameter.line);
        const double* real = std::get_if<double>(&parameter.start);
        const auto* whole = std::get_if<std::int32_t>(&parameter.start);
        if ((real != nullptr && *real == neverSetReal) || (whole != nullptr && *whole == neverSetInteger))
            report_.add("start-marker", place, "{} starts at {}.", inQuotes(parameter.name), neverSetInteger);
        else if (real != nullptr && losesDigits(*real))
            report_.add("start-precision", place, "{} starts at {}, which becomes {}.", inQuotes(parameter.name),
                        shortest(*real), shortest(throughValueFile(*real)));
    }

    void checkRange(const Parameter& parameter) {
        const Place place = description_.at(parameter.line);
        if (parameter.min && parameter.max && *parameter.max < *parameter.min)
            report_.add("min-max", place, "The min of {} is above its max.", inQuotes(parameter.name));
        else if (parameter.isStartKnown && parameter.max && *parameter.max < parameter.start)
            report_.add("start-range", place, "The start of {} is above its max.", inQuotes(parameter.name));
        else if (parameter.isStartKnown && parameter.min && parameter.start < *parameter.min)
            report_.add("start-range", place, "The start of {} is below its min.", inQuotes(parameter.name));
    }

private:
    void reportUnit(const std::string& unit, const Place& place) {
        const std::string meant = likelyUnit(unit);
        report_.add("unit-undefined", place, "The unit {} is not known.", inQuotes(unit))
            .fix(!meant.empty() ? fmt::format("Write {} if that is meant, or define it under [units].", meant)
                                : fmt::format("Define it under [units]. Known are {}.", knownUnits()));
    }

    void checkSolverName(const std::string& name, const std::string& variable, const Place& place) {
        if (trimmed(name).empty())
            report_.add("name-empty", place, "The solver's name of {} is empty.", inQuotes(variable));
        else if (name.find(',') != std::string::npos)
            report_.add("name-comma", place, "The solver's name of {} is {}.", inQuotes(variable), inQuotes(name))
                .fix("Give it a solver_name without a comma.");
        else if (trimmed(name).size() != name.size())
            report_.add("name-blank", place, "The solver's name of {} is {}.", inQuotes(variable), inQuotes(name));
        else if (name.size() > longestSolverName)
            report_.add("parameter-line-length", place, "The solver's name of {} is longer than {} bytes.",
                        inQuotes(variable), longestSolverName);
        else if (const auto [first, isNew] = solverNames_.emplace(name, place.line); !isNew)
            report_.add("name-shared", place, "Line {} has a variable of the solver's name {} already.", first->second,
                        inQuotes(name));
    }

    const Description& description_;
    Report& report_;
    std::map<std::string, int> names_;
    std::map<std::string, int> solverNames_;
};

void checkPortNumber(const std::vector<PortDescription>& ports, const char* kind, const Place& place, Report& report) {
    if (ports.size() > maxPorts)
        report.add("port-count", place, "There are {} {} ports.", ports.size(), kind)
            .fix("Put several signals into one port.");
}

/// Initialization ends with all values 0.
void checkSignal(const Description& description, const Signal& signal, VariableChecks& checks, Report& report) {
    checks.check(signal);
    if (signal.start != 0.0)
        report
            .add("start-lost", description.at(signal.line), "{} starts at {}, but is 0 after the initialization.",
                 inQuotes(signal.name), shortest(signal.start))
            .fix("Write start = 0, or make it a parameter.");
}

} // namespace

void checkModelTable(const Description& description, Section& section) {
    if (hasName(section)) checkModelName(description, section);
    // What follows from a wrong name is not reported as well.
    const auto isSound = [&](const char* key) {
        return section.table().contains(key) || modelNameFault(description.name) == ModelNameFault::none;
    };
    if (isSound("identifier")) checkIdentifier(description, section);
    checkTexts(description, section);
    checkLines(description, section);
    if (isSound("result_file")) checkResultFile(description, section);
    checkResourceFiles(description, section);
}

void checkVariableTables(const Description& description, Report& report) {
    const Place model = description.at(description.line);
    checkPortNumber(description.inputs, "input", model, report);
    checkPortNumber(description.outputs, "output", model, report);
    // When there are other errors, one of them may be in what holds the variables.
    if (report.errors() == 0 && description.inputs.empty() && description.outputs.empty() &&
        description.parameters.empty() && !description.resultFileVariable)
        report.add("variables-none", model, "There is neither an input nor an output nor a parameter.");

    VariableChecks checks(description, report);
    for (const auto* ports : {&description.inputs, &description.outputs})
        for (const PortDescription& port : *ports)
            for (const Signal& signal : port.signals) checkSignal(description, signal, checks, report);
    for (const Parameter& parameter : description.parameters) {
        checks.check(parameter);
        checks.checkStart(parameter);
        checks.checkRange(parameter);
    }
}

std::optional<Unit> findUnit(const Description& description, const std::string& name) {
    const auto defined = description.units.find(name);
    return defined != description.units.end() ? std::optional(defined->second) : parseUnit(name);
}

} // namespace tool
