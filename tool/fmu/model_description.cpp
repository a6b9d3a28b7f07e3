#include "tool/fmu/model_description.h"

#include <algorithm>
#include <array>

namespace tool {

namespace {

/// The type of a variable, by the element that it has for its values.
std::optional<Type> typeOfElement(const XmlElement& value) {
    if (value.name == "Enumeration") return Type::integer;
    const auto type = std::ranges::find(typeNames, value.name, &TypeName::element);
    return type != typeNames.end() ? std::optional(static_cast<Type>(type - typeNames.begin())) : std::nullopt;
}

template <typename Enumeration, std::size_t size>
Enumeration choice(const XmlElement& element, std::string_view attribute,
                   const std::array<std::string_view, size>& names, Enumeration otherwise) {
    const XmlAttribute* found = element.find(attribute);
    if (found == nullptr) return otherwise;
    const auto name = std::ranges::find(names, found->value);
    return name != names.end() ? static_cast<Enumeration>(name - names.begin()) : otherwise;
}

/// Which values of `initial` go with a causality and a variability; the first is the default. This is FMI 2.0's table.
struct Combination {
    Causality causality;
    std::vector<Variability> variabilities;
    std::vector<Initial> initials;
};

const std::vector<Combination>& combinations() {
    using enum Causality;
    using enum Variability;
    using enum Initial;
    static const std::vector<Combination> table{
        {parameter, {fixed, tunable}, {exact}},
        {calculatedParameter, {fixed, tunable}, {calculated, approx}},
        {input, {discrete, continuous}, {none}},
        {output, {constant}, {exact}},
        {output, {discrete, continuous}, {calculated, exact, approx}},
        {local, {constant}, {exact}},
        {local, {fixed, tunable}, {calculated, approx}},
        {local, {discrete, continuous}, {calculated, exact, approx}},
        {independent, {continuous}, {none}},
    };
    return table;
}

/// Settles what `initial` is and whether the combination is allowed.
void combine(DescribedVariable& variable) {
    const auto found = std::ranges::find_if(combinations(), [&variable](const Combination& row) {
        return row.causality == variable.causality && std::ranges::count(row.variabilities, variable.variability) > 0;
    });
    const Initial written = choice(*variable.element, "initial", initialNames, Initial::none);
    variable.initial = written;
    variable.isCombinationAllowed = found != combinations().end();
    if (!variable.isCombinationAllowed) return;

    const Initial usual = found->initials.front();
    if (written == Initial::none || usual == Initial::none)
        variable.initial = usual;
    else
        variable.isCombinationAllowed = std::ranges::count(found->initials, written) > 0;
}

/// One without an element for its type keeps its place, so that indices stay right.
DescribedVariable readVariable(const XmlElement& element, const ModelDescription& description) {
    static const XmlElement untyped;
    DescribedVariable variable;
    variable.value = &untyped;
    for (const XmlElement& child : element.children) {
        const std::optional<Type> type = typeOfElement(child);
        if (!type) continue;
        variable.value = &child;
        variable.type = *type;
        break;
    }
    variable.element = &element;
    variable.name = textAttribute(element, "name");
    variable.reference = naturalAttribute(element, "valueReference");
    variable.causality = choice(element, "causality", causalityNames, Causality::local);
    variable.variability = choice(element, "variability", variabilityNames, Variability::continuous);
    const auto declared = description.types.find(textAttribute(*variable.value, "declaredType"));
    if (declared != description.types.end()) variable.declaredType = declared->second->child(variable.value->name);
    combine(variable);
    return variable;
}

} // namespace

std::optional<double> realAttribute(const XmlElement& element, std::string_view name) {
    const XmlAttribute* attribute = element.find(name);
    return attribute != nullptr ? realOf(attribute->value) : std::nullopt;
}

std::optional<std::uint32_t> naturalAttribute(const XmlElement& element, std::string_view name) {
    const XmlAttribute* attribute = element.find(name);
    return attribute != nullptr ? naturalOf(attribute->value) : std::nullopt;
}

std::string_view textAttribute(const XmlElement& element, std::string_view name, std::string_view otherwise) {
    const XmlAttribute* attribute = element.find(name);
    return attribute != nullptr ? std::string_view(attribute->value) : otherwise;
}

const XmlAttribute* DescribedVariable::attribute(std::string_view attributeName) const {
    const XmlAttribute* own = value->find(attributeName);
    return own != nullptr || declaredType == nullptr ? own : declaredType->find(attributeName);
}

std::optional<double> DescribedVariable::real(std::string_view attributeName) const {
    const XmlAttribute* found = attribute(attributeName);
    return found != nullptr ? realOf(found->value) : std::nullopt;
}

const DescribedVariable* ModelDescription::at(std::optional<std::uint32_t> index) const {
    return index && *index >= 1 && *index <= variables.size() ? &variables[*index - 1] : nullptr;
}

const std::vector<XmlElement>& ModelDescription::childrenOf(std::string_view child) const {
    static const std::vector<XmlElement> none;
    const XmlElement* parent = root->child(child);
    return parent != nullptr ? parent->children : none;
}

ModelDescription readModelDescription(const XmlElement& root) {
    ModelDescription description;
    description.root = &root;
    description.coSimulation = root.child("CoSimulation");
    const std::vector<XmlElement>& elements = description.childrenOf("ModelVariables");
    description.variables.reserve(elements.size());
    for (const XmlElement& type : description.childrenOf("TypeDefinitions"))
        description.types.emplace(textAttribute(type, "name"), &type);
    for (const XmlElement& element : elements)
        if (element.name == "ScalarVariable") description.variables.push_back(readVariable(element, description));
    return description;
}

} // namespace tool
