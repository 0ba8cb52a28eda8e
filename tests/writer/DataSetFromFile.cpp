#include "tests/writer/DataSetFromFile.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "addons/hdqfs/BoxReader.h"
#include "addons/hdqfs/ConnectivityReader.h"
#include "addons/hdqfs/DescriptorCache.h"
#include "filedata/ZoneTypes.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

namespace varnox::hdqfswriter::tests {

namespace {

using hdqfsloader::DataFile;
using hdqfsloader::Items;
using hdqfsloader::SubzoneLayout;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

class FileSource final : public ZoneSource
{
public:
    FileSource(std::shared_ptr<DataFile> file, std::shared_ptr<DataFile> grid,
               std::optional<std::array<std::uint32_t, 3>> const& coordinates, std::uint32_t zone)
        : m_file(std::move(file)), m_grid(std::move(grid)), m_coordinates(coordinates), m_zone(zone)
    {
    }

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        auto const array = m_file->zone(m_zone).isHdqZone
                               ? m_file->values(m_zone, variable, partition)
                               : m_file->plainValues(m_zone, variable);
        m_reader.readNative(array, 0, array.numValues, buffer);
        return buffer;
    }

    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        hdqio::ZoneMetadata const& zone = m_file->zone(m_zone);
        auto* const out = static_cast<unsigned char*>(buffer);
        Items const items = m_file->isNodal(m_zone, variable) ? Items::Nodes : Items::Cells;
        if (!zone.isHdqZone) {
            auto const array = m_file->plainValues(m_zone, variable);
            m_reader.readNative(array, 0, array.numValues, buffer);
            return buffer;
        }
        for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
            auto const array = m_file->values(m_zone, variable, p);
            hdqio::IJK const& origin = zone.ptnMinIJK[p];
            hdqfsloader::BoxReader reader(m_reader, array, m_file->layout(m_zone, p, items),
                                          {static_cast<std::uint64_t>(origin.i),
                                           static_cast<std::uint64_t>(origin.j),
                                           static_cast<std::uint64_t>(origin.k)});
            reader.read({box.begin, box.end}, out);
        }
        return buffer;
    }

    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override
    {
        DataFile& grid = *m_grid;
        if (!grid.zone(m_zone).isHdqZone) {
            readNodeMap(section, buffer);
            return buffer;
        }
        std::uint32_t const zone = grid.connectivityOf(m_zone);
        SubzoneLayout const& layout = grid.layout(zone, partition, Items::Cells);
        std::uint64_t* next = buffer;
        for (std::uint32_t n = 0; n < layout.numSubzones(section); ++n) {
            auto const& cells = m_connectivity.cells({&grid, zone}, {partition, section, n});
            for (ItemAddress<long> const& node : cells.nodes)
                *next++ = numberOf(node);
        }
        return buffer;
    }

    double const* positions(std::uint32_t partition, double* buffer) override
    {
        if (!m_coordinates)
            return nullptr;
        std::vector<double> along;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            auto const array = m_grid->values(m_zone, (*m_coordinates)[axis], partition);
            along.resize(static_cast<std::size_t>(array.numValues));
            m_reader.readDoubles(array, 0, array.numValues, along.data());
            for (std::size_t i = 0; i < along.size(); ++i)
                buffer[3 * i + axis] = along[i];
        }
        return buffer;
    }

    std::vector<std::int32_t> faceNeighbors() override
    {
        if (!hdqfsloader::zonesWithFaceNeighbors(*m_file)[m_zone])
            return {};
        return hdqfsloader::readFaceNeighbors(*m_file, m_zone);
    }

private:
    std::uint64_t numberOf(ItemAddress<long> const& node)
    {
        SubzoneAddress const subzone(node.word());
        auto const first = m_grid->zone(m_zone).firstNodePerPtn[subzone.partition()];
        return static_cast<std::uint64_t>(first) + std::uint64_t{subzone.subzoneOffset()} * 256 +
               node.itemOffset();
    }

    void readNodeMap(std::uint32_t section, std::uint64_t* buffer)
    {
        std::uint32_t const from = m_grid->connectivityOf(m_zone);
        hdqio::ZoneMetadata const& zone = m_grid->zone(from);
        auto const nodesIn = [&](std::uint32_t s) {
            return static_cast<std::uint64_t>(zone.numElemsPerSection[s]) *
                   zone.numNodesPerCellPerSection[s];
        };
        std::uint64_t first = 0;
        for (std::uint32_t s = 0; s < section; ++s)
            first += nodesIn(s);
        std::vector<std::uint32_t> map(static_cast<std::size_t>(nodesIn(section)));
        m_reader.readNative(m_grid->nodeMap(from), first, map.size(), map.data());
        bool const isAscii = m_grid->description().isAscii() != 0;
        for (std::uint32_t const node : map)
            *buffer++ = isAscii ? node - 1 : node;
    }

    std::shared_ptr<DataFile> m_file;
    std::shared_ptr<DataFile> m_grid;
    std::optional<std::array<std::uint32_t, 3>> m_coordinates;
    std::uint32_t m_zone;
    hdqfsloader::DescriptorCache m_descriptors;
    hdqfsloader::ValueReader m_reader{m_descriptors};
    hdqfsloader::ConnectivityReader m_connectivity;
};

Box boxOf(hdqio::IJK const& low, hdqio::IJK const& high)
{
    auto const number = [](std::int64_t n) { return static_cast<std::uint64_t>(n); };
    return {{number(low.i), number(low.j), number(low.k)},
            {number(high.i + 1), number(high.j + 1), number(high.k + 1)}};
}

std::vector<Partition> partitionsOf(DataFile& file, hdqio::ZoneMetadata const& zone,
                                    std::uint32_t z)
{
    std::vector<Partition> result;
    auto const number = [](std::int64_t n) { return static_cast<std::uint64_t>(n); };
    if (zone.isOrdered()) {
        for (std::uint32_t p = 0; zone.numPartitions > 1 && p < zone.numPartitions; ++p)
            result.push_back({boxOf(zone.ptnMinIJK[p], zone.ptnMaxIJK[p]), 0, {}});
    } else if (zone.isHdqZone) {
        for (std::uint32_t p = 0; p < zone.numPartitions; ++p) {
            result.push_back({{}, number(zone.numNodesPerPtn[p]), {}});
            for (auto const& cells : zone.numCellsPerSecPtn)
                result.back().numCells.push_back(number(cells[p]));
        }
    } else {
        result.push_back({{}, number(zone.ijk.i), {}});
        for (std::uint32_t s = 0; s < zone.numSections; ++s)
            result.back().numCells.push_back(zone.numElemsPerSection.isNull()
                                                 ? file.headers().jMaxOrNumCells[z]
                                                 : number(zone.numElemsPerSection[s]));
    }
    return result;
}

Zone zoneOf(DataFile& file, std::uint32_t z)
{
    hdqio::ZoneMetadata const& zone = file.zone(z);
    hdqio::ZoneVarMetadata const& headers = file.headers();
    Zone result;
    result.name = zone.zoneName;
    result.type = static_cast<ZoneType>(zone.zoneType);
    result.isInSubzones = zone.isHdqZone != 0;
    if (zone.isOrdered())
        result.size = {headers.iMaxOrNumNodes[z], headers.jMaxOrNumCells[z],
                       headers.kMaxOrNumFaces[z]};
    else
        result.numFaces = headers.kMaxOrNumFaces[z];
    for (std::uint32_t s = 0; zone.isMixed() && s < zone.numSections; ++s)
        result.sections.push_back({static_cast<CellShape>(zone.cellShapePerSection[s]),
                                   zone.gridOrderPerSection[s], zone.basisFuncPerSection[s]});
    result.partitions = partitionsOf(file, zone, z);
    for (std::uint32_t v = 0; v < file.numVars(); ++v)
        result.variables.push_back(
            {static_cast<ValueType>(headers.fieldDataTypes[v][z]),
             file.isNodal(z, v) ? ValueLocation::Nodes : ValueLocation::Cells, file.isPassive(z, v),
             file.sharedFrom(z, v)});
    result.solutionTime = headers.solutionTimes[z];
    result.strandID = headers.strandIDs[z];
    result.parentZone = headers.parentZones[z];
    result.connectivityFrom = headers.shareConnectivity[z];
    result.faceNeighborMode = headers.faceNbrModes[z];
    return result;
}

Text textOf(hdqio::Text const& text)
{
    Text result;
#define VALUE(type, name) result.name = text.name;
#define STRING(name) result.name = text.name;
#include "filedata/TextFields.def"
    return result;
}

Geometry geometryOf(hdqio::Geom const& geom)
{
    Geometry result;
#define VALUE(type, name) result.name = geom.name;
#define STRING(name) result.name = geom.name;
#include "filedata/GeomFields.def"
    if (geom.geomType == Geometry::LINE_SEGMENTS) {
        for (auto const& segment : geom.segments) {
            result.segments.emplace_back();
            for (hdqio::XYZ const& point : segment)
                result.segments.back().push_back({point.x, point.y, point.z});
        }
    } else if (!geom.segments.empty()) {
        result.size[0] = geom.segments[0][0].x;
        result.size[1] = geom.segments[0][0].y;
    }
    return result;
}

void takeAnnotations(DataFile const& file, DataSet& result)
{
    hdqfsloader::FileAnnotations const annotations = hdqfsloader::readAnnotations(file);
    if (!annotations.complaints.empty())
        throw std::runtime_error(annotations.complaints.front());
    for (auto const& aux : annotations.auxData)
        result.auxiliaryData.push_back({aux.auxDataLocation, aux.auxDataEntity, aux.auxDataName,
                                        aux.auxDataType, aux.auxDataValue});
    for (auto const& geom : annotations.geometries)
        result.geometries.push_back(geometryOf(geom));
    for (auto const& text : annotations.texts)
        result.texts.push_back(textOf(text));
    for (auto const& labels : annotations.labelSets)
        result.customLabelSets.emplace_back(labels.begin(), labels.end());
}

}

DataSet dataSetFromFile(std::shared_ptr<DataFile> const& file,
                        std::shared_ptr<DataFile> const& grid,
                        std::optional<std::array<std::uint32_t, 3>> const& coordinates)
{
    DataSet result;
    result.title = file->title();
    for (auto const& name : file->headers().varNames)
        result.variableNames.push_back(name);
    for (std::uint32_t z = 0; z < file->numZones(); ++z) {
        result.zones.push_back(zoneOf(*file, z));
        result.zones.back().source =
            std::make_shared<FileSource>(file, grid == nullptr ? file : grid, coordinates, z);
    }
    takeAnnotations(*file, result);
    return result;
}

}
