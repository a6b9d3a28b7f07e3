// The two parameter files in the FMU's resources folder: `fmu2ts.par` (ports, variable counts, file names) and `mv.par`
// (names of the variables in the model), as records, and their readers. Part of the installed package: C++11 and later.
#pragma once

#include <cstddef>
#include <cstdint>

#include "util/internal/export.h"

/// Greatest number of input ports and of output ports.
constexpr int maxPorts = 8;

/// `fmu2ts.par`: 17 lines, one per field, in this order. A string that is too long for its field continues into the
/// next fields until their lines are read, and is cut at the end of the record.
struct FmuParRecord {
    char headerLine1[256]; ///< free text, as is the next one
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
    std::int32_t outputPortOffset[maxPorts]; ///< of the values; derivatives start one and two widths later
};

static_assert(offsetof(FmuParRecord, finalTime) == 512 && offsetof(FmuParRecord, nInputPorts) == 520, "fixed layout");
static_assert(offsetof(FmuParRecord, inputName) == 544 && offsetof(FmuParRecord, ipAddress) == 3616, "fixed layout");
static_assert(offsetof(FmuParRecord, inputPortWidth) == 3872 && sizeof(FmuParRecord) == 4000, "fixed layout");

/// `mv.par`: four lists of names. Name k of a list belongs to the variable of that type with value reference k. Each
/// list is a malloc'ed array of malloc'ed 1024-byte strings, owned by the record.
struct MvParRecord {
    std::int32_t nRealNames;
    std::int32_t nIntegerNames;
    std::int32_t nBooleanNames;
    std::int32_t nStringNames;
    char** stringNames; ///< the first list although its count is the last one: the layout is fixed
    char** realNames;
    char** integerNames;
    char** booleanNames;
};

static_assert(offsetof(MvParRecord, stringNames) == 16 && offsetof(MvParRecord, realNames) == 24, "fixed layout");
static_assert(offsetof(MvParRecord, booleanNames) == 40 && sizeof(MvParRecord) == 48, "fixed layout");

extern "C" {

/// Copies `src` to `dst` and cuts `dst` at its first line feed. `dst` needs room for all of `src`, also for what
/// follows a line feed. Returns the length of the result; -1 when a pointer is null, and nothing is written.
TESSARO_EXPORT int get_string_from_string(char* dst, const char* src);

/// Stores the integers of a line in `dst` (room for all of them) and returns their number; -1 when a pointer is null.
/// They are separated by single tabs; a line feed or the end of the string ends the line. Anything that is not a number
/// gives 0. A separator at the start of the line makes the list empty; two in a row end it. Spaces do not separate.
TESSARO_EXPORT int get_int_vec_from_string(const char* src, std::int32_t* dst);

/// Reads `fmu2ts.par` into the record. An empty vector line keeps the vector of the previous reading; a file that ends
/// early repeats its last line. Returns the number of integers in the last line. Returns -1, and does not change the
/// record, when a pointer is null or the file is empty or cannot be opened. The stream stays open; when there are more
/// than 64, the oldest is closed.
TESSARO_EXPORT int fread_par(const char* path, FmuParRecord* record);

/// Reads `mv.par`. Returns 0; -1 when a pointer is null or the file cannot be opened; -2 when a list's count is
/// negative, or above 100000 and greater than the file's size in bytes; -3 when out of memory. On failure the record is
/// not changed. On success its pointers are overwritten, not freed: free earlier lists first, each name and each list.
TESSARO_EXPORT int fread_mv_par(const char* path, MvParRecord* record);

} // extern "C"
