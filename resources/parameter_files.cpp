#include "resources/parameter_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include <sys/stat.h>

#include "fmi/instance/process_lock.h"
#include "resources/parameter_records.h"
#include "util/internal/c_locale.h"
#include "util/internal/owners.h"

FmuParRecord g_fmu_par;
MvParRecord g_mv_par;

namespace {

/// Frees the names when the library is unloaded.
struct ReleaseNamesAtUnload {
    ~ReleaseNamesAtUnload() { releaseNames(g_mv_par); }
} const releaseNamesAtUnload;

constexpr std::size_t unbounded = std::numeric_limits<std::size_t>::max();
constexpr std::size_t nameSize = 1024;

/// Above this count, a list of names must not have more names than the file has bytes.
constexpr long mostRepeatedNames = 100'000;

/// The open streams of `fread_par`; the oldest is closed first.
class StreamRing {
public:
    void hold(Stream stream) {
        const std::lock_guard<std::mutex> lock(mutex_);
        streams_[next_++ % streams_.size()].swap(stream);
    }

private:
    std::mutex mutex_;
    std::array<Stream, 64> streams_;
    std::size_t next_ = 0;
};

/// Reads line by line, at most 1023 characters per line.
class LineReader {
public:
    explicit LineReader(std::FILE* stream) : stream_(stream) {}

    /// False at the end of the stream.
    bool advance() { return std::fgets(line_.data(), static_cast<int>(line_.size()), stream_) != nullptr; }

    /// The next line with its line feed.
    // Kept: past the end of the file, this is the last line again.
    const char* next() {
        advance();
        return line_.data();
    }

    const char* current() const { return line_.data(); }

    /// In bytes; 0 when unknown.
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

    // Kept: only the line feed is removed, not a carriage return before it.
    auto* lineFeed = static_cast<char*>(std::memchr(dst, '\n', length));
    if (lineFeed == nullptr) return length;
    *lineFeed = '\0';
    return static_cast<std::size_t>(lineFeed - dst);
}

/// `get_int_vec_from_string` for at most `room` integers.
std::size_t parseIntegers(const char* src, std::int32_t* dst, std::size_t room) {
    // Kept: two separators in a row end the list; one at the start makes it empty. Spaces do not separate.
    std::size_t count = 0;
    if (endsList(*src)) return count;

    while (count < room) {
        const std::size_t length = std::strcspn(src, "\t\n");
        const bool isEmpty = std::strspn(src, " \v\f\r") >= length; // strtol would skip the tab and read the next value
        dst[count++] = isEmpty ? 0 : toInteger(src);
        if (src[length] == '\0') return count;

        src += length + 1;
        if (endsList(*src)) return count;
    }
    return count;
}

/// Fills a record field by field. A line that is too long for its field continues into the next fields and is cut at
/// the end of the record. Addresses are computed from the start of the record, so the compiler sees writes to the
/// record, not past a field.
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
    const NumericLocaleScope decimalPoint;
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

    const char* line = lines.next(); // a line feed can only be the last character
    const std::size_t length = std::strlen(line);
    std::memcpy(name, line, length + 1);
    if (length > 0 && name[length - 1] == '\n') name[length - 1] = '\0';
    return name;
}

/// Reads one list: its count, then that many names. Returns 0 or a failure of `fread_mv_par`.
int readList(LineReader& lines, char**& names, std::int32_t& count) {
    count = toInteger(lines.next());
    if (count < 0 || (count > mostRepeatedNames && count > lines.fileSize())) {
        count = 0;
        return -2;
    }

    names = static_cast<char**>(std::calloc(static_cast<std::size_t>(count), sizeof(char*)));
    if (names == nullptr && count > 0) return -3;

    for (std::int32_t i = 0; i < count; ++i) {
        names[i] = readName(lines);
        if (names[i] == nullptr) return -3;
    }
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

    // Kept: the stream stays open. The number of open streams is limited, so that thousands of instantiations do not
    // use up the process's descriptors.
    static StreamRing openStreams;
    openStreams.hold(std::move(stream));
    return static_cast<int>(nLast);
}

int fread_mv_par(const char* path, MvParRecord* record) {
    if (path == nullptr || record == nullptr) return -1;
    const Stream stream(std::fopen(path, "r"));
    return stream ? readNames(stream.get(), *record) : -1;
}

int readNames(std::FILE* stream, MvParRecord& record) {
    LineReader lines(stream);
    NameLists names;
    MvParRecord& read = names.record;
    int result = readList(lines, read.realNames, read.nRealNames);
    if (result == 0) result = readList(lines, read.integerNames, read.nIntegerNames);
    if (result == 0) result = readList(lines, read.booleanNames, read.nBooleanNames);
    if (result == 0) result = readList(lines, read.stringNames, read.nStringNames);
    if (result == 0) record = std::exchange(read, {});
    return result;
}

const char* namesFailure(int result) {
    if (result == -1) return std::strerror(errno);
    return result == -2 ? "illegal number of names" : "out of memory";
}

FmuParRecord currentParameters() {
    const ProcessLock lock;
    return g_fmu_par;
}

void exchangeNames(NameLists& names) {
    const ProcessLock lock;
    std::swap(names.record, g_mv_par);
}

void takeNames(NameLists& names) {
    const ProcessLock lock;
    names.record = g_mv_par;
    g_mv_par.stringNames = g_mv_par.realNames = g_mv_par.integerNames = g_mv_par.booleanNames = nullptr;
}

void releaseNames(MvParRecord& record) {
    freeNames(record.stringNames, record.nStringNames);
    freeNames(record.realNames, record.nRealNames);
    freeNames(record.integerNames, record.nIntegerNames);
    freeNames(record.booleanNames, record.nBooleanNames);
}
