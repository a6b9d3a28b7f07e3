#include "tool/doctor/solver/recording_access.h"

#include <fmt/format.h>
#include <libxml/xmlstring.h>

#include "resources/resource_location.h"
#include "tool/os/text.h"

namespace tool {

namespace {

enum MessageLevel : int { information, warning, error, fatal };

std::string shownText(const char* text) {
    if (text == nullptr) return "(a null pointer)";
    return *text != '\0' ? text : "(empty)";
}

} // namespace

/// Who asks, from where, and with which handle. The answer comes from the session's own instance whatever the handle.
void RecordingAccess::check(const char* operation, void* handle) {
    const char* entryPoint = entryPoint_;
    if (std::this_thread::get_id() != thread_)
        report_.add("other-thread", fmt::format("{} is called from a thread of the solver.", operation));
    else if (entryPoint == nullptr)
        report_.add("outside-call", fmt::format("{} is called outside the entry points.", operation));
    if (handle != &instance_.record())
        report_.add("wrong-handle",
                    fmt::format("{} is called with {} handle{}.", operation, handle == nullptr ? "a null" : "a foreign",
                                entryPoint != nullptr ? fmt::format(" in {}", entryPoint) : ""));
}

bool RecordingAccess::isPort(const char* operation, void* handle, int port, std::uint32_t count) {
    check(operation, handle);
    if (port >= 0 && static_cast<std::uint32_t>(port) < count) return true;
    report_.add("port-out-of-range", fmt::format("{} is asked for port {} of {} (from 0).", operation, port, count));
    return false;
}

double* RecordingAccess::address(const char* operation, void* handle, int port, std::uint32_t count, double** ports) {
    return isPort(operation, handle, port, count) ? ports[port] : nowhere_.data();
}

/// Each call makes a new text, as in the FMU; here they live as long as the session.
char* RecordingAccess::path(const char* location) { return paths_.emplace_back(convert_URI_to_path(location)).get(); }

char* RecordingAccess::GetStringParamInputName(void* handle) {
    check("GetStringParamInputName", handle);
    return path(instance_.record().modelFilePath);
}

char* RecordingAccess::GetStringParamOutputName(void* handle) {
    check("GetStringParamOutputName", handle);
    return path(instance_.record().resultFileName);
}

char* RecordingAccess::GetStringParamSubdllName(void* handle) {
    check("GetStringParamSubdllName", handle);
    return path(instance_.record().subdllFilePath);
}

char* RecordingAccess::GetStringParamIPadress(void* handle) {
    check("GetStringParamIPadress", handle);
    return instance_.record().ipAddress;
}

double RecordingAccess::GetFinalTimei(void* handle) {
    check("GetFinalTimei", handle);
    return instance_.record().endTime;
}

int RecordingAccess::GetNumInputPorts(void* handle) {
    check("GetNumInputPorts", handle);
    return static_cast<int>(instance_.record().nInputPorts);
}

int RecordingAccess::GetNumOutputPorts(void* handle) {
    check("GetNumOutputPorts", handle);
    return static_cast<int>(instance_.record().nOutputPorts);
}

int RecordingAccess::GetInputPortWidth(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    if (!isPort("GetInputPortWidth", handle, port, record.nInputPorts)) return 0;
    return static_cast<int>(record.inputPortSize[port]);
}

int RecordingAccess::GetOutputPortWidth(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    if (!isPort("GetOutputPortWidth", handle, port, record.nOutputPorts)) return 0;
    return static_cast<int>(record.outputPortSize[port]);
}

double* RecordingAccess::GetInputPortRealSignalPtrs(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    return address("GetInputPortRealSignalPtrs", handle, port, record.nInputPorts, record.inputPortValues);
}

double* RecordingAccess::GetOutputPortRealSignalPtrs(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    return address("GetOutputPortRealSignalPtrs", handle, port, record.nOutputPorts, record.outputPortValues);
}

double* RecordingAccess::GetOutputPortRealSignalDotPtrs(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    return address("GetOutputPortRealSignalDotPtrs", handle, port, record.nOutputPorts, record.outputPortDots);
}

double* RecordingAccess::GetOutputPortRealSignalDotDotPtrs(void* handle, int port) {
    const FmuInstance& record = instance_.record();
    return address("GetOutputPortRealSignalDotDotPtrs", handle, port, record.nOutputPorts, record.outputPortDotDots);
}

void RecordingAccess::MessageHandler(void* handle, const char* text, int level) {
    check("MessageHandler", handle);
    const char* entryPoint = entryPoint_;
    const std::string place = entryPoint != nullptr ? fmt::format(" in {}", entryPoint) : "";
    const std::string shown = shownText(text);
    if (level > fatal)
        report_.add("message-level", fmt::format("A message has the level {}{}: {}", level, place, shown));
    else if (level < information)
        report_.add("message-ignored", fmt::format("A message has the level {}{}: {}", level, place, shown));
    else if (level >= error)
        report_.add("solver-error", fmt::format("The solver reports{}: {}", place, shown));
    else if (level == warning)
        report_.add("solver-warning", shown);
    else
        report_.say(shown);
    if (level >= information && level <= fatal) checkText(text, place);

    if (level >= error && std::this_thread::get_id() == thread_) endRun(level);
}

/// What reaches the master's log has to be a text that it can show.
void RecordingAccess::checkText(const char* text, const std::string& place) {
    if (text == nullptr)
        report_.add("message-text", fmt::format("A message{} is a null pointer.", place));
    else if (xmlCheckUTF8(reinterpret_cast<const unsigned char*>(text)) == 0)
        report_.add("message-text", fmt::format("A message{} is not UTF-8: {}.", place, inQuotes(text)));
}

/// As the FMU does it: the run ends inside the report.
void RecordingAccess::endRun(int level) {
    if (!terminating_) {
        terminating_ = true;
        const char* reporting = entryPoint_;
        report_.begin("blkTerminate, called inside MessageHandler");
        setEntryPoint("blkTerminate");
        try {
            entryPoints_.terminate(&instance_.record(), this, instance_.record().time);
        } catch (...) {
            report_.add("solver-exception", "blkTerminate, called inside MessageHandler, throws an exception.");
        }
        setEntryPoint(reporting);
        report_.begin(reporting != nullptr ? reporting : "");
        terminating_ = false;
    }
    errorCode_ = level;
}

void RecordingAccess::SetInputPortLabel(void* handle, int port, const char* label) {
    if (isPort("SetInputPortLabel", handle, port, instance_.record().nInputPorts)) keepLabel(true, port, label);
}

void RecordingAccess::SetOutputPortLabel(void* handle, int port, const char* label) {
    if (isPort("SetOutputPortLabel", handle, port, instance_.record().nOutputPorts)) keepLabel(false, port, label);
}

void RecordingAccess::keepLabel(bool isInput, int port, const char* label) {
    if (label != nullptr) labels_[{isInput, port}] = label;
}

std::string RecordingAccess::labelOf(const Port& port) const {
    const auto found = labels_.find({port.isInput, port.number});
    return found != labels_.end() ? found->second : "";
}

void RecordingAccess::Get_TS_Server_IP_Addr(void* handle, char** address, int& status) {
    check("Get_TS_Server_IP_Addr", handle);
    static char noAddress[] = "";
    *address = noAddress;
    status = 1;
}

void RecordingAccess::Get_TS_Server_Port(void* handle, int* port, int& status) {
    check("Get_TS_Server_Port", handle);
    *port = -1;
    status = 1;
}

bool RecordingAccess::LoadInterfaceDll(void* /*handle*/) { return true; }

bool RecordingAccess::isTSLoaded() { return true; }

int RecordingAccess::getErrorCode() { return errorCode_; }

} // namespace tool
