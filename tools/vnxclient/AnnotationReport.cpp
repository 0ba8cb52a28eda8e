#include "tools/vnxclient/AnnotationReport.h"

namespace varnox::tools {

using client::AuxData;
using client::DataSet;
using client::Geometry;
using client::Text;
using nlohmann::json;

namespace {

template <typename T>
void addIfSaid(json& entry, char const* name, std::optional<T> const& value)
{
    if (value)
        entry[name] = *value;
}

json jsonOf(Text const& text)
{
    json entry = {{"id", text.id},
                  {"text", text.text},
                  {"coordSys", text.coordSys},
                  {"position", {text.x, text.y}},
                  {"height", text.height},
                  {"heightUnits", text.heightUnits}};
    if (text.typeface)
        entry["typeface"] = {{"family", text.typeface->family},
                             {"bold", text.typeface->isBold},
                             {"italic", text.typeface->isItalic}};
    addIfSaid(entry, "macroCommand", text.macroCommand);
#define FIELD(command, item, type, name) addIfSaid(entry, #name, text.name);
#include "client/TextFields.def"
    return entry;
}

json jsonOf(Geometry const& geometry)
{
    json entry = {{"id", geometry.id}, {"shape", nameOf(geometry.shape)}};
    addIfSaid(entry, "coordSys", geometry.coordSys);
    addIfSaid(entry, "anchor", geometry.anchor);
    if (!geometry.sizes.empty())
        entry["sizes"] = geometry.sizes;
    if (!geometry.polylines.empty())
        entry["polylines"] = geometry.polylines;
    addIfSaid(entry, "macroCommand", geometry.macroCommand);
#define FIELD(command, item, type, name) addIfSaid(entry, #name, geometry.name);
#include "client/GeometryFields.def"
    return entry;
}

json jsonOf(AuxData const& item)
{
    json entry = {{"owner", nameOf(item.owner)},
                  {"name", item.name},
                  {"value", item.value},
                  {"type", item.type},
                  {"kept", item.isKept}};
    if (item.owner != AuxData::Owner::DataSet)
        entry["number"] = item.number;
    return entry;
}

template <typename T>
json arrayOf(std::vector<T> const& objects)
{
    json result = json::array();
    for (T const& object : objects)
        result.push_back(jsonOf(object));
    return result;
}

std::string lineOf(Text const& text)
{
    return "Text '" + shown(text.text) + "' at " + shown(text.x) + ", " + shown(text.y) + "\n";
}

std::string lineOf(Geometry const& geometry)
{
    std::string line = "Geometry: " + nameOf(geometry.shape);
    if (geometry.anchor)
        line += " at " + shown((*geometry.anchor)[0]) + ", " + shown((*geometry.anchor)[1]) + ", " +
                shown((*geometry.anchor)[2]);
    for (std::size_t i = 0; i < geometry.sizes.size(); ++i)
        line += (i == 0 ? ", size " : " x ") + shown(geometry.sizes[i]);
    if (!geometry.polylines.empty()) {
        std::size_t numPoints = 0;
        for (auto const& points : geometry.polylines)
            numPoints += points.size();
        line += ", " + std::to_string(geometry.polylines.size()) + " of " +
                std::to_string(numPoints) + " points together";
    }
    return line + "\n";
}

std::string lineOf(AuxData const& item)
{
    std::string const number =
        item.owner == AuxData::Owner::DataSet ? "" : " " + std::to_string(item.number);
    return "Auxiliary data of " + (item.owner == AuxData::Owner::DataSet ? "the " : std::string()) +
           nameOf(item.owner) + number + ": " + shown(item.name) + " = " + shown(item.value) + "\n";
}

std::string lineOf(client::LabelSet const& labels)
{
    std::string line = "Labels:";
    for (std::string const& label : labels)
        line += " '" + shown(label) + "'";
    return line + "\n";
}

template <typename T>
void writeLines(std::vector<T> const& objects, Output& output)
{
    for (T const& object : objects)
        output.write(lineOf(object));
}

}

void addAnnotations(DataSet const& dataSet, json& report)
{
    report["texts"] = arrayOf(dataSet.texts);
    report["geometries"] = arrayOf(dataSet.geometries);
    report["labelSets"] = dataSet.labelSets;
    report["auxData"] = arrayOf(dataSet.auxData);
}

void reportAnnotations(DataSet const& dataSet, Output& output)
{
    writeLines(dataSet.auxData, output);
    writeLines(dataSet.labelSets, output);
    writeLines(dataSet.texts, output);
    writeLines(dataSet.geometries, output);
}

}
