#include "tool/pack/xml_writer.h"

#include <new>

namespace tool {

namespace {

const xmlChar* xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

} // namespace

XmlWriter::XmlWriter() : buffer_(xmlBufferCreate()), writer_(xmlNewTextWriterMemory(buffer_.get(), 0)) {
    if (!buffer_ || !writer_) throw std::bad_alloc();
    check(xmlTextWriterSetIndent(writer_.get(), 1));
    check(xmlTextWriterSetIndentString(writer_.get(), xml("  ")));
}

void XmlWriter::declare() { check(xmlTextWriterStartDocument(writer_.get(), nullptr, "UTF-8", nullptr)); }

std::string XmlWriter::finish() {
    check(xmlTextWriterEndDocument(writer_.get()));
    check(xmlTextWriterFlush(writer_.get()));
    return {reinterpret_cast<const char*>(xmlBufferContent(buffer_.get())),
            static_cast<std::size_t>(xmlBufferLength(buffer_.get()))};
}

/// Names and texts are checked before: only memory can be missing.
void XmlWriter::check(int result) {
    if (result < 0) throw std::bad_alloc();
}

XmlWriter::Element::Element(XmlWriter& writer, const char* name) : writer_(writer) {
    writer_.check(xmlTextWriterStartElement(writer_.writer_.get(), xml(name)));
}

XmlWriter::Element::~Element() { xmlTextWriterEndElement(writer_.writer_.get()); }

XmlWriter::Element& XmlWriter::Element::attribute(const char* name, std::string_view value) {
    writer_.check(xmlTextWriterWriteAttribute(writer_.writer_.get(), xml(name), xml(std::string(value).c_str())));
    return *this;
}

XmlWriter::Element& XmlWriter::Element::optional(const char* name, std::string_view value) {
    return value.empty() ? *this : attribute(name, value);
}

XmlWriter::Element& XmlWriter::Element::text(std::string_view value) {
    writer_.check(xmlTextWriterWriteString(writer_.writer_.get(), xml(std::string(value).c_str())));
    return *this;
}

} // namespace tool
