#include "demo/solver/result_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <iterator>

namespace solver {

ResultFile::ResultFile(const std::string& path, const std::string& header)
    : path_(path), file_(std::fopen(path.c_str(), "w")) {
    if (!file_) failure_ = fmt::format("The result file '{}' can't be opened: {}.", path_, std::strerror(errno));
    write(header + '\n');
}

void ResultFile::addRow(double time, const std::vector<double>& inputs, const std::vector<double>& outputs) {
    line_.clear();
    fmt::format_to(std::back_inserter(line_), "{:.12g}", time);
    for (const auto* values : {&inputs, &outputs})
        for (const double value : *values) fmt::format_to(std::back_inserter(line_), ",{:.12g}", value);
    line_ += '\n';
    write(line_);
}

void ResultFile::write(const std::string& line) {
    if (!file_ || std::fwrite(line.data(), 1, line.size(), file_.get()) == line.size()) return;
    failure_ = fmt::format("The result file '{}' is incomplete: {}.", path_, std::strerror(errno));
    file_.reset();
}

void ResultFile::close() {
    if (file_ && std::fclose(file_.release()) != 0)
        failure_ = fmt::format("The result file '{}' is incomplete: {}.", path_, std::strerror(errno));
}

} // namespace solver
