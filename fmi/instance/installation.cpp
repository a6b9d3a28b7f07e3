#include "fmi/instance/installation.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include "fmi/instance/log.h"
#include "fmi/instance/process_lock.h"
#include "util/internal/joining.h"
#include "util/paths.h"

using namespace installation;

namespace {

bool isSet(const PathBuffer& directory) { return directory[0] != '\0'; }

bool isRootSet() {
    const ProcessLock lock;
    return std::getenv(rootVariable) != nullptr;
}

/// Stores the joined pieces with forward slashes; what does not fit is cut, and the variable noted.
void storeDirectory(PathBuffer& directory, std::initializer_list<std::string_view> pieces, const char* variable,
                    Installation& found) {
    if (!joinInto(directory.data(), directory.size(), pieces)) found.overlongVariable = variable;
    fixPathUnmangled(directory.data());
}

void readUserDirectory(const char* variable, PathBuffer& directory, Installation& found) {
    if (const char* value = std::getenv(variable)) storeDirectory(directory, {value}, variable, found);
}

void setWhereEmpty(const char* variable, const PathBuffer& user, const PathBuffer& derived) {
    if (!isSet(user)) setenv(variable, derived.data(), 1);
}

bool differs(const PathBuffer& user, const PathBuffer& derived) {
    return isSet(user) && isSet(derived) && std::strcmp(user.data(), derived.data()) != 0;
}

/// Warns of a user's directory that is not the derived one. The message is finished here, so that loggers which cannot
/// read further arguments show it; it is cut at the end of its buffer. Per cent signs are doubled for the others.
void warnOfDifference(const FmuInstance* instance, const char* format, const PathBuffer& user,
                      const PathBuffer& derived) {
    if (!instance->loggingOn) return;

    std::array<char, 2048> text;
    std::snprintf(text.data(), text.size(), format, user.data(), derived.data());
    std::array<char, 2 * text.size()> escaped;
    char* end = escaped.data();
    for (const char* next = text.data(); *next != '\0'; ++next) {
        if (*next == '%') *end++ = '%';
        *end++ = *next;
    }
    *end = '\0';
    logMessage(instance, fmi2Warning, "warning", escaped.data());
}

} // namespace

Installation discoverInstallation() {
    const ProcessLock lock;
    Installation found;
    readUserDirectory(solverVariable, found.userSolverDirectory, found);
    readUserDirectory(commonVariable, found.userCommonDirectory, found);

    const char* root = std::getenv(rootVariable);
    if (root == nullptr) return found;
    storeDirectory(found.derivedSolverDirectory, {root, "/", solverDirectory}, rootVariable, found);
    storeDirectory(found.derivedCommonDirectory, {root, "/", commonDirectory}, rootVariable, found);
    if (found.overlongVariable != nullptr) return found;

    setWhereEmpty(solverVariable, found.userSolverDirectory, found.derivedSolverDirectory);
    setWhereEmpty(commonVariable, found.userCommonDirectory, found.derivedCommonDirectory);
    return found;
}

bool checkInstallation(const FmuInstance* instance, const Installation& found) {
    const auto& [userSolver, userCommon, derivedSolver, derivedCommon, overlongVariable] = found;
    if (!isRootSet()) {
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
        warnOfDifference(instance,
                         "fmi2Instantiate: Environment variable NUSOL_DLL_DIR [%s] is set different from the "
                         "derivation of KORVAN_FMU_ROOT [%s].",
                         userSolver, derivedSolver);
    if (differs(userCommon, derivedCommon))
        warnOfDifference(instance,
                         "fmi2Instantiate: Environment variable KELDEX_PATH [%s] is set different from the "
                         "derivation of KORVAN_FMU_ROOT [%s].",
                         userCommon, derivedCommon);
    return true;
}
