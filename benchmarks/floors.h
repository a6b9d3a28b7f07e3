// The floors: the same work without an FMU, written as plainly as possible.
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

/// As above, but stops at the first reference that is not below `end`; false when there is one.
template <typename Value>
bool copyOutChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end);

template <typename Value>
bool copyInChecked(const unsigned* references, std::size_t count, const Value* from, Value* to, int end);

/// strcpy(to[references[n]], from[n])
void copyStrings(const unsigned* references, std::size_t count, const char* const* from, char** to);

/// The same, but stops at the first string that is longer than the one it replaces; false when there is one.
bool copyStringsChecked(const unsigned* references, std::size_t count, const char* const* from, char** to);

/// Reads both parameter files with fgets. As the FMU does with the names, it keeps every line of the second file in a
/// block until the next call. The blocks have `blockSize` bytes; 0: the length of their line.
void readLines(const char* parameters, const char* names, std::size_t blockSize);

/// Writes the value file with fprintf.
void printLines(const char* path, const std::vector<std::string>& names, const double* values);
