#include "packaging/check/xml_document.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace packaging::checking {

namespace {

using Context = std::unique_ptr<xmlParserCtxt, decltype([](xmlParserCtxt* context) { xmlFreeParserCtxt(context); })>;

const char* textOf(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

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

/// Builds the elements while libxml2 parses; the functions of its handler lead here.
class Builder {
public:
    explicit Builder(XmlDocument& document) : document_(document) {}

    void attach(xmlParserCtxt* context) { context_ = context; }

    void start(const xmlChar* name, const xmlChar* prefix, int nAttributes, const xmlChar** attributes) {
        XmlElement element;
        if (prefix != nullptr) element.name = std::string(textOf(prefix)) + ":";
        element.name += textOf(name);

        // The parser stands behind the last attribute. No other "<" can stand between the tag's and there.
        const xmlParserInput& input = *context_->input;
        const xmlChar* position = input.cur;
        while (position > input.base && *position != '<') --position;
        element.line = input.line - lineFeeds(position, input.cur);
        int line = element.line;
        for (int i = 0; i < nAttributes; ++i) {
            const xmlChar** attribute = attributes + std::ptrdiff_t{5} * i; // name, prefix, namespace, value, its end
            if (attribute[3] >= position && attribute[3] <= input.cur) {    // it isn't when the value was unescaped
                line += lineFeeds(position, attribute[3]);
                position = attribute[3];
            }
            if (attribute[1] == nullptr)
                element.attributes.push_back(
                    {textOf(attribute[0]), std::string(textOf(attribute[3]), textOf(attribute[4])), line});
        }
        open_.push_back(std::move(element));
    }

    void end() {
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
    XmlDocument& document_;
    xmlParserCtxt* context_ = nullptr;
    std::vector<XmlElement> open_;
};

Builder& builderOf(void* data) { return *static_cast<Builder*>(data); }

xmlSAXHandler handler() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = [](void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar*, int,
                                const xmlChar**, int nAttributes, int, const xmlChar** attributes) {
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
    Builder builder(document);
    const Context context(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())));
    if (!context) throw std::bad_alloc();
    builder.attach(context.get());
    *context->sax = handler();
    context->userData = &builder;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET);
    xmlParseDocument(context.get());

    // The parser keeps other encodings than its own with the input.
    const xmlChar* encoding = context->input != nullptr ? context->input->encoding : nullptr;
    if (encoding == nullptr) encoding = context->encoding;
    if (encoding != nullptr) document.encoding = textOf(encoding);
    if (context->wellFormed == 0 && document.problem.empty() && !document.hasDoctype)
        document.problem = "The file isn't well-formed";
    return document;
}

} // namespace packaging::checking
