#include "tests/recording_master.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <functional>
#include <numeric>
#include <regex>
#include <set>
#include <thread>
#include <utility>

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "fmi/fmu_callback2.h"

namespace {

Master* running = nullptr;

constexpr std::size_t recordSize = 280, pageSize = 4096, stateOffset = 184;
void* const firstRecord = reinterpret_cast<void*>(0x20000000000); // each has a page of its own from here on

/// The process's descriptors, without the streams that stay open on purpose.
std::size_t countDescriptors() {
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator("/proc/self/fd"), {}, [](const auto& file) {
        std::error_code gone;
        return fs::read_symlink(file, gone).string().find("fmu2ts.par") == std::string::npos;
    }));
}

bool isLoaded(const std::string& folder) {
    return contentOf("/proc/self/maps").find(folder + "/") != std::string::npos;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
}

std::string nextWord(std::istream& words) {
    std::string word;
    words >> word;
    return word;
}

/// What is left, with line feeds and tabs.
std::string remainder(std::istream& words) {
    std::string text;
    std::getline(words >> std::ws, text);
    replaceAll(text, "\\n", "\n"), replaceAll(text, "\\t", "\t");
    return text;
}

void setVariable(const char* name, const std::string& value) {
    value == "-" ? unsetenv(name) : setenv(name, value == "''" ? "" : value.c_str(), 1);
}

/// Keeps what an argument points to.
template <typename Value>
Value& keep(Value value) {
    static std::deque<Value> kept;
    return kept.emplace_back(std::move(value));
}

template <typename Value>
Value parsed(const std::string& word) {
    if constexpr (std::is_same_v<Value, fmi2String>)
        return word == "-" ? nullptr : keep(word == "''" ? std::string() : word).c_str();
    else if constexpr (std::is_pointer_v<Value>)
        return nullptr;
    else
        return static_cast<Value>(std::strtod(word.c_str(), nullptr));
}

fmi2String shown(fmi2String text) { return text != nullptr ? text : "null"; }

auto shown(auto value) { return value; }

/// The next argument, read by its type. An array holds the word's values; one that is an output is later shown.
template <typename Type, typename Outputs>
Type next(std::istream& words, Outputs& outputs) {
    using Element = std::remove_pointer_t<Type>;
    using Value = std::remove_const_t<Element>;
    const std::string word = nextWord(words);
    if constexpr (!std::is_pointer_v<Type> || std::is_same_v<Value, char> || std::is_void_v<Value>) {
        return parsed<Type>(word);
    } else {
        if (word == "-") return nullptr;
        auto& values = keep(std::vector<Value>());
        std::istringstream items(word.empty() ? "-1" : word);
        for (std::string item; std::getline(items, item, ',');) values.push_back(parsed<Value>(item));
        if constexpr (!std::is_const_v<Element>)
            outputs.emplace_back([&values](std::ostream& stream) {
                for (Value value : values) stream << " " << shown(value);
            });
        return values.data();
    }
}

template <typename Result, typename... Parameters>
std::string invoke(Result (*function)(fmi2Component, Parameters...), fmi2Component handle, std::istream& words) {
    static const char* const statuses[] = {"ok", "warning", "discard", "error", "fatal", "pending"};
    std::vector<std::function<void(std::ostream&)>> outputs;
    const std::tuple<fmi2Component, Parameters...> arguments{handle, next<Parameters>(words, outputs)...};
    std::ostringstream result;
    if constexpr (std::is_void_v<Result>)
        std::apply(function, arguments);
    else
        result << statuses[std::apply(function, arguments)];
    for (const auto& output : outputs) output(result);
    return result.str();
}

using Invoke = std::string (*)(void* address, fmi2Component handle, std::istream& words);

// clang-format off
#define FUNCTION(name) {#name, [](void* address, fmi2Component handle, std::istream& words) { \
    return invoke(reinterpret_cast<decltype(&name)>(address), handle, words); }}

const std::map<std::string, Invoke> functions{
    FUNCTION(fmi2SetDebugLogging), FUNCTION(fmi2FreeInstance), FUNCTION(fmi2SetupExperiment), FUNCTION(setString),
    FUNCTION(fmi2EnterInitializationMode), FUNCTION(fmi2ExitInitializationMode), FUNCTION(fmi2Terminate),
    FUNCTION(fmi2Reset), FUNCTION(fmi2GetReal), FUNCTION(fmi2GetInteger), FUNCTION(fmi2GetBoolean),
    FUNCTION(fmi2GetString), FUNCTION(fmi2SetReal), FUNCTION(fmi2SetInteger), FUNCTION(fmi2SetBoolean),
    FUNCTION(fmi2SetString), FUNCTION(fmi2GetFMUstate), FUNCTION(fmi2SetFMUstate), FUNCTION(fmi2FreeFMUstate),
    FUNCTION(fmi2SerializedFMUstateSize), FUNCTION(fmi2SerializeFMUstate), FUNCTION(fmi2DeSerializeFMUstate),
    FUNCTION(fmi2GetDirectionalDerivative), FUNCTION(fmi2SetRealInputDerivatives), FUNCTION(fmi2GetStringStatus),
    FUNCTION(fmi2GetRealOutputDerivatives), FUNCTION(fmi2DoStep), FUNCTION(fmi2CancelStep), FUNCTION(fmi2GetStatus),
    FUNCTION(fmi2GetRealStatus), FUNCTION(fmi2GetIntegerStatus), FUNCTION(fmi2GetBooleanStatus)};
// clang-format on

} // namespace

Master::Master() : callbacks{log, allocate, release, nullptr, this} {
    running = this;
    std::ostringstream address;
    address << &solver;
    setVariable(scriptVariable, address.str());
    check("");
    nDescriptors_ = countDescriptors();
}

void Master::TearDown() {
    failTo = 0;
    if (c != nullptr) run("state 2 ; fmi2FreeInstance");
    EXPECT_EQ(live.size(), 0U) << "blocks never freed";
    EXPECT_EQ(countDescriptors(), nDescriptors_);
    EXPECT_FALSE(isLoaded(SCRIPTED_SOLVERS "/all"));
}

void Master::check(const std::string& script) {
    static const std::regex quiet(R"( \| \d (error|warning|log) [^|]*(?= \||$))"), form("^ *(.*?) *(=> *(.*))?$");
    const auto unchanged = shape;
    for (const fmi2Boolean on : {1, 0}) {
        setVariable("KORVAN_FMU_ROOT", root);
        for (const char* name : {"NUSOL_DLL_DIR", "KELDEX_PATH"}) setVariable(name, "-");
        logging = on, solver = {recordSolver, {}, {}}, shape = unchanged;
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            std::regex_match(line, parts, form);
            const std::string expected = parts[2].matched ? parts.str(3) : "ok";
            expect(parts[1], on != 0 ? expected : std::regex_replace(expected, quiet, ""));
        }
    }
    logging = fmi2True;
}

void Master::expect(const std::string& line, const std::string& expected) {
    static const std::regex success(R"(((ok)?( ->\d+)?( \+plant)?(, )?)*)");
    const std::string result = run(line);
    const std::size_t dots = std::min(expected.find("..."), expected.size());
    const bool matches = result.starts_with(expected.substr(0, dots)) && result.size() + 3 >= expected.size() &&
                         result.ends_with(expected.substr(std::min(dots + 3, expected.size())));
    EXPECT_TRUE(expected == "ok"         ? std::regex_match(result, success)
                : dots < expected.size() ? matches
                                         : result == expected)
        << line << (logging != 0 ? "" : " (logging off)") << "\nexpected " << expected << "\nbut is   " << result;
}

std::string Master::run(std::string line) {
    const std::pair<std::string, std::string> names[] = {
        {"$ROOT", root}, {"$R", resources}, {"$L", location}, {"$SOLVERS", SCRIPTED_SOLVERS}};
    for (const auto& [name, text] : names) replaceAll(line, name, text);

    std::string results;
    for (line += " ; "; !line.empty(); line.erase(0, line.find(" ; ") + 3)) {
        std::istringstream words(line.substr(0, line.find(" ; ")));
        const std::string name = nextWord(words);
        const fmi2Component before = c;
        const auto state = c != nullptr ? field<unsigned>(stateOffset) : 0;
        const auto* plant = c != nullptr ? field<void*>(32) : nullptr;
        std::string result;
        const auto call = [&] { result = execute(name, words); };
        onThreads ? std::thread(call).join() : call();
        if (live.count(c) == 0) c = nullptr;
        const bool called = before != nullptr && functions.count(name) != 0;
        if (called && c == nullptr) result += " released";
        if (called && c != nullptr && field<unsigned>(stateOffset) != state)
            result += " ->" + std::to_string(field<unsigned>(stateOffset));
        if (called && c != nullptr && field<void*>(32) != plant)
            result += field<void*>(32) != nullptr ? " +plant" : " -plant";
        result.erase(0, result.find_first_not_of(' '));
        EXPECT_EQ(fs::current_path(), directory_) << name;
        results += (results.empty() || result.empty() ? "" : ", ") + result;
    }
    results += std::exchange(events_, {});
    results.erase(0, results.find_first_not_of(' '));
    for (const auto& [name, text] : names) replaceAll(results, text, name);
    replaceAll(results, "\n", "\\n");
    return results;
}

std::string Master::execute(const std::string& name, std::istringstream& words) {
    if (const auto function = functions.find(name); function != functions.end())
        return function->second(dlsym(library, name.c_str()), handle, words);
    if (name == "new" || name == "make") {
        if (c != nullptr) field<unsigned>(stateOffset) = 2, execute("fmi2FreeInstance", words);
        makeFiles(), events_.clear();
        std::istringstream arguments("unit {guid} " + location + (nextWord(words).empty() ? " 1" : " 0"));
        return name == "make" ? execute("fmi2Instantiate", arguments) : "";
    }
    const std::string word = nextWord(words);
    if (name == "fmi2Instantiate") {
        fmi2String texts[3] = {parsed<fmi2String>(word)};
        for (int i = 1; i < 3; ++i) texts[i] = parsed<fmi2String>(nextWord(words));
        blocks_.clear();
        handle = c = reinterpret_cast<decltype(&fmi2Instantiate)>(dlsym(library, name.c_str()))(
            texts[0], parsed<fmi2Type>(nextWord(words)), texts[1], texts[2], &callbacks, fmi2False, logging);
        return c != nullptr ? "" : "null";
    }
    const std::string rest = remainder(words), file = resources / (rest.empty() ? word : word + " " + rest);
    const std::size_t number = std::strtoul(word.c_str(), nullptr, 10);
    if (name == "shape") shape[number - 1] = rest;
    if (name == "write") writeFile(resources / word, rest);
    if (name == "remove") fs::remove_all(file);
    if (name == "show") return contentOf(file);
    if (name == "cut") {
        fs::copy_file(SCRIPTED_SOLVERS "/all/tscicos.so", resources / "tscicos.so");
        fs::resize_file(resources / "tscicos.so", number);
    }
    if (name == "link") fs::create_symlink(rest, resources / word);
    if (name == "translator") writeFile(translator, "#!/bin/sh\n" + word + " " + rest + "\n");
    if (name == "descriptors") {
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        const rlimit limit{static_cast<rlim_t>(lowest) + number, 1024};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (name == "model") {
        writeFile(resources / "../modelDescription.xml", "modelName=\"" + file.substr(file.rfind('/') + 1) + "\"");
        writeFile(file + ".mdl", "template");
    }
    if (name == "env") setVariable(word.c_str(), rest);
    if (name == "getenv") return std::getenv(word.c_str()) != nullptr ? std::getenv(word.c_str()) : "-";
    if (name == "blocks") return blocks_;
    if (name == "forget") blocks_.clear();
    if (name == "loaded") return isLoaded(word) ? "loaded" : "";
    if (name == "solver") {
        std::istringstream script(rest);
        script >> solver.report[number] >> solver.raise[number];
    }
    if (name == "state") field<unsigned>(stateOffset) = static_cast<unsigned>(number);
    if (name == "log") field<int>(264 + 4 * number) = rest == "1";
    if (name == "int") return std::to_string(field<int>(number));
    if (name == "real") return std::to_string(field<double>(number));
    if (name == "text") return field<char*>(number);
    static const std::set<std::string> silent{"",       "shape",      "write",       "remove", "env",
                                              "forget", "solver",     "state",       "log",    "link",
                                              "cut",    "translator", "descriptors", "model"};
    if (silent.count(name) != 0) return "";
    if (name != "files") throw std::invalid_argument(name);
    std::set<std::string> files; // beside those that are there from the start
    for (const auto& entry : fs::directory_iterator(resources)) files.insert(" " + entry.path().filename().string());
    for (const char* known : {" fmu2ts.par", " mv.par", " Model.mdl"}) files.erase(known);
    return std::accumulate(files.begin(), files.end(), std::string());
}

void Master::log(void* environment, fmi2String name, fmi2Status status, fmi2String category, fmi2String format, ...) {
    char text[4096];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::ostringstream event;
    event << " | " << status << " " << category << (environment != running ? " elsewhere: " : " ") << text;
    if (name == nullptr || name != std::string("unit")) event << " for " << (name != nullptr ? name : "null");
    running->events_ += event.str();
}

void* Master::allocate(std::size_t count, std::size_t size) {
    running->blocks_ += " " + std::to_string(count) + "x" + std::to_string(size);
    if (++running->nAllocations >= running->failFrom && running->nAllocations < running->failTo) return nullptr;

    void* block = firstRecord;
    while (count * size == recordSize && running->live.count(block) != 0) block = static_cast<char*>(block) + pageSize;
    if (count * size == recordSize)
        block = mmap(block, pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    else
        block = std::calloc(count, size);
    running->live[block] = count * size;
    return block;
}

void Master::release(void* block) {
    const auto found = running->live.extract(block);
    if (found.empty())
        ADD_FAILURE() << "not a block of the master's, or freed twice";
    else
        found.mapped() == recordSize ? static_cast<void>(munmap(block, pageSize)) : std::free(block);
}

void Master::recordSolver(const char* line) { running->events_ += std::string(" | ") + line; }
