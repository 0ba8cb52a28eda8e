// A loader add-on that adds as many zones as its environment says, each with what real zones bring.

#include "varnox/Export.h"
#include "varnox/hostapi/VnxUtil.h"

#include <cstdlib>

namespace {

constexpr int NUM_VARS = 10;

char loadValues(FieldData_s*)
{
    return 1;
}

char load(StringList_s*, unsigned long)
{
    int const numZones = std::atoi(std::getenv("VNX_BENCH_ZONES"));
    VnxUtilDataLoadStart();
    StringList_s* names = VnxUtilStringListAlloc();
    for (int v = 0; v < NUM_VARS; ++v)
        VnxUtilStringListAppendString(names, "variable");
    VnxUtilDataSetCreate("zones", names, 1);
    VnxUtilStringListDealloc(&names);
    int types[NUM_VARS] = {1, 1, 1, 1, 1, 2, 2, 2, 2, 2};
    for (int zone = 1; zone <= numZones; ++zone) {
        _ArgList_s* args = VnxUtilArgListAlloc();
        VnxUtilArgListAppendString(args, "Name", "a zone of ordinary length");
        VnxUtilArgListAppendInt(args, "Zone", zone);
        VnxUtilArgListAppendInt(args, "ZoneType", 4);
        VnxUtilArgListAppendInt(args, "IMax", 1000);
        VnxUtilArgListAppendInt(args, "JMax", 2000);
        VnxUtilArgListAppendDouble(args, "SolutionTime", 0.5 * zone);
        VnxUtilArgListAppendArray(args, "VarDataType", types);
        VnxUtilDataSetAddZoneX(args);
        VnxUtilArgListDealloc(&args);
        for (int v = 1; v <= NUM_VARS; ++v) {
            VnxUtilDataValueSetMinMaxByZoneVar(zone, v, 0, 1);
            VnxUtilDataValueCustomLOD(zone, v, loadValues, nullptr, nullptr, nullptr, nullptr, v);
        }
    }
    _ArgList_s* none = VnxUtilArgListAlloc();
    char const finished = VnxUtilDataLoadFinishX(none, nullptr);
    VnxUtilArgListDealloc(&none);
    return finished;
}

}

extern "C" VNX_EXPORT void InitVnxAddOn113()
{
    _ArgList_s* args = VnxUtilArgListAlloc();
    VnxUtilArgListAppendFunction(args, "LoaderCallback", reinterpret_cast<void const*>(load));
    VnxUtilImportAddLoaderX(args);
    VnxUtilArgListDealloc(&args);
}
