#include "tool/fmu/xml_document.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include <strings.h>

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include "tool/os/interruption.h"
#include "tool/os/text.h"

namespace tool {

namespace {

using Context = std::unique_ptr<xmlParserCtxt, decltype([](xmlParserCtxt* context) { xmlFreeParserCtxt(context); })>;

const char* plain(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

int lineFeeds(const xmlChar* begin, const xmlChar* end) { return static_cast<int>(std::count(begin, end, '\n')); }

/// The parser compares each attribute of an element with all before it: there is a bound for these comparisons.
bool hasTooManyAttributes(std::string_view text) {
    constexpr std::size_t most = 1'000'000'000;
    std::size_t comparisons = 0;
    while (!text.empty() && comparisons < most) {
        const std::string_view tag = text.substr(0, text.find('<', 1));
        const auto attributes = static_cast<std::size_t>(std::ranges::count(tag, '='));
        comparisons += attributes * attributes;
        text.remove_prefix(tag.size());
    }
    return comparisons >= most;
}

/// The parser knows encodings that take it minutes. The declaration is read here without regard to them: in UTF-16 each
/// second byte is 0. Without a sign in the first bytes or the declaration it is UTF-8. Gives the name of any
/// other one than UTF-8 and UTF-16, as far as it is known.
std::optional<std::string> otherEncoding(const std::string& text) {
    constexpr std::size_t longestDeclaration = 1000;
    const std::string_view starts[] = {{"\x4C\x6F\xA7\x94", 4}, {"<\0\0\0", 4}, {"\0\0", 2}, {"\xFF\xFE\0\0", 4}};
    if (std::ranges::any_of(starts, [&text](std::string_view start) { return text.starts_with(start); })) return "";
    std::string declaration = text.substr(0, std::min(text.find('>'), longestDeclaration));
    std::erase(declaration, '\0');
    if (declaration.find("<?xml") == std::string::npos) return std::nullopt;
    if (text.find('>') > longestDeclaration) return "";
    const std::size_t key = declaration.find("encoding");
    if (key == std::string::npos) return std::nullopt;
    const std::size_t start = declaration.find_first_of("\"'", key);
    if (start == std::string::npos) return "";
    const std::size_t end = std::min(declaration.find(declaration[start], start + 1), declaration.size());
    std::string name = declaration.substr(start + 1, end - start - 1);
    const auto is = [&name](const char* known) { return strcasecmp(name.c_str(), known) == 0; };
    return is("UTF-8") || is("UTF-16") || is("UTF-16LE") || is("UTF-16BE") ? std::nullopt
                                                                           : std::optional(std::move(name));
}

/// The parser, which replaces no entities, gives an ampersand of an attribute as a character reference, and nothing
/// else.
std::string unescaped(std::string_view value) {
    constexpr std::string_view ampersand = "&#38;";
    std::string result;
    for (std::size_t i = 0; i < value.size(); i += value.substr(i).starts_with(ampersand) ? ampersand.size() : 1)
        result += value[i];
    return result;
}

/// Builds the elements while libxml2 parses; the functions of its handler lead here.
class Builder {
public:
    explicit Builder(XmlDocument& document) : document_(document) {}

    void attach(xmlParserCtxt* context) { context_ = context; }

    /// False, and the end of parsing, beyond what takes seconds or a gigabyte.
    bool isWithinBounds(int nNamespaces, int nAttributes) {
        constexpr int mostElements = 2'000'000, mostAttributes = 4'000'000, mostNamespaces = 100;
        elements_ += 1;
        attributes_ += nAttributes;
        namespaces_ += nNamespaces;
        if (elements_ > mostElements) return refuse("There are more than 2000000 elements");
        if (attributes_ > mostAttributes) return refuse("There are more than 4000000 attributes");
        return namespaces_ <= mostNamespaces || refuse("There are more than 100 namespaces");
    }

    void start(const xmlChar* name, const xmlChar* prefix, int nAttributes, const xmlChar** attributes) {
        if (isInterrupted()) return xmlStopParser(context_);
        XmlElement element;
        if (prefix != nullptr) element.name = std::string(plain(prefix)) + ":";
        element.name += plain(name);

        // The parser is past the last attribute. There is no other "<" between the tag's and there.
        const xmlParserInput& input = *context_->input;
        const xmlChar* position = input.cur;
        while (position > input.base && *position != '<') --position;
        element.line = input.line - lineFeeds(position, input.cur);
        int line = element.line;
        for (int i = 0; i < nAttributes; ++i) {
            const xmlChar** attribute = attributes + std::ptrdiff_t{5} * i; // name, prefix, namespace, value, its end
            if (attribute[3] >= position && attribute[3] <= input.cur) {    // it is not when the value was unescaped
                line += lineFeeds(position, attribute[3]);
                position = attribute[3];
            }
            if (attribute[1] == nullptr)
                element.attributes.push_back(
                    {plain(attribute[0]), unescaped({plain(attribute[3]), plain(attribute[4])}), line});
        }
        open_.push_back(std::move(element));
    }

    void end() {
        if (open_.empty()) return;
        XmlElement element = std::move(open_.back());
        open_.pop_back();
        (open_.empty() ? document_.root : open_.back().children.emplace_back()) = std::move(element);
    }

    void doctype() {
        document_.hasDoctype = true;
        document_.problemLine = context_->input->line;
        xmlStopParser(context_);
    }

    void problem(const xmlError& error) {
        if (error.level < XML_ERR_ERROR || !document_.problem.empty() || document_.hasDoctype) return;
        document_.problem = error.message != nullptr ? error.message : "unknown";
        document_.problem.erase(document_.problem.find_last_not_of(" \n") + 1);
        document_.problemLine = error.line;
    }

private:
    bool refuse(const char* reason) {
        document_.problem = reason;
        document_.problemLine = context_->input->line;
        xmlStopParser(context_);
        return false;
    }

    XmlDocument& document_;
    xmlParserCtxt* context_ = nullptr;
    std::vector<XmlElement> open_;
    int elements_ = 0, attributes_ = 0, namespaces_ = 0;
};

Builder& builderOf(void* data) { return *static_cast<Builder*>(data); }

xmlSAXHandler handler() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = [](void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar*, int nNamespaces,
                                const xmlChar**, int nAttributes, int, const xmlChar** attributes) {
        if (builderOf(data).isWithinBounds(nNamespaces, nAttributes))
            builderOf(data).start(name, prefix, nAttributes, attributes);
    };
    handler.endElementNs = [](void* data, const xmlChar*, const xmlChar*, const xmlChar*) { builderOf(data).end(); };
    handler.internalSubset = [](void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
        builderOf(data).doctype();
    };
    handler.serror = [](void* data, xmlErrorPtr error) { builderOf(data).problem(*error); };
    return handler;
}

} // namespace

const XmlAttribute* XmlElement::find(std::string_view attribute) const {
    const auto found = std::ranges::find(attributes, attribute, &XmlAttribute::name);
    return found != attributes.end() ? &*found : nullptr;
}

const XmlElement* XmlElement::child(std::string_view childName) const {
    const auto found = std::ranges::find(children, childName, &XmlElement::name);
    return found != children.end() ? &*found : nullptr;
}

XmlDocument readXml(const std::string& text) {
    XmlDocument document;
    document.problemLine = 1;
    if (text.empty() || text.size() > std::numeric_limits<int>::max()) {
        document.problem = text.empty() ? "The file is empty" : "The file is too large";
        return document;
    }
    if (hasTooManyAttributes(text)) {
        document.problem = "There are elements with too many attributes";
        return document;
    }
    if (const auto name = otherEncoding(text)) {
        document.isOtherEncoding = true;
        document.problem = fmt::format("The encoding is {}; only UTF-8 and UTF-16 are read",
                                       name->empty() ? "unknown" : inQuotes(*name));
        return document;
    }
    Builder builder(document);
    const Context context(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())));
    if (!context) throw std::bad_alloc();
    builder.attach(context.get());
    *context->sax = handler();
    context->userData = &builder;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET);
    xmlParseDocument(context.get());
    throwIfInterrupted();

    // The parser keeps other encodings than its own with the input.
    const xmlChar* encoding = context->input != nullptr ? context->input->encoding : nullptr;
    if (encoding == nullptr) encoding = context->encoding;
    if (encoding != nullptr) document.encoding = plain(encoding);
    if (context->wellFormed == 0 && document.problem.empty() && !document.hasDoctype)
        document.problem = "The file is not well-formed";
    return document;
}

} // namespace tool
