// The access interface: what a solver's interface library (tscicos.so) sees of the FMU.
//
// The FMU loads the interface library and hands its entry points an access object and an opaque block handle. Through
// the object's virtual operations the library learns ports, addresses, final time and file names, and reports its
// messages. This header stands alone: it compiles as C++11 and later and includes nothing of the FMU.
//
// An interface library exports four functions with C linkage:
//
//   void blkStart(void* handle, TScicosAccessAPI2* access);
//   void blkDepositPlantInput(void* handle, int flag, TScicosAccessAPI2* access, double time);
//   void blkRequestPlantOutput(void* handle, TScicosAccessAPI2* access, double time);
//   void blkTerminate(void* handle, TScicosAccessAPI2* access, double time);
#pragma once

/// The first version of the interface: ports, values, names, messages.
///
/// Every operation takes the block handle first; hand back the one that the entry point received. Handle and object
/// belong to the FMU and stay valid from `blkStart` to the end of `blkTerminate`. The default bodies here answer "not
/// available": null, -1 or -1.0.
///
/// The order of the operations is the order of the slots in the table of virtual functions, by which compiled
/// interface libraries call them: never reorder, insert or remove one. There is deliberately no virtual destructor.
class TScicosAccessAPI {
public:
    /// Path of the model file in the unpacked resources, percent-decoded and terminated by zero; empty when the FMU
    /// names none. Owned by the access object; valid until it is destroyed. Ask once a run.
    virtual char* GetStringParamInputName(void* /*handle*/) { return nullptr; }

    /// Path of the result file that the solver is asked to write; ownership and lifetime as above. Ask once a run.
    virtual char* GetStringParamOutputName(void* /*handle*/) { return nullptr; }

    /// Path of the additional library in the resources, or an empty text; ownership and lifetime as above. Ask once a
    /// run.
    virtual char* GetStringParamSubdllName(void* /*handle*/) { return nullptr; }

    /// Address text of the FMU's parameter file as it stands, or an empty text. Owned by the FMU instance.
    virtual char* GetStringParamIPadress(void* /*handle*/) { return nullptr; }

    /// Final time of the run in seconds: the master's stop time when it defined one, else the parameter file's.
    virtual double GetFinalTimei(void* /*handle*/) { return -1.0; }

    /// Number of input ports, 0 to 8.
    virtual int GetNumInputPorts(void* /*handle*/) { return -1; }

    /// Number of output ports, 0 to 8.
    virtual int GetNumOutputPorts(void* /*handle*/) { return -1; }

    /// Number of signals of input port `port`. No operation checks the port: ask for 0 to the number of ports - 1.
    virtual int GetInputPortWidth(void* /*handle*/, int /*port*/) { return -1; }

    /// Number of signals of output port `port`.
    virtual int GetOutputPortWidth(void* /*handle*/, int /*port*/) { return -1; }

    /// Where the values of input port `port` stand: an array of the port's width inside the FMU's real variables. The
    /// address stays the same for the whole run; the values are the master's and change between the calls.
    virtual double* GetInputPortRealSignalPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Where the solver writes the values of output port `port`: an array of the port's width, address as above. What
    /// `blkStart` writes there is what the master reads before the first step.
    virtual double* GetOutputPortRealSignalPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Reports `text` (zero-terminated, UTF-8, copied by the master) to the master's log, when logging is on, at
    /// `level` 0 information, 1 warning, 2 error, 3 fatal. Levels of 2 and more end the run: before it returns the FMU
    /// calls `blkTerminate`, and the entry point that reported is then taken as failed. Levels of 4 and more end the
    /// run without a line in the log; negative ones are ignored.
    virtual void MessageHandler(void* /*handle*/, const char* /*text*/, int /*level*/) {}

    /// Ignored by the FMU.
    virtual void SetInputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

    /// Ignored by the FMU.
    virtual void SetOutputPortLabel(void* /*handle*/, int /*port*/, const char* /*label*/) {}

    /// Server address; the FMU answers with status 1 and a constant empty text, not to be freed.
    virtual void Get_TS_Server_IP_Addr(void* /*handle*/, char** /*address*/, int& /*status*/) {}

    /// Server port; the FMU answers with status 1 and port -1.
    virtual void Get_TS_Server_Port(void* /*handle*/, int* /*port*/, int& /*status*/) {}
};

/// The second version: the derivatives of the outputs. Its two slots follow those of `TScicosAccessAPI`.
class TScicosAccessAPI2 : public TScicosAccessAPI {
public:
    /// Where the solver writes the first time derivatives of output port `port` (unit of the signal per second): an
    /// array of the port's width directly behind its values.
    virtual double* GetOutputPortRealSignalDotPtrs(void* /*handle*/, int /*port*/) { return nullptr; }

    /// Where the solver writes the second time derivatives of output port `port`: an array of the port's width
    /// directly behind the first derivatives.
    virtual double* GetOutputPortRealSignalDotDotPtrs(void* /*handle*/, int /*port*/) { return nullptr; }
};
