#include "fmi/installation.h"

#include <cstdlib>
#include <cstring>

#include "fmi/log.h"
#include "util/joining.h"
#include "util/paths.h"

namespace {

constexpr const char* rootVariable = "KORVAN_FMU_ROOT";
constexpr const char* solverVariable = "NUSOL_DLL_DIR";
constexpr const char* commonVariable = "KELDEX_PATH";

bool isSet(const PathBuffer& directory) { return directory[0] != '\0'; }

/// Joins `root` and `rest` with forward slashes; what does not fit is cut, and the variable noted.
void storeDirectory(PathBuffer& directory, const char* root, const char* rest, const char* variable,
                    Installation& installation) {
    if (!joinInto(directory.data(), directory.size(), {root, rest})) installation.overlongVariable = variable;
    fixPathUnmangled(directory.data());
}

void readUserDirectory(const char* variable, PathBuffer& directory, Installation& installation) {
    if (const char* value = std::getenv(variable)) storeDirectory(directory, value, "", variable, installation);
}

void setWhereEmpty(const char* variable, const PathBuffer& user, const PathBuffer& derived) {
    if (!isSet(user)) setenv(variable, derived.data(), 1);
}

bool differs(const PathBuffer& user, const PathBuffer& derived) {
    return isSet(user) && isSet(derived) && std::strcmp(user.data(), derived.data()) != 0;
}

template <typename... Arguments>
void warn(const FmuInstance* instance, const char* format, Arguments... arguments) {
    if (instance->loggingOn) logMessage(instance, fmi2Warning, "warning", format, arguments...);
}

} // namespace

Installation discoverInstallation() {
    Installation found;
    readUserDirectory(solverVariable, found.userSolverDirectory, found);
    readUserDirectory(commonVariable, found.userCommonDirectory, found);

    const char* root = std::getenv(rootVariable);
    if (root == nullptr) return found;
    storeDirectory(found.derivedSolverDirectory, root, "/plsolvers/tessaro/bin/linux64", rootVariable, found);
    storeDirectory(found.derivedCommonDirectory, root, "/plsolvers/common/bin/linux64", rootVariable, found);
    if (found.overlongVariable != nullptr) return found;

    setWhereEmpty(solverVariable, found.userSolverDirectory, found.derivedSolverDirectory);
    setWhereEmpty(commonVariable, found.userCommonDirectory, found.derivedCommonDirectory);
    return found;
}

bool checkInstallation(const FmuInstance* instance, const Installation& installation) {
    const auto& [userSolver, userCommon, derivedSolver, derivedCommon, overlongVariable] = installation;
    if (std::getenv(rootVariable) == nullptr) {
        logSetupError(instance, "fmi2Instantiate: Environment variable KORVAN_FMU_ROOT is not defined.");
        return false;
    }
    if (overlongVariable != nullptr) {
        logSetupError(instance, "fmi2Instantiate: Environment variable %s is too long.", overlongVariable);
        return false;
    }
    if (!isSet(userSolver) && !isSet(derivedSolver)) {
        logSetupError(instance, "fmi2Instantiate: Environment variable NUSOL_DLL_DIR is not defined.");
        return false;
    }
    if (!isSet(userCommon) && !isSet(derivedCommon)) {
        logSetupError(instance, "fmi2Instantiate: Environment variable KELDEX_PATH is not defined.");
        return false;
    }

    if (differs(userSolver, derivedSolver))
        warn(instance,
             "fmi2Instantiate: Environment variable NUSOL_DLL_DIR [%s] is set different from the derivation of "
             "KORVAN_FMU_ROOT [%s].",
             userSolver.data(), derivedSolver.data());
    if (differs(userCommon, derivedCommon))
        warn(instance,
             "fmi2Instantiate: Environment variable KELDEX_PATH [%s] is set different from the derivation of "
             "KORVAN_FMU_ROOT [%s].",
             userCommon.data(), derivedCommon.data());
    return true;
}
