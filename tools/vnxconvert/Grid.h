#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What the readers of other formats make, and what zones of HDQFS files are made of. Everything
/// counts from 0, and bulk data stay where the reader has them.
namespace varnox::convert {

using hdqfswriter::ValueLocation;

enum class NumberType : std::uint8_t {
    Bit, ///< A byte of 0 or 1.
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Float,
    Double
};

std::size_t widthOf(NumberType type);

/// Numbers in memory: every stride-th of an array.
struct Column
{
    NumberType type = NumberType::Float;
    std::shared_ptr<void const> first{}; ///< Also keeps what it points into.
    std::size_t stride = 1;
    std::size_t count = 0;
};

/// Numbers as a column.
template <typename T>
Column columnOf(NumberType type, std::vector<T> numbers)
{
    auto const owner = std::make_shared<std::vector<T> const>(std::move(numbers));
    return {type, {owner, owner->data()}, 1, owner->size()};
}

/// A variable of a grid: one component of an array that the file has.
struct Field
{
    std::string name;  ///< With its component, as U_x.
    std::string array; ///< As the file calls it.
    ValueLocation location = ValueLocation::Nodes;
    Column values;
};

/// Where the nodes are.
struct Points
{
    enum class Kind {
        Explicit, ///< A column for each axis.
        Axes,     ///< Of an ordered grid: a column of positions along each axis.
        Uniform   ///< Of an ordered grid: the node (i, j, k) is computed.
    };
    Kind kind = Kind::Explicit;
    std::array<Column, 3> columns{};
    std::array<double, 3> origin{};
    std::array<double, 3> spacing{1, 1, 1};
    /// Rows of X, Y, Z by columns of I, J, K.
    std::array<double, 9> direction{1, 0, 0, 0, 1, 0, 0, 0, 1};
    std::array<std::int64_t, 3> firstIndex{}; ///< Of a uniform grid: what the first node counts as.
};

/// Cells of any kind, one after the other.
struct Cells
{
    std::size_t count = 0;
    std::shared_ptr<std::uint8_t const> kinds{};   ///< Numbers of CellKinds.def.
    std::shared_ptr<std::int64_t const> offsets{}; ///< count + 1 places in nodes.
    std::shared_ptr<std::int64_t const> nodes{};
    std::size_t numNodes = 0; ///< Entries of nodes.
    /// Of polyhedra, by cell: where it begins in faces, -1 for none. Null without any.
    std::shared_ptr<std::int64_t const> faceOffsets{};
    /// For each polyhedron the number of faces, then for each face its number of nodes and these.
    std::shared_ptr<std::int64_t const> faces{};
    std::size_t numFaceEntries = 0;
    /// For each cell the entry of the columns at cells; empty if that is its own number.
    std::vector<std::uint32_t> origins{};
};

/// Numbers as an array of cells.
template <typename T>
std::shared_ptr<T const> sharedArray(std::vector<T> numbers)
{
    auto const owner = std::make_shared<std::vector<T> const>(std::move(numbers));
    return {owner, owner->data()};
}

/// One piece of an input file.
struct Grid
{
    std::string name{};
    std::optional<double> time{};
    bool isOrdered = false;
    std::array<std::uint64_t, 3> size{1, 1, 1}; ///< Of an ordered grid, nodes.
    std::size_t numNodes = 0;
    Points points{};
    Cells cells{}; ///< Of a grid that isn't ordered.
    std::vector<Field> fields{};
    /// By cell: not 0 if it stands in another piece as well, or is blanked.
    std::optional<Column> hiddenCells{};
    std::vector<std::string> remarks{}; ///< What the reader left out.
};

/// The position of a node along an axis, in double precision.
double coordinate(Grid const& grid, std::size_t node, std::size_t axis);
/// The type of the coordinates along an axis.
NumberType coordinateType(Grid const& grid, std::size_t axis);
/// One number of a column.
double numberAt(Column const& column, std::size_t index);

}
