// A loader add-on that calls every forwarded function of the host API and checks the engine's
// answers. What it does hangs on the name of the file.

#include "varnox/Export.h"
#include "varnox/hostapi/VnxUtil.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

void require(bool holds, char const* what)
{
    if (!holds)
        throw std::runtime_error(std::string("the engine failed at: ") + what);
}

struct Dealloc
{
    void operator()(StringList_s* list) const { VnxUtilStringListDealloc(&list); }
    void operator()(_ArgList_s* list) const { VnxUtilArgListDealloc(&list); }
    void operator()(Set_s* set) const { VnxUtilSetDealloc(&set); }
    void operator()(char* text) const { VnxUtilStringDealloc(&text); }
};
using ArgList = std::unique_ptr<_ArgList_s, Dealloc>;
using StringList = std::unique_ptr<StringList_s, Dealloc>;

int const TYPES[] = {1, 2, 3, 4, 5};
int const LOCATIONS[] = {1, 0, 1, 1, 1};
int const SHARES[] = {1, 0, 0, 0, 0};
int const PASSIVE[] = {0, 0, 0, 0, 1};
int const NONE[] = {0, 0, 0, 0, 0};
char const* const NAMES[] = {"float", "double", "int", "short", "byte"};

constexpr long NODES = 12; // of 3 x 2 x 2, with 2 cells

// Every value is its zone's number times 100 plus its number from 1 on; a piece has the rest.
template <typename T>
void push(FieldData_s* handle, long offset, long count)
{
    std::vector<T> values;
    for (long i = 0; i < count; ++i)
        values.push_back(
            static_cast<T>(VnxUtilDataValueGetClientData(handle) / 10 * 100 + offset + i));
    VnxUtilDataValueArraySetByRef(handle, offset, count, values.data());
}

void push(FieldData_s* handle, long offset, long count)
{
    switch (static_cast<int>(VnxUtilDataValueGetRefType(handle))) {
    case 1:
        return push<float>(handle, offset, count);
    case 2:
        return push<double>(handle, offset, count);
    case 3:
        return push<int>(handle, offset, count);
    case 4:
        return push<short>(handle, offset, count);
    default:
        return push<unsigned char>(handle, offset, count);
    }
}

/// Never returns, and says beside the data file who hangs.
void hang(std::string const& path)
{
    std::string const unfinished = path + ".unfinished";
    std::ofstream(unfinished) << ::getpid();
    std::rename(unfinished.c_str(), (path + ".pid").c_str());
    for (;;)
        ::pause();
}

char load(FieldData_s* handle)
{
    if (char const* const path = std::getenv("VNX_TEST_HANG"))
        hang(path);
    long const var = VnxUtilDataValueGetClientData(handle) % 10;
    long const count = var == 2 ? 2 : NODES;
    if (var == 3)
        require(VnxUtilDataSetGetNumZones() == 3, "a question while a variable is loaded");
    push(handle, count / 2 + 1, count - count / 2); // the second half first
    push(handle, 1, count / 2);
    return 1;
}

char failToLoad(FieldData_s*)
{
    VnxUtilDialogErrMsg("the second zone's shorts are damaged");
    return 0;
}

char unload(FieldData_s*)
{
    return 1;
}

char loadNodeMap(varnox::ElemToNodeMap*)
{
    return 1;
}

char loadFaceNeighbors(FaceNeighbor_s* handle)
{
    int const items[] = {3, 5};
    long const zones[] = {1, 3};
    require(VnxUtilDataFaceNbrAssignByRef(handle, 7, 2, 1, 2, items, zones) == 1,
            "assigning face neighbours");
    require(VnxUtilDataFaceNbrAssignByRef(handle, 8, 1, 0, 0, items, zones) == 1,
            "assigning no face neighbours");
    return 1;
}

char unloadFaceNeighbors(FaceNeighbor_s*)
{
    return 1;
}

void addZone(char const* name, int const* shares)
{
    ArgList const zone(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(zone.get(), "Name", name);
    VnxUtilArgListAppendInt(zone.get(), "ZoneType", 0);
    VnxUtilArgListAppendInt(zone.get(), "IMax", 3);
    VnxUtilArgListAppendInt(zone.get(), "JMax", 2);
    VnxUtilArgListAppendInt(zone.get(), "KMax", 2);
    VnxUtilArgListAppendDouble(zone.get(), "SolutionTime", 1.25);
    VnxUtilArgListAppendInt(zone.get(), "StrandID", 4);
    VnxUtilArgListAppendArray(zone.get(), "VarDataType", TYPES);
    VnxUtilArgListAppendArray(zone.get(), "ValueLocation", LOCATIONS);
    VnxUtilArgListAppendArray(zone.get(), "ShareVarFromZone", shares);
    VnxUtilArgListAppendArray(zone.get(), "IsPassiveVar", PASSIVE);
    require(VnxUtilDataSetAddZoneX(zone.get()) == 1, "adding a zone");
}

void addFaceNeighborZone()
{
    ArgList const zone(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(zone.get(), "Name", "third");
    VnxUtilArgListAppendInt(zone.get(), "ConnectShareZone",
                            2); // not batched: its neighbours aren't loaded
    require(VnxUtilDataSetAddZoneX(zone.get()) == 1, "adding a zone at once");
}

void createDataSet()
{
    StringList const names(VnxUtilStringListAlloc());
    for (char const* const name : NAMES)
        VnxUtilStringListAppendString(names.get(), name);
    ArgList const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(args.get(), "Title", "everything");
    VnxUtilArgListAppendStringList(args.get(), "VarNames", names.get());
    require(VnxUtilDataSetCreateX(args.get()) == 1, "creating the data set");
}

void registerValues(int zone)
{
    for (int var = 1; var <= 5; ++var) {
        bool const isDamaged = zone == 2 && var == 4;
        require(VnxUtilDataValueCustomLOD(zone, var, isDamaged ? failToLoad : load, unload, nullptr,
                                          nullptr, nullptr, zone * 10 + var) == 1,
                "registering a variable");
        VnxUtilDataValueSetMinMaxByZoneVar(zone, var, var, zone * 100);
    }
}

/// The engine says how many ids it sends, and an engine of a test may say anything: there is place for
/// more than its answer can hold.
constexpr std::size_t MAX_IDS = 16'384;

/// The engine's ids of the zones up to count.
std::vector<long> idsOfZones(int count)
{
    std::vector<int> zones(MAX_IDS);
    std::iota(zones.begin(), zones.end(), 1);
    std::vector<long> ids(zones.size());
    VnxUtilDataSetGetUniqueIDsForZones(zones.data(), count, ids.data());
    ids.resize(static_cast<std::size_t>(count));
    return ids;
}

std::optional<std::string> nameOf(int var)
{
    char* name = nullptr;
    bool const isThere = VnxUtilVarGetName(var, &name) == 1;
    std::unique_ptr<char, Dealloc> const owned(name);
    return isThere && name != nullptr ? std::optional<std::string>(name) : std::nullopt;
}

void askQuestions()
{
    require(VnxUtilDataSetGetNumVars() == 5, "the number of variables");
    require(VnxUtilDataSetGetNumZones() == 3, "the number of zones");
    require(VnxUtilDataSetGetUniqueID() > 0, "the id of the data set");
    require(VnxUtilGetNextUniqueID() != VnxUtilGetNextUniqueID(), "an id of its own");
    require(VnxUtilVarGetUniqueID(1) != VnxUtilVarGetUniqueID(2), "the ids of variables");
    std::vector<long> const ids = idsOfZones(2);
    require(ids[0] > 0 && ids[1] > 0 && ids[0] != ids[1], "the ids of zones");
    require(nameOf(2) == "double", "a name");
    require(!nameOf(6), "a name that there is not");
    int sections = -1;
    require(VnxUtilZoneGetNumSections(1, 1, &sections) == 1 && sections == 0, "sections");
    require(VnxUtilDialogMessageBox("shall it go on?", MessageBoxType_Information) == 1, "a box");
    require(VnxUtilImportSetLoaderInstr("name", nullptr) == 1, "the loader's instructions");
    std::unique_ptr<Set_s, Dealloc> const set(VnxUtilSetAlloc(0));
    VnxUtilSetAddMember(set.get(), 2, 0);
    VnxUtilStateChanged(StateChange_Announced, reinterpret_cast<long>(set.get()));
}

/// An enumeration's value.
template <typename Enumeration>
Enumeration as(int value)
{
    return static_cast<Enumeration>(value);
}

void addText()
{
    VnxUtilTextCreate(as<CoordSys_e>(0), 0, 0, as<Units_e>(0), 1, "plain");
    long const id = VnxUtilTextCreate(as<CoordSys_e>(1), 0.5, 0.25, as<Units_e>(2), 14, "inlet");
    VnxUtilTextBoxSetColor(id, 1);
    VnxUtilTextBoxSetFillColor(id, 2);
    VnxUtilTextBoxSetLineThickness(id, 3.5);
    VnxUtilTextBoxSetMargin(id, 4.5);
    VnxUtilTextBoxSetType(id, as<TextBox_e>(5));
    VnxUtilTextSetAnchor(id, as<TextAnchor_e>(6));
    VnxUtilTextSetAngle(id, 7.5);
    VnxUtilTextSetClipping(id, as<Clipping_e>(8));
    VnxUtilTextSetColor(id, 9);
    VnxUtilTextSetLineSpacing(id, 10.5);
    VnxUtilTextSetScope(id, as<Scope_e>(11));
    VnxUtilTextSetZoneOrMap(id, 2);
    VnxUtilTextSetAttached(id, 1);
    VnxUtilTextSetTypeface(id, "serif", 1, 0);
    require(VnxUtilTextSetMacroFunctionCmd(id, "redraw") == 1, "a text's command");
}

void addGeometries()
{
    auto const grid = as<CoordSys_e>(1);
    VnxUtilGeomRectangleCreate(grid, 1, 2, 3, 4);
    VnxUtilGeomSquareCreate(grid, 1, 2, 3);
    VnxUtilGeomEllipseCreate(grid, 1, 2, 3, 4);
    long const circle = VnxUtilGeomCircleCreate(grid, 1, 2, 3);
    VnxUtilGeomSetAnchorPos(circle, 4, 5, 6);
    VnxUtilGeomSetPositionCoordSys(circle, as<CoordSys_e>(6));
    VnxUtilGeomSetAttached(circle, 1);
    VnxUtilGeomSetZoneOrMap(circle, 1);
    VnxUtilGeomSetColor(circle, 2);
    VnxUtilGeomSetFillColor(circle, 3);
    VnxUtilGeomSetIsFilled(circle, 0);
    VnxUtilGeomSetLinePattern(circle, as<LinePattern_e>(4));
    VnxUtilGeomSetPatternLength(circle, 5.5);
    VnxUtilGeomSetLineThickness(circle, 6.5);
    VnxUtilGeomEllipseSetNumPoints(circle, 72);
    VnxUtilGeomArrowheadSetStyle(circle, as<ArrowheadStyle_e>(7));
    VnxUtilGeomArrowheadSetAttach(circle, as<ArrowheadAttachment_e>(8));
    VnxUtilGeomArrowheadSetSize(circle, 9.5);
    VnxUtilGeomArrowheadSetAngle(circle, 10.5);
    VnxUtilGeomSetScope(circle, as<Scope_e>(11));
    VnxUtilGeomSetClipping(circle, as<Clipping_e>(12));
    require(VnxUtilGeomSetMacroFunctionCmd(circle, "pick") == 1, "a geometry's command");

    long const sizes[] = {1, 2};
    long const flat = VnxUtilGeom2DMPolyCreate(grid, 2, sizes);
    VnxUtilGeom2DMPolySetPoint(flat, 1, 1, 0.5, 1.5);
    VnxUtilGeom2DMPolySetPoint(flat, 2, 2, 2.5, 3.5);
    VnxUtilGeom2DMPolySetPoint(flat, 2, 1, 4.5, 5.5);
    long const inSpace = VnxUtilGeom3DMPolyCreate(1, sizes);
    VnxUtilGeom3DMPolySetPoint(inSpace, 1, 1, 1, 2, 3);
}

void addLabelsAndAuxData()
{
    StringList const labels(VnxUtilStringListAlloc());
    VnxUtilStringListAppendString(labels.get(), "low");
    VnxUtilStringListAppendString(labels.get(), "high");
    require(VnxUtilCustomLabelsAppend(labels.get()) == 1, "labels");

    auto const set = [](AuxData_s* ref, char const* name, char const* value) {
        require(VnxUtilAuxDataSetItem(ref, name, reinterpret_cast<long>(value),
                                      as<AuxDataType_e>(0), 1) == 1,
                "auxiliary data");
    };
    set(VnxUtilAuxDataDataSetGetRef(), "Solver", "old");
    set(VnxUtilAuxDataZoneGetRef(2), "Part", "wall");
    set(VnxUtilAuxDataVarGetRef(4), "Unit", "m/s");
    set(VnxUtilAuxDataDataSetGetRef(), "Solver", "v 1");
}

void buildEverything()
{
    VnxUtilDataLoadStart();
    createDataSet();
    addZone("first", NONE);
    registerValues(1);
    addZone("second", SHARES);
    registerValues(2);
    VnxUtilDataNodeCustomLOD(1, loadNodeMap, nullptr, nullptr, 1);
    VnxUtilDataFaceNbrCustomLOD(2, 1, loadFaceNeighbors, unloadFaceNeighbors, nullptr, 1);
    addFaceNeighborZone();
    VnxUtilDataConnectShare(1, 2);
    VnxUtilDataValueShare(1, 3, 2);
    askQuestions();
    addText();
    addGeometries();
    addLabelsAndAuxData();
    ArgList const none(VnxUtilArgListAlloc());
    std::vector<long> const expected = idsOfZones(3);
    std::vector<long> ids(MAX_IDS);
    require(VnxUtilDataLoadFinishX(none.get(), ids.data()) == 1 &&
                std::equal(expected.begin(), expected.end(), ids.begin()),
            "finishing the load");
}

/// A batch with far more answers than a socket holds.
void buildManyZones()
{
    createDataSet();
    for (int zone = 1; zone <= 3000; ++zone)
        addZone("one of many", NONE);
    for (int zone = 1; zone <= 3000; ++zone)
        registerValues(zone);
    ArgList const none(VnxUtilArgListAlloc());
    require(VnxUtilDataLoadFinishX(none.get(), nullptr) == 1, "finishing a long load");
}

char loadDataSet(StringList_s* instructions, unsigned long)
{
    long const count = VnxUtilStringListGetCount(instructions);
    std::string const path = VnxUtilStringListGetRawStringPtr(instructions, count);
    std::string const word = path.substr(path.find_last_of('/') + 1);
    if (word == "everything.hdqfs")
        buildEverything();
    else if (word == "many.hdqfs")
        buildManyZones();
    else if (word == "hangs.hdqfs")
        hang(path);
    else if (word == "slow.hdqfs")
        ::usleep(900'000);
    else if (word == "dies.hdqfs")
        ::_exit(9);
    else if (word == "throws.hdqfs")
        throw std::runtime_error("the loader lost its way");
    else
        return 0;
    return 1;
}

}

extern "C" VNX_EXPORT void InitVnxAddOn113()
{
    ArgList const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendFunction(args.get(), "LoaderCallback",
                                 reinterpret_cast<void const*>(loadDataSet));
    VnxUtilArgListAppendString(args.get(), "LoaderName", "Engine test");
    VnxUtilArgListAppendString(args.get(), "FileNameExtensions", "hdqfs");
    VnxUtilImportAddLoaderX(args.get());
}
