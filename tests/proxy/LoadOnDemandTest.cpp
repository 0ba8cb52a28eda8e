#include "tests/proxy/ProxyTest.h"

#include "varnox/socketutil/SocketException.h"

#include <stdexcept>

namespace varnox {
namespace {

using namespace tests;

/// What the callbacks saw, and what they give back.
std::vector<std::string> calls;
char callbackResult = 1;
std::function<void(FieldData_s*)> insideLoad;

char loadField(FieldData_s* handle)
{
    calls.push_back("load " + std::to_string(handle->zone) + " " + std::to_string(handle->var));
    if (insideLoad)
        insideLoad(handle);
    return callbackResult;
}
char unloadField(FieldData_s* handle)
{
    calls.push_back("unload " + std::to_string(handle->zone) + " " + std::to_string(handle->var));
    return callbackResult;
}
void cleanUpField(FieldData_s* handle)
{
    calls.push_back("clean up " + std::to_string(handle->zone) + " " + std::to_string(handle->var));
}
double getValue(FieldData_s*, long)
{
    calls.emplace_back("get");
    return 0;
}
void setValue(FieldData_s*, long, double)
{
    calls.emplace_back("set");
}

template <typename Handle>
std::string numberOf(Handle* handle)
{
    return std::to_string(reinterpret_cast<long>(handle));
}
template <typename Handle>
char loadZone(Handle* handle)
{
    calls.push_back("load " + numberOf(handle));
    return callbackResult;
}
template <typename Handle>
char unloadZone(Handle* handle)
{
    calls.push_back("unload " + numberOf(handle));
    return callbackResult;
}
template <typename Handle>
void cleanUpZone(Handle* handle)
{
    calls.push_back("clean up " + numberOf(handle));
}

/// Two variables and two zones, with all callbacks registered for the second.
class LoadOnDemand : public ProxyTest
{
protected:
    void SetUp() override
    {
        calls.clear();
        callbackResult = 1;
        insideLoad = nullptr;
        createDataSet(2);
        addZone();
        addZone("FaceNeighborMode", 5);
        EXPECT_EQ(proxy.VnxUtilDataValueCustomLOD(2, 2, loadField, unloadField, cleanUpField,
                                                  getValue, setValue, 77),
                  1);
        EXPECT_EQ(proxy.VnxUtilDataNodeCustomLOD(2, loadZone, unloadZone, cleanUpZone, -78), 1);
        EXPECT_EQ(proxy.VnxUtilDataFaceNbrCustomLOD(2, 1, loadZone, unloadZone, cleanUpZone, 79),
                  1);
        forgetBatch();
    }

    void setTypes(std::vector<int> types)
    {
        Args const args;
        proxy.VnxUtilArgListAppendInt(args, "Zone", 2);
        proxy.VnxUtilArgListAppendArray(args, "VarDataType", types.data());
        proxy.VnxUtilDataSetAddZoneX(args);
        forgetBatch();
    }

    /// Whether a zone that shares the connectivity of the second one may wait in a batch.
    bool faceNeighborsAreLoaded()
    {
        Args const args;
        proxy.VnxUtilArgListAppendInt(args, "ConnectShareZone", 2);
        proxy.VnxUtilArgListAppendInt(args, "Zone", 1);
        socket.appendScript(FINISHED + u32(1));
        proxy.VnxUtilDataSetAddZoneX(args);
        bool const waits = socket.sent().empty();
        cache.finishCachingCommands();
        socket.takeSent();
        return waits;
    }

    static constexpr auto faces = [](long zone) { return reinterpret_cast<FaceNeighbor_s*>(zone); };
    static constexpr auto map = [](long zone) { return reinterpret_cast<ElemToNodeMap*>(zone); };
    FieldData_s field{2, 2};
};

TEST_F(LoadOnDemand, EveryPresentCallbackIsAOne)
{
    proxy.VnxUtilDataValueCustomLOD(1, 2, loadField, nullptr, cleanUpField, nullptr, setValue, 0);
    proxy.VnxUtilDataNodeCustomLOD(1, nullptr, unloadZone, nullptr, 0);
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, nullptr, nullptr, cleanUpZone, 0);
    socket.appendScript(u32(1) + FINISHED + u32(1) + FINISHED + u32(1));
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(socket.sent(), text("VnxUtilDataValueCustomLOD") +
                                 hex("01 00 00 00 02 00 00 00"             // zone, variable
                                     "01 00 00 00 00 00 00 00 01 00 00 00" // load, unload, ...
                                     "00 00 00 00 01 00 00 00")            // get, set
                                 + text("VnxUtilDataNodeCustomLOD") +
                                 hex("01 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00") +
                                 text("VnxUtilDataFaceNbrCustomLOD") +
                                 hex("01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                                     "01 00 00 00"));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(LoadOnDemand, RegistrationForWhatDoesNotExistIsFalseAndSendsNothing)
{
    for (int const zone : {0, -1, 3, -2147483647}) {
        EXPECT_EQ(proxy.VnxUtilDataValueCustomLOD(zone, 1, loadField, {}, {}, {}, {}, 0), 0);
        EXPECT_EQ(proxy.VnxUtilDataNodeCustomLOD(zone, loadZone, {}, {}, 0), 0);
        EXPECT_EQ(proxy.VnxUtilDataFaceNbrCustomLOD(zone, 0, loadZone, {}, {}, 0), 0);
    }
    for (int const var : {0, -1, 3})
        EXPECT_EQ(proxy.VnxUtilDataValueCustomLOD(1, var, loadField, {}, {}, {}, {}, 0), 0);
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_F(LoadOnDemand, RecordsAnswerWithoutTheClient)
{
    std::size_t const before = socket.numOperations();
    EXPECT_EQ(proxy.VnxUtilDataValueGetClientData(&field), 77);
    EXPECT_EQ(proxy.VnxUtilDataValueGetRefType(&field), 1);
    EXPECT_EQ(proxy.VnxUtilDataNodeGetClientData(map(2)), -78);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetClientData(faces(2)), 79);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetModeByRef(faces(2)), 5);
    EXPECT_EQ(socket.numOperations(), before);
}

TEST_F(LoadOnDemand, ModeByHandleIsTheModeByZone)
{
    for (int const zone : {1, 2})
        EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetModeByRef(faces(zone)),
                  proxy.VnxUtilDataFaceNbrGetModeByZone(zone));
}

TEST_F(LoadOnDemand, HandlesThatLeadNowhereGiveZero)
{
    for (int const zone : {0, -1, 3, 2147483647}) {
        FieldData_s nowhere{zone, 1};
        EXPECT_EQ(proxy.VnxUtilDataValueGetClientData(&nowhere), 0);
        EXPECT_EQ(proxy.VnxUtilDataValueGetRefType(&nowhere), 0);
        EXPECT_EQ(proxy.VnxUtilDataNodeGetClientData(map(zone)), 0);
        EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetClientData(faces(zone)), 0);
        EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetModeByZone(zone), 0);
    }
    FieldData_s noVariable{2, 3};
    EXPECT_EQ(proxy.VnxUtilDataValueGetClientData(&noVariable), 0);
    EXPECT_EQ(proxy.VnxUtilDataValueGetRefType(nullptr), 0);
}

TEST_F(LoadOnDemand, RegistrationAgainReplacesTheCallbacks)
{
    proxy.VnxUtilDataValueCustomLOD(2, 2, loadField, {}, {}, {}, {}, 5);
    EXPECT_EQ(proxy.VnxUtilDataValueGetClientData(&field), 5);
}

struct CommandCase
{
    char const* name;
    char const* command;
    char const* call;
    bool hasVariable;
    bool hasResult;
};

CommandCase const commandCases[] = {
    {"LoadFieldData", "load field data", "load 2 2", true, true},
    {"UnloadFieldData", "unload field data", "unload 2 2", true, true},
    {"CleanUpFieldData", "clean up field data", "clean up 2 2", true, false},
    {"LoadNodeMap", "load node map", "load 2", false, true},
    {"UnloadNodeMap", "unload node map", "unload 2", false, true},
    {"CleanUpNodeMap", "clean up node map", "clean up 2", false, false},
    {"LoadFaceNeighbors", "load face neighbors", "load 2", false, true},
    {"UnloadFaceNeighbors", "unload face neighbors", "unload 2", false, true},
    {"CleanUpFaceNeighbors", "clean up face neighbors", "clean up 2", false, false},
};

class LoadCommand : public LoadOnDemand, public testing::WithParamInterface<CommandCase>
{
protected:
    /// The client asks for a zone and, where it belongs, a variable. Gives what was answered.
    std::string answerTo(int zone, int var)
    {
        socket.takeSent();
        socket.appendScript(i32(zone) + (GetParam().hasVariable ? i32(var) : ""));
        handle(GetParam().command);
        EXPECT_TRUE(socket.allWasRead());
        return socket.takeSent();
    }

    static std::string finished(int result)
    {
        return FINISHED + (GetParam().hasResult ? u32(static_cast<unsigned>(result)) : "");
    }
};

TEST_P(LoadCommand, RunsItsCallbackAndAnswersTrue)
{
    EXPECT_EQ(answerTo(2, 2), finished(1));
    EXPECT_EQ(calls, std::vector<std::string>{GetParam().call});
}

TEST_P(LoadCommand, CallbackThatFailsAnswersFalse)
{
    callbackResult = 0;
    EXPECT_EQ(answerTo(2, 2), finished(0));
    EXPECT_EQ(calls.size(), 1U);
}

TEST_P(LoadCommand, AnyResultButZeroIsTrue)
{
    for (int const result : {2, -1, 127}) {
        callbackResult = static_cast<char>(result);
        EXPECT_EQ(answerTo(2, 2), finished(1));
    }
}

TEST_P(LoadCommand, ZoneBeyondTheRangeIsFalseAndRunsNothing)
{
    for (int const zone : {3, 2147483647, 0, -1, -2147483647}) {
        EXPECT_EQ(answerTo(zone, 2), finished(0)) << zone;
        if (GetParam().hasVariable) {
            EXPECT_EQ(answerTo(2, zone), finished(0)) << zone;
        }
    }
    EXPECT_TRUE(calls.empty());
}

TEST_P(LoadCommand, CallbackThatIsNotThereIsFalse)
{
    EXPECT_EQ(answerTo(1, 1), finished(0));
    EXPECT_TRUE(calls.empty());
}

TEST_P(LoadCommand, EveryFailureOfTheConnectionPasses)
{
    std::size_t const numOperations =
        (GetParam().hasVariable ? 2U : 1U) + (GetParam().hasResult ? 2U : 1U);
    for (std::size_t n = 0; n < numOperations; ++n) {
        RecordingSocket& failing = socket;
        failing.appendScript(i32(2) + (GetParam().hasVariable ? i32(2) : ""));
        failing.failAt(n);
        EXPECT_THROW(handle(GetParam().command), socketutil::SocketException) << n;
        while (!failing.allWasRead())
            failing.receiveInt32();
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, LoadCommand, testing::ValuesIn(commandCases),
                         caseName<CommandCase>);

TEST_F(LoadOnDemand, LoadResultOfTwoIsTrueForTheClientAndNotLoadedHere)
{
    callbackResult = 2;
    socket.appendScript(i32(2));
    handle("load face neighbors");
    EXPECT_EQ(socket.takeSent(), FINISHED + u32(1));
    EXPECT_FALSE(faceNeighborsAreLoaded());
}

TEST_F(LoadOnDemand, LoadedFaceNeighborsAreLoadedUntilUnloadedOrCleanedUp)
{
    auto const request = [&](char const* command) {
        socket.appendScript(i32(2));
        handle(command);
        socket.takeSent();
    };
    EXPECT_FALSE(faceNeighborsAreLoaded());
    request("load face neighbors");
    EXPECT_TRUE(faceNeighborsAreLoaded());
    request("unload face neighbors");
    EXPECT_FALSE(faceNeighborsAreLoaded());
    request("load face neighbors");
    request("clean up face neighbors");
    EXPECT_FALSE(faceNeighborsAreLoaded());
}

TEST_F(LoadOnDemand, RefusedUnloadCountsAsStillLoaded)
{
    for (int const refusal : {0, 2}) {
        callbackResult = static_cast<char>(refusal);
        socket.appendScript(i32(2));
        handle("unload face neighbors");
        socket.takeSent();
        EXPECT_TRUE(faceNeighborsAreLoaded());
    }
}

TEST_F(LoadOnDemand, RegistrationAgainCountsAsNotLoaded)
{
    socket.appendScript(i32(2));
    handle("load face neighbors");
    proxy.VnxUtilDataFaceNbrCustomLOD(2, 0, loadZone, unloadZone, cleanUpZone, 0);
    forgetBatch();
    EXPECT_FALSE(faceNeighborsAreLoaded());
}

TEST_F(LoadOnDemand, ClientDataIsThereInsideACallback)
{
    long seen = 0;
    insideLoad = [&](FieldData_s* handle) { seen = proxy.VnxUtilDataValueGetClientData(handle); };
    socket.appendScript(i32(2) + i32(2));
    handle("load field data");
    EXPECT_EQ(seen, 77);
}

TEST_F(LoadOnDemand, DataGoesOutBeforeTheEndOfItsCommand)
{
    float const values[] = {1, 2};
    insideLoad = [&](FieldData_s* handle) {
        proxy.VnxUtilDataValueArraySetByRef(handle, 1, 1, values);
        proxy.VnxUtilDataValueArraySetByRef(handle, 2, 1, values + 1);
    };
    socket.appendScript(i32(2) + i32(2));
    handle("load field data");
    std::string const name = text("VnxUtilDataValueArraySetByRef");
    EXPECT_EQ(socket.sent(), name + i64(1) + i64(1) + vec({f32(1)}) + name + i64(2) + i64(1) +
                                 vec({f32(2)}) + FINISHED + u32(1));
}

TEST_F(LoadOnDemand, CallbackMayAddZones)
{
    insideLoad = [&](FieldData_s*) {
        for (int i = 0; i < 100; ++i)
            addZone();
    };
    socket.appendScript(i32(2) + i32(2));
    handle("load field data");
    EXPECT_EQ(socket.sent(), FINISHED + u32(1));
}

TEST_F(LoadOnDemand, FailureInsideACallbackPassesThroughIt)
{
    float const values[] = {1};
    insideLoad = [&](FieldData_s* handle) {
        socket.failAt(0);
        proxy.VnxUtilDataValueArraySetByRef(handle, 1, 1, values);
    };
    socket.appendScript(i32(2) + i32(2));
    EXPECT_THROW(handle("load field data"), socketutil::SocketException);
    EXPECT_TRUE(socket.sent().empty());
}

struct TypeCase
{
    char const* name;
    int type;
    std::string elements; ///< Three elements as they lie in memory and on the wire.
};

TypeCase const typeCases[] = {
    {"Float", 1, f32(1.5F) + f32(-2) + f32(1e30F)},
    {"Double", 2, f64(1.5) + f64(-2) + f64(1e300)},
    {"Int32", 3, i32(1) + i32(-2) + i32(2147483647)},
    {"Int16", 4, hex("01 00 fe ff ff 7f")},
    {"UInt8", 5, hex("01 fe ff")},
};

class ValueArray : public LoadOnDemand, public testing::WithParamInterface<TypeCase>
{
};

TEST_P(ValueArray, TravelsInTheTypeOfItsVariable)
{
    setTypes({1, GetParam().type});
    std::string const name = text("VnxUtilDataValueArraySetByRef");
    proxy.VnxUtilDataValueArraySetByRef(&field, 1L << 34, 3, GetParam().elements.data());
    EXPECT_EQ(socket.takeSent(), name + i64(1L << 34) + i64(3) + u64(3) + GetParam().elements);
    proxy.VnxUtilDataValueArraySetByRef(&field, 1, 0, nullptr);
    EXPECT_EQ(socket.takeSent(), name + i64(1) + i64(0) + u64(0));
}

TEST_P(ValueArray, ThatCannotBeIsRefused)
{
    setTypes({1, GetParam().type});
    EXPECT_THROW(proxy.VnxUtilDataValueArraySetByRef(&field, 1, 1, nullptr), std::invalid_argument);
    EXPECT_THROW(proxy.VnxUtilDataValueArraySetByRef(&field, 1, -1, GetParam().elements.data()),
                 std::invalid_argument);
    EXPECT_TRUE(socket.sent().empty());
}

INSTANTIATE_TEST_SUITE_P(Types, ValueArray, testing::ValuesIn(typeCases), caseName<TypeCase>);

TEST_F(LoadOnDemand, ArrayOfAnUnknownTypeSendsNothing)
{
    double const values[] = {1};
    for (int const type : {0, 6, 7, -1, 255}) {
        setTypes({1, type});
        std::size_t const before = socket.numOperations();
        proxy.VnxUtilDataValueArraySetByRef(&field, 1, 1, values);
        proxy.VnxUtilDataValueSetByRef(&field, 1, 1.0);
        EXPECT_EQ(socket.numOperations(), before);
    }
}

TEST_F(LoadOnDemand, SingleValueIsNotConverted)
{
    std::string const head = text("VnxUtilDataValueArraySetByRef") + i64(4) + i64(1) + u64(1);
    double const value = 1.5; // 3f f8 00 ...: its low bytes are zero
    proxy.VnxUtilDataValueSetByRef(&field, 4, value);
    EXPECT_EQ(socket.takeSent(), head + hex("00 00 00 00"));
    setTypes({1, 2});
    proxy.VnxUtilDataValueSetByRef(&field, 4, value);
    EXPECT_EQ(socket.takeSent(), head + f64(1.5));
}

/// Sees which of its own calls another one makes.
class ObservingProxy : public VnxUtilProxy
{
public:
    using VnxUtilProxy::VnxUtilProxy;
    void VnxUtilDataValueArraySetByRef(FieldData_s*, long offset, long count,
                                       void const* values) override
    {
        seen = std::to_string(offset) + " " + std::to_string(count) + " " +
               std::to_string(*static_cast<double const*>(values));
    }

    std::string seen;
};

TEST_F(LoadOnDemand, SingleValueGoesThroughTheArrayCall)
{
    ObservingProxy observing(socket, registration, *addonProxy, cache);
    observing.VnxUtilDataValueSetByRef(&field, 4, 1.5);
    EXPECT_EQ(observing.seen, "4 1 1.500000");
}

TEST_F(LoadOnDemand, NodeArrayOfNothingIsAnEmptyVector)
{
    proxy.VnxUtilDataNodeArraySetByRef(map(2), 1, 0, nullptr);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataNodeArraySetByRef") + i64(1) + i64(0) + vec({}));
}

TEST_F(LoadOnDemand, FaceNeighborsWithoutZonesAreOneVector)
{
    int const items[] = {3};
    long const zones[] = {4};
    std::string const head =
        text("VnxUtilDataFaceNbrAssignByRef") + i64(1) + i32(2) + u8(1) + i32(1) + vec({i32(3)});
    socket.appendScript(u32(1) + u32(1));
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrAssignByRef(faces(2), 1, 2, 1, 1, items, nullptr), 1);
    EXPECT_EQ(socket.takeSent(), head);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrAssignByRef(faces(2), 1, 2, 1, 1, items, zones), 1);
    EXPECT_EQ(socket.takeSent(), head + vec({i64(4)}));
}

TEST_F(LoadOnDemand, FaceNeighborsOfNothingButWithZonesAreTwoEmptyVectors)
{
    long const zones[] = {4};
    socket.appendScript(u32(1));
    proxy.VnxUtilDataFaceNbrAssignByRef(faces(2), 1, 2, 0, 0, nullptr, zones);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataFaceNbrAssignByRef") + i64(1) + i32(2) + u8(0) +
                                 i32(0) + vec({}) + vec({}));
}

TEST_F(LoadOnDemand, GetValueAndSetValueAreNeverCalled)
{
    for (CommandCase const& c : commandCases) {
        socket.appendScript(i32(2) + (c.hasVariable ? i32(2) : ""));
        handle(c.command);
    }
    for (std::string const& call : calls)
        EXPECT_TRUE(call != "get" && call != "set");
}

}
}
