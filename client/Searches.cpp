#include "client/Converse.h"
#include "client/Engine.h"
#include "command/LoaderCommands.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

// Ranges, and searches of subzones.

namespace varnox::client {

using namespace hdqremote;
using socketutil::WriteCache;

namespace {

std::string nameOfKind(ValueLocation_e kind)
{
    return kind == ValueLocation_Nodal ? "node" : "cell";
}

std::string nameOf(Axis axis)
{
    constexpr std::array NAMES{"I", "J", "K"};
    return NAMES[static_cast<std::size_t>(axis)];
}

std::int64_t numAlong(Zone const& zone, Axis axis, ValueLocation_e kind)
{
    std::int64_t const nodes = zone.size[static_cast<std::size_t>(axis)];
    return kind == ValueLocation_Nodal ? nodes : std::max<std::int64_t>(nodes, 2) - 1;
}

}

std::vector<Range> Engine::receiveRanges(std::uint64_t count)
{
    std::vector<double> const received =
        m_socket.receiveVector<double>(static_cast<std::size_t>(2 * count));
    if (received.size() != 2 * count)
        throw ProtocolViolation("The server sent " + std::to_string(received.size()) +
                                " numbers for " + std::to_string(count) + " ranges.");
    std::vector<Range> result;
    for (std::size_t i = 0; i < received.size(); i += 2)
        result.push_back({received[i], received[i + 1]});
    return result;
}

std::vector<Range> Engine::partitionRanges(int zone, int var)
{
    Source const source = sourceOf(zone, var);
    std::string const name = nameOfVariable(dataSet(), var, zone);
    if (!source.variable.hasQueries)
        throw Error("The " + name + " has no ranges of partitions.");
    std::size_t const count = shape(source.zone.number).partitions.size();
    return converse("asking for ranges of " + name, [&] {
        sendQuery(VAR_SUBZONE_QUERY, source);
        m_socket.sendString(PARTITION_MIN_MAXES);
        return receiveRanges(count);
    });
}

std::vector<Range> Engine::subzoneRanges(int zone, int var, std::uint32_t partition)
{
    return subzoneRanges(zone, var, partition, sourceOf(zone, var).variable.location);
}

std::vector<Range> Engine::subzoneRanges(int zone, int var, std::uint32_t partition,
                                         ValueLocation_e kind)
{
    Source const source = sourceOf(zone, var);
    std::string const name = nameOfVariable(dataSet(), var, zone);
    if (!source.variable.hasQueries)
        throw Error("The " + name + " has no ranges of subzones.");
    auto const& partitions = shape(source.zone.number).partitions;
    if (partition >= partitions.size())
        throw Error("There is no partition " + std::to_string(partition) + " in zone " +
                    std::to_string(source.zone.number) + "; it has " +
                    std::to_string(partitions.size()) + ", which count from 0.");
    bool const isNodal = kind == ValueLocation_Nodal;
    std::uint64_t const count = partitions[partition].numSubzones(kind);
    return converse("asking for ranges of " + name, [&] {
        sendQuery(VAR_SUBZONE_QUERY, source);
        m_socket.sendString(isNodal ? NODE_SUBZONE_MIN_MAXES : CELL_SUBZONE_MIN_MAXES);
        m_socket.sendUInt32(partition);
        return receiveRanges(count);
    });
}

void Engine::sendZoneQuery(std::string const& service, Zone const& zone, std::string const& method)
{
    WriteCache command;
    command.addString(service);
    command.addInt(zone.number - 1);
    command.addString(method);
    m_socket.sendCache(command);
}

bool Engine::hasVariable(int zone, int var)
{
    Zone const& asked = zoneOf(zone);
    if (DataSet::variable(asked, var) == nullptr)
        throw noSuchVariable(asked, var);
    if (!asked.hasIdentityQueries)
        throw Error("Zone " + std::to_string(zone) + " can't be asked for its variables.");
    long const id = dataSet().variables[static_cast<std::size_t>(var - 1)].uniqueId;
    return converse("asking for a variable of zone " + std::to_string(zone), [&] {
        sendZoneQuery(ZONE_VARID_QUERY, asked, VAR_EXISTS);
        m_socket.sendUInt64(static_cast<std::uint64_t>(id));
        return m_socket.receiveUInt8() != 0;
    });
}

/// Addresses in the order of the zone, each of a subzone that exists.
std::vector<SubzoneAddress> Engine::receiveSubzones(ZoneShape const& zoneShape,
                                                    ValueLocation_e kind)
{
    auto const words = m_socket.receiveVector<std::uint64_t>(
        static_cast<std::size_t>(zoneShape.numSubzones(kind)));
    std::vector<SubzoneAddress> result;
    result.reserve(words.size());
    for (std::uint64_t const word : words) {
        SubzoneAddress const address(word);
        bool const exists = address.subzoneOffset() <
                            zoneShape.numSubzones(kind, address.partition(), address.section());
        if (!exists || (!result.empty() && !(result.back() < address)))
            throw ProtocolViolation(
                "The server found the " + nameOfKind(kind) + " subzone " + textOf(address) +
                (exists ? " out of order or twice." : ", which doesn't exist."));
        result.push_back(address);
    }
    return result;
}

std::vector<SubzoneAddress>
Engine::subzonesThatMayHold(int zone, std::vector<WantedValue> const& wanted, ValueLocation_e kind)
{
    Zone const& searched = zoneOf(zone);
    if (!searched.hasIdentityQueries)
        throw Error("Zone " + std::to_string(zone) +
                    " can't be searched by value: it has no "
                    "subzones, or the loader doesn't offer it.");
    std::vector<double> values;
    std::vector<unsigned long> ids;
    for (WantedValue const& each : wanted) {
        sourceOf(zone, each.var); // complains about one that doesn't exist
        values.push_back(each.value);
        ids.push_back(static_cast<unsigned long>(
            dataSet().variables[static_cast<std::size_t>(each.var - 1)].uniqueId));
    }
    ZoneShape const& zoneShape = shape(zone);
    return converse("searching zone " + std::to_string(zone), [&] {
        sendZoneQuery(ZONE_VARID_QUERY, searched,
                      kind == ValueLocation_Nodal ? FIND_NODE_SUBZONES : FIND_CELL_SUBZONES);
        m_socket.sendDoubleVector(values);
        m_socket.sendUInt64Vector(ids);
        return receiveSubzones(zoneShape, kind);
    });
}

// Planes and lines.

Zone const& Engine::orderedZoneOf(int number) const
{
    Zone const& zone = zoneOf(number);
    if (!zone.isOrdered())
        throw Error("Zone " + std::to_string(number) +
                    " has no planes and lines: it is of the type " + client::nameOf(zone.type) +
                    ", not ordered.");
    if (!zone.hasOrderedQueries)
        throw Error("Zone " + std::to_string(number) +
                    " can't be searched by plane and line: it "
                    "has no subzones, or the loader doesn't offer it.");
    return zone;
}

void Engine::requireIndex(Zone const& zone, Axis axis, std::int64_t index, ValueLocation_e kind)
{
    std::int64_t const count = numAlong(zone, axis, kind);
    if (index < 0 || index >= count)
        throw Error("There is no " + nameOf(axis) + " = " + std::to_string(index) + " among the " +
                    nameOfKind(kind) + "s of zone " + std::to_string(zone.number) +
                    ": indices count from 0, and here there are " + std::to_string(count) + ".");
}

std::vector<SubzoneAddress> Engine::subzonesOfPlane(int zone, Axis axis, std::int64_t index,
                                                    ValueLocation_e kind)
{
    Zone const& searched = orderedZoneOf(zone);
    requireIndex(searched, axis, index, kind);
    ZoneShape const& zoneShape = shape(zone);
    return converse("searching zone " + std::to_string(zone), [&] {
        sendZoneQuery(ORDERED_SUBZONE_QUERY, searched,
                      kind == ValueLocation_Nodal ? FIND_IJKPLANE_NODE_SUBZONES
                                                  : FIND_IJKPLANE_CELL_SUBZONES);
        m_socket.sendInt32(static_cast<std::int32_t>(axis));
        m_socket.sendInt64(index);
        return receiveSubzones(zoneShape, kind);
    });
}

std::vector<SubzoneAddress> Engine::subzonesOfLine(int zone, Axis along, std::int64_t first,
                                                   std::int64_t second, ValueLocation_e kind)
{
    Zone const& searched = orderedZoneOf(zone);
    requireIndex(searched, along == Axis::I ? Axis::J : Axis::I, first, kind);
    requireIndex(searched, along == Axis::K ? Axis::J : Axis::K, second, kind);
    constexpr std::int64_t MAX_INT = std::numeric_limits<std::int32_t>::max();
    if (kind != ValueLocation_Nodal && (first > MAX_INT || second > MAX_INT))
        throw Error("The line lies beyond what can be said of cells: indices of up to " +
                    std::to_string(MAX_INT) + ".");
    ZoneShape const& zoneShape = shape(zone);
    return converse("searching zone " + std::to_string(zone), [&] {
        // The indices of cells travel in 4 bytes, all others in 8.
        if (kind == ValueLocation_Nodal) {
            sendZoneQuery(ORDERED_SUBZONE_QUERY, searched, FIND_IJKLINE_NODE_SUBZONES);
            m_socket.sendInt32(static_cast<std::int32_t>(along));
            m_socket.sendInt64(first);
            m_socket.sendInt64(second);
        } else {
            sendZoneQuery(ORDERED_SUBZONE_QUERY, searched, FIND_IJKLINE_CELL_SUBZONES);
            m_socket.sendInt32(static_cast<std::int32_t>(along));
            m_socket.sendInt(static_cast<int>(first));
            m_socket.sendInt(static_cast<int>(second));
        }
        return receiveSubzones(zoneShape, kind);
    });
}

// Duplicates.

int Engine::duplicateZone(int zone)
{
    Zone const& source = zoneOf(zone);
    if (!source.hasIdentityQueries)
        throw Error("Zone " + std::to_string(zone) +
                    " can't be duplicated: it has no subzones, or "
                    "the loader doesn't offer it.");
    int const expected = static_cast<int>(dataSet().zones.size()) + 1;
    converse("duplicating zone " + std::to_string(zone), [&] {
        sendZoneQuery(ZONE_VARID_QUERY, source, DUPLICATE_ZONE);
        int const index = m_socket.receiveInt();
        if (index != expected - 1)
            throw ProtocolViolation("The server gave a duplicate of zone " + std::to_string(zone) +
                                    " the index " + std::to_string(index) + ", and " +
                                    std::to_string(expected - 1) + " is the next.");
    });
    m_builder.addDuplicate(zone);
    m_duplicates[expected] = zone;
    return expected;
}

}
