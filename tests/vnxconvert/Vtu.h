#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// Files in the text forms of VTK, for inputs that a test spells out.
namespace varnox::convert::tests {

inline void writeText(std::string const& path, std::string const& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

struct TextArray
{
    std::string name;
    std::string type; ///< "Float32"
    int numComponents;
    std::vector<double> values;
    std::string more = {}; ///< Further attributes.
};

inline std::string element(TextArray const& array)
{
    std::ostringstream text;
    text.precision(17);
    text << "<DataArray type=\"" << array.type << "\" Name=\"" << array.name
         << "\" NumberOfComponents=\"" << array.numComponents << "\" format=\"ascii\" "
         << array.more << ">";
    for (double const value : array.values)
        text << value << ' ';
    text << "</DataArray>\n";
    return text.str();
}

struct TextCell
{
    int kind;
    std::vector<int> nodes;
};

/// A grid of points and cells.
struct TextGrid
{
    std::vector<double> points;
    std::vector<TextCell> cells;
    std::vector<TextArray> atNodes{};
    std::vector<TextArray> atCells{};
    std::vector<double> faces{}; ///< Of polyhedra.
    std::vector<double> faceOffsets{};
    std::string time{};

    std::string piece(std::string const& pointType = "Float64") const
    {
        std::vector<double> nodes;
        std::vector<double> offsets;
        std::vector<double> kinds;
        for (TextCell const& cell : cells) {
            nodes.insert(nodes.end(), cell.nodes.begin(), cell.nodes.end());
            offsets.push_back(static_cast<double>(nodes.size()));
            kinds.push_back(cell.kind);
        }
        std::string text = "<Piece NumberOfPoints=\"" + std::to_string(points.size() / 3) +
                           "\" NumberOfCells=\"" + std::to_string(cells.size()) +
                           "\">\n<PointData>\n";
        for (TextArray const& array : atNodes)
            text += element(array);
        text += "</PointData>\n<CellData>\n";
        for (TextArray const& array : atCells)
            text += element(array);
        text += "</CellData>\n<Points>\n" + element({"Points", pointType, 3, points}) +
                "</Points>\n<Cells>\n" + element({"connectivity", "Int64", 1, nodes}) +
                element({"offsets", "Int64", 1, offsets}) + element({"types", "UInt8", 1, kinds});
        if (!faces.empty())
            text += element({"faces", "Int64", 1, faces}) +
                    element({"faceoffsets", "Int64", 1, faceOffsets});
        return text + "</Cells>\n</Piece>\n";
    }

    std::string vtu() const
    {
        std::string text = "<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" "
                           "byte_order=\"LittleEndian\">\n<UnstructuredGrid>\n";
        if (!time.empty())
            text += "<FieldData><DataArray type=\"Float64\" Name=\"TimeValue\" "
                    "NumberOfTuples=\"1\" format=\"ascii\">" +
                    time + "</DataArray></FieldData>\n";
        return text + piece() + "</UnstructuredGrid>\n</VTKFile>\n";
    }
};

/// A cube of unit size from a corner on, its nodes around.
inline std::vector<double> cubePoints(double x = 0, double y = 0, double z = 0)
{
    return {x, y, z,     x + 1, y, z,     x + 1, y + 1, z,     x, y + 1, z,
            x, y, z + 1, x + 1, y, z + 1, x + 1, y + 1, z + 1, x, y + 1, z + 1};
}

/// A row of cubes with an array p at nodes and T at cells.
inline TextGrid rowOfCubes(int count, double factor = 1)
{
    TextGrid grid;
    for (int i = 0; i <= count; ++i)
        for (int corner = 0; corner < 4; ++corner)
            grid.points.insert(grid.points.end(),
                               {static_cast<double>(i), corner == 1 || corner == 2 ? 1.0 : 0.0,
                                corner >= 2 ? 1.0 : 0.0});
    TextArray p{"p", "Float32", 1, {}};
    TextArray t{"T", "Float64", 1, {}};
    for (int n = 0; n < 4 * (count + 1); ++n)
        p.values.push_back(factor * n);
    for (int i = 0; i < count; ++i) {
        int const a = 4 * i;
        grid.cells.push_back({12, {a, a + 4, a + 5, a + 1, a + 3, a + 7, a + 6, a + 2}});
        t.values.push_back(factor * i + 0.1);
    }
    grid.atNodes = {p};
    grid.atCells = {t};
    return grid;
}

}
