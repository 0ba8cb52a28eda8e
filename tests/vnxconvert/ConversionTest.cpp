// What becomes of grids of every kind, read from VTK's files.

#include "tests/support/Messages.h"
#include "tests/vnxconvert/FileMesh.h"
#include "tests/vnxconvert/VtkMesh.h"
#include "tests/vnxconvert/Vtu.h"
#include "tests/writer/WrittenFile.h"
#include "tools/support/Output.h"
#include "tools/vnxconvert/Conversion.h"
#include "tools/vnxinfo/Check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace varnox::convert::tests {
namespace {

using hdqfswriter::CellShape;
using hdqfswriter::ZoneType;
using hdqfswriter::tests::TemporaryFolder;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using varnox::tests::messageOf;

class Conversions : public testing::Test
{
protected:
    std::string input(std::string const& name, std::string const& text)
    {
        writeText(folder.file(name), text);
        options.inputs.push_back(folder.file(name));
        return options.inputs.back();
    }

    /// Converts, and holds every file to vnxinfo's check.
    FileContents run()
    {
        options.output = folder.file("out.hdqfs");
        summary = convert(options);
        tools::Output quiet("/dev/null");
        EXPECT_TRUE(tools::checkFiles(summary.files, false, quiet));
        return FileContents({summary.files.front()});
    }

    std::string failure()
    {
        options.output = folder.file("out.hdqfs");
        return messageOf<std::runtime_error>([&] { convert(options); });
    }

    TemporaryFolder folder;
    ConversionOptions options;
    ConversionSummary summary;
};

struct KindCase
{
    char const* name;
    int kind;
    std::vector<int> nodes;
    ZoneType type;
    std::vector<std::uint32_t> corners; ///< As the file has them.
};

std::vector<int> upTo(int count)
{
    std::vector<int> result;
    for (int n = 0; n < count; ++n)
        result.push_back(n);
    return result;
}

KindCase const kinds[] = {
    {"Tetrahedron", 10, {0, 1, 3, 4}, ZoneType::Tetrahedron, {0, 1, 3, 4}},
    {"Hexahedron", 12, upTo(8), ZoneType::Brick, {0, 1, 2, 3, 4, 5, 6, 7}},
    {"Voxel", 11, {0, 1, 3, 2, 4, 5, 7, 6}, ZoneType::Brick, {0, 1, 2, 3, 4, 5, 6, 7}},
    {"Prism", 13, {0, 1, 2, 4, 5, 6}, ZoneType::Mixed, {0, 1, 2, 4, 5, 6}},
    {"Pyramid", 14, {0, 1, 2, 3, 4}, ZoneType::Mixed, {0, 1, 2, 3, 4}},
    {"Triangle", 5, {0, 1, 2}, ZoneType::Triangle, {0, 1, 2}},
    {"Quadrilateral", 9, {0, 1, 2, 3}, ZoneType::Quadrilateral, {0, 1, 2, 3}},
    {"Pixel", 8, {0, 1, 3, 2}, ZoneType::Quadrilateral, {0, 1, 2, 3}},
    {"Line", 3, {0, 6}, ZoneType::LineSegment, {0, 6}},
    {"PolygonOfThree", 7, {0, 1, 2}, ZoneType::Triangle, {0, 1, 2}},
    {"PolygonOfFour", 7, {0, 1, 2, 3}, ZoneType::Quadrilateral, {0, 1, 2, 3}}};

class KeptKinds : public Conversions, public testing::WithParamInterface<KindCase>
{
};

TEST_P(KeptKinds, KeepTheirNodes)
{
    KindCase const& kind = GetParam();
    TextGrid grid{cubePoints(), {{kind.kind, kind.nodes}}};
    grid.atNodes = {{"number", "Int32", 1, {0, 1, 2, 3, 4, 5, 6, 7}}};
    grid.atCells = {{"T", "Float64", 1, {42.5}}};
    input("cell.vtu", grid.vtu());
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 1U);
    EXPECT_EQ(file.zone(0).type, kind.type);
    Mesh const mesh = file.mesh(0);
    ASSERT_EQ(mesh.cells.size(), 1U);
    std::vector<std::uint32_t> corners;
    for (std::uint32_t const node : mesh.cells[0])
        corners.push_back(static_cast<std::uint32_t>(mesh.atNodes.at("number").at(node)));
    EXPECT_EQ(corners, kind.corners);
    EXPECT_THAT(mesh.atCells.at("T"), ElementsAre(42.5));
    EXPECT_THAT(summary.remarks, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, KeptKinds, testing::ValuesIn(kinds),
                         [](auto const& one) { return std::string(one.param.name); });

struct ReducedCase
{
    char const* name;
    int kind;
    int numNodes;
    std::size_t numCorners;
    char const* remark;
};

ReducedCase const reducedKinds[] = {
    {"QuadraticLine", 21, 3, 2, "'cell': 1 quadratic line reduced to their corners."},
    {"QuadraticTriangle", 22, 6, 3, "'cell': 1 quadratic triangle reduced to their corners."},
    {"QuadraticQuad", 23, 8, 4, "'cell': 1 quadratic quadrilateral reduced to their corners."},
    {"QuadraticTetra", 24, 10, 4, "'cell': 1 quadratic tetrahedron reduced to their corners."},
    {"QuadraticHexahedron", 25, 20, 8, "'cell': 1 quadratic hexahedron reduced to their corners."},
    {"QuadraticPrism", 26, 15, 6, "'cell': 1 quadratic prism reduced to their corners."},
    {"QuadraticPyramid", 27, 13, 5, "'cell': 1 quadratic pyramid reduced to their corners."},
    {"TriquadraticHexahedron", 29, 27, 8,
     "'cell': 1 triquadratic hexahedron reduced to their corners."},
    {"LagrangeTetrahedron", 71, 10, 4,
     "'cell': 1 tetrahedron of higher order reduced to their corners."}};

class ReducedKinds : public Conversions, public testing::WithParamInterface<ReducedCase>
{
};

TEST_P(ReducedKinds, KeepTheirCornersAndAreCounted)
{
    ReducedCase const& kind = GetParam();
    TextGrid grid;
    TextArray number{"number", "Int32", 1, {}};
    for (int n = 0; n < kind.numNodes; ++n) {
        grid.points.insert(grid.points.end(), {0.1 * n, 0.2 * (n % 3), 0.3 * (n % 5)});
        number.values.push_back(n);
    }
    grid.cells = {{kind.kind, upTo(kind.numNodes)}};
    grid.atNodes = {number};
    input("cell.vtu", grid.vtu());
    Mesh const mesh = run().mesh(0);
    ASSERT_EQ(mesh.cells.size(), 1U);
    ASSERT_EQ(mesh.cells[0].size(), kind.numCorners);
    EXPECT_EQ(mesh.atNodes.at("number").size(), kind.numCorners);
    for (std::size_t c = 0; c < kind.numCorners; ++c)
        EXPECT_EQ(mesh.atNodes.at("number")[mesh.cells[0][c]], static_cast<double>(c));
    EXPECT_THAT(summary.remarks, ElementsAre(kind.remark));
}

INSTANTIATE_TEST_SUITE_P(Kinds, ReducedKinds, testing::ValuesIn(reducedKinds),
                         [](auto const& one) { return std::string(one.param.name); });

TEST_F(Conversions, KindsWithoutAPlaceAreNamedAndCounted)
{
    TextGrid grid = rowOfCubes(2);
    for (TextCell const& cell :
         {TextCell{1, {0}}, TextCell{1, {1}}, TextCell{2, {0, 1, 2}}, TextCell{7, {0, 1, 2, 3, 7}},
          TextCell{41, {0, 1, 2, 7}}, TextCell{16, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}}) {
        grid.cells.push_back(cell);
        grid.atCells[0].values.push_back(-1);
    }
    input("row.vtu", grid.vtu());
    Mesh const mesh = run().mesh(0);
    EXPECT_EQ(mesh.cells.size(), 2U);
    EXPECT_THAT(
        summary.remarks,
        ElementsAre("'row': 2 vertices left out, as they have no place.",
                    "'row': 1 group of vertices left out, as they have no place.",
                    "'row': 1 polygon left out, as they have no place; --polyhedra cut cuts them.",
                    "'row': 1 hexagonal prism left out, as they have no place.",
                    "'row': 1 convex point set left out, as they have no place."));
}

TEST_F(Conversions, VolumesSurfacesAndLinesBecomeZonesOfTheirOwn)
{
    TextGrid grid = rowOfCubes(2);
    grid.cells.insert(grid.cells.begin(), {9, {0, 1, 2, 3}});
    grid.cells.push_back({5, {8, 9, 10}});
    grid.cells.push_back({4, {0, 4, 8}}); // a polyline
    grid.atCells[0].values = {10, 0, 1, 11, 12};
    input("row.vtu", grid.vtu());
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 3U);
    EXPECT_EQ(file.zone(0).name, "row");
    EXPECT_EQ(file.zone(1).name, "row_surface");
    EXPECT_EQ(file.zone(2).name, "row_lines");
    EXPECT_EQ(file.zone(1).type, ZoneType::Mixed);
    Mesh const surface = file.mesh(1);
    EXPECT_EQ(surface.atNodes.at("X").size(), 7U) << "only the nodes that it has";
    ASSERT_EQ(surface.cells.size(), 2U);
    EXPECT_EQ(surface.cells[0].size(), 3U);
    EXPECT_THAT(surface.atCells.at("T"), ElementsAre(11, 10));
    EXPECT_EQ(surface.atNodes.at("p")[surface.cells[0][1]], 9);
    Mesh const lines = file.mesh(2);
    ASSERT_EQ(lines.cells.size(), 2U);
    EXPECT_THAT(lines.atCells.at("T"), ElementsAre(12, 12));
    EXPECT_EQ(lines.atNodes.at("p")[lines.cells[1][1]], 8);
    EXPECT_THAT(summary.remarks, ElementsAre("'row': 1 polyline cut into 2 lines."));
}

TEST_F(Conversions, AMixedGridHasASectionForEachShape)
{
    TextGrid grid{cubePoints(), {}};
    std::vector<double> const more = cubePoints(1);
    grid.points.insert(grid.points.end(), more.begin(), more.end());
    grid.cells = {{14, {8, 9, 10, 11, 12}},
                  {12, upTo(8)},
                  {10, {8, 9, 10, 13}},
                  {13, {8, 9, 10, 12, 13, 14}},
                  {10, {9, 10, 11, 14}}};
    grid.atCells = {{"number", "Int64", 1, {0, 1, 2, 3, 4}}};
    input("mixed.vtu", grid.vtu());
    options.keepOrder = true;
    FileContents const file = run();
    EXPECT_EQ(summary.version, 232U);
    ASSERT_EQ(file.zone(0).sections.size(), 4U);
    EXPECT_EQ(file.zone(0).sections[0].shape, CellShape::Tetrahedron);
    EXPECT_EQ(file.zone(0).sections[3].shape, CellShape::Prism);
    Mesh const mesh = file.mesh(0);
    EXPECT_THAT(mesh.atCells.at("number"), ElementsAre(2, 4, 1, 0, 3));
    EXPECT_EQ(mesh.types.at("number"), FieldDataType_Double);
}

/// A cube as a polyhedron of six faces, and a pyramid on top of it as one of five.
TextGrid polyhedra()
{
    TextGrid grid{cubePoints(), {}};
    grid.points.insert(grid.points.end(), {0.5, 0.5, 2});
    grid.cells = {{42, upTo(8)}, {42, {4, 5, 6, 7, 8}}};
    grid.faces = {6, 4, 0, 3, 2, 1, 4, 4, 5, 6, 7, 4, 0, 1, 5, 4, 4, 1, 2, 6, 5, 4, 2, 3, 7, 6, 4,
                  3, 0, 4, 7, 5, 4, 4, 7, 6, 5, 3, 4, 5, 8, 3, 5, 6, 8, 3, 6, 7, 8, 3, 7, 4, 8};
    grid.faceOffsets = {31, 53};
    grid.atCells = {{"T", "Float64", 1, {1.5, 2.5}}};
    return grid;
}

double volumeOf(Mesh const& mesh, std::vector<std::uint32_t> const& tetrahedron)
{
    double edges[3][3];
    for (std::size_t e = 0; e < 3; ++e)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::vector<double> const& along = mesh.atNodes.at(std::string(1, "XYZ"[axis]));
            edges[e][axis] = along[tetrahedron[e + 1]] - along[tetrahedron[0]];
        }
    auto const& [a, b, c] = edges;
    return (c[0] * (a[1] * b[2] - a[2] * b[1]) + c[1] * (a[2] * b[0] - a[0] * b[2]) +
            c[2] * (a[0] * b[1] - a[1] * b[0])) /
           6;
}

TEST_F(Conversions, PolyhedraAreCutOnRequest)
{
    input("cells.vtu", polyhedra().vtu());
    options.cutPolyhedra = true;
    Mesh const mesh = run().mesh(0);
    double volume[2] = {0, 0};
    for (std::size_t c = 0; c < mesh.cells.size(); ++c) {
        double const one = volumeOf(mesh, mesh.cells[c]);
        EXPECT_GT(one, 0) << "its base turns the wrong way";
        volume[mesh.atCells.at("T")[c] > 2] += one;
    }
    EXPECT_NEAR(volume[0], 1, 1e-12);
    EXPECT_NEAR(volume[1], 1.0 / 3, 1e-12);
    EXPECT_EQ(mesh.atNodes.at("X").size(), 9U);
    EXPECT_THAT(summary.remarks, ElementsAre("'cells': 2 polyhedra cut into " +
                                             std::to_string(mesh.cells.size()) + " tetrahedra."));
}

TEST_F(Conversions, PolyhedraAreElseLeftOut)
{
    input("cells.vtu", polyhedra().vtu());
    EXPECT_EQ(failure(),
              "There is nothing to convert: no grid with cells ('cells': 2 polyhedra left "
              "out, as they have no place; --polyhedra cut cuts them.)");
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST_F(Conversions, PolygonsAndStripsAreCut)
{
    writeText(
        folder.file("surface.vtp"),
        "<VTKFile type=\"PolyData\" version=\"1.0\"><PolyData>"
        "<Piece NumberOfPoints=\"6\" NumberOfVerts=\"1\" NumberOfLines=\"1\" "
        "NumberOfStrips=\"1\" NumberOfPolys=\"1\"><CellData>" +
            element({"T", "Float32", 1, {1, 2, 3, 4}}) + "</CellData><Points>" +
            element(
                {"Points", "Float32", 3, {0, 0, 0, 1, 0, 0, 2, 1, 0, 1, 2, 0, 0, 2, 0, -1, 1, 0}}) +
            "</Points><Verts>" + element({"connectivity", "Int64", 1, {0}}) +
            element({"offsets", "Int64", 1, {1}}) + "</Verts><Lines>" +
            element({"connectivity", "Int64", 1, {0, 1, 2}}) +
            element({"offsets", "Int64", 1, {3}}) + "</Lines><Strips>" +
            element({"connectivity", "Int64", 1, {0, 1, 5, 2}}) +
            element({"offsets", "Int64", 1, {4}}) + "</Strips><Polys>" +
            element({"connectivity", "Int64", 1, {0, 1, 2, 3, 4, 5}}) +
            element({"offsets", "Int64", 1, {6}}) + "</Polys></Piece></PolyData></VTKFile>");
    options.inputs = {folder.file("surface.vtp")};
    options.cutPolyhedra = true;
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 2U);
    Mesh const surface = file.mesh(0);
    EXPECT_EQ(file.zone(0).type, ZoneType::Triangle);
    ASSERT_EQ(surface.cells.size(), 6U);
    EXPECT_THAT(surface.atCells.at("T"), ElementsAre(3, 3, 3, 3, 4, 4));
    EXPECT_EQ(surface.cells[5], (std::vector<std::uint32_t>{5, 1, 2}))
        << "the second one is turned";
    EXPECT_THAT(file.mesh(1).atCells.at("T"), ElementsAre(2, 2));
    EXPECT_THAT(summary.remarks, Contains("'surface': 1 polygon cut into 4 triangles."));
    EXPECT_THAT(summary.remarks, Contains("'surface': 1 vertex left out, as they have no place."));
}

std::string ordered(std::string const& type, std::string const& attributes,
                    std::string const& geometry, std::size_t numNodes, std::size_t numCells)
{
    TextArray p{"p", "Float32", 1, {}};
    TextArray u{"U", "Float64", 3, {}};
    TextArray t{"p", "Int16", 1, {}};
    for (std::size_t n = 0; n < numNodes; ++n) {
        p.values.push_back(0.1 * static_cast<double>(n));
        for (int c = 0; c < 3; ++c)
            u.values.push_back(static_cast<double>(n) + 0.1 * c);
    }
    for (std::size_t c = 0; c < numCells; ++c)
        t.values.push_back(static_cast<double>(c));
    return "<VTKFile type=\"" + type + "\" version=\"1.0\"><" + type + " " + attributes +
           "><Piece Extent=\"1 4 0 2 -1 1\"><PointData>" + element(p) + element(u) +
           "</PointData><CellData>" + element(t) + "</CellData>" + geometry + "</Piece></" + type +
           "></VTKFile>";
}

TEST_F(Conversions, AnImageIsAsVtkReadsIt)
{
    std::string const path =
        input("box.vti", ordered("ImageData",
                                 "WholeExtent=\"1 4 0 2 -1 1\" Origin=\"0.1 0.2 0.3\" "
                                 "Spacing=\"0.1 0.7 0.3\" Direction=\"0 -1 0 1 0 0 0 0 1\"",
                                 "", 36, 12));
    expectSame(run().mesh(0), readWithVtk(path));
    EXPECT_THAT(summary.variables, Contains("p_cell"));
}

TEST_F(Conversions, ARectilinearGridIsAsVtkReadsIt)
{
    std::string const path = input(
        "box.vtr", ordered("RectilinearGrid", "WholeExtent=\"1 4 0 2 -1 1\"",
                           "<Coordinates>" + element({"x", "Float64", 1, {0.1, 0.3, 0.7, 1}}) +
                               element({"y", "Float32", 1, {0, 0.1, 0.4}}) +
                               element({"z", "Float64", 1, {0.5, 2, 3}}) + "</Coordinates>",
                           36, 12));
    expectSame(run().mesh(0), readWithVtk(path));
}

TEST_F(Conversions, AStructuredGridIsAsVtkReadsIt)
{
    TextArray points{"Points", "Float32", 3, {}};
    for (int n = 0; n < 36; ++n)
        for (int axis = 0; axis < 3; ++axis)
            points.values.push_back(0.1 * n + axis);
    std::string const path =
        input("box.vts", ordered("StructuredGrid", "WholeExtent=\"1 4 0 2 -1 1\"",
                                 "<Points>" + element(points) + "</Points>", 36, 12));
    expectSame(run().mesh(0), readWithVtk(path));
}

TEST_F(Conversions, PiecesOfAParallelFileAreOneZoneWithoutGhosts)
{
    TextGrid pieces[2] = {rowOfCubes(3), rowOfCubes(2, 10)};
    for (std::size_t n = 0; n < pieces[1].points.size(); n += 3)
        pieces[1].points[n] += 2; // its first cube is the last one of the other piece
    pieces[0].atCells.push_back({"vtkGhostType", "UInt8", 1, {0, 0, 0}});
    pieces[1].atCells.push_back({"vtkGhostType", "UInt8", 1, {1, 0}});
    writeText(folder.file("a.vtu"), pieces[0].vtu());
    writeText(folder.file("b.vtu"), pieces[1].vtu());
    input("whole.pvtu",
          "<VTKFile type=\"PUnstructuredGrid\" version=\"1.0\"><PUnstructuredGrid GhostLevel=\"1\">"
          "<PPointData><PDataArray type=\"Float32\" Name=\"p\"/></PPointData>"
          "<PCellData><PDataArray type=\"Float64\" Name=\"T\"/>"
          "<PDataArray type=\"UInt8\" Name=\"vtkGhostType\"/></PCellData>"
          "<PPoints><PDataArray type=\"Float64\" NumberOfComponents=\"3\"/></PPoints>"
          "<Piece Source=\"a.vtu\"/><Piece Source=\"b.vtu\"/></PUnstructuredGrid></VTKFile>");
    options.keepOrder = true;
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 1U);
    Mesh const mesh = file.mesh(0);
    EXPECT_THAT(mesh.atCells.at("T"), ElementsAre(0.1, 1.1, 2.1, 10.1));
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "p", "T"));
    EXPECT_THAT(summary.remarks,
                ElementsAre("'whole': 1 cell left out that stand in another piece as well or are "
                            "blanked."));
}

TEST_F(Conversions, BlocksBecomeZonesNamedAfterThem)
{
    writeText(folder.file("inner.vtu"), rowOfCubes(2).vtu());
    TextGrid wall{cubePoints(), {{9, {0, 1, 2, 3}}, {9, {4, 5, 6, 7}}}};
    wall.atNodes = {{"p", "Float32", 1, {1, 2, 3, 4, 5, 6, 7, 8}}};
    writeText(folder.file("wall.vtu"), wall.vtu());
    input("all.vtm", "<VTKFile type=\"vtkMultiBlockDataSet\" version=\"1.0\"><vtkMultiBlockDataSet>"
                     "<DataSet index=\"0\" name=\"inner\" file=\"inner.vtu\"/>"
                     "<Block index=\"1\" name=\"boundary\"><DataSet index=\"0\" name=\"wall\" "
                     "file=\"wall.vtu\"/></Block></vtkMultiBlockDataSet></VTKFile>");
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 2U);
    EXPECT_EQ(file.zone(0).name, "inner");
    EXPECT_EQ(file.zone(1).name, "boundary/wall");
    EXPECT_TRUE(file.zone(1).variables[4].isPassive) << "it has no T";
    EXPECT_THAT(summary.remarks, ElementsAre(HasSubstr("'boundary/wall' has no 'T'")));
}

TEST_F(Conversions, LegacyFilesAreRead)
{
    input("old.vtk", "# vtk DataFile Version 3.0\ntitle\nASCII\nDATASET UNSTRUCTURED_GRID\n"
                     "POINTS 5 float\n0 0 0 1 0 0 0 1 0 0 0 1 1 1 1\nCELLS 2 10\n4 0 1 2 3\n"
                     "4 1 2 3 4\nCELL_TYPES 2\n10 10\nPOINT_DATA 5\nSCALARS p double 1\n"
                     "LOOKUP_TABLE default\n1 2 3 4 5\nVECTORS U float\n"
                     "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15\nCELL_DATA 2\nSCALARS q int 1\n"
                     "LOOKUP_TABLE default\n7 8\n");
    options.keepOrder = true;
    Mesh const mesh = run().mesh(0);
    EXPECT_THAT(mesh.atNodes.at("p"), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(mesh.atNodes.at("U_y"), ElementsAre(2, 5, 8, 11, 14));
    EXPECT_THAT(mesh.atCells.at("q"), ElementsAre(7, 8));
    EXPECT_EQ(mesh.types.at("q"), FieldDataType_Int32);
    EXPECT_THAT(mesh.cells, ElementsAre(ElementsAre(0U, 1U, 2U, 3U), ElementsAre(1U, 2U, 3U, 4U)));
}

struct TypeCase
{
    char const* vtk;
    FieldDataType_e type;
    double low;
    double high;
};

TypeCase const types[] = {{"Int8", FieldDataType_Int16, -128, 127},
                          {"UInt8", FieldDataType_Byte, 0, 255},
                          {"Int16", FieldDataType_Int16, -32768, 32767},
                          {"UInt16", FieldDataType_Int32, 0, 65535},
                          {"Int32", FieldDataType_Int32, -2147483648.0, 2147483647.0},
                          {"UInt32", FieldDataType_Double, 0, 4294967295.0},
                          {"Int64", FieldDataType_Double, -9007199254740992.0, 9007199254740992.0},
                          {"UInt64", FieldDataType_Double, 0, 9007199254740992.0},
                          {"Float32", FieldDataType_Float, -0.5, 0.25},
                          {"Float64", FieldDataType_Double, -0.1, 0.3}};

class NumberTypes : public Conversions, public testing::WithParamInterface<TypeCase>
{
};

TEST_P(NumberTypes, HoldAllTheirValues)
{
    TypeCase const& type = GetParam();
    TextGrid grid{cubePoints(), {{12, upTo(8)}}};
    grid.atNodes = {{"a", type.vtk, 1, {type.low, 0, 1, 2, 3, 4, 5, type.high}}};
    input("cell.vtu", grid.vtu());
    options.keepOrder = true;
    Mesh const mesh = run().mesh(0);
    EXPECT_EQ(mesh.types.at("a"), type.type);
    EXPECT_THAT(mesh.atNodes.at("a"), ElementsAre(type.low, 0, 1, 2, 3, 4, 5, type.high));
}

INSTANTIATE_TEST_SUITE_P(Types, NumberTypes, testing::ValuesIn(types),
                         [](auto const& one) { return std::string(one.param.vtk); });

TEST_F(Conversions, FloatAndDoubleChangeFloatingPointNumbersAlone)
{
    TextGrid grid = rowOfCubes(1);
    grid.atNodes.push_back({"n", "Int32", 1, {0, 1, 2, 3, 4, 5, 6, 7}});
    input("row.vtu", grid.vtu());
    options.precision = Precision::Float;
    Mesh mesh = run().mesh(0);
    EXPECT_EQ(mesh.types.at("X"), FieldDataType_Float);
    EXPECT_EQ(mesh.types.at("T"), FieldDataType_Float);
    EXPECT_EQ(mesh.types.at("n"), FieldDataType_Int32);
    EXPECT_EQ(mesh.atCells.at("T")[0], static_cast<double>(0.1F));
    options.precision = Precision::Double;
    mesh = run().mesh(0);
    EXPECT_EQ(mesh.types.at("p"), FieldDataType_Double);
    EXPECT_EQ(mesh.types.at("n"), FieldDataType_Int32);
}

TEST_F(Conversions, ComponentsAreNamed)
{
    TextGrid grid = rowOfCubes(1);
    auto const array = [](std::string const& name, int count, std::string const& more = "") {
        return TextArray{name, "Float32", count,
                         std::vector<double>(static_cast<std::size_t>(8 * count)), more};
    };
    grid.atNodes = {array("a", 2),
                    array("b", 6),
                    array("c", 9),
                    array("d", 4),
                    array("e", 3, "ComponentName0=\"r\" ComponentName1=\"phi\""),
                    array("X", 1)};
    input("row.vtu", grid.vtu());
    run();
    EXPECT_THAT(summary.variables,
                ElementsAre("X", "Y", "Z", "a_x", "a_y", "b_xx", "b_yy", "b_zz", "b_xy", "b_yz",
                            "b_xz", "c_xx", "c_xy", "c_xz", "c_yx", "c_yy", "c_yz", "c_zx", "c_zy",
                            "c_zz", "d_1", "d_2", "d_3", "d_4", "e_r", "e_phi", "e_z", "X_2", "T"));
}

TEST_F(Conversions, ChosenVariablesAreWrittenAlone)
{
    TextGrid grid = rowOfCubes(1);
    grid.atNodes.push_back({"U", "Float32", 3, std::vector<double>(24, 1.0)});
    grid.atCells.push_back({"p", "Float32", 1, {5}});
    input("row.vtu", grid.vtu());
    options.variables = {"U"};
    run();
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "U_x", "U_y", "U_z"));
    options.variables = {"U_y", "p_cell"};
    run();
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "U_y", "p_cell"));
    options.variables = {"p"};
    run();
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "p", "p_cell"));
    options.variables = {"q"};
    EXPECT_EQ(failure(),
              "No variable is called 'q': vnxconvert without --vars shows which there are.");
}

TEST_F(Conversions, TextVersionsAndTitlesAreAsAskedFor)
{
    input("row.vtu", rowOfCubes(2).vtu());
    options.isText = true;
    options.title = "a title";
    FileContents const text = run();
    EXPECT_EQ(text.dataSets[0].title, "a title");
    EXPECT_EQ(hdqfsloader::DataFile(options.output).description().isAscii(), 1);
    options.isText = false;
    options.version = 120;
    run();
    EXPECT_EQ(summary.version, 120U);
    EXPECT_EQ(hdqfsloader::DataFile(options.output).description().getFileVersion(), 120U);
}

TEST_F(Conversions, SubzonesOfOrderedZonesAreAsLargeAsAskedFor)
{
    input("box.vti", ordered("ImageData", "WholeExtent=\"1 4 0 2 -1 1\"", "", 36, 12));
    options.subzoneSize = {4, 2, 1};
    run();
    hdqfsloader::DataFile file(options.output);
    EXPECT_EQ(file.tags().at(3), 4U);
    EXPECT_EQ(file.tags().at(4), 2U);
    EXPECT_EQ(file.tags().at(5), 1U);
}

TEST_F(Conversions, PartitionsHaveNoMoreCellsThanAskedFor)
{
    input("row.vtu", rowOfCubes(50).vtu());
    Mesh const whole = run().mesh(0);
    for (bool const keepOrder : {false, true}) {
        options.partitionCells = 7;
        options.keepOrder = keepOrder;
        FileContents const cut = run();
        EXPECT_EQ(cut.zone(0).partitions.size(), 8U);
        for (auto const& partition : cut.zone(0).partitions)
            EXPECT_LE(partition.numCells[0], 7U);
        expectSame(whole, cut.mesh(0));
    }
}

TEST_F(Conversions, AFlatBoxStaysWhole)
{
    input("flat.vti", "<VTKFile type=\"ImageData\" version=\"1.0\"><ImageData "
                      "WholeExtent=\"0 9 0 9 0 0\"><Piece Extent=\"0 9 0 9 0 0\"></Piece>"
                      "</ImageData></VTKFile>");
    options.partitionCells = 10;
    EXPECT_LE(run().zone(0).partitions.size(), 1U);
    EXPECT_THAT(summary.remarks, ElementsAre("'flat' is flat and can't be cut into partitions."));
}

TEST_F(Conversions, InputsBesideEachOtherAreZonesWithNamesOfTheirOwn)
{
    input("a.vtu", rowOfCubes(1).vtu());
    std::filesystem::create_directory(folder.path() / "other");
    input("other/a.vtu", rowOfCubes(2).vtu());
    input("box.vti", ordered("ImageData", "WholeExtent=\"1 4 0 2 -1 1\"", "", 36, 12));
    FileContents const file = run();
    ASSERT_EQ(file.numZones(), 3U);
    EXPECT_EQ(file.zone(0).name, "a");
    EXPECT_EQ(file.zone(1).name, "a_2");
    EXPECT_EQ(file.zone(2).name, "box");
}

// Series

class Series : public Conversions
{
protected:
    std::vector<std::string> namesOf(std::vector<std::string> const& paths)
    {
        std::vector<std::string> result;
        for (std::string const& path : paths)
            result.push_back(std::filesystem::path(path).filename().string());
        return result;
    }

    /// Three times of a row of cubes.
    void writeSteps()
    {
        for (int step = 0; step < 3; ++step)
            writeText(folder.file("s" + std::to_string(step) + ".vtu"),
                      rowOfCubes(3, step + 1).vtu());
    }

    std::string const collection =
        "<VTKFile type=\"Collection\" version=\"0.1\"><Collection>"
        "<DataSet timestep=\"0\" file=\"s0.vtu\"/><DataSet timestep=\"0.5\" file=\"s1.vtu\"/>"
        "<DataSet timestep=\"1.5\" file=\"s2.vtu\"/></Collection></VTKFile>";
};

TEST_F(Series, WithAFixedGridIsAGridFileWithSolutions)
{
    writeSteps();
    input("run.pvd", collection);
    run();
    EXPECT_THAT(namesOf(summary.files),
                ElementsAre("out_grid.hdqfs", "out_t00.hdqfs", "out_t01.hdqfs", "out_t02.hdqfs"));
    EXPECT_EQ(folder.numFiles(), 8U) << "nothing else is left";
    Served served(summary.files);
    ASSERT_EQ(served.dataSet().zones.size(), 3U);
    std::vector<double> const times{0, 0.5, 1.5};
    for (int z = 1; z <= 3; ++z) {
        client::Zone const& zone = served.dataSet().zones[static_cast<std::size_t>(z - 1)];
        EXPECT_EQ(zone.name, "run");
        EXPECT_EQ(zone.solutionTime, times[static_cast<std::size_t>(z - 1)]);
        EXPECT_EQ(zone.strand, 1);
        expectSame(served.mesh(z), readWithVtk(folder.file("s" + std::to_string(z - 1) + ".vtu")));
    }
}

TEST_F(Series, IsTheSameAsJson)
{
    writeSteps();
    input("run.vtu.series", R"({"file-series-version": "1.0", "files": [
        {"name": "s0.vtu", "time": 0}, {"name": "s1.vtu", "time": 2}]})");
    run();
    EXPECT_EQ(summary.files.size(), 3U);
    EXPECT_EQ(FileContents({summary.files[2]}).zone(0).solutionTime, 2);
    EXPECT_EQ(FileContents({summary.files[2]}).zone(0).name, "run");
}

TEST_F(Series, MayBeTheInputsThemselves)
{
    for (int step = 0; step < 2; ++step) {
        TextGrid grid = rowOfCubes(2, step + 1);
        grid.time = std::to_string(0.25 * (step + 1));
        input("wave_" + std::to_string(step) + ".vtu", grid.vtu());
    }
    options.asSeries = true;
    run();
    ASSERT_EQ(summary.files.size(), 3U);
    EXPECT_EQ(FileContents({summary.files[2]}).zone(0).solutionTime, 0.5);
    EXPECT_EQ(FileContents({summary.files[0]}).zone(0).name, "wave");
}

TEST_F(Series, OfAChangingGridIsOneFile)
{
    writeSteps();
    writeText(folder.file("s1.vtu"), rowOfCubes(4).vtu());
    input("run.pvd", collection);
    FileContents const file = run();
    EXPECT_THAT(namesOf(summary.files), ElementsAre("out.hdqfs"));
    ASSERT_EQ(file.numZones(), 3U);
    EXPECT_EQ(file.zone(1).solutionTime, 0.5);
    EXPECT_EQ(file.zone(2).strandID, 1U);
    for (std::size_t z = 0; z < 3; ++z)
        expectSame(file.mesh(z), readWithVtk(folder.file("s" + std::to_string(z) + ".vtu")));
    EXPECT_EQ(folder.numFiles(), 5U);
}

TEST_F(Series, MayBringNewVariablesLater)
{
    writeSteps();
    TextGrid grid = rowOfCubes(3, 2);
    grid.atNodes.push_back({"late", "Float32", 1, std::vector<double>(16, 4.0)});
    writeText(folder.file("s1.vtu"), grid.vtu());
    input("run.pvd", collection);
    run();
    ASSERT_EQ(summary.files.size(), 4U);
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "p", "T", "late"));
    EXPECT_TRUE(FileContents({summary.files[1]}).zone(0).variables[2].isPassive);
    EXPECT_FALSE(FileContents({summary.files[2]}).zone(0).variables[2].isPassive);
    EXPECT_THAT(summary.remarks, ElementsAre(HasSubstr("has no 'late'")));
}

TEST_F(Series, TimesAreChosen)
{
    writeSteps();
    input("run.pvd", collection);
    options.times = TimeRange::parse("0.5:");
    run();
    ASSERT_EQ(summary.files.size(), 3U);
    EXPECT_EQ(FileContents({summary.files[1]}).zone(0).solutionTime, 0.5);
    options.times = TimeRange::parse("1.5");
    run();
    EXPECT_THAT(namesOf(summary.files), ElementsAre("out.hdqfs"));
    options.times = TimeRange::parse("2:3");
    EXPECT_THAT(failure(),
                HasSubstr("No time lies in the range of --time: the 3 go from 0 to 1.5."));
}

TEST_F(Series, LeavesNothingWhenATimeIsMissing)
{
    writeSteps();
    std::filesystem::remove(folder.file("s2.vtu"));
    writeText(folder.file("out_grid.hdqfs"), "older");
    input("run.pvd", collection);
    EXPECT_EQ(failure(), "Cannot read " + folder.file("s2.vtu") +
                             ": No such file or directory.\nCheck the name, and that you may read "
                             "the file.");
    EXPECT_EQ(folder.numFiles(), 4U);
    EXPECT_EQ(std::filesystem::file_size(folder.file("out_grid.hdqfs")), 5U);
}

// Inputs that can't be read

TEST_F(Conversions, ADamagedFileIsNamedWithTheReason)
{
    std::string const whole = rowOfCubes(2).vtu();
    std::string const path = input("cut.vtu", whole.substr(0, whole.size() / 2));
    std::string const message = failure();
    EXPECT_THAT(message, HasSubstr("Cannot read " + path + ": "));
    EXPECT_THAT(message, HasSubstr("Check that the file is complete"));
    EXPECT_EQ(folder.numFiles(), 1U);
}

TEST_F(Conversions, ACellWithANodeThatDoesNotExistIsAnError)
{
    TextGrid grid = rowOfCubes(2);
    grid.cells[1].nodes[3] = 12;
    input("row.vtu", grid.vtu());
    EXPECT_EQ(failure(), "Cell 2 of 'row' has a node that doesn't exist: the file is damaged.");
    grid.cells[1].nodes[3] = -1;
    writeText(folder.file("row.vtu"), grid.vtu());
    EXPECT_EQ(failure(), "Cell 2 of 'row' has a node that doesn't exist: the file is damaged.");
}

TEST_F(Conversions, ACellWithTooFewNodesIsAnError)
{
    TextGrid grid = rowOfCubes(2);
    grid.cells[0].nodes.pop_back();
    input("row.vtu", grid.vtu());
    EXPECT_EQ(failure(), "Cell 1 of 'row' has fewer nodes than corners: the file is damaged.");
}

TEST_F(Conversions, AnInterruptedOneLeavesNothing)
{
    input("row.vtu", rowOfCubes(2).vtu());
    options.progress = [](char const* action, std::uint64_t, std::uint64_t) {
        if (std::string(action) == "Writing")
            throw Interrupted("enough");
    };
    EXPECT_EQ(failure(), "enough");
    EXPECT_EQ(folder.numFiles(), 1U);
    options.progress = [](char const* action, std::uint64_t, std::uint64_t) {
        if (std::string(action) == "Reading")
            throw Interrupted("early");
    };
    EXPECT_EQ(failure(), "early");
}

}
}
