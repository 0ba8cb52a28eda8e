#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/ZoneHeader.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "fuzz/support/Bytes.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/ZoneInput.h"
#include "varnox/socketutil/WriteCache.h"

#include <new>

namespace {

using namespace varnox;
using namespace varnox::hdqio;

/// Reads the zone header and uses all that it says.
void readZone(FileReaderInterface& reader, fuzz::ZoneInput const& input)
{
    ZoneMetadata zone;
    storeZoneMetadata(input.table(), 0, 0, zone);
    if (!reader.seekToFileLoc(input.fileLoc) ||
        !readZoneHeaders(reader, input.description(), 0, 0, 0, input.numVars(),
                         input.table().zoneMinMaxes, input.table().fieldDataTypes, zone))
        return;
    zone.varMinMaxTrees.dealloc(); // they wait for the ranges, which stand elsewhere
    socketutil::WriteCache cache;
    if (zone.isHdqZone)
        hdqlib::ZoneMetadataSerializer(zone).addToCache(cache);
    for (std::size_t p = 0; p < zone.numPartitions && !zone.numNodesPerPtn.isNull(); ++p)
        fuzz::expect(zone.numNodesPerPtn[p] >= 0, "a partition has fewer nodes than none");
}

}

// An input: a ZoneInput, then a file, whose zone header stands where that says.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static fuzz::InputFile file;
    fuzz::Bytes bytes(data, size);
    fuzz::ZoneInput const input(bytes);
    file.set(bytes.rest());
    MessageCapture const quiet;
    FileStreamReader reader(file.path());
    fuzz::expect(reader.open(), "the file can't be opened");
    reader.setIsAscii(input.isAscii());
    try {
        readZone(reader, input);
    } catch (std::bad_alloc const&) {
    }
    return 0;
}
