#include "tools/vnxinfo/VarCheck.h"

#include "addons/hdqfs/DataFile.h"
#include "filedata/ValueFormats.h"
#include "filedata/ValueInput.h"
#include "tools/support/Output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

namespace varnox::tools {

using hdqfsloader::Items;
using hdqfsloader::SubzoneLayout;
using hdqfsloader::ValueType;
using hdqio::IODescription;
using hdqio::MinMax;
using hdqio::ZoneMetadata;

namespace {

constexpr std::uint64_t VALUES_IN_A_PART = 4096;
/// Half a unit of the last digit that text has of a float, and its rounding to the float.
constexpr double TEXT_TOLERANCE = 2e-7;

/// Reads values in parts. Only the first part has a description.
template <typename T>
bool readValuesOf(CheckedFile& file, std::uint64_t count, IODescription& description,
                  std::function<void(double)> const& f)
{
    std::array<T, VALUES_IN_A_PART> values;
    while (count > 0) {
        std::uint64_t const part = std::min<std::uint64_t>(count, values.size());
        if (!hdqio::readValues<T, false, 0>(file.reader, part, values.data(), description))
            return false;
        description = {};
        for (std::uint64_t i = 0; i < part; ++i)
            f(static_cast<double>(values[i]));
        count -= part;
    }
    return true;
}

/// The same, with a complaint that doesn't depend on the part.
void readAllValues(CheckedFile& file, std::uint8_t type, std::uint64_t count,
                   IODescription& description, std::function<void(double)> const& f)
{
    if (!withType(type, [&](auto value) {
            return readValuesOf<decltype(value)>(file, count, description, f);
        }))
        throw std::runtime_error("The file ends inside the values, or one can't be read.");
}

/// In text a block is found by the width of its numbers.
void requireLoc(CheckedFile& file, std::uint64_t expected, char const* what)
{
    if (file.reader.fileLoc() != expected)
        throw std::runtime_error(std::string("The ") + what + " end at " +
                                 std::to_string(file.reader.fileLoc()) + ", not at " +
                                 std::to_string(expected) + ".");
}

/// A zone's range in text is rounded to other digits than its values.
bool isSameInText(CheckedFile const& file, std::uint8_t type, MinMax const& a, MinMax const& b)
{
    if (!file.isAscii() || type != FieldDataType_Float)
        return false;
    auto const isNear = [](double x, double y) {
        return std::abs(x - y) <= TEXT_TOLERANCE * std::max(std::abs(x), std::abs(y));
    };
    return isNear(a.min, b.min) && isNear(a.max, b.max);
}

void checkZoneRange(CheckedFile& file, std::uint32_t z, std::uint32_t v, GrowingRange const& real,
                    bool hasValues)
{
    std::uint8_t const type = file.headers.fieldDataTypes[v][z];
    MinMax const& told = file.headers.zoneMinMaxes[v][z];
    bool const mayBeAnything = !hasValues;
    if (!mayBeAnything && !isSame(told, real.range()) &&
        !isSameInText(file, type, told, real.range()))
        file.faults.add({"range of a zone", z, -1, v}, "It is told as " + textOf(told) +
                                                           ", and the values are " +
                                                           textOf(real.range()) + ".");
}

/// One variable's block in a partition.
class Block
{
public:
    Block(CheckedFile& file, std::uint32_t z, std::uint32_t p, std::uint32_t v)
        : m_file(file), m_zone(file.zones[z].metadata),
          m_header(m_zone.ptnMetadata[p]), m_place{"variable's block", z, p, v},
          m_type(file.headers.fieldDataTypes[v][z]), m_isNodal(file.isNodal(z, v)), m_var(v),
          m_own(hdqfsloader::layoutOf(m_zone, p, m_isNodal ? Items::Nodes : Items::Cells)),
          m_numCells(m_zone.numCszsPerSecPtn.size()), m_partition(p)
    {
    }

    /// Reads it all and holds the subzones' ranges to their values. False if it can't be read.
    bool check(GrowingRange& range, CrossRanges& cross)
    {
        std::uint64_t const loc = m_header.varFileLocs[m_var];
        std::vector<std::vector<MinMax>> nodeRanges(1);
        std::vector<std::vector<MinMax>> cellRanges(m_numCells);
        bool const isRead = m_file.attempt(m_place, loc, [&] {
            if (!m_file.reader.seekToFileLoc(loc) || !read(nodeRanges, cellRanges))
                return false;
            checkValues(m_isNodal ? nodeRanges : cellRanges, range);
            return true;
        });
        if (!isRead)
            return false;
        for (auto& ofSection : m_isNodal ? cellRanges : nodeRanges)
            cross.ranges.emplace_back(m_type, std::exchange(ofSection, {}));
        cross.isRead = true;
        return true;
    }

private:
    bool read(std::vector<std::vector<MinMax>>& nodes, std::vector<std::vector<MinMax>>& cells)
    {
        auto const var = static_cast<std::int32_t>(m_var);
        if (!readRanges(m_file, m_type, m_zone.numNszsPerPtn[m_partition], {"nszMinMaxes", var},
                        nodes[0]))
            return false;
        requireLoc(m_file, m_header.varCszMinMaxFileLocs[m_var], "ranges of the node subzones");
        for (std::size_t s = 0; s < cells.size(); ++s)
            if (!readRanges(m_file, m_type, m_zone.numCszsPerSecPtn[s][m_partition],
                            {"cszMinMaxes", var}, cells[s]))
                return false;
        requireLoc(m_file, m_header.varDataFileLocs[m_var], "ranges of the cell subzones");
        return true;
    }

    void checkValues(std::vector<std::vector<MinMax>> const& ranges, GrowingRange& all)
    {
        IODescription description{"values", static_cast<std::int32_t>(m_var)};
        std::uint64_t notBits = 0;
        for (std::uint32_t s = 0; s < m_own.numSections(); ++s)
            for (std::uint64_t n = 0; n < m_own.numSubzones(s); ++n) {
                GrowingRange real;
                std::uint64_t const size = m_own.run(s, n).size;
                readAllValues(m_file, m_type, size, description, [&](double value) {
                    real.add(value);
                    notBits += m_type == FieldDataType_Bit && value > 1;
                });
                all.add(real.range());
                // What an empty subzone has for its range means nothing.
                if (size != 0 && !isSame(ranges[s][n], real.range()))
                    complain(s, n, ranges[s][n], real.range());
            }
        if (notBits != 0)
            m_file.faults.add(m_place, std::to_string(notBits) + " bits are neither 0 nor 1.");
    }

    void complain(std::uint32_t s, std::uint64_t n, MinMax const& told, MinMax const& real)
    {
        Place place = m_place;
        place.what = m_isNodal ? "range of a node subzone" : "range of a cell subzone";
        place.section = m_zone.isMixed() && !m_isNodal ? std::int64_t{s} : -1;
        place.subzone = static_cast<std::int64_t>(n);
        m_file.faults.add(place, "It is told as " + textOf(told) + ", and the values are " +
                                     textOf(real) + ".");
    }

    CheckedFile& m_file;
    ZoneMetadata const& m_zone;
    hdqio::PartitionMetadata const& m_header;
    Place m_place;
    std::uint8_t m_type;
    bool m_isNodal;
    std::uint32_t m_var;
    SubzoneLayout m_own;
    std::size_t m_numCells;
    std::uint32_t m_partition;
};

/// Ranges of a variable in the partitions, where the zone has several.
std::vector<MinMax> readPartitionRanges(CheckedFile& file, std::uint32_t z, std::uint32_t v)
{
    ZoneMetadata const& zone = file.zones[z].metadata;
    std::vector<MinMax> result;
    if (zone.numPartitions < 2)
        return result;
    std::uint64_t const loc = zone.varPtnMinMaxFileLocs[v];
    file.attempt({"ranges of the partitions", z, -1, v}, loc, [&] {
        return file.reader.seekToFileLoc(loc) &&
               readRanges(file, file.headers.fieldDataTypes[v][z], zone.numPartitions,
                          {"partitionMinMaxes", static_cast<std::int32_t>(v)}, result);
    });
    return result;
}

bool isWithoutBlock(CheckedFile& file, Place const& place, std::uint64_t loc)
{
    bool const hasOwn = file.hasOwnValues(static_cast<std::uint32_t>(place.zone),
                                          static_cast<std::uint32_t>(place.var));
    if (!hasOwn && loc != hdqio::ABSENT_FILE_LOC)
        file.faults.add(place, loc, "It is passive or shared, and yet it has a block.");
    if (hasOwn && !isLocation(loc))
        file.faults.add(place, "It has no block.");
    return !hasOwn || !isLocation(loc);
}

void checkHdqVariable(CheckedFile& file, std::uint32_t z, std::uint32_t v,
                      std::vector<CrossRanges>& cross)
{
    CheckedZone const& zone = file.zones[z];
    std::vector<MinMax> const told = readPartitionRanges(file, z, v);
    GrowingRange ofZone;
    bool isComplete = true;
    bool hasValues = false;
    for (std::uint32_t p = 0; p < zone.metadata.numPartitions; ++p) {
        if (!zone.isPartitionRead[p]) {
            isComplete = false;
            continue;
        }
        std::uint64_t const loc = zone.metadata.ptnMetadata[p].varFileLocs[v];
        if (isWithoutBlock(file, {"variable's block", z, p, v}, loc)) {
            isComplete = isComplete && !file.hasOwnValues(z, v);
            continue;
        }
        GrowingRange ofPartition;
        if (!Block(file, z, p, v).check(ofPartition, cross[p])) {
            isComplete = false;
            continue;
        }
        hasValues = true;
        ofZone.add(ofPartition.range());
        if (p < told.size() && !isSame(told[p], ofPartition.range()))
            file.faults.add({"range of a partition", z, p, v},
                            "It is told as " + textOf(told[p]) + ", and the values are " +
                                textOf(ofPartition.range()) + ".");
    }
    if (isComplete)
        checkZoneRange(file, z, v, ofZone, hasValues);
}

std::uint64_t numPlainValues(CheckedFile const& file, ZoneMetadata const& zone, bool isNodal)
{
    using hdqfsloader::itemCount;
    using hdqfsloader::numCellsAlong;
    if (!zone.isOrdered())
        return itemCount(isNodal ? zone.ijk.i : zone.ijk.j, 1, 1, file.path);
    if (isNodal)
        return itemCount(zone.ijk.i, zone.ijk.j, zone.ijk.k, file.path);
    return itemCount(numCellsAlong(zone.ijk.i), numCellsAlong(zone.ijk.j),
                     numCellsAlong(zone.ijk.k), file.path);
}

}

bool isSame(MinMax const& a, MinMax const& b)
{
    // Without a value the bounds lie the wrong way round, how far depends on the type.
    return (a.min == b.min && a.max == b.max) || (a.min > a.max && b.min > b.max);
}

std::string textOf(MinMax const& range)
{
    return shown(range.min) + " to " + shown(range.max);
}

SubzoneRanges::SubzoneRanges(std::uint8_t type, std::vector<MinMax> const& ranges)
    : m_type(type), m_size(ranges.size())
{
    withType(type, [&]<typename T>(T) {
        m_bytes.resize(2 * m_size * sizeof(T));
        unsigned char* out = m_bytes.data();
        for (MinMax const& range : ranges) {
            T const bounds[2] = {static_cast<T>(range.min), static_cast<T>(range.max)};
            std::memcpy(out, bounds, sizeof bounds);
            out += sizeof bounds;
        }
    });
}

MinMax SubzoneRanges::operator[](std::size_t subzone) const
{
    if (subzone >= m_size)
        throw std::out_of_range("There is no range of a subzone.");
    return withType(m_type, [&]<typename T>(T) {
        T bounds[2];
        std::memcpy(bounds, m_bytes.data() + subzone * sizeof bounds, sizeof bounds);
        return MinMax{static_cast<double>(bounds[0]), static_cast<double>(bounds[1])};
    });
}

bool readRanges(CheckedFile& file, std::uint8_t type, std::uint64_t count,
                IODescription const& description, std::vector<MinMax>& out)
{
    if (count == 0)
        return true;
    hdqio::LightweightVector<MinMax> ranges;
    if (!withType(type, [&](auto value) -> bool {
            return hdqio::readMinMaxArray<decltype(value)>(file.reader, 0, count, ranges,
                                                           description);
        }))
        return false;
    out.assign(ranges.begin(), ranges.end());
    return true;
}

ZoneCrossRanges checkHdqVariables(CheckedFile& file, std::uint32_t z)
{
    std::uint32_t const numPartitions = file.zones[z].metadata.numPartitions;
    ZoneCrossRanges result(file.numVars());
    for (std::uint32_t v = 0; v < file.numVars(); ++v) {
        result[v].resize(numPartitions);
        checkHdqVariable(file, z, v, result[v]);
    }
    return result;
}

void checkPlainVariables(CheckedFile& file, std::uint32_t z)
{
    ZoneMetadata const& zone = file.zones[z].metadata;
    for (std::uint32_t v = 0; v < file.numVars(); ++v) {
        Place const place{"values", z, -1, v};
        std::uint64_t const loc = zone.classicVarFileLocs[v];
        if (isWithoutBlock(file, place, loc))
            continue;
        GrowingRange range;
        std::uint64_t count = 0;
        std::uint64_t notBits = 0;
        std::uint8_t const type = file.headers.fieldDataTypes[v][z];
        bool const isRead = file.attempt(place, loc, [&] {
            count = numPlainValues(file, zone, file.isNodal(z, v));
            IODescription description{"values", static_cast<std::int32_t>(v)};
            if (!file.reader.seekToFileLoc(loc))
                return false;
            readAllValues(file, type, count, description, [&](double value) {
                range.add(value);
                notBits += type == FieldDataType_Bit && value > 1;
            });
            return true;
        });
        if (notBits != 0)
            file.faults.add(place, std::to_string(notBits) + " bits are neither 0 nor 1.");
        if (isRead)
            checkZoneRange(file, z, v, range, count != 0);
    }
}

}
