// fmu_batch TEMPLATE.mdl VALUES.csv: makes the model file of a run from a template and the values that a master set.
//
// The model file gets the template's base name with ".xml" and stands in the current directory. It appears complete or
// not at all. Exit code 0 when it was written, 1 when something is wrong with the files, 2 for a wrong call.
#include <fmt/format.h>
#include <libxml/parser.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

#include "demo/solver/model_reader.h"
#include "demo/solver/value_file.h"

namespace {

using solver::FileError;

void writeFile(const std::string& path, const std::string& content) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) throw FileError(fmt::format("{}: can't be written: {}", path, std::strerror(errno)));
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) throw FileError(fmt::format("{}: can't be written: {}", path, std::strerror(errno)));
}

/// Writes under another name first, so that nobody ever sees a part of the file.
void replaceFile(const std::string& path, const std::string& content) {
    const std::string temporary = path + ".part";
    try {
        writeFile(temporary, content);
        std::filesystem::rename(temporary, path);
    } catch (...) {
        std::remove(temporary.c_str());
        throw;
    }
}

void translate(const std::string& templatePath, const std::string& valuePath) {
    const std::filesystem::path name = std::filesystem::path(templatePath).filename();
    if (name.extension() != ".mdl") throw FileError(fmt::format("{}: a template's name ends in .mdl", templatePath));

    solver::XmlDocument document(templatePath);
    solver::applyValueFile(valuePath, document);
    solver::readModel(document); // the solver would refuse what this refuses
    replaceFile(std::filesystem::path(name).replace_extension(".xml").string(), document.text());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: fmu_batch TEMPLATE.mdl VALUES.csv\n", stderr);
        return 2;
    }
    try {
        translate(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fmu_batch: %s\n", error.what());
        return 1;
    }
}
