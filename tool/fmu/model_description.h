// What modelDescription.xml says, as far as it can be read: plain structs, each with its place in the file.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "tool/fmu/numbers.h"
#include "tool/fmu/variable.h"
#include "tool/fmu/xml_document.h"

namespace tool {

/// A variable with its elements.
struct DescribedVariable : Variable {
    const XmlElement* element = nullptr;      ///< ScalarVariable
    const XmlElement* value = nullptr;        ///< Real, Integer, ...
    const XmlElement* declaredType = nullptr; ///< the same of its declared type; null without one
    bool isCombinationAllowed = true;         ///< of causality, variability and initial

    int line() const { return element->line; }
    /// False without an element for its type; that is reported once, and `type` means nothing then.
    bool isTyped() const { return !value->name.empty(); }
    const XmlAttribute* start() const { return value->find("start"); }
    /// Its own attribute or its declared type's; null when neither has it.
    const XmlAttribute* attribute(std::string_view attributeName) const;
    std::optional<double> real(std::string_view attributeName) const;
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
    std::vector<DescribedVariable> variables;            ///< in order; index 1 of the standard is the first

    /// The variable of an index of the standard, from 1; null when there is none.
    const DescribedVariable* at(std::optional<std::uint32_t> index) const;
    /// The elements below a child of the root, and none when it is missing.
    const std::vector<XmlElement>& childrenOf(std::string_view child) const;
};

/// Reads a root element fmiModelDescription. What is not as the schema says is left out or replaced by its default.
ModelDescription readModelDescription(const XmlElement& root);

} // namespace tool
