#include "fuzz/support/Entry.h"
#include "fuzz/support/SessionRun.h"

// An input is all that a client says to a server with the loader of HDQFS files.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    varnox::fuzz::serve(VNX_LIB_DIR "/vnxhdqfsloader.so", data, size);
    return 0;
}
