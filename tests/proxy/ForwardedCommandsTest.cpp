// Every call that goes to the client, in one table: what it sends, what it reads, where it stands
// between the commands before and behind it, and what a failing connection makes of it.

#include "tests/proxy/ForwardedCase.h"

#include "varnox/socketutil/SocketException.h"

namespace varnox {
namespace {

using namespace tests;

long ids[4];
int number;
StringList_s const twoNames{{"x", "y"}};
Set_s const numbers{{4}};
int const nodes[] = {7, -8};
long const wideNodes[] = {7, -8};

StringList_s* names()
{
    return const_cast<StringList_s*>(&twoNames);
}

template <typename Handle>
Handle* handle(long zone)
{
    return reinterpret_cast<Handle*>(zone);
}

char load(FaceNeighbor_s*)
{
    return 1;
}
char loadNodes(ElemToNodeMap*)
{
    return 1;
}
void cleanUpNodes(ElemToNodeMap*)
{
}
void setValue(FieldData_s*, long, double)
{
}

std::vector<ForwardedCase> const forwardedCases = {
    {"VnxUtilDataLoadStart", Traffic::Direct,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataLoadStart();
         return 0L;
     },
     text("VnxUtilDataLoadStart"), "", 0},
    {"VnxUtilImportSetLoaderInstr", Traffic::Flushed,
     [](VnxUtilProxy& p) { return long{p.VnxUtilImportSetLoaderInstr("n", names())}; },
     text("VnxUtilImportSetLoaderInstr"), FINISHED + u32(1), 1},
    {"VnxUtilStateChanged", Traffic::Direct,
     [](VnxUtilProxy& p) {
         p.VnxUtilStateChanged(StateChange_Announced, reinterpret_cast<long>(&numbers));
         return 0L;
     },
     text("VnxUtilStateChanged") + i32(3) + vec({i32(4)}), FINISHED, 0},
    {"VnxUtilDialogErrMsg", Traffic::Flushed,
     [](VnxUtilProxy& p) {
         p.VnxUtilDialogErrMsg("went wrong");
         return 0L;
     },
     text("VnxUtilDialogErrMsg") + text("went wrong"), "", 0},
    {"VnxUtilDialogMessageBox", Traffic::Direct,
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilDialogMessageBox("sure?", MessageBoxType_Information)};
     },
     text("VnxUtilDialogMessageBox") + text("sure?") + i32(2), u32(1), 1},
    {"VnxUtilDataSetGetUniqueID", Traffic::Flushed,
     [](VnxUtilProxy& p) { return p.VnxUtilDataSetGetUniqueID(); },
     text("VnxUtilDataSetGetUniqueID"), i64(-9), -9},
    {"VnxUtilGetNextUniqueID", Traffic::Flushed,
     [](VnxUtilProxy& p) { return p.VnxUtilGetNextUniqueID(); }, text("VnxUtilGetNextUniqueID"),
     u64(9), 9},
    {"VnxUtilDataSetCreate", Traffic::Direct,
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreate("t", names(), 1)}; },
     text("VnxUtilDataSetCreate") + text("t") + vec({text("x"), text("y")}) + i32(1),
     FINISHED + u32(1), 1},
    {"VnxUtilDataSetCreateX", Traffic::Direct,
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreateX(Args())}; },
     text("VnxUtilDataSetCreateX") + i32(0), FINISHED + u32(1), 1},
    {"VnxUtilDataSetGetNumVars", Traffic::Flushed,
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetGetNumVars()}; },
     text("VnxUtilDataSetGetNumVars"), i32(12), 12},
    {"VnxUtilDataSetGetNumZones", Traffic::Flushed,
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetGetNumZones()}; },
     text("VnxUtilDataSetGetNumZones"), i32(-1), -1},
    {"VnxUtilDataSetGetUniqueIDsForZones", Traffic::Flushed,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataSetGetUniqueIDsForZones(nodes, 2, ids);
         return 0L;
     },
     text("VnxUtilDataSetGetUniqueIDsForZones") + vec({i32(7), i32(-8)}) + i32(2),
     vec({i64(1), i64(2)}), 0},
    {"VnxUtilVarGetUniqueID", Traffic::Direct,
     [](VnxUtilProxy& p) { return p.VnxUtilVarGetUniqueID(3); },
     text("VnxUtilVarGetUniqueID") + i32(3), u64(5), 5},
    {"VnxUtilVarGetName", Traffic::Flushed,
     [](VnxUtilProxy& p) {
         char* name = nullptr;
         long const result = p.VnxUtilVarGetName(3, &name);
         p.VnxUtilStringDealloc(&name);
         return result;
     },
     text("VnxUtilVarGetName") + i32(3), u32(1) + text("pressure"), 1},
    {"VnxUtilZoneGetNumSections", Traffic::Flushed,
     [](VnxUtilProxy& p) { return long{p.VnxUtilZoneGetNumSections(4, 5, &number)}; },
     text("VnxUtilZoneGetNumSections") + i64(4) + i32(5), u32(1) + i32(2), 1},
    {"VnxUtilDataConnectShare", Traffic::Cached,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataConnectShare(2, 1);
         return 0L;
     },
     text("VnxUtilDataConnectShare") + i32(2) + i32(1), FINISHED, 0},
    {"VnxUtilDataValueShare", Traffic::Cached,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataValueShare(3, 2, 1);
         return 0L;
     },
     text("VnxUtilDataValueShare") + i32(3) + i32(2) + i32(1), FINISHED, 0},
    {"VnxUtilDataValueSetMinMaxByZoneVar", Traffic::Cached,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataValueSetMinMaxByZoneVar(2, 3, -1.5, 1e300);
         return 0L;
     },
     text("VnxUtilDataValueSetMinMaxByZoneVar") + i32(2) + i32(3) + f64(-1.5) + f64(1e300), "", 0},
    {"VnxUtilDataSetAddZoneX", Traffic::Cached,
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetAddZoneX(Args())}; },
     text("VnxUtilDataSetAddZoneX") + i32(0), FINISHED + u32(1), 1},
    {"VnxUtilDataValueCustomLOD", Traffic::Cached,
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilDataValueCustomLOD(1, 2, nullptr, nullptr, nullptr, nullptr,
                                                 setValue, 0)};
     },
     text("VnxUtilDataValueCustomLOD") + i32(1) + i32(2) + u32(0) + u32(0) + u32(0) + u32(0) +
         u32(1),
     u32(1), 1},
    {"VnxUtilDataNodeCustomLOD", Traffic::Cached,
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilDataNodeCustomLOD(1, loadNodes, nullptr, cleanUpNodes, 0)};
     },
     text("VnxUtilDataNodeCustomLOD") + i32(1) + u32(1) + u32(0) + u32(1), FINISHED + u32(1), 1},
    {"VnxUtilDataFaceNbrCustomLOD", Traffic::Cached,
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilDataFaceNbrCustomLOD(1, -1, nullptr, load, nullptr, 0)};
     },
     text("VnxUtilDataFaceNbrCustomLOD") + i32(1) + u32(1) + u32(0) + u32(1) + u32(0),
     FINISHED + u32(1), 1},
    {"VnxUtilDataNodeArraySetByRef", Traffic::Direct,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataNodeArraySetByRef(handle<ElemToNodeMap>(1), 5, 2, nodes);
         return 0L;
     },
     text("VnxUtilDataNodeArraySetByRef") + i64(5) + i64(2) + vec({i32(7), i32(-8)}), "", 0},
    {"VnxUtilDataNodeSectionArraySetByRef", Traffic::Direct,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataNodeSectionArraySetByRef(handle<ElemToNodeMap>(1), 3, 5, 2, nodes);
         return 0L;
     },
     text("VnxUtilDataNodeSectionArraySetByRef") + i32(3) + i64(5) + i64(2) +
         vec({i32(7), i32(-8)}),
     "", 0},
    {"VnxUtilDataNodeSectionArraySetByRef64", Traffic::Direct,
     [](VnxUtilProxy& p) {
         p.VnxUtilDataNodeSectionArraySetByRef64(handle<ElemToNodeMap>(1), 3, 5, 2, wideNodes);
         return 0L;
     },
     text("VnxUtilDataNodeSectionArraySetByRef64") + i32(3) + i64(5) + i64(2) +
         vec({i64(7), i64(-8)}),
     "", 0},
    {"VnxUtilDataFaceNbrAssignByRef", Traffic::Direct,
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilDataFaceNbrAssignByRef(handle<FaceNeighbor_s>(1), 1L << 33, 4, -1, 2,
                                                     nodes, wideNodes)};
     },
     text("VnxUtilDataFaceNbrAssignByRef") + i64(1L << 33) + i32(4) + u8(255) + i32(2) +
         vec({i32(7), i32(-8)}) + vec({i64(7), i64(-8)}),
     u32(1), 1},
};

/// Waits in the batch and needs no reply.
std::string const waiting =
    text("VnxUtilDataValueSetMinMaxByZoneVar") + i32(1) + i32(1) + f64(0) + f64(1);

/// A session with two variables and one zone, all delivered.
struct PreparedSession : ProxySession
{
    PreparedSession()
    {
        createDataSet(2);
        addZone();
        socket.appendScript(FINISHED + u32(1));
        cache.finishCachingCommands();
        socket.takeSent();
    }

    void appendWaiting() { proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1); }
};

class ForwardedCommand : public testing::TestWithParam<ForwardedCase>
{
protected:
    PreparedSession session;
};

TEST_P(ForwardedCommand, IsItsGoldenBytesAndReadsItsAnswers)
{
    session.socket.appendScript(GetParam().answers);
    EXPECT_EQ(GetParam().call(session.proxy), GetParam().result);
    if (GetParam().traffic == Traffic::Cached) {
        EXPECT_TRUE(session.socket.sent().empty());
        EXPECT_TRUE(session.cache.isCachingCommands());
        EXPECT_TRUE(session.cache.flushCachedCommands());
    } else {
        EXPECT_FALSE(session.cache.isCachingCommands());
    }
    EXPECT_EQ(session.socket.sent(), GetParam().sent);
    EXPECT_TRUE(session.socket.allWasRead());
}

TEST_P(ForwardedCommand, StandsWhereItsKindBelongs)
{
    session.appendWaiting();
    session.socket.appendScript(GetParam().answers);
    EXPECT_EQ(GetParam().call(session.proxy), GetParam().result);
    EXPECT_TRUE(session.cache.isCachingCommands());
    std::string const sent = session.socket.takeSent();
    EXPECT_TRUE(session.cache.flushCachedCommands());
    std::string const sentLater = session.socket.takeSent();
    switch (GetParam().traffic) {
    case Traffic::Direct:
        EXPECT_EQ(sent, GetParam().sent);
        EXPECT_EQ(sentLater, waiting);
        break;
    case Traffic::Flushed:
        EXPECT_EQ(sent, waiting + GetParam().sent);
        EXPECT_EQ(sentLater, "");
        break;
    case Traffic::Cached:
        EXPECT_EQ(sent, "");
        EXPECT_EQ(sentLater, waiting + GetParam().sent);
        break;
    }
    EXPECT_TRUE(session.socket.allWasRead());
}

TEST_P(ForwardedCommand, FailedFlushGivesZeroAndSendsNothing)
{
    if (GetParam().traffic != Traffic::Flushed)
        return;
    session.appendWaiting();
    std::size_t const before = session.socket.numOperations();
    session.socket.failAt(0);
    EXPECT_EQ(GetParam().call(session.proxy), 0);
    EXPECT_EQ(session.socket.numOperations(), before + 1);
    EXPECT_TRUE(session.socket.sent().empty());
}

TEST_P(ForwardedCommand, ReplyThatStopsTheWalkGivesZero)
{
    if (GetParam().traffic != Traffic::Flushed)
        return;
    session.addZone();
    session.socket.appendScript(FINISHED + u32(0)); // the zone is refused
    EXPECT_EQ(GetParam().call(session.proxy), 0);
    EXPECT_EQ(session.socket.sent(), text("VnxUtilDataSetAddZoneX") + i32(0));
    EXPECT_FALSE(session.cache.isCachingCommands());
}

/// How often the connection is used by a call and the flush behind it.
std::size_t numOperationsOf(ForwardedCase const& c)
{
    PreparedSession session;
    std::size_t const before = session.socket.numOperations();
    session.socket.appendScript(c.answers);
    c.call(session.proxy);
    session.cache.flushCachedCommands();
    return session.socket.numOperations() - before;
}

TEST_P(ForwardedCommand, EveryFailureOfTheConnectionIsReported)
{
    std::size_t const numOperations = numOperationsOf(GetParam());
    ASSERT_GT(numOperations, 0U);
    for (std::size_t n = 0; n < numOperations; ++n) {
        PreparedSession failing;
        failing.socket.appendScript(GetParam().answers);
        failing.socket.failAt(n);
        if (GetParam().traffic == Traffic::Cached) {
            EXPECT_EQ(GetParam().call(failing.proxy), GetParam().result);
            EXPECT_FALSE(failing.cache.flushCachedCommands()) << "operation " << n;
            continue;
        }
        try {
            GetParam().call(failing.proxy);
            ADD_FAILURE() << "operation " << n;
        } catch (socketutil::SocketException const& error) {
            EXPECT_STREQ(error.what(), "failed on purpose");
        } catch (hdqremote::AddonProxy::CommunicationError const& error) {
            EXPECT_STREQ(error.what(), "failed on purpose"); // inside the service
        }
    }
}

INSTANTIATE_TEST_SUITE_P(HostApi, ForwardedCommand, testing::ValuesIn(forwardedCases),
                         caseName<ForwardedCase>);
INSTANTIATE_TEST_SUITE_P(Annotations, ForwardedCommand, testing::ValuesIn(annotationCases()),
                         caseName<ForwardedCase>);

struct RefusalCase
{
    char const* name;
    std::function<long(VnxUtilProxy&)> call;
    std::string answers;
};

std::vector<RefusalCase> const refusalCases = {
    {"VnxUtilImportSetLoaderInstr",
     [](VnxUtilProxy& p) { return long{p.VnxUtilImportSetLoaderInstr("n", names())}; },
     FINISHED + u32(0)},
    {"VnxUtilDialogMessageBox",
     [](VnxUtilProxy& p) { return long{p.VnxUtilDialogMessageBox("t", MessageBoxType_Error)}; },
     u32(0)},
    {"VnxUtilDataSetCreate",
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreate("t", names(), 1)}; },
     FINISHED + u32(0)},
    {"VnxUtilDataSetCreateX", [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreateX(Args())}; },
     FINISHED + u32(0)},
    {"VnxUtilDataFaceNbrAssignByRef",
     [](VnxUtilProxy& p) {
         return long{
             p.VnxUtilDataFaceNbrAssignByRef(handle<FaceNeighbor_s>(1), 1, 1, 1, 0, nullptr, {})};
     },
     u32(0)},
};

class RefusedCommand : public testing::TestWithParam<RefusalCase>
{
};

TEST_P(RefusedCommand, IsFalse)
{
    PreparedSession session;
    session.socket.appendScript(GetParam().answers);
    EXPECT_EQ(GetParam().call(session.proxy), 0);
    EXPECT_TRUE(session.socket.allWasRead());
}

INSTANTIATE_TEST_SUITE_P(HostApi, RefusedCommand, testing::ValuesIn(refusalCases),
                         caseName<RefusalCase>);

/// The client's boolean is 32 bits wide. Most calls make it a plain true; a few hand its low byte
/// on as it is.
struct WideAnswerCase
{
    char const* name;
    std::function<long(VnxUtilProxy&)> call;
    std::string before; ///< Comes ahead of the boolean.
    bool isHandedOn;
};

std::vector<WideAnswerCase> const wideAnswerCases = {
    {"VnxUtilImportSetLoaderInstr",
     [](VnxUtilProxy& p) { return long{p.VnxUtilImportSetLoaderInstr("n", names())}; }, FINISHED,
     false},
    {"VnxUtilDialogMessageBox",
     [](VnxUtilProxy& p) { return long{p.VnxUtilDialogMessageBox("t", MessageBoxType_Error)}; }, "",
     false},
    {"VnxUtilDataSetCreate",
     [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreate("t", names(), 1)}; }, FINISHED,
     false},
    {"VnxUtilDataSetCreateX", [](VnxUtilProxy& p) { return long{p.VnxUtilDataSetCreateX(Args())}; },
     FINISHED, false},
    {"VnxUtilAuxDataSetItem",
     [](VnxUtilProxy& p) {
         return long{p.VnxUtilAuxDataSetItem(p.VnxUtilAuxDataDataSetGetRef(), "n",
                                             reinterpret_cast<long>("v"), AuxDataType_None, 1)};
     },
     "", false},
    {"VnxUtilDataFaceNbrAssignByRef",
     [](VnxUtilProxy& p) {
         return long{
             p.VnxUtilDataFaceNbrAssignByRef(handle<FaceNeighbor_s>(1), 1, 1, 1, 0, nullptr, {})};
     },
     "", true},
    {"VnxUtilTextSetMacroFunctionCmd",
     [](VnxUtilProxy& p) { return long{p.VnxUtilTextSetMacroFunctionCmd(1, "c")}; }, "", true},
    {"VnxUtilGeomSetMacroFunctionCmd",
     [](VnxUtilProxy& p) { return long{p.VnxUtilGeomSetMacroFunctionCmd(1, "c")}; }, "", true},
    {"VnxUtilCustomLabelsAppend",
     [](VnxUtilProxy& p) { return long{p.VnxUtilCustomLabelsAppend(names())}; }, "", true},
};

class WideAnswer : public testing::TestWithParam<WideAnswerCase>
{
};

TEST_P(WideAnswer, IsABooleanOrItsLowByte)
{
    for (auto const& [answer, asByte] : {std::pair{0x100U, 0L}, {0x102U, 2L}, {0x80000000U, 0L}}) {
        PreparedSession session;
        session.socket.appendScript(GetParam().before + u32(answer));
        EXPECT_EQ(GetParam().call(session.proxy), GetParam().isHandedOn ? asByte : 1) << answer;
        EXPECT_TRUE(session.socket.allWasRead());
    }
}

INSTANTIATE_TEST_SUITE_P(HostApi, WideAnswer, testing::ValuesIn(wideAnswerCases),
                         caseName<WideAnswerCase>);

/// A whole load as an add-on does it, with a request nested in its end.
void loadDataSet(ProxySession& session)
{
    VnxUtilProxy& p = session.proxy;
    p.VnxUtilDataLoadStart();
    p.VnxUtilDataSetCreate("t", names(), 1);
    session.addZone();
    p.VnxUtilDataFaceNbrCustomLOD(
        1, 0, [](FaceNeighbor_s*) { return char{1}; }, nullptr, nullptr, 0);
    p.VnxUtilDataValueShare(1, 1, 1);
    p.VnxUtilDataSetGetNumZones();
    session.addZone("ConnectShareZone", 1);
    p.VnxUtilDataLoadFinishX(Args(), ids);
}

std::string const loadAnswers = FINISHED + u32(1)                      // create
                                + FINISHED + u32(1)                    // zone
                                + FINISHED + u32(1)                    // face neighbours
                                + FINISHED                             // share
                                + i32(1)                               // number of zones
                                + text("load face neighbors") + i32(1) // nested in
                                + FINISHED + u32(1)                    // the second zone
                                + FINISHED + i32(1) + vec({i64(1)});   // finish

TEST(LoadConversation, ReadsAllItsAnswers)
{
    ProxySession session(loadAnswers);
    loadDataSet(session);
    EXPECT_TRUE(session.socket.allWasRead());
    EXPECT_EQ(session.nested, (std::vector<std::string>{"load face neighbors"}));
}

TEST(LoadConversation, EndsWhereverTheConnectionFails)
{
    ProxySession whole(loadAnswers);
    loadDataSet(whole);
    std::size_t const numOperations = whole.socket.numOperations();
    ASSERT_GT(numOperations, 20U);
    std::vector<std::size_t> unnoticed;
    for (std::size_t n = 0; n < numOperations; ++n) {
        ProxySession failing(loadAnswers);
        failing.socket.failAt(n);
        try {
            loadDataSet(failing);
            EXPECT_EQ(failing.socket.sent(), whole.socket.sent()) << "operation " << n;
            EXPECT_TRUE(failing.socket.allWasRead()) << "operation " << n;
            unnoticed.push_back(n);
        } catch (std::exception const&) {
        }
    }
    // The last zone goes out alone and leaves an empty batch, which the finish sends: nothing is
    // lost with it.
    EXPECT_EQ(unnoticed.size(), 1U);
}

}
}
