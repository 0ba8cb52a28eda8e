#include "filedata/Messages.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "tools/vnxinfo/Check.h"
#include "tools/vnxinfo/Description.h"

#include <exception>
#include <stdexcept>
#include <string>

namespace {

using varnox::hdqfsloader::DataFile;

/// The seed that a grid or a solution of as many zones goes with.
std::string otherOf(std::string const& kind, DataFile const& file)
{
    return VNX_SOURCE_DIR "/fuzz/corpus/check/seed-" + kind +
           (file.numZones() == 1 ? "232" : "OfEach232");
}

/// A solution is held to a sound grid, and a sound solution to a grid.
void holdToEachOther(DataFile const& file)
{
    switch (file.description().dataFileType()) {
    case DataFileType_Grid:
        varnox::tools::findFaults(otherOf("solution", file), file.path());
        break;
    case DataFileType_Solution:
        varnox::tools::findFaults(file.path(), otherOf("grid", file));
        break;
    default:
        break;
    }
}

}

// An input is a file, of which everything is read that it says it has.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static varnox::fuzz::InputFile file;
    file.set(data, size);
    varnox::hdqio::MessageCapture const quiet;
    varnox::tools::Faults const faults = varnox::tools::findFaults(file.path());
    try {
        DataFile described(file.path());
        holdToEachOther(described);
        varnox::tools::serialized(varnox::tools::describe(described, {}));
    } catch (std::runtime_error const&) {
        varnox::fuzz::expect(!faults.isEmpty(), "a file without faults can't be described");
    }
    return 0;
}
