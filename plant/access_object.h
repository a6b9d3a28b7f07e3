// The access object that the plant link hands to the solver's interface library, and the owner of that library.
#pragma once

#include "plant/access_interface.h"

class TScicosAccessFnc2;

/// The entry points of the interface library; the handle is the `FmuInstance`, times are in seconds.
using BlkStart = void (*)(void* handle, TScicosAccessFnc2* access);
using BlkRequestPlantOutput = void (*)(void* handle, TScicosAccessFnc2* access, double time);
using BlkDepositPlantInput = void (*)(void* handle, int flag, TScicosAccessFnc2* access, double time);
using BlkTerminate = void (*)(void* handle, TScicosAccessFnc2* access, double time);

/// Answers for whatever `FmuInstance` it is given as handle; keeps none of its own. One object a plant run, created by
/// the plant link and destroyed by it. Its operations, those after the inherited ones included, and its members are
/// called and read by slot and offset: keep their order.
class TScicosAccessFnc2 final : public TScicosAccessAPI2 {
public:
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

    /// Unloads the library and frees the strings. Kept: without a loaded library nothing is done at all, so strings
    /// asked for before a failed load are not freed.
    virtual ~TScicosAccessFnc2();

    /// Loads `tscicos.so` from the directory in NUSOL_DLL_DIR and resolves its entry points. False when any of that
    /// fails, with a message in the master's log; nothing stays loaded then. Effect on the process: a loader error is
    /// also printed on standard output.
    virtual bool LoadInterfaceDll(void* handle);

    /// True when the library and all four entry points were found.
    virtual bool isTSLoaded();

    /// The last severe level (2 and above) that the library reported, without those whose blkTerminate threw; 0 when
    /// there was none.
    virtual int getErrorCode() { return errorCode_; }

    TScicosAccessFnc2() = default;
    TScicosAccessFnc2(const TScicosAccessFnc2&) = delete;
    TScicosAccessFnc2& operator=(const TScicosAccessFnc2&) = delete;

private:
    void* reserved_ = nullptr; ///< never used; the members below keep their offsets by it

public:
    BlkStart blkStart = nullptr;
    BlkRequestPlantOutput blkRequestPlantOutput = nullptr;
    BlkDepositPlantInput blkDepositPlantInput = nullptr;
    BlkTerminate blkTerminate = nullptr;

private:
    bool resolveEntryPoints(void* handle, void* library);
    template <typename EntryPoint>
    bool resolve(EntryPoint& entryPoint, void* handle, void* library, const char* name, const char* failure);
    void endRun(void* handle, double time, int level);

    void* libraryHandle_ = nullptr; ///< null until all four entry points were resolved
    char* inputPath_ = nullptr;     ///< last results of the three path getters, malloc'ed, owned
    char* outputPath_ = nullptr;
    char* subdllPath_ = nullptr;
    int errorCode_ = 0;
    bool terminating_ = false; ///< inside a blkTerminate that `MessageHandler` called
};

static_assert(sizeof(TScicosAccessFnc2) == 88);
