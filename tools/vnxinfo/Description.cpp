#include "tools/vnxinfo/Description.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/ZoneTypes.h"
#include "tools/vnxinfo/Names.h"

#include <algorithm>
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

/// Where the blocks of a partition are.
Json blocksOf(PartitionMetadata const& partition)
{
    Json cells = Json::array();
    for (auto const& section : partition.cszConnFileLocs)
        for (std::uint64_t const loc : section)
            cells.push_back(locationOf(loc));
    Json nodes = Json::array();
    for (std::uint64_t const loc : partition.nszConnFileLocs)
        nodes.push_back(locationOf(loc));
    Json variables = Json::array();
    for (std::size_t v = 0; v < partition.varFileLocs.size(); ++v)
        variables.push_back({{"number", v + 1},
                             {"nodeSubzoneRanges", locationOf(partition.varFileLocs[v])},
                             {"cellSubzoneRanges", locationOf(partition.varCszMinMaxFileLocs[v])},
                             {"values", locationOf(partition.varDataFileLocs[v])}});
    return {{"variables", variables},
            {"cellConnectivity", cells},
            {"nodeConnectivity", nodes},
            {"referredPartitions", [&] {
                 Json result = Json::array();
                 for (std::uint32_t const p : partition.refPartitions)
                     result.push_back(std::uint64_t{p} + 1);
                 return result;
             }()}};
}

Json partitionOf(DataFile& file, std::uint32_t zoneIndex, std::uint32_t p, bool withBlocks)
{
    ZoneMetadata const& zone = file.zone(zoneIndex);
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
    if (withBlocks)
        result["blocks"] = blocksOf(file.partition(zoneIndex, p));
    return result;
}

Json variablesOf(DataFile const& file, std::uint32_t z, ZoneMetadata const* plainZone)
{
    ZoneVarMetadata const& headers = file.headers();
    Json result = Json::array();
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
        result.push_back(variable);
    }
    return result;
}

void describeHeaderOf(DataFile& file, std::uint32_t z, bool withBlocks, Json& result)
{
    ZoneMetadata const& zone = file.zone(z);
    if (zone.nodeMapFileLoc > 0)
        result["nodeMap"] = zone.nodeMapFileLoc;
    if (zone.userFaceNbrFileLoc > 0)
        result["faceNeighbors"] = zone.userFaceNbrFileLoc;
    Json partitions = Json::array();
    for (std::uint32_t p = 0; zone.isHdqZone && p < zone.numPartitions; ++p)
        partitions.push_back(partitionOf(file, z, p, withBlocks));
    result["partitions"] = partitions;
    result["variables"] = variablesOf(file, z, zone.isHdqZone ? nullptr : &zone);
}

Json zoneOf(DataFile& file, std::uint32_t z, bool withBlocks)
{
    ZoneVarMetadata const& headers = file.headers();
    ZoneMetadata stored;
    hdqio::storeZoneMetadata(headers, static_cast<int>(z), 0, stored);
    Json result = {{"number", z + 1},
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
                   {"sections", sectionsOf(stored)}};
    try {
        describeHeaderOf(file, z, withBlocks, result);
    } catch (std::exception const& error) {
        result["error"] = error.what();
        result["variables"] = variablesOf(file, z, nullptr);
    }
    return result;
}

template <typename Entry, typename Describe>
Json listOf(hdqio::LightweightVector<Entry> const& entries, Describe const& describeEntry)
{
    Json result = Json::array();
    for (Entry const& entry : entries)
        result.push_back(describeEntry(entry));
    return result;
}

Json groupsOf(DataFile const& file)
{
    hdqfsloader::FileAnnotations const found = hdqfsloader::readAnnotations(file);
    Json result = {
        {"auxiliaryData", listOf(found.auxData,
                                 [](hdqio::AuxData const& aux) {
                                     return Json{{"location", aux.auxDataLocation},
                                                 {"entity", aux.auxDataEntity},
                                                 {"name", aux.auxDataName},
                                                 {"type", aux.auxDataType},
                                                 {"value", aux.auxDataValue}};
                                 })},
        {"geometries", listOf(found.geometries,
                              [](hdqio::Geom const& geom) {
                                  return Json{{"type", geom.geomType},
                                              {"zone", geom.zone},
                                              {"position",
                                               {jsonOf(geom.xOrThetaPos), jsonOf(geom.yOrRPos),
                                                jsonOf(geom.zPos)}},
                                              {"segments", geom.segments.size()}};
                              })},
        {"texts", listOf(found.texts,
                         [](hdqio::Text const& text) {
                             return Json{{"text", text.textString},
                                         {"zone", text.textZoneOrMap},
                                         {"position",
                                          {jsonOf(text.xOrThetaPos), jsonOf(text.yOrRPos),
                                           jsonOf(text.zPos)}}};
                         })},
        {"customLabels", listOf(found.labelSets, [](hdqio::CustomLabelSet const& labels) {
             Json set = Json::array();
             for (std::string const& label : labels)
                 set.push_back(label);
             return set;
         })}};
    if (!found.complaints.empty())
        result["errors"] = found.complaints;
    return result;
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

bool tellsOfDamage(Json const& description)
{
    if (description.is_object() &&
        (description.contains("error") || description.contains("errors")))
        return true;
    if (!description.is_structured())
        return false;
    return std::any_of(description.begin(), description.end(), tellsOfDamage);
}

Json describeStart(DataFile const& file)
{
    hdqio::IJK const limits = file.description().getMaxIJKSubzoneSize();
    Json result = {{"file", file.path()},
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
                   {"locations", headerLocations(file)}};
    Json variables = Json::array();
    for (std::uint32_t v = 0; v < file.headers().varNames.size(); ++v)
        variables.push_back({{"number", v + 1}, {"name", file.headers().varNames[v]}});
    result["variables"] = variables;
    return result;
}

Json describeZone(DataFile& file, std::uint32_t zone, bool withBlocks)
{
    return zoneOf(file, zone, withBlocks);
}

Json describeGroups(DataFile const& file)
{
    return groupsOf(file);
}

Json describe(DataFile& file, std::optional<std::uint32_t> onlyZone)
{
    Json result = describeStart(file);
    Json zones = Json::array();
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        if (!onlyZone || *onlyZone == z)
            zones.push_back(zoneOf(file, z, onlyZone.has_value()));
    result["zones"] = zones;
    result["groups"] = groupsOf(file);
    return result;
}

}
