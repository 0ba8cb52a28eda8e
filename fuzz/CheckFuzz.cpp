#include "filedata/Messages.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "tools/vnxinfo/Check.h"
#include "tools/vnxinfo/Description.h"

#include <exception>
#include <stdexcept>

// An input is a file, of which everything is read that it says it has.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static varnox::fuzz::InputFile file;
    file.set(data, size);
    varnox::hdqio::MessageCapture const quiet;
    varnox::tools::Faults const faults = varnox::tools::findFaults(file.path());
    try {
        varnox::hdqfsloader::DataFile described(file.path());
        varnox::tools::serialized(varnox::tools::describe(described, {}));
    } catch (std::runtime_error const&) {
        varnox::fuzz::expect(!faults.isEmpty(), "a file without faults can't be described");
    }
    return 0;
}
