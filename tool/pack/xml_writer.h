// Writes an XML document into memory, escaped as it has to be.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <libxml/xmlwriter.h>

namespace tool {

class XmlWriter {
public:
    /// An element that is open while this lives.
    class Element {
    public:
        Element(XmlWriter& writer, const char* name);
        ~Element();
        Element(const Element&) = delete;
        Element& operator=(const Element&) = delete;

        Element& attribute(const char* name, std::string_view value);
        /// Writes the attribute when there is something in it.
        Element& optional(const char* name, std::string_view value);
        Element& text(std::string_view value);

    private:
        XmlWriter& writer_;
    };

    XmlWriter();
    Element element(const char* name) { return {*this, name}; }
    /// An element that holds nothing but text.
    void element(const char* name, std::string_view text) { element(name).text(text); }
    void declare();
    /// The document; every element must be closed by now.
    std::string finish();

private:
    void check(int result);

    struct Free {
        void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
        void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
    };

    std::unique_ptr<xmlBuffer, Free> buffer_;
    std::unique_ptr<xmlTextWriter, Free> writer_;
};

} // namespace tool
