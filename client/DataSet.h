#pragma once

#include "client/Annotations.h"
#include "varnox/hostapi/VnxTypes.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace varnox::client {

/// Smallest and largest value; a range of nothing but not-a-numbers is [+infinity, -infinity].
struct Range
{
    double min = 0;
    double max = 0;
};

/// Which callbacks the loader has for loading on demand.
struct LoadOnDemand
{
    bool load = false;
    bool unload = false;
    bool cleanUp = false;
};

/// One variable of one zone.
struct ZoneVariable
{
    FieldDataType_e type = FieldDataType_Float;
    ValueLocation_e location = ValueLocation_Nodal;
    bool isPassive = false; ///< Every value is 0, and none travels.
    bool isAbsent = false;  ///< Calculated for another zone: this one has its number alone.
    int shareZone = 0;      ///< The zone whose values these are; 0 if they are its own.
    std::optional<Range> range;
    LoadOnDemand onDemand;
    bool hasQueries = false; ///< Subzones can be asked for.
};

/// Cells of one shape in a mixed zone.
struct Section
{
    std::int64_t numCells = 0;
    FECellShape_e shape = FECellShape_Line;
    int order = 1;
};

/// One zone. Zones and variables are named by numbers from 1 on; 0 stands for none.
struct Zone
{
    int number = 0;
    bool isAdded = false; ///< False for a number that the loader has left out.
    std::string name;
    ZoneType_e type = ZoneType_Ordered;
    /// Nodes along I, J and K; nodes, cells and faces of a finite-element zone.
    std::array<std::int64_t, 3> size{};
    bool isHdq = false;
    double solutionTime = 0;
    std::int64_t strand = 0;
    int parentZone = 0;
    int connectShareZone = 0;
    std::int64_t faceNeighborMode = 0;
    std::vector<Section> sections;
    std::vector<ZoneVariable> variables;
    LoadOnDemand nodeMap;
    LoadOnDemand faceNeighbors;
    bool faceNeighborsNameZones = false; ///< Their assignments carry zones beside the items.
    bool hasConnectivityQueries = false;
    bool hasOrderedQueries = false;
    bool hasIdentityQueries = false;
    std::int64_t uniqueId = 0;

    bool isOrdered() const { return type == ZoneType_Ordered; }
    /// An ordered zone has max(n, 2) - 1 cells along each axis.
    std::int64_t numNodes() const;
    std::int64_t numCells() const;
    std::int64_t numItems(ValueLocation_e location) const;
    /// False if the sizes are negative or their products beyond 63 bits.
    bool hasValidSize() const;
};

struct Variable
{
    int number = 0;
    std::string name;
    std::int64_t uniqueId = 0;
};

/// Some face neighbours of a zone, as the loader assigned them; what the numbers mean is the
/// loader's.
struct FaceNeighbors
{
    std::int64_t first = 0;
    std::int32_t second = 0;
    std::uint8_t third = 0;
    std::vector<int> items;
    std::vector<long> zones; ///< One for each item, or none.
};

/// What the loader built.
struct DataSet
{
    std::string title;
    std::vector<Variable> variables;
    std::vector<Zone> zones;
    std::int64_t uniqueId = 0;
    std::vector<Text> texts;
    std::vector<Geometry> geometries;
    std::vector<LabelSet> labelSets;
    /// In the order of their first coming; one of the same owner and name takes the place of the
    /// one before.
    std::vector<AuxData> auxData;
    /// What the loader had to say to the user, the latest last.
    std::vector<std::string> messages;

    /// Null if there is none of that number.
    Zone const* zone(std::int64_t number) const;
    Zone* zone(std::int64_t number);
    /// The zone's variable of that number, or null.
    static ZoneVariable const* variable(Zone const& zone, std::int64_t number);
    /// All solution times, each once, ascending.
    std::vector<double> solutionTimes() const;
};

/// Words for people and for JSON.
std::string nameOf(ZoneType_e type);
std::string nameOf(FieldDataType_e type);
std::string nameOf(ValueLocation_e location);
std::string nameOf(FECellShape_e shape);

}
