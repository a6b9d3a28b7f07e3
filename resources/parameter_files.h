// The two parameter files of the FMU's resources folder: `fmu2ts.par` (ports, variable counts, file names) and `mv.par`
// (the names of the model's variables). Read at every instantiation into two records that the whole process shares.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "util/export.h"

/// Number of ports of a kind that the files can describe.
inline constexpr int maxPorts = 8;

/// `fmu2ts.par`: 17 lines, each a field in this order. A text that is longer than its field runs on into the next ones
/// until their own lines are read, and is cut at the end of the record; read texts with `parameterText`.
struct FmuParRecord {
    char headerLine1[256]; ///< free text, as the next one
    char headerLine2[256];
    double finalTime; ///< seconds
    std::int32_t nInputPorts;
    std::int32_t nOutputPorts;
    std::int32_t nReal;
    std::int32_t nInteger;
    std::int32_t nBoolean;
    std::int32_t nString;  ///< string variable 0 is the result file name
    char inputName[1024];  ///< model file, relative to the resources folder
    char outputName[1024]; ///< default result file
    char subdllName[1024]; ///< additional library, relative to the resources folder
    char ipAddress[256];
    std::int32_t inputPortWidth[maxPorts];
    std::int32_t inputPortOffset[maxPorts]; ///< index of each port's first real variable
    std::int32_t outputPortWidth[maxPorts];
    std::int32_t outputPortOffset[maxPorts]; ///< values there, derivatives one and two widths behind
};

static_assert(offsetof(FmuParRecord, finalTime) == 512 && offsetof(FmuParRecord, nInputPorts) == 520);
static_assert(offsetof(FmuParRecord, inputName) == 544 && offsetof(FmuParRecord, ipAddress) == 3616);
static_assert(offsetof(FmuParRecord, inputPortWidth) == 3872 && sizeof(FmuParRecord) == 4000);

/// `mv.par`: four name lists. Name k of a list belongs to the variable of that type with value reference k. Each list
/// is a malloc'ed array of malloc'ed 1024-byte texts, owned by the record.
struct MvParRecord {
    std::int32_t nRealNames;
    std::int32_t nIntegerNames;
    std::int32_t nBooleanNames;
    std::int32_t nStringNames;
    char** stringNames; ///< stands first although its count stands last: the layout is fixed
    char** realNames;
    char** integerNames;
    char** booleanNames;
};

static_assert(offsetof(MvParRecord, stringNames) == 16 && offsetof(MvParRecord, realNames) == 24);
static_assert(offsetof(MvParRecord, booleanNames) == 40 && sizeof(MvParRecord) == 48);

/// What the last instantiation read; shared by all instances of the process, zero at load.
extern FmuParRecord g_fmu_par;
extern MvParRecord g_mv_par;

/// The text of a field, which may run on behind the field, but never behind the record.
template <std::size_t size>
std::string_view parameterText(const FmuParRecord& record, const char (&field)[size]) {
    const auto* end = reinterpret_cast<const char*>(&record + 1);
    const std::string_view rest(field, static_cast<std::size_t>(end - field));
    return rest.substr(0, rest.find('\0'));
}

/// Releases the four name lists and sets their pointers to null; the counts stay.
void releaseNames(MvParRecord& record);

extern "C" {

/// Copies the whole text `src` to `dst` (room for all of it, also what follows a line feed) and cuts `dst` at its first
/// line feed. The length of the result; -1 when a pointer is null, and `dst` is left alone.
TESSARO_EXPORT int get_string_from_string(char* dst, const char* src);

/// Stores the integers of a line, separated by single tabs and ended by a line feed or the end of the text, in `dst`
/// (room for all of them) and gives their number; -1 when a pointer is null. What is no number counts as 0; a line
/// that begins with a separator holds none, two separators in a row end the list. Blanks do not separate.
TESSARO_EXPORT int get_int_vec_from_string(const char* src, std::int32_t* dst);

/// Reads `fmu2ts.par` into the record, which keeps the vectors of earlier readings where a vector line is empty. The
/// number of integers stored from the last line; -1 when a pointer is null, or the file cannot be opened or holds no
/// line, and the record is then left as it was. A file that ends early repeats its last line. The stream stays open; 64
/// are held, then the oldest is closed.
TESSARO_EXPORT int fread_par(const char* path, FmuParRecord* record);

/// Reads `mv.par`. 0; -1 when a pointer is null or the file cannot be opened; -2 when a list's count is negative, or
/// above 100000 and greater than the file's size in bytes; -3 when memory is lacking. On failure the record is left as
/// it was, on success its pointers are overwritten: release earlier lists before or keep them elsewhere.
TESSARO_EXPORT int fread_mv_par(const char* path, MvParRecord* record);

} // extern "C"
