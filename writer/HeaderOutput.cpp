#include "writer/HeaderOutput.h"

#include "filedata/DataSetHeader.h"
#include "filedata/FileDescription.h"
#include "filedata/ValueFormats.h"
#include "filedata/ZoneTypes.h"
#include "writer/GroupOutput.h"
#include "writer/SubzoneRanges.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <cctype>
#include <functional>

namespace varnox::hdqfswriter {

namespace {

using Tag = BlockWriter::Tag;

/// Readers take a finite-element subzone to have as many items, whatever stands here.
constexpr std::uint64_t FINITE_ELEMENT_SUBZONE = 256;

char letterOf(FileType type)
{
    switch (type) {
    case FileType::Full:
        return 'F';
    case FileType::Grid:
        return 'G';
    case FileType::Solution:
        return 'S';
    }
    return 'F';
}

char letterOf(Zone const& zone)
{
    char const letter = hdqio::fileCharOfZoneType(static_cast<ZoneType_e>(zone.type));
    return zone.isInSubzones ? static_cast<char>(std::toupper(letter)) : letter;
}

/// Ranges of a file with a wide type are wide for all its variables.
bool hasWideRanges(FilePlan const& plan)
{
    for (Zone const& zone : plan.dataSet.zones)
        for (ZoneVariable const& variable : zone.variables)
            if (variable.type == ValueType::Double || variable.type == ValueType::Int32)
                return true;
    return false;
}

class Tables
{
public:
    Tables(FilePlan const& plan, BlockWriter& blocks, std::vector<ZoneRecord> const& records)
        : m_plan(plan), m_blocks(blocks), m_records(records)
    {
    }

    std::vector<Tag> write()
    {
        scalars();
        names();
        zones();
        if (m_plan.version >= hdqio::FIRST_VERSION_WITH_SECTIONS)
            sections();
        variables();
        return m_tags;
    }

private:
    void add(std::uint16_t tag, std::uint64_t value) { m_tags.push_back({tag, value}); }

    std::size_t numZones() const { return m_plan.dataSet.zones.size(); }

    void scalars()
    {
        auto const& limit = m_plan.options.subzoneSize;
        add(hdqio::NUM_ZONES_TAG, numZones());
        add(hdqio::NUM_VARS_TAG, m_plan.variables.size());
        add(hdqio::SUBZONE_MAX_I_SIZE_TAG, limit[0]);
        add(hdqio::SUBZONE_MAX_J_SIZE_TAG, limit[1]);
        add(hdqio::SUBZONE_MAX_K_SIZE_TAG, limit[2]);
        add(hdqio::SUBZONE_MAX_FE_SIZE_TAG, FINITE_ELEMENT_SUBZONE);
    }

    void names()
    {
        std::string const& title = m_plan.dataSet.title;
        add(hdqio::DATA_SET_TITLE_TAG,
            m_blocks.value({"dataSetTitleLength"}, static_cast<std::uint32_t>(title.size())));
        if (!title.empty())
            m_blocks.string({"dataSetTitle"}, title);
        std::vector<std::string> ofVariables;
        for (std::uint32_t const variable : m_plan.variables)
            ofVariables.push_back(m_plan.dataSet.variableNames[variable]);
        std::vector<std::string> ofZones;
        for (Zone const& zone : m_plan.dataSet.zones)
            ofZones.push_back(zone.name);
        add(hdqio::VAR_NAME_FILE_LOC_TAG, m_blocks.strings({"varNamesArray"}, ofVariables));
        add(hdqio::ZONE_NAME_FILE_LOC_TAG, m_blocks.strings({"zoneNamesArray"}, ofZones));
    }

    /// One value for each zone.
    template <typename T, bool hex = false, typename F>
    void zoneArray(std::uint16_t tag, char const* name, F const& valueOf)
    {
        std::vector<T> values;
        for (std::size_t z = 0; z < numZones(); ++z)
            values.push_back(static_cast<T>(valueOf(z)));
        add(tag, m_blocks.array<T, hex>({name}, values));
    }

    void zones()
    {
        auto const zone = [this](std::size_t z) -> Zone const& { return m_plan.zone(z); };
        zoneArray<char>(hdqio::ZONE_TYPE_FILE_LOC_TAG, "zoneTypesArray",
                        [&](std::size_t z) { return letterOf(zone(z)); });
        zoneArray<std::uint64_t, true>(hdqio::ZONE_HEADER_FILE_LOC_TAG, "zoneHeaderFileLocsArray",
                                       [&](std::size_t z) { return m_records[z].headerFileLoc; });
        zoneArray<std::uint8_t>(hdqio::ZONE_FACE_NEIGHBOR_MODE_FILE_LOC_TAG,
                                "zoneFaceNbrModesArray",
                                [&](std::size_t z) { return zone(z).faceNeighborMode; });
        zoneArray<double>(hdqio::ZONE_SOLUTION_TIME_FILE_LOC_TAG, "zoneSolutionTimesArray",
                          [&](std::size_t z) { return zone(z).solutionTime; });
        zoneArray<std::uint32_t>(hdqio::ZONE_STRAND_ID_FILE_LOC_TAG, "zoneStrandIDsArray",
                                 [&](std::size_t z) { return zone(z).strandID; });
        zoneArray<std::int32_t>(hdqio::ZONE_PARENT_ZONE_FILE_LOC_TAG, "zoneParentZonesArray",
                                [&](std::size_t z) { return zone(z).parentZone; });
        zoneArray<std::uint64_t>(hdqio::ZONE_IMAX_OR_NUM_NODES_FILE_LOC_TAG,
                                 "zoneIMaxOrNumNodesArray", [&](std::size_t z) {
                                     return isOrdered(zone(z)) ? zone(z).size[0]
                                                               : numNodes(zone(z));
                                 });
        zoneArray<std::uint64_t>(hdqio::ZONE_JMAX_OR_NUM_CELLS_FILE_LOC_TAG,
                                 "zoneJMaxOrNumCellsArray", [&](std::size_t z) {
                                     return isOrdered(zone(z)) ? zone(z).size[1]
                                                               : numCells(zone(z));
                                 });
        zoneArray<std::uint64_t>(
            hdqio::ZONE_KMAX_OR_NUM_CORNERS_FILE_LOC_TAG, "zoneKMaxOrNumFacesArray",
            [&](std::size_t z) { return isOrdered(zone(z)) ? zone(z).size[2] : zone(z).numFaces; });
        zoneArray<std::int32_t>(hdqio::ZONE_SHARE_CONNECTIVITY_FILE_LOC_TAG,
                                "zoneShareConnectivityArray",
                                [&](std::size_t z) { return zone(z).connectivityFrom; });
    }

    /// One array for each mixed zone, all of them behind each other.
    template <typename T, typename F>
    void sectionArrays(std::uint16_t tag, char const* name, F const& valueOf)
    {
        add(tag, m_blocks.loc());
        for (Zone const& zone : m_plan.dataSet.zones) {
            std::vector<T> values;
            for (std::size_t s = 0; s < zone.sections.size(); ++s)
                values.push_back(static_cast<T>(valueOf(zone, s)));
            m_blocks.array<T>({name}, values);
        }
    }

    void sections()
    {
        zoneArray<std::uint8_t>(hdqio::ZONE_NUM_SECTIONS_FILE_LOC_TAG, "zoneNumSectionsArray",
                                [&](std::size_t z) { return m_plan.zone(z).sections.size(); });
        auto const numElems = [](Zone const& zone, std::size_t s) {
            std::uint64_t result = 0;
            for (Partition const& partition : zone.partitions)
                result += partition.numCells[s];
            return result;
        };
        constexpr char const* NAME = "zoneNumElemsPerSecArray";
        if (m_plan.version >= hdqio::FIRST_VERSION_WITH_64_BIT_COUNTS)
            sectionArrays<std::int64_t>(hdqio::ZONE_NUM_ELEMS_PER_SEC_FILE_LOC_TAG, NAME, numElems);
        else
            sectionArrays<std::uint32_t>(hdqio::ZONE_NUM_ELEMS_PER_SEC_FILE_LOC_TAG, NAME,
                                         numElems);
        sectionArrays<std::uint8_t>(
            hdqio::ZONE_CELL_SHAPE_PER_SEC_FILE_LOC_TAG, "zoneCellShapePerSecArray",
            [](Zone const& zone, std::size_t s) { return zone.sections[s].shape; });
        sectionArrays<std::uint8_t>(
            hdqio::ZONE_GRID_ORDER_PER_SEC_FILE_LOC_TAG, "zoneGridOrderPerSecArray",
            [](Zone const& zone, std::size_t s) { return zone.sections[s].gridOrder; });
        sectionArrays<std::uint8_t>(
            hdqio::ZONE_BASIS_FUNC_PER_SEC_FILE_LOC_TAG, "zoneCellBasisFuncPerSecArray",
            [](Zone const& zone, std::size_t s) { return zone.sections[s].basisFunction; });
    }

    /// One array for each variable, of one value for each zone.
    template <typename T, typename F>
    void variableArrays(std::uint16_t tag, char const* name, F const& valueOf)
    {
        add(tag, m_blocks.loc());
        for (std::size_t v = 0; v < m_plan.variables.size(); ++v) {
            std::vector<T> values;
            for (std::size_t z = 0; z < numZones(); ++z)
                values.push_back(static_cast<T>(valueOf(m_plan.variable(z, v))));
            m_blocks.array<T>({name, static_cast<std::int32_t>(v)}, values);
        }
    }

    void variables()
    {
        variableArrays<std::uint8_t>(hdqio::VAR_ZONE_FIELD_DATA_TYPE_FILE_LOC_TAG, "fieldDataTypes",
                                     [](ZoneVariable const& variable) { return variable.type; });
        if (hasWideRanges(m_plan))
            ranges<double>();
        else
            ranges<float>();
        variableArrays<std::uint8_t>(
            hdqio::VAR_ZONE_VALUE_LOCATION_FILE_LOC_TAG, "valueLocations",
            [](ZoneVariable const& variable) { return variable.location; });
        variableArrays<std::uint8_t>(
            hdqio::VAR_ZONE_IS_PASSIVE_FILE_LOC_TAG, "passiveVar",
            [](ZoneVariable const& variable) { return variable.isPassive; });
        variableArrays<std::int32_t>(
            hdqio::VAR_ZONE_SHARE_FILE_LOC_TAG, "shareVar",
            [](ZoneVariable const& variable) { return variable.sharedFrom; });
    }

    template <typename T>
    void ranges()
    {
        add(hdqio::VAR_ZONE_MIN_MAX_FILE_LOC_TAG, m_blocks.loc());
        for (std::size_t v = 0; v < m_plan.variables.size(); ++v) {
            std::vector<Range<T>> values;
            for (ZoneRecord const& record : m_records)
                values.push_back(
                    {static_cast<T>(record.ranges[v].min), static_cast<T>(record.ranges[v].max)});
            m_blocks.array<Range<T>>({"zoneMinMaxes", static_cast<std::int32_t>(v)}, values);
        }
    }

    FilePlan const& m_plan;
    BlockWriter& m_blocks;
    std::vector<ZoneRecord> const& m_records;
    std::vector<Tag> m_tags;
};

}

std::uint64_t writeFileStart(FilePlan const& plan, BlockWriter& blocks)
{
    std::string line = "#!HDQFS " + std::to_string(plan.version);
    line += plan.options.isText ? 'T' : 'B';
    if (plan.version >= hdqio::FIRST_VERSION_WITH_FILE_TYPE)
        line += letterOf(plan.options.fileType);
    line += '\n';
    blocks.raw(line.data(), line.size());
    blocks.hexValue({"fileByteOrderIndicator"}, 1);
    std::uint64_t const start = blocks.hexValue({"dataSetHeaderFileLoc"}, 0);
    return blocks.isAscii() ? start + hdqio::ASCII_DESCRIPTION_SIZE : start;
}

std::uint64_t writeDataSetHeader(FilePlan const& plan, BlockWriter& blocks,
                                 std::vector<ZoneRecord> const& records)
{
    std::vector<Tag> tags = Tables(plan, blocks, records).write();
    std::vector<Tag> const groups = writeGroups(plan, blocks);
    tags.insert(tags.end(), groups.begin(), groups.end());
    std::sort(tags.begin(), tags.end(),
              [](Tag const& a, Tag const& b) { return a.number < b.number; });
    std::uint64_t const start = blocks.loc();
    blocks.tagList(tags);
    return start;
}

}
