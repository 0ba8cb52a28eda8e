#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "fuzz/support/Entry.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/WriteCache.h"

#include <memory>
#include <new>
#include <string>

namespace {

using namespace varnox;
using hdqlib::ZoneMetadataSerializer;

std::unique_ptr<hdqio::ZoneMetadata> received(std::string const& bytes)
{
    tests::RecordingSocket socket(bytes);
    return std::unique_ptr<hdqio::ZoneMetadata>(
        ZoneMetadataSerializer::deserialize(socket).metadata());
}

std::string wireForm(hdqio::ZoneMetadata& zone)
{
    return tests::cached([&](auto& cache) { ZoneMetadataSerializer(zone).addToCache(cache); });
}

}

// An input is the wire form of a zone's metadata.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    try {
        auto const zone = received(std::string(reinterpret_cast<char const*>(data), size));
        std::string const sent = wireForm(*zone);
        fuzz::expect(wireForm(*received(sent)) == sent, "a zone has changed on its way");
    } catch (IOException const&) {
    } catch (std::bad_alloc const&) {
    }
    return 0;
}
