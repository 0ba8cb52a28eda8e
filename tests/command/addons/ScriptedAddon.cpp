// A loader add-on whose loader does what the path's last word says.

#include "varnox/Export.h"
#include "varnox/hostapi/VnxUtil.h"

#include <cstring>
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

void buildDataSet()
{
    VnxUtilDataLoadStart();
    StringList_s* names = VnxUtilStringListAlloc();
    VnxUtilStringListAppendString(names, "p");
    VnxUtilDataSetCreate("title", names, 1);
    VnxUtilStringListDealloc(&names);

    _ArgList_s* zone = VnxUtilArgListAlloc();
    VnxUtilArgListAppendString(zone, "Name", "inlet");
    VnxUtilDataSetAddZoneX(zone);
    VnxUtilArgListDealloc(&zone);
    VnxUtilDataValueCustomLOD(1, 1, loadFieldValues, nullptr, nullptr, nullptr, nullptr, 77);

    _ArgList_s* empty = VnxUtilArgListAlloc();
    long ids[4] = {};
    VnxUtilDataLoadFinishX(empty, ids);
    VnxUtilArgListDealloc(&empty);
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
