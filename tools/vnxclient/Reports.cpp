#include "tools/vnxclient/Reports.h"

#include "tools/vnxclient/AnnotationReport.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace varnox::tools {

using client::DataSet;
using client::Engine;
using client::nameOf;
using client::Zone;
using client::ZoneShape;
using client::ZoneVariable;
using nlohmann::json;

namespace {

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string timeOf(std::uint64_t secondsSinceEpoch)
{
    auto const seconds = static_cast<std::time_t>(secondsSinceEpoch);
    std::tm local = {};
    std::array<char, 32> text{};
    if (::localtime_r(&seconds, &local) == nullptr)
        return std::to_string(secondsSinceEpoch);
    text[std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local)] = '\0';
    return text.data();
}

std::string permissionsOf(std::uint16_t bits)
{
    std::string text = "rwxrwxrwx";
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((bits & (0400U >> i)) == 0)
            text[i] = '-';
    return text;
}

/// Null for a zone whose subzones nobody can ask for.
ZoneShape const* shapeOf(Engine& engine, Zone const& zone)
{
    bool const hasShape = zone.hasConnectivityQueries && engine.announcement() != nullptr;
    return hasShape ? &engine.shape(zone.number) : nullptr;
}

json jsonOf(ZoneShape const& shape)
{
    json partitions = json::array();
    for (client::PartitionShape const& partition : shape.partitions)
        partitions.push_back({{"nodes", partition.numNodes},
                              {"cells", partition.numCells},
                              {"nodeSubzones", partition.numNodeSubzones},
                              {"cellSubzones", partition.numCellSubzones}});
    return partitions;
}

json jsonOf(DataSet const& dataSet, Zone const& zone)
{
    json variables = json::array();
    for (std::size_t v = 0; v < zone.variables.size(); ++v) {
        ZoneVariable const& variable = zone.variables[v];
        json entry = {{"number", v + 1},
                      {"name", v < dataSet.variables.size() ? dataSet.variables[v].name : ""},
                      {"type", nameOf(variable.type)},
                      {"location", nameOf(variable.location)},
                      {"passive", variable.isPassive},
                      {"sharedFromZone", variable.shareZone},
                      {"bySubzones", variable.hasQueries},
                      {"onDemand", variable.onDemand.load}};
        if (variable.range)
            entry["range"] = {variable.range->min, variable.range->max};
        variables.push_back(entry);
    }
    return variables;
}

json jsonOf(Engine& engine, Zone const& zone)
{
    json entry = {{"number", zone.number},
                  {"name", zone.name},
                  {"type", nameOf(zone.type)},
                  {"size", zone.size},
                  {"nodes", zone.numNodes()},
                  {"cells", zone.numCells()},
                  {"hdq", zone.isHdq},
                  {"solutionTime", zone.solutionTime},
                  {"strand", zone.strand},
                  {"parentZone", zone.parentZone},
                  {"connectivityFromZone", zone.connectShareZone},
                  {"faceNeighbors", zone.faceNeighbors.load},
                  {"variables", jsonOf(engine.dataSet(), zone)}};
    for (client::Section const& section : zone.sections)
        entry["sections"].push_back({{"cells", section.numCells},
                                     {"shape", nameOf(section.shape)},
                                     {"order", section.order}});
    if (ZoneShape const* const shape = shapeOf(engine, zone))
        entry["partitions"] = jsonOf(*shape);
    return entry;
}

std::string sizeOf(Zone const& zone)
{
    if (zone.isOrdered())
        return std::to_string(zone.size[0]) + " x " + std::to_string(zone.size[1]) + " x " +
               std::to_string(zone.size[2]) + " nodes";
    return std::to_string(zone.numNodes()) + " nodes, " + std::to_string(zone.numCells()) +
           " cells";
}

std::string headingOf(Zone const& zone)
{
    std::string text = "\nZone " + std::to_string(zone.number) + " '" + shown(zone.name) +
                       "': " + nameOf(zone.type) + (zone.isHdq ? ", in subzones, " : ", plain, ") +
                       sizeOf(zone) + "\n  time " + shown(zone.solutionTime) + ", strand " +
                       std::to_string(zone.strand);
    if (zone.parentZone != 0)
        text += ", parent zone " + std::to_string(zone.parentZone);
    if (zone.connectShareZone != 0)
        text += ", connectivity of zone " + std::to_string(zone.connectShareZone);
    if (zone.faceNeighbors.load)
        text += ", with face neighbours";
    text += "\n";
    for (client::Section const& section : zone.sections)
        text += "  section: " + std::to_string(section.numCells) + " cells, " +
                nameOf(section.shape) + ", order " + std::to_string(section.order) + "\n";
    return text;
}

std::string textOf(ZoneShape const& shape)
{
    return "  partitions " + std::to_string(shape.partitions.size()) + ", node subzones " +
           std::to_string(shape.numNodeSubzones()) + ", cell subzones " +
           std::to_string(shape.numCellSubzones()) + "\n";
}

std::string valuesOf(ZoneVariable const& variable)
{
    if (variable.isPassive)
        return "passive";
    std::string text = variable.range ? shownBound(variable, variable.range->min) + " to " +
                                            shownBound(variable, variable.range->max)
                                      : "";
    if (variable.shareZone != 0)
        text += (text.empty() ? "" : ", ") + std::string("shared from zone ") +
                std::to_string(variable.shareZone);
    return text;
}

std::string tableOf(DataSet const& dataSet, Zone const& zone)
{
    std::size_t width = 4;
    for (client::Variable const& variable : dataSet.variables)
        width = std::max(width, shown(variable.name).size());
    std::string text;
    for (std::size_t v = 0; v < zone.variables.size(); ++v) {
        ZoneVariable const& variable = zone.variables[v];
        std::string const name =
            v < dataSet.variables.size() ? shown(dataSet.variables[v].name) : "";
        text += "  " + padded(std::to_string(v + 1), 4) + padded(name, width + 2) +
                padded(nameOf(variable.type), 8) + padded(nameOf(variable.location), 14) +
                valuesOf(variable) + "\n";
    }
    return text;
}

json jsonOf(Engine& engine)
{
    DataSet const& dataSet = engine.dataSet();
    json variables = json::array();
    for (client::Variable const& variable : dataSet.variables)
        variables.push_back({{"number", variable.number}, {"name", variable.name}});
    json zones = json::array();
    for (Zone const& zone : dataSet.zones)
        if (zone.isAdded)
            zones.push_back(jsonOf(engine, zone));
    json result = {{"title", dataSet.title},
                   {"solutionTimes", dataSet.solutionTimes()},
                   {"variables", variables},
                   {"zones", zones},
                   {"messages", dataSet.messages}};
    addAnnotations(dataSet, result);
    return result;
}

}

std::string dumped(json const& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string shownBound(ZoneVariable const& variable, double bound)
{
    auto const asFloat = static_cast<float>(bound);
    bool const isFloat = variable.type == FieldDataType_Float && double{asFloat} == bound;
    return isFloat ? shown(asFloat) : shown(bound);
}

json jsonOfAddress(client::SubzoneAddress const& address)
{
    return {{"partition", address.partition()},
            {"section", address.section()},
            {"subzone", address.subzoneOffset()}};
}

void reportTypes(client::FileTypes const& types, bool asJson, Output& output)
{
    if (asJson)
        output.write(dumped({{"loader", types.loaderName}, {"extensions", types.extensions}}) +
                     "\n");
    else
        output.write("Loader:     " + shown(types.loaderName) +
                     "\nExtensions: " + shown(types.extensions) + "\n");
}

void reportListing(client::Listing const& listing, bool asJson, Output& output)
{
    if (asJson) {
        json entries = json::array();
        for (client::FileEntry const& entry : listing.entries)
            entries.push_back({{"name", entry.name},
                               {"type", entry.type},
                               {"size", entry.size},
                               {"lastWriteTime", entry.lastWriteTime},
                               {"permissions", entry.permissions}});
        output.write(dumped({{"directory", listing.directory}, {"entries", entries}}) + "\n");
        return;
    }
    output.write(shown(listing.directory) + "\n");
    // The server sends the same in all of these cases.
    if (listing.entries.empty())
        output.write("(nothing: it is empty, or no directory that the server can or may read)\n");
    for (client::FileEntry const& entry : listing.entries)
        output.write(permissionsOf(entry.permissions) + "  " + padded(shown(entry.type), 15) +
                     padded(std::to_string(entry.size), 12) + timeOf(entry.lastWriteTime) + "  " +
                     shown(entry.name) + "\n");
}

void reportInfo(Engine& engine, bool asJson, Output& output)
{
    if (asJson) {
        output.write(dumped(jsonOf(engine)) + "\n");
        return;
    }
    DataSet const& dataSet = engine.dataSet();
    auto const numZones = std::count_if(dataSet.zones.begin(), dataSet.zones.end(),
                                        [](Zone const& zone) { return zone.isAdded; });
    output.write("Title:     " + shown(dataSet.title) + "\nZones:     " + std::to_string(numZones) +
                 "\nVariables: " + std::to_string(dataSet.variables.size()) + "\nTimes:    ");
    for (double const time : dataSet.solutionTimes())
        output.write(" " + shown(time));
    output.write("\n");
    for (std::string const& message : dataSet.messages)
        output.write("Message:   " + shown(message) + "\n");
    reportAnnotations(dataSet, output);
    for (Zone const& zone : dataSet.zones) {
        if (!zone.isAdded)
            continue;
        output.write(headingOf(zone));
        if (ZoneShape const* const shape = shapeOf(engine, zone))
            output.write(textOf(*shape));
        output.write(tableOf(dataSet, zone));
    }
}

}
