#include "packaging/pack/model_description.h"

#include <map>

#include "packaging/pack/description_rules.h"
#include "packaging/pack/xml_writer.h"
#include "packaging/text_forms.h"
#include "packaging/user_error.h"

namespace packaging {

namespace {

/// The FMU reads lines of at most 1023 bytes, line feed included.
constexpr std::size_t longestLine = 1022;

constexpr std::pair<const char*, const char*> logCategories[] = {
    {"logAll", "everything below, and a step that the solver failed"},
    {"logError", "calls that were refused"},
    {"logFmiCall", "a trace of the calls"},
    {"logEvent", "events; nothing is sent at present"},
    {"error", "failures of instantiation and of the model file's generation; on while logging is on"},
    {"warning", "doubts about the environment; on while logging is on"},
    {"log", "messages of the solver; on while logging is on"},
};

constexpr const char* typeNames[] = {"Real", "Integer", "Boolean", "String"};

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
            root.attribute("generationTool", "tessaro-fmu " TESSARO_VERSION);
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
        element.attribute("maxOutputDerivativeOrder", std::to_string(layout_.maxOutputDerivativeOrder()));
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

    /// A derivative's unit follows from the one before, unless the description defines its name, too.
    std::map<std::string, Unit> usedUnits() const {
        std::map<std::string, Unit> units;
        for (const Variable& variable : layout_.variables) {
            if (variable.unit.empty() || units.contains(variable.unit)) continue;
            const bool follows = variable.role == Role::derivative && !description_.units.contains(variable.unit);
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
        for (const Variable& variable : layout_.variables) writeVariable(variable);
    }

    void writeVariable(const Variable& variable) {
        auto element = xml_.element("ScalarVariable");
        element.attribute("name", variable.name).attribute("valueReference", std::to_string(variable.reference));
        element.optional("description", variable.description);
        writeRole(element, variable.role);

        auto type = xml_.element(typeNames[static_cast<std::size_t>(variable.type)]);
        type.optional("unit", variable.unit);
        if (variable.min) type.attribute("min", textOf(*variable.min));
        if (variable.max) type.attribute("max", textOf(*variable.max));
        if (variable.start) type.attribute("start", textOf(*variable.start));
        if (variable.derivativeOf > 0) type.attribute("derivative", std::to_string(variable.derivativeOf));
    }

    static void writeRole(XmlWriter::Element& element, Role role) {
        constexpr std::pair<const char*, const char*> forms[] = {
            {"input", ""}, {"output", "calculated"}, {"local", "calculated"}, {"parameter", "exact"}};
        const auto& [causality, initial] = forms[static_cast<std::size_t>(role)];
        element.attribute("causality", causality);
        element.attribute("variability", role == Role::parameter ? "fixed" : "continuous");
        element.optional("initial", initial);
    }

    void writeStructure() {
        auto structure = xml_.element("ModelStructure");
        if (layout_.outputs.empty()) return;
        for (const char* list : {"Outputs", "InitialUnknowns"}) {
            auto unknowns = xml_.element(list);
            for (std::size_t k = 0; k < layout_.variables.size(); ++k)
                if (layout_.variables[k].role == Role::output)
                    xml_.element("Unknown").attribute("index", std::to_string(k + 1));
        }
    }

    const Description& description_;
    const Layout& layout_;
    XmlWriter xml_;
};

void checkRootLine(const Description& description, const std::string& document) {
    const std::size_t start = document.find("<fmiModelDescription");
    const std::size_t length = document.find('\n', start) - start;
    if (length > longestLine)
        fail("there is a mistake:\n{}:{}: description, author, version and license are too long by {} bytes together: "
             "the FMU must find its model's name behind them.",
             description.file.string(), description.line, length - longestLine);
}

} // namespace

std::string textOf(const Value& value) {
    if (const double* real = std::get_if<double>(&value)) return shortest(*real);
    if (const auto* whole = std::get_if<std::int32_t>(&value)) return std::to_string(*whole);
    if (const bool* boolean = std::get_if<bool>(&value)) return truth(*boolean);
    return std::get<std::string>(value);
}

std::string modelDescription(const Description& description, const Layout& layout, const std::string& guid) {
    std::string document = ModelDescriptionWriter(description, layout).write(guid);
    checkRootLine(description, document);
    return document;
}

} // namespace packaging
