#include "tools/vnxinfo/Description.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/ZoneTypes.h"
#include "tools/vnxinfo/JsonReport.h"
#include "tools/vnxinfo/Names.h"

#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace varnox::tools {

using hdqfsloader::DataFile;
using hdqio::PartitionMetadata;
using hdqio::ZoneMetadata;
using hdqio::ZoneVarMetadata;

namespace {

/// A location, or null where there is no block.
Json locationOf(std::uint64_t value)
{
    return value == 0 || value == hdqio::ABSENT_FILE_LOC ? Json() : Json(value);
}

Json numberOrNull(std::int32_t index)
{
    return index < 0 ? Json() : Json(index + 1);
}

Json headerLocations(DataFile const& file)
{
    Json result = Json::object();
#define TAG(number, constant, name, presence)                                                      \
    if (number > hdqio::SUBZONE_MAX_FE_SIZE_TAG && number != hdqio::NUM_PARTITION_FILES_TAG &&     \
        file.tags().contains(number))                                                              \
        result[name] = locationOf(file.tags().at(number));
#include "filedata/DataSetHeaderTags.def"
    return result;
}

Json sizeOf(ZoneMetadata const& zone)
{
    if (zone.isOrdered())
        return {{"i", zone.ijk.i}, {"j", zone.ijk.j}, {"k", zone.ijk.k}};
    return {{"nodes", zone.ijk.i}, {"cells", zone.ijk.j}, {"faces", zone.ijk.k}};
}

Json sectionsOf(ZoneMetadata const& zone)
{
    Json result = Json::array();
    for (std::size_t s = 0; !zone.cellShapePerSection.isNull() && s < zone.numSections; ++s)
        result.push_back({{"number", s + 1},
                          {"shape", shapeName(zone.cellShapePerSection[s])},
                          {"cells", zone.numElemsPerSection[s]},
                          {"gridOrder", zone.gridOrderPerSection[s]},
                          {"basisFunction", zone.basisFuncPerSection[s]},
                          {"corners", zone.numCornersPerSection[s]},
                          {"nodesPerCell", zone.numNodesPerCellPerSection[s]}});
    return result;
}

Json boxOf(ZoneMetadata const& zone, std::size_t partition)
{
    hdqio::IJK const& low = zone.ptnMinIJK[partition];
    hdqio::IJK const& high = zone.ptnMaxIJK[partition];
    return {{"min", {low.i, low.j, low.k}}, {"max", {high.i, high.j, high.k}}};
}

void listLocations(std::string const& name,
                   hdqio::LightweightVector<std::uint64_t> const& locations, Report& out)
{
    out.beginList(name, locations.size());
    for (std::uint64_t const loc : locations)
        out.item(locationOf(loc));
    out.end();
}

/// Where the blocks of a partition are.
void describeBlocks(PartitionMetadata const& partition, Report& out)
{
    out.beginObject("blocks");
    out.beginList("variables", partition.varFileLocs.size());
    for (std::size_t v = 0; v < partition.varFileLocs.size(); ++v)
        out.item({{"number", v + 1},
                  {"nodeSubzoneRanges", locationOf(partition.varFileLocs[v])},
                  {"cellSubzoneRanges", locationOf(partition.varCszMinMaxFileLocs[v])},
                  {"values", locationOf(partition.varDataFileLocs[v])}});
    out.end();
    out.beginList("cellConnectivity");
    for (auto const& section : partition.cszConnFileLocs)
        for (std::uint64_t const loc : section)
            out.item(locationOf(loc));
    out.end();
    listLocations("nodeConnectivity", partition.nszConnFileLocs, out);
    out.beginList("referredPartitions", partition.refPartitions.size());
    for (std::uint32_t const p : partition.refPartitions)
        out.item(std::uint64_t{p} + 1);
    out.end();
    out.end();
}

void describePartition(DataFile& file, std::uint32_t zoneIndex, std::uint32_t p, bool withBlocks,
                       Report& out)
{
    ZoneMetadata const& zone = file.zone(zoneIndex);
    PartitionMetadata const* const blocks = withBlocks ? &file.partition(zoneIndex, p) : nullptr;
    std::int64_t cells = 0;
    std::uint64_t cellSubzones = 0;
    for (std::size_t s = 0; s < zone.numCellsPerSecPtn.size(); ++s) {
        cells += zone.numCellsPerSecPtn[s][p];
        cellSubzones += zone.numCszsPerSecPtn[s][p];
    }
    Json result = {{"number", p + 1}};
    if (!zone.ptnFileLocs.isNull())
        result["header"] = locationOf(zone.ptnFileLocs[p]);
    if (zone.isOrdered())
        result["box"] = boxOf(zone, p);
    result["nodes"] = zone.numNodesPerPtn[p];
    result["cells"] = cells;
    result["nodeSubzones"] = zone.numNszsPerPtn[p];
    result["cellSubzones"] = cellSubzones;
    out.beginObject();
    out.members(result);
    if (blocks != nullptr)
        describeBlocks(*blocks, out);
    out.end();
}

void describeVariables(DataFile const& file, std::uint32_t z, ZoneMetadata const* plainZone,
                       Report& out)
{
    ZoneVarMetadata const& headers = file.headers();
    out.beginList("variables", file.numVars());
    for (std::uint32_t v = 0; v < file.numVars(); ++v) {
        hdqio::MinMax const& range = headers.zoneMinMaxes[v][z];
        Json variable = {{"number", v + 1},
                         {"name", headers.varNames[v]},
                         {"type", valueTypeName(headers.fieldDataTypes[v][z])},
                         {"location", file.isNodal(z, v) ? "nodes" : "cells"},
                         {"range", {jsonOf(range.min), jsonOf(range.max)}},
                         {"passive", file.isPassive(z, v)},
                         {"sharedFromZone", numberOrNull(file.sharedFrom(z, v))}};
        if (plainZone != nullptr && !plainZone->classicVarFileLocs.isNull())
            variable["values"] = locationOf(plainZone->classicVarFileLocs[v]);
        out.item(variable);
    }
    out.end();
}

/// Throws if the file ends ahead of a partition, as one that was cut off does.
void requirePartitions(DataFile const& file, ZoneMetadata const& zone)
{
    std::uint64_t const size = std::filesystem::file_size(file.path());
    for (std::size_t p = 0; !zone.ptnFileLocs.isNull() && p < zone.numPartitions; ++p)
        if (zone.ptnFileLocs[p] >= size)
            throw std::runtime_error("The file ends at " + std::to_string(size) +
                                     ", ahead of the header of partition " + std::to_string(p + 1) +
                                     " at " + std::to_string(zone.ptnFileLocs[p]) + ".");
}

void describeHeaderOf(DataFile& file, std::uint32_t z, bool withBlocks, Report& out)
{
    ZoneMetadata const& zone = file.zone(z);
    if (zone.nodeMapFileLoc > 0)
        out.members({{"nodeMap", zone.nodeMapFileLoc}});
    if (zone.userFaceNbrFileLoc > 0)
        out.members({{"faceNeighbors", zone.userFaceNbrFileLoc}});
    std::uint32_t const numPartitions = zone.isHdqZone ? zone.numPartitions : 0;
    DataFile::KeptOpen const keptOpen(file);
    out.beginList("partitions", numPartitions);
    for (std::uint32_t p = 0; p < numPartitions; ++p)
        describePartition(file, z, p, withBlocks, out);
    out.end();
    requirePartitions(file, zone);
}

void describeZone(DataFile& file, std::uint32_t z, bool withBlocks, Report& out)
{
    ZoneVarMetadata const& headers = file.headers();
    ZoneMetadata stored;
    hdqio::storeZoneMetadata(headers, static_cast<int>(z), 0, stored);
    out.beginObject();
    out.members({{"number", z + 1},
                 {"name", headers.zoneNames[z]},
                 {"type", zoneTypeName(stored.zoneType)},
                 {"letter", std::string(1, headers.zoneTypes[z])},
                 {"inSubzones", stored.isHdqZone != 0},
                 {"dimensions", stored.numDimensions},
                 {"size", sizeOf(stored)},
                 {"header", locationOf(file.zoneHeaderFileLoc(z))},
                 {"solutionTime", jsonOf(headers.solutionTimes[z])},
                 {"strand", static_cast<std::int32_t>(headers.strandIDs[z])},
                 {"parentZone", numberOrNull(headers.parentZones[z])},
                 {"sharesConnectivityOfZone", numberOrNull(headers.shareConnectivity[z])},
                 {"faceNeighborMode", headers.faceNbrModes[z]},
                 {"sections", sectionsOf(stored)}});
    std::size_t const depth = out.depth();
    ZoneMetadata const* plainZone = nullptr;
    try {
        describeHeaderOf(file, z, withBlocks, out);
        plainZone = file.zone(z).isHdqZone ? nullptr : &file.zone(z);
    } catch (std::runtime_error const& error) {
        while (out.depth() > depth)
            out.end();
        out.members({{"error", error.what()}});
    }
    describeVariables(file, z, plainZone, out);
    out.end();
}

template <typename Entry, typename Describe>
void list(std::string const& name, hdqio::LightweightVector<Entry> const& entries, Report& out,
          Describe const& describeEntry)
{
    out.beginList(name, entries.size());
    for (Entry const& entry : entries)
        describeEntry(entry);
    out.end();
}

void describeGroups(DataFile const& file, Report& out)
{
    hdqfsloader::FileAnnotations const found = hdqfsloader::readAnnotations(file);
    out.beginObject("groups");
    list("auxiliaryData", found.auxData, out, [&](hdqio::AuxData const& aux) {
        out.item({{"location", aux.auxDataLocation},
                  {"entity", aux.auxDataEntity},
                  {"name", aux.auxDataName},
                  {"type", aux.auxDataType},
                  {"value", aux.auxDataValue}});
    });
    list("geometries", found.geometries, out, [&](hdqio::Geom const& geom) {
        out.item({{"type", geom.geomType},
                  {"zone", geom.zone},
                  {"position", {jsonOf(geom.xOrThetaPos), jsonOf(geom.yOrRPos), jsonOf(geom.zPos)}},
                  {"segments", geom.segments.size()}});
    });
    list("texts", found.texts, out, [&](hdqio::Text const& text) {
        out.item(
            {{"text", text.textString},
             {"zone", text.textZoneOrMap},
             {"position", {jsonOf(text.xOrThetaPos), jsonOf(text.yOrRPos), jsonOf(text.zPos)}}});
    });
    list("customLabels", found.labelSets, out, [&](hdqio::CustomLabelSet const& labels) {
        list("", labels, out, [&](std::string const& label) { out.item(label); });
    });
    if (!found.complaints.empty())
        out.members({{"errors", found.complaints}});
    out.end();
}

/// What stands ahead of the zones.
void describeStart(DataFile const& file, Report& out)
{
    hdqio::IJK const limits = file.description().getMaxIJKSubzoneSize();
    out.members({{"file", file.path()},
                 {"bytes", std::filesystem::file_size(file.path())},
                 {"version", file.description().getFileVersion()},
                 {"form", file.description().isAscii() == 1 ? "text" : "binary"},
                 {"type", fileTypeName(file.type())},
                 {"title", file.title()},
                 {"subzoneLimits",
                  {{"i", limits.i},
                   {"j", limits.j},
                   {"k", limits.k},
                   {"finiteElements", file.description().getMaxFESubzoneSize()}}},
                 {"locations", headerLocations(file)}});
    out.beginList("variables", file.headers().varNames.size());
    for (std::uint32_t v = 0; v < file.headers().varNames.size(); ++v)
        out.item({{"number", v + 1}, {"name", file.headers().varNames[v]}});
    out.end();
}

}

Json jsonOf(double number)
{
    if (std::isfinite(number))
        return number;
    return std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity";
}

std::string serialized(Json const& json, int indent)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void describe(DataFile& file, std::optional<std::uint32_t> onlyZone, Report& out)
{
    out.beginObject();
    describeStart(file, out);
    out.beginList("zones", file.numZones());
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        if (!onlyZone || *onlyZone == z)
            describeZone(file, z, onlyZone.has_value(), out);
    out.end();
    describeGroups(file, out);
    out.end();
}

Json describe(DataFile& file, std::optional<std::uint32_t> onlyZone)
{
    KeptReport report;
    describe(file, onlyZone, report);
    return report.json();
}

}
