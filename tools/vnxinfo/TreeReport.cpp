#include "tools/vnxinfo/TreeReport.h"

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

std::string blockOf(Json const& variable)
{
    return "variable " + padded(wordOf(variable["number"]), 4) +
           (variable["values"].is_null()
                ? "has no block"
                : "node ranges at " + wordOf(variable["nodeSubzoneRanges"]) + ", cell ranges at " +
                      wordOf(variable["cellSubzoneRanges"]) + ", values at " +
                      wordOf(variable["values"]));
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
}

void writeVariable(Json const& variable, std::size_t nameWidth, Writer& out)
{
    std::string text = padded(wordOf(variable["number"]), 4) +
                       padded(wordOf(variable["name"]), nameWidth + 2) +
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
}

void writeStart(Json const& file, Writer& out)
{
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

}

void TreeReport::takeZoneMembers(Json const& zone)
{
    Writer out(m_output);
    if (zone.contains("number"))
        writeZone(zone, out);
    for (auto const& [name, text] :
         {std::pair{"nodeMap", "node map"}, std::pair{"faceNeighbors", "face neighbours"}})
        if (zone.contains(name))
            out.entry(2, text, "at " + wordOf(zone[name]));
    if (zone.contains("error"))
        out.entry(2, "damaged", wordOf(zone["error"]));
}

void TreeReport::takeMembers(Json const& object)
{
    Writer out(m_output);
    if (depth() == 1)
        writeStart(object, out);
    else if (nameAbove(1) == "zones")
        takeZoneMembers(object);
    else if (nameAbove(1) == "partitions")
        writePartition(object, out);
    else if (nameAbove(0) == "groups" && object.contains("errors"))
        for (Json const& error : object["errors"])
            out.entry(2, "damaged", wordOf(error));
}

void TreeReport::takeBegin(std::string const& name, bool isList, std::size_t numItems)
{
    if (isList)
        beginList(name, numItems);
    else if (name == "groups")
        Writer(m_output).line(1, "groups");
}

void TreeReport::beginList(std::string const& name, std::size_t numItems)
{
    Writer out(m_output);
    m_numItems = 0;
    if (nameAbove(1) == "zones" && (name == "variables" || numItems > 0))
        out.line(2, name); // also of its partitions
    if (nameAbove(0) != "groups")
        return;
    if (name == "auxiliaryData")
        out.entry(2, "auxiliary data", std::to_string(numItems));
    else if (name == "customLabels")
        out.entry(2, "custom labels", std::to_string(numItems) + " sets");
    else
        out.entry(2, name, std::to_string(numItems));
}

void TreeReport::takeItem(Json const& value)
{
    if (nameAbove(0) == "variables" && depth() == 2)
        m_nameWidth = std::max(m_nameWidth, wordOf(value["name"]).size());
    else if (isInBlocks())
        takeBlock(nameAbove(0), value);
    else if (nameAbove(0) == "variables") {
        Writer out(m_output);
        writeVariable(value, m_nameWidth, out);
    } else if (nameAbove(1) == "groups")
        takeGroupItem(value);
    ++m_numItems;
}

void TreeReport::takeGroupItem(Json const& value)
{
    Writer out(m_output);
    if (nameAbove(0) == "auxiliaryData")
        out.line(3, wordOf(value["name"]) + " = " + wordOf(value["value"]));
    else if (nameAbove(0) == "texts")
        out.line(3, "'" + wordOf(value["text"]) + "'");
}

void TreeReport::takeBlock(std::string const& list, Json const& value)
{
    Writer out(m_output);
    if (list == "variables")
        out.line(4, blockOf(value));
    else if (list == "referredPartitions") // on one line
        m_output.write((m_numItems == 0 ? "        refers to partitions [" : ",") + value.dump());
    else
        out.line(4, (list == "cellConnectivity" ? "cell subzone " : "node subzone ") +
                        padded(std::to_string(m_numItems), 4) + "connectivity at " + wordOf(value));
}

void TreeReport::takeEnd()
{
    if (nameAbove(0) == "referredPartitions" && m_numItems > 0)
        m_output.write("]\n");
}

}
