#include "packaging/pack/description_rules.h"

#include <map>
#include <set>

#include "fmi/fmu_instance.h"
#include "packaging/pack/toml_section.h"
#include "packaging/text_forms.h"
#include "packaging/value_file.h"
#include "resources/parameter_files.h"
#include "resources/resource_location.h"
#include "util/owners.h"

namespace packaging {

namespace {

/// A parameter file's line is at most 1023 bytes with its line feed.
constexpr std::size_t longestLine = 1022;
constexpr std::size_t longestAddress = sizeof(FmuParRecord::ipAddress) - 1;

/// Room is left for the prefixes of derivatives.
constexpr std::size_t longestSolverName = 1000;

template <typename... Arguments>
void warn(Description& description, int line, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    description.warnings.push_back(fmt::format("{}:{}: warning: {}", description.file.string(), line,
                                               fmt::format(text, std::forward<Arguments>(arguments)...)));
}

void checkNames(const Description& model, const Section& section, Mistakes& mistakes) {
    if (!section.table().contains("name")) return; // told already
    if (!isModelName(model.name))
        mistakes.add(section.line("name"), "name must be of letters, digits, _ . and -, begin with none of the last "
                                           "two, and not hold \".xml\": file names are made of it.");
    if (model.name.size() > longestModelName)
        mistakes.add(section.line("name"), "name is longer than {} characters.", longestModelName);
    if (!isIdentifier(model.identifier))
        mistakes.add(section.line("identifier"), "identifier must be a C identifier: letters, digits and _.");
    else if (model.name.size() <= longestModelName && model.identifier.size() > longestModelName)
        mistakes.add(section.line("identifier"), "identifier is longer than {} characters.", longestModelName);
}

/// The FMU takes its model's name from the first line of the model description that holds the word.
void checkTexts(const Description& model, const Section& section, Mistakes& mistakes) {
    const std::pair<const char*, const std::string&> texts[] = {
        {"description", model.text}, {"version", model.version}, {"author", model.author}, {"license", model.license}};
    for (const auto& [key, text] : texts)
        if (text.find("modelName") != std::string::npos)
            mistakes.add(section.line(key),
                         "{} must not hold the word modelName: the FMU would look for its model's "
                         "name there.",
                         key);
}

/// Whether a file's name is the same when the library has read it: as it stands where it has a slash, otherwise behind
/// the location of the resources.
bool survivesAsLocation(const std::string& name) {
    const bool bare = name.find_first_of("/\\") == std::string::npos;
    const std::string folder = bare ? "/resources/" : "";
    const MallocText path(convert_URI_to_path(((bare ? "file://" : "") + folder + name).c_str()));
    return path != nullptr && path.get() == folder + name;
}

void checkLines(const Description& model, const Section& section, Mistakes& mistakes) {
    const auto check = [&](const char* key, const std::string& text, std::size_t longest) {
        if (text.size() > longest)
            mistakes.add(section.line(key), "{} is longer than {} bytes, the room for it in fmu2ts.par.", key, longest);
    };
    for (const auto& [key, text] : {std::pair("result_file", &model.resultFile), {"library_file", &model.libraryFile}})
        if (!survivesAsLocation(*text))
            mistakes.add(section.line(key),
                         "{} has a character that doesn't survive, such as a blank or one of # ? % [ ]: the FMU reads "
                         "the name as a part of a URI.",
                         key);
    check("result_file", model.resultFile, longestLine);
    check("library_file", model.libraryFile, longestLine);
    check("address", model.address, longestAddress);
}

void checkResultFile(Description& model, const Section& section, Mistakes& mistakes) {
    const int line = section.line("result_file");
    if (model.resultFile.empty()) {
        mistakes.add(line, "result_file is empty.");
    } else if (model.resultFileVariable && model.resultFile.find(".mrf") == std::string::npos) {
        mistakes.add(line, "With result_file_variable, result_file must hold \".mrf\": the FMU appends it to a name "
                           "that a master sets.");
    } else if (model.resultFile.find_first_of("/\\") == std::string::npos) {
        warn(model, line,
             "The result file \"{0}\" goes to the folder that the master unpacks into, which is mostly "
             "removed after the run; \"./{0}\" would go to the working directory.",
             model.resultFile);
    }
}

void checkResources(Description& model, const Section& section, Mistakes& mistakes) {
    std::set<std::string> taken{"modelDescription.xml", "fmu2ts.par", "mv.par", model.name + ".mdl",
                                model.name + ".csv"};
    for (const auto& path : model.resources) {
        const std::string name = path.filename().string();
        if (!taken.insert(name).second)
            mistakes.add(section.line("resources"), "resources: a file {} stands in the FMU already.", name);
        if (name.find('\\') != std::string::npos || hasControlCharacters(name))
            mistakes.add(section.line("resources"), "resources: {} isn't a file name for every system.", name);
        if (name == model.name + ".xml")
            warn(model, section.line("resources"),
                 "The FMU uses {} as it stands: values that a master sets before the start have no effect.", name);
    }
    if (!model.libraryFile.empty() && !taken.contains(model.libraryFile))
        warn(model, section.line("library_file"), "library_file is looked for in the resources, and {} isn't one.",
             model.libraryFile);
}

/// What both signals and parameters have to keep to.
class VariableChecks {
public:
    VariableChecks(Description& description, Mistakes& mistakes) : description_(description), mistakes_(mistakes) {
        if (description.resultFileVariable) names_[resultFileVariableName] = description.line;
    }

    template <typename Named>
    void check(const Named& named) {
        if (named.name.empty()) return; // told already
        if (!isStructuredName(named.name))
            mistakes_.add(named.line,
                          "{} isn't a structured name: identifiers with dots between, such as "
                          "axle.wheel[2].z; anything else stands in single quotes.",
                          named.name);
        const auto [first, isNew] = names_.emplace(named.name, named.line);
        if (isNew)
            checkSolverName(named);
        else
            mistakes_.add(named.line, "{} is the name of another variable already (line {}).", named.name,
                          first->second);
        if (!named.unit.empty() && !findUnit(description_, named.unit))
            mistakes_.add(named.line, "The unit {} isn't known: define it under [units].", named.unit);
    }

    /// Values pass through the value file in fixed notation, and one value stands for "never set".
    void checkReal(double value, int line, const std::string& name) {
        if (value == neverSetReal)
            warn(description_, line,
                 "The start of {}, {}, means \"never set\": the solver's model keeps its own value.", name,
                 shortest(value));
        else if (losesDigits(value))
            warn(description_, line,
                 "The start of {}, {}, reaches the solver with six decimals, as {}: choose another "
                 "unit.",
                 name, shortest(value), shortest(throughValueFile(value)));
    }

    void checkLimit(const Parameter& parameter, const std::optional<Value>& limit, bool isUpper) {
        if (limit && (isUpper ? *limit < parameter.start : parameter.start < *limit))
            mistakes_.add(parameter.line, "The start of {} is {} its {}.", parameter.name, isUpper ? "above" : "below",
                          isUpper ? "max" : "min");
    }

private:
    template <typename Named>
    void checkSolverName(const Named& named) {
        const std::string& name = named.solverName;
        if (name.empty() || name.find(',') != std::string::npos || name.size() > longestSolverName ||
            name.starts_with(' ') || name.ends_with(' '))
            mistakes_.add(named.line,
                          "The solver's name of {} must be of 1 to {} bytes, without a blank at either end and without "
                          "a comma, which ends it in the value file: give it a solver_name.",
                          named.name, longestSolverName);
        const auto [first, isNew] = solverNames_.emplace(named.solverName, named.line);
        if (!isNew)
            mistakes_.add(named.line, "{} is the solver's name of another variable already (line {}).",
                          named.solverName, first->second);
    }

    Description& description_;
    Mistakes& mistakes_;
    std::map<std::string, int> names_;
    std::map<std::string, int> solverNames_;
};

void checkPorts(const std::vector<Port>& ports, const char* kind, int line, Mistakes& mistakes) {
    if (ports.size() > maxPorts)
        mistakes.add(line, "There are {} {} ports; an FMU has {} at most: put several signals into one.", ports.size(),
                     kind, maxPorts);
}

/// Initialization ends with all values 0.
void checkSignal(Description& description, const Signal& signal, VariableChecks& checks) {
    checks.check(signal);
    if (signal.start != 0.0)
        warn(description, signal.line,
             "The start of {}, {}, holds until the run starts only: then an input is 0 until a master sets it.",
             signal.name, shortest(signal.start));
}

void checkParameter(Description& description, const Parameter& parameter, VariableChecks& checks) {
    checks.check(parameter);
    checks.checkLimit(parameter, parameter.min, false);
    checks.checkLimit(parameter, parameter.max, true);
    if (const double* real = std::get_if<double>(&parameter.start))
        checks.checkReal(*real, parameter.line, parameter.name);
    const auto* whole = std::get_if<std::int32_t>(&parameter.start);
    if (whole != nullptr && *whole == neverSetInteger)
        warn(description, parameter.line,
             "The start of {}, {}, means \"never set\": the solver's model keeps its own value.", parameter.name,
             *whole);
}

} // namespace

void checkModel(Description& description, const Section& section, Mistakes& mistakes) {
    checkNames(description, section, mistakes);
    checkTexts(description, section, mistakes);
    checkLines(description, section, mistakes);
    checkResultFile(description, section, mistakes);
    checkResources(description, section, mistakes);
}

void checkVariables(Description& description, Mistakes& mistakes) {
    checkPorts(description.inputs, "input", description.line, mistakes);
    checkPorts(description.outputs, "output", description.line, mistakes);
    if (description.inputs.empty() && description.outputs.empty() && description.parameters.empty() &&
        !description.resultFileVariable)
        mistakes.add(description.line, "There is neither an input nor an output nor a parameter.");

    VariableChecks checks(description, mistakes);
    for (const auto* ports : {&description.inputs, &description.outputs})
        for (const Port& port : *ports)
            for (const Signal& signal : port.signals) checkSignal(description, signal, checks);
    for (const Parameter& parameter : description.parameters) checkParameter(description, parameter, checks);
}

std::optional<Unit> findUnit(const Description& description, const std::string& name) {
    const auto defined = description.units.find(name);
    return defined != description.units.end() ? std::optional(defined->second) : parseUnit(name);
}

} // namespace packaging
