#include "demo/solver/value_file.h"

#include <fmt/format.h>
#include <libxml/parser.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>

namespace solver {

namespace {

const xmlChar* xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

/// An attribute that a value file may set.
struct Setting {
    xmlNode* element;
    const char* attribute;
    bool isNumber;
};

bool isNamed(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, xml(name)) != 0;
}

std::map<std::string, Setting> settingsOf(const XmlDocument& model) {
    std::map<std::string, Setting> settings;
    for (xmlNode* element = model.root()->children; element != nullptr; element = element->next) {
        if (isNamed(element, "parameter")) {
            const bool isNumber = parseNumber(attributeText(element, "value")).has_value();
            settings[attributeText(element, "name")] = {element, "value", isNumber};
        } else if (isNamed(element, "input")) {
            for (xmlNode* signal = element->children; signal != nullptr; signal = signal->next)
                if (signal->type == XML_ELEMENT_NODE) settings[attributeText(signal, "name")] = {signal, "start", true};
        }
    }
    return settings;
}

std::string namesOf(const std::map<std::string, Setting>& settings) {
    std::string names;
    for (const auto& [name, setting] : settings) names += (names.empty() ? "" : ", ") + name;
    return names.empty() ? "none" : names;
}

/// Whether XML can hold `text`, by the parser that will read it. Markup is escaped when it is written.
bool isXmlText(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '<' || c == '>' || c == '&'; }, ' ');
    text = "<value>" + text + "</value>";
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        &xmlFreeDoc);
    return document != nullptr;
}

/// One line of a value file.
class ValueLine {
public:
    ValueLine(const std::string& file, int number, const std::string& text)
        : place_(fmt::format("{}:{}", file, number)) {
        const std::size_t comma = text.find(", ");
        if (comma == std::string::npos || comma == 0) fail(fmt::format("'{}' is not of the form 'name, value'", text));
        name_ = text.substr(0, comma);
        value_ = text.substr(comma + 2);
    }

    void apply(const std::map<std::string, Setting>& settings, const std::string& modelPath) const {
        const auto found = settings.find(name_);
        if (found == settings.end())
            fail(fmt::format("'{}' is neither a parameter nor an input of {}; there are: {}", name_, modelPath,
                             namesOf(settings)));
        const Setting& setting = found->second;
        if (setting.isNumber && !parseNumber(value_))
            fail(fmt::format("the value '{}' of '{}' is not a number (write 0.5 with a decimal point)", value_, name_));
        if (!isXmlText(value_))
            fail(fmt::format("XML can't hold the value of '{}': it has control characters or is not UTF-8", name_));
        if (xmlSetProp(setting.element, xml(setting.attribute), xml(value_.c_str())) == nullptr) throw std::bad_alloc();
    }

    const std::string& name() const { return name_; }

    [[noreturn]] void fail(const std::string& message) const {
        throw FileError(fmt::format("{}: {}", place_, message));
    }

private:
    std::string place_;
    std::string name_;
    std::string value_;
};

} // namespace

void applyValueFile(const std::string& valueFile, const XmlDocument& model) {
    const std::string content = readFile(valueFile);
    const std::map<std::string, Setting> settings = settingsOf(model);
    std::set<std::string> seen;

    int number = 0;
    for (std::size_t begin = 0; begin < content.size();) {
        const std::size_t end = std::min(content.find('\n', begin), content.size());
        const ValueLine line(valueFile, ++number, content.substr(begin, end - begin));
        if (!seen.insert(line.name()).second) line.fail(fmt::format("'{}' is set a second time", line.name()));
        line.apply(settings, model.path());
        begin = end + 1;
    }
}

} // namespace solver
