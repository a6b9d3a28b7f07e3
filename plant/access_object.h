// The access object that the plant link passes to the solver's interface library. It owns the loaded library.
#pragma once

#include "plant/access_interface.h"

class TScicosAccessFnc2;

/// The entry points of the interface library. The handle is the `FmuInstance`; times are in seconds.
using BlkStart = void (*)(void* handle, TScicosAccessFnc2* access);
using BlkRequestPlantOutput = void (*)(void* handle, TScicosAccessFnc2* access, double time);
using BlkDepositPlantInput = void (*)(void* handle, int flag, TScicosAccessFnc2* access, double time);
using BlkTerminate = void (*)(void* handle, TScicosAccessFnc2* access, double time);

/// A view of the `FmuInstance` passed as `handle`; it stores no instance. One object per plant run, created and
/// destroyed by the plant link. Interface libraries use its operations and members by slot and offset: keep the order
/// of all of them, also of those that are not inherited.
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

    /// Unloads the library and frees the strings. Kept: without a loaded library it does nothing, so strings requested
    /// before a failed load are not freed.
    virtual ~TScicosAccessFnc2();

    /// Loads `tscicos.so` from the directory in NUSOL_DLL_DIR and resolves its entry points. On failure: false, with a
    /// message in the master's log and nothing left loaded. Effect on the process: an error of the dynamic loader is
    /// also printed on standard output.
    virtual bool LoadInterfaceDll(void* handle);

    /// True when the library and all four entry points were found.
    virtual bool isTSLoaded();

    /// The last level of 2 or above that the library reported, unless its blkTerminate threw; 0 when there was none.
    virtual int getErrorCode() { return errorCode_; }

    TScicosAccessFnc2() = default;
    TScicosAccessFnc2(const TScicosAccessFnc2&) = delete;
    TScicosAccessFnc2& operator=(const TScicosAccessFnc2&) = delete;

private:
    void* reserved_ = nullptr; ///< never used; fixes the offsets of the members below

public:
    BlkStart blkStart = nullptr;
    BlkRequestPlantOutput blkRequestPlantOutput = nullptr;
    BlkDepositPlantInput blkDepositPlantInput = nullptr;
    BlkTerminate blkTerminate = nullptr;

private:
    bool resolveEntryPoints(void* handle, void* library);
    void* find(void* handle, void* library, const char* name, const char* failure);
    void endRun(void* handle, double time, int level);

    void* libraryHandle_ = nullptr; ///< null until all four entry points are resolved
    char* inputPath_ = nullptr;     ///< latest results of the three path getters, malloc'ed, owned
    char* outputPath_ = nullptr;
    char* subdllPath_ = nullptr;
    int errorCode_ = 0;
    bool terminating_ = false; ///< inside the blkTerminate called by `MessageHandler`
};

static_assert(sizeof(TScicosAccessFnc2) == 88);
