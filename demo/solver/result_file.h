// The result file of a run: comma-separated values, a header line and a row for each moment.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace solver {

/// A file that is written while the run goes on, and locked so that no other run writes to it meanwhile. None of its
/// failures ends the run: the caller asks for them.
class ResultFile {
public:
    /// Opens `path`, replacing the file of an earlier run, and writes the header line. While another run, of this or of
    /// another process, writes to `path`, the file is the first of "name_2.csv", "name_3.csv" and so on that is free.
    ResultFile(const std::string& path, const std::string& header);

    /// The file that is written.
    const std::string& path() const { return path_; }

    /// Adds a row, with a decimal point in numbers and 12 significant digits.
    void addRow(double time, const std::vector<double>& inputs, const std::vector<double>& outputs);

    /// Writes what is still buffered and closes the file; later rows are dropped.
    void close();

    /// Why the file could not be opened or written completely, as a sentence; empty if there was no error. Final only
    /// after `close`.
    const std::string& failure() const { return failure_; }

private:
    struct Close {
        void operator()(std::FILE* file) const { finish(file); }
    };

    /// Writes what is still buffered, gives the file free and closes it. Returns whether all was written.
    static bool finish(std::FILE* file);

    void write(const std::string& line);

    std::string path_;
    std::unique_ptr<std::FILE, Close> file_;
    std::string line_;
    std::string failure_;
};

} // namespace solver
