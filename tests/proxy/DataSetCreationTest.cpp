#include "tests/proxy/ProxyTest.h"

#include <boost/variant/get.hpp>

#include <stdexcept>

namespace varnox {
namespace {

using namespace tests;

char loadNeighbors(FaceNeighbor_s*)
{
    return 1;
}

class DataSetCreation : public ProxyTest
{
protected:
    int typeOf(int zone, int var)
    {
        FieldData_s handle{zone, var};
        return proxy.VnxUtilDataValueGetRefType(&handle);
    }

    void addZoneOfTypes(std::vector<int> types)
    {
        Args const args;
        proxy.VnxUtilArgListAppendArray(args, "VarDataType", types.data());
        proxy.VnxUtilDataSetAddZoneX(args);
    }

    /// The number of the zone that the last one got: it alone has this mode.
    int zoneOfMode(int mode)
    {
        for (int zone = 1; zone < 20; ++zone)
            if (proxy.VnxUtilDataFaceNbrGetModeByZone(zone) == mode)
                return zone;
        return 0;
    }
};

TEST_F(DataSetCreation, CreateIsItsGoldenBytes)
{
    StringList_s names{{"x", "pressure"}};
    socket.appendScript(FINISHED + u32(1));
    EXPECT_EQ(proxy.VnxUtilDataSetCreate("title", &names, static_cast<char>(-2)), 1);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetCreate") +
                                 hex("05 00 00 00 00 00 00 00 74 69 74 6c 65"          // title
                                     "02 00 00 00 00 00 00 00"                         // names
                                     "01 00 00 00 00 00 00 00 78"                      //
                                     "08 00 00 00 00 00 00 00 70 72 65 73 73 75 72 65" //
                                     "fe ff ff ff"));                                  // flag
    EXPECT_EQ(socket.numSendCaches(), 1U);
}

TEST_F(DataSetCreation, CreateXSendsItsArgumentsAfterCountingTheVariables)
{
    StringList_s names{{"x", "y"}};
    int array[] = {5, 6};
    Args const args;
    proxy.VnxUtilArgListAppendStringList(args, "varnames", &names);
    proxy.VnxUtilArgListAppendArray(args, "Array", array);
    socket.appendScript(FINISHED + u32(1));
    EXPECT_EQ(proxy.VnxUtilDataSetCreateX(args), 1);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetCreateX") + i32(2) + text("ARRAY") +
                                 vec({i32(5), i32(6)}) + text("VARNAMES") +
                                 vec({text("x"), text("y")}));
}

TEST_F(DataSetCreation, CreateXWithoutNamesKeepsTheCountOfVariables)
{
    createDataSet(2);
    socket.appendScript(FINISHED + u32(1));
    proxy.VnxUtilDataSetCreateX(Args());
    socket.takeSent();
    int array[] = {5, 6};
    Args const args;
    proxy.VnxUtilArgListAppendArray(args, "Array", array);
    proxy.VnxUtilDataSetAddZoneX(args);
    socket.appendScript(FINISHED + u32(1));
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent(),
              text("VnxUtilDataSetAddZoneX") + i32(1) + text("ARRAY") + vec({i32(5), i32(6)}));
}

TEST_F(DataSetCreation, CreateXWithNamesOfAnotherTypeIsABadGet)
{
    Args const args;
    proxy.VnxUtilArgListAppendString(args, "VarNames", "x");
    EXPECT_THROW(proxy.VnxUtilDataSetCreateX(args), boost::bad_get);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(DataSetCreation, CreateCountsTheVariablesThoughTheClientRefuses)
{
    StringList_s names{{"x", "y"}};
    socket.appendScript(FINISHED + u32(0));
    EXPECT_EQ(proxy.VnxUtilDataSetCreate("title", &names, 0), 0);
    addZone();
    EXPECT_EQ(typeOf(1, 2), 1);
    EXPECT_EQ(typeOf(1, 3), 0);
}

TEST_F(DataSetCreation, CreateOvertakesTheBatch)
{
    proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1);
    createDataSet(1);
    EXPECT_TRUE(cache.isCachingCommands());
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent().substr(0, 42), text("VnxUtilDataValueSetMinMaxByZoneVar"));
}

TEST_F(DataSetCreation, ZonesAreNumberedFromOne)
{
    createDataSet(1);
    addZone("FaceNeighborMode", 11);
    addZone("FaceNeighborMode", 12);
    addZone("FaceNeighborMode", 13);
    EXPECT_EQ(zoneOfMode(11), 1);
    EXPECT_EQ(zoneOfMode(12), 2);
    EXPECT_EQ(zoneOfMode(13), 3);
}

TEST_F(DataSetCreation, ZoneBeyondTheEndFillsUpWithEmptyRecords)
{
    createDataSet(1);
    addZone("Zone", 5);
    EXPECT_EQ(typeOf(5, 1), 1);
    EXPECT_EQ(typeOf(4, 1), 0);
    addZone("FaceNeighborMode", 7);
    EXPECT_EQ(zoneOfMode(7), 6);
}

TEST_F(DataSetCreation, ZoneAgainKeepsItsCallbacks)
{
    createDataSet(1);
    addZone("FaceNeighborMode", 3);
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, loadNeighbors, nullptr, nullptr, 44);
    addZone("Zone", 1);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetClientData(reinterpret_cast<FaceNeighbor_s*>(1)), 44);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetModeByZone(1), 0);
}

TEST_F(DataSetCreation, ZoneOfAnotherTypeIsABadGetAndSendsNothing)
{
    for (char const* const key : {"Zone", "FaceNeighborMode", "ConnectShareZone", "VarDataType"}) {
        Args const args;
        proxy.VnxUtilArgListAppendDouble(args, key, 1.0);
        EXPECT_THROW(proxy.VnxUtilDataSetAddZoneX(args), boost::bad_get) << key;
    }
    EXPECT_EQ(socket.numOperations(), 0U);
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_F(DataSetCreation, ZoneNumberThatCannotBeTouchesNoMemory)
{
    createDataSet(1);
    EXPECT_THROW(addZone("Zone", 0), std::out_of_range);
    EXPECT_THROW(addZone("Zone", -3), std::out_of_range);
    EXPECT_THROW(addZone("Zone", 1L << 40), std::length_error);
}

TEST_F(DataSetCreation, TypesAreThoseOfTheZoneBeforeUnlessGiven)
{
    createDataSet(2);
    addZoneOfTypes({2, 4});
    addZone();
    EXPECT_EQ(typeOf(2, 1), 2);
    EXPECT_EQ(typeOf(2, 2), 4);
}

TEST_F(DataSetCreation, FirstZoneWithoutTypesIsAllFloats)
{
    createDataSet(2);
    addZone();
    EXPECT_EQ(typeOf(1, 1), 1);
    EXPECT_EQ(typeOf(1, 2), 1);
    EXPECT_EQ(typeOf(1, 3), 0);
}

TEST_F(DataSetCreation, TypesOfTheZoneBeforeAreTakenWhateverTheirNumber)
{
    createDataSet(2);
    addZoneOfTypes({2, 4});
    createDataSet(3);
    addZone();
    EXPECT_EQ(typeOf(2, 2), 4);
    EXPECT_EQ(typeOf(2, 3), 0);
}

TEST_F(DataSetCreation, ZoneBehindAnEmptyRecordIsAllFloats)
{
    createDataSet(1);
    addZoneOfTypes({2});
    addZone("Zone", 3); // behind the empty record of zone 2
    EXPECT_EQ(typeOf(3, 1), 1);
}

TEST_F(DataSetCreation, EveryKeyGoesToTheClient)
{
    createDataSet(1);
    int types[] = {2};
    Args const args;
    proxy.VnxUtilArgListAppendInt(args, "Zone", 1);
    proxy.VnxUtilArgListAppendInt(args, "FaceNeighborMode", 2);
    proxy.VnxUtilArgListAppendInt(args, "ConnectShareZone", 1);
    proxy.VnxUtilArgListAppendArray(args, "VarDataType", types);
    proxy.VnxUtilArgListAppendString(args, "Name", "n");
    EXPECT_EQ(proxy.VnxUtilDataSetAddZoneX(args), 1);
    EXPECT_TRUE(socket.sent().empty());
    socket.appendScript(FINISHED + u32(1));
    EXPECT_TRUE(cache.finishCachingCommands());
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetAddZoneX") + i32(5) + text("CONNECTSHAREZONE") +
                                 i64(1) + text("FACENEIGHBORMODE") + i64(2) + text("NAME") +
                                 text("n") + text("VARDATATYPE") + vec({i32(2)}) + text("ZONE") +
                                 i64(1));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(DataSetCreation, ZoneThatSharesWithAPlainZoneStaysInTheBatch)
{
    createDataSet(1);
    addZone();
    addZone("ConnectShareZone", 1);
    EXPECT_EQ(socket.sent(), "");
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(DataSetCreation, ZoneThatSharesWithUnloadedFaceNeighborsGoesOutAlone)
{
    createDataSet(1);
    addZone();
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, loadNeighbors, nullptr, nullptr, 0);
    socket.appendScript(FINISHED + u32(1)     // the first zone
                        + FINISHED + u32(1)   // its face neighbours
                        + FINISHED + u32(0)); // the second zone; the answer has no effect
    std::size_t const sendsBefore = socket.numSendCaches();
    addZone("ConnectShareZone", 1);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetAddZoneX") + i32(0) +
                                 text("VnxUtilDataFaceNbrCustomLOD") + i32(1) + u32(0) + u32(1) +
                                 u32(0) + u32(0) + text("VnxUtilDataSetAddZoneX") + i32(1) +
                                 text("CONNECTSHAREZONE") + i64(1));
    EXPECT_EQ(socket.numSendCaches(), sendsBefore + 2);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_TRUE(cache.isCachingCommands());
    socket.takeSent();
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent(), ""); // the new batch is empty
}

TEST_F(DataSetCreation, ZoneThatSharesWithLoadedFaceNeighborsStaysInTheBatch)
{
    createDataSet(1);
    addZone();
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, loadNeighbors, nullptr, nullptr, 0);
    socket.appendScript(FINISHED + u32(1) + FINISHED + u32(1) + i32(1));
    EXPECT_TRUE(cache.flushCachedCommands());
    proxy.handleLoadFaceNeighbors();
    socket.takeSent();
    addZone("ConnectShareZone", 1);
    EXPECT_EQ(socket.sent(), "");
}

TEST_F(DataSetCreation, LoneZoneIsDroppedWhereTheBatchFails)
{
    createDataSet(1);
    addZone();
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, loadNeighbors, nullptr, nullptr, 0);
    socket.appendScript(FINISHED + u32(0)); // the first zone is refused
    addZone("ConnectShareZone", 1);
    EXPECT_EQ(socket.sent().find("CONNECTSHAREZONE"), std::string::npos);
    EXPECT_FALSE(cache.isCachingCommands());
    EXPECT_EQ(typeOf(2, 1), 1); // its record is there all the same
}

TEST_F(DataSetCreation, LoneZoneIsServedWithItsRecordComplete)
{
    createDataSet(1);
    addZone();
    proxy.VnxUtilDataFaceNbrCustomLOD(1, 0, loadNeighbors, nullptr, nullptr, 0);
    socket.appendScript(FINISHED + u32(1) + FINISHED + u32(1) // the batch
                        + text("load face neighbors") + i32(1) + text("load field data") + i32(2) +
                        i32(1) + FINISHED + u32(1));
    addZone("ConnectShareZone", 1);
    EXPECT_EQ(nested, (std::vector<std::string>{"load face neighbors", "load field data"}));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(DataSetCreation, ManyZonesGoOutInBatchesOfAboutTheThreshold)
{
    createDataSet(1);
    // 22 + 8, a count, a key of 17 + 8 and a number: 67 bytes a zone. 15000 bytes are exceeded
    // after 224 zones, and sent when the 225th is added.
    for (int zone = 0; zone < 224; ++zone)
        addZone("ANameOfSomeLength", zone);
    EXPECT_EQ(socket.sent(), "");
    for (int zone = 0; zone < 224; ++zone)
        socket.appendScript(FINISHED + u32(1));
    addZone("ANameOfSomeLength", 224);
    EXPECT_EQ(socket.sent().size(), 224U * 67);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_TRUE(cache.isCachingCommands());
    socket.takeSent();
    socket.appendScript(FINISHED + u32(1));
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent().size(), 67U);
}

TEST_F(DataSetCreation, ZoneBehindAFailedFlushIsDroppedAndReportedAsAdded)
{
    createDataSet(1);
    for (int zone = 0; zone < 224; ++zone)
        addZone("ANameOfSomeLength", zone);
    socket.appendScript(FINISHED + u32(0)); // the first zone's reply stops the walk
    Args const args;
    proxy.VnxUtilArgListAppendString(args, "Name", "dropped");
    EXPECT_EQ(proxy.VnxUtilDataSetAddZoneX(args), 1);
    EXPECT_TRUE(cache.isCachingCommands());
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent().find("dropped"), std::string::npos);
}

TEST_F(DataSetCreation, UniqueIDsForZonesAreItsGoldenBytes)
{
    int const zones[] = {2, 9};
    long ids[2] = {};
    socket.appendScript(vec({i64(77), i64(-1)}));
    proxy.VnxUtilDataSetGetUniqueIDsForZones(zones, 2, ids);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetGetUniqueIDsForZones") +
                                 hex("02 00 00 00 00 00 00 00 02 00 00 00 09 00 00 00"
                                     "02 00 00 00"));
    EXPECT_EQ(ids[0], 77);
    EXPECT_EQ(ids[1], -1);
}

TEST_F(DataSetCreation, ZoneUniqueIDIsFoundUnderTheHandleMinusOne)
{
    int const zones[] = {2};
    long ids[1] = {};
    socket.appendScript(vec({i64(77)}));
    proxy.VnxUtilDataSetGetUniqueIDsForZones(zones, 1, ids);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetZoneUniqueIDByRef(reinterpret_cast<FaceNeighbor_s*>(3)),
              77);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetZoneUniqueIDByRef(reinterpret_cast<FaceNeighbor_s*>(2)),
              0);
}

TEST_F(DataSetCreation, UniqueIDsAreAsManyAsTheClientSends)
{
    int const zones[] = {2, 3};
    long ids[2] = {5, 5};
    socket.appendScript(vec({i64(77), i64(78)}));
    proxy.VnxUtilDataSetGetUniqueIDsForZones(zones, 1, ids);
    EXPECT_EQ(ids[1], 78);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetZoneUniqueIDByRef(reinterpret_cast<FaceNeighbor_s*>(4)),
              78);
    socket.appendScript(vec({}));
    ids[0] = 6;
    proxy.VnxUtilDataSetGetUniqueIDsForZones(zones, 2, ids);
    EXPECT_EQ(ids[0], 6);
}

TEST_F(DataSetCreation, VarUniqueIDOvertakesTheBatch)
{
    createDataSet(1);
    addZone();
    socket.appendScript(u64(12));
    EXPECT_EQ(proxy.VnxUtilVarGetUniqueID(4), 12);
    EXPECT_EQ(socket.sent(), text("VnxUtilVarGetUniqueID") + i32(4));
}

TEST_F(DataSetCreation, VarNameComesInABlockOfTheProxy)
{
    socket.appendScript(u32(256) + text("pressure"));
    char* name = nullptr;
    EXPECT_EQ(proxy.VnxUtilVarGetName(3, &name), 1);
    EXPECT_STREQ(name, "pressure");
    EXPECT_EQ(socket.sent(), text("VnxUtilVarGetName") + i32(3));
    proxy.VnxUtilStringDealloc(&name);
}

TEST_F(DataSetCreation, VarNameThatTheClientRefusesLeavesThePointerAlone)
{
    socket.appendScript(u32(0) + text("pressure"));
    char buffer[] = "as it was";
    char* name = buffer;
    EXPECT_EQ(proxy.VnxUtilVarGetName(3, &name), 0);
    EXPECT_EQ(name, buffer);
    EXPECT_FALSE(socket.allWasRead());
}

/// A proxy that is out of memory for strings.
class StarvedProxy : public VnxUtilProxy
{
public:
    using VnxUtilProxy::VnxUtilProxy;
    char* VnxUtilStringAlloc(long maxLength, char const* debugInfo) override
    {
        asked = std::to_string(maxLength) + " " + debugInfo;
        return nullptr;
    }

    std::string asked;
};

TEST_F(DataSetCreation, VarNameWithoutMemoryIsFalse)
{
    StarvedProxy starved(socket, registration, *addonProxy, cache);
    socket.appendScript(u32(1) + text("pressure"));
    char buffer[] = "old";
    char* name = buffer;
    EXPECT_EQ(starved.VnxUtilVarGetName(3, &name), 0);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(starved.asked, "8 Var Name");
}

TEST_F(DataSetCreation, NumberOfSectionsComesBehindATrueAnswer)
{
    int sections = -1;
    socket.appendScript(u32(0) + u32(1) + i32(3));
    EXPECT_EQ(proxy.VnxUtilZoneGetNumSections(1L << 40, 2, &sections), 0);
    EXPECT_EQ(sections, -1);
    EXPECT_EQ(proxy.VnxUtilZoneGetNumSections(1L << 40, 2, &sections), 1);
    EXPECT_EQ(sections, 3);
    std::string const command = text("VnxUtilZoneGetNumSections") + i64(1L << 40) + i32(2);
    EXPECT_EQ(socket.sent(), command + command);
}

TEST_F(DataSetCreation, CachedCallBeforeTheFirstZoneStartsABatch)
{
    proxy.VnxUtilDataConnectShare(1, 2);
    EXPECT_TRUE(cache.isCachingCommands());
    EXPECT_EQ(socket.numOperations(), 0U);
}

}
}
