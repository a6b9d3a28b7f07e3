#include "demo/solver/generated_model.h"

#include <cstdlib>
#include <filesystem>
#include <new>

namespace solver {

namespace {

namespace fs = std::filesystem;

constexpr const char* mark =
    " Made by fmu_batch for a single run: the solver removes this file after reading it, unless "
    "this comment is deleted. ";

bool isMarked(const XmlDocument& model) {
    for (const xmlNode* node = model.root()->doc->children; node != model.root(); node = node->next)
        if (node->type == XML_COMMENT_NODE && xmlStrEqual(node->content, xml(mark)) != 0) return true;
    return false;
}

bool keepsModels() {
    const char* setting = std::getenv("TESSARO_DEMO_KEEP_MODEL");
    return setting != nullptr && *setting != '\0';
}

} // namespace

void markAsGenerated(const XmlDocument& model) {
    if (isMarked(model)) return;
    xmlDoc* document = model.root()->doc;
    xmlNode* comment = xmlNewDocComment(document, xml(mark));
    if (comment == nullptr) throw std::bad_alloc();
    xmlAddPrevSibling(document->children, comment);
}

bool removeGenerated(const XmlDocument& model) {
    const fs::path file = model.path();
    if (!isMarked(model) || keepsModels() || !fs::exists(fs::path(file).replace_extension(".mdl"))) return false;
    return fs::remove(file);
}

} // namespace solver
