// Reading of the solver's XML files: elements and attributes whose errors name the file and the line.
//
// Attribute values may use the parameters that the file declares. Used by the model reader and by fmu_batch.
#pragma once

#include <libxml/tree.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace solver {

/// An error in an input file. The message begins with "file:line: ", or "file: " if it concerns no single line.
class FileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The finite number that all of `text` is, with a decimal point in every locale; nothing if it isn't one.
std::optional<double> parseNumber(std::string_view text);

/// The content of a whole file. Throws a FileError with the system's reason if it can't be read.
std::string readFile(const std::string& path);

/// A string as libxml2 takes it.
inline const xmlChar* xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

/// The value of an attribute; empty if there is none.
std::string attributeText(xmlNode* element, const char* attribute);

/// A parsed file and its parameters.
class XmlDocument {
public:
    /// Reads and parses a file. Throws a FileError if it can't be read or isn't well-formed XML.
    explicit XmlDocument(const std::string& path);

    const std::string& path() const { return path_; }
    xmlNode* root() const { return xmlDocGetRootElement(document_.get()); }

    /// The document as XML, in UTF-8.
    std::string text() const;

    /// Defines `${name}`, for the elements that are read from now on.
    void setParameter(const std::string& name, const std::string& value) { parameters_[name] = value; }

    /// The parameter's value if `text` is `${name}`, otherwise `text`. Throws std::invalid_argument with the reason if
    /// there is no such parameter.
    std::string resolve(const std::string& text) const;

    /// The value of a product or quotient such as `-0.5*${length}/3`. Throws std::invalid_argument with the reason.
    double evaluate(std::string_view expression) const;

private:
    double factor(std::string_view text) const;

    struct Free {
        void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    };

    std::string path_;
    std::unique_ptr<xmlDoc, Free> document_;
    std::map<std::string, std::string> parameters_;
};

/// One element of a document while it is read. It records which attributes were asked for, so that `finish` finds
/// unknown ones. Every function throws a FileError that names the element's line.
class XmlElement {
public:
    XmlElement(const XmlDocument& document, xmlNode* node) : document_(&document), node_(node) {}

    std::string name() const;
    std::vector<XmlElement> children() const;

    bool has(const char* attribute) const;
    /// The attribute's value, with a parameter resolved; without a fallback the attribute is required.
    std::string text(const char* attribute, const std::optional<std::string>& fallback = {});
    double number(const char* attribute, std::optional<double> fallback = {});
    /// As `number`, for values that must not be negative.
    double notNegative(const char* attribute, std::optional<double> fallback = {});
    /// Numbers separated by spaces; there must be as many as one of `counts`. If the attribute is missing and not
    /// `required`: as many as the first of `counts`, all 0.
    std::vector<double> numbers(const char* attribute, const std::vector<std::size_t>& counts, bool required);
    std::array<double, 3> vector(const char* attribute, bool required = false);

    /// Refuses attributes that weren't asked for.
    void finish() const;
    /// As `finish`, for an element that must not have children.
    void finishLeaf() const;

    /// File and line, as messages name them: "file:line".
    std::string place() const;

    [[noreturn]] void fail(const std::string& message) const;

private:
    const XmlDocument* document_;
    xmlNode* node_;
    std::set<std::string> asked_;
};

} // namespace solver
