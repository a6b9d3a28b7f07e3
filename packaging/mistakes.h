// The mistakes in a description, told all at once.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "packaging/user_error.h"

namespace packaging {

class Mistakes {
public:
    template <typename... Arguments>
    void add(int line, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        found_.emplace_back(line, fmt::format(text, std::forward<Arguments>(arguments)...));
    }

    /// Throws UserError with a line "FILE:LINE: sentence" for each, in the order of the lines.
    void throwIfAny(const std::filesystem::path& file) {
        if (found_.empty()) return;
        std::ranges::stable_sort(found_, {}, &std::pair<int, std::string>::first);
        std::string text = found_.size() == 1 ? "there is a mistake:" : fmt::format("{} mistakes:", found_.size());
        for (const auto& [line, sentence] : found_) text += fmt::format("\n{}:{}: {}", file.string(), line, sentence);
        throw UserError(text);
    }

private:
    std::vector<std::pair<int, std::string>> found_;
};

} // namespace packaging
