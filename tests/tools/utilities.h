// What the tests of the utilities have in common.
#pragma once

#include <memory>
#include <random>
#include <string>

/// The content of a new string, which is released.
inline std::string taken(char* text) { return std::unique_ptr<char[]>(text).get(); }

/// At most so many letters of the alphabet; the same strings in each run.
inline std::string randomText(const std::string& alphabet, std::size_t maxLength) {
    static std::mt19937 generator(20);
    std::string text(generator() % (maxLength + 1), ' ');
    for (char& c : text) c = alphabet[generator() % alphabet.size()];
    return text;
}
