#include "tool/doctor/solver/process_state.h"

#include <array>
#include <cfenv>
#include <clocale>
#include <system_error>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tool/os/text.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// A part of a control register.
struct Field {
    unsigned bits;
    const char* meaning;
};

constexpr std::array controlFields{Field{0x8000, "numbers near 0 become 0"}, Field{0x6000, "the rounding"},
                                   Field{0x1f80, "the exceptions that end the process"},
                                   Field{0x0040, "numbers near 0 count as 0"}};
constexpr std::array x87Fields{Field{0x0c00, "the rounding of long double"},
                               Field{0x0300, "the precision of long double"},
                               Field{0x003f, "the exceptions of long double that end the process"}};

std::string localeNow() { return std::setlocale(LC_ALL, nullptr); }

fs::path directoryNow() {
    std::error_code ignored;
    return fs::current_path(ignored);
}

fenv_t environmentNow() {
    fenv_t environment;
    fegetenv(&environment);
    return environment;
}

template <std::size_t size>
void addChanges(const std::array<Field, size>& fields, unsigned changed, std::vector<std::string>& list) {
    for (const auto& [bits, meaning] : fields)
        if ((changed & bits) != 0) list.emplace_back(meaning);
}

} // namespace

ProcessState::ProcessState() : locale_(localeNow()), directory_(directoryNow()) {
    const fenv_t environment = environmentNow();
    control_ = environment.__mxcsr;
    x87_ = environment.__control_word;
}

void ProcessState::reportChanges(const std::string& place, SessionReport& report) const {
    if (const std::string locale = localeNow(); locale != locale_) {
        report.add("locale-changed", fmt::format("{} changes the process's locale from {} to {}.", place,
                                                 inQuotes(locale_), inQuotes(locale)));
        std::setlocale(LC_ALL, locale_.c_str());
    }
    if (const fs::path directory = directoryNow(); directory != directory_) {
        report.add("directory-changed", fmt::format("{} changes the process's working directory to {}.", place,
                                                    inQuotes(directory.string())));
        std::error_code ignored;
        fs::current_path(directory_, ignored);
    }
    fenv_t environment = environmentNow();
    std::vector<std::string> changes;
    addChanges(controlFields, environment.__mxcsr ^ control_, changes);
    addChanges(x87Fields, environment.__control_word ^ x87_, changes);
    if (changes.empty()) return;
    report.add("floating-point-changed", fmt::format("{} changes the process's floating-point environment: {}.", place,
                                                     fmt::join(changes, ", ")));
    environment.__mxcsr = control_;
    environment.__control_word = x87_;
    fesetenv(&environment);
}

} // namespace tool
