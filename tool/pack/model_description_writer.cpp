#include "tool/pack/model_description_writer.h"

#include <map>

#include "tool/fmu/guid.h"
#include "tool/fmu/names.h"
#include "tool/fmu/numbers.h"
#include "tool/pack/description_rules.h"
#include "tool/pack/xml_writer.h"

namespace tool {

namespace {

constexpr std::pair<const char*, const char*> logCategories[] = {
    {"logAll", "everything below, and a step that the solver failed"},
    {"logError", "calls that were refused"},
    {"logFmiCall", "a trace of the calls"},
    {"logEvent", "events; nothing is sent at present"},
    {"error", "failures of instantiation and of the model file's generation; on while logging is on"},
    {"warning", "doubts about the environment; on while logging is on"},
    {"log", "messages of the solver; on while logging is on"},
};

const char* truth(bool value) { return value ? "true" : "false"; }

class ModelDescriptionWriter {
public:
    ModelDescriptionWriter(const Description& description, const Layout& layout)
        : description_(description), layout_(layout) {}

    std::string write(const std::string& guid) {
        xml_.declare();
        {
            auto root = xml_.element("fmiModelDescription");
            root.attribute("fmiVersion", "2.0").attribute("guid", guid).optional("description", description_.text);
            root.optional("author", description_.author).optional("version", description_.version);
            root.optional("license", description_.license);
            root.attribute("generationTool", thisTool());
            root.attribute("variableNamingConvention", "structured").attribute("modelName", description_.name);
            writeCoSimulation();
            writeUnits();
            writeLogCategories();
            writeExperiment();
            writeVariables();
            writeStructure();
        }
        return xml_.finish();
    }

private:
    void writeCoSimulation() {
        auto element = xml_.element("CoSimulation");
        element.attribute("modelIdentifier", description_.identifier);
        element.attribute("needsExecutionTool", truth(description_.needsExecutionTool));
        element.attribute("canHandleVariableCommunicationStepSize", "true").attribute("canInterpolateInputs", "false");
        element.attribute("maxOutputDerivativeOrder", std::to_string(layout_.maxOutputDerivativeOrder));
        element.attribute("canRunAsynchronuously", "false"); // the misspelling is the standard's own
        element.attribute("canBeInstantiatedOnlyOncePerProcess", "true");
        element.attribute("canNotUseMemoryManagementFunctions", "false").attribute("canGetAndSetFMUstate", "false");
        element.attribute("canSerializeFMUstate", "false").attribute("providesDirectionalDerivative", "false");
    }

    void writeUnits() {
        const std::map<std::string, Unit> units = usedUnits();
        if (units.empty()) return;
        auto definitions = xml_.element("UnitDefinitions");
        for (const auto& [name, unit] : units) {
            auto definition = xml_.element("Unit");
            definition.attribute("name", name);
            auto base = xml_.element("BaseUnit");
            for (std::size_t i = 0; i < baseUnits.size(); ++i)
                if (unit.exponents[i] != 0) base.attribute(baseUnits[i], std::to_string(unit.exponents[i]));
            if (unit.factor != 1.0) base.attribute("factor", shortest(unit.factor));
            if (unit.offset != 0.0) base.attribute("offset", shortest(unit.offset));
        }
    }

    /// A derivative's unit follows from the one before, unless the description also defines its name.
    std::map<std::string, Unit> usedUnits() const {
        std::map<std::string, Unit> units;
        for (const PlannedVariable& variable : layout_.variables) {
            if (variable.unit.empty() || units.contains(variable.unit)) continue;
            const bool follows = variable.derivativeOf > 0 && !description_.units.contains(variable.unit);
            if (follows)
                units[variable.unit] = derivativeUnit(units.at(layout_.variables[variable.derivativeOf - 1].unit));
            else if (const auto unit = findUnit(description_, variable.unit))
                units[variable.unit] = *unit;
        }
        return units;
    }

    void writeLogCategories() {
        auto categories = xml_.element("LogCategories");
        for (const auto& [name, text] : logCategories)
            xml_.element("Category").attribute("name", name).attribute("description", text);
    }

    void writeExperiment() {
        auto experiment = xml_.element("DefaultExperiment");
        experiment.attribute("startTime", "0").attribute("stopTime", shortest(description_.finalTime));
        if (description_.tolerance) experiment.attribute("tolerance", shortest(*description_.tolerance));
        if (description_.stepSize) experiment.attribute("stepSize", shortest(*description_.stepSize));
    }

    void writeVariables() {
        auto variables = xml_.element("ModelVariables");
        for (const PlannedVariable& variable : layout_.variables) writeVariable(variable);
    }

    void writeVariable(const PlannedVariable& variable) {
        auto element = xml_.element("ScalarVariable");
        element.attribute("name", variable.name).attribute("valueReference", std::to_string(*variable.reference));
        element.optional("description", variable.description);
        element.attribute("causality", causalityNames[static_cast<std::size_t>(variable.causality)]);
        element.attribute("variability", variabilityNames[static_cast<std::size_t>(variable.variability)]);
        element.optional("initial", initialNames[static_cast<std::size_t>(variable.initial)]);

        auto type = xml_.element(typeNames[indexOf(variable.type)].element.data());
        type.optional("unit", variable.unit);
        if (variable.min) type.attribute("min", textOf(*variable.min));
        if (variable.max) type.attribute("max", textOf(*variable.max));
        if (variable.start) type.attribute("start", textOf(*variable.start));
        if (variable.derivativeOf > 0) type.attribute("derivative", std::to_string(variable.derivativeOf));
    }

    void writeStructure() {
        auto structure = xml_.element("ModelStructure");
        if (layout_.outputs.empty()) return;
        for (const char* list : {"Outputs", "InitialUnknowns"}) {
            auto unknowns = xml_.element(list);
            for (std::size_t k = 0; k < layout_.variables.size(); ++k)
                if (layout_.variables[k].causality == Causality::output)
                    xml_.element("Unknown").attribute("index", std::to_string(k + 1));
        }
    }

    const Description& description_;
    const Layout& layout_;
    XmlWriter xml_;
};

} // namespace

std::string textOf(const Value& value) {
    if (const double* real = std::get_if<double>(&value)) return shortest(*real);
    if (const auto* whole = std::get_if<std::int32_t>(&value)) return std::to_string(*whole);
    if (const bool* boolean = std::get_if<bool>(&value)) return truth(*boolean);
    return std::get<std::string>(value);
}

std::string modelDescription(const Description& description, const Layout& layout, const std::string& guid) {
    return ModelDescriptionWriter(description, layout).write(guid);
}

void checkRootLine(const Description& description, const std::string& document, Report& report) {
    const std::size_t start = document.find("<fmiModelDescription");
    const std::size_t length = document.find('\n', start) - start;
    if (length > longestLine)
        report.add("texts-length", description.at(description.line),
                   "description, author, version and license are too long by {} bytes together.", length - longestLine);
}

} // namespace tool
