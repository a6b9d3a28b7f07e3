#include "packaging/text_forms.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace packaging {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isControl(char c) { return (c >= 0 && c < 0x20) || c == 0x7f; }
bool isNondigit(char c) { return isLetter(c) || c == '_'; }

/// Walks over a structured name. Each function takes a part of it, or leaves the position and gives false.
class NameScan {
public:
    explicit NameScan(std::string_view text) : rest_(text) {}

    bool identifier() {
        do {
            if (!part()) return false;
            if (take('[') && !indices()) return false;
        } while (take('.'));
        return rest_.empty();
    }

private:
    bool part() { return take('\'') ? quoted() : word(); }

    bool word() {
        if (rest_.empty() || !isNondigit(rest_.front())) return false;
        const auto end = std::ranges::find_if_not(rest_, [](char c) { return isNondigit(c) || isDigit(c); });
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
        return true;
    }

    bool quoted() {
        constexpr std::string_view others = "!#$%&()*+,-./:;<>=?@[]^{}|~ ";
        constexpr std::string_view escapable = "'\"?\\abfnrtv";
        if (take('\'')) return false;
        while (!rest_.empty() && !take('\'')) {
            const bool escaped = take('\\');
            if (rest_.empty()) return false;
            const char c = rest_.front();
            const bool allowed = escaped ? escapable.find(c) != std::string_view::npos
                                         : isNondigit(c) || isDigit(c) || others.find(c) != std::string_view::npos;
            if (!allowed) return false;
            rest_.remove_prefix(1);
            if (rest_.empty()) return false;
        }
        return true;
    }

    bool indices() {
        do {
            if (rest_.empty() || !isDigit(rest_.front())) return false;
            while (!rest_.empty() && isDigit(rest_.front())) rest_.remove_prefix(1);
        } while (take(','));
        return take(']');
    }

    bool take(char c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view rest_;
};

} // namespace

std::string shortest(double value) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

bool isStructuredName(std::string_view name) { return NameScan(name).identifier(); }

bool isModelName(std::string_view name) {
    const auto allowed = [](char c) { return isNondigit(c) || isDigit(c) || c == '.' || c == '-'; };
    return !name.empty() && std::ranges::all_of(name, allowed) && name.front() != '.' && name.front() != '-' &&
           name.find(".xml") == std::string_view::npos;
}

bool isIdentifier(std::string_view name) {
    return !name.empty() && isNondigit(name.front()) &&
           std::ranges::all_of(name, [](char c) { return isNondigit(c) || isDigit(c); });
}

std::string identifierFrom(std::string_view modelName) {
    std::string identifier(modelName);
    std::ranges::replace_if(
        identifier, [](char c) { return c == '.' || c == '-'; }, '_');
    return identifier.empty() || isNondigit(identifier.front()) ? identifier : "model_" + identifier;
}

bool hasControlCharacters(std::string_view text) {
    return std::ranges::any_of(text, isControl) || text.find("\xEF\xBF\xBE") != std::string_view::npos ||
           text.find("\xEF\xBF\xBF") != std::string_view::npos;
}

std::string printable(std::string_view text) {
    std::string shown(text);
    std::ranges::replace_if(shown, isControl, '?');
    return shown;
}

} // namespace packaging
