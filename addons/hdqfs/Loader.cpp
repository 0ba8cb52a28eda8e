// The loader for HDQFS files: the add-on's entry point and the functions that its host calls.

#include "addons/hdqfs/Announcement.h"
#include "addons/hdqfs/Annotations.h"
#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/HostObjects.h"
#include "addons/hdqfs/Loading.h"
#include "addons/hdqfs/QueryObjects.h"

#include "varnox/Export.h"
#include "varnox/hostapi/VnxUtil.h"

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

namespace {

/// What the loader keeps between calls. The number of the load tells requests for the present data
/// set from those for one that was replaced.
struct LoadedData
{
    explicit LoadedData(std::vector<std::string> const& paths) : dataSet(paths) {}

    DataSet dataSet;
    std::optional<QueryObjects> queries; ///< None until the host has the data set.
};

constexpr int LOAD_NUMBER_SHIFT = 48;

std::unique_ptr<LoadedData> loaded;
long loadNumber = 0;

/// A load that goes on. Its host can ask for another one while it waits, which would take the data
/// set away from the first.
class Load
{
public:
    Load()
    {
        if (isUnderWay)
            throw std::runtime_error(
                "A data set can't be loaded while another one is being loaded.");
        isUnderWay = true;
    }
    Load(Load const&) = delete;
    Load& operator=(Load const&) = delete;
    ~Load() { isUnderWay = false; }

private:
    inline static bool isUnderWay = false;
};

/// The index that goes with a client datum.
std::uint64_t indexOf(long clientData)
{
    if (loaded == nullptr || clientData >> LOAD_NUMBER_SHIFT != loadNumber)
        throw std::runtime_error(
            "The data set that these values belong to was replaced by another.");
    return static_cast<std::uint64_t>(clientData) & ((std::uint64_t{1} << LOAD_NUMBER_SHIFT) - 1);
}

/// Runs a load on demand. What goes wrong is shown to the user, and the answer is false.
template <typename Load>
char answer(Load&& load)
{
    std::string message;
    try {
        load();
        return 1;
    } catch (std::exception const& error) {
        message = error.what();
    }
    VnxUtilDialogErrMsg(message.c_str());
    return 0;
}

char loadValues(FieldData_s* handle)
{
    return answer([&] {
        std::uint64_t const index = indexOf(VnxUtilDataValueGetClientData(handle));
        std::uint64_t const numVars = loaded->dataSet.numVars();
        sendValues(loaded->dataSet, static_cast<std::uint32_t>(index / numVars),
                   static_cast<std::uint32_t>(index % numVars), handle);
    });
}

char loadNodeMap(ElemToNodeMap* handle)
{
    return answer([&] {
        std::uint64_t const zone = indexOf(VnxUtilDataNodeGetClientData(handle));
        sendNodeMap(loaded->dataSet, static_cast<std::uint32_t>(zone), handle);
    });
}

char loadFaceNeighbors(FaceNeighbor_s* handle)
{
    return answer([&] {
        std::uint64_t const zone = indexOf(VnxUtilDataFaceNbrGetClientData(handle));
        sendFaceNeighbors(loaded->dataSet, static_cast<std::uint32_t>(zone), handle);
    });
}

// Nothing is held here for what was loaded.
char unloadValues(FieldData_s*)
{
    return 1;
}

char unloadNodeMap(ElemToNodeMap*)
{
    return 1;
}

char unloadFaceNeighbors(FaceNeighbor_s*)
{
    return 1;
}

/// The file paths among a loader's instructions.
std::vector<std::string> pathsOf(StringList_s* instructions)
{
    std::vector<std::string> words;
    long const count = VnxUtilStringListGetCount(instructions);
    for (long i = 1; i <= count; ++i)
        words.emplace_back(VnxUtilStringListGetRawStringPtr(instructions, i));
    auto const startsWith = [&](std::vector<std::string> const& start) {
        return words.size() >= start.size() &&
               std::equal(start.begin(), start.end(), words.begin());
    };
    if (startsWith({"STANDARDSYNTAX", "1.0", "FILENAME_FILE"}) && words.size() == 4)
        return {words[3]};
    if (startsWith({"STANDARDSYNTAX", "1.0", "FILELIST_DATAFILES"}) && words.size() >= 4 &&
        words[3] == std::to_string(words.size() - 4))
        return {words.begin() + 4, words.end()};
    throw std::runtime_error(
        "The HDQFS loader doesn't understand its instructions: it takes one file "
        "or a list of files.");
}

char load(StringList_s* instructions, unsigned long)
{
    Load const thisOne;
    auto data = std::make_unique<LoadedData>(pathsOf(instructions));
    // Objects of the data set before stay until here: its host has let go of them.
    loaded = std::move(data);
    loadNumber = (loadNumber + 1) & 0x7FFF;
    std::vector<long> variableIds;
    bool const wasAccepted =
        announce(loaded->dataSet,
                 {loadValues, unloadValues, loadNodeMap, unloadNodeMap, loadFaceNeighbors,
                  unloadFaceNeighbors, loadNumber << LOAD_NUMBER_SHIFT},
                 variableIds);
    std::string const notShown = wasAccepted ? sendAnnotations(loaded->dataSet) : "";
    if (wasAccepted && loaded->dataSet.hasHdqZone()) {
        loaded->queries.emplace(loaded->dataSet, variableIds);
        loaded->queries->registerAll(*VnxUtilDataSetGetHDQRegistration());
    }
    std::string const unsupported = wasAccepted ? unsupportedZones(loaded->dataSet) : "";
    for (std::string const& text : {notShown, unsupported})
        if (!text.empty())
            VnxUtilDialogErrMsg(text.c_str());
    ArgList const none(VnxUtilArgListAlloc());
    char const wasFinished = VnxUtilDataLoadFinishX(none.get(), nullptr);
    return static_cast<char>(wasAccepted && wasFinished != 0);
}

}

}

extern "C" VNX_EXPORT void InitVnxAddOn113()
{
    VnxUtilLockOn();
    VnxUtilAddOnRegister(113, "HDQFS loader", "2026", "Varnox");
    varnox::hdqfsloader::ArgList const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendFunction(args.get(), "LoaderCallback",
                                 reinterpret_cast<void const*>(varnox::hdqfsloader::load));
    VnxUtilArgListAppendArbParam(args.get(), "ClientData", 0);
    VnxUtilArgListAppendString(args.get(), "LoaderName", "HDQFS");
    VnxUtilArgListAppendString(args.get(), "FileNameExtensions", "hdqfs");
    VnxUtilImportAddLoaderX(args.get());
    VnxUtilLockOff();
}
