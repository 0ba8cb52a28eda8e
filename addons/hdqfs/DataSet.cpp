#include "addons/hdqfs/DataSet.h"

#include "filedata/ZoneTypes.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::hdqfsloader {

namespace {

/// Zone numbers are 32-bit numbers that count from 1.
constexpr std::uint64_t MAX_ZONES = 0x7FFFFFFE;

bool haveSameBricks(DataFile const& a, DataFile const& b)
{
    hdqio::IJK const ofA = a.description().getMaxIJKSubzoneSize();
    hdqio::IJK const ofB = b.description().getMaxIJKSubzoneSize();
    return ofA.i == ofB.i && ofA.j == ofB.j && ofA.k == ofB.k;
}

/// Over all zones: those with values of their own.
std::uint64_t numVarsInSubzones(DataFile const& grid, DataFile const& file)
{
    std::uint64_t result = 0;
    for (std::uint32_t zone = 0; zone < grid.numZones(); ++zone) {
        if (!hdqio::isHdqFileChar(grid.headers().zoneTypes[zone]))
            continue;
        for (std::uint32_t var = 0; var < file.numVars(); ++var)
            if (!file.isPassive(zone, var) && file.sharedFrom(zone, var) == -1)
                ++result;
    }
    return result;
}

}

std::string DataSet::FileSet::varName(std::uint32_t var) const
{
    return var < grid().numVars() ? grid().headers().varNames[var]
                                  : files[1]->headers().varNames[var - grid().numVars()];
}

DataSet::DataSet(std::vector<std::string> const& paths)
{
    groupFiles(paths);
    std::uint64_t total = 0;
    for (auto const& set : m_sets) {
        set->firstZone = static_cast<std::uint32_t>(total);
        total += std::uint64_t{set->numCopies()} * set->grid().numZones();
        if (total > MAX_ZONES)
            throw std::runtime_error(
                "The files have more zones together than a data set can have.");
        for (std::uint32_t copy = 0; copy < set->numCopies(); ++copy)
            for (std::uint32_t zone = 0; zone < set->grid().numZones(); ++zone)
                m_zones.push_back({set.get(), copy, zone});
    }
    m_title = m_sets.front()->grid().title();
    collectNames();
    checkNames();
    checkNumVars();
    checkSubzones();
    resolveSharing();
}

void DataSet::groupFiles(std::vector<std::string> const& paths)
{
    if (paths.empty())
        throw std::runtime_error("No file was named.");
    for (std::string const& path : paths) {
        auto file = std::make_unique<DataFile>(path);
        if (file->type() == DataFileType_Solution) {
            if (m_sets.empty())
                throw std::runtime_error("The solution file " + path +
                                         " must follow its grid file.");
            FileSet& set = *m_sets.back();
            checkSolution(set.grid(), set.files.size() > 1 ? *set.files[1] : *file, *file);
            set.files.push_back(std::move(file));
        } else {
            m_sets.push_back(std::make_unique<FileSet>());
            m_sets.back()->files.push_back(std::move(file));
        }
    }
}

void DataSet::checkSolution(DataFile const& grid, DataFile const& first, DataFile const& solution)
{
    auto const refuse = [&](std::string const& what) {
        throw std::runtime_error("The solution file " + solution.path() + " has other " + what +
                                 " than " + grid.path() + ", the grid file ahead of it.");
    };
    if (solution.numZones() != grid.numZones())
        refuse("zones");
    for (std::uint32_t z = 0; z < grid.numZones(); ++z) {
        auto const& ours = grid.headers();
        auto const& theirs = solution.headers();
        if (theirs.zoneTypes[z] != ours.zoneTypes[z] ||
            theirs.iMaxOrNumNodes[z] != ours.iMaxOrNumNodes[z] ||
            theirs.jMaxOrNumCells[z] != ours.jMaxOrNumCells[z] ||
            theirs.kMaxOrNumFaces[z] != ours.kMaxOrNumFaces[z])
            refuse("types or sizes of zones");
        // Queries ask the grid which nodes and cells a brick has, and the solution for their
        // values.
        if (hdqio::isHdqFileChar(ours.zoneTypes[z]) &&
            hdqio::zoneTypeFromFileChar(ours.zoneTypes[z]) == ZoneType_Ordered &&
            !haveSameBricks(grid, solution))
            refuse("sizes of subzones");
    }
    bool sameNames = solution.numVars() == first.numVars();
    for (std::uint32_t v = 0; sameNames && v < first.numVars(); ++v)
        sameNames = solution.headers().varNames[v] == first.headers().varNames[v];
    if (!sameNames)
        throw std::runtime_error("The solution files " + first.path() + " and " + solution.path() +
                                 " have different variables.");
}

void DataSet::collectNames()
{
    FileSet const& widest =
        **std::max_element(m_sets.begin(), m_sets.end(), [](auto const& a, auto const& b) {
            return a->numVars() < b->numVars();
        });
    for (std::uint32_t v = 0; v < widest.numVars(); ++v)
        m_varNames.push_back(widest.varName(v));
}

void DataSet::checkNames() const
{
    for (auto const& set : m_sets)
        for (std::uint32_t v = 0; v < set->numVars(); ++v)
            if (set->varName(v) != m_varNames[v])
                throw std::runtime_error("The files can't be loaded together: variable " +
                                         std::to_string(v + 1) + " is \"" + set->varName(v) +
                                         "\" in " + set->grid().path() + " and \"" + m_varNames[v] +
                                         "\" in another file. Load them one by one.");
}

void DataSet::checkNumVars() const
{
    constexpr std::uint64_t FEW = 1'000'000;
    constexpr std::uint64_t MOST_FOR_EACH_OF_THE_FILES = 32;
    std::uint64_t inFiles = 0;
    for (Place const& place : m_zones)
        inFiles += place.set->numVars();
    std::uint64_t const all = std::uint64_t{numZones()} * numVars();
    if (all > FEW && all / MOST_FOR_EACH_OF_THE_FILES > inFiles)
        throw std::runtime_error("The files can't be loaded together: there would be " +
                                 std::to_string(numVars()) + " variables for each of " +
                                 std::to_string(numZones()) +
                                 " zones, of which most have far fewer. Load them one by one.");
}

void DataSet::checkSubzones()
{
    constexpr std::uint64_t FEW = 100'000;
    constexpr std::uint64_t BYTES_IN_HEADERS = 15 + 8; // of the data set, and a location
    for (auto const& set : m_sets) {
        for (auto const& file : set->files) {
            std::uint64_t const count = numVarsInSubzones(set->grid(), *file);
            if (count > FEW && count > m_descriptors.size(file->path()) / BYTES_IN_HEADERS)
                throw std::runtime_error(file->path() + " is too short for the " +
                                         std::to_string(count) +
                                         " variables that its zones have in subzones.");
        }
    }
}

bool DataSet::hasHdqZone() const
{
    for (std::uint32_t zone = 0; zone < numZones(); ++zone)
        if (isHdqZone(zone))
            return true;
    return false;
}

bool DataSet::isHdqZone(std::uint32_t zone) const
{
    Place const& place = m_zones.at(zone);
    return hdqio::isHdqFileChar(place.set->grid().headers().zoneTypes[place.zone]);
}

std::vector<DataSet::PlacedFile> DataSet::files() const
{
    std::vector<PlacedFile> result;
    for (auto const& set : m_sets) {
        DataFile const& grid = set->grid();
        result.push_back({&grid, set->firstZone, set->numCopies(), 0});
        for (std::size_t f = 1; f < set->files.size(); ++f)
            result.push_back({set->files[f].get(),
                              set->firstZone + static_cast<std::uint32_t>(f - 1) * grid.numZones(),
                              1, grid.numVars()});
    }
    return result;
}

DataSet::Zone DataSet::zone(std::uint32_t zone) const
{
    Place const& place = m_zones.at(zone);
    DataFile const& grid = place.set->grid();
    bool const isCopy = place.set->files.size() > 1;
    DataFile const& own = isCopy ? *place.set->files[place.copy + 1] : grid;
    auto const& headers = grid.headers();
    std::uint32_t const z = place.zone;
    std::uint32_t const first = place.set->firstZone + place.copy * grid.numZones();

    Zone result{};
    result.name =
        own.headers().zoneNames[z].empty() ? headers.zoneNames[z] : own.headers().zoneNames[z];
    result.type = hdqio::zoneTypeFromFileChar(headers.zoneTypes[z]);
    result.isHdq = hdqio::isHdqFileChar(headers.zoneTypes[z]);
    result.size = {static_cast<std::int64_t>(headers.iMaxOrNumNodes[z]),
                   static_cast<std::int64_t>(headers.jMaxOrNumCells[z]),
                   static_cast<std::int64_t>(headers.kMaxOrNumFaces[z]), 0};
    result.solutionTime = own.headers().solutionTimes[z];
    result.strandID = own.headers().strandIDs[z];
    std::int32_t const parent = own.headers().parentZones[z];
    result.parent = parent == -1 ? -1 : static_cast<std::int32_t>(first) + parent;
    result.faceNeighborMode = headers.faceNbrModes[z];
    result.connectivityFrom = place.copy > 0 ? static_cast<std::int32_t>(place.set->firstZone + z)
                              : headers.shareConnectivity[z] == -1
                                  ? -1
                                  : static_cast<std::int32_t>(first) + headers.shareConnectivity[z];
    return result;
}

DataSet::VariableInFile DataSet::find(Place const& place, std::uint32_t var)
{
    FileSet const& set = *place.set;
    if (var < set.grid().numVars())
        return {&set.grid(), place.zone, var};
    if (var < set.numVars())
        return {set.files[place.copy + 1].get(), place.zone, var - set.grid().numVars()};
    return {};
}

std::uint32_t DataSet::nextSource(std::uint32_t zone, std::uint32_t var) const
{
    Place const& place = m_zones[zone];
    VariableInFile const found = find(place, var);
    if (found.file == nullptr || found.file->isPassive(found.zone, found.var))
        return zone;
    if (place.copy > 0 && var < place.set->grid().numVars())
        return place.set->firstZone + place.zone;
    std::int32_t const shared = found.file->sharedFrom(found.zone, found.var);
    return shared == -1 ? zone
                        : place.set->firstZone + place.copy * place.set->grid().numZones() +
                              static_cast<std::uint32_t>(shared);
}

void DataSet::resolveSharing()
{
    constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;
    constexpr std::uint32_t ON_THE_WAY = 0xFFFFFFFE;
    m_sources.assign(std::size_t{numVars()} * numZones(), UNKNOWN);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t var = 0; var < numVars(); ++var) {
        std::uint32_t* const sources = m_sources.data() + std::size_t{var} * numZones();
        for (std::uint32_t zone = 0; zone < numZones(); ++zone) {
            // A zone may share from one that shares itself.
            std::uint32_t at = zone;
            chain.clear();
            while (sources[at] == UNKNOWN) {
                chain.push_back(at);
                std::uint32_t const next = nextSource(at, var);
                sources[at] = next == at ? at : ON_THE_WAY;
                if (sources[next] == ON_THE_WAY)
                    throw std::runtime_error("Variable " + std::to_string(var + 1) + " of zone " +
                                             std::to_string(zone + 1) +
                                             " is shared in a ring of zones in " +
                                             m_zones[zone].set->grid().path() + ".");
                at = next;
            }
            for (std::uint32_t const link : chain)
                sources[link] = sources[at];
        }
    }
}

std::int32_t DataSet::sourceOf(std::uint32_t zone, std::uint32_t var) const
{
    std::uint32_t const source = m_sources[std::size_t{var} * numZones() + zone];
    return source == zone ? -1 : static_cast<std::int32_t>(source);
}

DataSet::Variable DataSet::variable(std::uint32_t zone, std::uint32_t var) const
{
    std::int32_t const source = sourceOf(zone, var);
    VariableInFile const found =
        find(m_zones.at(source == -1 ? zone : static_cast<std::uint32_t>(source)), var);
    if (found.file == nullptr || found.file->isPassive(found.zone, found.var)) {
        bool const isNodal = found.file == nullptr || found.file->isNodal(found.zone, found.var);
        return {ValueType::Float, isNodal, true, -1, {0, 0}};
    }
    return {found.file->valueType(found.zone, found.var),
            found.file->isNodal(found.zone, found.var), false, source,
            found.file->headers().zoneMinMaxes[found.var][found.zone]};
}

DataSet::ZoneInFile DataSet::grid(std::uint32_t zone) const
{
    Place const& place = m_zones.at(zone);
    return {&place.set->grid(), place.zone};
}

DataSet::ZoneInFile DataSet::connectivity(std::uint32_t zone) const
{
    ZoneInFile const own = grid(zone);
    return {own.file, own.file->connectivityOf(own.zone)};
}

DataSet::VariableInFile DataSet::values(std::uint32_t zone, std::uint32_t var) const
{
    return find(m_zones.at(zone), var);
}

}
