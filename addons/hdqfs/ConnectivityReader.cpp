#include "addons/hdqfs/ConnectivityReader.h"

#include "addons/hdqfs/FileReading.h"

#include "filedata/ConnectivityRecords.h"
#include "filedata/TagList.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::hdqfsloader {

using hdqio::CszConnectivity;
using hdqio::NszConnectivity;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

namespace {

std::string textOf(SubzoneAddress const& subzone)
{
    return std::to_string(subzone.subzoneOffset()) + " of section " +
           std::to_string(subzone.section()) + " in partition " +
           std::to_string(subzone.partition());
}

std::string nameOf(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone, Items items)
{
    return std::string(items == Items::Cells ? "cell" : "node") + " subzone " + textOf(subzone) +
           " of zone " + std::to_string(zone.zone + 1) + " of " + zone.file->path();
}

[[noreturn]] void throwNoSuchSubzone(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone,
                                     Items items)
{
    throw std::out_of_range("There is no " + nameOf(zone, subzone, items) + ".");
}

[[noreturn]] void throwDamaged(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone,
                               Items items, std::string const& what)
{
    throw std::runtime_error("The connectivity of " + nameOf(zone, subzone, items) +
                             " is damaged: " + what + ".");
}

[[noreturn]] void throwDamagedReference(DataSet::ZoneInFile const& zone,
                                        SubzoneAddress const& subzone, Items items,
                                        std::string const& what)
{
    throwDamaged(zone, subzone, items, "it refers to " + what + ", which doesn't exist");
}

[[noreturn]] void throwNoConnectivity(DataSet::ZoneInFile const& zone)
{
    throw std::runtime_error("Zone " + std::to_string(zone.zone + 1) + " of " + zone.file->path() +
                             " has no connectivity.");
}

/// Nodes in a node subzone that a record names; 0 if there is no such subzone.
std::uint32_t numNodesOf(hdqio::ZoneMetadata const& zone, SubzoneAddress const& subzone)
{
    std::uint32_t const partition = subzone.partition();
    if (partition >= zone.numPartitions || subzone.section() != 0 ||
        subzone.subzoneOffset() >= zone.numNszsPerPtn[partition])
        return 0;
    auto const numNodes = static_cast<std::uint64_t>(zone.numNodesPerPtn[partition]);
    std::uint64_t const first =
        std::uint64_t{subzone.subzoneOffset()} * SubzoneLayout::ITEMS_PER_RUN;
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(numNodes - first, SubzoneLayout::ITEMS_PER_RUN));
}

bool hasCellSubzone(hdqio::ZoneMetadata const& zone, SubzoneAddress const& subzone)
{
    return subzone.partition() < zone.numPartitions &&
           subzone.section() < zone.numCszsPerSecPtn.size() &&
           subzone.subzoneOffset() < zone.numCszsPerSecPtn[subzone.section()][subzone.partition()];
}

/// Where a record begins.
std::uint64_t locationIn(hdqio::LightweightVector<std::uint64_t> const& locations,
                         SubzoneAddress const& subzone, DataSet::ZoneInFile const& zone)
{
    if (subzone.subzoneOffset() >= locations.size() ||
        locations[subzone.subzoneOffset()] == hdqio::ABSENT_FILE_LOC)
        throwNoConnectivity(zone);
    return locations[subzone.subzoneOffset()];
}

/// Puts the nodes' addresses together, and checks that there are such nodes.
SubzoneCells resolved(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone,
                      CszConnectivity const& record)
{
    hdqio::ZoneMetadata const& metadata = zone.file->zone(zone.zone);
    std::vector<std::uint32_t> sizes;
    for (std::uint32_t r = 0; r < record.numRefNszs; ++r)
        sizes.push_back(numNodesOf(metadata, record.refNszs[r]));
    std::vector<bool> isUsed(record.numRefNszs);

    SubzoneCells result;
    result.numCells = record.numCells;
    result.numCornersPerCell = metadata.numCornersPerSection[subzone.section()];
    result.numNodesPerCell = record.numCornersPerCell;
    // A grid order of 0 leaves a cell fewer nodes than its shape has corners.
    if (result.numCornersPerCell > result.numNodesPerCell)
        throwDamaged(zone, subzone, Items::Cells,
                     "its cells have " + std::to_string(result.numCornersPerCell) +
                         " corners and " + std::to_string(result.numNodesPerCell) + " nodes");
    std::size_t const numNodes = std::size_t{record.numCells} * record.numCornersPerCell;
    result.nodes.reserve(numNodes);
    for (std::size_t i = 0; i < numNodes; ++i) {
        std::uint16_t const reference = record.refNszOffsets[i];
        if (record.nszOffsets[i] >= sizes[reference])
            throwDamagedReference(zone, subzone, Items::Cells,
                                  "node " + std::to_string(record.nszOffsets[i]) +
                                      " of node subzone " + textOf(record.refNszs[reference]));
        isUsed[reference] = true;
        result.nodes.emplace_back(record.refNszs[reference], record.nszOffsets[i]);
    }
    for (std::uint32_t r = 0; r < record.numRefNszs; ++r)
        if (isUsed[r])
            result.referencedSubzones.push_back(record.refNszs[r]);
    auto& list = result.referencedSubzones;
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return result;
}

}

ConnectivityReader::ConnectivityReader() = default;

ConnectivityReader::~ConnectivityReader() = default;

hdqio::FileStreamReader& ConnectivityReader::open(DataFile const& file)
{
    if (m_file == nullptr || m_file->fileName() != file.path()) {
        m_file.reset();
        auto reader = std::make_unique<hdqio::FileStreamReader>(file.path());
        hdqfsloader::open(*reader, file.description());
        m_file = std::move(reader);
    }
    return *m_file;
}

SubzoneCells ConnectivityReader::read(DataSet::ZoneInFile const& zone,
                                      SubzoneAddress const& subzone)
{
    if (!hasCellSubzone(zone.file->zone(zone.zone), subzone))
        throwNoSuchSubzone(zone, subzone, Items::Cells);
    hdqio::PartitionMetadata const& header = zone.file->partition(zone.zone, subzone.partition());
    if (subzone.section() >= header.cszConnFileLocs.size())
        throwNoConnectivity(zone);
    std::uint64_t const fileLoc =
        locationIn(header.cszConnFileLocs[subzone.section()], subzone, zone);
    hdqio::FileStreamReader& file = open(*zone.file);
    CszConnectivity record;
    require("Cannot read the connectivity of " + nameOf(zone, subzone, Items::Cells), [&] {
        return file.seekToFileLoc(fileLoc) &&
               hdqio::readCszConnectivity(file, zone.file->description(),
                                          zone.file->zone(zone.zone), subzone.partition(),
                                          subzone.section(), subzone.subzoneOffset(), record);
    });
    return resolved(zone, subzone, record);
}

SubzoneCells const& ConnectivityReader::cells(DataSet::ZoneInFile const& zone,
                                              SubzoneAddress const& subzone)
{
    if (!m_kept.empty() && m_kept.front().isOf(zone, subzone))
        return m_kept.front().cells;
    auto const found = std::find_if(m_kept.begin(), m_kept.end(),
                                    [&](Kept const& kept) { return kept.isOf(zone, subzone); });
    if (found != m_kept.end()) {
        m_kept.splice(m_kept.begin(), m_kept, found);
        return m_kept.front().cells;
    }
    m_kept.push_front({zone, subzone, read(zone, subzone)});
    if (m_kept.size() > MAX_KEPT)
        m_kept.pop_back();
    return m_kept.front().cells;
}

std::vector<SubzoneAddress> ConnectivityReader::cellSubzones(DataSet::ZoneInFile const& zone,
                                                             SubzoneAddress const& subzone)
{
    if (numNodesOf(zone.file->zone(zone.zone), subzone) == 0)
        throwNoSuchSubzone(zone, subzone, Items::Nodes);
    hdqio::PartitionMetadata const& header = zone.file->partition(zone.zone, subzone.partition());
    std::uint64_t const fileLoc = locationIn(header.nszConnFileLocs, subzone, zone);
    std::uint32_t const number = subzone.subzoneOffset();
    std::uint16_t const numRefs =
        number < header.nszNumRefCszs.size() ? header.nszNumRefCszs[number] : std::uint16_t{0};
    hdqio::FileStreamReader& file = open(*zone.file);
    hdqio::ZoneMetadata const& metadata = zone.file->zone(zone.zone);
    NszConnectivity record;
    require("Cannot read the connectivity of " + nameOf(zone, subzone, Items::Nodes), [&] {
        return file.seekToFileLoc(fileLoc) &&
               hdqio::readNszConnectivity(file, zone.file->description(), metadata,
                                          subzone.partition(), number, header.refPartitions,
                                          numRefs, record);
    });
    std::vector<SubzoneAddress> result;
    for (std::uint32_t r = 0; r < record.numRefCszs; ++r) {
        if (!hasCellSubzone(metadata, record.refCszs[r]))
            throwDamagedReference(zone, subzone, Items::Nodes,
                                  "cell subzone " + textOf(record.refCszs[r]));
        result.push_back(record.refCszs[r]);
    }
    return result;
}

}
