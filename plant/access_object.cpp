#include "plant/access_object.h"

#include <cstdlib>

#include "fmi/instance/fmu_instance.h"
#include "resources/resource_location.h"
#include "util/dynamic_library.h"

namespace {

FmuInstance& record(void* handle) { return *static_cast<FmuInstance*>(handle); }

void freeString(char*& string) {
    std::free(string);
    string = nullptr;
}

} // namespace

TScicosAccessFnc2::~TScicosAccessFnc2() {
    // Kept: without a library the strings are not freed, see the header.
    if (libraryHandle_ == nullptr) return;

    NuPLDyUnloadLibrary(libraryHandle_);
    libraryHandle_ = nullptr;
    freeString(inputPath_);
    freeString(outputPath_);
    freeString(subdllPath_);
}

// Kept: a second call of a path getter replaces the stored string without freeing the earlier one, which the solver may
// still use.
char* TScicosAccessFnc2::GetStringParamInputName(void* handle) {
    return inputPath_ = convert_URI_to_path(record(handle).modelFilePath);
}

char* TScicosAccessFnc2::GetStringParamOutputName(void* handle) {
    return outputPath_ = convert_URI_to_path(record(handle).resultFileName);
}

char* TScicosAccessFnc2::GetStringParamSubdllName(void* handle) {
    return subdllPath_ = convert_URI_to_path(record(handle).subdllFilePath);
}

char* TScicosAccessFnc2::GetStringParamIPadress(void* handle) { return record(handle).ipAddress; }

double TScicosAccessFnc2::GetFinalTimei(void* handle) { return record(handle).endTime; }

int TScicosAccessFnc2::GetNumInputPorts(void* handle) { return static_cast<int>(record(handle).nInputPorts); }

int TScicosAccessFnc2::GetNumOutputPorts(void* handle) { return static_cast<int>(record(handle).nOutputPorts); }

int TScicosAccessFnc2::GetInputPortWidth(void* handle, int port) {
    return static_cast<int>(record(handle).inputPortSize[port]);
}

int TScicosAccessFnc2::GetOutputPortWidth(void* handle, int port) {
    return static_cast<int>(record(handle).outputPortSize[port]);
}

double* TScicosAccessFnc2::GetInputPortRealSignalPtrs(void* handle, int port) {
    return record(handle).inputPortValues[port];
}

double* TScicosAccessFnc2::GetOutputPortRealSignalPtrs(void* handle, int port) {
    return record(handle).outputPortValues[port];
}

double* TScicosAccessFnc2::GetOutputPortRealSignalDotPtrs(void* handle, int port) {
    return record(handle).outputPortDots[port];
}

double* TScicosAccessFnc2::GetOutputPortRealSignalDotDotPtrs(void* handle, int port) {
    return record(handle).outputPortDotDots[port];
}

void TScicosAccessFnc2::SetInputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

void TScicosAccessFnc2::SetOutputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

void TScicosAccessFnc2::Get_TS_Server_IP_Addr(void* /*handle*/, char** address, int& status) {
    static char noAddress[] = "";
    *address = noAddress;
    status = 1;
}

void TScicosAccessFnc2::Get_TS_Server_Port(void* /*handle*/, int* port, int& status) {
    *port = -1;
    status = 1;
}

bool TScicosAccessFnc2::isTSLoaded() { return libraryHandle_ != nullptr; }
