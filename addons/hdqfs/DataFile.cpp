#include "addons/hdqfs/DataFile.h"

#include "addons/hdqfs/FileReading.h"

#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/PartitionHeader.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneHeader.h"
#include "filedata/ZoneTypes.h"
#include "varnox/ItemAddress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace varnox::hdqfsloader {

using hdqio::FileStreamReader;
using hdqio::IJKSubzoneInfo;
using hdqio::MinMax;
using hdqio::PartitionMetadata;
using hdqio::TagMap;
using hdqio::ZoneMetadata;

namespace {

bool readMinMaxes(FileStreamReader& reader, ValueType type, std::uint64_t count,
                  hdqio::LightweightVector<MinMax>& out, hdqio::IODescription const& description)
{
    switch (type) {
    case ValueType::Float:
        return hdqio::readMinMaxArray<float>(reader, 0, count, out, description);
    case ValueType::Double:
        return hdqio::readMinMaxArray<double>(reader, 0, count, out, description);
    case ValueType::Int32:
        return hdqio::readMinMaxArray<std::int32_t>(reader, 0, count, out, description);
    case ValueType::Int16:
        return hdqio::readMinMaxArray<std::int16_t>(reader, 0, count, out, description);
    default:
        return hdqio::readMinMaxArray<std::uint8_t>(reader, 0, count, out, description);
    }
}

/// Reads count ranges at a place of the file and appends them.
void appendRanges(FileStreamReader& reader, ValueType type, std::uint64_t count,
                  hdqio::IODescription const& description, std::vector<MinMax>& out)
{
    hdqio::LightweightVector<MinMax> ranges;
    require("Cannot read the ranges of a variable in " + reader.fileName(),
            [&] { return readMinMaxes(reader, type, count, ranges, description); });
    out.insert(out.end(), ranges.begin(), ranges.end());
}

SubzoneLayout bricksOf(IJKSubzoneInfo const& info)
{
    std::array<std::int64_t, 3> const sizes{info.dims.i, info.dims.j, info.dims.k};
    std::array<std::int64_t, 3> const limits{info.maxSubzoneDims.i, info.maxSubzoneDims.j,
                                             info.maxSubzoneDims.k};
    std::array<SubzoneLayout::Axis, 3> axes{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        axes[axis] = {static_cast<std::uint64_t>(sizes[axis]),
                      static_cast<std::uint16_t>(limits[axis]), info.subzoneOffset[axis],
                      info.numSubzones[axis]};
    return SubzoneLayout::ofBricks(axes);
}

}

SubzoneLayout layoutOf(ZoneMetadata const& zone, std::uint32_t partition, Items items)
{
    if (zone.isOrdered()) {
        auto const& info = zone.ijkPtnInfo[partition];
        return bricksOf(items == Items::Nodes ? info.nodes : info.cells);
    }
    std::vector<std::uint64_t> counts;
    if (items == Items::Nodes)
        counts.push_back(static_cast<std::uint64_t>(zone.numNodesPerPtn[partition]));
    else
        for (auto const& cells : zone.numCellsPerSecPtn)
            counts.push_back(static_cast<std::uint64_t>(cells[partition]));
    return SubzoneLayout::ofSections(std::move(counts));
}

MinMax joined(std::vector<MinMax> const& ranges)
{
    constexpr double INF = std::numeric_limits<double>::infinity();
    MinMax result{INF, -INF};
    for (MinMax const& range : ranges) {
        result.min = std::min(result.min, std::isnan(range.min) ? -INF : range.min);
        result.max = std::max(result.max, std::isnan(range.max) ? INF : range.max);
    }
    return result;
}

std::int64_t numCellsAlong(std::int64_t nodes)
{
    return std::max<std::int64_t>(nodes, 2) - 1;
}

std::uint64_t itemCount(std::int64_t a, std::int64_t b, std::int64_t c, std::string const& path)
{
    std::int64_t result = 0;
    if (a < 0 || b < 0 || c < 0 || __builtin_mul_overflow(a, b, &result) ||
        __builtin_mul_overflow(result, c, &result))
        throw std::runtime_error("A zone of " + path + " has an impossible size of " +
                                 std::to_string(a) + " x " + std::to_string(b) + " x " +
                                 std::to_string(c) + ".");
    return static_cast<std::uint64_t>(result);
}

namespace {

bool isSetLocation(std::uint64_t value)
{
    return value != 0 && value != hdqio::ABSENT_FILE_LOC;
}

}

DataFile::DataFile(std::string path) : m_path(std::move(path))
{
    readHeaders();
    checkHeaders();
    resolveConnectivitySharing();
}

void DataFile::readHeaders()
{
    FileStreamReader reader(m_path);
    open(reader, {});
    require("Cannot read the headers of " + m_path, [&] {
        std::uint64_t byteOrderIndicator = 0;
        std::uint64_t fileLoc = 0;
        int numVars = 0;
        int numZones = 0;
        if (!hdqio::readDataFileHeader(reader, m_description, byteOrderIndicator, fileLoc) ||
            !reader.seekToFileLoc(fileLoc) ||
            !hdqio::readDataSetHeaderTags(reader, m_description, m_tags) ||
            !hdqio::applyDataSetHeaderScalarTagValues(m_tags, numVars, numZones) ||
            !hasArrays(numZones, numVars) ||
            !hdqio::readDataSetHeader(reader, m_description, m_tags, m_title, m_headers,
                                      m_zoneHeaderFileLocs))
            return false;
        m_numVars = static_cast<std::uint32_t>(numVars);
        m_numZones = static_cast<std::uint32_t>(numZones);
        return true;
    });
}

/// Whether the tags lead to the arrays of zones and variables. Where one is missing, the file's first
/// bytes would be read for its array.
bool DataFile::hasArrays(int numZones, int numVars) const
{
    bool const hasSections =
        m_description.getFileVersion() >= hdqio::FIRST_VERSION_WITH_SECTIONS;
    auto const isNeeded = [&](int number) {
        if (number >= hdqio::VAR_ZONE_MIN_MAX_FILE_LOC_TAG)
            return numZones > 0 && numVars > 0;
        if (number >= hdqio::VAR_NAME_FILE_LOC_TAG)
            return numVars > 0;
        // Those of sections are read only if a zone has some.
        if (number > hdqio::ZONE_NUM_SECTIONS_FILE_LOC_TAG)
            return false;
        return number >= hdqio::ZONE_NAME_FILE_LOC_TAG && numZones > 0 &&
               (number != hdqio::ZONE_NUM_SECTIONS_FILE_LOC_TAG || hasSections);
    };
#define TAG(number, constant, name, presence)                                                      \
    if (isNeeded(number) && !isSetLocation(hdqio::valueOrZero(m_tags, number)))                       \
        return hdqio::errorMessage("Header tag " #number ", '" name "', leads nowhere.") != 0;
#include "filedata/DataSetHeaderTags.def"
    return true;
}

void DataFile::checkHeaders() const
{
    auto const isZone = [this](std::int32_t zone) {
        return zone >= -1 && zone < static_cast<std::int64_t>(m_numZones);
    };
    for (std::uint32_t z = 0; z < m_numZones; ++z) {
        auto const refuse = [&](char const* what, std::int32_t zone) {
            throw std::runtime_error(std::string(what) + zoneName(z) + " is zone " +
                                     std::to_string(std::int64_t{zone} + 1) +
                                     ", which doesn't exist.");
        };
        if (!isZone(m_headers.shareConnectivity[z]))
            refuse("The zone that shares its connectivity with ", m_headers.shareConnectivity[z]);
        if (!isZone(m_headers.parentZones[z]))
            refuse("The parent of ", m_headers.parentZones[z]);
        for (std::uint32_t v = 0; v < m_numVars; ++v) {
            if (!isZone(sharedFrom(z, v)))
                throw std::runtime_error("Variable " + std::to_string(v + 1) + " of " + zoneName(z) +
                                         " is shared from a zone that doesn't exist.");
            if (!isPassive(z, v) && !isValueType(m_headers.fieldDataTypes[v][z]))
                throw std::runtime_error("Variable " + std::to_string(v + 1) + " of " + zoneName(z) +
                                         " has the unknown data type " +
                                         std::to_string(m_headers.fieldDataTypes[v][z]) + ".");
        }
    }
}

/// Finds the zone that each zone's connectivity comes from. A zone may share from one that shares
/// itself.
void DataFile::resolveConnectivitySharing()
{
    constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;
    constexpr std::uint32_t ON_THE_WAY = 0xFFFFFFFE;
    m_connectivityOf.assign(m_numZones, UNKNOWN);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t zone = 0; zone < m_numZones; ++zone) {
        std::uint32_t at = zone;
        chain.clear();
        while (m_connectivityOf[at] == UNKNOWN) {
            chain.push_back(at);
            std::int32_t const shared = m_headers.shareConnectivity[at];
            m_connectivityOf[at] = shared == -1 ? at : ON_THE_WAY;
            if (shared != -1)
                at = static_cast<std::uint32_t>(shared);
        }
        if (m_connectivityOf[at] == ON_THE_WAY)
            throw std::runtime_error("The connectivity of " + zoneName(zone) +
                                     " is shared in a ring of zones.");
        for (std::uint32_t const link : chain)
            m_connectivityOf[link] = m_connectivityOf[at];
    }
}

std::string DataFile::zoneName(std::uint32_t zone) const
{
    return "zone " + std::to_string(zone + 1) + " of " + m_path;
}

bool DataFile::isNodal(std::uint32_t zone, std::uint32_t var) const
{
    return m_headers.valueLocations[var][zone] != 0;
}

bool DataFile::isPassive(std::uint32_t zone, std::uint32_t var) const
{
    return m_headers.passive[var][zone] != 0;
}

std::int32_t DataFile::sharedFrom(std::uint32_t zone, std::uint32_t var) const
{
    return m_headers.shareVar[var][zone];
}

ValueType DataFile::valueType(std::uint32_t zone, std::uint32_t var) const
{
    return static_cast<ValueType>(m_headers.fieldDataTypes[var][zone]);
}

ZoneMetadata const& DataFile::zone(std::uint32_t zone)
{
    auto const found = m_zones.find(zone);
    if (found != m_zones.end())
        return found->second;
    ZoneMetadata result;
    FileStreamReader reader(m_path);
    open(reader, m_description);
    auto const index = static_cast<int>(zone);
    require("Cannot read the header of " + zoneName(zone), [&] {
        if (!m_headerBudget.requireMore(m_path))
            return false;
        hdqio::storeZoneMetadata(m_headers, index, 0, result);
        result.wantsNodeTable = false;
        bool const isRead =
            reader.seekToFileLoc(m_zoneHeaderFileLocs[zone]) &&
            hdqio::readZoneHeaders(reader, m_description, 0, index, 0, static_cast<int>(m_numVars),
                                   m_headers.zoneMinMaxes, m_headers.fieldDataTypes, result);
        // A header that can't be read costs its time, too, and may be asked for again.
        bool const isNew = isRead || m_damagedZones.insert(zone).second;
        return (!isNew || m_headerBudget.take(reader, hdqio::bytesInFile(result))) && isRead;
    });
    result.varMinMaxTrees.dealloc(); // of one entry each, which the headers of the data set have
    for (std::size_t p = 0; !result.ptnFileNums.isNull() && p < result.numPartitions; ++p)
        if (result.ptnFileNums[p] != 0)
            throw std::runtime_error("Partitions of " + zoneName(zone) +
                                     " lie in other files, which is not supported.");
    using Address = ItemAddress<long>;
    if (result.isHdqZone && (result.numSections > Address::MAX_SECTION + 1 ||
                             result.numPartitions > Address::MAX_PARTITION + 1))
        throw std::runtime_error("There are " + std::to_string(result.numSections) +
                                 " sections and " + std::to_string(result.numPartitions) +
                                 " partitions in " + zoneName(zone) +
                                 "; subzones have addresses in up to 16 and 8388608 of them.");
    return m_zones.emplace(zone, std::move(result)).first->second;
}

FileStreamReader& DataFile::opened(std::optional<FileStreamReader>& reader) const
{
    if (reader)
        return *reader;
    reader.emplace(m_path);
    try {
        open(*reader, m_description);
    } catch (std::exception const&) {
        reader.reset();
        throw;
    }
    return *reader;
}

PartitionMetadata const& DataFile::partition(std::uint32_t zoneIndex, std::uint32_t partition)
{
    zone(zoneIndex);
    ZoneMetadata& metadata = m_zones.at(zoneIndex);
    if (partition >= metadata.ptnMetadata.size())
        throw std::out_of_range("There is no partition " + std::to_string(partition) + " in " +
                                zoneName(zoneIndex) + ".");
    PartitionMetadata& result = metadata.ptnMetadata[partition];
    // That of a zone of one partition came with its header.
    if (metadata.numPartitions == 1 || m_readPartitions.contains({zoneIndex, partition}))
        return result;
    std::optional<FileStreamReader> own;
    FileStreamReader& reader = opened(m_isKeptOpen ? m_kept : own);
    require("Cannot read the header of partition " + std::to_string(partition + 1) + " of " +
                zoneName(zoneIndex),
            [&] {
                PartitionMetadata header;
                if (!m_headerBudget.requireMore(m_path) ||
                    !reader.seekToFileLoc(metadata.ptnFileLocs[partition]) ||
                    !hdqio::readPartitionHeader(reader, m_description, static_cast<int>(zoneIndex),
                                                0, static_cast<int>(m_numVars), partition, metadata,
                                                m_headers.fieldDataTypes, header) ||
                    !m_headerBudget.take(reader, hdqio::bytesInFile(header)))
                    return false;
                result = std::move(header);
                return true;
            });
    m_readPartitions.emplace(zoneIndex, partition);
    return result;
}

SubzoneLayout const& DataFile::layout(std::uint32_t zoneIndex, std::uint32_t partition, Items items)
{
    auto const key = std::make_tuple(zoneIndex, partition, items);
    auto const found = m_layouts.find(key);
    if (found != m_layouts.end())
        return found->second;
    ZoneMetadata const& metadata = zone(zoneIndex);
    if (!metadata.isHdqZone || partition >= metadata.numPartitions)
        throw std::out_of_range("There is no partition " + std::to_string(partition) + " in " +
                                zoneName(zoneIndex) + ".");
    return m_layouts.emplace(key, layoutOf(metadata, partition, items)).first->second;
}

/// A variable's location may be unset.
void DataFile::requireValues(std::uint64_t location, std::uint32_t zone, std::uint32_t var) const
{
    if (!isSetLocation(location))
        throw std::runtime_error("Variable " + std::to_string(var + 1) + " has no values in " +
                                 zoneName(zone) + ".");
}

ValueArray DataFile::values(std::uint32_t zoneIndex, std::uint32_t var, std::uint32_t partitionIndex)
{
    PartitionMetadata const& header = partition(zoneIndex, partitionIndex);
    requireValues(header.varFileLocs[var], zoneIndex, var);
    Items const items = isNodal(zoneIndex, var) ? Items::Nodes : Items::Cells;
    return {&m_path,
            header.varDataFileLocs[var],
            layout(zoneIndex, partitionIndex, items).numItems(),
            var,
            valueType(zoneIndex, var),
            m_description.isAscii() != 0};
}

std::uint64_t DataFile::numValues(std::uint32_t zone, std::uint32_t var) const
{
    auto const i = static_cast<std::int64_t>(m_headers.iMaxOrNumNodes[zone]);
    auto const j = static_cast<std::int64_t>(m_headers.jMaxOrNumCells[zone]);
    auto const k = static_cast<std::int64_t>(m_headers.kMaxOrNumFaces[zone]);
    bool const isOrdered =
        hdqio::zoneTypeFromFileChar(m_headers.zoneTypes[zone]) == ZoneType_Ordered;
    if (isOrdered && isNodal(zone, var))
        return itemCount(i, j, k, m_path);
    if (isOrdered)
        return itemCount(numCellsAlong(i), numCellsAlong(j), numCellsAlong(k), m_path);
    return itemCount(isNodal(zone, var) ? i : j, 1, 1, m_path);
}

ValueArray DataFile::plainValues(std::uint32_t zoneIndex, std::uint32_t var)
{
    requireValues(zone(zoneIndex).classicVarFileLocs[var], zoneIndex, var);
    return {&m_path,
            zone(zoneIndex).classicVarFileLocs[var],
            numValues(zoneIndex, var),
            var,
            valueType(zoneIndex, var),
            m_description.isAscii() != 0};
}

ValueArray DataFile::nodeMap(std::uint32_t zoneIndex)
{
    ZoneMetadata const& metadata = zone(zoneIndex);
    bool const hasCells = metadata.numSections == 0 || !metadata.numElemsPerSection.isNull();
    if (metadata.nodeMapFileLoc < 0 || !hasCells) // an ordered zone may name a place for one
        throw std::runtime_error("There is no node map in " + zoneName(zoneIndex) + ".");
    std::uint64_t numNodes = 0;
    for (std::uint32_t s = 0; s < metadata.numSections; ++s)
        if (__builtin_add_overflow(numNodes,
                                   itemCount(metadata.numElemsPerSection[s],
                                             metadata.numNodesPerCellPerSection[s], 1, m_path),
                                   &numNodes))
            throw std::runtime_error("The node map of " + zoneName(zoneIndex) +
                                     " has an impossible size.");
    return {&m_path,   static_cast<std::uint64_t>(metadata.nodeMapFileLoc),
            numNodes,  zoneIndex,
            ValueType::UInt32, m_description.isAscii() != 0,
            true};
}

std::vector<MinMax> DataFile::partitionRanges(std::uint32_t zoneIndex, std::uint32_t var)
{
    ZoneMetadata const& metadata = zone(zoneIndex);
    if (metadata.numPartitions < 2 && m_description.isAscii() == 0)
        return {m_headers.zoneMinMaxes[var][zoneIndex]};
    // In text the range of the zone is rounded to other digits than the values, and may not hold them.
    if (metadata.numPartitions < 2)
        return {joined(subzoneRanges(zoneIndex, var, 0,
                                     isNodal(zoneIndex, var) ? Items::Nodes : Items::Cells))};
    std::vector<MinMax> result;
    FileStreamReader reader(m_path);
    open(reader, m_description);
    require("Cannot find the partition ranges of " + zoneName(zoneIndex),
            [&] { return reader.seekToFileLoc(metadata.varPtnMinMaxFileLocs[var]); });
    appendRanges(reader, valueType(zoneIndex, var), metadata.numPartitions,
                 {"partitionMinMaxes", static_cast<std::int32_t>(var)}, result);
    return result;
}

std::vector<MinMax> DataFile::subzoneRanges(std::uint32_t zoneIndex, std::uint32_t var,
                                            std::uint32_t partitionIndex, Items items)
{
    PartitionMetadata const& header = partition(zoneIndex, partitionIndex);
    requireValues(header.varFileLocs[var], zoneIndex, var);
    SubzoneLayout const& subzones = layout(zoneIndex, partitionIndex, items);
    bool const isNodes = items == Items::Nodes;
    std::uint64_t const fileLoc =
        isNodes ? header.varFileLocs[var] : header.varCszMinMaxFileLocs[var];
    std::vector<MinMax> result;
    FileStreamReader reader(m_path);
    open(reader, m_description);
    require("Cannot find the subzone ranges of " + zoneName(zoneIndex),
            [&] { return reader.seekToFileLoc(fileLoc); });
    for (std::uint32_t s = 0; s < subzones.numSections(); ++s)
        if (subzones.numSubzones(s) != 0)
            appendRanges(reader, valueType(zoneIndex, var), subzones.numSubzones(s),
                         {isNodes ? "nszMinMaxes" : "cszMinMaxes", static_cast<std::int32_t>(var)},
                         result);
    return result;
}

}
