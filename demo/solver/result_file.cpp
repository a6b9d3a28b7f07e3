#include "demo/solver/result_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>

namespace solver {

namespace {

/// "run.csv", "run_2.csv", "run_3.csv" and so on for numbers from 1.
std::string numbered(const std::string& path, int number) {
    if (number == 1) return path;
    std::filesystem::path name(path);
    name.replace_filename(fmt::format("{}_{}{}", name.stem().string(), number, name.extension().string()));
    return name.string();
}

bool isRegular(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

/// Whether another run writes to the file. If not, it is this run's from now on, as far as the file system has locks;
/// devices and pipes are for everybody.
bool isInUse(int file) { return isRegular(file) && flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; }

/// Keeps `errno`.
void closeAfterFailure(int file) {
    const int reason = errno;
    ::close(file);
    errno = reason;
}

/// Opens the first of the numbered files that no run writes to, and empties it. Returns null with `errno` set if it
/// can't be opened; `path` becomes its name.
std::FILE* openUnused(std::string& path) {
    const std::string wanted = path;
    for (int number = 1;; ++number) {
        path = numbered(wanted, number);
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
        if (file < 0) return nullptr;
        if (!isInUse(file) && (!isRegular(file) || ftruncate(file, 0) == 0)) {
            std::FILE* stream = fdopen(file, "w");
            if (stream == nullptr) closeAfterFailure(file);
            return stream;
        }
        ::close(file);
    }
}

} // namespace

ResultFile::ResultFile(const std::string& path, const std::string& header) : path_(path), file_(openUnused(path_)) {
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

bool ResultFile::finish(std::FILE* file) {
    const bool written = std::fflush(file) == 0;
    flock(fileno(file), LOCK_UN); // also when a child process has inherited the file
    return std::fclose(file) == 0 && written;
}

void ResultFile::close() {
    if (file_ && !finish(file_.release()))
        failure_ = fmt::format("The result file '{}' is incomplete: {}.", path_, std::strerror(errno));
}

} // namespace solver
