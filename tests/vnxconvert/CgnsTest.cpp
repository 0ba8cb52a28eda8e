// CGNS files, made here with their library.

#include "tests/support/Messages.h"
#include "tests/vnxconvert/FileMesh.h"
#include "tests/vnxconvert/Vtu.h"
#include "tests/writer/WrittenFile.h"
#include "tools/support/Output.h"
#include "tools/vnxconvert/Conversion.h"
#include "tools/vnxinfo/Check.h"

#include <cgnslib.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <numeric>

namespace varnox::convert::tests {
namespace {

using hdqfswriter::ZoneType;
using hdqfswriter::tests::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using varnox::tests::messageOf;

void must(int status)
{
    if (status != CG_OK)
        throw std::runtime_error(cg_get_error());
}

class Cgns : public testing::Test
{
protected:
    void SetUp() override
    {
        must(cg_open(folder.file("in.cgns").c_str(), CG_MODE_WRITE, &file));
        must(cg_base_write(file, "Base", 3, 3, &base));
    }

    int addZone(char const* name, std::vector<cgsize_t> const& size, ZoneType_t type,
                std::vector<double> const& points)
    {
        int zone = 0;
        must(cg_zone_write(file, base, name, size.data(), type, &zone));
        static char const* const NAMES[] = {"CoordinateX", "CoordinateY", "CoordinateZ"};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::vector<double> along;
            for (std::size_t n = axis; n < points.size(); n += 3)
                along.push_back(points[n]);
            int number = 0;
            must(cg_coord_write(file, base, zone, RealDouble, NAMES[axis], along.data(), &number));
        }
        return zone;
    }

    template <typename T>
    void addField(int zone, char const* solution, GridLocation_t location, char const* name,
                  DataType_t type, std::vector<T> const& values)
    {
        int& number = solutions[{zone, solution}];
        if (number == 0)
            must(cg_sol_write(file, base, zone, solution, location, &number));
        int field = 0;
        must(cg_field_write(file, base, zone, number, type, name, values.data(), &field));
    }

    FileContents run()
    {
        must(cg_close(file));
        options.inputs = {folder.file("in.cgns")};
        options.output = folder.file("out.hdqfs");
        summary = convert(options);
        tools::Output quiet("/dev/null");
        EXPECT_TRUE(tools::checkFiles(summary.files, false, quiet));
        return FileContents({summary.files.front()});
    }

    TemporaryFolder folder;
    ConversionOptions options;
    ConversionSummary summary;
    int file = 0;
    int base = 0;
    std::map<std::pair<int, std::string>, int> solutions; ///< Their numbers in their zone.
};

std::vector<double> gridPoints(int i, int j, int k)
{
    std::vector<double> result;
    for (int n = 0; n < i * j * k; ++n)
        result.insert(result.end(), {0.1 * (n % i), 0.2 * (n / i % j), 0.3 * (n / i / j)});
    return result;
}

TEST_F(Cgns, AStructuredZoneIsOrdered)
{
    int const zone = addZone("block", {3, 4, 5, 2, 3, 4, 0, 0, 0}, Structured, gridPoints(3, 4, 5));
    std::vector<float> pressure(60);
    std::iota(pressure.begin(), pressure.end(), 0.5F);
    std::vector<double> density(24);
    std::iota(density.begin(), density.end(), 100.25);
    addField(zone, "AtNodes", Vertex, "Pressure", RealSingle, pressure);
    addField(zone, "AtCells", CellCenter, "Density", RealDouble, density);
    addField(zone, "AtCells", CellCenter, "Kind", Integer, std::vector<std::int32_t>(24, -7));
    Mesh const mesh = run().mesh(0);
    EXPECT_THAT(mesh.size, ElementsAre(3, 4, 5));
    EXPECT_EQ(mesh.atNodes.at("Pressure"), std::vector<double>(pressure.begin(), pressure.end()));
    EXPECT_EQ(mesh.atCells.at("Density"), density);
    EXPECT_EQ(mesh.types.at("Kind"), FieldDataType_Int32);
    EXPECT_EQ(mesh.types.at("Pressure"), FieldDataType_Float);
    EXPECT_EQ(mesh.atNodes.at("Z")[59], 0.3 * 4);
    EXPECT_THAT(summary.variables, ElementsAre("X", "Y", "Z", "Pressure", "Density", "Kind"));
}

TEST_F(Cgns, AnUnstructuredZoneHasItsBoundaryAsASurface)
{
    int const zone = addZone("cube", {9, 2, 0}, Unstructured, [] {
        std::vector<double> points = cubePoints();
        points.insert(points.end(), {0.5, 0.5, 2});
        return points;
    }());
    int section = 0;
    std::vector<cgsize_t> const wall{1, 4, 3, 2};
    std::vector<cgsize_t> const hexahedron{1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<cgsize_t> const pyramid{5, 6, 7, 8, 9};
    must(cg_section_write(file, base, zone, "Hexa", HEXA_8, 1, 1, 0, hexahedron.data(), &section));
    must(cg_section_write(file, base, zone, "Wall", QUAD_4, 3, 3, 0, wall.data(), &section));
    must(cg_section_write(file, base, zone, "Pyra", PYRA_5, 2, 2, 0, pyramid.data(), &section));
    addField(zone, "S", CellCenter, "T", RealDouble, std::vector<double>{1.5, 2.5});
    addField(zone, "V", Vertex, "T", RealDouble, std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7, 8});
    options.keepOrder = true;
    FileContents const contents = run();
    ASSERT_EQ(contents.numZones(), 2U);
    EXPECT_EQ(contents.zone(0).name, "cube");
    EXPECT_EQ(contents.zone(0).type, ZoneType::Mixed);
    Mesh const mesh = contents.mesh(0);
    EXPECT_THAT(mesh.cells, ElementsAre(ElementsAre(0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U),
                                        ElementsAre(4U, 5U, 6U, 7U, 8U)));
    EXPECT_THAT(mesh.atCells.at("T_cell"), ElementsAre(1.5, 2.5));
    Mesh const surface = contents.mesh(1);
    EXPECT_EQ(contents.zone(1).type, ZoneType::Quadrilateral);
    EXPECT_THAT(surface.cells, ElementsAre(ElementsAre(0U, 3U, 2U, 1U)));
    EXPECT_EQ(surface.atCells.count("T_cell"), 0U) << "values are at volumes alone";
    EXPECT_THAT(surface.atNodes.at("T"), ElementsAre(0, 1, 2, 3));
}

TEST_F(Cgns, MixedSectionsAreRead)
{
    int const zone = addZone("cube", {9, 2, 0}, Unstructured, [] {
        std::vector<double> points = cubePoints();
        points.insert(points.end(), {0.5, 0.5, 2});
        return points;
    }());
    int section = 0;
    std::vector<cgsize_t> const items{PYRA_5, 5, 6, 7, 8, 9, HEXA_8, 1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<cgsize_t> const offsets{0, 6, 15};
    must(cg_poly_section_write(file, base, zone, "All", MIXED, 1, 2, 0, items.data(),
                               offsets.data(), &section));
    addField(zone, "S", CellCenter, "T", RealDouble, std::vector<double>{1.5, 2.5});
    options.keepOrder = true;
    Mesh const mesh = run().mesh(0);
    ASSERT_EQ(mesh.cells.size(), 2U);
    EXPECT_EQ(mesh.cells[0].size(), 8U);
    EXPECT_THAT(mesh.atCells.at("T"), ElementsAre(2.5, 1.5));
}

TEST_F(Cgns, PolyhedraOfFacesAreCutOnRequest)
{
    int const zone = addZone("cube", {8, 1, 0}, Unstructured, cubePoints());
    int section = 0;
    std::vector<cgsize_t> const faces{1, 4, 3, 2, 5, 6, 7, 8, 1, 2, 6, 5,
                                      2, 3, 7, 6, 3, 4, 8, 7, 4, 1, 5, 8};
    std::vector<cgsize_t> const faceOffsets{0, 4, 8, 12, 16, 20, 24};
    std::vector<cgsize_t> const cell{1, 2, -3, 4, 5, 6};
    std::vector<cgsize_t> const cellOffsets{0, 6};
    must(cg_poly_section_write(file, base, zone, "Faces", NGON_n, 1, 6, 0, faces.data(),
                               faceOffsets.data(), &section));
    must(cg_poly_section_write(file, base, zone, "Cells", NFACE_n, 7, 7, 0, cell.data(),
                               cellOffsets.data(), &section));
    options.cutPolyhedra = true;
    FileContents const contents = run();
    ASSERT_EQ(contents.numZones(), 1U);
    EXPECT_EQ(contents.zone(0).type, ZoneType::Tetrahedron);
    EXPECT_EQ(contents.mesh(0).cells.size(), 6U);
    EXPECT_THAT(summary.remarks, ElementsAre("'cube': 1 polyhedron cut into 6 tetrahedra."));
}

TEST_F(Cgns, TimesOfAFileAreASeries)
{
    int const zone = addZone("block", {2, 2, 2, 1, 1, 1, 0, 0, 0}, Structured, gridPoints(2, 2, 2));
    addField(zone, "Early", Vertex, "p", RealDouble, std::vector<double>(8, 1.0));
    addField(zone, "Late", Vertex, "p", RealDouble, std::vector<double>(8, 2.0));
    must(cg_biter_write(file, base, "Times", 2));
    must(cg_goto(file, base, "BaseIterativeData_t", 1, "end"));
    double const times[] = {0.5, 0.75};
    cgsize_t const count = 2;
    must(cg_array_write("TimeValues", RealDouble, 1, &count, times));
    must(cg_ziter_write(file, base, zone, "ZoneTimes"));
    must(cg_goto(file, base, "Zone_t", zone, "ZoneIterativeData_t", 1, "end"));
    cgsize_t const size[] = {32, 2};
    std::string names(64, ' ');
    names.replace(0, 5, "Early");
    names.replace(32, 4, "Late");
    must(cg_array_write("FlowSolutionPointers", Character, 2, size, names.data()));
    run();
    ASSERT_EQ(summary.files.size(), 3U);
    FileContents const late({summary.files[0], summary.files[2]});
    EXPECT_EQ(late.dataSets[1].zones[0].solutionTime, 0.75);
    EXPECT_EQ(late.mesh(0).atNodes.at("p")[0], 2.0);
    FileContents const early({summary.files[0], summary.files[1]});
    EXPECT_EQ(early.mesh(0).atNodes.at("p")[0], 1.0);
}

TEST_F(Cgns, ArraysBeyondMemoryAreRefused)
{
    addZone("Zone", {2, 2, 2, 1, 1, 1, 0, 0, 0}, Structured, std::vector<double>(24));
    must(cg_close(file));
    ReadOptions reading;
    reading.maxArrayBytes = 8 * sizeof(double);
    EXPECT_EQ(readCgnsFile(folder.file("in.cgns"), reading).size(), 1u);
    reading.maxArrayBytes -= 1;
    std::string const message =
        messageOf<std::runtime_error>([&] { readCgnsFile(folder.file("in.cgns"), reading); });
    EXPECT_THAT(message, HasSubstr("in.cgns: an array is said to have 8 numbers, more than memory "
                                   "can hold."));
}

TEST_F(Cgns, SizesWhoseProductIsBeyondAllNumbersAreNoCount)
{
    constexpr cgsize_t MANY = 1 << 22;
    std::vector<cgsize_t> const size{MANY + 1, MANY + 1, MANY + 1, MANY, MANY, MANY, 0, 0, 0};
    int zone = 0;
    must(cg_zone_write(file, base, "block", size.data(), Structured, &zone));
    must(cg_close(file));
    std::string const message =
        messageOf<std::runtime_error>([&] { readCgnsFile(folder.file("in.cgns"), ReadOptions{}); });
    EXPECT_THAT(message, HasSubstr("in.cgns: a size is no count."));
}

TEST_F(Cgns, ADamagedFileIsNamedWithTheReason)
{
    must(cg_close(file));
    writeText(folder.file("bad.cgns"), "no CGNS file");
    options.inputs = {folder.file("bad.cgns")};
    options.output = folder.file("out.hdqfs");
    std::string const message = messageOf<std::runtime_error>([&] { convert(options); });
    EXPECT_THAT(message, HasSubstr("Cannot read " + folder.file("bad.cgns") + ": "));
    EXPECT_THAT(message, HasSubstr("of a version that the CGNS library here reads"));
}

}
}
