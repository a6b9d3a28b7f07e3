// The mistakes in a description, told all at once.
#pragma once

#include <algorithm>
#include <filesystem>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "packaging/text_forms.h"
#include "packaging/user_error.h"

namespace packaging {

class Mistakes {
public:
    template <typename... Arguments>
    void add(int line, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        if (++count_ <= kept) found_.emplace_back(line, fmt::format(text, std::forward<Arguments>(arguments)...));
    }

    /// Throws UserError with a line "FILE:LINE: sentence" for each of the first hundred, in the order of the
    /// lines.
    void throwIfAny(const std::filesystem::path& file) {
        if (found_.empty()) return;
        std::ranges::stable_sort(found_, {}, &std::pair<int, std::string>::first);
        std::string text = count_ == 1 ? "there is a mistake:" : fmt::format("{} mistakes:", count_);
        for (const auto& [line, sentence] : std::span(found_).first(std::min(found_.size(), shown)))
            text += fmt::format("\n{}:{}: {}", file.string(), line, printable(sentence));
        if (count_ > shown) text += fmt::format("\nand {} more.", count_ - shown);
        throw UserError(text);
    }

private:
    static constexpr std::size_t shown = 100;
    static constexpr std::size_t kept = 10'000; // the others are only counted

    std::vector<std::pair<int, std::string>> found_;
    std::size_t count_ = 0;
};

} // namespace packaging
