// An XML file of foreign origin as plain elements with line numbers. Nothing else is opened on its behalf.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct XmlAttribute {
    std::string name;
    std::string value;
    int line = 0;
};

/// An element without its texts. Attributes of other namespaces are left out, elements of other namespaces have their
/// prefix in the name.
struct XmlElement {
    std::string name;
    int line = 0; ///< where it starts
    std::vector<XmlAttribute> attributes;
    std::vector<XmlElement> children;

    /// An attribute, or null.
    const XmlAttribute* find(std::string_view attribute) const;
    /// The first child of this name, or null.
    const XmlElement* child(std::string_view childName) const;
};

struct XmlDocument {
    XmlElement root;
    std::string encoding;         ///< as declared, or empty
    bool isOtherEncoding = false; ///< neither UTF-8 nor UTF-16: it is not read
    std::string problem;          ///< why it cannot be read; empty when it can
    int problemLine = 0;          ///< where
    bool hasDoctype = false;      ///< reading ended at the document type declaration
};

/// Parses a text in UTF-8 or UTF-16. Depth and sizes are limited, entities of a document type are never expanded.
XmlDocument readXml(const std::string& text);

} // namespace tool
