// What libFuzzer feeds with texts of its own making.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <spawn.h>
#include <wordexp.h>

#include "fmi/instance/fmu_instance.h"
#include "resources/model_generation.h"
#include "resources/parameter_records.h"
#include "resources/resource_location.h"
#include "tests/fuzz/targets.h"
#include "tests/support.h"
#include "util/bytes.h"
#include "util/internal/owners.h"
#include "util/line_breaking.h"
#include "util/line_input.h"
#include "util/numbers.h"
#include "util/paths.h"
#include "util/replacing.h"
#include "util/text.h"

namespace fuzzing {

void require(bool condition) {
    if (!condition) std::abort();
}

/// A folder in memory, as an unpacked FMU.
const fs::path& unpacked() {
    static const Folder folder;
    return folder.path;
}

void fmu2ts_par(const std::string& text) {
    static auto record = std::make_unique<FmuParRecord>();
    const fs::path path = unpacked() / "fmu2ts.par";
    writeFile(path, text);
    require(fread_par(path.c_str(), record.get()) >= (text.empty() ? -1 : 0));
    require(parameterText(*record, record->ipAddress).size() <= sizeof(FmuParRecord) - 3616);
}

void mv_par(const std::string& text) {
    const fs::path path = unpacked() / "mv.par";
    writeFile(path, text);
    MvParRecord record{};
    if (fread_mv_par(path.c_str(), &record) != 0) return;
    for (std::int32_t i = 0; i < record.nStringNames; ++i) require(std::strlen(record.stringNames[i]) < 1024);
    releaseNames(record);
}

void lines(const std::string& text) {
    std::vector<std::int32_t> integers(text.size() + 1);
    require(get_int_vec_from_string(text.c_str(), integers.data()) <= static_cast<int>(integers.size()));
    std::vector<char> copy(text.size() + 1), line(17);
    require(get_string_from_string(copy.data(), text.c_str()) <= static_cast<int>(text.size()));
    writeFile(unpacked() / "lines", text);
    const Stream stream(std::fopen((unpacked() / "lines").c_str(), "r"));
    do {
        fgets_modified(line.data(), 16, stream.get());
    } while (line[0] != '\0' || std::feof(stream.get()) == 0);
}

void location(const std::string& text) {
    const MallocText path(convert_URI_to_path(text.c_str()));
    char* stripped = nullptr;
    ConvertFmuLocationToPath(text.c_str(), &stripped);
    require(std::strlen(stripped) + static_cast<std::size_t>(isURIFile(text.c_str())) == std::strlen(text.c_str()));
    delete[] stripped;
}

void ignore(void* /*environment*/, fmi2String /*name*/, fmi2Status /*status*/, fmi2String /*category*/,
            fmi2String /*format*/, ...) {}

fs::path resources;

/// The text is the model description; the template that it is likely to name is made.
void model_description(const std::string& text) {
    resources = unpacked() / "fmu/resources";
    fs::remove_all(resources.parent_path());
    writeFile(resources / "../modelDescription.xml", text), fs::create_directory(resources);
    setenv("KORVAN_FMU_ROOT", "/in stallation", 1);
    const std::size_t word = text.find("modelName");
    if (word != std::string::npos && word + 11 < text.size()) {
        const std::string line = text.substr(word + 11, text.find('\n', word) - word - 11);
        const std::string name = line.substr(0, line.rfind('"')), base = name.substr(0, name.find(".xml"));
        if (base.find('/') == std::string::npos)
            std::ofstream(resources / (std::string(base.c_str()) + ".mdl")) << "template";
    }
    const fmi2CallbackFunctions functions{ignore, nullptr, nullptr, nullptr, nullptr};
    FmuInstance instance{};
    instance.functions = &functions, instance.loggingOn = fmi2True;
    const fs::path directory = fs::current_path();
    fmu_generate_xml(("file://" + resources.string()).c_str(), &instance);
    require(fs::current_path() == directory);
}

void numbers_and_texts(const std::string& text) {
    char* end = nullptr;
    fstrtod(text.c_str(), &end);
    require(end >= text.c_str() && end <= text.c_str() + std::strlen(text.c_str()));
    const int kind = isnumber(text.c_str()) + IsValidVariableName(text.c_str()) + chrcnt(text.c_str(), 'a');
    const std::size_t half = std::strlen(text.c_str()) / 2;
    const std::string left(text, 0, half / 2), middle(text, half / 2, half - half / 2), right(text, half);
    std::vector<char> room(right.size() * (middle.size() + 1) + 1);
    ReplaceSubstringNewLength(right.c_str(), left.c_str(), middle.c_str());
    ReplaceSubstring(right.c_str(), left.c_str(), middle.c_str(), room.data());
    for (const int width : {1, 3, kind}) std::unique_ptr<char[]>(InsertReturnCharacters(width, text.c_str()));
    std::unique_ptr<char[]>(ChangeExtension(text.c_str(), left.c_str(), middle.c_str()));
    room.assign(text.size() + 3, '\0');
    strmid(room.data(), text.c_str(), kind - 2, static_cast<int>(text.size()));
    std::strcpy(room.data(), text.c_str());
    lrtrim(lcaseq(ucase(str7to8(room.data()))));
    std::free(str8to7(strdup(text.c_str())));
}

/// In place of the C library's: for a shell the command must run the translator and neither run nor redirect anything
/// else. Nothing is run.
extern "C" int posix_spawn(pid_t* /*process*/, const char* /*path*/, const posix_spawn_file_actions_t* /*actions*/,
                           const posix_spawnattr_t* /*attributes*/, char* const arguments[],
                           char* const /*environ*/[]) {
    std::string command = arguments[2];
    require(command.starts_with("\"/in stallation/"));
    for (char& letter : command) // the shell reads these as letters or refuses them
        if (std::strchr("(){}", letter) != nullptr) letter = 'x';
    wordexp_t words{};
    const int result = wordexp(command.c_str(), &words, WRDE_NOCMD);
    require(result != WRDE_BADCHAR && result != WRDE_CMDSUB);
    wordfree(&words);
    return ENOENT;
}

} // namespace fuzzing
