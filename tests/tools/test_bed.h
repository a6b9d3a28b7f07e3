// What surrounds the library in a test: an FMU's files, a solver's installation, the master, the environment.
#pragma once

#include "tests/tools/environment.h"
#include "tests/tools/fmu_files.h"
#include "tests/tools/master.h"
#include "tests/tools/scripted_solver.h"

/// The environment names the installation and the solver's script. No file is made yet.
struct TestBed {
    TestBed();

    /// Blocks of memory, descriptors, processes or another working directory; empty when nothing of that is left over.
    std::string leftovers() const;

    const WorkingDirectory workingDirectory;
    fs::path directory = fs::current_path(); ///< where the process must be in the end
    FmuFiles files;
    Master master;
    SolverScript solver;
    const EnvironmentVariable script{scriptVariable}, root{"KORVAN_FMU_ROOT", files.root},
        solverDirectory{"NUSOL_DLL_DIR"}, commonDirectory{"KELDEX_PATH"};

private:
    std::size_t nDescriptors_;
};

/// Whether a library of this folder is loaded.
bool isLoaded(const std::string& folder);
