#include "apps/dataserver/Greeting.h"

#include "fuzz/support/Entry.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace varnox::dataserver;

/// A stream that has the bytes of the input and then ends.
int streamOf(std::uint8_t const* data, std::size_t size)
{
    static int const descriptor = ::memfd_create("greeting", MFD_CLOEXEC);
    varnox::fuzz::expect(::ftruncate(descriptor, 0) == 0 &&
                             ::pwrite(descriptor, data, size, 0) == static_cast<ssize_t>(size) &&
                             ::lseek(descriptor, 0, SEEK_SET) == 0,
                         "no stream");
    return descriptor;
}

}

// An input is what a client says first: it knows the token, or it doesn't.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static int const sink = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (char const* const token : {"", "token"}) {
        Greeting greeting(streamOf(data, size), sink, -1, std::chrono::seconds(10));
        try {
            greeting.receive(token);
            greeting.accept();
        } catch (GreetingRefused const& refusal) {
            greeting.refuse(refusal.what());
        } catch (GreetingBroken const&) {
        }
    }
    return 0;
}
