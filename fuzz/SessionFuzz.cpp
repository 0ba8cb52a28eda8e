#include "fuzz/support/Entry.h"
#include "fuzz/support/ExpectedLoss.h"
#include "fuzz/support/SessionRun.h"

#include <string_view>

// An input is all that a client says to a server with the loader of HDQFS files.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const input(reinterpret_cast<char const*>(data), size);
    varnox::fuzz::ExpectedLoss const loss(input.find("createCalcVar") != input.npos);
    varnox::fuzz::serve(VNX_LIB_DIR "/vnxhdqfsloader.so", data, size);
    return 0;
}
