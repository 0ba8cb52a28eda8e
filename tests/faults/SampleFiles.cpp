#include "tests/faults/SampleFiles.h"

#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace varnox::tests {

namespace {

using namespace hdqfswriter;
using hdqfswriter::tests::meshZone;
using hdqfswriter::tests::namesOf;
using hdqfswriter::tests::orderedZone;

std::vector<ZoneVariable> variables()
{
    using enum ValueLocation;
    return {{ValueType::Byte, Nodes, false, -1},   {ValueType::Int16, Nodes, false, -1},
            {ValueType::Int32, Cells, false, -1},  {ValueType::Float, Nodes, false, -1},
            {ValueType::Double, Cells, false, -1}, {ValueType::Double, Nodes, false, -1}};
}

DataSet dataSetOf(std::vector<Zone> zones)
{
    DataSet result;
    result.title = "swept";
    for (std::size_t v = 1; v <= zones.front().variables.size(); ++v)
        result.variableNames.push_back("v" + std::to_string(v));
    result.zones = std::move(zones);
    for (std::size_t z = 0; z < result.zones.size(); ++z)
        result.zones[z].name = "zone number " + std::to_string(z + 1);
    return result;
}

DataSet shared()
{
    DataSet result =
        dataSetOf({orderedZone({5, 6, 7}, variables()), orderedZone({5, 6, 7}, variables()),
                   meshZone({ZoneType::Brick, {4, 4, 4}}, variables()),
                   meshZone({ZoneType::Brick, {4, 4, 4}}, variables())});
    result.zones[0].variables[3].isPassive = true;
    result.zones[1].variables[0].sharedFrom = 0;
    result.zones[1].variables[4].sharedFrom = 0;
    result.zones[3].connectivityFrom = 2;
    result.zones[3].variables[5].sharedFrom = 2;
    return result;
}

DataSet annotated()
{
    DataSet result = dataSetOf({orderedZone({4, 3, 2}, {{}, {}}),
                                meshZone({ZoneType::Brick, {2, 2, 2}, 1, false}, {{}, {}})});
    Text text;
    text.textString = "an inlet of some length, as texts go";
    text.textTypefaceFamily = "a typeface with a long name";
    text.textMacroFunctionCmd = "a command for the engine";
    result.texts = {text};
    Geometry geometry;
    for (std::uint8_t const type : {Geometry::RECTANGLE, Geometry::CIRCLE, Geometry::ELLIPSE}) {
        geometry.geomType = type;
        geometry.size[0] = 2.5;
        geometry.size[1] = type == Geometry::CIRCLE ? 0 : 1.25;
        result.geometries.push_back(geometry);
    }
    geometry = {};
    geometry.posCoordMode = Geometry::IN_THREE_DIMENSIONS;
    geometry.segments = {{{1, 2, 3}, {4, 5, 6}}, {{7, 8, 9}}};
    result.geometries.push_back(geometry);
    result.customLabelSets = {{"one", "two"}, {"three, with a long label of its own"}};
    result.auxiliaryData = {{1, 0, "name", 0, "a value that needs memory of its own"},
                            {AuxiliaryData::OF_A_VARIABLE, 1, "unit", 0, "m/s"}};
    for (Zone& zone : result.zones)
        static_cast<hdqfswriter::tests::MemorySource&>(*zone.source).neighbors = {1, -5, 12, 7};
    return result;
}

DataSet solution(int step)
{
    std::vector<ZoneVariable> const some{{ValueType::Float, ValueLocation::Nodes, false, -1},
                                         {ValueType::Double, ValueLocation::Cells, false, -1}};
    DataSet result =
        dataSetOf({meshZone({ZoneType::Brick, {6, 5, 9}, 2}, some), orderedZone({9, 8, 7}, some)});
    result.variableNames = {"p", "q"};
    for (Zone& zone : result.zones)
        zone.solutionTime = step;
    return result;
}

DataSet grid()
{
    std::vector<ZoneVariable> const places(3, {ValueType::Float, ValueLocation::Nodes, false, -1});
    return dataSetOf(
        {meshZone({ZoneType::Brick, {6, 5, 9}, 2}, places), orderedZone({9, 8, 7}, places)});
}

void writeForm(std::string const& folder, bool isText)
{
    Options options;
    options.isText = isText;
    auto const write = [&](std::string const& name, DataSet const& dataSet) {
        writeFile(folder + name + (isText ? "_text" : "") + ".hdqfs", dataSet, options);
    };
    write("box", dataSetOf({orderedZone({9, 8, 7}, variables())}));
    write("boxes", dataSetOf({orderedZone({9, 8, 7}, variables(), {{{5}, {}, {4}}})}));
    write("mesh", dataSetOf({meshZone({ZoneType::Brick, {6, 5, 9}, 2}, variables()),
                             meshZone({ZoneType::Tetrahedron, {3, 3, 4}}, variables())}));
    write("mixed", dataSetOf({meshZone({ZoneType::Mixed, {5, 5, 4}}, variables())}));
    write("plain", dataSetOf({meshZone({ZoneType::Brick, {3, 3, 3}, 1, false}, variables()),
                              meshZone({ZoneType::Mixed, {3, 3, 4}, 1, false}, variables())}));
    write("shared", shared());
    write("annotated", annotated());
    options.fileType = FileType::Grid;
    write("grid", grid());
    options.fileType = FileType::Solution;
    write("step0", solution(0));
    write("step1", solution(1));
}

void writeText(std::string const& path, std::string const& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

}

SampleFiles const& SampleFiles::get()
{
    static SampleFiles const files;
    return files;
}

SampleFiles::SampleFiles()
{
    namespace fs = std::filesystem;
    std::string folder = (fs::temp_directory_path() / "vnxfaultsXXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    m_folder = folder + "/";
    writeForm(m_folder, false);
    writeForm(m_folder, true);
    fs::copy_file(path("mesh", false), m_folder + "cut");
    fs::resize_file(m_folder + "cut", fs::file_size(m_folder + "cut") / 8);
    writeText(m_folder + "empty", "");
    writeText(m_folder + "foreign", "#!SOMETHING else\n");
    // Files by whose names the test add-ons go.
    for (char const* const word : {"everything", "throws", "fails", "registers", "builds"})
        fs::copy_file(path("box", false), m_folder + word + ".hdqfs",
                      fs::copy_options::overwrite_existing);
    fs::create_directories(m_folder + "listing/folder");
    writeText(m_folder + "listing/one", "1");
    writeText(m_folder + "listing/two with a name beyond what a short string holds", "22");
    fs::create_symlink("one", m_folder + "listing/link");
    fs::create_symlink("nowhere", m_folder + "listing/dangling");
}

SampleFiles::~SampleFiles()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string SampleFiles::path(std::string const& name, bool isText) const
{
    return m_folder + name + (isText ? "_text" : "") + ".hdqfs";
}

std::string SampleFiles::other(std::string const& name) const
{
    return m_folder + name;
}

}
