#include "benchmarks/cases.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "benchmarks/floors.h"
#include "benchmarks/fmu.h"
#include "fmi/instance/fmu_instance.h"

namespace {

using Cases = std::vector<Case>;
using Owned = std::shared_ptr<const void>;

constexpr double stepSize = 1e-3;

/// Numbers of values per call; some are for the picture only.
constexpr std::size_t transferSizes[] = {1, 4, 16, 128, 1024, 10'000, 100'000};

/// A case that repeats `once` and keeps `owned` alive.
template <typename Once>
Case repeating(std::string what, std::string side, std::size_t size, Owned owned, Once once) {
    return {std::move(what), std::move(side), size, [owned, once](std::size_t times) {
                for (; times > 0; --times) once();
            }};
}

/// Checks before measuring that a call works: a call that fails at once would look fast.
void require(bool works, const std::string& what) {
    if (!works) throw std::runtime_error(what + " does not work");
}

std::shared_ptr<ShapedModel> steppingModel(const Shape& shape) {
    auto model = std::make_shared<ShapedModel>(shape);
    writeFile(model->path / "resources/Model.xml", "");
    model->instantiate();
    model->start();
    return model;
}

std::vector<unsigned> firstReferences(std::size_t count) {
    std::vector<unsigned> references(count);
    std::iota(references.begin(), references.end(), 0U);
    return references;
}

/// Repeats a step from `time` to `time + stepSize`, as the loop of a master does.
template <typename Step>
Case stepping(std::string what, std::string side, std::size_t size, Owned owned, Step step) {
    return {std::move(what), std::move(side), size, [owned, step](std::size_t times) {
                double time = 0.0;
                for (; times > 0; --times, time += stepSize) step(time);
            }};
}

Case fmuStep(const std::string& what, std::size_t size, const std::shared_ptr<ShapedModel>& model) {
    require(fmu().doStep(model->instance, 0.0, stepSize, fmi2True) == fmi2OK, what);
    return stepping(what, "fmu", size, model,
                    [c = model->instance, doStep = fmu().doStep](double time) { doStep(c, time, stepSize, fmi2True); });
}

void addSteps(Cases& cases) {
    for (const int ports : {1, 2, 4, 8}) {
        const auto size = static_cast<std::size_t>(ports);
        cases.push_back(fmuStep("fmi2DoStep", size, steppingModel({.ports = ports, .reals = 4 * ports})));
        cases.push_back(stepping("fmi2DoStep", "floor", size, nullptr, [solver = noOpSolver()](double time) {
            solver.deposit(nullptr, 1, nullptr, time);
            solver.request(nullptr, nullptr, time + stepSize);
        }));
    }
}

/// Instances step in turn: apart from cache misses, the cost of a step does not depend on their number.
void addInstances(Cases& cases, std::size_t largest) {
    for (std::size_t count = 1; count <= largest / 100; count *= 10) {
        std::vector<std::shared_ptr<ShapedModel>> models(count);
        for (auto& model : models) model = steppingModel({});
        cases.push_back(repeating("fmi2DoStep, instances", "fmu", count, nullptr,
                                  [models, at = std::make_shared<std::size_t>(0), doStep = fmu().doStep] {
                                      *at = *at + 1 < models.size() ? *at + 1 : 0;
                                      doStep(models[*at]->instance, 1.0, stepSize, fmi2True);
                                  }));
    }
}

/// The cost of log categories, with a logger that does nothing.
void addCategories(Cases& cases) {
    for (const char* category : {"none", "logError", "logEvent", "logFmiCall", "logAll"}) {
        const auto model = steppingModel({});
        fmu().setDebugLogging(model->instance, category != std::string("none"), 1, &category);
        cases.push_back(fmuStep(std::string("fmi2DoStep, ") + category, 2, model));
        cases.push_back(repeating(std::string("fmi2GetReal, ") + category, "fmu", 16, model,
                                  [c = model->instance, get = fmu().getReal, references = firstReferences(16)] {
                                      double values[16];
                                      get(c, references.data(), 16, values);
                                  }));
    }
}

/// The arguments of a getter or setter.
template <typename Value>
struct Transfer {
    Transfer(std::shared_ptr<ShapedModel> owned, std::size_t size, Value value = {})
        : model(std::move(owned)), references(firstReferences(size)), values(size, value), taken(size) {}

    std::shared_ptr<ShapedModel> model;
    std::vector<unsigned> references;
    std::vector<Value> values, taken;
};

/// Adds cases that call a function through its address.
auto caller(Cases& cases, std::size_t size, const Owned& owned) {
    return [&cases, size, owned](const std::string& what, const char* side, const auto& call, auto... arguments) {
        cases.push_back(repeating(what, side, size, owned, [call, arguments...] { call(arguments...); }));
    };
}

/// Whether the getter returns the values that were set.
template <typename Value, typename Get, typename Set>
bool comesBack(Transfer<Value>& data, Get get, Set set) {
    const auto call = [&](auto function, auto* values) {
        return function(data.model->instance, data.references.data(), data.references.size(), values) == fmi2OK;
    };
    if (!call(set, data.values.data()) || !call(get, data.taken.data())) return false;
    if constexpr (std::is_pointer_v<Value>)
        return std::equal(data.values.begin(), data.values.end(), data.taken.begin(),
                          [](std::string_view left, std::string_view right) { return left == right; });
    else
        return data.values == data.taken;
}

/// The getter and the setter of a numeric type, the plain loop, and the loop with a range check. The loops use the
/// instance's own array, since the time also depends on where an array is in memory.
template <typename Value, typename Get, typename Set>
void addTransfers(Cases& cases, const std::string& type, std::size_t size, const Shape& shape,
                  Value* FmuInstance::*valuesOf, Get get, Set set) {
    const auto model = steppingModel(shape);
    const auto data = std::make_shared<Transfer<Value>>(model, size);
    std::iota(data->values.begin(), data->values.end(), Value{1});
    require(comesBack(*data, get, set), type);
    const auto end = static_cast<int>(size);
    const auto add = caller(cases, size, data);

    const unsigned* references = data->references.data();
    Value *values = data->values.data(), *taken = data->taken.data();
    Value* array = static_cast<FmuInstance*>(model->instance)->*valuesOf;
    add("fmi2Get" + type, "fmu", get, model->instance, references, size, taken);
    add("fmi2Get" + type, "floor", copyOut<Value>, references, size, array, taken);
    add("fmi2Get" + type, "checked", copyOutChecked<Value>, references, size, array, taken, end);
    add("fmi2Set" + type, "fmu", set, model->instance, references, size, values);
    add("fmi2Set" + type, "floor", copyIn<Value>, references, size, values, array);
    add("fmi2Set" + type, "checked", copyInChecked<Value>, references, size, values, array, end);
}

/// Strings of 24 characters that replace strings of the same length in the instance's own buffers.
void addStrings(Cases& cases, std::size_t size) {
    static constexpr const char* text = "/data/model/tyre_front.t";
    const auto model = steppingModel({.strings = static_cast<int>(size)});
    const auto data = std::make_shared<Transfer<const char*>>(model, size, text);
    const auto add = caller(cases, size, data);

    const unsigned* references = data->references.data();
    const char **given = data->values.data(), **taken = data->taken.data();
    require(comesBack(*data, fmu().getString, fmu().setString), "String");
    char** own = static_cast<FmuInstance*>(model->instance)->stringValues;
    add("fmi2SetString", "fmu", fmu().setString, model->instance, references, size, given);
    add("fmi2SetString", "floor", copyStrings, references, size, given, own);
    add("fmi2SetString", "checked", copyStringsChecked, references, size, given, own);
    add("fmi2GetString", "fmu", fmu().getString, model->instance, references, size, taken);
    add("fmi2GetString", "floor", copyOut<const char*>, references, size, own, taken);
}

/// From fmi2Instantiate to fmi2FreeInstance. The floors read the same files, with blocks as large as those of the name
/// lists and with blocks as long as the names.
void addLives(Cases& cases, std::size_t variables) {
    const auto model = std::make_shared<ShapedModel>(Shape{.reals = static_cast<int>(variables)});
    const std::string what = "instantiate to free", resources = model->path / "resources/";
    cases.push_back(repeating(what, "fmu", variables, model, [m = model.get()] {
        m->instantiate();
        m->release();
    }));
    for (const std::size_t blockSize : {1024U, 0U})
        cases.push_back(repeating(what, blockSize != 0 ? "floor" : "own length", variables, model,
                                  [blockSize, shape = resources + "fmu2ts.par", names = resources + "mv.par"] {
                                      readLines(shape.c_str(), names.c_str(), blockSize);
                                  }));
}

/// Writing the value file. Without a template nothing is done after it.
void addValueFiles(Cases& cases, std::size_t variables) {
    const std::string what = "value file";
    const auto model = std::make_shared<ShapedModel>(Shape{.reals = static_cast<int>(variables)});
    const auto values = std::make_shared<std::vector<double>>(variables);
    for (std::size_t i = 0; i < variables; ++i) (*values)[i] = 1.25e-3 * static_cast<double>(i) - 17.0;
    const auto prepare = [model, values] {
        model->release();
        model->instantiate();
        const auto references = firstReferences(values->size());
        fmu().setReal(model->instance, references.data(), references.size(), values->data());
    };
    cases.push_back(repeating(what, "fmu", variables, model, [m = model.get(), generate = fmu().generateModelFile] {
        generate(m->location.c_str(), m->instance);
    }));
    cases.back().prepare = prepare;
    prepare();
    cases.back().run(1);
    require(fs::file_size(model->path / "resources/Model.csv") > 20 * variables, what);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < variables; ++i) names.push_back("$_body_" + std::to_string(i) + ".position_x");
    cases.push_back(repeating(what, "floor", variables, values,
                              [names, v = values.get(), path = (model->path / "floor.csv").string()] {
                                  printLines(path.c_str(), names, v->data());
                              }));
}

} // namespace

std::vector<Case> makeCases(std::size_t largest) {
    Cases cases;
    addSteps(cases);
    addInstances(cases, largest);
    addCategories(cases);
    for (const std::size_t size : transferSizes) {
        if (size > largest) break;
        const auto count = static_cast<int>(size), reals = std::max(count, 16);
        addTransfers<double>(cases, "Real", size, {.reals = reals}, &FmuInstance::realValues, fmu().getReal,
                             fmu().setReal);
        addTransfers<int>(cases, "Integer", size, {.integers = count}, &FmuInstance::integerValues, fmu().getInteger,
                          fmu().setInteger);
        addTransfers<int>(cases, "Boolean", size, {.booleans = count}, &FmuInstance::booleanValues, fmu().getBoolean,
                          fmu().setBoolean);
        addStrings(cases, size);
    }
    for (std::size_t variables = 10; variables <= largest; variables *= 10) {
        addLives(cases, variables);
        addValueFiles(cases, variables);
    }
    return cases;
}
