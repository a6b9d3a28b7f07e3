#include "tool/pack/units.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <set>
#include <utility>

namespace tool {

namespace {

using Exponents = decltype(Unit::exponents);

struct Symbol {
    const char* name;
    Exponents exponents; // kg m s A K mol cd rad
    double factor = 1.0;
    double offset = 0.0;
    bool takesPrefix = true;
};

constexpr double pi = std::numbers::pi;
constexpr bool alone = false; // takes no prefix

constexpr Symbol symbols[] = {
    {"1", {}, 1.0, 0.0, alone},
    {"m", {0, 1}},
    {"g", {1}, 1e-3},
    {"s", {0, 0, 1}},
    {"A", {0, 0, 0, 1}},
    {"K", {0, 0, 0, 0, 1}},
    {"mol", {0, 0, 0, 0, 0, 1}},
    {"cd", {0, 0, 0, 0, 0, 0, 1}},
    {"rad", {0, 0, 0, 0, 0, 0, 0, 1}},
    {"Hz", {0, 0, -1}},
    {"N", {1, 1, -2}},
    {"Pa", {1, -1, -2}},
    {"J", {1, 2, -2}},
    {"W", {1, 2, -3}},
    {"C", {0, 0, 1, 1}},
    {"V", {1, 2, -3, -1}},
    {"F", {-1, -2, 4, 2}},
    {"Ohm", {1, 2, -3, -2}},
    {"S", {-1, -2, 3, 2}},
    {"Wb", {1, 2, -2, -1}},
    {"T", {1, 0, -2, -1}},
    {"H", {1, 2, -2, -2}},
    {"l", {0, 3}, 1e-3},
    {"L", {0, 3}, 1e-3},
    {"bar", {1, -1, -2}, 1e5},
    {"t", {1}, 1e3},
    {"Wh", {1, 2, -2}, 3600.0},
    {"min", {0, 0, 1}, 60.0, 0.0, alone},
    {"h", {0, 0, 1}, 3600.0, 0.0, alone},
    {"d", {0, 0, 1}, 86400.0, 0.0, alone},
    {"deg", {0, 0, 0, 0, 0, 0, 0, 1}, pi / 180.0, 0.0, alone},
    {"rev", {0, 0, 0, 0, 0, 0, 0, 1}, 2.0 * pi, 0.0, alone},
    {"rpm", {0, 0, -1, 0, 0, 0, 0, 1}, pi / 30.0, 0.0, alone},
    {"degC", {0, 0, 0, 0, 1}, 1.0, 273.15, alone},
    {"degF", {0, 0, 0, 0, 1}, 5.0 / 9.0, 459.67 * 5.0 / 9.0, alone},
    {"%", {}, 0.01, 0.0, alone},
};

struct Prefix {
    const char* name;
    double factor;
};

constexpr Prefix prefixes[] = {{"p", 1e-12}, {"n", 1e-9}, {"u", 1e-6}, {"m", 1e-3}, {"c", 1e-2}, {"d", 1e-1},
                               {"da", 1e1},  {"h", 1e2},  {"k", 1e3},  {"M", 1e6},  {"G", 1e9},  {"T", 1e12}};

std::optional<Unit> findSymbol(std::string_view name) {
    for (const Symbol& symbol : symbols)
        if (name == symbol.name) return Unit{symbol.exponents, symbol.factor, symbol.offset};
    for (const Prefix& prefix : prefixes)
        for (const Symbol& symbol : symbols)
            if (symbol.takesPrefix && name == std::string(prefix.name) + symbol.name)
                return Unit{symbol.exponents, prefix.factor * symbol.factor};
    return std::nullopt;
}

constexpr int largestExponent = 99;

Unit power(Unit unit, int exponent) {
    if (exponent == 1) return unit;
    for (int& e : unit.exponents) e *= exponent;
    return {unit.exponents, std::pow(unit.factor, exponent)};
}

/// In a product the offset of a temperature means nothing.
Unit product(const Unit& left, const Unit& right) {
    Unit unit{left.exponents, left.factor * right.factor};
    for (std::size_t i = 0; i < unit.exponents.size(); ++i) unit.exponents[i] += right.exponents[i];
    return unit;
}

/// The grammar: unit = product [ "/" factor ]; product = factor { "." factor };
/// factor = "(" product ")" | symbol [ exponent ]
class UnitParser {
public:
    explicit UnitParser(std::string_view text) : rest_(text) {}

    std::optional<Unit> parse() {
        constexpr std::size_t longest = 1000; // parentheses nest
        if (rest_.size() > longest) return std::nullopt;
        std::optional<Unit> unit = readProduct();
        if (unit && take("/")) {
            const std::optional<Unit> divisor = readFactor();
            if (!divisor) return std::nullopt;
            unit = product(*unit, power(*divisor, -1));
        }
        return rest_.empty() && unit && isPossible(*unit) ? unit : std::nullopt;
    }

private:
    static bool isPossible(const Unit& unit) {
        const auto isSmall = [](int exponent) { return std::abs(exponent) <= largestExponent; };
        return std::ranges::all_of(unit.exponents, isSmall) && std::isnormal(unit.factor);
    }

    std::optional<Unit> readProduct() {
        std::optional<Unit> unit = readFactor();
        while (unit && (take(".") || take("*"))) {
            const std::optional<Unit> next = readFactor();
            if (!next) return std::nullopt;
            unit = product(*unit, *next);
            if (!isPossible(*unit)) return std::nullopt;
        }
        return unit;
    }

    std::optional<Unit> readFactor() {
        if (take("(")) {
            const std::optional<Unit> unit = readProduct();
            return unit && take(")") ? unit : std::nullopt;
        }
        const std::size_t end = rest_.starts_with('1') ? 1 : rest_.find_first_of("0123456789+-^.*/()");
        const std::optional<Unit> unit = findSymbol(rest_.substr(0, end));
        if (!unit) return std::nullopt;
        rest_.remove_prefix(std::min(end, rest_.size()));
        const Unit raised = power(*unit, readExponent());
        return isPossible(raised) ? std::optional(raised) : std::nullopt;
    }

    int readExponent() {
        take("^");
        int exponent = 1;
        const bool plus = take("+");
        const auto [end, failure] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), exponent);
        if (failure != std::errc() || (plus && exponent < 0) || exponent < -largestExponent ||
            exponent > largestExponent)
            return 1;
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        return exponent;
    }

    bool take(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    std::string_view rest_;
};

std::string replaced(std::string text, std::string_view old, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size())
        text.replace(at, old.size(), by);
    return text;
}

/// Whether all symbols are without a prefix, but for kg, and none is there twice above the line or below it.
bool isPlain(std::string_view name) {
    std::set<std::string_view> seen;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of(".*/()"), name.size());
        const std::string_view factor = name.substr(0, end);
        const std::string_view symbol = factor.substr(0, factor.find_first_of("0123456789+-^"));
        const auto isSymbol = [symbol](const Symbol& known) { return symbol == known.name; };
        if (!symbol.empty() && symbol != "kg" && std::ranges::none_of(symbols, isSymbol)) return false;
        if (!symbol.empty() && !seen.insert(symbol).second) return false;
        if (end < name.size() && name[end] == '/') seen.clear();
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
}

/// A name in which at most so many dots are missing between known symbols; empty when that is not it.
std::string withDots(const std::string& name, int dots, bool onlyPlain) {
    if (parseUnit(name) && (!onlyPlain || isPlain(name))) return name;
    for (std::size_t at = 1; dots > 0 && at < name.size(); ++at)
        if (std::string found = withDots(name.substr(0, at) + "." + name.substr(at), dots - 1, onlyPlain);
            !found.empty())
            return found;
    return "";
}

/// "Nms" is N.m.s rather than N.ms, but "Nmm" is N.mm.
std::string withMissingDots(const std::string& name) {
    if (parseUnit(name)) return name;
    for (const bool onlyPlain : {true, false})
        for (const int dots : {1, 2})
            if (std::string found = withDots(name, dots, onlyPlain); !found.empty()) return found;
    return "";
}

/// "s" -> "s2", "s2" -> "s3"; nothing for anything else.
std::optional<std::string> oneSecondMore(std::string_view factor) {
    if (factor == "s") return "s2";
    int exponent = 0;
    if (!factor.starts_with('s')) return std::nullopt;
    const auto [end, failure] = std::from_chars(factor.data() + 1, factor.data() + factor.size(), exponent);
    if (failure != std::errc() || end != factor.data() + factor.size() || exponent < 1) return std::nullopt;
    return "s" + std::to_string(exponent + 1);
}

} // namespace

std::optional<Unit> parseUnit(std::string_view name) { return UnitParser(name).parse(); }

std::string likelyUnit(const std::string& name) {
    constexpr std::size_t longest = 30; // the search is cubic
    if (name.size() > longest) return "";
    std::string plain = name;
    for (const auto& [old, by] : {std::pair{"·", "."},
                                  {"⋅", "."},
                                  {"°", "deg"},
                                  {"deg C", "degC"},
                                  {"deg F", "degF"},
                                  {" ", "."},
                                  {"Ω", "Ohm"},
                                  {"µ", "u"},
                                  {"²", "2"},
                                  {"³", "3"}})
        plain = replaced(plain, old, by);
    if (plain.starts_with('K')) // for the prefix k
        if (std::string found = withMissingDots("k" + plain.substr(1)); !found.empty()) return found;
    if (std::string found = withMissingDots(plain); !found.empty()) return found;
    const std::size_t slash = plain.find('/');
    return slash != std::string::npos
               ? withDots(plain.substr(0, slash + 1) + "(" + replaced(plain.substr(slash + 1), "/", ".") + ")", 0,
                          false)
               : "";
}

std::string knownUnits() {
    std::string plain, prefixed, letters;
    for (const Symbol& symbol : symbols) {
        std::string& list = symbol.takesPrefix ? prefixed : plain;
        list += (list.empty() ? "" : ", ") + std::string(symbol.name);
    }
    for (const Prefix& prefix : prefixes) letters += (letters.empty() ? "" : ", ") + std::string(prefix.name);
    return prefixed + ", also with the prefixes " + letters + ", and " + plain;
}

std::string derivativeUnitName(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) return name + "/s";

    const std::string numerator = name.substr(0, slash + 1);
    std::string divisor = name.substr(slash + 1);
    if (const auto more = oneSecondMore(divisor)) return numerator + *more;
    if (divisor.starts_with('(') && divisor.ends_with(')')) divisor = divisor.substr(1, divisor.size() - 2);
    const std::size_t last = divisor.rfind('.') + 1;
    if (const auto more = oneSecondMore(std::string_view(divisor).substr(last)))
        return numerator + "(" + divisor.substr(0, last) + *more + ")";
    return numerator + "(" + divisor + ".s)";
}

Unit derivativeUnit(Unit unit) {
    constexpr std::size_t second = 2;
    unit.exponents[second] -= 1;
    unit.offset = 0.0;
    return unit;
}

} // namespace tool
