// Calls an instance's functions in random order with random arguments, and a model of the call rules beside it: state,
// status, outputs, messages and the solver's calls must be the same at every call, and the record's fields at each of
// them.
//
//   random_caller CALLS [SEED]    prints the seed; with the same two numbers the same calls are made again
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <random>

#include "tests/reliability/call_model.h"

namespace {

std::mt19937_64 generator;
std::string current; ///< the call that is being made
std::size_t folderLength = 0;
Trial* trial = nullptr;
const FmuInstance* called = nullptr; ///< the instance of the current call

std::string fieldsOf(const FmuInstance& own) {
    return textOf("state %u, time %g, stop time %d %g, end time %g, dirty %d, event %d", own.state, own.time,
                  own.stopTimeDefined, own.stopTime, own.endTime, own.dirtyValues, own.newEventIteration);
}

std::size_t below(std::size_t end) { return static_cast<std::size_t>(generator() % end); }

bool oneIn(std::size_t n) { return below(n) == 0; }

/// Null now and then.
template <typename Value>
Value* given(std::vector<Value>& values) {
    return oneIn(200) ? nullptr : values.data();
}

double anyReal() {
    constexpr std::array usual{0.0, 0.5, 1.0, 1e-3, -1.0, -99999.0, 1e300, HUGE_VAL, double(NAN)};
    const std::uint64_t bits = generator();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return oneIn(4) ? value : usual[below(usual.size())];
}

int anyInteger() { return oneIn(4) ? static_cast<int>(generator()) : static_cast<int>(below(5)) - 1; }

fmi2String anyText() {
    static const std::string overlong(1100, 'x'), folder = "/" + overlong;
    static const std::array texts{
        "",     "run",      "out/run", "a.mrf.b", "logAll",         "logError",    "logFmiCall",
        "%s%n", "\xc3\xbc", "\\",      "none",    overlong.c_str(), folder.c_str()};
    return oneIn(8) ? nullptr : texts[below(oneIn(20) ? texts.size() : texts.size() - 2)];
}

/// Mostly within the range. From 2^31 on they pass the getters' and setters' check, and no memory is there.
std::vector<unsigned> anyReferences(std::size_t range, bool wide = false) {
    std::vector<unsigned> all(1 + below(4));
    for (unsigned& vr : all)
        vr = oneIn(200) ? static_cast<unsigned>(generator() & (wide ? 0xFFFFFFFFU : 0x7FFFFFFFU))
                        : static_cast<unsigned>(below(range + (oneIn(100) ? 1 : 0)));
    return all;
}

template <typename Value, typename Any>
std::vector<Value> several(std::size_t count, const Any& any) {
    std::vector<Value> all;
    for (std::size_t i = 0; i < count; ++i) all.push_back(any());
    return all;
}

bool same(double left, double right) { return left == right || (std::isnan(left) && std::isnan(right)); }

bool same(int left, int right) { return left == right; }

bool same(fmi2String left, const CallModel::Text& right) { return right ? left == *right : left == nullptr; }

template <typename Left, typename Right>
void requireSame(const std::vector<Left>& left, const std::vector<Right>& right) {
    for (std::size_t n = 0; n < left.size(); ++n)
        require(same(left[n], right[n]), "%s: another value at %zu", current.c_str(), n);
}

struct Slot {
    fmi2Component handle;
    CallModel model;

    /// Compares what a call gave with what was due, and forgets both.
    void requireSame(int status, int due) {
        const auto text = [](const std::vector<std::string>& lines) {
            std::string all;
            for (const std::string& line : lines) all += "\n    " + line;
            return all;
        };
        std::vector<std::string> events = trial->master.takeEvents();
        if (model.alive) {
            events.push_back(fieldsOf(*called));
            model.due.push_back(model.fields());
        }
        require(status == due && events == model.due, "%s: status %d, due is %d;%s\ndue is%s", current.c_str(), status,
                due, text(events).c_str(), text(model.due).c_str());
        model.due.clear();
    }
};

/// Values as the model holds them.
template <typename Value>
auto modelled(const std::vector<Value>& values) {
    std::vector<std::conditional_t<std::is_pointer_v<Value>, CallModel::Text, Value>> all;
    for (const Value& value : values) {
        if constexpr (std::is_pointer_v<Value>)
            all.push_back(value != nullptr ? CallModel::Text(value) : std::nullopt);
        else
            all.push_back(value);
    }
    return all;
}

template <typename Value, typename Any>
void get(Slot& slot, fmi2Status (*function)(fmi2Component, const unsigned*, std::size_t, Value*), const char* name,
         auto& own, const Any& any) {
    auto vr = anyReferences(own.size());
    auto values = several<Value>(vr.size(), any);
    auto due = modelled(values);
    const std::size_t count = oneIn(20) ? 0 : vr.size();
    const unsigned* references = given(vr);
    Value* room = given(values);
    const int expected = slot.model.get(name, own, references, count, room != nullptr ? due.data() : nullptr);
    slot.requireSame(function(slot.handle, references, count, room), expected);
    requireSame(values, due);
}

template <typename Value, typename Any>
void set(Slot& slot, fmi2Status (*function)(fmi2Component, const unsigned*, std::size_t, const Value*),
         const char* name, auto& own, const Any& any) {
    auto vr = anyReferences(own.size());
    auto values = several<Value>(vr.size(), any);
    auto model = modelled(values);
    const std::size_t count = oneIn(20) ? 0 : vr.size();
    const unsigned* references = given(vr);
    const Value* room = given(values);
    const int expected = slot.model.set(name, own, references, count, room != nullptr ? model.data() : nullptr);
    slot.requireSame(function(slot.handle, references, count, room), expected);
}

template <typename Value>
void queryStatus(Slot& slot, fmi2Status (*function)(fmi2Component, fmi2StatusKind, Value*), const char* name,
                 int answered) {
    const int kind = oneIn(10) ? anyInteger() : static_cast<int>(below(5));
    std::vector<Value> value(1);
    Value* room = given(value);
    double answer = 0;
    const int due = slot.model.getStatus(name, kind, answered, room, answer);
    slot.requireSame(function(slot.handle, static_cast<fmi2StatusKind>(kind), room), due);
    if constexpr (!std::is_pointer_v<Value>) require(same(double(value[0]), answer), "%s: another answer", name);
}

constexpr int noKind = -1000;

struct Function {
    unsigned mask; ///< only decides how often it is called in which state
    std::function<void(Slot&)> call;
};

constexpr unsigned any = 4095, most = CallModel::getMask + 2, queried = 32 + 64 + 128 + 512;

// clang-format off
#define UNSUPPORTED(name, mask, ...) {#name, {mask, [](Slot& s) { \
    const int due = s.model.unsupported(#name, mask); s.requireSame(name(s.handle, __VA_ARGS__), due); }}}
#define VALUES(type, own, any) \
    {"fmi2Get" #type, {CallModel::getMask, [](Slot& s) { get<fmi2##type>(s, fmi2Get##type, "fmi2Get" #type, s.model.own, any); }}}, \
    {"fmi2Set" #type, {CallModel::setMask, [](Slot& s) { set<fmi2##type>(s, fmi2Set##type, "fmi2Set" #type, s.model.own, any); }}}
#define PLAIN(name, mask, due) {#name, {mask, [](Slot& s) { const int status = due; s.requireSame(name(s.handle), status); }}}
#define STATUS(name, answered) {#name, {queried, [](Slot& s) { queryStatus(s, name, #name, answered); }}}
// clang-format on

const std::map<std::string, Function> functions{
    VALUES(Real, reals, anyReal),
    VALUES(Integer, integers, anyInteger),
    VALUES(Boolean, booleans, anyInteger),
    VALUES(String, strings, anyText),
    STATUS(fmi2GetStatus, noKind),
    STATUS(fmi2GetRealStatus, 2),
    STATUS(fmi2GetIntegerStatus, noKind),
    STATUS(fmi2GetBooleanStatus, 3),
    STATUS(fmi2GetStringStatus, noKind),
    UNSUPPORTED(fmi2GetFMUstate, most, nullptr),
    UNSUPPORTED(fmi2SetFMUstate, most, nullptr),
    UNSUPPORTED(fmi2FreeFMUstate, most, nullptr),
    UNSUPPORTED(fmi2SerializedFMUstateSize, most, nullptr, nullptr),
    UNSUPPORTED(fmi2SerializeFMUstate, most, nullptr, nullptr, 0),
    UNSUPPORTED(fmi2DeSerializeFMUstate, most, nullptr, 0, nullptr),
    UNSUPPORTED(fmi2GetDirectionalDerivative, CallModel::getMask, nullptr, 0, nullptr, 0, nullptr, nullptr),
    {"fmi2SetDebugLogging",
     {2046,
      [](Slot& s) {
          const int on = anyInteger();
          auto names = several<fmi2String>(below(4), anyText);
          const fmi2String* categories = given(names);
          const int due = s.model.setDebugLogging(on, names.size(), categories);
          s.requireSame(fmi2SetDebugLogging(s.handle, on, names.size(), categories), due);
      }}},
    {"fmi2SetupExperiment",
     {2,
      [](Slot& s) {
          const int tolerated = anyInteger(), stops = anyInteger();
          const double tolerance = anyReal(), start = oneIn(2) ? 0 : anyReal(), stop = anyReal();
          const int due = s.model.setupExperiment(tolerated, tolerance, start, stops, stop);
          s.requireSame(fmi2SetupExperiment(s.handle, tolerated, tolerance, start, stops, stop), due);
      }}},
    PLAIN(fmi2EnterInitializationMode, 2, s.model.enterInitializationMode(folderLength)),
    PLAIN(fmi2ExitInitializationMode, 4, s.model.exitInitializationMode()),
    PLAIN(fmi2Terminate, 184, s.model.terminate()),
    PLAIN(fmi2Reset, most, s.model.reset()),
    {"fmi2FreeInstance", {most, [](Slot& s) { s.model.free(), fmi2FreeInstance(s.handle), s.requireSame(0, 0); }}},
    {"fmi2DoStep",
     {32,
      [](Slot& s) {
          const double time = anyReal(), size = oneIn(3) ? anyReal() : 0.5;
          const int flag = anyInteger(), due = s.model.doStep(time, size, flag);
          s.requireSame(fmi2DoStep(s.handle, time, size, flag), due);
      }}},
    PLAIN(fmi2CancelStep, 64, s.model.cancelStep()),
    {"fmi2SetRealInputDerivatives",
     {38,
      [](Slot& s) {
          const std::size_t count = below(5);
          const int due = s.model.setInputDerivatives(count);
          s.requireSame(fmi2SetRealInputDerivatives(s.handle, nullptr, count, nullptr, nullptr), due);
      }}},
    {"fmi2GetRealOutputDerivatives",
     {any,
      [](Slot& s) {
          auto vr = anyReferences(19, true);
          auto order = several<int>(vr.size(), anyInteger);
          std::vector<double> values(vr.size()), dueValues(values);
          const unsigned* references = given(vr);
          const int* orders = given(order);
          double* room = given(values);
          const int due =
              s.model.getOutputDerivatives(references, vr.size(), orders, room != nullptr ? dueValues.data() : nullptr);
          s.requireSame(fmi2GetRealOutputDerivatives(s.handle, references, vr.size(), orders, room), due);
          requireSame(values, dueValues);
      }}},
};

/// Gives the solver something to report or to throw, mostly nothing.
void scriptSolver() {
    trial->solver.behave();
    for (Behaviour& behaviour : trial->solver.behaviours) {
        if (oneIn(30)) behaviour.report(static_cast<int>(below(9)) - 2, "100%s of it\n");
        if (oneIn(60)) behaviour.raise(static_cast<Thrown>(below(4)));
    }
}

using Slots = std::vector<std::optional<Slot>>;

void instantiate(Slots& slots, std::optional<Slot>& slot) {
    current += "fmi2Instantiate";
    const auto type = static_cast<fmi2Type>(below(4) != 0);
    const int logging = oneIn(3) ? 0 : anyInteger();
    const fmi2Component handle =
        fmi2Instantiate("unit", type, "{guid}", trial->files.location.c_str(), &trial->master.callbacks, 0, logging);
    require(handle != nullptr && trial->master.takeEvents().empty(), "%s: null, or a message", current.c_str());
    for (auto& other : slots)
        if (other && other->handle == handle) other.reset(); // released, and its address in use again
    trial->master.takeMemoryCalls();                         // nobody asks for them
    slot.emplace(Slot{handle, CallModel(trial->solver, type, logging)});
}

/// A function that the state allows, now and then another one; the end of a run is kept off a while.
const std::pair<const std::string, Function>& anyFunction(const CallModel& model) {
    const auto draw = [] { return std::next(functions.begin(), static_cast<std::ptrdiff_t>(below(functions.size()))); };
    auto found = draw();
    const auto unwanted = [&found, &model] {
        const bool endsRun = found->first == "fmi2Reset" || found->first == "fmi2FreeInstance";
        return (found->second.mask & model.state) == 0 ? !oneIn(200) : endsRun && model.state != 1024 && !oneIn(20);
    };
    while (unwanted()) found = draw();
    return *found;
}

void callOnce(std::optional<Slot>& slot) {
    const auto& [name, function] = anyFunction(slot->model);
    current += name;
    const bool wasAlive = slot->model.alive;
    called = static_cast<FmuInstance*>(slot->handle);
    scriptSolver();
    function.call(*slot);
    if (wasAlive && !slot->model.alive && name == "fmi2FreeInstance") slot.reset(); // not called any more
}

} // namespace

int main(int count, char** arguments) {
    require(count == 2 || count == 3, "usage: random_caller CALLS [SEED]");
    const std::size_t nCalls = std::stoul(arguments[1]);
    const std::uint64_t seed = count == 3 ? std::stoul(arguments[2]) : std::random_device()();
    std::printf("random_caller %zu %lu\n", nCalls, seed);
    std::fflush(stdout);
    generator.seed(seed);

    Trial own;
    trial = &own;
    trial->master.recording = true;
    trial->master.whenLogged = [](const std::string&) { trial->master.note(fieldsOf(*called)); };
    trial->solver.record = [](const std::string& call) {
        trial->master.note(call);
        trial->master.note(fieldsOf(*called));
    };
    writeFile(trial->files.resources / "Model.xml", "there, so that no translator is run");
    folderLength = trial->files.location.size();
    std::map<unsigned, std::size_t> nByState;
    Slots slots(3);
    for (std::size_t n = 1; n <= nCalls; ++n) {
        auto& slot = slots[below(slots.size())];
        current = "call " + std::to_string(n) + ", ";
        if (!slot || (!slot->model.alive && oneIn(20))) {
            instantiate(slots, slot);
        } else {
            ++nByState[slot->model.alive ? slot->model.state : 0];
            callOnce(slot);
        }
    }
    trial->solver.behave();
    for (auto& slot : slots) {
        if (!slot || !slot->model.alive) continue;
        called = static_cast<FmuInstance*>(slot->handle);
        fmi2FreeInstance(slot->handle);
    }
    trial->requireNothingLeft();
    std::printf("agreed in all; calls by state (0: released):");
    for (const auto& [state, nInState] : nByState) std::printf(" %u: %zu", state, nInState);
    std::printf("\n");
}
