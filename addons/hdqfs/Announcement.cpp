#include "addons/hdqfs/Announcement.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "addons/hdqfs/HostObjects.h"

#include "varnox/hostapi/VnxUtil.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

namespace {

int numberOf(std::int32_t index)
{
    return index + 1;
}

bool hasNodeMap(DataSet::Zone const& zone)
{
    return !zone.isHdq && zone.connectivityFrom == -1 && zone.type != ZoneType_Ordered &&
           zone.type != ZoneType_FEPolygon && zone.type != ZoneType_FEPolyhedron;
}

/// What is said of the variables of a zone, one number for each.
struct VariableArrays
{
    VariableArrays(DataSet const& dataSet, std::uint32_t zone)
    {
        for (std::uint32_t v = 0; v < dataSet.numVars(); ++v) {
            DataSet::Variable const variable = dataSet.variable(zone, v);
            // The host API has no bits: they travel as bytes.
            types.push_back(variable.type == ValueType::Bit ? FieldDataType_Byte
                                                            : static_cast<int>(variable.type));
            locations.push_back(variable.isNodal ? ValueLocation_Nodal
                                                 : ValueLocation_CellCentered);
            sharedFrom.push_back(numberOf(variable.sharedFrom));
            isPassive.push_back(variable.isPassive ? 1 : 0);
        }
    }

    std::vector<int> types;
    std::vector<int> locations;
    std::vector<int> sharedFrom;
    std::vector<int> isPassive;
};

std::string joined(std::vector<std::int64_t> const& numbers)
{
    std::string result;
    for (std::int64_t const number : numbers)
        result += (result.empty() ? "" : ",") + std::to_string(number);
    return result;
}

void appendSections(_ArgList_s* args, DataSet const& dataSet, std::uint32_t zone)
{
    DataSet::ZoneInFile const grid = dataSet.grid(zone);
    auto const& headers = grid.file->headers();
    std::vector<std::int64_t> cells;
    std::vector<std::int64_t> shapes;
    std::vector<std::int64_t> orders;
    for (std::size_t s = 0; s < headers.numSections[grid.zone]; ++s) {
        cells.push_back(headers.numElemsPerSection[grid.zone][s]);
        shapes.push_back(headers.cellShapePerSection[grid.zone][s]);
        orders.push_back(headers.gridOrderPerSection[grid.zone][s]);
    }
    VnxUtilArgListAppendInt(args, "NumSections", static_cast<long>(cells.size()));
    VnxUtilArgListAppendString(args, "SectionCells", joined(cells).c_str());
    VnxUtilArgListAppendString(args, "SectionShapes", joined(shapes).c_str());
    VnxUtilArgListAppendString(args, "SectionOrders", joined(orders).c_str());
}

void addZone(DataSet const& dataSet, std::uint32_t index)
{
    DataSet::Zone const zone = dataSet.zone(index);
    VariableArrays const variables(dataSet, index);
    ArgList const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(args.get(), "Name", zone.name.c_str());
    // The number makes a second load in a session describe zone 1 anew and not one behind the last.
    VnxUtilArgListAppendInt(args.get(), "Zone", long{index} + 1);
    VnxUtilArgListAppendInt(args.get(), "ZoneType", zone.type);
    VnxUtilArgListAppendInt(args.get(), "IsHDQ", zone.isHdq ? 1 : 0);
    VnxUtilArgListAppendInt(args.get(), "IMax", zone.size.i);
    VnxUtilArgListAppendInt(args.get(), "JMax", zone.size.j);
    VnxUtilArgListAppendInt(args.get(), "KMax", zone.size.k);
    VnxUtilArgListAppendDouble(args.get(), "SolutionTime", zone.solutionTime);
    VnxUtilArgListAppendInt(args.get(), "StrandID", static_cast<std::int32_t>(zone.strandID));
    VnxUtilArgListAppendInt(args.get(), "ParentZone", numberOf(zone.parent));
    VnxUtilArgListAppendInt(args.get(), "ConnectShareZone", numberOf(zone.connectivityFrom));
    VnxUtilArgListAppendInt(args.get(), "FaceNeighborMode", zone.faceNeighborMode);
    VnxUtilArgListAppendArray(args.get(), "VarDataType", variables.types.data());
    VnxUtilArgListAppendArray(args.get(), "ValueLocation", variables.locations.data());
    VnxUtilArgListAppendArray(args.get(), "ShareVarFromZone", variables.sharedFrom.data());
    VnxUtilArgListAppendArray(args.get(), "IsPassiveVar", variables.isPassive.data());
    if (zone.type == ZoneType_FEMixed)
        appendSections(args.get(), dataSet, index);
    VnxUtilDataSetAddZoneX(args.get());
}

/// The host takes a registration or has no memory for it; without it the data would be missing.
void requireTaken(char answer, char const* what, std::uint32_t zone)
{
    if (answer == 0)
        throw std::runtime_error("The host could not take how " + std::string(what) + " of zone " +
                                 std::to_string(zone + 1) + " are loaded.");
}

void announceContents(DataSet const& dataSet, std::uint32_t zone, LoadFunctions const& functions)
{
    auto const zoneNumber = static_cast<int>(zone) + 1;
    for (std::uint32_t v = 0; v < dataSet.numVars(); ++v) {
        auto const varNumber = static_cast<int>(v) + 1;
        DataSet::Variable const variable = dataSet.variable(zone, v);
        if (!variable.isPassive)
            VnxUtilDataValueSetMinMaxByZoneVar(zoneNumber, varNumber, variable.range.min,
                                               variable.range.max);
        if (variable.hasValues())
            requireTaken(
                VnxUtilDataValueCustomLOD(zoneNumber, varNumber, functions.loadValues,
                                          functions.unloadValues, nullptr, nullptr, nullptr,
                                          functions.clientData +
                                              static_cast<long>(zone) * dataSet.numVars() + v),
                "the values", zone);
    }
    if (hasNodeMap(dataSet.zone(zone)))
        requireTaken(VnxUtilDataNodeCustomLOD(zoneNumber, functions.loadNodeMap,
                                              functions.unloadNodeMap, nullptr,
                                              functions.clientData + zone),
                     "the cells", zone);
}

/// Which zones have face neighbours; those that share their connectivity share them, too.
class FaceNeighborZones
{
public:
    explicit FaceNeighborZones(DataSet const& dataSet) : m_dataSet(dataSet) {}

    bool has(std::uint32_t zone)
    {
        DataSet::ZoneInFile const grid = m_dataSet.grid(zone);
        auto const known = m_zones.find(grid.file);
        std::vector<bool> const& zones =
            known != m_zones.end()
                ? known->second
                : m_zones.emplace(grid.file, zonesWithFaceNeighbors(*grid.file)).first->second;
        return zones[grid.zone] && m_dataSet.zone(zone).connectivityFrom == -1;
    }

private:
    DataSet const& m_dataSet;
    std::map<DataFile const*, std::vector<bool>> m_zones;
};

bool createDataSet(DataSet const& dataSet)
{
    StringList const names(VnxUtilStringListAlloc());
    for (std::string const& name : dataSet.varNames())
        VnxUtilStringListAppendString(names.get(), name.c_str());
    ArgList const args(VnxUtilArgListAlloc());
    VnxUtilArgListAppendString(args.get(), "Title", dataSet.title().c_str());
    VnxUtilArgListAppendStringList(args.get(), "VarNames", names.get());
    return VnxUtilDataSetCreateX(args.get()) != 0;
}

}

bool announce(DataSet const& dataSet, LoadFunctions const& functions,
              std::vector<long>& variableIds)
{
    VnxUtilDataLoadStart();
    if (!createDataSet(dataSet))
        return false;
    // Queries come with these ids, and while one is answered the client can't be asked.
    if (dataSet.hasHdqZone())
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var)
            variableIds.push_back(VnxUtilVarGetUniqueID(static_cast<int>(var) + 1));
    FaceNeighborZones faceNeighbors(dataSet);
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        addZone(dataSet, zone);
        announceContents(dataSet, zone, functions);
        if (faceNeighbors.has(zone))
            requireTaken(VnxUtilDataFaceNbrCustomLOD(
                             static_cast<int>(zone) + 1, 0, functions.loadFaceNeighbors,
                             functions.unloadFaceNeighbors, nullptr, functions.clientData + zone),
                         "the face neighbours", zone);
    }
    return true;
}

std::string unsupportedZones(DataSet const& dataSet)
{
    constexpr std::size_t NAMED = 10;
    std::string names;
    std::size_t count = 0;
    for (std::uint32_t z = 0; z < dataSet.numZones(); ++z) {
        DataSet::Zone const zone = dataSet.zone(z);
        if (zone.type != ZoneType_FEPolygon && zone.type != ZoneType_FEPolyhedron)
            continue;
        if (++count <= NAMED)
            names += (names.empty() ? "" : ", ") + std::to_string(z + 1) + " \"" + zone.name + "\"";
    }
    if (count == 0)
        return "";
    if (count > NAMED)
        names += " and " + std::to_string(count - NAMED) + " more";
    return "Polygons and polyhedra are not supported: of these zones only the values can be "
           "loaded, not the cells: " +
           names + ".";
}

}
