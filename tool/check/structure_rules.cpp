#include <algorithm>
#include <iterator>
#include <set>

#include "tool/check/rules.h"

namespace tool {

namespace {

using Set = std::set<const DescribedVariable*>; // the variables are in one vector: their addresses are in the order of
                                                // their indices

constexpr std::size_t namedInASentence = 5;

std::string namesOf(const std::vector<const DescribedVariable*>& variables) {
    std::string text;
    for (std::size_t i = 0; i < std::min(variables.size(), namedInASentence); ++i)
        text += (i > 0 ? ", " : "") + inQuotes(variables[i]->name);
    if (variables.size() > namedInASentence) text += fmt::format(" and {} more", variables.size() - namedInASentence);
    return text;
}

bool isCalculated(const DescribedVariable& variable) {
    return variable.initial == Initial::calculated || variable.initial == Initial::approx;
}

class StructureCheck {
public:
    StructureCheck(const ModelDescription& description, Report& report) : description_(description), report_(report) {
        structure_ = description.root->child("ModelStructure");
    }

    void check() {
        if (structure_ == nullptr) return;
        const std::vector<const DescribedVariable*> outputs = read("Outputs", false);
        const std::vector<const DescribedVariable*> derivatives = read("Derivatives", false);
        const std::vector<const DescribedVariable*> unknowns = read("InitialUnknowns", true);
        checkDerivatives(derivatives);
        if (!isReadable_) return;
        compare("outputs-set", "Outputs", outputs, expectedOutputs());
        compare("initial-unknowns-set", "InitialUnknowns", unknowns, expectedUnknowns(derivatives));
    }

private:
    /// The variables of a list. Reports indices and dependencies of variables that do not exist.
    std::vector<const DescribedVariable*> read(std::string_view list, bool isAscending) {
        std::vector<const DescribedVariable*> variables;
        const XmlElement* parent = structure_->child(list);
        if (parent == nullptr) return variables;
        Set seen;
        for (const XmlElement& unknown : parent->children) {
            const Place place{descriptionFile, unknown.line};
            const auto index = naturalAttribute(unknown, "index");
            const DescribedVariable* variable = description_.at(index);
            checkDependencies(unknown);
            if (variable == nullptr) {
                isReadable_ = false;
                if (index)
                    report_.add("unknown-index", place, "{} lists variable {}, which does not exist.", list, *index);
                continue;
            }
            if (!seen.insert(variable).second)
                report_.add("unknown-order", place, "{} lists variable {} twice.", list, *index);
            else if (isAscending && !variables.empty() && variable < variables.back())
                report_.add("unknown-order", place, "{} lists variable {} after a later one.", list, *index);
            variables.push_back(variable);
        }
        return variables;
    }

    void checkDependencies(const XmlElement& unknown) {
        const XmlAttribute* dependencies = unknown.find("dependencies");
        const XmlAttribute* kinds = unknown.find("dependenciesKind");
        const auto words = wordsOf(textAttribute(unknown, "dependencies"));
        if (kinds != nullptr && (dependencies == nullptr || words.size() != wordsOf(kinds->value).size()))
            report_.add("unknown-dependencies", {descriptionFile, kinds->line},
                        "dependenciesKind and dependencies differ in their number of entries.");
        for (const std::string_view word : words)
            if (const auto index = naturalOf(word); index && description_.at(index) == nullptr)
                report_.add("unknown-dependencies", {descriptionFile, dependencies->line},
                            "dependencies names variable {}, which does not exist.", *index);
    }

    void checkDerivatives(const std::vector<const DescribedVariable*>& derivatives) {
        for (const DescribedVariable* variable : derivatives)
            if (variable->value->find("derivative") == nullptr)
                report_.add("state-derivative", {descriptionFile, variable->line()}, "{} has no attribute derivative.",
                            inQuotes(variable->name));
    }

    Set expectedOutputs() const {
        Set expected;
        for (const DescribedVariable& variable : description_.variables)
            if (variable.causality == Causality::output) expected.insert(&variable);
        return expected;
    }

    Set expectedUnknowns(const std::vector<const DescribedVariable*>& derivatives) const {
        Set expected;
        for (const DescribedVariable& variable : description_.variables)
            if ((variable.causality == Causality::output && isCalculated(variable)) ||
                variable.causality == Causality::calculatedParameter)
                expected.insert(&variable);
        for (const DescribedVariable* derivative : derivatives) {
            const DescribedVariable* state = description_.at(naturalAttribute(*derivative->value, "derivative"));
            if (state != nullptr && isCalculated(*state)) expected.insert(state);
            if (isCalculated(*derivative)) expected.insert(derivative);
        }
        return expected;
    }

    void compare(RuleName rule, std::string_view list, const std::vector<const DescribedVariable*>& listed,
                 const Set& expected) {
        const Set actual(listed.begin(), listed.end());
        std::vector<const DescribedVariable*> missing, superfluous;
        std::ranges::set_difference(expected, actual, std::back_inserter(missing));
        std::ranges::set_difference(actual, expected, std::back_inserter(superfluous));
        const XmlElement* parent = structure_->child(list);
        const Place place{descriptionFile, (parent != nullptr ? parent : structure_)->line};
        if (!missing.empty()) report_.add(rule, place, "{} does not list {}.", list, namesOf(missing));
        if (!superfluous.empty()) report_.add(rule, place, "{} must not list {}.", list, namesOf(superfluous));
    }

    const ModelDescription& description_;
    Report& report_;
    const XmlElement* structure_ = nullptr;
    bool isReadable_ = true;
};

} // namespace

void checkStructure(const ModelDescription& description, Report& report) {
    StructureCheck(description, report).check();
}

} // namespace tool
