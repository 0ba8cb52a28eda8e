// A loader add-on whose loader does what the path's last word says.

#include "tests/support/QueryFakes.h"
#include "varnox/Export.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hostapi/VnxUtil.h"

#include <memory>
#include <stdexcept>
#include <string>

extern "C" long VnxUtilZoneRename();

namespace {

char loadFieldValues(FieldData_s* handle)
{
    float const values[] = {1.5F, -2.0F};
    VnxUtilDataValueArraySetByRef(handle, 1, 2, values);
    return VnxUtilDataValueGetClientData(handle) == 77 ? 1 : 0;
}

constexpr char const* FIELD_LOAD = "field data: load";
constexpr char const* FIELD_UNLOAD = "field data: unload";
constexpr char const* FIELD_CLEAN_UP = "field data: clean up";
constexpr char const* NODE_LOAD = "node map: load";
constexpr char const* NODE_UNLOAD = "node map: unload";
constexpr char const* NODE_CLEAN_UP = "node map: clean up";
constexpr char const* FACE_LOAD = "face neighbors: load";
constexpr char const* FACE_UNLOAD = "face neighbors: unload";
constexpr char const* FACE_CLEAN_UP = "face neighbors: clean up";

/// Callbacks that tell the client which of them was called.
template <typename Handle, char const* const& TEXT>
char telling(Handle*)
{
    VnxUtilDialogErrMsg(TEXT);
    return 1;
}

template <typename Handle, char const* const& TEXT>
void tellingOfTheEnd(Handle*)
{
    VnxUtilDialogErrMsg(TEXT);
}

struct Dealloc
{
    void operator()(StringList_s* list) const { VnxUtilStringListDealloc(&list); }
    void operator()(_ArgList_s* list) const { VnxUtilArgListDealloc(&list); }
};

/// The host may have no memory for a registration.
void require(char answer)
{
    if (answer == 0)
        throw std::runtime_error("the host refused a callback");
}

void buildDataSet()
{
    VnxUtilDataLoadStart();
    std::unique_ptr<StringList_s, Dealloc> const names(VnxUtilStringListAlloc());
    VnxUtilStringListAppendString(names.get(), "p");
    VnxUtilDataSetCreate("title", names.get(), 1);

    std::unique_ptr<_ArgList_s, Dealloc> const zone(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(zone.get(), "Name", "inlet");
    VnxUtilDataSetAddZoneX(zone.get());
    require(
        VnxUtilDataValueCustomLOD(1, 1, loadFieldValues, nullptr, nullptr, nullptr, nullptr, 77));

    std::unique_ptr<_ArgList_s, Dealloc> const empty(VnxUtilArgListAlloc());
    long ids[4] = {};
    VnxUtilDataLoadFinishX(empty.get(), ids);
}

/// One zone with callbacks for everything that can be loaded on demand.
void registerEveryCallback()
{
    std::unique_ptr<StringList_s, Dealloc> const names(VnxUtilStringListAlloc());
    VnxUtilStringListAppendString(names.get(), "p");
    VnxUtilDataSetCreate("title", names.get(), 1);
    std::unique_ptr<_ArgList_s, Dealloc> const zone(VnxUtilArgListAlloc());
    VnxUtilDataSetAddZoneX(zone.get());
    require(VnxUtilDataValueCustomLOD(
        1, 1, telling<FieldData_s, FIELD_LOAD>, telling<FieldData_s, FIELD_UNLOAD>,
        tellingOfTheEnd<FieldData_s, FIELD_CLEAN_UP>, nullptr, nullptr, 0));
    using NodeMap = VNX_ELEM_TO_NODE_MAP;
    require(VnxUtilDataNodeCustomLOD(1, telling<NodeMap, NODE_LOAD>, telling<NodeMap, NODE_UNLOAD>,
                                     tellingOfTheEnd<NodeMap, NODE_CLEAN_UP>, 0));
    require(VnxUtilDataFaceNbrCustomLOD(1, 0, telling<FaceNeighbor_s, FACE_LOAD>,
                                        telling<FaceNeighbor_s, FACE_UNLOAD>,
                                        tellingOfTheEnd<FaceNeighbor_s, FACE_CLEAN_UP>, 0));
    std::unique_ptr<_ArgList_s, Dealloc> const empty(VnxUtilArgListAlloc());
    long ids[4] = {};
    VnxUtilDataLoadFinishX(empty.get(), ids);
}

/// Query objects that each answer something else.
struct Services
{
    Services()
    {
        cells.count = 11;
        cells.subzoneSize = 1;
        nodes.count = 12;
        nodes.sizeOf = [](varnox::tests::Subzone) -> unsigned short { return 2; };
        ordered.subzones = {varnox::tests::Subzone(13 << 8)};
        identity.exists = true;
        nodal.valueOf = [](varnox::tests::Item item) { return 100.0 + item.itemOffset(); };
        cellCentered.valueOf = [](varnox::tests::Item item) { return 200.0 + item.itemOffset(); };
        ranges.values = {-1, 1};
    }

    varnox::tests::FakeCells cells;
    varnox::tests::FakeNodes nodes;
    varnox::tests::FakeOrdered ordered;
    varnox::tests::FakeZoneVarID identity;
    varnox::tests::FakeVarValues cellCentered;
    varnox::tests::FakeVarValues nodal;
    varnox::tests::FakeVarSubzones ranges;
};

/// The first zone with its last variable.
void registerServices()
{
    static Services services; // the host asks them until the process ends
    auto* const registration =
        static_cast<varnox::hdq::DataSetRegistrationInterface*>(VnxUtilDataSetGetHDQRegistration());
    registration->registerZoneConnectivityQueryServices(&services.cells, &services.nodes,
                                                        &services.ordered, 0);
    registration->registerZoneVarIDQueryServices(&services.identity, 0);
    registration->registerVarQueryServices(&services.cellCentered, &services.nodal,
                                           &services.ranges, 0, 2);
    std::unique_ptr<_ArgList_s, Dealloc> const empty(VnxUtilArgListAlloc());
    long ids[4] = {};
    VnxUtilDataLoadFinishX(empty.get(), ids);
}

/// The instructions as they came, with a bar behind each.
std::string told(StringList_s* instructions)
{
    std::string result;
    for (long i = 1; i <= VnxUtilStringListGetCount(instructions); ++i)
        result += std::string(VnxUtilStringListGetRawStringPtr(instructions, i)) + "|";
    return result;
}

char load(StringList_s* instructions, unsigned long clientData)
{
    long const count = VnxUtilStringListGetCount(instructions);
    std::string const last = VnxUtilStringListGetRawStringPtr(instructions, count);
    std::string const word = last.substr(last.find_last_of('/') + 1);
    if (clientData != 42)
        return 0;
    if (word == "tells.hdqfs")
        throw std::runtime_error(told(instructions));
    if (word == "registers.hdqfs") {
        registerEveryCallback();
        return 1;
    }
    if (word == "serves.hdqfs") {
        registerServices();
        return 1;
    }
    if (word == "throws.hdqfs")
        throw std::runtime_error("the loader has failed");
    if (word == "throwsNothing.hdqfs")
        throw std::runtime_error("");
    if (word == "throwsInt.hdqfs")
        throw 7;
    if (word == "unimplemented.hdqfs")
        VnxUtilZoneRename();
    if (word == "builds.hdqfs") {
        buildDataSet();
        return 1;
    }
    return word == "succeeds.hdqfs" ? 4 : 0;
}

}

extern "C" VNX_EXPORT void InitVnxAddOn113()
{
    VnxUtilLockOn();
    VnxUtilAddOnRegister(113, "Scripted loader", "2026", "Tests");
    std::unique_ptr<_ArgList_s, Dealloc> const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendFunction(args.get(), "LoaderCallback", reinterpret_cast<void const*>(load));
    VnxUtilArgListAppendArbParam(args.get(), "ClientData", 42);
    VnxUtilArgListAppendString(args.get(), "LoaderName", "Scripted");
    VnxUtilArgListAppendString(args.get(), "FileNameExtensions", "hdqfs");
#ifndef VNX_REGISTERS_NO_LOADER
    VnxUtilImportAddLoaderX(args.get());
#endif
    VnxUtilLockOff();
}
