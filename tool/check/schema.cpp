#include "tool/check/schema.h"

#include <algorithm>
#include <span>
#include <vector>

#include "tool/fmu/numbers.h"

namespace tool {

namespace {

enum class Kind { text, boolean, real, integer, natural, date, oneOf, naturals, severalOf };

struct AttributeForm {
    std::string_view name;
    Kind kind = Kind::text;
    bool isRequired = false;
    std::string_view choices = {}; ///< separated by spaces, for oneOf and severalOf
};

struct ElementForm;

/// A child. Children of the same place exclude each other, unless there may be many.
struct ChildForm {
    std::string_view name;
    const ElementForm* form;
    int place = 0;
    bool isRequired = false;
    bool isMany = false;
};

struct ElementForm {
    std::span<const AttributeForm> attributes = {};
    std::span<const ChildForm> children = {};
    bool isOpen = false; ///< anything may be in it
};

constexpr bool required = true;
constexpr bool many = true;

// Innermost elements first.
constexpr ElementForm nothing;
constexpr AttributeForm toolAttributes[] = {{"name", Kind::text, required}};
constexpr ElementForm tool{toolAttributes, {}, true};
constexpr ChildForm annotationsChildren[] = {{"Tool", &tool, 1, required, many}};
constexpr ElementForm annotations{{}, annotationsChildren};

constexpr AttributeForm fileAttributes[] = {{"name", Kind::text, required}};
constexpr ElementForm sourceFile{fileAttributes};
constexpr ChildForm sourceFilesChildren[] = {{"File", &sourceFile, 1, required, many}};
constexpr ElementForm sourceFiles{{}, sourceFilesChildren};
constexpr ChildForm interfaceChildren[] = {{"SourceFiles", &sourceFiles, 1}};

constexpr AttributeForm modelExchangeAttributes[] = {{"modelIdentifier", Kind::text, required},
                                                     {"needsExecutionTool", Kind::boolean},
                                                     {"completedIntegratorStepNotNeeded", Kind::boolean},
                                                     {"canBeInstantiatedOnlyOncePerProcess", Kind::boolean},
                                                     {"canNotUseMemoryManagementFunctions", Kind::boolean},
                                                     {"canGetAndSetFMUstate", Kind::boolean},
                                                     {"canSerializeFMUstate", Kind::boolean},
                                                     {"providesDirectionalDerivative", Kind::boolean}};
constexpr ElementForm modelExchange{modelExchangeAttributes, interfaceChildren};

constexpr AttributeForm coSimulationAttributes[] = {{"modelIdentifier", Kind::text, required},
                                                    {"needsExecutionTool", Kind::boolean},
                                                    {"canHandleVariableCommunicationStepSize", Kind::boolean},
                                                    {"canInterpolateInputs", Kind::boolean},
                                                    {"maxOutputDerivativeOrder", Kind::natural},
                                                    {"canRunAsynchronuously", Kind::boolean},
                                                    {"canBeInstantiatedOnlyOncePerProcess", Kind::boolean},
                                                    {"canNotUseMemoryManagementFunctions", Kind::boolean},
                                                    {"canGetAndSetFMUstate", Kind::boolean},
                                                    {"canSerializeFMUstate", Kind::boolean},
                                                    {"providesDirectionalDerivative", Kind::boolean}};
constexpr ElementForm coSimulation{coSimulationAttributes, interfaceChildren};

constexpr AttributeForm baseUnitAttributes[] = {{"kg", Kind::integer}, {"m", Kind::integer},   {"s", Kind::integer},
                                                {"A", Kind::integer},  {"K", Kind::integer},   {"mol", Kind::integer},
                                                {"cd", Kind::integer}, {"rad", Kind::integer}, {"factor", Kind::real},
                                                {"offset", Kind::real}};
constexpr ElementForm baseUnit{baseUnitAttributes};
constexpr AttributeForm displayUnitAttributes[] = {
    {"name", Kind::text, required}, {"factor", Kind::real}, {"offset", Kind::real}};
constexpr ElementForm displayUnit{displayUnitAttributes};
constexpr AttributeForm unitAttributes[] = {{"name", Kind::text, required}};
constexpr ChildForm unitChildren[] = {{"BaseUnit", &baseUnit, 1}, {"DisplayUnit", &displayUnit, 2, false, many}};
constexpr ElementForm unit{unitAttributes, unitChildren};
constexpr ChildForm unitsChildren[] = {{"Unit", &unit, 1, required, many}};
constexpr ElementForm units{{}, unitsChildren};

constexpr AttributeForm realTypeAttributes[] = {{"quantity"},
                                                {"unit"},
                                                {"displayUnit"},
                                                {"relativeQuantity", Kind::boolean},
                                                {"min", Kind::real},
                                                {"max", Kind::real},
                                                {"nominal", Kind::real},
                                                {"unbounded", Kind::boolean}};
constexpr ElementForm realType{realTypeAttributes};
constexpr AttributeForm integerTypeAttributes[] = {{"quantity"}, {"min", Kind::integer}, {"max", Kind::integer}};
constexpr ElementForm integerType{integerTypeAttributes};
constexpr AttributeForm itemAttributes[] = {
    {"name", Kind::text, required}, {"value", Kind::integer, required}, {"description"}};
constexpr ElementForm item{itemAttributes};
constexpr AttributeForm enumerationTypeAttributes[] = {{"quantity"}};
constexpr ChildForm enumerationTypeChildren[] = {{"Item", &item, 1, required, many}};
constexpr ElementForm enumerationType{enumerationTypeAttributes, enumerationTypeChildren};
constexpr AttributeForm simpleTypeAttributes[] = {{"name", Kind::text, required}, {"description"}};
constexpr ChildForm simpleTypeChildren[] = {{"Real", &realType, 1, required},
                                            {"Integer", &integerType, 1, required},
                                            {"Boolean", &nothing, 1, required},
                                            {"String", &nothing, 1, required},
                                            {"Enumeration", &enumerationType, 1, required}};
constexpr ElementForm simpleType{simpleTypeAttributes, simpleTypeChildren};
constexpr ChildForm typesChildren[] = {{"SimpleType", &simpleType, 1, required, many}};
constexpr ElementForm types{{}, typesChildren};

constexpr AttributeForm categoryAttributes[] = {{"name", Kind::text, required}, {"description"}};
constexpr ElementForm category{categoryAttributes};
constexpr ChildForm categoriesChildren[] = {{"Category", &category, 1, required, many}};
constexpr ElementForm categories{{}, categoriesChildren};
constexpr AttributeForm experimentAttributes[] = {
    {"startTime", Kind::real}, {"stopTime", Kind::real}, {"tolerance", Kind::real}, {"stepSize", Kind::real}};
constexpr ElementForm experiment{experimentAttributes};

constexpr AttributeForm realAttributes[] = {{"declaredType"},
                                            {"quantity"},
                                            {"unit"},
                                            {"displayUnit"},
                                            {"relativeQuantity", Kind::boolean},
                                            {"min", Kind::real},
                                            {"max", Kind::real},
                                            {"nominal", Kind::real},
                                            {"unbounded", Kind::boolean},
                                            {"start", Kind::real},
                                            {"derivative", Kind::natural},
                                            {"reinit", Kind::boolean}};
constexpr ElementForm real{realAttributes};
constexpr AttributeForm integerAttributes[] = {
    {"declaredType"}, {"quantity"}, {"min", Kind::integer}, {"max", Kind::integer}, {"start", Kind::integer}};
constexpr ElementForm integer{integerAttributes};
constexpr AttributeForm booleanAttributes[] = {{"declaredType"}, {"start", Kind::boolean}};
constexpr ElementForm boolean{booleanAttributes};
constexpr AttributeForm stringAttributes[] = {{"declaredType"}, {"start"}};
constexpr ElementForm string{stringAttributes};
constexpr AttributeForm enumerationAttributes[] = {{"declaredType", Kind::text, required},
                                                   {"quantity"},
                                                   {"min", Kind::integer},
                                                   {"max", Kind::integer},
                                                   {"start", Kind::integer}};
constexpr ElementForm enumeration{enumerationAttributes};
constexpr AttributeForm variableAttributes[] = {
    {"name", Kind::text, required},
    {"valueReference", Kind::natural, required},
    {"description"},
    {"causality", Kind::oneOf, false, "parameter calculatedParameter input output local independent"},
    {"variability", Kind::oneOf, false, "constant fixed tunable discrete continuous"},
    {"initial", Kind::oneOf, false, "exact approx calculated"},
    {"canHandleMultipleSetPerTimeInstant", Kind::boolean}};
constexpr ChildForm variableChildren[] = {
    {"Real", &real, 1, required},     {"Integer", &integer, 1, required},         {"Boolean", &boolean, 1, required},
    {"String", &string, 1, required}, {"Enumeration", &enumeration, 1, required}, {"Annotations", &annotations, 2}};
constexpr ElementForm variable{variableAttributes, variableChildren};
constexpr ChildForm variablesChildren[] = {{"ScalarVariable", &variable, 1, required, many}};
constexpr ElementForm variables{{}, variablesChildren};

constexpr AttributeForm unknownAttributes[] = {
    {"index", Kind::natural, required},
    {"dependencies", Kind::naturals},
    {"dependenciesKind", Kind::severalOf, false, "dependent constant fixed tunable discrete"}};
constexpr ElementForm unknown{unknownAttributes};
constexpr ChildForm unknownsChildren[] = {{"Unknown", &unknown, 1, required, many}};
constexpr ElementForm unknowns{{}, unknownsChildren};
constexpr ChildForm structureChildren[] = {
    {"Outputs", &unknowns, 1}, {"Derivatives", &unknowns, 2}, {"InitialUnknowns", &unknowns, 3}};
constexpr ElementForm structure{{}, structureChildren};

constexpr AttributeForm rootAttributes[] = {{"fmiVersion", Kind::text, required},
                                            {"modelName", Kind::text, required},
                                            {"guid", Kind::text, required},
                                            {"description"},
                                            {"author"},
                                            {"version"},
                                            {"copyright"},
                                            {"license"},
                                            {"generationTool"},
                                            {"generationDateAndTime", Kind::date},
                                            {"variableNamingConvention", Kind::oneOf, false, "flat structured"},
                                            {"numberOfEventIndicators", Kind::natural}};
// Both kinds of interface may come in either order; that there must be one is another rule.
constexpr ChildForm rootChildren[] = {{"ModelExchange", &modelExchange, 1, false, many},
                                      {"CoSimulation", &coSimulation, 1, false, many},
                                      {"UnitDefinitions", &units, 2},
                                      {"TypeDefinitions", &types, 3},
                                      {"LogCategories", &categories, 4},
                                      {"DefaultExperiment", &experiment, 5},
                                      {"VendorAnnotations", &annotations, 6},
                                      {"ModelVariables", &variables, 7, required},
                                      {"ModelStructure", &structure, 8, required}};
constexpr ElementForm description{rootAttributes, rootChildren};

bool isOneOf(std::string_view choices, std::string_view value) {
    return std::ranges::count(wordsOf(choices), value) > 0;
}

/// What a value should be, for a sentence; empty when it is fine.
std::string_view complaint(const AttributeForm& form, std::string_view value) {
    const auto words = [value] { return wordsOf(value); };
    switch (form.kind) {
    case Kind::text:
        return "";
    case Kind::boolean:
        return booleanOf(value) ? "" : "true or false";
    case Kind::real:
        return realOf(value) ? "" : "a number";
    case Kind::integer:
        return integerOf(value) ? "" : "a whole number of 32 bits";
    case Kind::natural:
        return naturalOf(value) ? "" : "a whole number from 0 to 4294967295";
    case Kind::date:
        return isDateAndTime(value) ? "" : "a date and time such as 2024-05-31T12:00:00Z";
    case Kind::oneOf:
        return isOneOf(form.choices, value) ? "" : form.choices;
    case Kind::naturals:
        return std::ranges::all_of(words(), [](auto word) { return naturalOf(word).has_value(); }) ? ""
                                                                                                   : "whole numbers";
    case Kind::severalOf:
        return std::ranges::all_of(words(), [&form](auto word) { return isOneOf(form.choices, word); }) ? ""
                                                                                                        : form.choices;
    }
    return "";
}

class SchemaCheck {
public:
    SchemaCheck(const std::string& file, Report& report) : file_(file), report_(report) {}

    /// Recursion is bounded by the depth that the XML reader allows.
    void check(const XmlElement& element, const ElementForm& form) {
        if (form.isOpen) return;
        checkAttributes(element, form);
        checkChildren(element, form);
    }

private:
    void checkAttributes(const XmlElement& element, const ElementForm& form) {
        for (const XmlAttribute& attribute : element.attributes) {
            const auto known = std::ranges::find(form.attributes, attribute.name, &AttributeForm::name);
            if (known == form.attributes.end()) {
                report_.add("schema-attribute", {file_, attribute.line}, "{} has no attribute {}.", element.name,
                            inQuotes(attribute.name));
            } else if (const std::string_view expected = complaint(*known, attribute.value); !expected.empty()) {
                report_.add("attribute-value", {file_, attribute.line}, "The attribute {} of {} is {}; allowed: {}.",
                            attribute.name, element.name, inQuotes(attribute.value), expected);
            }
        }
        for (const AttributeForm& attribute : form.attributes)
            if (attribute.isRequired && element.find(attribute.name) == nullptr)
                report_.add("attribute-missing", {file_, element.line}, "{} needs the attribute {}.", element.name,
                            attribute.name);
    }

    void checkChildren(const XmlElement& element, const ElementForm& form) {
        int last = 0;
        for (const XmlElement& child : element.children) {
            const auto known = std::ranges::find(form.children, child.name, &ChildForm::name);
            const Place place{file_, child.line};
            if (known == form.children.end()) {
                report_.add("schema-element", place, "{} is not allowed in {}.", inQuotes(child.name), element.name);
                continue;
            }
            if (known->place < last)
                report_.add("schema-element", place, "{} comes too late in {}.", child.name, element.name);
            else if (known->place == last && !known->isMany)
                report_.add("schema-element", place, "There is more than one {} in {}.", child.name, element.name);
            last = std::max(last, known->place);
            check(child, *known->form);
        }
        checkRequired(element, form);
    }

    /// Of the children of a place one is enough.
    void checkRequired(const XmlElement& element, const ElementForm& form) {
        for (const ChildForm& child : form.children) {
            const auto isThere = [&](const ChildForm& other) {
                return other.place == child.place && element.child(other.name) != nullptr;
            };
            if (!child.isRequired || std::ranges::any_of(form.children, isThere)) continue;
            report_.add("schema-element", {file_, element.line}, "{} needs an element such as {}.", element.name,
                        child.name);
            return;
        }
    }

    const std::string& file_;
    Report& report_;
};

} // namespace

void checkSchema(const XmlElement& root, const std::string& file, Report& report) {
    SchemaCheck(file, report).check(root, description);
}

} // namespace tool
