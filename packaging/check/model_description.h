// What modelDescription.xml says, as far as it can be read: plain structs, each with its place in the file.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "packaging/check/values.h"
#include "packaging/check/xml_document.h"

namespace packaging::checking {

enum class Type { real, integer, boolean, string };
inline constexpr std::string_view typeNames[] = {"real", "integer", "boolean", "string"};

enum class Causality { parameter, calculatedParameter, input, output, local, independent };
enum class Variability { constant, fixed, tunable, discrete, continuous };
enum class Initial { none, exact, approx, calculated };

struct Variable {
    const XmlElement* element = nullptr; ///< ScalarVariable
    const XmlElement* value = nullptr;   ///< Real, Integer, ...
    const XmlElement* type = nullptr;    ///< the same of its declared type; null without one
    std::string_view name;
    Type kind = Type::real; ///< of its value reference: enumerations count as integers
    std::optional<std::uint32_t> reference;
    Causality causality = Causality::local;
    Variability variability = Variability::continuous;
    Initial initial = Initial::none; ///< as it counts: the default where nothing is written
    bool isCombinationAllowed = true;

    int line() const { return element->line; }
    /// False without an element for its type; that is told once, and `kind` means nothing then.
    bool isTyped() const { return !value->name.empty(); }
    const XmlAttribute* start() const { return value->find("start"); }
    /// Its own attribute or its declared type's; null when neither has it.
    const XmlAttribute* attribute(std::string_view attributeName) const;
    std::optional<double> real(std::string_view attributeName) const;
    /// A master may set it before the run, and it has a place in the value file.
    bool isSettable() const { return causality == Causality::parameter || causality == Causality::input; }
};

/// The attribute of an element as a real; nothing when it is missing or no number.
std::optional<double> realAttribute(const XmlElement& element, std::string_view name);
/// The attribute of an element as a whole number; nothing when it is missing or none.
std::optional<std::uint32_t> naturalAttribute(const XmlElement& element, std::string_view name);
/// The attribute's text, or the given one.
std::string_view textAttribute(const XmlElement& element, std::string_view name, std::string_view otherwise = "");

/// Views into the XML document, which must outlive it.
struct ModelDescription {
    const XmlElement* root = nullptr;
    const XmlElement* coSimulation = nullptr;            ///< or null
    std::map<std::string_view, const XmlElement*> types; ///< elements SimpleType by their names
    std::vector<Variable> variables;                     ///< in order; index 1 of the standard is the first

    /// The variable of an index of the standard, from 1; null when there is none.
    const Variable* at(std::optional<std::uint32_t> index) const;
    /// The elements below a child of the root, and none when it is missing.
    const std::vector<XmlElement>& childrenOf(std::string_view child) const;
};

/// Reads a root element fmiModelDescription. What isn't as the schema says is left out or replaced by its default.
ModelDescription readModelDescription(const XmlElement& root);

} // namespace packaging::checking
