#include "filedata/ZoneVarMetadata.h"

#include "filedata/ZoneTypes.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace varnox::hdqio {

namespace {

template <typename T>
bool allocZeros(PlainDataVector<T>& out, std::uint64_t n)
{
    return out.allocFilled(n, 0);
}

template <typename T>
bool allocZeros(LightweightVector<T>& out, std::uint64_t n)
{
    if (!out.alloc(n))
        return false;
    if constexpr (std::is_trivially_copyable_v<T>)
        std::fill(out.begin(), out.end(), T{});
    return true;
}

/// One array of n elements for each element of a list.
template <typename Lists>
bool allocLists(Lists& lists, std::uint64_t count, std::uint64_t n)
{
    if (!lists.alloc(count))
        return false;
    return std::all_of(lists.begin(), lists.end(), [n](auto& list) { return allocZeros(list, n); });
}

/// One array per zone, as long as the zone has sections.
template <typename Lists>
bool allocSections(Lists& lists, std::vector<std::uint8_t> const& sectionCounts)
{
    if (!lists.alloc(sectionCounts.size()))
        return false;
    for (std::size_t z = 0; z < sectionCounts.size(); ++z)
        if (!allocZeros(lists[z], sectionCounts[z]))
            return false;
    return true;
}

/// The members of a set in ascending order.
std::vector<int> membersOf(ItemSetIterator& set)
{
    std::vector<int> result;
    while (set.hasNext())
        result.push_back(static_cast<int>(set.next()));
    std::sort(result.begin(), result.end());
    return result;
}

/// A zone number counted from one, as the place behind the first zone; none is -1.
std::int32_t placeOf(int zone, int firstZone)
{
    return zone == 0 ? -1 : zone - firstZone;
}

std::int32_t sharingPlaceOf(int zone, int firstZone, bool keepEarlier)
{
    return zone < firstZone && !keepEarlier ? -1 : placeOf(zone, firstZone);
}

std::uint64_t storedK(ZoneType_e type, std::int64_t k)
{
    switch (static_cast<int>(type)) {
    case ZoneType_Ordered:
    case ZoneType_FEPolygon:
    case ZoneType_FEPolyhedron:
        return static_cast<std::uint64_t>(k);
    case ZoneType_FEMixed:
        return 0;
    default:
        return static_cast<std::uint32_t>(k);
    }
}

void storeZone(AltVnxUtil const& host, int zone, int firstZone, bool keepEarlier, std::size_t z,
               ZoneVarMetadata& result)
{
    ZoneType_e const type = host.zoneType(zone);
    IJK const size = host.zoneSize(zone);
    result.zoneNames[z] = host.zoneName(zone);
    result.zoneTypes[z] = fileCharOfZoneType(type);
    result.faceNbrModes[z] = host.faceNeighborMode(zone);
    result.solutionTimes[z] = host.solutionTime(zone);
    result.strandIDs[z] = host.strandID(zone);
    result.parentZones[z] = placeOf(host.parentZone(zone), firstZone);
    result.iMaxOrNumNodes[z] = static_cast<std::uint64_t>(size.i);
    result.jMaxOrNumCells[z] = static_cast<std::uint64_t>(size.j);
    result.kMaxOrNumFaces[z] = storedK(type, size.k);
    result.shareConnectivity[z] =
        sharingPlaceOf(host.connectivitySharingZone(zone), firstZone, keepEarlier);
}

void storeVars(AltVnxUtil const& host, int zone, std::vector<int> const& vars, int firstZone,
               bool keepEarlier, std::size_t z, ZoneVarMetadata& result)
{
    for (std::size_t v = 0; v < vars.size(); ++v) {
        result.zoneMinMaxes[v][z] = host.minMax(zone, vars[v]);
        result.valueLocations[v][z] = static_cast<std::uint8_t>(host.valueLocation(zone, vars[v]));
        result.fieldDataTypes[v][z] = static_cast<std::uint8_t>(host.fieldDataType(zone, vars[v]));
        result.passive[v][z] = host.varIsPassive(zone, vars[v]);
        result.shareVar[v][z] =
            sharingPlaceOf(host.varSharingZone(zone, vars[v]), firstZone, keepEarlier);
    }
}

void storeSections(std::vector<ZoneSection> const& sections, std::size_t z, ZoneVarMetadata& result)
{
    for (std::size_t s = 0; s < result.numSections[z]; ++s) {
        result.numElemsPerSection[z][s] = sections[s].numElems;
        result.cellShapePerSection[z][s] = sections[s].cellShape;
        result.gridOrderPerSection[z][s] = sections[s].gridOrder;
        result.basisFuncPerSection[z][s] = sections[s].basisFunc;
    }
}

}

ZoneVarMetadata::ZoneVarMetadata(AltVnxUtil& host, ItemSetIterator& zones, ItemSetIterator& vars,
                                 bool keepEarlierSharingZones)
{
    std::vector<int> const varNumbers = membersOf(vars);
    std::vector<int> const members = membersOf(zones);
    std::vector<int> zoneNumbers;
    std::copy_if(members.begin(), members.end(), std::back_inserter(zoneNumbers),
                 [&](int zone) { return host.zoneIsEnabled(zone); });
    std::vector<std::vector<ZoneSection>> sections(zoneNumbers.size());
    std::vector<std::uint8_t> sectionCounts(zoneNumbers.size());
    for (std::size_t z = 0; z < zoneNumbers.size(); ++z) {
        if (host.zoneType(zoneNumbers[z]) == ZoneType_FEMixed)
            sections[z] = host.sections(zoneNumbers[z]);
        sectionCounts[z] =
            static_cast<std::uint8_t>(std::min<std::size_t>(sections[z].size(), 255));
    }
    if (!alloc(zoneNumbers.size(), varNumbers.size(), sectionCounts))
        throw std::bad_alloc();

    for (std::size_t v = 0; v < varNumbers.size(); ++v)
        varNames[v] = host.varName(varNumbers[v]);
    int const firstZone = members.empty() ? 1 : members.front();
    for (std::size_t z = 0; z < zoneNumbers.size(); ++z) {
        storeZone(host, zoneNumbers[z], firstZone, keepEarlierSharingZones, z, *this);
        storeSections(sections[z], z, *this);
        numDimensions[z] = dimensionsOf(z);
        storeVars(host, zoneNumbers[z], varNumbers, firstZone, keepEarlierSharingZones, z, *this);
    }
}

bool ZoneVarMetadata::alloc(std::uint64_t zoneCount, std::uint64_t varCount,
                            std::vector<std::uint8_t> const& sectionCounts)
{
    if (sectionCounts.size() != zoneCount)
        return false;
    numZones = zoneCount;
    numVars = varCount;
    bool const haveZones =
        zoneNames.alloc(numZones) && allocZeros(zoneTypes, numZones) &&
        allocZeros(faceNbrModes, numZones) && allocZeros(solutionTimes, numZones) &&
        allocZeros(strandIDs, numZones) && allocZeros(parentZones, numZones) &&
        allocZeros(iMaxOrNumNodes, numZones) && allocZeros(jMaxOrNumCells, numZones) &&
        allocZeros(kMaxOrNumFaces, numZones) && allocZeros(shareConnectivity, numZones) &&
        allocZeros(numSections, numZones) && allocZeros(numDimensions, numZones);
    if (!haveZones)
        return false;
    for (std::size_t z = 0; z < numZones; ++z)
        numSections[z] = sectionCounts[z];
    return varNames.alloc(numVars) && allocLists(zoneMinMaxes, numVars, numZones) &&
           allocLists(valueLocations, numVars, numZones) &&
           allocLists(fieldDataTypes, numVars, numZones) &&
           allocLists(passive, numVars, numZones) && allocLists(shareVar, numVars, numZones) &&
           allocSections(numElemsPerSection, sectionCounts) &&
           allocSections(cellShapePerSection, sectionCounts) &&
           allocSections(gridOrderPerSection, sectionCounts) &&
           allocSections(basisFuncPerSection, sectionCounts);
}

bool ZoneVarMetadata::assign(ZoneVarMetadata const& other, std::uint64_t firstZone)
{
    if (other.numVars > numVars || firstZone > numZones || other.numZones > numZones - firstZone)
        return false;
    for (std::size_t z = 0; z < other.numZones; ++z)
        if (other.numSections[z] > numSections[firstZone + z])
            return false;
    try {
        for (std::size_t v = 0; v < other.numVars; ++v)
            varNames[v] = other.varNames[v];
        for (std::size_t z = 0; z < other.numZones; ++z)
            assignZone(other, z, static_cast<std::size_t>(firstZone) + z);
        return true;
    } catch (std::bad_alloc const&) {
        return false;
    }
}

void ZoneVarMetadata::assignZone(ZoneVarMetadata const& other, std::size_t from, std::size_t to)
{
    zoneNames[to] = other.zoneNames[from];
    zoneTypes[to] = other.zoneTypes[from];
    numDimensions[to] = other.numDimensions[from];
    faceNbrModes[to] = other.faceNbrModes[from];
    solutionTimes[to] = other.solutionTimes[from];
    strandIDs[to] = other.strandIDs[from];
    parentZones[to] = other.parentZones[from];
    iMaxOrNumNodes[to] = other.iMaxOrNumNodes[from];
    jMaxOrNumCells[to] = other.jMaxOrNumCells[from];
    kMaxOrNumFaces[to] = other.kMaxOrNumFaces[from];
    shareConnectivity[to] = other.shareConnectivity[from];
    numSections[to] = other.numSections[from];
    for (std::size_t v = 0; v < other.numVars; ++v) {
        zoneMinMaxes[v][to] = other.zoneMinMaxes[v][from];
        valueLocations[v][to] = other.valueLocations[v][from];
        fieldDataTypes[v][to] = other.fieldDataTypes[v][from];
        passive[v][to] = other.passive[v][from];
        shareVar[v][to] = other.shareVar[v][from];
    }
    for (std::size_t s = 0; s < other.numSections[from]; ++s) {
        numElemsPerSection[to][s] = other.numElemsPerSection[from][s];
        cellShapePerSection[to][s] = other.cellShapePerSection[from][s];
        gridOrderPerSection[to][s] = other.gridOrderPerSection[from][s];
        basisFuncPerSection[to][s] = other.basisFuncPerSection[from][s];
    }
}

std::uint32_t ZoneVarMetadata::dimensionsOf(std::size_t zone) const
{
    switch (static_cast<int>(zoneTypeFromFileChar(zoneTypes[zone]))) {
    case ZoneType_Ordered: {
        auto const axes = static_cast<std::uint32_t>(iMaxOrNumNodes[zone] > 1) +
                          static_cast<std::uint32_t>(jMaxOrNumCells[zone] > 1) +
                          static_cast<std::uint32_t>(kMaxOrNumFaces[zone] > 1);
        return std::max(axes, std::uint32_t{1});
    }
    case ZoneType_FETriangle:
    case ZoneType_FEQuad:
    case ZoneType_FEPolygon:
        return 2;
    case ZoneType_FETetra:
    case ZoneType_FEBrick:
    case ZoneType_FEPolyhedron:
        return 3;
    case ZoneType_FELineSeg:
        return 1;
    case ZoneType_FEMixed: {
        constexpr std::uint32_t BY_SHAPE[] = {1, 2, 2, 3, 3, 3, 3};
        auto const& shapes = cellShapePerSection[zone];
        return shapes.size() == 0 || shapes[0] >= std::size(BY_SHAPE) ? 0 : BY_SHAPE[shapes[0]];
    }
    default:
        return 0;
    }
}

}
