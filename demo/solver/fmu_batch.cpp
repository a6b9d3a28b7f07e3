// fmu_batch TEMPLATE.mdl VALUES.csv: makes the model file of a run from a template and the values that a master set.
//
// The model file is written to the current directory, under the template's base name with ".xml", completely or not at
// all. It is marked as made for a single run. Exit code 0 if it was written, 1 if something is wrong with the files, 2
// for a wrong call.
#include <fmt/format.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

#include "demo/solver/generated_model.h"
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

/// Writes to a file of another name first, so that nobody ever reads an incomplete one.
void replaceFile(const std::string& path, const std::string& content) {
    const std::string temporary = fmt::format("{}.{}.part", path, getpid());
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
    solver::markAsGenerated(document);
    replaceFile(std::filesystem::path(name).replace_extension(".xml").string(), document.text());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: fmu_batch TEMPLATE.mdl VALUES.csv\n", stderr);
        return 2;
    }
    std::signal(SIGXFSZ, SIG_IGN); // a file that gets too large is a failed write, which leaves no incomplete file
    try {
        translate(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fmu_batch: %s\n", error.what());
        return 1;
    }
}
