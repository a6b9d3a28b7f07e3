#include "packaging/check/variable_name.h"

namespace packaging::checking {

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isNondigit(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_';
}

/// Takes a name from its start, piece by piece.
class Scanner {
public:
    explicit Scanner(std::string_view rest) : rest_(rest) {}

    bool isAtEnd() const { return rest_.empty(); }

    bool take(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    /// Names separated by full stops, each perhaps with indices.
    bool takeIdentifier() {
        do {
            if (!takeQuoted() && !takePlain()) return false;
            if (take("[") && !takeIndices()) return false;
        } while (take("."));
        return true;
    }

    bool takeNumber() {
        return takeWhile([](char character) { return isDigit(character); });
    }

private:
    template <typename Belongs>
    bool takeWhile(const Belongs& belongs) {
        std::size_t length = 0;
        while (length < rest_.size() && belongs(rest_[length])) ++length;
        rest_.remove_prefix(length);
        return length > 0;
    }

    bool takePlain() {
        if (rest_.empty() || !isNondigit(rest_[0])) return false;
        return takeWhile([](char character) { return isNondigit(character) || isDigit(character); });
    }

    bool takeIndices() {
        do {
            if (!takeNumber()) return false;
        } while (take(","));
        return take("]");
    }

    /// One character between single quotes, or an escape.
    bool takeQuotedCharacter() {
        constexpr std::string_view marks = "!#$%&()*+,-./:;<>=?@[]^{}|~ ", escapes = "'\"?\\abfnrtv";
        if (take("\\")) return takeOneOf(escapes);
        if (rest_.empty() || (!isNondigit(rest_[0]) && !isDigit(rest_[0]))) return takeOneOf(marks);
        rest_.remove_prefix(1);
        return true;
    }

    bool takeOneOf(std::string_view characters) {
        if (rest_.empty() || characters.find(rest_[0]) == std::string_view::npos) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool takeQuoted() {
        if (!take("'")) return false;
        bool isLonger = false;
        while (takeQuotedCharacter()) isLonger = true;
        return isLonger && take("'");
    }

    std::string_view rest_;
};

} // namespace

bool isStructuredName(std::string_view name) {
    Scanner derivative(name);
    if (derivative.take("der(") && derivative.takeIdentifier() && (!derivative.take(",") || derivative.takeNumber()) &&
        derivative.take(")") && derivative.isAtEnd())
        return true;
    Scanner plain(name);
    return plain.takeIdentifier() && plain.isAtEnd();
}

} // namespace packaging::checking
