// A loader add-on whose loader does what the path's last word says.

#include "varnox/Export.h"
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

struct Dealloc
{
    void operator()(StringList_s* list) const { VnxUtilStringListDealloc(&list); }
    void operator()(_ArgList_s* list) const { VnxUtilArgListDealloc(&list); }
};

void buildDataSet()
{
    VnxUtilDataLoadStart();
    std::unique_ptr<StringList_s, Dealloc> const names(VnxUtilStringListAlloc());
    VnxUtilStringListAppendString(names.get(), "p");
    VnxUtilDataSetCreate("title", names.get(), 1);

    std::unique_ptr<_ArgList_s, Dealloc> const zone(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(zone.get(), "Name", "inlet");
    VnxUtilDataSetAddZoneX(zone.get());
    VnxUtilDataValueCustomLOD(1, 1, loadFieldValues, nullptr, nullptr, nullptr, nullptr, 77);

    std::unique_ptr<_ArgList_s, Dealloc> const empty(VnxUtilArgListAlloc());
    long ids[4] = {};
    VnxUtilDataLoadFinishX(empty.get(), ids);
}

char load(StringList_s* instructions, unsigned long clientData)
{
    long const count = VnxUtilStringListGetCount(instructions);
    std::string const last = VnxUtilStringListGetRawStringPtr(instructions, count);
    std::string const word = last.substr(last.find_last_of('/') + 1);
    if (clientData != 42)
        return 0;
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
    _ArgList_s* args = VnxUtilArgListAlloc();
    VnxUtilArgListAppendFunction(args, "LoaderCallback", reinterpret_cast<void const*>(load));
    VnxUtilArgListAppendArbParam(args, "ClientData", 42);
    VnxUtilArgListAppendString(args, "LoaderName", "Scripted");
    VnxUtilArgListAppendString(args, "FileNameExtensions", "hdqfs");
#ifndef VNX_REGISTERS_NO_LOADER
    VnxUtilImportAddLoaderX(args);
#endif
    VnxUtilArgListDealloc(&args);
    VnxUtilLockOff();
}
