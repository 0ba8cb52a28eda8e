#include "tools/vnxclient/CellReport.h"

#include "client/Coordinates.h"
#include "client/Errors.h"
#include "tools/vnxclient/Numbers.h"
#include "tools/vnxclient/Reports.h"

#include <algorithm>
#include <array>
#include <optional>

namespace varnox::tools {

using client::CellSubzone;
using client::Coordinates;
using client::Engine;
using client::NodeAddress;
using client::SubzoneAddress;
using nlohmann::json;

namespace {

/// The coordinate variables that were asked for.
client::CoordinateVariables variablesOf(CellRequest const& request, client::DataSet const& dataSet)
{
    if (request.coordinates.empty()) {
        auto const found = client::coordinateVariables(dataSet);
        if (!found)
            throw client::Error("The data set has no variables named X, Y and Z; name those that "
                                "hold the coordinates, as in --coordinates-from 1,2,3.");
        return *found;
    }
    client::CoordinateVariables result{};
    std::size_t begin = 0;
    for (std::size_t axis = 0; axis < result.size(); ++axis) {
        std::size_t const end = request.coordinates.find(',', begin);
        if ((end == std::string::npos) != (axis + 1 == result.size()))
            throw client::Error("'" + shown(request.coordinates) +
                                "' doesn't name three variables with commas between them.");
        result[axis] = variableNumberOf(request.coordinates.substr(begin, end - begin), dataSet);
        begin = end + 1;
    }
    return result;
}

std::string textOf(std::array<double, 3> const& point)
{
    // Coordinates are mostly floats, which travel exactly and show as what they were.
    std::string text = "(";
    for (double const number : point) {
        auto const asFloat = static_cast<float>(number);
        text += (text.size() == 1 ? "" : ",") +
                (double{asFloat} == number ? shown(asFloat) : shown(number));
    }
    return text + ")";
}

class CellWriter
{
public:
    CellWriter(bool asJson, Output& output) : m_asJson(asJson), m_output(output) {}

    void begin(client::Zone const& zone, bool withCoordinates)
    {
        if (!m_asJson) {
            m_output.write("# cells of zone " + std::to_string(zone.number) + " '" +
                           shown(zone.name) + "': " + client::nameOf(zone.type) +
                           "; a node is subzone:item" + (withCoordinates ? "(x,y,z)" : "") +
                           ", partition ahead if not 0\n");
            return;
        }
        std::string const head = dumped(
            {{"zone", zone.number}, {"zoneName", zone.name}, {"type", client::nameOf(zone.type)}});
        m_output.write(head.substr(0, head.size() - 1) + ",\"subzones\":["); // the same object
    }

    /// coordinates: null for none.
    void subzone(CellSubzone const& cells, Coordinates const* coordinates)
    {
        if (m_asJson)
            writeJson(cells, coordinates);
        else
            writeText(cells, coordinates);
        m_isFirst = false;
    }

    void end()
    {
        if (m_asJson)
            m_output.write("]}\n");
    }

private:
    void writeText(CellSubzone const& cells, Coordinates const* coordinates)
    {
        std::string text = "# subzone " + client::textOf(cells.address) + ": " +
                           std::to_string(cells.numCells) + " cells, " +
                           client::nameOf(cells.shape) + " of " +
                           std::to_string(cells.numNodesPerCell) + " nodes\n";
        for (std::size_t c = 0; c < cells.numCells; ++c) {
            char separator = '\0';
            for (NodeAddress const& node : cells.nodesOf(c)) {
                if (separator != '\0')
                    text += separator;
                separator = ' ';
                text +=
                    client::textOf(node.subzoneAddress()) + ":" + std::to_string(node.itemOffset());
                if (coordinates != nullptr)
                    text += textOf(coordinates->of(node));
            }
            text += '\n';
        }
        m_output.write(text);
    }

    void writeJson(CellSubzone const& cells, Coordinates const* coordinates)
    {
        json entry = jsonOfAddress(cells.address);
        entry["shape"] = client::nameOf(cells.shape);
        entry["corners"] = cells.numCornersPerCell;
        entry["faces"] = cells.numFacesPerCell;
        entry["nodeSubzones"] = json::array();
        for (SubzoneAddress const& subzone : cells.nodeSubzones)
            entry["nodeSubzones"].push_back(
                {{"partition", subzone.partition()}, {"subzone", subzone.subzoneOffset()}});
        entry["cells"] = json::array();
        for (std::size_t c = 0; c < cells.numCells; ++c) {
            json nodes = json::array();
            json points = json::array();
            for (NodeAddress const& node : cells.nodesOf(c)) {
                nodes.push_back(
                    json::array({node.subzoneAddress().partition(),
                                 node.subzoneAddress().subzoneOffset(), node.itemOffset()}));
                if (coordinates != nullptr)
                    points.push_back(coordinates->of(node));
            }
            entry["cells"].push_back(std::move(nodes));
            if (coordinates != nullptr)
                entry["coordinates"].push_back(std::move(points));
        }
        m_output.write((m_isFirst ? "" : ",") + dumped(entry));
    }

    bool m_asJson;
    Output& m_output;
    bool m_isFirst = true;
};

}

void reportCells(Engine& engine, CellRequest const& request, bool asJson, Output& output)
{
    int const zone = zoneNumberOf(request.zone, engine.dataSet());
    std::optional<Coordinates> coordinates;
    if (request.withCoordinates)
        coordinates.emplace(engine, zone, variablesOf(request, engine.dataSet()));
    CellWriter writer(asJson, output);
    bool hasBegun = false;
    auto const begin = [&] {
        if (!hasBegun)
            writer.begin(*engine.dataSet().zone(zone), request.withCoordinates);
        hasBegun = true;
    };
    auto const write = [&](CellSubzone const& cells) {
        if (coordinates)
            coordinates->fetch(cells.nodeSubzones);
        begin();
        writer.subzone(cells, coordinates ? &*coordinates : nullptr);
    };
    if (request.subzones.empty())
        engine.allCells(zone, write);
    else
        engine.cells(zone, request.subzones, write);
    begin();
    writer.end();
}

}
