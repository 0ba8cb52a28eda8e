#include "fuzz/support/Entry.h"
#include "fuzz/support/SessionRun.h"

// An input is all that a client says to a server with an add-on of the tests.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    varnox::fuzz::serve(VNX_LIB_DIR "/vnxenginetestaddon.so", data, size);
    return 0;
}
