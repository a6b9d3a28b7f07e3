// The FMU that is measured: the built library, opened as a master opens it, and the files of a model of any size.
#pragma once

#include <string>

#include "fmi/fmi2.h"
#include "tests/support.h"

struct Shape {
    int ports = 2; ///< number of inputs and number of outputs, each of width 1
    int reals = 16;
    int integers = 0;
    int booleans = 0;
    int strings = 0;
};

/// An address that converts to any pointer type.
struct Symbol {
    void* address;
    template <typename Type>
    operator Type*() const {
        return reinterpret_cast<Type*>(address);
    }
};

/// A loaded library and its functions; throws when it cannot be loaded.
struct Library {
    explicit Library(const std::string& path);
    Symbol operator[](const char* name) const;

    void* handle;
};

/// The functions that are measured.
struct Calls {
    explicit Calls(const Library& library);

    decltype(&fmi2Instantiate) instantiate;
    decltype(&fmi2FreeInstance) freeInstance;
    decltype(&fmi2EnterInitializationMode) enterInitializationMode;
    decltype(&fmi2ExitInitializationMode) exitInitializationMode;
    decltype(&fmi2SetDebugLogging) setDebugLogging;
    decltype(&fmi2DoStep) doStep;
    decltype(&fmi2GetReal) getReal;
    decltype(&fmi2SetReal) setReal;
    decltype(&fmi2GetInteger) getInteger;
    decltype(&fmi2SetInteger) setInteger;
    decltype(&fmi2GetBoolean) getBoolean;
    decltype(&fmi2SetBoolean) setBoolean;
    decltype(&fmi2GetString) getString;
    decltype(&fmi2SetString) setString;
    int (*generateModelFile)(const char* resourceLocation, fmi2Component instance);
};

const Calls& fmu();

/// The entry points of the interface library that does nothing.
struct Solver {
    void (*deposit)(void* handle, int flag, void* access, double time);
    void (*request)(void* handle, void* access, double time);
};

const Solver& noOpSolver();

/// An FMU unpacked in a folder, with one instance at a time.
class Model {
public:
    explicit Model(const std::string& folder) : location("file://" + folder + "/resources") {}
    ~Model() { release(); }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    void instantiate(); ///< throws when it fails, as does `start`
    void start();       ///< initializes; the next call is the first step
    void release();

    fmi2Component instance = nullptr;
    const std::string location;
};

/// A model of a given shape, with the interface library that does nothing.
struct ShapedModel : Folder, Model {
    explicit ShapedModel(const Shape& shape);
};
