#include "resources/parameter_files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include <sys/stat.h>

#include "util/c_locale.h"
#include "util/owners.h"

FmuParRecord g_fmu_par;
MvParRecord g_mv_par;

namespace {

/// When the library is unloaded, nobody else knows of the names.
struct ReleaseNamesAtUnload {
    ~ReleaseNamesAtUnload() { releaseNames(g_mv_par); }
} const releaseNamesAtUnload;

constexpr std::size_t unbounded = std::numeric_limits<std::size_t>::max();
constexpr std::size_t nameSize = 1024;

/// A list that counts more names than this must at least have a byte of the file for each of them.
constexpr long mostRepeatedNames = 100'000;

/// The streams of `fread_par`, oldest overwritten first.
class StreamRing {
public:
    void hold(Stream stream) { streams_[next_++ % streams_.size()] = std::move(stream); }

private:
    std::array<Stream, 64> streams_;
    std::size_t next_ = 0;
};

/// Reads line by line, at most 1023 characters a line.
class LineReader {
public:
    explicit LineReader(std::FILE* stream) : stream_(stream) {}

    /// False when the stream has no further line.
    bool advance() { return std::fgets(line_.data(), static_cast<int>(line_.size()), stream_) != nullptr; }

    /// The next line with its line feed.
    // Kept: behind the end of the file this is the last line again.
    const char* next() {
        advance();
        return line_.data();
    }

    const char* current() const { return line_.data(); }

    /// In bytes; 0 when it cannot be told.
    long fileSize() const {
        struct stat status {};
        return fstat(fileno(stream_), &status) == 0 ? static_cast<long>(status.st_size) : 0;
    }

private:
    std::FILE* stream_;
    std::array<char, 1024> line_{};
};

std::int32_t toInteger(const char* text) { return static_cast<std::int32_t>(std::strtol(text, nullptr, 10)); }

bool endsList(char character) { return character == '\t' || character == '\n' || character == '\0'; }

/// `get_string_from_string` into `room` bytes, terminator included.
std::size_t copyLine(char* dst, std::size_t room, const char* src) {
    const std::size_t length = std::min(std::strlen(src), room - 1);
    std::memcpy(dst, src, length);
    dst[length] = '\0';

    // Kept: only the line feed is cut, a carriage return before it stays.
    auto* lineFeed = static_cast<char*>(std::memchr(dst, '\n', length));
    if (lineFeed == nullptr) return length;
    *lineFeed = '\0';
    return static_cast<std::size_t>(lineFeed - dst);
}

/// `get_int_vec_from_string` into room for `room` integers.
std::size_t parseIntegers(const char* src, std::int32_t* dst, std::size_t room) {
    // Kept: two separators in a row end the list, and one at its start makes it empty. Blanks do not separate.
    std::size_t count = 0;
    if (endsList(*src)) return count;

    while (count < room) {
        const std::size_t length = std::strcspn(src, "\t\n");
        const bool blank = std::strspn(src, " \v\f\r") >= length; // behind blanks the next value would be read
        dst[count++] = blank ? 0 : toInteger(src);
        if (src[length] == '\0') return count;

        src += length + 1;
        if (endsList(*src)) return count;
    }
    return count;
}

/// Fills a record field by field. What is longer than its field spills into the following ones and is cut at the
/// record's end. All addresses are formed from the record's own, so that the whole record is the object written to.
class RecordWriter {
public:
    explicit RecordWriter(FmuParRecord* record) : bytes_(reinterpret_cast<char*>(record)) {}

    void text(std::size_t offset, const char* line) { copyLine(bytes_ + offset, sizeof(FmuParRecord) - offset, line); }

    std::size_t integers(std::size_t offset, const char* line) {
        return parseIntegers(line, reinterpret_cast<std::int32_t*>(bytes_ + offset),
                             (sizeof(FmuParRecord) - offset) / sizeof(std::int32_t));
    }

private:
    char* bytes_;
};

double toReal(const char* text) {
    const NumericLocaleScope fullStop;
    return std::strtod(text, nullptr);
}

void freeNames(char**& names, std::int32_t count) {
    for (std::int32_t i = 0; names != nullptr && i < count; ++i) std::free(names[i]);
    std::free(names);
    names = nullptr;
}

char* readName(LineReader& lines) {
    auto* name = static_cast<char*>(std::malloc(nameSize));
    if (name == nullptr) return nullptr;

    const char* line = lines.next(); // its only line feed is the last character
    const std::size_t length = std::strlen(line);
    std::memcpy(name, line, length + 1);
    if (length > 0 && name[length - 1] == '\n') name[length - 1] = '\0';
    return name;
}

/// Reads one list: its count, then as many names. 0, or the failure of `fread_mv_par`.
int readNames(LineReader& lines, char**& names, std::int32_t& count) {
    count = toInteger(lines.next());
    if (count < 0 || (count > mostRepeatedNames && count > lines.fileSize())) {
        count = 0;
        return -2;
    }

    names = static_cast<char**>(std::calloc(static_cast<std::size_t>(count), sizeof(char*)));
    if (names == nullptr && count > 0) return -3;

    for (std::int32_t i = 0; i < count; ++i)
        if ((names[i] = readName(lines)) == nullptr) return -3;
    return 0;
}

} // namespace

int get_string_from_string(char* dst, const char* src) {
    if (dst == nullptr || src == nullptr) return -1;
    return static_cast<int>(copyLine(dst, unbounded, src));
}

int get_int_vec_from_string(const char* src, std::int32_t* dst) {
    if (src == nullptr || dst == nullptr) return -1;
    return static_cast<int>(parseIntegers(src, dst, unbounded));
}

int fread_par(const char* path, FmuParRecord* record) {
    if (path == nullptr || record == nullptr) return -1;
    Stream stream(std::fopen(path, "r"));
    if (!stream) return -1;
    LineReader lines(stream.get());
    if (!lines.advance()) return -1;

    RecordWriter fields(record);
    fields.text(offsetof(FmuParRecord, headerLine1), lines.current());
    fields.text(offsetof(FmuParRecord, headerLine2), lines.next());
    record->finalTime = toReal(lines.next());
    for (std::int32_t* count : {&record->nInputPorts, &record->nOutputPorts, &record->nReal, &record->nInteger,
                                &record->nBoolean, &record->nString})
        *count = toInteger(lines.next());
    for (std::size_t name : {offsetof(FmuParRecord, inputName), offsetof(FmuParRecord, outputName),
                             offsetof(FmuParRecord, subdllName), offsetof(FmuParRecord, ipAddress)})
        fields.text(name, lines.next());
    fields.integers(offsetof(FmuParRecord, inputPortWidth), lines.next());
    fields.integers(offsetof(FmuParRecord, inputPortOffset), lines.next());
    fields.integers(offsetof(FmuParRecord, outputPortWidth), lines.next());
    const std::size_t nLast = fields.integers(offsetof(FmuParRecord, outputPortOffset), lines.next());

    // Kept: the stream is not closed here, it stays open for the life of the process. Only so many are held that
    // thousands of instantiations do not use up the process's descriptors.
    static StreamRing openStreams;
    openStreams.hold(std::move(stream));
    return static_cast<int>(nLast);
}

int fread_mv_par(const char* path, MvParRecord* record) {
    if (path == nullptr || record == nullptr) return -1;
    const Stream stream(std::fopen(path, "r"));
    if (!stream) return -1;

    LineReader lines(stream.get());
    MvParRecord read{};
    int result = readNames(lines, read.realNames, read.nRealNames);
    if (result == 0) result = readNames(lines, read.integerNames, read.nIntegerNames);
    if (result == 0) result = readNames(lines, read.booleanNames, read.nBooleanNames);
    if (result == 0) result = readNames(lines, read.stringNames, read.nStringNames);
    if (result != 0) {
        releaseNames(read);
        return result;
    }

    *record = read;
    return 0;
}

void releaseNames(MvParRecord& record) {
    freeNames(record.stringNames, record.nStringNames);
    freeNames(record.realNames, record.nRealNames);
    freeNames(record.integerNames, record.nIntegerNames);
    freeNames(record.booleanNames, record.nBooleanNames);
}
