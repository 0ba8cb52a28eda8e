#include "filedata/ConnectivityRecords.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/PartitionHeader.h"
#include "fuzz/support/Bytes.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/ZoneInput.h"

#include <algorithm>
#include <new>

namespace {

using namespace varnox;
using namespace varnox::hdqio;

constexpr std::uint32_t PARTITION = 1;
constexpr std::uint32_t NUM_PARTITIONS = 2;
constexpr std::uint32_t MOST_SUBZONES = 16;

std::uint32_t numSubzones(std::int64_t items)
{
    return static_cast<std::uint32_t>((items + 255) >> 8);
}

template <typename T>
void fill(PlainDataVector<T>& counts, T count)
{
    fuzz::expect(counts.alloc(NUM_PARTITIONS), "no memory for a zone");
    std::fill_n(counts.data(), NUM_PARTITIONS, count);
}

/// A zone of two partitions, both with the counts of the input.
void describe(ZoneMetadata& zone, fuzz::ZoneInput const& input)
{
    storeZoneMetadata(input.table(), 0, 0, zone);
    zone.numPartitions = NUM_PARTITIONS;
    std::uint32_t const numSections = zone.isMixed() ? zone.numSections : 1;
    fuzz::expect(zone.numCellsPerSecPtn.alloc(numSections) &&
                     zone.numCszsPerSecPtn.alloc(numSections) &&
                     zone.ptnMetadata.alloc(NUM_PARTITIONS),
                 "no memory for a zone");
    fill(zone.numNszsPerPtn, numSubzones(static_cast<std::int64_t>(input.size[0] & 0xFFFF)));
    for (std::uint32_t s = 0; s < numSections; ++s) {
        auto const cells = static_cast<std::int64_t>(input.cells[s] & 0xFFFF);
        fill(zone.numCellsPerSecPtn[s], cells);
        fill(zone.numCszsPerSecPtn[s], numSubzones(cells));
    }
}

bool hasCellConnectivity(PartitionMetadata const& header, std::uint32_t section,
                         std::uint32_t subzone)
{
    return section < header.cszConnFileLocs.size() &&
           subzone < header.cszConnFileLocs[section].size();
}

void readCells(FileReaderInterface& reader, fuzz::ZoneInput const& input, ZoneMetadata const& zone)
{
    PartitionMetadata const& header = zone.ptnMetadata[PARTITION];
    for (std::uint32_t s = 0; s < zone.numCszsPerSecPtn.size(); ++s) {
        std::uint32_t const count = std::min(zone.numCszsPerSecPtn[s][PARTITION], MOST_SUBZONES);
        for (std::uint32_t n = 0; n < count; ++n) {
            CszConnectivity cells;
            if (!hasCellConnectivity(header, s, n) ||
                !reader.seekToFileLoc(header.cszConnFileLocs[s][n]) ||
                !readCszConnectivity(reader, input.description(), zone, PARTITION, s, n, cells))
                continue;
            for (std::size_t i = 0; i < std::size_t{cells.numCells} * cells.numCornersPerCell; ++i)
                fuzz::expect(cells.refNszOffsets[i] < cells.numRefNszs,
                             "a corner refers to no subzone");
        }
    }
}

void readNodes(FileReaderInterface& reader, fuzz::ZoneInput const& input, ZoneMetadata const& zone)
{
    PartitionMetadata const& header = zone.ptnMetadata[PARTITION];
    std::uint32_t const count = std::min(zone.numNszsPerPtn[PARTITION], MOST_SUBZONES);
    for (std::uint32_t n = 0; n < count; ++n) {
        NszConnectivity nodes;
        std::uint16_t const numRefs =
            n < header.nszNumRefCszs.size() ? header.nszNumRefCszs[n] : std::uint16_t{0};
        if (n < header.nszConnFileLocs.size() && reader.seekToFileLoc(header.nszConnFileLocs[n]))
            readNszConnectivity(reader, input.description(), zone, PARTITION, n,
                                header.refPartitions, numRefs, nodes);
    }
}

void readPartition(FileReaderInterface& reader, fuzz::ZoneInput const& input)
{
    ZoneMetadata zone;
    describe(zone, input);
    if (!reader.seekToFileLoc(input.fileLoc) ||
        !readPartitionHeader(reader, input.description(), 0, 0, input.numVars(), PARTITION, zone,
                             input.table().fieldDataTypes, zone.ptnMetadata[PARTITION]))
        return;
    readCells(reader, input, zone);
    readNodes(reader, input, zone);
}

}

// An input: a ZoneInput, then a file with a partition header where that says, and its records.
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
        readPartition(reader, input);
    } catch (std::bad_alloc const&) {
    }
    return 0;
}
