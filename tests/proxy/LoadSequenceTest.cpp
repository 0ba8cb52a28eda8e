#include "tests/proxy/ProxyTest.h"

#include <boost/variant/get.hpp>

namespace varnox {
namespace {

using namespace tests;

char aLoader(StringList_s*, unsigned long)
{
    return 1;
}

class LoaderRegistration : public ProxyTest
{
protected:
    void TearDown() override { EXPECT_EQ(socket.numOperations(), 0U); }

    void registerLoader()
    {
        Args const args;
        proxy.VnxUtilArgListAppendFunction(args, "loadercallback",
                                           reinterpret_cast<void const*>(aLoader));
        proxy.VnxUtilArgListAppendArbParam(args, "clientData", -2);
        proxy.VnxUtilArgListAppendString(args, "loadername", "a loader");
        proxy.VnxUtilArgListAppendString(args, "FileNameExtensions", "abc");
        proxy.VnxUtilArgListAppendInt(args, "SomethingElse", 5);
        EXPECT_EQ(proxy.VnxUtilImportAddLoaderX(args), 1);
    }

    void expectTheLoader()
    {
        EXPECT_EQ(proxy.loaderCallback(), aLoader);
        EXPECT_EQ(proxy.loaderClientData(), static_cast<unsigned long>(-2));
        EXPECT_EQ(proxy.loaderName(), "a loader");
        EXPECT_EQ(proxy.fileExtensions(), "abc");
    }
};

TEST_F(LoaderRegistration, StartsWithNone)
{
    EXPECT_EQ(proxy.loaderCallback(), nullptr);
    EXPECT_EQ(proxy.loaderClientData(), 0U);
    EXPECT_EQ(proxy.loaderName(), "");
    EXPECT_EQ(proxy.fileExtensions(), "");
}

TEST_F(LoaderRegistration, KeysMatchWhateverTheirCase)
{
    registerLoader();
    expectTheLoader();
}

TEST_F(LoaderRegistration, EmptyListLeavesEverythingAsItWas)
{
    registerLoader();
    EXPECT_EQ(proxy.VnxUtilImportAddLoaderX(Args()), 1);
    expectTheLoader();
}

TEST_F(LoaderRegistration, NameOfAnotherTypeIsABadGet)
{
    Args const args;
    proxy.VnxUtilArgListAppendInt(args, "LoaderName", 5);
    EXPECT_THROW(proxy.VnxUtilImportAddLoaderX(args), boost::bad_get);
    EXPECT_EQ(proxy.loaderName(), "");
}

TEST_F(LoaderRegistration, KeysAreTakenInOrderUpToABadOne)
{
    Args const args;
    proxy.VnxUtilArgListAppendFunction(args, "LoaderCallback",
                                       reinterpret_cast<void const*>(aLoader));
    proxy.VnxUtilArgListAppendInt(args, "ClientData", 5); // an integer, no arbitrary parameter
    proxy.VnxUtilArgListAppendString(args, "LoaderName", "never reached");
    EXPECT_THROW(proxy.VnxUtilImportAddLoaderX(args), boost::bad_get);
    EXPECT_EQ(proxy.loaderCallback(), aLoader);
    EXPECT_EQ(proxy.loaderName(), "");
}

TEST_F(LoaderRegistration, HDQRegistrationIsTheOneGiven)
{
    EXPECT_EQ(proxy.VnxUtilDataSetGetHDQRegistration(), &registration);
}

struct CellCase
{
    char const* name;
    int shape;
    int order;
    int corners;
    int nodes;
};

CellCase const cellCases[] = {
    {"Line", 0, 1, 2, 2},
    {"LineOfOrder4", 0, 4, 2, 5},
    {"Triangle", 1, 1, 3, 3},
    {"TriangleOfOrder2", 1, 2, 3, 6},
    {"TriangleOfOrder3", 1, 3, 3, 10},
    {"Quadrilateral", 2, 1, 4, 4},
    {"QuadrilateralOfOrder2", 2, 2, 4, 9},
    {"Tetrahedron", 3, 1, 4, 4},
    {"TetrahedronOfOrder2", 3, 2, 4, 10},
    {"Hexahedron", 4, 1, 8, 8},
    {"HexahedronOfOrder4", 4, 4, 8, 125},
    {"Pyramid", 5, 1, 5, 5},
    {"PyramidOfOrder2", 5, 2, 5, 14},
    {"Prism", 6, 1, 6, 6},
    {"PrismOfOrder2", 6, 2, 6, 18},
    {"TriangleOfOrder0", 1, 0, 3, 1},
    {"QuadrilateralWrapsIn32Bits", 2, 65536, 4, 131073},
    {"ShapeSeven", 7, 1, 0, 0},
    {"NegativeShape", -1, 2, 0, 0},
};

class FECellTypeGetNumNodes : public ProxyTest, public testing::WithParamInterface<CellCase>
{
};

TEST_P(FECellTypeGetNumNodes, GivesCornersAndNodes)
{
    int corners = -1;
    int nodes = -1;
    CellCase const& c = GetParam();
    proxy.VnxUtilFECellTypeGetNumNodes(static_cast<FECellShape_e>(c.shape), c.order,
                                       static_cast<FECellBasisFunction_e>(9), &corners, &nodes);
    EXPECT_EQ(corners, c.corners);
    EXPECT_EQ(nodes, c.nodes);
    EXPECT_EQ(socket.numOperations(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Shapes, FECellTypeGetNumNodes, testing::ValuesIn(cellCases),
                         caseName<CellCase>);

class LoadSequence : public ProxyTest
{
};

TEST_F(LoadSequence, LoadStartIsTheNameAloneAndOvertakesTheBatch)
{
    proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1);
    proxy.VnxUtilDataLoadStart();
    EXPECT_EQ(socket.sent(), text("VnxUtilDataLoadStart"));
    EXPECT_EQ(socket.numSendCaches(), 0U);
}

TEST_F(LoadSequence, LoadFinishSendsItsArgumentsAndCopiesTheIDs)
{
    createDataSet(2);
    int types[] = {1, 2};
    Args const args;
    proxy.VnxUtilArgListAppendArray(args, "types", types);
    socket.appendScript(FINISHED + i32(1) + vec({i64(7), i64(-8)}));
    long ids[3] = {1, 2, 3};
    EXPECT_EQ(proxy.VnxUtilDataLoadFinishX(args, ids), 1);
    EXPECT_EQ(socket.sent(),
              text("VnxUtilDataLoadFinishX") + i32(1) + text("TYPES") + vec({i32(1), i32(2)}));
    EXPECT_EQ(ids[0], 7);
    EXPECT_EQ(ids[1], -8);
    EXPECT_EQ(ids[2], 3);
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(LoadSequence, LoadFinishThatTheClientRefusesLeavesTheIDs)
{
    socket.appendScript(FINISHED + i32(0) + vec({i64(7)}));
    long ids[1] = {5};
    EXPECT_EQ(proxy.VnxUtilDataLoadFinishX(Args(), ids), 0);
    EXPECT_EQ(ids[0], 5);
    EXPECT_FALSE(socket.allWasRead());
}

TEST_F(LoadSequence, LoadFinishDeliversTheBatchFirstAndEndsCaching)
{
    createDataSet(1);
    addZone();
    socket.appendScript(FINISHED + u32(1) + FINISHED + i32(0));
    proxy.VnxUtilDataLoadFinishX(Args(), nullptr);
    EXPECT_EQ(socket.sent(),
              text("VnxUtilDataSetAddZoneX") + i32(0) + text("VnxUtilDataLoadFinishX") + i32(0));
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_F(LoadSequence, LoadFinishGoesOutThoughAReplyStoppedTheWalk)
{
    createDataSet(1);
    addZone();
    addZone();
    // The first zone is refused, so that the second one's reply isn't read by the walk.
    socket.appendScript(FINISHED + u32(0) + FINISHED + i32(1) + vec({}));
    EXPECT_EQ(proxy.VnxUtilDataLoadFinishX(Args(), nullptr), 1);
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(LoadSequence, LoaderInstructionsTravelAsTheNameAlone)
{
    StringList_s instructions{{"a", "b"}};
    socket.appendScript(FINISHED + u32(1));
    EXPECT_EQ(proxy.VnxUtilImportSetLoaderInstr("name", &instructions), 1);
    EXPECT_EQ(socket.sent(), text("VnxUtilImportSetLoaderInstr"));
}

TEST_F(LoadSequence, StateChangeSendsTheNumbersInAscendingOrder)
{
    Set_s set{{9, 2, (1L << 32) + 4}};
    socket.appendScript(FINISHED);
    proxy.VnxUtilStateChanged(StateChange_Announced, reinterpret_cast<long>(&set));
    EXPECT_EQ(socket.sent(), text("VnxUtilStateChanged") + i32(3) + vec({i32(2), i32(9), i32(4)}));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(LoadSequence, StateChangeOfAnEmptySetIsServedAllTheSame)
{
    Set_s set;
    socket.appendScript(FINISHED);
    proxy.VnxUtilStateChanged(StateChange_Announced, reinterpret_cast<long>(&set));
    EXPECT_EQ(socket.sent(), text("VnxUtilStateChanged") + i32(3) + vec({}));
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(LoadSequence, OtherStateChangesSendNothing)
{
    for (int const change : {-1, 0, 1, 2, 4, 100})
        proxy.VnxUtilStateChanged(static_cast<StateChange_e>(change), 0);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(LoadSequence, StateChangeOvertakesTheBatch)
{
    Set_s set{{1}};
    proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1);
    socket.appendScript(FINISHED);
    proxy.VnxUtilStateChanged(StateChange_Announced, reinterpret_cast<long>(&set));
    EXPECT_EQ(socket.sent(), text("VnxUtilStateChanged") + i32(3) + vec({i32(1)}));
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(LoadSequence, ErrorMessageAfterAFailedFlushIsDropped)
{
    proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1);
    socket.failAt(0);
    proxy.VnxUtilDialogErrMsg("text");
    EXPECT_TRUE(socket.sent().empty());
    EXPECT_EQ(socket.numOperations(), 1U);
}

TEST_F(LoadSequence, UniqueIDsKeepTheirSigns)
{
    socket.appendScript(i64(-5) + hex("ff ff ff ff ff ff ff ff"));
    EXPECT_EQ(proxy.VnxUtilDataSetGetUniqueID(), -5);
    EXPECT_EQ(proxy.VnxUtilGetNextUniqueID(), -1);
}

TEST_F(LoadSequence, SecondLoadFindsTheZonesOfTheFirst)
{
    createDataSet(1);
    addZone("FaceNeighborMode", 2);
    forgetBatch();
    createDataSet(3);
    EXPECT_EQ(proxy.VnxUtilDataFaceNbrGetModeByZone(1), 2);
}

}
}
