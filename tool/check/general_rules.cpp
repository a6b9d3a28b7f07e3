#include <algorithm>
#include <map>
#include <set>

#include "tool/check/rules.h"

namespace tool {

namespace {

struct Capability {
    std::string_view name;
    bool isTrue; ///< what the library does
};

constexpr Capability promises[] = {
    {"canInterpolateInputs", false},
    {"canRunAsynchronuously", false},
    {"canGetAndSetFMUstate", false},
    {"canSerializeFMUstate", false},
    {"providesDirectionalDerivative", false},
    {"canNotUseMemoryManagementFunctions", false},
    {"canBeInstantiatedOnlyOncePerProcess", true},
};

constexpr std::string_view libraryCategories[] = {"logAll", "logError", "logFmiCall", "logEvent",
                                                  "error",  "warning",  "log"};

int lineOf(const XmlElement& element, std::string_view attribute) {
    const XmlAttribute* found = element.find(attribute);
    return found != nullptr ? found->line : element.line;
}

void checkCoSimulation(const XmlElement& element, Report& report) {
    for (const Capability& promise : promises) {
        const bool written = booleanOf(textAttribute(element, promise.name, "false")).value_or(promise.isTrue);
        if (written != promise.isTrue)
            report.add("capability-promise", {descriptionFile, lineOf(element, promise.name)}, "{} is {}.",
                       promise.name, written);
    }
    constexpr std::string_view variableSteps = "canHandleVariableCommunicationStepSize";
    if (!booleanOf(textAttribute(element, variableSteps, "false")).value_or(true))
        report.add("capability-hidden", {descriptionFile, lineOf(element, variableSteps)},
                   "The library takes steps of any size, but {} is false.", variableSteps);

    const XmlAttribute* identifier = element.find("modelIdentifier");
    if (identifier != nullptr && !isIdentifier(identifier->value))
        report.add("identifier", {descriptionFile, identifier->line}, "The model identifier is {}.",
                   inQuotes(identifier->value));
}

void checkInterfaces(const ModelDescription& description, Report& report) {
    if (const XmlElement* modelExchange = description.root->child("ModelExchange"))
        report.add("model-exchange", {descriptionFile, modelExchange->line}, "The FMU offers model exchange.");
    if (description.coSimulation == nullptr)
        report.add("cosimulation-missing", {descriptionFile, description.root->line},
                   "There is no element CoSimulation.");
    else
        checkCoSimulation(*description.coSimulation, report);
    const XmlAttribute* guid = description.root->find("guid");
    if (guid != nullptr && trimmed(guid->value).empty())
        report.add("guid-empty", {descriptionFile, guid->line}, "The GUID is empty.");
}

void checkCategories(const ModelDescription& description, Report& report) {
    std::set<std::string_view> listed;
    for (const XmlElement& category : description.childrenOf("LogCategories")) {
        const XmlAttribute* name = category.find("name");
        if (name == nullptr) continue;
        const Place place{descriptionFile, name->line};
        if (!listed.insert(name->value).second)
            report.add("log-category-duplicate", place, "Duplicate log category {}.", inQuotes(name->value));
        else if (std::ranges::count(libraryCategories, name->value) == 0)
            report.add("log-category-unknown", place, "The library has no log category {}.", inQuotes(name->value));
    }

    const XmlElement* list = description.root->child("LogCategories");
    const Place place{descriptionFile, (list != nullptr ? list : description.root)->line};
    std::vector<std::string_view> missing;
    for (const std::string_view name : libraryCategories)
        if (!listed.contains(name)) missing.push_back(name);
    if (!missing.empty()) report.add("log-category-missing", place, "Not listed: {}.", fmt::join(missing, ", "));
}

void checkExperiment(const ModelDescription& description, Report& report) {
    const XmlElement* experiment = description.root->child("DefaultExperiment");
    if (experiment == nullptr) return;
    const double start = realAttribute(*experiment, "startTime").value_or(0.0);
    const auto stop = realAttribute(*experiment, "stopTime");
    const auto step = realAttribute(*experiment, "stepSize");
    const auto at = [experiment](std::string_view name) { return Place{descriptionFile, lineOf(*experiment, name)}; };

    // Negated, so that NaN is also found.
    if (!(start == 0.0)) report.add("experiment-start", at("startTime"), "The experiment starts at {}.", start);
    if (stop && !(*stop > start))
        report.add("experiment-stop", at("stopTime"), "The experiment starts at {} and stops at {}.", start, *stop);
    else if (step && (!(*step > 0.0) || (stop && !(*step <= *stop - start))))
        report.add("experiment-step", at("stepSize"), "The step size is {}.", *step);
}

/// Names that must be unique. Reports the second of two.
class Names {
public:
    Names(RuleName rule, std::string_view what, Report& report) : rule_(rule), what_(what), report_(report) {}

    void add(const XmlElement& element) {
        const XmlAttribute* name = element.find("name");
        if (name == nullptr || names_.insert(name->value).second) return;
        report_.add(rule_, {descriptionFile, name->line}, "The name {} of a {} appears twice.", inQuotes(name->value),
                    what_);
    }

private:
    RuleName rule_;
    std::string_view what_;
    Report& report_;
    std::set<std::string_view> names_;
};

/// Units, by their names, with their display units.
using Units = std::map<std::string_view, std::set<std::string_view>>;

Units readUnits(const ModelDescription& description, Report& report) {
    Names names("unit-duplicate", "unit", report);
    Units units;
    for (const XmlElement& unit : description.childrenOf("UnitDefinitions")) {
        names.add(unit);
        std::set<std::string_view>& displayUnits = units[textAttribute(unit, "name")];
        for (const XmlElement& child : unit.children)
            if (child.name == "DisplayUnit") displayUnits.insert(textAttribute(child, "name"));
    }
    return units;
}

/// An element's unit and display unit; what it does not say itself is taken from its type, which may be null.
void checkUnits(const XmlElement& element, const XmlElement* type, const Units& units, Report& report) {
    const XmlAttribute* unit = element.find("unit");
    const XmlAttribute* displayUnit = element.find("displayUnit");
    const std::string_view inherited = type != nullptr ? textAttribute(*type, "unit") : "";
    const auto defined = units.find(textAttribute(element, "unit", inherited));
    if (unit != nullptr && defined == units.end())
        report.add("unit-undefined", {descriptionFile, unit->line}, "The unit {} is not defined.",
                   inQuotes(unit->value));
    else if (displayUnit != nullptr && (defined == units.end() || !defined->second.contains(displayUnit->value)))
        report.add("unit-undefined", {descriptionFile, displayUnit->line},
                   "The display unit {} is not defined for the unit of this element.", inQuotes(displayUnit->value));
}

} // namespace

void checkGeneral(const ModelDescription& description, Report& report) {
    checkInterfaces(description, report);
    checkCategories(description, report);
    checkExperiment(description, report);
}

void checkFinalTime(const Fmu& fmu, Report& report) {
    const ModelDescription& description = fmu.description;
    const ShapeFile& shape = fmu.shape;
    const XmlElement* experiment = description.root->child("DefaultExperiment");
    const auto stop = experiment != nullptr ? realAttribute(*experiment, "stopTime") : std::nullopt;
    if (stop && shape.finalTime && *stop != *shape.finalTime)
        report.add("experiment-final-time", {descriptionFile, lineOf(*experiment, "stopTime")},
                   "The experiment stops at {}, but fmu2ts.par has the final time {}.", *stop, *shape.finalTime);
}

void checkUnitsAndTypes(const ModelDescription& description, Report& report) {
    const Units units = readUnits(description, report);
    Names names("type-duplicate", "type", report);
    for (const XmlElement& type : description.childrenOf("TypeDefinitions")) {
        names.add(type);
        for (const XmlElement& form : type.children) checkUnits(form, nullptr, units, report);
    }
    for (const DescribedVariable& variable : description.variables) {
        const XmlAttribute* declared = variable.value->find("declaredType");
        if (declared != nullptr && variable.declaredType == nullptr)
            report.add("type-undefined", {descriptionFile, declared->line}, "There is no type {} for {}.",
                       inQuotes(declared->value), variable.value->name);
        checkUnits(*variable.value, variable.declaredType, units, report);
        if (description.types.contains(variable.name))
            report.add("type-duplicate", {descriptionFile, variable.line()}, "A type and a variable have the name {}.",
                       inQuotes(variable.name));
    }
}

} // namespace tool
