#include "demo/solver/xml_document.h"

#include <fmt/format.h>
#include <libxml/parser.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace solver {

namespace {

using XmlString = std::unique_ptr<xmlChar, decltype([](xmlChar* string) { xmlFree(string); })>;

std::string plain(const xmlChar* text) { return text != nullptr ? reinterpret_cast<const char*>(text) : ""; }

/// The parser's own message without its line feed.
std::string parserMessage(xmlParserCtxt* context, int& line) {
    const xmlError* error = xmlCtxtGetLastError(context);
    line = error != nullptr ? error->line : 0;
    std::string message = error != nullptr && error->message != nullptr ? error->message : "unknown reason";
    while (!message.empty() && message.back() == '\n') message.pop_back();
    return message;
}

} // namespace

std::string attributeText(xmlNode* element, const char* attribute) {
    const XmlString text(xmlGetNoNsProp(element, xml(attribute)));
    return plain(text.get());
}

std::optional<double> parseNumber(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string readFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) throw FileError(fmt::format("{}: can't be read: {}", path, std::strerror(errno)));

    std::string content;
    char block[4096];
    for (std::size_t length; (length = std::fread(block, 1, sizeof block, file.get())) > 0;)
        content.append(block, length);
    if (std::ferror(file.get())) throw FileError(fmt::format("{}: can't be read: {}", path, std::strerror(errno)));
    return content;
}

XmlDocument::XmlDocument(const std::string& path) : path_(path) {
    static std::once_flag initialized; // the parser's own first use isn't safe on several threads
    std::call_once(initialized, &xmlInitParser);

    const std::string content = readFile(path);
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> context(xmlNewParserCtxt(), &xmlFreeParserCtxt);
    if (!context) throw std::bad_alloc();

    // Without the two flags the parser writes its errors to the standard error stream.
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    document_.reset(xmlCtxtReadMemory(context.get(), content.data(), static_cast<int>(content.size()), path.c_str(),
                                      nullptr, options));
    if (!document_ || root() == nullptr) {
        int line = 0;
        const std::string message = parserMessage(context.get(), line);
        throw FileError(fmt::format("{}:{}: not well-formed XML: {}", path, line, message));
    }
}

std::string XmlDocument::text() const {
    xmlChar* buffer = nullptr;
    int length = 0;
    xmlDocDumpMemoryEnc(document_.get(), &buffer, &length, "UTF-8");
    if (buffer == nullptr) throw std::bad_alloc();
    const XmlString owner(buffer);
    return {reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length)};
}

std::string XmlDocument::resolve(const std::string& text) const {
    if (text.size() < 3 || text.compare(0, 2, "${") != 0 || text.find('}') != text.size() - 1) return text;
    const std::string name = text.substr(2, text.size() - 3);
    const auto parameter = parameters_.find(name);
    if (parameter == parameters_.end())
        throw std::invalid_argument(fmt::format("there is no parameter '{}' above", name));
    return parameter->second;
}

double XmlDocument::factor(std::string_view text) const {
    const std::string value = resolve(std::string(text));
    if (const std::optional<double> number = parseNumber(value)) return *number;
    throw std::invalid_argument(
        fmt::format("'{}' is not a number (write 0.5 with a decimal point, and parameters as ${{name}})", value));
}

double XmlDocument::evaluate(std::string_view expression) const {
    const bool negative = expression.substr(0, 1) == "-";
    if (negative) expression.remove_prefix(1);

    double result = negative ? -1 : 1;
    for (char operation = '*'; operation != '\0';) {
        const std::size_t end = expression.find_first_of("*/");
        const double value = factor(expression.substr(0, end));
        result = operation == '*' ? result * value : result / value;
        operation = end == std::string_view::npos ? '\0' : expression[end];
        if (operation != '\0') expression.remove_prefix(end + 1);
    }
    if (!std::isfinite(result)) throw std::invalid_argument("the value is not finite");
    return result;
}

std::string XmlElement::name() const { return plain(node_->name); }

std::vector<XmlElement> XmlElement::children() const {
    std::vector<XmlElement> result;
    for (xmlNode* child = node_->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE)
            result.emplace_back(*document_, child);
        else if (child->type != XML_COMMENT_NODE && !xmlIsBlankNode(child))
            fail(fmt::format("<{}> contains text, but only elements and comments are allowed", name()));
    }
    return result;
}

bool XmlElement::has(const char* attribute) const { return xmlHasProp(node_, xml(attribute)) != nullptr; }

std::string XmlElement::text(const char* attribute, const std::optional<std::string>& fallback) {
    asked_.insert(attribute);
    if (!has(attribute)) {
        if (fallback) return *fallback;
        fail(fmt::format("<{}> needs the attribute '{}'", name(), attribute));
    }
    try {
        return document_->resolve(attributeText(node_, attribute));
    } catch (const std::invalid_argument& error) {
        fail(fmt::format("{}: {}", attribute, error.what()));
    }
}

std::vector<double> XmlElement::numbers(const char* attribute, const std::vector<std::size_t>& counts, bool required) {
    asked_.insert(attribute);
    if (!has(attribute) && !required) return std::vector<double>(counts.front(), 0.0);

    std::vector<double> result;
    const std::string all = text(attribute);
    try {
        constexpr const char* spaces = " \t\r\n";
        for (std::size_t begin = all.find_first_not_of(spaces); begin != std::string::npos;) {
            const std::size_t end = std::min(all.find_first_of(spaces, begin), all.size());
            result.push_back(document_->evaluate(std::string_view(all).substr(begin, end - begin)));
            begin = all.find_first_not_of(spaces, end);
        }
    } catch (const std::invalid_argument& error) {
        fail(fmt::format("{}: {}", attribute, error.what()));
    }
    if (std::find(counts.begin(), counts.end(), result.size()) == counts.end())
        fail(fmt::format("{}: '{}' has {} numbers instead of {}", attribute, all, result.size(),
                         fmt::join(counts, " or ")));
    return result;
}

double XmlElement::number(const char* attribute, std::optional<double> fallback) {
    asked_.insert(attribute);
    return fallback && !has(attribute) ? *fallback : numbers(attribute, {1}, true).front();
}

double XmlElement::notNegative(const char* attribute, std::optional<double> fallback) {
    const double value = number(attribute, fallback);
    if (value < 0) fail(fmt::format("{}: {} is negative", attribute, value));
    return value;
}

std::array<double, 3> XmlElement::vector(const char* attribute, bool required) {
    const std::vector<double> values = numbers(attribute, {3}, required);
    return {values[0], values[1], values[2]};
}

void XmlElement::finish() const {
    for (const xmlAttr* attribute = node_->properties; attribute != nullptr; attribute = attribute->next) {
        const std::string found = plain(attribute->name);
        if (asked_.count(found) == 0)
            fail(fmt::format("<{}> has no attribute '{}', only {}", name(), found, fmt::join(asked_, ", ")));
    }
}

void XmlElement::finishLeaf() const {
    finish();
    const std::vector<XmlElement> inner = children();
    if (!inner.empty()) inner.front().fail(fmt::format("<{}> is not allowed in <{}>", inner.front().name(), name()));
}

std::string XmlElement::place() const { return fmt::format("{}:{}", document_->path(), xmlGetLineNo(node_)); }

void XmlElement::fail(const std::string& message) const { throw FileError(fmt::format("{}: {}", place(), message)); }

} // namespace solver
