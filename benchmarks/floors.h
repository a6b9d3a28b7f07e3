// The same work without an FMU, as plainly as it can be written.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// to[n] = from[references[n]]
template <typename Value>
void copyOut(const unsigned* references, std::size_t count, const Value* from, Value* to);

/// to[references[n]] = from[n]
template <typename Value>
void copyIn(const unsigned* references, std::size_t count, const Value* from, Value* to);

/// As above, up to the first reference that is not below `end`; false when there is one.
template <typename Value>
bool copyOutChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end);

template <typename Value>
bool copyInChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end);

/// strcpy(to[references[n]], from[n])
void copyTexts(const unsigned* references, std::size_t count, const char* const* from, char** to);

/// The same, up to the first text that is longer than the one it replaces; false when there is one.
bool copyTextsChecked(const unsigned* references, std::size_t count, const char* const* from, char** to);

/// Reads both parameter files with fgets and keeps the lines of the second, a block each, until the next ones are read,
/// as the FMU keeps its names. The blocks are of `blockSize` bytes, or as long as their text for 0.
void readLines(const char* parameters, const char* names, std::size_t blockSize);

void printLines(const char* path, const std::vector<std::string>& names, const double* values);
