// The result file of a run: comma-separated values, a header line and a row for each moment.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace solver {

/// A file that is written while the run goes on. None of its failures ends the run: the caller asks for them.
class ResultFile {
public:
    /// Opens `path`, replacing a file of that name, and writes the header line.
    ResultFile(const std::string& path, const std::string& header);

    /// Adds a row, with a full stop in numbers and 12 significant digits.
    void addRow(double time, const std::vector<double>& inputs, const std::vector<double>& outputs);

    /// Writes what is still buffered and closes the file; later rows are dropped.
    void close();

    /// Why the file could not be opened or not be written completely, as a sentence; empty while all is well. Complete
    /// only after `close`.
    const std::string& failure() const { return failure_; }

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void write(const std::string& line);

    std::string path_;
    std::unique_ptr<std::FILE, Close> file_;
    std::string line_;
    std::string failure_;
};

} // namespace solver
