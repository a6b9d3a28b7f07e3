// The access interface: how the FMU and a solver's interface library (tscicos.so) talk to each other.
//
// The FMU loads the library and calls its four entry points, which are declared at the end. Each receives a block
// handle, which identifies one FMU instance, and an access object. Through the object's virtual operations the library
// asks for ports, addresses, final time and file names, and reports its messages.
//
// This header is self-contained: it compiles as C++11 and later, includes nothing, and needs nothing to be linked.
#pragma once

/// The first version of the interface: ports, values, names, messages.
///
/// The library calls the operations: any of them from inside any entry point, never from elsewhere or from another
/// thread. Each takes the block handle first: hand back the one that the entry point received. Handle and object belong
/// to the FMU and do not change during a run. A run lasts from the beginning of `blkStart` to the end of
/// `blkTerminate`; when an entry point fails, to its end. Outside of it neither handle, object nor a pointer from an
/// operation may be used.
///
/// Strings are zero-terminated and must be neither changed nor released. The bodies here answer "not available": null,
/// -1 or -1.0, and pointer arguments are left alone; the FMU's object overrides all of them.
///
/// The order of the operations is the order of the slots in the table of virtual functions, by which compiled
/// interface libraries call them: never reorder, insert or remove one. There is deliberately no virtual destructor.
class TScicosAccessAPI {
public:
    /// Path of the model file among the FMU's resources, percent-decoded. Null when the FMU names none. Valid to the
    /// end of the run. Ask once per run, usually in `blkStart`: each call makes a new string, and only the last is
    /// released.
    virtual char* GetStringParamInputName(void* /*handle*/) { return nullptr; }

    /// Path of the result file that the solver is asked to write, percent-decoded; a relative path is relative to the
    /// working directory of the process. Validity as above; ask once per run.
    virtual char* GetStringParamOutputName(void* /*handle*/) { return nullptr; }

    /// Path of an additional library among the FMU's resources, percent-decoded. Null when the FMU names none. Validity
    /// as above; ask once per run.
    virtual char* GetStringParamSubdllName(void* /*handle*/) { return nullptr; }

    /// Address line of the FMU's parameter file, unchanged; an empty string when there is none. Valid to the end of
    /// the run.
    virtual char* GetStringParamIPadress(void* /*handle*/) { return nullptr; }

    /// Final time of the run in seconds: the master's stop time when it defined one, else the parameter file's. A
    /// master may end before it or step beyond it. The same for the whole run.
    virtual double GetFinalTimei(void* /*handle*/) { return -1.0; }

    /// Number of input ports, 0 to 8. This number, the next one and the widths are the same for the whole run.
    virtual int GetNumInputPorts(void* /*handle*/) { return -1; }

    /// Number of output ports, 0 to 8.
    virtual int GetNumOutputPorts(void* /*handle*/) { return -1; }

    /// Number of signals of input port `port` (0 to number of input ports - 1). The FMU does not check `port`, here and
    /// below.
    virtual int GetInputPortWidth(void* /*handle*/, int /*port*/) { return -1; }

    /// Number of signals of output port `port` (0 to number of output ports - 1).
    virtual int GetOutputPortWidth(void* /*handle*/, int /*port*/) { return -1; }

    /// The values of input port `port`: an array of the port's width, in the units of the model description, to be read
    /// only. The address is valid for the whole run. The values are the master's: all 0 in `blkStart`, and in each
    /// deposit those of the step that begins.
    virtual double* GetInputPortRealSignalPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Where the solver writes the values of output port `port`: an array of the port's width, in the units of the
    /// model description. The address is valid for the whole run. The master reads the array itself: what `blkStart`
    /// leaves there before the first step, what `blkRequestPlantOutput` leaves there after each. It begins with zeros.
    virtual double* GetOutputPortRealSignalPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Reports `text` (UTF-8, only read during the call) at `level` 0 information, 1 warning, 2 error, 3 fatal. The
    /// master's log receives it with status fmi2OK, fmi2Warning, fmi2Error or fmi2Fatal and the category "log", but
    /// only while the master has logging on.
    ///
    /// Levels of 2 and more end the run: the FMU calls `blkTerminate` before it returns from here, so hold no lock that
    /// `blkTerminate` takes, and return at once; the entry point then counts as failed. Levels of 4 and more end the
    /// run without a message in the log; negative ones are ignored. In `blkTerminate` itself report levels 0 and 1
    /// only.
    virtual void MessageHandler(void* /*handle*/, const char* /*text*/, int /*level*/) {}

    /// Names input port `port` for display. Ignored by the FMU; `label` may be released at once.
    virtual void SetInputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

    /// The same for output port `port`.
    virtual void SetOutputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

    /// Address of a solver server in `*address`, which must not be null. The FMU knows none: status 1 and an empty
    /// string that stays valid as long as the FMU is loaded.
    virtual void Get_TS_Server_IP_Addr(void* /*handle*/, char** /*address*/, int& /*status*/) {}

    /// Port of a solver server in `*port`, which must not be null. The FMU knows none: status 1 and -1.
    virtual void Get_TS_Server_Port(void* /*handle*/, int* /*port*/, int& /*status*/) {}
};

/// The second version: the derivatives of the outputs. Its two slots follow those of `TScicosAccessAPI`.
class TScicosAccessAPI2 : public TScicosAccessAPI {
public:
    /// Where the solver writes the first time derivatives of output port `port`: an array of the port's width, directly
    /// after its values, in their units per second. Address and reading as for the values; what the solver does not
    /// write stays 0.
    virtual double* GetOutputPortRealSignalDotPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Where the solver writes the second time derivatives of output port `port`: an array of the port's width,
    /// directly after the first derivatives, in the values' units per second squared. The rest as there.
    virtual double* GetOutputPortRealSignalDotDotPtrs(void* /*handle*/, int /*port*/) { return nullptr; }
};

// The entry points. The library defines all four; the FMU finds them by name and calls them, one at a time for a
// handle, on whatever thread the master uses. Instances share one copy of the library: keep what belongs to a run under
// its handle.
//
// The first three may throw. The run is then over without a message in the log and without `blkTerminate`; the
// exception is destroyed before the library is unloaded.
extern "C" {

/// Starts a run at time 0, when the master enters initialization mode: read the model, write the initial outputs and
/// their derivatives. A handle that has a run already comes from an instance that was reset: the new run replaces it.
__attribute__((visibility("default"))) void blkStart(void* handle, TScicosAccessAPI2* access);

/// Takes the values of the input ports at the communication point `time` (seconds); they hold until the next deposit.
/// Called at the start of every step, and once more when the master terminates, with no request after it: `time` is
/// then the stop time that the master gave to fmi2SetupExperiment, also when it gave it as undefined, and 0 only if it
/// never called that function. The FMU gives 1 as `flag`.
__attribute__((visibility("default"))) void blkDepositPlantInput(void* handle, int flag, TScicosAccessAPI2* access,
                                                                 double time);

/// Advances to `time` (seconds), the end of the step, and writes the outputs and their derivatives. Called once per
/// step, after the deposit.
__attribute__((visibility("default"))) void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time);

/// Ends the run and releases what belongs to it. Called when the master frees the instance, or inside `MessageHandler`
/// when the library reports a level of 2 and more; `time` (seconds) is the end of the last successful step. Must not
/// throw: inside `MessageHandler` the report would then be forgotten and the run go on.
__attribute__((visibility("default"))) void blkTerminate(void* handle, TScicosAccessAPI2* access, double time);

} // extern "C"
