// A master that loads the built library, plays scripts on it and records all it is told and asked for.
#pragma once

#include <map>
#include <sstream>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "fmi/fmi2.h"
#include "tests/fmu_files.h"
#include "tests/scripted_solver.h"

/// The master of the running test. What a script does not expect, a block never freed or not the master's, another
/// working directory, a descriptor or the solver's library left open fail the test. Records (blocks of 280 bytes) are
/// unreadable once freed, and the next record stands at the same address.
///
/// A script is lines of commands, separated by " ; ", and after "=>" their results; no "=>" stands for success alone.
/// A command is an exported function with its arguments behind the instance: arrays with commas, - for null, outputs
/// need not be named. The result: status, outputs, "->" and a new state, "+plant" or "-plant", "released"; then, in
/// their order and each behind a bar, messages (status, category, text) and the solver's calls. Beside those there are
///   new, make [TYPE]         frees the instance and makes the files anew; then an instance named "unit"
///   shape LINE TEXT          a line of fmu2ts.par from now on
///   write FILE TEXT, remove FILE, show FILE, files    in the resources; "files": which came later
///   env NAME VALUE, getenv NAME, solver WHERE LEVEL+10 WHAT    what the scripted library reports and throws
///   state N, log INDEX FLAG, int, real, text OFFSET    fields of the record
///   blocks, forget           what was allocated since the instance was begun, or since forgotten
///   loaded FOLDER            whether the scripted library there is loaded
///   cut BYTES                the scripted library's first bytes as tscicos.so in the resources
///   model NAME               gives the model another name, and a template to it
///   link FILE TARGET, translator COMMANDS, descriptors N (so many more files can be opened)
/// $R, $L, $ROOT, $SOLVERS stand for the resources' path and location, the roots of the installation and of the
/// scripted libraries; one ... in a result for anything.
class Master : public testing::Test, protected FmuFiles {
protected:
    Master();
    ~Master() override { dlclose(library); }
    void TearDown() override;

    /// Plays a script with logging on; then with logging off, expecting no setup errors, warnings, solver's messages.
    void check(const std::string& script);
    void expect(const std::string& line, const std::string& expected); ///< one line, as it stands
    std::string run(std::string line);
    template <typename Type>
    Type& field(std::size_t offset) {
        return *reinterpret_cast<Type*>(static_cast<char*>(c) + offset);
    }

    SolverScript solver{};
    fmi2CallbackFunctions callbacks;
    fmi2Component c = nullptr, handle = nullptr; ///< the instance, and what calls are made with, also when it is gone
    void* library = dlopen(TESSARO_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    bool onThreads = false; ///< each call is made on a thread of its own
    fmi2Boolean logging = fmi2True;
    std::size_t nAllocations = 0, failFrom = 0, failTo = 0; ///< counted from 1; those fail
    std::map<void*, std::size_t> live;

private:
    std::string execute(const std::string& name, std::istringstream& words);

    static void log(void* environment, fmi2String name, fmi2Status status, fmi2String category, fmi2String format, ...);
    static void* allocate(std::size_t count, std::size_t size);
    static void release(void* block);
    static void recordSolver(const char* line);

    std::string events_, blocks_;
    const fs::path directory_ = fs::current_path();
    std::size_t nDescriptors_ = 0;
};
