#include "tools/vnxinfo/Tree.h"

#include <algorithm>
#include <string>

namespace varnox::tools {

namespace {

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

/// A value on a line: strings without quotes, floating numbers in as few digits as bring them back.
std::string wordOf(Json const& value)
{
    if (value.is_null())
        return "none";
    if (value.is_string())
        return shown(value.get<std::string>());
    if (value.is_number_float())
        return shown(value.get<double>());
    return value.dump();
}

/// A bound of a range in the digits of the variable's own type.
std::string boundOf(Json const& bound, bool isFloat)
{
    return isFloat && bound.is_number() ? shown(bound.get<float>()) : wordOf(bound);
}

std::string rangeOf(Json const& variable)
{
    bool const isFloat = variable["type"] == "float";
    Json const& range = variable["range"];
    return boundOf(range[0], isFloat) + " to " + boundOf(range[1], isFloat);
}

class Writer
{
public:
    explicit Writer(Output& output) : m_output(output) {}

    void line(std::size_t depth, std::string const& text)
    {
        m_output.write(std::string(2 * depth, ' ') + text + "\n");
    }
    void entry(std::size_t depth, std::string const& name, std::string const& text)
    {
        line(depth, padded(name, 16) + text);
    }

private:
    Output& m_output;
};

std::string named(char const* kind, Json const& item)
{
    return kind + std::string(" ") + wordOf(item["number"]) + " '" + wordOf(item["name"]) + "'";
}

std::string sizeText(Json const& size)
{
    if (size.contains("i"))
        return wordOf(size["i"]) + " x " + wordOf(size["j"]) + " x " + wordOf(size["k"]) + " nodes";
    return wordOf(size["nodes"]) + " nodes, " + wordOf(size["cells"]) + " cells";
}

void writeLocations(Json const& locations, Writer& out)
{
    out.line(1, "locations");
    for (auto const& [name, location] : locations.items())
        out.line(2, padded(name, 24) + (location.is_null() ? "absent" : wordOf(location)));
}

void writeBlocks(Json const& blocks, Writer& out)
{
    for (Json const& variable : blocks["variables"])
        out.line(4, "variable " + padded(wordOf(variable["number"]), 4) +
                        (variable["values"].is_null()
                             ? "has no block"
                             : "node ranges at " + wordOf(variable["nodeSubzoneRanges"]) +
                                   ", cell ranges at " + wordOf(variable["cellSubzoneRanges"]) +
                                   ", values at " + wordOf(variable["values"])));
    for (auto const& [name, text] : {std::pair{"cellConnectivity", "cell subzone"},
                                     std::pair{"nodeConnectivity", "node subzone"}})
        for (std::size_t i = 0; i < blocks[name].size(); ++i)
            out.line(4, text + (" " + padded(std::to_string(i), 4)) + "connectivity at " +
                            wordOf(blocks[name][i]));
    if (!blocks["referredPartitions"].empty())
        out.line(4, "refers to partitions " + blocks["referredPartitions"].dump());
}

void writePartition(Json const& partition, Writer& out)
{
    std::string text =
        "partition " + wordOf(partition["number"]) + ": " + wordOf(partition["nodes"]) +
        " nodes in " + wordOf(partition["nodeSubzones"]) + " subzones, " +
        wordOf(partition["cells"]) + " cells in " + wordOf(partition["cellSubzones"]);
    if (partition.contains("box"))
        text +=
            ", from " + partition["box"]["min"].dump() + " to " + partition["box"]["max"].dump();
    if (partition.contains("header"))
        text += ", header at " + wordOf(partition["header"]);
    out.line(3, text);
    if (partition.contains("blocks"))
        writeBlocks(partition["blocks"], out);
}

void writeVariables(Json const& variables, Writer& out)
{
    std::size_t width = 4;
    for (Json const& variable : variables)
        width = std::max(width, wordOf(variable["name"]).size());
    out.line(2, "variables");
    for (Json const& variable : variables) {
        std::string text = padded(wordOf(variable["number"]), 4) +
                           padded(wordOf(variable["name"]), width + 2) +
                           padded(wordOf(variable["type"]), 8) +
                           padded(wordOf(variable["location"]), 7) + rangeOf(variable);
        if (variable["passive"].get<bool>())
            text += ", passive";
        if (!variable["sharedFromZone"].is_null())
            text += ", shared from zone " + wordOf(variable["sharedFromZone"]);
        if (variable.contains("values") && !variable["values"].is_null())
            text += ", values at " + wordOf(variable["values"]);
        out.line(3, text);
    }
}

void writeSections(Json const& sections, Writer& out)
{
    for (Json const& section : sections)
        out.line(2, "section " + wordOf(section["number"]) + ": " + wordOf(section["cells"]) +
                        " of shape " + wordOf(section["shape"]) + ", grid order " +
                        wordOf(section["gridOrder"]) + ", " + wordOf(section["nodesPerCell"]) +
                        " nodes per cell");
}

void writeZone(Json const& zone, Writer& out)
{
    out.line(1, named("zone", zone));
    out.entry(2, "type",
              wordOf(zone["type"]) + ", letter " + wordOf(zone["letter"]) +
                  (zone["inSubzones"].get<bool>() ? ", in subzones" : ", plain"));
    out.entry(2, "size", sizeText(zone["size"]));
    out.entry(2, "header", "at " + wordOf(zone["header"]));
    out.entry(2, "solution time",
              wordOf(zone["solutionTime"]) + ", strand " + wordOf(zone["strand"]));
    if (!zone["parentZone"].is_null())
        out.entry(2, "parent", "zone " + wordOf(zone["parentZone"]));
    if (!zone["sharesConnectivityOfZone"].is_null())
        out.entry(2, "connectivity", "of zone " + wordOf(zone["sharesConnectivityOfZone"]));
    writeSections(zone["sections"], out);
    for (auto const& [name, text] :
         {std::pair{"nodeMap", "node map"}, std::pair{"faceNeighbors", "face neighbours"}})
        if (zone.contains(name))
            out.entry(2, text, "at " + wordOf(zone[name]));
    if (zone.contains("error"))
        out.entry(2, "damaged", wordOf(zone["error"]));
    if (zone.contains("partitions") && !zone["partitions"].empty()) {
        out.line(2, "partitions");
        for (Json const& partition : zone["partitions"])
            writePartition(partition, out);
    }
    writeVariables(zone["variables"], out);
}

void writeGroups(Json const& groups, Writer& out)
{
    out.line(1, "groups");
    out.entry(2, "auxiliary data", std::to_string(groups["auxiliaryData"].size()));
    for (Json const& aux : groups["auxiliaryData"])
        out.line(3, wordOf(aux["name"]) + " = " + wordOf(aux["value"]));
    out.entry(2, "geometries", std::to_string(groups["geometries"].size()));
    out.entry(2, "texts", std::to_string(groups["texts"].size()));
    for (Json const& text : groups["texts"])
        out.line(3, "'" + wordOf(text["text"]) + "'");
    out.entry(2, "custom labels", std::to_string(groups["customLabels"].size()) + " sets");
    if (groups.contains("errors"))
        for (Json const& error : groups["errors"])
            out.entry(2, "damaged", wordOf(error));
}

}

void writeTreeStart(Json const& file, Output& output)
{
    Writer out(output);
    out.line(0, wordOf(file["file"]));
    out.entry(1, "header",
              "version " + wordOf(file["version"]) + ", " + wordOf(file["form"]) + ", " +
                  wordOf(file["type"]) + " file of " + wordOf(file["bytes"]) + " bytes");
    out.entry(1, "title", "'" + wordOf(file["title"]) + "'");
    Json const& limits = file["subzoneLimits"];
    out.entry(1, "subzone limits",
              wordOf(limits["i"]) + " x " + wordOf(limits["j"]) + " x " + wordOf(limits["k"]) +
                  ", finite elements " + wordOf(limits["finiteElements"]));
    writeLocations(file["locations"], out);
}

void writeTreeZone(Json const& zone, Output& output)
{
    Writer out(output);
    writeZone(zone, out);
}

void writeTreeGroups(Json const& groups, Output& output)
{
    Writer out(output);
    writeGroups(groups, out);
}

}
