#pragma once

#include "varnox/hdqfswriter/Annotations.h"
#include "varnox/hdqfswriter/ZoneSource.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

enum class ZoneType : std::uint8_t {
    Ordered,
    Triangle,
    Quadrilateral,
    Tetrahedron,
    Brick,
    LineSegment,
    Polygon,
    Polyhedron,
    Mixed
};

enum class CellShape : std::uint8_t {
    Line,
    Triangle,
    Quadrilateral,
    Tetrahedron,
    Hexahedron,
    Pyramid,
    Prism
};

/// In memory float, double, int32_t, int16_t and uint8_t; a bit is a uint8_t of 0 or 1.
enum class ValueType : std::uint8_t { Float = 1, Double, Int32, Int16, Byte, Bit };

enum class ValueLocation : std::uint8_t { Cells, Nodes };

/// A variable in one zone.
struct ZoneVariable
{
    ValueType type = ValueType::Float;
    ValueLocation location = ValueLocation::Nodes;
    bool isPassive = false; ///< All values are 0, and the source isn't asked for them.
    /// The zone, ahead of this one, whose values these are; -1 for none. It must be cut up alike.
    std::int32_t sharedFrom = -1;
};

/// Cells of one shape in a mixed zone.
struct Section
{
    CellShape shape = CellShape::Hexahedron;
    std::uint8_t gridOrder = 1; ///< Of the polynomials; it says how many nodes a cell has.
    std::uint8_t basisFunction = 0;
};

/// A piece of a zone. The writer holds one at a time in memory.
struct Partition
{
    Box nodes{};                              ///< Of an ordered zone.
    std::uint64_t numNodes = 0;               ///< Of a finite-element zone, as that below.
    std::vector<std::uint64_t> numCells = {}; ///< By section; a zone that isn't mixed has one.
};

struct Zone
{
    std::string name{};
    ZoneType type = ZoneType::Ordered;
    /// Cut into subzones, which are served one by one: for ordered zones and for volumes. Of
    /// others, and where this is false, values are stored in the order of their items.
    bool isInSubzones = true;
    std::array<std::uint64_t, 3> size{}; ///< Of an ordered zone: nodes along I, J, K.
    std::uint64_t numFaces = 0;          ///< Of a finite-element zone; only passed on.
    std::vector<Section> sections{};     ///< Of a mixed zone.
    /// Of a finite-element zone one at least. Those of an ordered zone tile its nodes; none stands
    /// for the whole.
    std::vector<Partition> partitions{};
    std::vector<ZoneVariable> variables{}; ///< One for each of the data set.
    double solutionTime = 0;
    std::uint32_t strandID = 0;
    std::int32_t parentZone = -1;
    std::int32_t connectivityFrom = -1; ///< The zone whose connectivity this one shares, or -1.
    std::uint8_t faceNeighborMode = 0;
    std::shared_ptr<ZoneSource> source{};
};

struct DataSet
{
    std::string title{};
    std::vector<std::string> variableNames{};
    std::vector<Zone> zones{};
    std::vector<Text> texts{};
    std::vector<Geometry> geometries{};
    std::vector<std::vector<std::string>> customLabelSets{};
    std::vector<AuxiliaryData> auxiliaryData{};
};

}
