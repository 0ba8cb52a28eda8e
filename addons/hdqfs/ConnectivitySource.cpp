#include "addons/hdqfs/ConnectivitySource.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::hdqfsloader {

namespace {

using hdqio::ZoneMetadata;

bool areCutAlike(ZoneMetadata const& a, ZoneMetadata const& b)
{
    // Of a zone that isn't in subzones these are null, although it has a partition.
    if (a.isHdqZone == 0 || b.isHdqZone == 0)
        return false;
    if (a.zoneType != b.zoneType || a.numPartitions != b.numPartitions ||
        a.numCellsPerSecPtn.size() != b.numCellsPerSecPtn.size())
        return false;
    auto const areEqual = [&](auto const& ofA, auto const& ofB) {
        return std::equal(ofA.data(), ofA.data() + a.numPartitions, ofB.data());
    };
    for (std::size_t s = 0; s < a.numCellsPerSecPtn.size(); ++s)
        if (!areEqual(a.numCellsPerSecPtn[s], b.numCellsPerSecPtn[s]))
            return false;
    return areEqual(a.numNodesPerPtn, b.numNodesPerPtn);
}

}

DataSet::ZoneInFile const& ConnectivitySource::zone()
{
    if (m_isChecked)
        return m_source;
    if (!areCutAlike(m_own.file->zone(m_own.zone), m_source.file->zone(m_source.zone)))
        throw std::runtime_error("Zone " + std::to_string(m_own.zone + 1) + " of " +
                                 m_own.file->path() + " shares the connectivity of zone " +
                                 std::to_string(m_source.zone + 1) +
                                 ", which is cut into subzones in another way.");
    m_isChecked = true;
    return m_source;
}

}
