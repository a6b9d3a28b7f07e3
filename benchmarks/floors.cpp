#include "benchmarks/floors.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/internal/owners.h"

namespace {

/// Not inlined, as the failure paths of the FMU are not.
[[gnu::cold, gnu::noinline]] bool refused() { return false; }

} // namespace

template <typename Value>
void copyOut(const unsigned* references, std::size_t count, const Value* from, Value* to) {
    for (std::size_t n = 0; n < count; ++n) to[n] = from[references[n]];
}

template <typename Value>
void copyIn(const unsigned* references, std::size_t count, const Value* from, Value* to) {
    for (std::size_t n = 0; n < count; ++n) to[references[n]] = from[n];
}

template <typename Value>
bool copyOutChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end) {
    for (std::size_t n = 0; n < count; ++n) {
        if (static_cast<int>(references[n]) >= end) return refused();
        to[n] = from[references[n]];
    }
    return true;
}

template <typename Value>
bool copyInChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end) {
    for (std::size_t n = 0; n < count; ++n) {
        if (static_cast<int>(references[n]) >= end) return refused();
        to[references[n]] = from[n];
    }
    return true;
}

template void copyOut(const unsigned*, std::size_t, const double*, double*);
template void copyOut(const unsigned*, std::size_t, const int*, int*);
template void copyOut(const unsigned*, std::size_t, const char* const*, const char**);
template void copyIn(const unsigned*, std::size_t, const double*, double*);
template void copyIn(const unsigned*, std::size_t, const int*, int*);
template bool copyOutChecked(const unsigned*, std::size_t, const double*, double*, int);
template bool copyOutChecked(const unsigned*, std::size_t, const int*, int*, int);
template bool copyInChecked(const unsigned*, std::size_t, const double*, double*, int);
template bool copyInChecked(const unsigned*, std::size_t, const int*, int*, int);

void copyStrings(const unsigned* references, std::size_t count, const char* const* from, char** to) {
    for (std::size_t n = 0; n < count; ++n) std::strcpy(to[references[n]], from[n]);
}

bool copyStringsChecked(const unsigned* references, std::size_t count, const char* const* from, char** to) {
    for (std::size_t n = 0; n < count; ++n) {
        const std::size_t length = std::strlen(from[n]);
        if (std::strlen(to[references[n]]) < length) return refused();
        std::memcpy(to[references[n]], from[n], length + 1);
    }
    return true;
}

void readLines(const char* parameters, const char* names, std::size_t blockSize) {
    char line[1024];
    const Stream first(std::fopen(parameters, "r"));
    while (std::fgets(line, sizeof line, first.get()) != nullptr) {
    }

    std::vector<MallocText> read;
    const Stream second(std::fopen(names, "r"));
    while (std::fgets(line, sizeof line, second.get()) != nullptr) {
        auto* block = static_cast<char*>(std::malloc(blockSize != 0 ? blockSize : std::strlen(line) + 1));
        if (block == nullptr) std::abort();
        read.emplace_back(std::strcpy(block, line));
    }
    static std::vector<MallocText> kept;
    kept.swap(read);
}

void printLines(const char* path, const std::vector<std::string>& names, const double* values) {
    const Stream stream(std::fopen(path, "w"));
    for (std::size_t n = 0; n < names.size(); ++n) std::fprintf(stream.get(), "%s, %f\n", names[n].c_str(), values[n]);
}
