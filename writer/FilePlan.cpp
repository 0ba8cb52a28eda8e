#include "writer/FilePlan.h"

#include "filedata/FileDescription.h"
#include "writer/Checks.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace varnox::hdqfswriter {

namespace {

std::uint32_t versionFor(DataSet const& dataSet, Options const& options)
{
    if (options.version)
        return *options.version;
    bool const isMixed = std::any_of(dataSet.zones.begin(), dataSet.zones.end(),
                                     [](Zone const& zone) { return zone.type == ZoneType::Mixed; });
    return isMixed ? hdqio::NEWEST_FILE_VERSION : hdqio::FIRST_VERSION_WITH_FILE_TYPE;
}

/// The place of a type among all, by the width of its ranges: in text an integer is narrower than a
/// float of as many bytes.
int rankOf(ValueType type)
{
    switch (type) {
    case ValueType::Byte:
    case ValueType::Bit:
        return 1;
    case ValueType::Int16:
        return 2;
    case ValueType::Int32:
        return 3;
    case ValueType::Float:
        return 4;
    case ValueType::Double:
        return 5;
    }
    return 0;
}

bool isWider(ValueType type, ValueType other, bool isText)
{
    auto const widthOf = [isText](ValueType of) {
        return of == ValueType::Int32 && !isText ? rankOf(ValueType::Float) : rankOf(of);
    };
    return widthOf(type) > widthOf(other);
}

/// The variable whose ranges would be overwritten by those of the next one, in a zone in
/// partitions.
struct Clash
{
    std::size_t zone;
    std::uint32_t variable;
    std::uint32_t next;
};

std::optional<Clash> findClash(DataSet const& dataSet, std::vector<std::uint32_t> const& order,
                               bool isText)
{
    for (std::size_t z = 0; z < dataSet.zones.size(); ++z) {
        Zone const& zone = dataSet.zones[z];
        for (std::size_t v = 1; numPartitions(zone) > 1 && v < order.size(); ++v)
            if (isWider(zone.variables[order[v - 1]].type, zone.variables[order[v]].type, isText))
                return Clash{z, order[v - 1], order[v]};
    }
    return std::nullopt;
}

[[noreturn]] void refuse(DataSet const& dataSet, Clash const& clash, char const* why)
{
    throw std::runtime_error("Cannot write " + nameOf(dataSet, clash.zone) +
                             ", in partitions: variable '" + dataSet.variableNames[clash.variable] +
                             "' is of a wider type than '" + dataSet.variableNames[clash.next] +
                             "' behind it" + why + ".");
}

// Readers step through the ranges of partitions by the type of each variable: a narrow one behind a
// wide one would begin inside it.
std::vector<std::uint32_t> orderVariables(DataSet const& dataSet, Options const& options)
{
    std::vector<std::uint32_t> order(dataSet.variableNames.size());
    std::iota(order.begin(), order.end(), 0U);
    std::optional<Clash> clash = findClash(dataSet, order, options.isText);
    if (!clash)
        return order;
    if (options.keepVariableOrder)
        refuse(dataSet, *clash, "");
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        for (Zone const& zone : dataSet.zones) {
            int const rankA = rankOf(zone.variables[a].type);
            int const rankB = rankOf(zone.variables[b].type);
            if (numPartitions(zone) > 1 && rankA != rankB)
                return rankA < rankB;
        }
        return false;
    });
    clash = findClash(dataSet, order, options.isText);
    if (clash)
        refuse(dataSet, *clash, ", and no order suits all zones");
    return order;
}

std::uint32_t checkedVersion(DataSet const& dataSet, Options const& options)
{
    std::uint32_t const version = versionFor(dataSet, options);
    checkDataSet(dataSet, options, version);
    return version;
}

}

FilePlan::FilePlan(DataSet const& data, Options const& how)
    : dataSet(data), options(how), version(checkedVersion(data, how)),
      variables(orderVariables(data, how))
{
}

bool FilePlan::hasConnectivity(std::size_t zoneIndex) const
{
    return !isOrdered(zone(zoneIndex)) && !isSolution() && zone(zoneIndex).connectivityFrom == -1 &&
           !hasCellsOfAnyShape(zone(zoneIndex));
}

}
