// What is particular to texts, geometries, labels and auxiliary data; what they have in common with
// all calls that go to the client is tested as the cases that stand here.

#include "tests/proxy/ForwardedCase.h"

#include "varnox/socketutil/SocketException.h"

#include <stdexcept>

namespace varnox::tests {

namespace {

constexpr long ID = (1L << 40) + 3;
long const sizes[] = {3, 1L << 40};

StringList_s* labels()
{
    static StringList_s list{{"low", "high"}};
    return &list;
}

}

std::vector<ForwardedCase> annotationCases()
{
    return {
        {"VnxUtilTextCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilTextCreate(static_cast<CoordSys_e>(6), 0.5, -0.25,
                                        static_cast<Units_e>(2), 14.0, "inlet");
         },
         text("VnxUtilTextCreate") + i32(6) + f64(0.5) + f64(-0.25) + i32(2) + f64(14) +
             text("inlet"),
         u64(77), 77},
        {"VnxUtilGeomRectangleCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilGeomRectangleCreate(static_cast<CoordSys_e>(6), 1.5, 2.5, 3.5, 4.5);
         },
         text("VnxUtilGeomRectangleCreate") + i32(6) + f64(1.5) + f64(2.5) + f64(3.5) + f64(4.5),
         u64(~0UL), -1},
        {"VnxUtilGeomEllipseCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilGeomEllipseCreate(static_cast<CoordSys_e>(6), 1.5, 2.5, 3.5, 4.5);
         },
         text("VnxUtilGeomEllipseCreate") + i32(6) + f64(1.5) + f64(2.5) + f64(3.5) + f64(4.5),
         u64(~0UL), -1},
        {"VnxUtilGeomSquareCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilGeomSquareCreate(static_cast<CoordSys_e>(6), 1.5, 2.5, 3.5);
         },
         text("VnxUtilGeomSquareCreate") + i32(6) + f64(1.5) + f64(2.5) + f64(3.5), u64(5), 5},
        {"VnxUtilGeomCircleCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilGeomCircleCreate(static_cast<CoordSys_e>(6), 1.5, 2.5, 3.5);
         },
         text("VnxUtilGeomCircleCreate") + i32(6) + f64(1.5) + f64(2.5) + f64(3.5), u64(5), 5},
        {"VnxUtilGeom2DMPolyCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) {
             return p.VnxUtilGeom2DMPolyCreate(static_cast<CoordSys_e>(6), 2, sizes);
         },
         text("VnxUtilGeom2DMPolyCreate") + i32(6) + vec({i64(3), i64(1L << 40)}), u64(8), 8},
        {"VnxUtilGeom3DMPolyCreate", Traffic::Flushed,
         [](VnxUtilProxy& p) { return p.VnxUtilGeom3DMPolyCreate(2, sizes); },
         text("VnxUtilGeom3DMPolyCreate") + vec({i64(3), i64(1L << 40)}), u64(9), 9},
        {"VnxUtilCustomLabelsAppend", Traffic::Flushed,
         [](VnxUtilProxy& p) { return long{p.VnxUtilCustomLabelsAppend(labels())}; },
         text("VnxUtilCustomLabelsAppend") + vec({text("low"), text("high")}), u32(1), 1},
        {"VnxUtilTextBoxSetColor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextBoxSetColor(ID, -7);
             return 0L;
         },
         text("VnxUtilTextBoxSetColor") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilTextBoxSetFillColor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextBoxSetFillColor(ID, -7);
             return 0L;
         },
         text("VnxUtilTextBoxSetFillColor") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilTextSetColor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetColor(ID, -7);
             return 0L;
         },
         text("VnxUtilTextSetColor") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilTextSetZoneOrMap", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetZoneOrMap(ID, -7);
             return 0L;
         },
         text("VnxUtilTextSetZoneOrMap") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilGeomSetColor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetColor(ID, -7);
             return 0L;
         },
         text("VnxUtilGeomSetColor") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilGeomSetFillColor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetFillColor(ID, -7);
             return 0L;
         },
         text("VnxUtilGeomSetFillColor") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilGeomSetZoneOrMap", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetZoneOrMap(ID, -7);
             return 0L;
         },
         text("VnxUtilGeomSetZoneOrMap") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilGeomEllipseSetNumPoints", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomEllipseSetNumPoints(ID, -7);
             return 0L;
         },
         text("VnxUtilGeomEllipseSetNumPoints") + u64(ID) + i32(-7), "", 0},
        {"VnxUtilTextBoxSetType", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextBoxSetType(ID, static_cast<TextBox_e>(4));
             return 0L;
         },
         text("VnxUtilTextBoxSetType") + u64(ID) + i32(4), "", 0},
        {"VnxUtilTextSetAnchor", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetAnchor(ID, static_cast<TextAnchor_e>(4));
             return 0L;
         },
         text("VnxUtilTextSetAnchor") + u64(ID) + i32(4), "", 0},
        {"VnxUtilTextSetClipping", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetClipping(ID, static_cast<Clipping_e>(4));
             return 0L;
         },
         text("VnxUtilTextSetClipping") + u64(ID) + i32(4), "", 0},
        {"VnxUtilTextSetScope", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetScope(ID, static_cast<Scope_e>(4));
             return 0L;
         },
         text("VnxUtilTextSetScope") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomSetPositionCoordSys", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetPositionCoordSys(ID, static_cast<CoordSys_e>(4));
             return 0L;
         },
         text("VnxUtilGeomSetPositionCoordSys") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomSetLinePattern", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetLinePattern(ID, static_cast<LinePattern_e>(4));
             return 0L;
         },
         text("VnxUtilGeomSetLinePattern") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomArrowheadSetStyle", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomArrowheadSetStyle(ID, static_cast<ArrowheadStyle_e>(4));
             return 0L;
         },
         text("VnxUtilGeomArrowheadSetStyle") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomArrowheadSetAttach", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomArrowheadSetAttach(ID, static_cast<ArrowheadAttachment_e>(4));
             return 0L;
         },
         text("VnxUtilGeomArrowheadSetAttach") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomSetScope", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetScope(ID, static_cast<Scope_e>(4));
             return 0L;
         },
         text("VnxUtilGeomSetScope") + u64(ID) + i32(4), "", 0},
        {"VnxUtilGeomSetClipping", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetClipping(ID, static_cast<Clipping_e>(4));
             return 0L;
         },
         text("VnxUtilGeomSetClipping") + u64(ID) + i32(4), "", 0},
        {"VnxUtilTextBoxSetLineThickness", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextBoxSetLineThickness(ID, -1.25);
             return 0L;
         },
         text("VnxUtilTextBoxSetLineThickness") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilTextBoxSetMargin", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextBoxSetMargin(ID, -1.25);
             return 0L;
         },
         text("VnxUtilTextBoxSetMargin") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilTextSetAngle", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetAngle(ID, -1.25);
             return 0L;
         },
         text("VnxUtilTextSetAngle") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilTextSetLineSpacing", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetLineSpacing(ID, -1.25);
             return 0L;
         },
         text("VnxUtilTextSetLineSpacing") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilGeomSetPatternLength", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetPatternLength(ID, -1.25);
             return 0L;
         },
         text("VnxUtilGeomSetPatternLength") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilGeomSetLineThickness", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetLineThickness(ID, -1.25);
             return 0L;
         },
         text("VnxUtilGeomSetLineThickness") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilGeomArrowheadSetSize", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomArrowheadSetSize(ID, -1.25);
             return 0L;
         },
         text("VnxUtilGeomArrowheadSetSize") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilGeomArrowheadSetAngle", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomArrowheadSetAngle(ID, -1.25);
             return 0L;
         },
         text("VnxUtilGeomArrowheadSetAngle") + u64(ID) + f64(-1.25), "", 0},
        {"VnxUtilTextSetAttached", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetAttached(ID, 1);
             return 0L;
         },
         text("VnxUtilTextSetAttached") + u64(ID) + u32(1), "", 0},
        {"VnxUtilGeomSetAttached", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetAttached(ID, 1);
             return 0L;
         },
         text("VnxUtilGeomSetAttached") + u64(ID) + u32(1), "", 0},
        {"VnxUtilGeomSetIsFilled", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetIsFilled(ID, 1);
             return 0L;
         },
         text("VnxUtilGeomSetIsFilled") + u64(ID) + u32(1), "", 0},
        {"VnxUtilGeomSetAnchorPos", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeomSetAnchorPos(ID, 1.5, 2.5, -3.5);
             return 0L;
         },
         text("VnxUtilGeomSetAnchorPos") + u64(ID) + f64(1.5) + f64(2.5) + f64(-3.5), "", 0},
        {"VnxUtilTextSetTypeface", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilTextSetTypeface(ID, "serif", 1, 0);
             return 0L;
         },
         text("VnxUtilTextSetTypeface") + u64(ID) + text("serif") + u32(1) + u32(0), "", 0},
        {"VnxUtilTextSetMacroFunctionCmd", Traffic::Direct,
         [](VnxUtilProxy& p) { return long{p.VnxUtilTextSetMacroFunctionCmd(ID, "$!REDRAW")}; },
         text("VnxUtilTextSetMacroFunctionCmd") + u64(ID) + text("$!REDRAW"), u32(1), 1},
        {"VnxUtilGeomSetMacroFunctionCmd", Traffic::Direct,
         [](VnxUtilProxy& p) { return long{p.VnxUtilGeomSetMacroFunctionCmd(ID, "$!REDRAW")}; },
         text("VnxUtilGeomSetMacroFunctionCmd") + u64(ID) + text("$!REDRAW"), u32(1), 1},
        {"VnxUtilGeom2DMPolySetPoint", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeom2DMPolySetPoint(ID, 2, 1L << 40, 0.5, -0.5);
             return 0L;
         },
         text("VnxUtilGeom2DMPolySetPoint") + u64(ID) + i32(2) + i64(1L << 40) + f64(0.5) +
             f64(-0.5),
         "", 0},
        {"VnxUtilGeom3DMPolySetPoint", Traffic::Direct,
         [](VnxUtilProxy& p) {
             p.VnxUtilGeom3DMPolySetPoint(ID, 2, 1L << 40, 0.5, -0.5, 9.0);
             return 0L;
         },
         text("VnxUtilGeom3DMPolySetPoint") + u64(ID) + i32(2) + i64(1L << 40) + f64(0.5) +
             f64(-0.5) + f64(9),
         "", 0},
    };
}

namespace {

using Annotations = ProxyTest;

TEST_F(Annotations, CreatorDeliversTheBatchAndReadsItsRepliesFirst)
{
    addZone();
    socket.appendScript(FINISHED + u32(1) + u64(12)); // the zone's reply, then the id
    EXPECT_EQ(proxy.VnxUtilGeomCircleCreate(CoordSys_None, 1, 2, 3), 12);
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetAddZoneX") + i32(0) +
                                 text("VnxUtilGeomCircleCreate") + i32(0) + f64(1) + f64(2) +
                                 f64(3));
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(Annotations, SetterBehindACreatorOvertakesTheBatch)
{
    socket.appendScript(u64(12));
    long const id = proxy.VnxUtilGeom3DMPolyCreate(0, nullptr);
    proxy.VnxUtilDataValueSetMinMaxByZoneVar(1, 1, 0, 1);
    socket.takeSent();
    proxy.VnxUtilGeomSetColor(id, 3);
    EXPECT_EQ(socket.sent(), text("VnxUtilGeomSetColor") + u64(12) + i32(3));
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(Annotations, PolylinesWithoutALineSendAnEmptyVector)
{
    socket.appendScript(u64(1) + u64(2));
    EXPECT_EQ(proxy.VnxUtilGeom3DMPolyCreate(0, sizes), 1);
    EXPECT_EQ(proxy.VnxUtilGeom2DMPolyCreate(CoordSys_None, 0, nullptr), 2);
    EXPECT_EQ(socket.sent(), text("VnxUtilGeom3DMPolyCreate") + vec({}) +
                                 text("VnxUtilGeom2DMPolyCreate") + i32(0) + vec({}));
}

TEST_F(Annotations, SizesThatCannotBeAreRefused)
{
    EXPECT_THROW(proxy.VnxUtilGeom3DMPolyCreate(-1, sizes), std::invalid_argument);
    EXPECT_THROW(proxy.VnxUtilGeom2DMPolyCreate(CoordSys_None, 2, nullptr), std::invalid_argument);
    EXPECT_TRUE(socket.sent().empty());
}

struct CharCase
{
    char const* name;
    std::function<void(VnxUtilProxy&, char)> call;
    std::string sentBefore;
    std::string sentBehind;
};

std::vector<CharCase> const charCases = {
    {"TextSetAttached", [](VnxUtilProxy& p, char c) { p.VnxUtilTextSetAttached(ID, c); },
     text("VnxUtilTextSetAttached") + u64(ID), ""},
    {"GeomSetAttached", [](VnxUtilProxy& p, char c) { p.VnxUtilGeomSetAttached(ID, c); },
     text("VnxUtilGeomSetAttached") + u64(ID), ""},
    {"GeomSetIsFilled", [](VnxUtilProxy& p, char c) { p.VnxUtilGeomSetIsFilled(ID, c); },
     text("VnxUtilGeomSetIsFilled") + u64(ID), ""},
    {"TextSetTypefaceBold", [](VnxUtilProxy& p, char c) { p.VnxUtilTextSetTypeface(ID, "", c, 2); },
     text("VnxUtilTextSetTypeface") + u64(ID) + text(""), u32(2)},
    {"TextSetTypefaceItalic",
     [](VnxUtilProxy& p, char c) { p.VnxUtilTextSetTypeface(ID, "", 2, c); },
     text("VnxUtilTextSetTypeface") + u64(ID) + text("") + u32(2), ""},
};

class CharArgument : public ProxyTest, public testing::WithParamInterface<CharCase>
{
};

TEST_P(CharArgument, TravelsAsThirtyTwoBitsWithItsSign)
{
    for (auto const& [value, word] :
         {std::pair{1, 1U}, {0, 0U}, {127, 127U}, {-1, 0xFFFFFFFFU}, {-128, 0xFFFFFF80U}}) {
        GetParam().call(proxy, static_cast<char>(value));
        EXPECT_EQ(socket.takeSent(), GetParam().sentBefore + u32(word) + GetParam().sentBehind);
    }
}

INSTANTIATE_TEST_SUITE_P(Annotations, CharArgument, testing::ValuesIn(charCases),
                         caseName<CharCase>);

TEST_F(Annotations, RefusalsAreFalse)
{
    socket.appendScript(u32(0) + u32(0) + u32(0));
    EXPECT_EQ(proxy.VnxUtilTextSetMacroFunctionCmd(ID, ""), 0);
    EXPECT_EQ(proxy.VnxUtilGeomSetMacroFunctionCmd(ID, ""), 0);
    EXPECT_EQ(proxy.VnxUtilCustomLabelsAppend(labels()), 0);
    EXPECT_TRUE(socket.allWasRead());
}

TEST_F(Annotations, NullTextsRaiseTheStandardException)
{
    AuxData_s* const ref = proxy.VnxUtilAuxDataDataSetGetRef();
    std::vector<std::function<void()>> const calls = {
        [&] { proxy.VnxUtilTextCreate(CoordSys_None, 0, 0, Units_None, 0, nullptr); },
        [&] { proxy.VnxUtilTextSetTypeface(ID, nullptr, 0, 0); },
        [&] { proxy.VnxUtilTextSetMacroFunctionCmd(ID, nullptr); },
        [&] { proxy.VnxUtilGeomSetMacroFunctionCmd(ID, nullptr); },
        [&] {
            proxy.VnxUtilAuxDataSetItem(ref, nullptr, reinterpret_cast<long>("v"), AuxDataType_None,
                                        1);
        },
        [&] { proxy.VnxUtilAuxDataSetItem(ref, "n", 0, AuxDataType_None, 1); },
    };
    for (auto const& call : calls)
        EXPECT_EQ(messageOf<std::logic_error>(call),
                  "basic_string: construction from null is not valid");
    EXPECT_TRUE(socket.sent().empty());
}

// Auxiliary data.

struct OwnerCase
{
    char const* name;
    std::function<AuxData_s*(VnxUtilProxy&)> ref;
    std::string owner;
};

std::vector<OwnerCase> const ownerCases = {
    {"Zone", [](VnxUtilProxy& p) { return p.VnxUtilAuxDataZoneGetRef(2); }, i32(0) + i32(2)},
    {"DataSet", [](VnxUtilProxy& p) { return p.VnxUtilAuxDataDataSetGetRef(); }, i32(1) + i32(0)},
    {"Variable", [](VnxUtilProxy& p) { return p.VnxUtilAuxDataVarGetRef(4); }, i32(3) + i32(4)},
};

class AuxDataItem : public ProxyTest, public testing::WithParamInterface<OwnerCase>
{
protected:
    char set(VnxUtilProxy& p)
    {
        return p.VnxUtilAuxDataSetItem(GetParam().ref(p), "Solver", reinterpret_cast<long>("v 1"),
                                       static_cast<AuxDataType_e>(2), -1);
    }
    std::string sent() const
    {
        return text("VnxUtilAuxDataSetItem") + GetParam().owner + text("Solver") + i32(2) +
               text("v 1") + i32(-1);
    }
};

TEST_P(AuxDataItem, CostsARoundTripOutsideALoad)
{
    socket.appendScript(u32(1) + u32(0));
    EXPECT_EQ(set(proxy), 1);
    EXPECT_EQ(socket.takeSent(), sent());
    EXPECT_EQ(set(proxy), 0);
    EXPECT_TRUE(socket.allWasRead());
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_P(AuxDataItem, WaitsInTheBatchDuringALoad)
{
    addZone();
    EXPECT_EQ(set(proxy), 1);
    EXPECT_TRUE(socket.sent().empty());
    socket.appendScript(FINISHED + u32(1) + u32(1));
    EXPECT_TRUE(cache.flushCachedCommands());
    EXPECT_EQ(socket.sent(), text("VnxUtilDataSetAddZoneX") + i32(0) + sent());
    EXPECT_TRUE(socket.allWasRead());
}

TEST_P(AuxDataItem, RefusalMakesTheNextFlushFail)
{
    addZone();
    EXPECT_EQ(set(proxy), 1);
    socket.appendScript(FINISHED + u32(1) + u32(0));
    EXPECT_FALSE(cache.flushCachedCommands());
    EXPECT_FALSE(cache.isCachingCommands());
}

TEST_P(AuxDataItem, FailureOfTheConnectionPassesOn)
{
    for (std::size_t n = 0; n < 2; ++n) {
        ProxySession failing(u32(1));
        failing.socket.failAt(n);
        EXPECT_THROW(set(failing.proxy), socketutil::SocketException) << "operation " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Annotations, AuxDataItem, testing::ValuesIn(ownerCases),
                         caseName<OwnerCase>);

/// Begins a batch and gives it this many bytes.
void fillBatch(ProxySession& session, std::size_t bytes)
{
    socketutil::WriteCache empty;
    empty.addUInt8Vector({});
    socketutil::WriteCache filler;
    filler.addUInt8Vector(std::vector<unsigned char>(bytes - empty.size()));
    session.cache.beginCachingCommands();
    session.cache.appendCache(filler);
}

TEST_F(Annotations, AuxDataItemDeliversABatchThatHasOutgrownTheThreshold)
{
    AuxData_s* const ref = proxy.VnxUtilAuxDataDataSetGetRef();
    auto const set = [&] {
        return proxy.VnxUtilAuxDataSetItem(ref, "n", reinterpret_cast<long>("v"), AuxDataType_None,
                                           1);
    };
    fillBatch(*this, 15000);
    EXPECT_EQ(set(), 1);
    EXPECT_EQ(socket.sent().size(), 0U);
    socket.appendScript(u32(1));
    EXPECT_EQ(set(), 1); // the first item has made it too long
    EXPECT_GT(socket.takeSent().size(), 15000U);
    EXPECT_TRUE(cache.isCachingCommands());
}

TEST_F(Annotations, AuxDataItemBehindAFailedFlushIsNotSent)
{
    AuxData_s* const ref = proxy.VnxUtilAuxDataDataSetGetRef();
    fillBatch(*this, 15001);
    std::size_t const before = socket.numOperations();
    socket.failAt(0);
    EXPECT_EQ(
        proxy.VnxUtilAuxDataSetItem(ref, "n", reinterpret_cast<long>("v"), AuxDataType_None, 1), 0);
    EXPECT_EQ(socket.numOperations(), before + 1);
    EXPECT_TRUE(socket.sent().empty());
}

TEST_F(Annotations, AuxDataOfAnUnknownHandleIsRefused)
{
    proxy.VnxUtilAuxDataDataSetGetRef();
    EXPECT_EQ(proxy.VnxUtilAuxDataSetItem(reinterpret_cast<AuxData_s*>(2), "n",
                                          reinterpret_cast<long>("v"), AuxDataType_None, 1),
              0);
    EXPECT_TRUE(socket.sent().empty());
}

}

}
