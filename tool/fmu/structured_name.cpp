#include "tool/fmu/structured_name.h"

#include "tool/fmu/names.h"

namespace tool {

namespace {

/// Takes a name from its start, one symbol of the grammar after the other. Each function takes its symbol, or gives
/// false; the name is then refused, so what was taken does not matter.
class NameScan {
public:
    explicit NameScan(std::string_view text) : rest_(text) {}

    bool isAtEnd() const { return rest_.empty(); }

    bool take(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    /// identifier = part [ indices ] { "." part [ indices ] }
    bool identifier() {
        do {
            if (!part()) return false;
            if (take("[") && !indices()) return false;
        } while (take("."));
        return true;
    }

    bool unsignedInteger() {
        return takeWhile([](char c) { return isDigit(c); });
    }

private:
    bool part() { return take("'") ? quoted() : plain(); }

    bool plain() {
        if (rest_.empty() || !isNondigit(rest_.front())) return false;
        return takeWhile([](char c) { return isNondigit(c) || isDigit(c); });
    }

    /// The rest of a quoted part: at least one character or escape, and the closing quote.
    bool quoted() {
        if (take("'")) return false;
        while (!take("'"))
            if (!(take("\\") ? escaped() : character())) return false;
        return true;
    }

    bool escaped() { return takeOneOf("'\"?\\abfnrtv"); }

    bool character() {
        if (rest_.empty() || !(isNondigit(rest_.front()) || isDigit(rest_.front())))
            return takeOneOf("!#$%&()*+,-./:;<>=?@[]^{}|~ ");
        rest_.remove_prefix(1);
        return true;
    }

    bool indices() {
        do {
            if (!unsignedInteger()) return false;
        } while (take(","));
        return take("]");
    }

    bool takeOneOf(std::string_view characters) {
        if (rest_.empty() || characters.find(rest_.front()) == std::string_view::npos) return false;
        rest_.remove_prefix(1);
        return true;
    }

    template <typename Belongs>
    bool takeWhile(const Belongs& belongs) {
        std::size_t length = 0;
        while (length < rest_.size() && belongs(rest_[length])) ++length;
        rest_.remove_prefix(length);
        return length > 0;
    }

    std::string_view rest_;
};

} // namespace

bool isStructuredName(std::string_view name) {
    NameScan scan(name);
    return scan.identifier() && scan.isAtEnd();
}

bool isStructuredNameOrDerivative(std::string_view name) {
    NameScan scan(name);
    const bool isDerivative = scan.take("der(") && scan.identifier() && (!scan.take(",") || scan.unsignedInteger()) &&
                              scan.take(")") && scan.isAtEnd();
    return isDerivative || isStructuredName(name);
}

} // namespace tool
