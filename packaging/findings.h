// What a check found wrong or risky, and the two ways of showing it: sentences for people, JSON for tools.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace packaging {

/// A note is what was looked at and found in order; it counts as nothing wrong.
enum class Severity { note, warning, error };

/// Where something was found. An empty file is the FMU or installation as a whole; line 0 is a file as a whole.
struct Place {
    std::string file; ///< relative to the FMU's root where it lies in it
    int line = 0;     ///< from 1
};

struct Finding {
    Severity severity = Severity::error;
    std::string rule; ///< short stable name, such as "port-overlap", for tools and tests
    Place place;
    std::string what; ///< a sentence; of a note, a line of a list that `rule` heads
    std::string why;  ///< why it matters, a sentence; empty for a note
    std::string mend; ///< how to mend it, a sentence; may be empty
};

class Findings {
public:
    void error(std::string_view rule, Place place, std::string what, std::string why, std::string mend = "");
    void warning(std::string_view rule, Place place, std::string what, std::string why, std::string mend = "");

    void note(std::string_view rule, std::string what);

    const std::vector<Finding>& all() const { return findings_; }
    int errors() const;
    int warnings() const;

private:
    std::vector<Finding> findings_;
};

/// Writes the notes as a list, then a paragraph for each other finding, both in the order found, and a closing line
/// with their numbers. `subject` is what was looked at.
void writeText(const Findings& findings, std::string_view subject, std::FILE* stream);

/// Writes one JSON object: subject, errors, warnings, findings (severity, rule, file, line, what, why, mend).
void writeJson(const Findings& findings, std::string_view subject, std::FILE* stream);

} // namespace packaging
