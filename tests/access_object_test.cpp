// What the solver's interface library is answered, and the table of virtual functions by which it asks.
#include "plant/access_object.h"

#include <array>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "fmi/instance/fmu_instance.h"
#include "util/internal/owners.h"

namespace {

class AccessObject : public testing::Test {
protected:
    AccessObject() {
        record.modelFilePath = model;
        record.resultFileName = result;
        record.subdllFilePath = library;
        record.ipAddress = address;
        record.endTime = 4;
        record.nInputPorts = 1;
        record.nOutputPorts = 2;
        record.inputPortSize = &sizes[0];
        record.outputPortSize = &sizes[1];
        record.inputPortValues = &values[0];
        record.outputPortValues = &values[1];
        record.outputPortDots = &values[3];
        record.outputPortDotDots = &values[5];
    }

    /// Calls the operation of a slot, as compiled libraries do.
    template <typename Result, typename... Arguments>
    Result slot(int number, Arguments... arguments) {
        TScicosAccessAPI2* object = &access;
        void** table = *reinterpret_cast<void***>(object);
        return reinterpret_cast<Result (*)(void*, Arguments...)>(table[number])(object, arguments...);
    }

    char model[14] = "file:///a%20b", result[6] = "r.mrf", library[2] = "l", address[8] = "1.2.3.4";
    std::array<std::uint32_t, 3> sizes{1, 2, 3};
    std::array<double, 8> reals{};
    std::array<double*, 7> values{&reals[0], &reals[1], &reals[2], &reals[3], &reals[4], &reals[5], &reals[6]};
    FmuInstance record{};
    void* handle = &record;
    TScicosAccessFnc2 access;
};

} // namespace

TEST_F(AccessObject, AnswersInTheOrderOfTheSlots) {
    EXPECT_STREQ(MallocText(slot<char*>(0, handle)).get(), "/a b");
    EXPECT_STREQ(MallocText(slot<char*>(1, handle)).get(), "r.mrf");
    EXPECT_STREQ(MallocText(slot<char*>(2, handle)).get(), "l");
    EXPECT_EQ(slot<char*>(3, handle), address) << "not a copy";
    EXPECT_EQ(slot<double>(4, handle), 4);
    EXPECT_EQ(slot<int>(5, handle), 1);
    EXPECT_EQ(slot<int>(6, handle), 2);
    EXPECT_EQ(slot<int>(7, handle, 0), 1);
    EXPECT_EQ(slot<int>(8, handle, 1), 3);
    EXPECT_EQ(slot<double*>(9, handle, 0), &reals[0]);
    EXPECT_EQ(slot<double*>(10, handle, 1), &reals[2]);
    slot<void>(11, handle, "ignored", -1);
    slot<void>(12, handle, 0, "label");
    slot<void>(13, handle, 0, "label");
    char* server = nullptr;
    int status = 0, port = 0;
    slot<void>(14, handle, &server, &status);
    EXPECT_STREQ(server, "");
    EXPECT_EQ(status, 1);
    slot<void>(15, handle, &port, &(status = 0));
    EXPECT_EQ(port, -1);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(slot<double*>(16, handle, 1), &reals[4]);
    EXPECT_EQ(slot<double*>(17, handle, 1), &reals[6]);
    EXPECT_FALSE(slot<bool>(21));
    EXPECT_EQ(slot<int>(22), 0);
}

TEST_F(AccessObject, HoldsTheEntryPointsAfterAWordThatIsNotUsed) {
    access.blkStart = [](void*, TScicosAccessFnc2*) {};
    access.blkTerminate = [](void*, TScicosAccessFnc2*, double) {};
    void* const* words = reinterpret_cast<void**>(&access);
    EXPECT_EQ(words[2], reinterpret_cast<void*>(access.blkStart));
    EXPECT_EQ(words[5], reinterpret_cast<void*>(access.blkTerminate));
}

TEST_F(AccessObject, MakesANewStringForEachQuestionForAPath) {
    using Question = char* (TScicosAccessFnc2::*)(void*);
    const std::pair<Question, char * FmuInstance::*> paths[] = {
        {&TScicosAccessFnc2::GetStringParamInputName, &FmuInstance::modelFilePath},
        {&TScicosAccessFnc2::GetStringParamOutputName, &FmuInstance::resultFileName},
        {&TScicosAccessFnc2::GetStringParamSubdllName, &FmuInstance::subdllFilePath}};
    for (const auto& [question, path] : paths) {
        record.*path = model;
        const MallocText first((access.*question)(handle));
        record.*path = result;
        const MallocText second((access.*question)(handle));
        EXPECT_STREQ(first.get(), "/a b");
        EXPECT_STREQ(second.get(), "r.mrf");
    }
}

TEST_F(AccessObject, OfTheInterfaceAloneAnswersNotAvailable) {
    TScicosAccessAPI2 plain;
    for (char* text : {plain.GetStringParamInputName(handle), plain.GetStringParamOutputName(handle),
                       plain.GetStringParamSubdllName(handle), plain.GetStringParamIPadress(handle)})
        EXPECT_EQ(text, nullptr);
    EXPECT_EQ(plain.GetFinalTimei(handle), -1);
    for (const int number : {plain.GetNumInputPorts(handle), plain.GetNumOutputPorts(handle),
                             plain.GetInputPortWidth(handle, 0), plain.GetOutputPortWidth(handle, 0)})
        EXPECT_EQ(number, -1);
    for (double* signals :
         {plain.GetInputPortRealSignalPtrs(handle, 0), plain.GetOutputPortRealSignalPtrs(handle, 0),
          plain.GetOutputPortRealSignalDotPtrs(handle, 0), plain.GetOutputPortRealSignalDotDotPtrs(handle, 0)})
        EXPECT_EQ(signals, nullptr);
}
