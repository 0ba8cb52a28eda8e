#include "tools/vnxinfo/Check.h"

#include "tools/vnxinfo/BoxCheck.h"
#include "tools/vnxinfo/CoverageCheck.h"
#include "tools/vnxinfo/Description.h"
#include "tools/vnxinfo/HeaderCheck.h"
#include "tools/vnxinfo/MeshCheck.h"
#include "tools/vnxinfo/MeshRanges.h"
#include "tools/vnxinfo/VarCheck.h"
#include "tools/vnxinfo/ZoneCheck.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace varnox::tools {

using hdqio::MinMax;
using hdqio::ZoneMetadata;

namespace {

/// The zones whose connectivity the zones have, by zone. Follows their shares, which end.
std::vector<std::uint32_t> connectivitySources(CheckedFile const& file)
{
    constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;
    std::vector<std::uint32_t> result(file.numZones(), UNKNOWN);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t z = 0; z < file.numZones(); ++z) {
        chain.assign(1, z);
        while (result[chain.back()] == UNKNOWN &&
               file.headers.shareConnectivity[chain.back()] != -1)
            chain.push_back(
                static_cast<std::uint32_t>(file.headers.shareConnectivity[chain.back()]));
        std::uint32_t const last = chain.back();
        std::uint32_t const source = result[last] == UNKNOWN ? last : result[last];
        for (std::uint32_t const link : chain)
            result[link] = source;
    }
    return result;
}

bool areCutAlike(ZoneMetadata const& a, ZoneMetadata const& b)
{
    if (!a.isHdqZone || !b.isHdqZone || a.zoneType != b.zoneType ||
        a.numPartitions != b.numPartitions ||
        a.numCellsPerSecPtn.size() != b.numCellsPerSecPtn.size())
        return false;
    for (std::uint32_t p = 0; p < a.numPartitions; ++p) {
        if (a.numNodesPerPtn[p] != b.numNodesPerPtn[p])
            return false;
        for (std::size_t s = 0; s < a.numCellsPerSecPtn.size(); ++s)
            if (a.numCellsPerSecPtn[s][p] != b.numCellsPerSecPtn[s][p])
                return false;
    }
    return true;
}

/// Without connectivity a subzone's range of the other kind can only be held to the zone's range.
void checkLooseRanges(CheckedFile& file, std::uint32_t z, ZoneCrossRanges const& cross)
{
    for (std::uint32_t v = 0; v < cross.size(); ++v) {
        bool const isNodal = file.isNodal(z, v);
        MinMax const& ofZone = file.headers.zoneMinMaxes[v][z];
        bool const isRounded = file.isAscii();
        for (std::uint32_t p = 0; p < cross[v].size(); ++p)
            for (std::size_t s = 0; s < cross[v][p].ranges.size(); ++s)
                for (std::size_t n = 0; n < cross[v][p].ranges[s].size(); ++n) {
                    MinMax const range = cross[v][p].ranges[s][n];
                    bool const isNone = range.min > range.max;
                    bool const isWithin =
                        isRounded || (range.min >= ofZone.min && range.max <= ofZone.max);
                    bool const isRange = range.min <= range.max && isWithin;
                    bool const isOfNothing = isNone && range.min == -range.max &&
                                             range.min == std::numeric_limits<double>::infinity();
                    if (!isRange && !isOfNothing)
                        file.faults.add(
                            {isNodal ? "range of a cell subzone" : "range of a node subzone", z, p,
                             v, -1, static_cast<std::int64_t>(n)},
                            "It is " + textOf(range) + ", which isn't within the zone's range of " +
                                textOf(ofZone) + ".");
                }
    }
}

/// The examination of one file, against its grid file if there is one.
class FileCheck
{
public:
    FileCheck(CheckedFile& file, CheckedFile* grid) : m_file(file), m_grid(grid) {}

    void run()
    {
        if (!checkHeaders(m_file))
            return;
        if (m_file.description.dataFileType() != DataFileType_Solution)
            m_grid = nullptr;
        m_file.zones.resize(m_file.numZones());
        m_cross.resize(m_file.numZones());
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z) {
            checkZone(z);
            // Nothing refers to what such a zone has, and there may be many.
            if (!isOfCells(z))
                finish(z);
        }
        if (m_grid != nullptr)
            holdToGrid();
        findSharers();
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z)
            if (isOfCells(z))
                finish(z);
        checkCoverage(m_file);
    }

private:
    template <typename F>
    void guarded(Place const& place, F const& f)
    {
        m_file.attempt(place, {}, [&] {
            m_file.reader.unwatch();
            f();
            return true;
        });
    }

    /// Whether it is a zone in subzones with cells of its own, which others may share.
    bool isOfCells(std::uint32_t z) const
    {
        ZoneMetadata const& zone = m_file.zones[z].metadata;
        return zone.isHdqZone && !zone.isOrdered();
    }

    void finish(std::uint32_t z)
    {
        guarded({"ranges of subzones", z}, [&] { checkCrossRanges(z); });
        if (isOfCells(z))
            return;
        m_cross[z] = {};
        m_file.zones[z].metadata.forgetZoneHeader();
    }

    void checkZone(std::uint32_t z)
    {
        checkZoneHeader(m_file, z);
        CheckedZone const& zone = m_file.zones[z];
        if (!zone.isRead)
            return;
        checkNodeMap(m_file, z);
        checkFaceNeighbors(m_file, z);
        if (!zone.metadata.isHdqZone)
            checkPlainVariables(m_file, z);
        else
            m_cross[z] = checkHdqVariables(m_file, z);
        checkSharing(z);
    }

    /// Volumes have connectivity, of their own or another's.
    void checkSharing(std::uint32_t z)
    {
        ZoneMetadata const& zone = m_file.zones[z].metadata;
        bool const isVolume = zone.zoneType == ZoneType_FETetra ||
                              zone.zoneType == ZoneType_FEBrick ||
                              (zone.isMixed() && zone.numDimensions == 3);
        if (!zone.isHdqZone || !isVolume ||
            m_file.description.dataFileType() == DataFileType_Solution)
            return;
        bool const hasOwn = hasConnectivity(m_file, z);
        bool const shares = m_file.headers.shareConnectivity[z] != -1;
        if (!hasOwn && !shares && zone.ijk.j != 0)
            m_file.faults.add({"connectivity", z}, "The zone has none and shares none.");
        if (hasOwn && shares)
            m_file.faults.add({"connectivity", z},
                              "The zone has its own and shares that of zone " +
                                  std::to_string(m_file.headers.shareConnectivity[z] + 1) + ".");
    }

    /// A solution file has the zones of its grid file.
    void holdToGrid()
    {
        if (m_grid->numZones() != m_file.numZones()) {
            m_file.faults.add({"zones"}, "There are " + std::to_string(m_file.numZones()) +
                                             ", and " + std::to_string(m_grid->numZones()) +
                                             " in the grid file.");
            m_grid = nullptr;
            return;
        }
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z) {
            auto const& own = m_file.headers;
            auto const& grids = m_grid->headers;
            if (own.zoneTypes[z] != grids.zoneTypes[z] ||
                own.iMaxOrNumNodes[z] != grids.iMaxOrNumNodes[z] ||
                own.jMaxOrNumCells[z] != grids.jMaxOrNumCells[z] ||
                own.kMaxOrNumFaces[z] != grids.kMaxOrNumFaces[z])
                m_file.faults.add({"zone", z}, "Its type or size differs from the grid file's.");
        }
    }

    void checkCrossRanges(std::uint32_t z)
    {
        CheckedZone const& zone = m_file.zones[z];
        if (!zone.isRead || !zone.metadata.isHdqZone)
            return;
        if (zone.metadata.isOrdered()) {
            if (std::all_of(zone.isPartitionRead.begin(), zone.isPartitionRead.end(),
                            [](bool isRead) { return isRead; }))
                checkOrderedRanges(m_file, z, m_cross[z]);
            return;
        }
        if (hasConnectivity(m_file, z)) {
            std::vector<std::uint32_t> zones{z};
            if (m_grid == nullptr)
                zones.insert(zones.end(), m_sharers[z].begin(), m_sharers[z].end());
            MeshRanges ranges(m_file, zones, m_cross);
            if (checkConnectivity(m_file, z, [&](auto const& cells) { ranges.take(cells); }))
                ranges.finish();
        } else if (m_isSharer[z]) {
            checkSharers(m_sources[z], z);
        } else if (hasCrossRanges(m_cross[z])) {
            checkLooseRanges(m_file, z, m_cross[z]);
        }
    }

    /// Which zones lie on the cells of another one, of this file or of its grid file. Many zones
    /// may share the connectivity of one, which is then gone through once.
    void findSharers()
    {
        CheckedFile& meshFile = m_grid != nullptr ? *m_grid : m_file;
        m_sources = connectivitySources(meshFile);
        m_sharers.resize(meshFile.numZones());
        m_isSharer.resize(m_file.numZones());
        for (std::uint32_t z = 0; z < m_file.numZones(); ++z) {
            std::uint32_t const source = m_sources[z];
            if (!isOfCells(z) || !m_file.zones[z].isRead || hasConnectivity(m_file, z) ||
                !hasCrossRanges(m_cross[z]) || !hasConnectivity(meshFile, source) ||
                !areCutAlike(meshFile.zones[source].metadata, m_file.zones[z].metadata))
                continue;
            m_sharers[source].push_back(z);
            m_isSharer[z] = true;
        }
    }

    /// Zones of this file that lie on a zone of its grid file, when the turn of the first has come.
    /// Those that lie on one of this file were checked with it.
    void checkSharers(std::uint32_t source, std::uint32_t z)
    {
        if (m_grid == nullptr || m_sharers[source].front() != z)
            return;
        MeshRanges ranges(m_file, m_sharers[source], m_cross);
        if (walkConnectivity(*m_grid, source, [&](auto const& cells) { ranges.take(cells); }))
            ranges.finish();
    }

    CheckedFile& m_file;
    CheckedFile* m_grid;
    std::vector<ZoneCrossRanges> m_cross;
    std::vector<std::uint32_t> m_sources; ///< Of connectivity, in the file that has the grid.
    std::vector<std::vector<std::uint32_t>> m_sharers; ///< By source, the other zones.
    std::vector<bool> m_isSharer;
};

bool isGridForOthers(CheckedFile const& file)
{
    return file.description.dataFileType() == DataFileType_Grid && file.faults.isEmpty();
}

Json verdictOf(CheckedFile const& file)
{
    Json faults = Json::array();
    for (Fault const& fault : file.faults.kept())
        faults.push_back({{"place", fault.place},
                          {"at", fault.fileLoc ? Json(*fault.fileLoc) : Json()},
                          {"text", fault.text}});
    return {{"file", file.path},
            {"sound", file.faults.isEmpty()},
            {"numFaults", file.faults.count()},
            {"faults", faults}};
}

void writeText(CheckedFile const& file, Output& output)
{
    for (Fault const& fault : file.faults.kept())
        output.write(shown(file.path + ": " + fault.place +
                           (fault.fileLoc ? ", at " + std::to_string(*fault.fileLoc) : "") + ": " +
                           fault.text) +
                     "\n");
    if (file.faults.isEmpty())
        output.write(shown(file.path) + ": sound\n");
    else
        output.write(shown(file.path) + ": " + std::to_string(file.faults.count()) +
                     (file.faults.count() == 1 ? " fault\n" : " faults\n"));
}

}

Faults findFaults(std::string const& path)
{
    CheckedFile file(path);
    FileCheck(file, nullptr).run();
    return file.faults;
}

Faults findFaults(std::string const& path, std::string const& gridPath)
{
    CheckedFile grid(gridPath);
    FileCheck(grid, nullptr).run();
    CheckedFile file(path);
    FileCheck(file, isGridForOthers(grid) ? &grid : nullptr).run();
    return file.faults;
}

bool checkFiles(std::vector<std::string> const& paths, bool asJson, Output& output)
{
    std::unique_ptr<CheckedFile> grid;
    bool isSound = true;
    Json list = Json::array();
    for (std::string const& path : paths) {
        auto file = std::make_unique<CheckedFile>(path);
        FileCheck(*file, grid.get()).run();
        isSound = isSound && file->faults.isEmpty();
        if (asJson)
            list.push_back(verdictOf(*file));
        else
            writeText(*file, output);
        if (path == paths.front() && isGridForOthers(*file))
            grid = std::move(file);
    }
    if (asJson)
        output.write(serialized(list.size() == 1 ? list[0] : list, 1) + "\n");
    return isSound;
}

}
