#include "client/Cells.h"

#include "client/Converse.h"
#include "client/Engine.h"
#include "command/LoaderCommands.h"
#include "query/SubzoneCellConnectivity.h"
#include "query/SubzoneNodeConnectivity.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <stdexcept>

// Cells, and what is around nodes.

namespace varnox::client {

using namespace hdqremote;
using socketutil::WriteCache;

namespace {

/// Subzones of an answer: at 256 hexahedra each this is less than half a megabyte.
constexpr std::size_t SUBZONES_PER_ANSWER = 64;
/// Of two thousand million nodes or cells; the list takes 64 MiB.
constexpr std::uint64_t MOST_LISTED = std::uint64_t{1} << 23;

/// In the order of partition, section and number.
template <typename Visit>
void forEachSubzone(ZoneShape const& shape, ValueLocation_e kind, Visit const& visit)
{
    auto const& partitions = shape.partitions;
    for (std::uint32_t p = 0; p < partitions.size(); ++p) {
        std::size_t const numSections =
            kind == ValueLocation_Nodal ? 1 : partitions[p].numCellSubzones.size();
        for (std::uint32_t section = 0; section < numSections; ++section) {
            std::uint32_t const count = shape.numSubzones(kind, p, section);
            for (std::uint32_t n = 0; n < count; ++n)
                visit(SubzoneAddress(p, section, n));
        }
    }
}

FECellShape_e shapeOf(Zone const& zone, std::uint32_t section)
{
    switch (static_cast<int>(zone.type)) {
    case ZoneType_FETriangle:
        return FECellShape_Triangle;
    case ZoneType_FEQuad:
        return FECellShape_Quadrilateral;
    case ZoneType_FETetra:
        return FECellShape_Tetrahedron;
    case ZoneType_FELineSeg:
        return FECellShape_Line;
    case ZoneType_FEMixed:
        return section < zone.sections.size() ? zone.sections[section].shape : FECellShape_Line;
    default:
        return FECellShape_Hexahedron;
    }
}

/// Fills in the node subzones, and checks that there are such nodes.
void completeNodes(CellSubzone& cells, ZoneShape const& shape)
{
    for (NodeAddress const& node : cells.nodes) {
        SubzoneAddress const subzone = node.subzoneAddress();
        if (cells.nodeSubzones.empty() || cells.nodeSubzones.back() != subzone)
            cells.nodeSubzones.push_back(subzone);
    }
    auto& list = cells.nodeSubzones;
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    for (SubzoneAddress const& subzone : list)
        if (subzone.subzoneOffset() >=
            shape.numSubzones(ValueLocation_Nodal, subzone.partition(), subzone.section()))
            throw ProtocolViolation("The server sent cells of subzone " + textOf(cells.address) +
                                    " with nodes in the node subzone " + textOf(subzone) +
                                    ", which doesn't exist.");
}

[[noreturn]] void throwBadCells(SubzoneAddress const& address, std::string const& what)
{
    throw ProtocolViolation("The server sent subzone " + textOf(address) + " with " + what + ".");
}

CellSubzone receiveCells(socketutil::SocketInterface& socket, SubzoneAddress const& address)
{
    hdqlib::SubzoneCellConnectivity const received(socket);
    CellSubzone result;
    result.address = address;
    result.numCells = received.size();
    result.numCornersPerCell = received.cornerNodeCount();
    result.numNodesPerCell = received.nodeCount();
    result.numFacesPerCell = received.faceCount();
    if (result.numCells > 256 || result.numCornersPerCell > result.numNodesPerCell)
        throwBadCells(address, std::to_string(result.numCells) + " cells of " +
                                   std::to_string(result.numCornersPerCell) + " corners and " +
                                   std::to_string(result.numNodesPerCell) + " nodes");
    result.nodes.resize(result.numCells * result.numNodesPerCell, NodeAddress(0));
    try {
        for (std::size_t c = 0; c < result.numCells; ++c) {
            RawArray<NodeAddress> nodes{nullptr, result.nodes.data() + c * result.numNodesPerCell,
                                        result.numNodesPerCell, result.numNodesPerCell};
            received.nodeAddresses(static_cast<unsigned short>(c), nodes);
        }
    } catch (std::out_of_range const&) {
        throwBadCells(address, "fewer nodes or node subzones than its cells refer to");
    }
    return result;
}

std::vector<SubzoneAddress> cellSubzonesOf(hdqlib::SubzoneNodeConnectivity const& received,
                                           ZoneShape const& zoneShape)
{
    SubzoneAddress* owner = nullptr;
    RawArray<SubzoneAddress> list{&owner, nullptr, 0, 0};
    received.referencedCellSubzones(list);
    std::vector<SubzoneAddress> result(list.data, list.data + list.size);
    delete[] owner;
    for (SubzoneAddress const& cells : result)
        if (cells.subzoneOffset() >=
            zoneShape.numSubzones(ValueLocation_CellCentered, cells.partition(), cells.section()))
            throw ProtocolViolation("The server named the cell subzone " + textOf(cells) +
                                    " at nodes, and it doesn't exist.");
    return result;
}

}

Zone const& Engine::zoneWithCells(int number) const
{
    Zone const& zone = zoneOf(number);
    if (!zone.hasConnectivityQueries)
        throw Error("Zone " + std::to_string(number) +
                    " has no subzones, so its cells can't be had by them.");
    return zone;
}

void Engine::sendCellQuery(Zone const& zone, std::string const& method,
                           std::vector<SubzoneAddress> const& subzones)
{
    std::vector<unsigned long> words;
    words.reserve(subzones.size());
    for (SubzoneAddress const& address : subzones)
        words.push_back(address.word());
    sendZoneQuery(CELL_CONNECTIVITY_QUERY, zone, method);
    if (method == CHECKOUT)
        m_socket.sendUInt8(0);
    m_socket.sendUInt64Vector(words);
}

/// An ordered zone's checkout isn't answered, so its cells are asked for one by one, all questions
/// of a subzone ahead of their answers.
CellSubzone Engine::receiveOrderedCells(Zone const& zone, SubzoneAddress address)
{
    CellSubzone result;
    result.address = address;
    result.numCornersPerCell = 8;
    result.numNodesPerCell = 8;
    result.numFacesPerCell = 6;
    sendZoneQuery(CELL_CONNECTIVITY_QUERY, zone, SUBZONE_SIZE);
    m_socket.sendUInt64(address.word());
    result.numCells = m_socket.receiveUInt16();
    if (result.numCells > 256)
        throwBadCells(address, std::to_string(result.numCells) + " cells");
    for (std::size_t c = 0; c < result.numCells; ++c) {
        sendZoneQuery(CELL_CONNECTIVITY_QUERY, zone, NODE_ADDRESSES);
        m_socket.sendUInt64(NodeAddress(address, static_cast<std::uint8_t>(c)).word());
    }
    for (std::size_t c = 0; c < result.numCells; ++c) {
        auto const words = m_socket.receiveVector<std::uint64_t>(result.numNodesPerCell);
        if (words.size() != result.numNodesPerCell)
            throwBadCells(address, "a cell of " + std::to_string(words.size()) + " nodes");
        for (std::uint64_t const word : words)
            result.nodes.emplace_back(word);
    }
    return result;
}

std::vector<CellSubzone> Engine::checkOutCells(Zone const& zone,
                                               std::vector<SubzoneAddress> const& batch)
{
    ZoneShape const& zoneShape = shape(zone.number);
    return converse("reading the cells of zone " + std::to_string(zone.number), [&] {
        std::vector<CellSubzone> result;
        sendCellQuery(zone, CHECKOUT, batch);
        for (SubzoneAddress const& address : batch) {
            result.push_back(zone.isOrdered() ? receiveOrderedCells(zone, address)
                                              : receiveCells(m_socket, address));
            result.back().shape = shapeOf(zone, address.section());
            completeNodes(result.back(), zoneShape);
        }
        sendCellQuery(zone, CHECKIN, batch);
        return result;
    });
}

void Engine::cells(int zone, std::vector<SubzoneAddress> const& wanted, CellSink const& sink)
{
    Zone const& asked = zoneWithCells(zone);
    for (SubzoneAddress const& address : wanted)
        requireSubzone(asked, ValueLocation_CellCentered, address);
    for (std::size_t first = 0; first < wanted.size(); first += SUBZONES_PER_ANSWER) {
        auto const begin = wanted.begin() + static_cast<std::ptrdiff_t>(first);
        std::size_t const count = std::min(SUBZONES_PER_ANSWER, wanted.size() - first);
        for (CellSubzone const& subzone :
             checkOutCells(asked, {begin, begin + static_cast<std::ptrdiff_t>(count)}))
            sink(subzone);
        report("Reading", first + count, wanted.size());
    }
}

void Engine::allCells(int zone, CellSink const& sink)
{
    Zone const& asked = zoneWithCells(zone);
    ZoneShape const& zoneShape = shape(zone);
    std::uint64_t numReceived = 0;
    auto const numCells = static_cast<std::uint64_t>(asked.numCells());
    std::uint64_t numRead = 0;
    std::vector<SubzoneAddress> batch;
    auto const readBatch = [&] {
        for (CellSubzone const& subzone : checkOutCells(asked, batch)) {
            numReceived += subzone.numCells;
            sink(subzone);
        }
        numRead += batch.size();
        report("Reading", numRead, zoneShape.numCellSubzones());
        batch.clear();
    };
    // Not from a list: of the largest zones that alone takes hundreds of megabytes.
    forEachSubzone(zoneShape, ValueLocation_CellCentered, [&](SubzoneAddress const& subzone) {
        batch.push_back(subzone);
        if (batch.size() == SUBZONES_PER_ANSWER)
            readBatch();
    });
    if (!batch.empty())
        readBatch();
    if (numReceived != numCells)
        throw Error("The subzones of zone " + std::to_string(zone) + " hold " +
                    std::to_string(numReceived) + " cells where the zone has " +
                    std::to_string(numCells) + ".");
}

std::vector<SubzoneAddress> Engine::subzonesOf(int zone, ValueLocation_e kind)
{
    ZoneShape const& zoneShape = shape(zone);
    std::uint64_t const count = zoneShape.numSubzones(kind);
    if (count > MOST_LISTED)
        throw Error("Zone " + std::to_string(zone) + " has " + std::to_string(count) +
                    (kind == ValueLocation_Nodal ? " node" : " cell") +
                    " subzones, too many to list.");
    std::vector<SubzoneAddress> result;
    result.reserve(static_cast<std::size_t>(count));
    forEachSubzone(zoneShape, kind,
                   [&](SubzoneAddress const& subzone) { result.push_back(subzone); });
    return result;
}

std::vector<NodeSubzone> Engine::nodeSubzones(int zone, std::vector<SubzoneAddress> const& wanted)
{
    Zone const& asked = zoneWithCells(zone);
    std::vector<unsigned long> words;
    for (SubzoneAddress const& address : wanted) {
        requireSubzone(asked, ValueLocation_Nodal, address);
        words.push_back(address.word());
    }
    ZoneShape const& zoneShape = shape(zone);
    return converse("reading the nodes of zone " + std::to_string(zone), [&] {
        sendZoneQuery(NODE_CONNECTIVITY_QUERY, asked, CHECKOUT);
        m_socket.sendUInt64Vector(words);
        std::vector<NodeSubzone> result;
        for (SubzoneAddress const& address : wanted) {
            hdqlib::SubzoneNodeConnectivity const received(m_socket);
            result.push_back({address, received.size(), cellSubzonesOf(received, zoneShape)});
        }
        sendZoneQuery(NODE_CONNECTIVITY_QUERY, asked, CHECKIN);
        m_socket.sendUInt64Vector(words);
        return result;
    });
}

}
