// The access object that the solver gets: answers as the FMU's does, and reports what is asked for wrongly. Lives in
// the child process that drives the solver.
#pragma once

#include <atomic>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "plant/access_interface.h"
#include "tool/doctor/solver/watched_instance.h"
#include "util/internal/owners.h"

namespace tool {

class RecordingAccess;

/// The entry points of the interface library.
struct EntryPoints {
    void (*start)(void* handle, RecordingAccess* access) = nullptr;
    void (*request)(void* handle, RecordingAccess* access, double time) = nullptr;
    void (*deposit)(void* handle, int flag, RecordingAccess* access, double time) = nullptr;
    void (*terminate)(void* handle, RecordingAccess* access, double time) = nullptr;
};

/// Compiled solvers reach operations by slot and entry points by offset: those after the inherited ones are in the
/// order of the FMU's own object.
class RecordingAccess : public TScicosAccessAPI2 {
public:
    RecordingAccess(WatchedInstance& instance, SessionReport& report, const EntryPoints& entryPoints)
        : entryPoints_(entryPoints), instance_(instance), report_(report) {}
    RecordingAccess(const RecordingAccess&) = delete;
    RecordingAccess& operator=(const RecordingAccess&) = delete;

    char* GetStringParamInputName(void* handle) override;
    char* GetStringParamOutputName(void* handle) override;
    char* GetStringParamSubdllName(void* handle) override;
    char* GetStringParamIPadress(void* handle) override;
    double GetFinalTimei(void* handle) override;
    int GetNumInputPorts(void* handle) override;
    int GetNumOutputPorts(void* handle) override;
    int GetInputPortWidth(void* handle, int port) override;
    int GetOutputPortWidth(void* handle, int port) override;
    double* GetInputPortRealSignalPtrs(void* handle, int port) override;
    double* GetOutputPortRealSignalPtrs(void* handle, int port) override;
    void MessageHandler(void* handle, const char* text, int level) override;
    void SetInputPortLabel(void* handle, int port, const char* label) override;
    void SetOutputPortLabel(void* handle, int port, const char* label) override;
    void Get_TS_Server_IP_Addr(void* handle, char** address, int& status) override;
    void Get_TS_Server_Port(void* handle, int* port, int& status) override;
    double* GetOutputPortRealSignalDotPtrs(void* handle, int port) override;
    double* GetOutputPortRealSignalDotDotPtrs(void* handle, int port) override;

    virtual ~RecordingAccess() = default;
    virtual bool LoadInterfaceDll(void* handle);
    virtual bool isTSLoaded();
    virtual int getErrorCode();

    /// The entry point that is running from now on; null when none is.
    void setEntryPoint(const char* name) { entryPoint_ = name; }

    /// What the solver calls a port; empty when it does not say.
    std::string labelOf(const Port& port) const;

private:
    void check(const char* operation, void* handle);
    bool isPort(const char* operation, void* handle, int port, std::uint32_t count);
    double* address(const char* operation, void* handle, int port, std::uint32_t count, double** ports);
    char* path(const char* location);
    void endRun(int level);
    void checkText(const char* text, const std::string& place);
    void keepLabel(bool isInput, int port, const char* label);

    [[maybe_unused]] void* reserved_ = nullptr;
    EntryPoints entryPoints_;

    WatchedInstance& instance_;
    SessionReport& report_;
    std::atomic<const char*> entryPoint_ = nullptr;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::list<MallocText> paths_;
    std::map<std::pair<bool, int>, std::string> labels_;      ///< by direction, true for inputs, and port
    std::vector<double> nowhere_ = std::vector<double>(1024); ///< where ports that do not exist point to
    int errorCode_ = 0;
    bool terminating_ = false;
};

} // namespace tool
