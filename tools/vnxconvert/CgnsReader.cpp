// Reads CGNS files. All that knows their library is here.

#include "tools/vnxconvert/CellKinds.h"
#include "tools/vnxconvert/FileReaders.h"

#include <cgnslib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <numeric>
#include <stdexcept>

namespace varnox::convert {

namespace {

char const* const ADVICE =
    "Check that the file is complete and of a version that the CGNS library here reads.";

/// Names have 32 characters; those of places that lead through several nodes are cut.
using Name = std::array<char, 34>;

void check(int status)
{
    if (status != CG_OK)
        throw std::runtime_error(std::string(cg_get_error()) + ".");
}

class File
{
public:
    explicit File(std::string const& path)
    {
        check(cg_open(path.c_str(), CG_MODE_READ, &m_number));
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;
    ~File() { cg_close(m_number); }

    int number() const { return m_number; }

private:
    int m_number = 0;
};

/// An element type of CGNS files and the kind of cell that it is; their nodes begin with the same
/// corners.
std::uint8_t kindOf(ElementType_t type)
{
    constexpr std::uint8_t VERTEX = 1;
    static std::map<ElementType_t, std::uint8_t> const kinds{
        {NODE, VERTEX},    {BAR_2, LINE},        {BAR_3, 21},
        {TRI_3, TRIANGLE}, {TRI_6, 22},          {QUAD_4, QUADRILATERAL},
        {QUAD_8, 23},      {QUAD_9, 28},         {TETRA_4, TETRAHEDRON},
        {TETRA_10, 24},    {PYRA_5, PYRAMID},    {PYRA_13, 27},
        {PYRA_14, 37},     {PENTA_6, PRISM},     {PENTA_15, 26},
        {PENTA_18, 32},    {HEXA_8, HEXAHEDRON}, {HEXA_20, 25},
        {HEXA_27, 29},     {BAR_4, 35}};
    auto const found = kinds.find(type);
    if (found != kinds.end())
        return found->second;
    // The rest are of cubic and of fourth order.
    std::string const name = cg_ElementTypeName(type);
    static std::map<std::string, std::uint8_t> const higher{
        {"BAR", 68}, {"TRI", 69}, {"QUA", 70}, {"TET", 71}, {"HEX", 72}, {"PEN", 73}, {"PYR", 74}};
    auto const shape = higher.find(name.substr(0, 3));
    if (shape == higher.end())
        throw std::runtime_error("elements of type " + name + " are not known.");
    return shape->second;
}

std::size_t numNodesOf(ElementType_t type)
{
    int result = 0;
    check(cg_npe(type, &result));
    return static_cast<std::size_t>(std::max(0, result));
}

/// Sizes are the file's, and memory is taken before the library looks for the numbers themselves.
std::size_t inMemory(std::size_t count, std::size_t size, ReadOptions const& options)
{
    if (count > options.maxArrayBytes / size)
        throw std::runtime_error("an array is said to have " + std::to_string(count) +
                                 " numbers, more than memory can hold.");
    return count;
}

template <typename T, typename Read>
Column readColumn(NumberType type, std::size_t count, ReadOptions const& options, Read&& read)
{
    std::vector<T> numbers(inMemory(count, sizeof(T), options));
    check(read(numbers.data()));
    return columnOf(type, std::move(numbers));
}

/// A column of the type that the file has; read is given the place for it.
template <typename Read>
Column readColumn(DataType_t type, std::size_t count, ReadOptions const& options, Read&& read)
{
    switch (type) {
    case RealSingle:
        return readColumn<float>(NumberType::Float, count, options, read);
    case RealDouble:
        return readColumn<double>(NumberType::Double, count, options, read);
    case Integer:
        return readColumn<std::int32_t>(NumberType::Int32, count, options, read);
    case LongInteger:
        return readColumn<std::int64_t>(NumberType::Int64, count, options, read);
    default:
        throw std::runtime_error(std::string("numbers of type ") + cg_DataTypeName(type) +
                                 " are not known.");
    }
}

struct Section
{
    int number = 0;
    std::string name;
    ElementType_t type = NODE;
    cgsize_t first = 0; ///< Elements are counted through the zone, from 1.
    cgsize_t last = 0;
    std::vector<cgsize_t> items;
    std::vector<cgsize_t> offsets; ///< Of those of many shapes.

    std::size_t count() const { return static_cast<std::size_t>(last - first) + 1; }
};

/// Cells as they are read.
struct CellLists
{
    std::vector<std::uint8_t> kinds;
    std::vector<std::int64_t> offsets{0};
    std::vector<std::int64_t> nodes;
    std::vector<std::int64_t> faceOffsets;
    std::vector<std::int64_t> faces;

    void add(std::uint8_t kind, cgsize_t const* first, std::size_t count)
    {
        for (std::size_t n = 0; n < count; ++n)
            nodes.push_back(std::int64_t{first[n]} - 1);
        close(kind, -1);
    }

    void close(std::uint8_t kind, std::int64_t faceOffset)
    {
        offsets.push_back(static_cast<std::int64_t>(nodes.size()));
        kinds.push_back(kind);
        faceOffsets.push_back(faceOffset);
    }
};

class ZoneReader
{
public:
    ZoneReader(int file, int base, int zone, ReadOptions const& options)
        : m_file(file), m_base(base), m_zone(zone), m_options(options)
    {
    }

    Grid read()
    {
        Name baseName{};
        check(cg_base_read(m_file, m_base, baseName.data(), &m_cellDimension, &m_dimension));
        Name name{};
        check(cg_zone_read(m_file, m_base, m_zone, name.data(), m_size.data()));
        m_grid.name = name.data();
        ZoneType_t type{};
        check(cg_zone_type(m_file, m_base, m_zone, &type));
        if (type == Structured)
            takeSize();
        else if (type == Unstructured)
            m_grid.numNodes = countOf(m_size[0]);
        else
            throw std::runtime_error("zone '" + m_grid.name +
                                     "' is neither structured nor "
                                     "unstructured.");
        readCoordinates();
        if (!m_grid.isOrdered)
            readCells();
        readSolutions();
        return std::move(m_grid);
    }

private:
    static std::size_t countOf(cgsize_t number)
    {
        if (number < 0 || number > std::numeric_limits<std::int32_t>::max())
            throw std::runtime_error("a size is no count.");
        return static_cast<std::size_t>(number);
    }

    void takeSize()
    {
        m_grid.isOrdered = true;
        int dimensions = 0;
        check(cg_index_dim(m_file, m_base, m_zone, &dimensions));
        if (dimensions < 1 || dimensions > 3)
            throw std::runtime_error("zone '" + m_grid.name + "' has no size.");
        m_numIndices = static_cast<std::size_t>(dimensions);
        m_grid.numNodes = 1;
        for (std::size_t axis = 0; axis < m_numIndices; ++axis) {
            m_grid.size[axis] = countOf(m_size[axis]);
            if (__builtin_mul_overflow(m_grid.numNodes, m_grid.size[axis], &m_grid.numNodes))
                throw std::runtime_error("a size is no count.");
        }
    }

    /// All nodes, or all cells.
    std::array<cgsize_t, 3> endOf(ValueLocation location) const
    {
        std::array<cgsize_t, 3> result{};
        bool const atNodes = location == ValueLocation::Nodes;
        if (!m_grid.isOrdered) {
            result[0] = m_size[atNodes ? 0 : 1];
            return result;
        }
        for (std::size_t axis = 0; axis < m_numIndices; ++axis)
            result[axis] = m_size[axis + (atNodes ? 0 : m_numIndices)];
        return result;
    }

    std::size_t numItems(std::array<cgsize_t, 3> const& end) const
    {
        std::size_t result = 1;
        for (std::size_t axis = 0; axis < (m_grid.isOrdered ? m_numIndices : 1); ++axis)
            if (__builtin_mul_overflow(result, countOf(end[axis]), &result))
                throw std::runtime_error("a size is no count.");
        return result;
    }

    void readCoordinates()
    {
        int count = 0;
        check(cg_ncoords(m_file, m_base, m_zone, &count));
        static constexpr std::array<char const*, 3> NAMES{"CoordinateX", "CoordinateY",
                                                          "CoordinateZ"};
        std::array<bool, 3> isRead{};
        for (int c = 1; c <= count; ++c) {
            Name name{};
            DataType_t type{};
            check(cg_coord_info(m_file, m_base, m_zone, c, &type, name.data()));
            auto const axis = static_cast<std::size_t>(
                std::find(NAMES.begin(), NAMES.end(), std::string(name.data())) - NAMES.begin());
            if (axis == NAMES.size()) {
                m_grid.remarks.push_back(std::string("coordinate '") + name.data() +
                                         "' left out: only X, Y and Z are read.");
                continue;
            }
            m_grid.points.columns[axis] = readCoordinate(type, name);
            isRead[axis] = true;
        }
        if (!isRead[0])
            throw std::runtime_error("zone '" + m_grid.name + "' has no coordinate X.");
        for (std::size_t axis = 1; axis < 3; ++axis)
            if (!isRead[axis])
                m_grid.points.columns[axis] =
                    columnOf(NumberType::Float, std::vector<float>(m_grid.numNodes));
    }

    Column readCoordinate(DataType_t type, Name const& name)
    {
        std::array<cgsize_t, 3> const begin{1, 1, 1};
        std::array<cgsize_t, 3> const end = endOf(ValueLocation::Nodes);
        return readColumn(type, m_grid.numNodes, m_options, [&](void* place) {
            return cg_coord_read(m_file, m_base, m_zone, name.data(), type, begin.data(),
                                 end.data(), place);
        });
    }

    static bool isOfManyShapes(ElementType_t type)
    {
        return type == MIXED || type == NGON_n || type == NFACE_n;
    }

    Section readSection(int number)
    {
        Section result;
        result.number = number;
        Name name{};
        int numBoundary = 0;
        int hasParents = 0;
        check(cg_section_read(m_file, m_base, m_zone, number, name.data(), &result.type,
                              &result.first, &result.last, &numBoundary, &hasParents));
        result.name = name.data();
        cgsize_t size = 0;
        check(cg_ElementDataSize(m_file, m_base, m_zone, number, &size));
        if (result.first < 1 || result.last < result.first)
            throw std::runtime_error("section '" + result.name + "' has no elements.");
        inMemory(result.count(), sizeof(cgsize_t), m_options);
        result.items.resize(inMemory(countOf(size), sizeof(cgsize_t), m_options));
        if (isOfManyShapes(result.type)) {
            result.offsets.resize(result.count() + 1);
            check(cg_poly_elements_read(m_file, m_base, m_zone, number, result.items.data(),
                                        result.offsets.data(), nullptr));
            for (std::size_t i = 0; i < result.offsets.size(); ++i)
                if (result.offsets[i] < (i == 0 ? 0 : result.offsets[i - 1]) ||
                    static_cast<std::size_t>(result.offsets[i]) > result.items.size())
                    throw std::runtime_error("section '" + result.name +
                                             "' has elements outside of its data.");
            return result;
        }
        check(cg_elements_read(m_file, m_base, m_zone, number, result.items.data(), nullptr));
        if (result.items.size() < result.count() * numNodesOf(result.type))
            throw std::runtime_error("section '" + result.name + "' has too few nodes.");
        return result;
    }

    /// The dimension of a section's cells; of mixed ones that of the first.
    static unsigned dimensionOfSection(Section const& section)
    {
        if (section.type == NGON_n)
            return 2;
        if (section.type == NFACE_n)
            return 3;
        ElementType_t type = section.type;
        if (type == MIXED)
            type = section.items.empty() ? NODE : static_cast<ElementType_t>(section.items[0]);
        std::uint8_t const kind = kindOf(type);
        return kind == 1 ? 0 : dimensionOf(cellKind(kind).shape);
    }

    void readCells()
    {
        int count = 0;
        check(cg_nsections(m_file, m_base, m_zone, &count));
        std::vector<Section> sections;
        for (int s = 1; s <= count; ++s)
            sections.push_back(readSection(s));
        // Values at cells are those of the highest dimension, in the order of the elements.
        auto const cellDimension = static_cast<unsigned>(m_cellDimension);
        std::sort(sections.begin(), sections.end(), [&](Section const& a, Section const& b) {
            bool const aIsCell = dimensionOfSection(a) == cellDimension;
            bool const bIsCell = dimensionOfSection(b) == cellDimension;
            return aIsCell != bIsCell ? aIsCell : a.first < b.first;
        });
        bool const hasPolyhedra = std::any_of(sections.begin(), sections.end(),
                                              [](auto const& s) { return s.type == NFACE_n; });
        CellLists lists;
        for (Section const& section : sections) {
            if (section.type == NFACE_n)
                addPolyhedra(section, sections, lists);
            else if (section.type == NGON_n && !hasPolyhedra)
                addPolygons(section, lists);
            else if (section.type == MIXED)
                addMixed(section, lists);
            else if (section.type != NGON_n)
                addElements(section, lists);
        }
        take(std::move(lists), hasPolyhedra);
    }

    void take(CellLists lists, bool hasPolyhedra)
    {
        Cells& cells = m_grid.cells;
        cells.count = lists.kinds.size();
        cells.numNodes = lists.nodes.size();
        cells.kinds = sharedArray(std::move(lists.kinds));
        cells.offsets = sharedArray(std::move(lists.offsets));
        cells.nodes = sharedArray(std::move(lists.nodes));
        if (!hasPolyhedra)
            return;
        cells.numFaceEntries = lists.faces.size();
        cells.faceOffsets = sharedArray(std::move(lists.faceOffsets));
        cells.faces = sharedArray(std::move(lists.faces));
    }

    static void addElements(Section const& section, CellLists& lists)
    {
        std::size_t const size = numNodesOf(section.type);
        std::uint8_t const kind = kindOf(section.type);
        for (std::size_t e = 0; e < section.count(); ++e)
            lists.add(kind, section.items.data() + e * size, size);
    }

    static void addMixed(Section const& section, CellLists& lists)
    {
        for (std::size_t e = 0; e < section.count(); ++e) {
            cgsize_t const* const items = section.items.data() + section.offsets[e];
            auto const count =
                static_cast<std::size_t>(section.offsets[e + 1] - section.offsets[e]);
            if (count == 0)
                throw std::runtime_error("section '" + section.name + "' has an empty element.");
            auto const type = static_cast<ElementType_t>(items[0]);
            if (items[0] < 2 || items[0] >= NofValidElementTypes || isOfManyShapes(type) ||
                count != numNodesOf(type) + 1)
                throw std::runtime_error("section '" + section.name +
                                         "' has an element of no known type.");
            lists.add(kindOf(type), items + 1, count - 1);
        }
    }

    static void addPolygons(Section const& section, CellLists& lists)
    {
        for (std::size_t e = 0; e < section.count(); ++e)
            lists.add(POLYGON, section.items.data() + section.offsets[e],
                      static_cast<std::size_t>(section.offsets[e + 1] - section.offsets[e]));
    }

    void addPolyhedra(Section const& section, std::vector<Section> const& sections,
                      CellLists& lists)
    {
        for (std::size_t e = 0; e < section.count(); ++e) {
            auto const begin = static_cast<std::int64_t>(lists.faces.size());
            lists.faces.push_back(section.offsets[e + 1] - section.offsets[e]);
            std::vector<std::int64_t> nodes;
            for (cgsize_t i = section.offsets[e]; i < section.offsets[e + 1]; ++i)
                addFace(section.items[static_cast<std::size_t>(i)], sections, lists.faces, nodes);
            std::sort(nodes.begin(), nodes.end());
            nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
            lists.nodes.insert(lists.nodes.end(), nodes.begin(), nodes.end());
            lists.close(POLYHEDRON, begin);
        }
    }

    /// A face's number is negative where its normal points into the cell.
    void addFace(cgsize_t number, std::vector<Section> const& sections,
                 std::vector<std::int64_t>& faces, std::vector<std::int64_t>& nodes) const
    {
        cgsize_t const face = number < 0 ? -number : number;
        for (Section const& section : sections) {
            if (section.type != NGON_n || face < section.first || face > section.last)
                continue;
            auto const f = static_cast<std::size_t>(face - section.first);
            faces.push_back(section.offsets[f + 1] - section.offsets[f]);
            for (cgsize_t i = section.offsets[f]; i < section.offsets[f + 1]; ++i) {
                nodes.push_back(std::int64_t{section.items[static_cast<std::size_t>(i)]} - 1);
                faces.push_back(nodes.back());
            }
            return;
        }
        throw std::runtime_error("a polyhedron of zone '" + m_grid.name +
                                 "' has a face that doesn't exist.");
    }

    /// Which solutions are those of the wanted time; empty if the zone doesn't say.
    std::vector<std::string> solutionsOfStep()
    {
        Name name{};
        if (!m_options.step || cg_ziter_read(m_file, m_base, m_zone, name.data()) != CG_OK)
            return {};
        check(cg_goto(m_file, m_base, "Zone_t", m_zone, "ZoneIterativeData_t", 1, "end"));
        int count = 0;
        check(cg_narrays(&count));
        for (int a = 1; a <= count; ++a) {
            DataType_t type{};
            int dimensions = 0;
            std::array<cgsize_t, 12> size{};
            Name arrayName{};
            check(cg_array_info(a, arrayName.data(), &type, &dimensions, size.data()));
            std::string const array = arrayName.data();
            if (array == "GridCoordinatesPointers")
                m_grid.remarks.push_back("its nodes may move in time; they are read as they are "
                                         "first.");
            if (array != "FlowSolutionPointers" || dimensions != 2 || type != Character ||
                size[0] != 32 || countOf(size[1]) <= *m_options.step)
                continue;
            std::vector<char> names(32 * countOf(size[1]));
            check(cg_array_read(a, names.data()));
            std::string solution(names.data() + 32 * *m_options.step, 32);
            solution.erase(solution.find_last_not_of(std::string(" \0", 2)) + 1);
            return {solution};
        }
        return {};
    }

    void readSolutions()
    {
        std::vector<std::string> const wanted = solutionsOfStep();
        int count = 0;
        check(cg_nsols(m_file, m_base, m_zone, &count));
        for (int s = 1; s <= count; ++s) {
            Name name{};
            GridLocation_t location{};
            check(cg_sol_info(m_file, m_base, m_zone, s, name.data(), &location));
            if (!wanted.empty() && wanted.front() != name.data())
                continue;
            auto pointSet = static_cast<PointSetType_t>(0);
            cgsize_t numPoints = 0;
            check(cg_sol_ptset_info(m_file, m_base, m_zone, s, &pointSet, &numPoints));
            if ((location != Vertex && location != CellCenter) || numPoints != 0) {
                m_grid.remarks.push_back(std::string("solution '") + name.data() +
                                         "' left out: it isn't at all nodes or at all cells.");
                continue;
            }
            readFields(s, name.data(),
                       location == Vertex ? ValueLocation::Nodes : ValueLocation::Cells);
        }
    }

    void readFields(int solution, std::string const& solutionName, ValueLocation location)
    {
        std::array<cgsize_t, 3> const begin{1, 1, 1};
        std::array<cgsize_t, 3> const end = endOf(location);
        int count = 0;
        check(cg_nfields(m_file, m_base, m_zone, solution, &count));
        for (int f = 1; f <= count; ++f) {
            Name given{};
            DataType_t type{};
            check(cg_field_info(m_file, m_base, m_zone, solution, f, &type, given.data()));
            std::string name = given.data();
            if (m_options.wants && !m_options.wants(name))
                continue;
            Column const column = readColumn(type, numItems(end), m_options, [&](void* place) {
                return cg_field_read(m_file, m_base, m_zone, solution, given.data(), type,
                                     begin.data(), end.data(), place);
            });
            bool const isTaken =
                std::any_of(m_grid.fields.begin(), m_grid.fields.end(), [&](Field const& field) {
                    return field.name == name && field.location == location;
                });
            if (isTaken)
                name += "_" + solutionName;
            m_grid.fields.push_back({name, given.data(), location, column});
        }
    }

    int m_file;
    int m_base;
    int m_zone;
    ReadOptions const& m_options;
    int m_cellDimension = 3;
    int m_dimension = 3;
    std::array<cgsize_t, 9> m_size{};
    std::size_t m_numIndices = 0;
    Grid m_grid;
};

int numBasesOf(File const& file)
{
    int result = 0;
    check(cg_nbases(file.number(), &result));
    return result;
}

std::vector<double> timesOf(File const& file, int base)
{
    Name name{};
    int count = 0;
    if (cg_biter_read(file.number(), base, name.data(), &count) != CG_OK || count < 1)
        return {};
    check(cg_goto(file.number(), base, "BaseIterativeData_t", 1, "end"));
    int numArrays = 0;
    check(cg_narrays(&numArrays));
    for (int a = 1; a <= numArrays; ++a) {
        DataType_t type{};
        int dimensions = 0;
        std::array<cgsize_t, 12> size{};
        Name arrayName{};
        check(cg_array_info(a, arrayName.data(), &type, &dimensions, size.data()));
        if (std::string(arrayName.data()) != "TimeValues" || dimensions != 1 || size[0] != count)
            continue;
        std::vector<double> result(static_cast<std::size_t>(count));
        check(cg_array_read_as(a, RealDouble, result.data()));
        return result;
    }
    return {};
}

}

std::vector<double> timesInCgnsFile(std::string const& path)
{
    try {
        File const file(path);
        return numBasesOf(file) == 1 ? timesOf(file, 1) : std::vector<double>();
    } catch (std::runtime_error const& error) {
        failReading(path, error.what(), ADVICE);
    }
}

std::vector<Grid> readCgnsFile(std::string const& path, ReadOptions const& options)
{
    std::vector<Grid> result;
    try {
        File const file(path);
        int const numBases = numBasesOf(file);
        for (int b = 1; b <= numBases; ++b) {
            Name name{};
            int cellDimension = 0;
            int dimension = 0;
            check(cg_base_read(file.number(), b, name.data(), &cellDimension, &dimension));
            int numZones = 0;
            check(cg_nzones(file.number(), b, &numZones));
            for (int z = 1; z <= numZones; ++z) {
                if (options.progress)
                    options.progress(path, static_cast<double>(z - 1) / numZones);
                result.push_back(ZoneReader(file.number(), b, z, options).read());
                if (numBases > 1)
                    result.back().name = std::string(name.data()) + "/" + result.back().name;
            }
        }
    } catch (Interrupted const&) {
        throw;
    } catch (std::runtime_error const& error) {
        failReading(path, error.what(), ADVICE);
    }
    return result;
}

}
