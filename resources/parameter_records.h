// The records of the two parameter files, as all instances of the library share them.
#pragma once

#include <cstdio>
#include <string_view>

#include "resources/parameter_files.h"

/// The result of the last instantiation; zero at load. Only to be used under the process lock
/// (fmi/instance/process_lock.h).
extern FmuParRecord g_fmu_par;
extern MvParRecord g_mv_par;

/// The string in a field. It may continue past the end of the field, but not past the end of the record.
inline std::string_view parameterText(const FmuParRecord& record, const char* field) {
    const auto* end = reinterpret_cast<const char*>(&record + 1);
    const std::string_view rest(field, static_cast<std::size_t>(end - field));
    return rest.substr(0, rest.find('\0'));
}

/// A copy of `g_fmu_par`. Takes the process lock.
FmuParRecord currentParameters();

/// Frees the four lists of names and sets their pointers to null; the counts are kept.
void releaseNames(MvParRecord& record);

/// Lists of names that are freed with the object.
struct NameLists {
    NameLists() = default;
    ~NameLists() { releaseNames(record); }
    NameLists(const NameLists&) = delete;
    NameLists& operator=(const NameLists&) = delete;

    bool areGone() const { return record.realNames == nullptr && record.stringNames == nullptr; }

    MvParRecord record{};
};

/// Exchanges the lists with those of `g_mv_par`. Takes the process lock.
void exchangeNames(NameLists& names);

/// Moves the lists out of `g_mv_par`, whose counts are kept. Takes the process lock.
void takeNames(NameLists& names);

/// `fread_mv_par` on an open stream; never -1.
int readNames(std::FILE* stream, MvParRecord& record);

/// The reason for a failure of `fread_mv_par`, for a message; -1 is read from errno.
const char* namesFailure(int result);
