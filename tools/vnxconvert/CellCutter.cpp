#include "tools/vnxconvert/CellCutter.h"

#include "tools/vnxconvert/CellKinds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <stdexcept>

namespace varnox::convert {

namespace {

using Nodes = std::span<std::int64_t const>;

bool isCut(std::uint8_t kind, CuttingRules const& rules)
{
    Treatment const treatment = cellKind(kind).treatment;
    return treatment == Treatment::Cut || (treatment == Treatment::CutOnRequest && rules.polyhedra);
}

Nodes nodesOf(Cells const& cells, std::size_t cell)
{
    std::int64_t const* const offsets = cells.offsets.get();
    return {cells.nodes.get() + offsets[cell],
            static_cast<std::size_t>(offsets[cell + 1] - offsets[cell])};
}

[[noreturn]] void failAt(Grid const& grid, std::size_t cell, std::string const& what)
{
    throw std::runtime_error("Cell " + std::to_string(cell + 1) + " of '" + grid.name + "' " +
                             what + ": the file is damaged.");
}

/// Nodes of polygons that are the faces of a cell, read entry by entry.
class FaceReader
{
public:
    FaceReader(Grid const& grid, std::size_t cell)
        : m_grid(grid), m_cell(cell),
          m_left(static_cast<std::size_t>(grid.cells.faceOffsets.get()[cell]))
    {
        m_numFaces = next();
    }

    std::size_t numFaces() const { return m_numFaces; }

    Nodes nextFace()
    {
        std::size_t const count = next();
        Cells const& cells = m_grid.cells;
        if (count > cells.numFaceEntries - m_left)
            failAt(m_grid, m_cell, "has a face outside of the list of faces");
        Nodes const result(cells.faces.get() + m_left, count);
        m_left += count;
        return result;
    }

private:
    std::size_t next()
    {
        Cells const& cells = m_grid.cells;
        if (m_left >= cells.numFaceEntries || cells.faces.get()[m_left] < 0)
            failAt(m_grid, m_cell, "has faces outside of the list of faces");
        return static_cast<std::size_t>(cells.faces.get()[m_left++]);
    }

    Grid const& m_grid;
    std::size_t m_cell;
    std::size_t m_left;
    std::size_t m_numFaces = 0;
};

bool allExist(Nodes nodes, std::size_t numNodes)
{
    // Negative ones are huge.
    std::uint64_t largest = 0;
    for (std::int64_t const node : nodes)
        largest = std::max(largest, static_cast<std::uint64_t>(node));
    return nodes.empty() || largest < numNodes;
}

bool hasFaces(Cells const& cells, std::size_t cell)
{
    return cells.faceOffsets != nullptr && cells.faceOffsets.get()[cell] >= 0;
}

void checkFaces(Grid const& grid, std::size_t cell)
{
    if (!hasFaces(grid.cells, cell))
        failAt(grid, cell, "is a polyhedron without faces");
    FaceReader reader(grid, cell);
    for (std::size_t f = 0; f < reader.numFaces(); ++f)
        if (!allExist(reader.nextFace(), grid.numNodes))
            failAt(grid, cell, "has a node that doesn't exist");
}

/// Collects the cells that come out.
class Output
{
public:
    void add(std::uint8_t kind, std::size_t origin, Nodes nodes)
    {
        m_kinds.push_back(kind);
        m_nodes.insert(m_nodes.end(), nodes.begin(), nodes.end());
        m_offsets.push_back(static_cast<std::int64_t>(m_nodes.size()));
        m_origins.push_back(static_cast<std::uint32_t>(origin));
    }

    void add(std::uint8_t kind, std::size_t origin, std::initializer_list<std::int64_t> nodes)
    {
        add(kind, origin, Nodes(nodes.begin(), nodes.size()));
    }

    std::size_t numCells() const { return m_kinds.size(); }

    Cells take()
    {
        Cells result;
        result.count = m_kinds.size();
        result.numNodes = m_nodes.size();
        result.kinds = sharedArray(std::move(m_kinds));
        result.offsets = sharedArray(std::move(m_offsets));
        result.nodes = sharedArray(std::move(m_nodes));
        result.origins = std::move(m_origins);
        return result;
    }

private:
    std::vector<std::uint8_t> m_kinds;
    std::vector<std::int64_t> m_offsets{0};
    std::vector<std::int64_t> m_nodes;
    std::vector<std::uint32_t> m_origins;
};

void cutPolyline(Nodes nodes, std::size_t cell, Output& output)
{
    for (std::size_t n = 1; n < nodes.size(); ++n)
        output.add(LINE, cell, {nodes[n - 1], nodes[n]});
}

void cutStrip(Nodes nodes, std::size_t cell, Output& output)
{
    // Every other triangle runs the other way round.
    for (std::size_t n = 2; n < nodes.size(); ++n)
        if (n % 2 == 0)
            output.add(TRIANGLE, cell, {nodes[n - 2], nodes[n - 1], nodes[n]});
        else
            output.add(TRIANGLE, cell, {nodes[n - 1], nodes[n - 2], nodes[n]});
}

/// Calls f with the triangles of a face, from its node of the lowest number around.
template <typename F>
void forEachTriangle(Nodes face, F&& f)
{
    if (face.size() < 3)
        return;
    auto const lowest =
        static_cast<std::size_t>(std::min_element(face.begin(), face.end()) - face.begin());
    auto const at = [&](std::size_t n) { return face[(lowest + n) % face.size()]; };
    for (std::size_t n = 1; n + 1 < face.size(); ++n)
        f(at(0), at(n), at(n + 1));
}

using Vector = std::array<double, 3>;

Vector from(Grid const& grid, std::int64_t a, std::int64_t b)
{
    Vector result{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        result[axis] = coordinate(grid, static_cast<std::size_t>(b), axis) -
                       coordinate(grid, static_cast<std::size_t>(a), axis);
    return result;
}

double length(Vector const& v)
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

/// Six times its volume, over the product of three edges: positive if the base turns right.
double shapeOf(Grid const& grid, std::array<std::int64_t, 4> const& nodes)
{
    Vector const a = from(grid, nodes[0], nodes[1]);
    Vector const b = from(grid, nodes[0], nodes[2]);
    Vector const c = from(grid, nodes[0], nodes[3]);
    double const volume = c[0] * (a[1] * b[2] - a[2] * b[1]) + c[1] * (a[2] * b[0] - a[0] * b[2]) +
                          c[2] * (a[0] * b[1] - a[1] * b[0]);
    double const size = length(a) * length(b) * length(c);
    return size > 0 ? volume / size : 0;
}

/// Below this a tetrahedron is flat but for rounding, as where two faces lie in one plane.
constexpr double FLAT = 1e-10;

void cutPolyhedron(Grid const& grid, std::size_t cell, Output& output)
{
    std::int64_t top = std::numeric_limits<std::int64_t>::max();
    FaceReader first(grid, cell);
    for (std::size_t f = 0; f < first.numFaces(); ++f)
        for (std::int64_t const node : first.nextFace())
            top = std::min(top, node);
    FaceReader reader(grid, cell);
    for (std::size_t f = 0; f < reader.numFaces(); ++f) {
        Nodes const face = reader.nextFace();
        if (std::find(face.begin(), face.end(), top) != face.end())
            continue;
        forEachTriangle(face, [&](std::int64_t a, std::int64_t b, std::int64_t c) {
            double const shape = shapeOf(grid, {a, b, c, top});
            if (shape > FLAT)
                output.add(TETRAHEDRON, cell, {a, b, c, top});
            else if (shape < -FLAT)
                output.add(TETRAHEDRON, cell, {a, c, b, top});
        });
    }
}

void cutCell(Grid const& grid, std::size_t cell, Output& output)
{
    Nodes const nodes = nodesOf(grid.cells, cell);
    switch (grid.cells.kinds.get()[cell]) {
    case POLYLINE:
        return cutPolyline(nodes, cell, output);
    case TRIANGLE_STRIP:
        return cutStrip(nodes, cell, output);
    case POLYGON:
        // Those that have a place as they are stay.
        if (nodes.size() == 3)
            return output.add(TRIANGLE, cell, nodes);
        if (nodes.size() == 4)
            return output.add(QUADRILATERAL, cell, nodes);
        return forEachTriangle(nodes, [&](std::int64_t a, std::int64_t b, std::int64_t c) {
            output.add(TRIANGLE, cell, {a, b, c});
        });
    default:
        return cutPolyhedron(grid, cell, output);
    }
}

std::string nameOfPieces(std::uint8_t kind)
{
    if (kind == POLYLINE)
        return "line";
    return kind == POLYHEDRON ? "tetrahedron" : "triangle";
}

}

void checkCells(Grid const& grid)
{
    Cells const& cells = grid.cells;
    if (cells.count > std::numeric_limits<std::uint32_t>::max() - 16 ||
        grid.numNodes > std::numeric_limits<std::uint32_t>::max() - 16)
        throw std::runtime_error("'" + grid.name +
                                 "' has more than 4 billion nodes or cells: cut it into pieces.");
    if (cells.count == 0)
        return;
    std::int64_t const* const offsets = cells.offsets.get();
    if (offsets[0] != 0 || offsets[cells.count] < 0 ||
        static_cast<std::size_t>(offsets[cells.count]) > cells.numNodes)
        failAt(grid, cells.count - 1, "has nodes outside of the list of nodes");
    for (std::size_t c = 0; c < cells.count; ++c)
        if (offsets[c + 1] < offsets[c])
            failAt(grid, c, "ends ahead of its begin");
    std::size_t const numEntries = static_cast<std::size_t>(offsets[cells.count]);
    if (!allExist({cells.nodes.get(), numEntries}, grid.numNodes))
        for (std::size_t c = 0; c < cells.count; ++c)
            if (!allExist(nodesOf(cells, c), grid.numNodes))
                failAt(grid, c, "has a node that doesn't exist");
    for (std::size_t c = 0; c < cells.count; ++c) {
        std::uint8_t const kind = cells.kinds.get()[c];
        if (kind == POLYHEDRON)
            checkFaces(grid, c);
        else if (nodesOf(cells, c).size() < cellKind(kind).numCorners)
            failAt(grid, c, "has fewer nodes than corners");
    }
}

bool needsCutting(Cells const& cells, CuttingRules const& rules)
{
    std::array<bool, 256> cut{};
    for (std::size_t kind = 0; kind < cut.size(); ++kind)
        cut[kind] = isCut(static_cast<std::uint8_t>(kind), rules) ||
                    kind == POLYGON; // a polygon may be a triangle
    return std::any_of(cells.kinds.get(), cells.kinds.get() + cells.count,
                       [&](std::uint8_t kind) { return cut[kind]; });
}

Cells cutUp(Grid const& grid, CuttingRules const& rules, Remarks& remarks)
{
    Output output;
    std::array<std::size_t, 256> numCut{};
    std::array<std::size_t, 256> numPieces{};
    for (std::size_t c = 0; c < grid.cells.count; ++c) {
        std::uint8_t const kind = grid.cells.kinds.get()[c];
        Nodes const nodes = nodesOf(grid.cells, c);
        bool const isSmallPolygon = kind == POLYGON && (nodes.size() == 3 || nodes.size() == 4);
        if (!isCut(kind, rules) && !isSmallPolygon) {
            output.add(kind, c, nodes);
            continue;
        }
        std::size_t const before = output.numCells();
        cutCell(grid, c, output);
        if (isSmallPolygon)
            continue;
        ++numCut[kind];
        numPieces[kind] += output.numCells() - before;
    }
    if (output.numCells() > std::numeric_limits<std::uint32_t>::max() - 16)
        throw std::runtime_error("'" + grid.name +
                                 "' has more than 4 billion cells when it is cut.");
    for (std::size_t kind = 0; kind < numCut.size(); ++kind)
        if (numCut[kind] != 0)
            remarks.add(
                "'" + grid.name +
                "': " + counted(numCut[kind], cellKind(static_cast<std::uint8_t>(kind)).name) +
                " cut into " +
                counted(numPieces[kind], nameOfPieces(static_cast<std::uint8_t>(kind))) + ".");
    return output.take();
}

}
