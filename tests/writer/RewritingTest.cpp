// Files of another writer, read and written again, say the same.

#include "varnox/hdqfswriter/FileWriter.h"

#include "tests/writer/Comparison.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace varnox::hdqfswriter::tests {
namespace {

using hdqfsloader::DataFile;

/// Those of the repository, and of the folder that the environment names.
std::vector<std::string> sampleFiles()
{
    std::vector<std::string> result;
    char const* const more = std::getenv("VNX_SAMPLES");
    for (std::string const& folder :
         {std::string(VNX_SOURCE_DIR "/examples/data"), std::string(more != nullptr ? more : "")})
        if (!folder.empty())
            for (auto const& entry : std::filesystem::directory_iterator(folder))
                if (entry.path().extension() == ".hdqfs")
                    result.push_back(entry.path().string());
    std::sort(result.begin(), result.end());
    return result;
}

std::string sampleName(testing::TestParamInfo<std::string> const& row)
{
    std::string name = std::filesystem::path(row.param).stem().string();
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
    return name + "_" + std::to_string(row.index);
}

/// A solution file's grid lies beside it, by the rule of the samples' names.
std::shared_ptr<DataFile> gridOf(std::shared_ptr<DataFile> const& file)
{
    if (file->type() != DataFileType_Solution)
        return file;
    std::string const path = file->path();
    return std::make_shared<DataFile>(path.substr(0, path.rfind("_t")) + "_grid.hdqfs");
}

/// Gives the variables of another source in another order.
class ReorderedSource final : public ZoneSource
{
public:
    ReorderedSource(std::shared_ptr<ZoneSource> source, std::vector<std::uint32_t> order)
        : m_source(std::move(source)), m_order(std::move(order))
    {
    }

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        return m_source->values(partition, m_order[variable], buffer);
    }
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        return m_source->boxValues(box, m_order[variable], buffer);
    }
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override
    {
        return m_source->cells(partition, section, buffer);
    }
    std::vector<std::int32_t> faceNeighbors() override { return m_source->faceNeighbors(); }

private:
    std::shared_ptr<ZoneSource> m_source;
    std::vector<std::uint32_t> m_order;
};

/// In text an integer's range is narrower than a float's, which may take another order.
DataSet reordered(DataSet const& dataSet, std::vector<std::uint32_t> const& order)
{
    DataSet result = dataSet;
    for (std::size_t v = 0; v < order.size(); ++v)
        result.variableNames[v] = dataSet.variableNames[order[v]];
    for (std::size_t z = 0; z < result.zones.size(); ++z) {
        Zone& zone = result.zones[z];
        for (std::size_t v = 0; v < order.size(); ++v)
            zone.variables[v] = dataSet.zones[z].variables[order[v]];
        zone.source = std::make_shared<ReorderedSource>(zone.source, order);
    }
    return result;
}

class Rewriting : public testing::TestWithParam<std::string>
{
protected:
    Rewriting()
        : file(std::make_shared<DataFile>(GetParam())), grid(gridOf(file)),
          dataSet(dataSetFromFile(file, grid))
    {
        options.fileType = static_cast<FileType>(file->type());
        options.version = file->description().getFileVersion();
        options.order = ItemOrder::Keep;
        hdqio::IJK const& size = file->description().getMaxIJKSubzoneSize();
        options.subzoneSize = {static_cast<std::uint16_t>(size.i),
                               static_cast<std::uint16_t>(size.j),
                               static_cast<std::uint16_t>(size.k)};
    }

    std::shared_ptr<DataFile> file;
    std::shared_ptr<DataFile> grid;
    DataSet dataSet;
    Options options;
};

TEST_P(Rewriting, GivesAnEqualFileInTheSameForm)
{
    options.isText = file->description().isAscii() != 0;
    WrittenFile const written(dataSet, options);
    auto const again = written.open();
    bool const isGrid = again->type() != DataFileType_Solution;
    expectEqual(dataSet, dataSetFromFile(again, isGrid ? again : grid), false);
    if (isGrid)
        expectExactNodeRecords(again, dataSet);
    // Ranges too, which are as tight as those of the other writer.
    for (std::uint32_t z = 0; z < file->numZones(); ++z)
        for (std::uint32_t v = 0; v < file->numVars(); ++v) {
            if (!dataSet.zones[z].isInSubzones || file->isPassive(z, v))
                continue;
            for (std::uint32_t p = 0; p < file->zone(z).numPartitions; ++p)
                for (auto const items : {hdqfsloader::Items::Cells, hdqfsloader::Items::Nodes}) {
                    auto const a = file->subzoneRanges(z, v, p, items);
                    auto const b = again->subzoneRanges(z, v, p, items);
                    ASSERT_EQ(a.size(), b.size());
                    for (std::size_t i = 0; i < a.size(); ++i)
                        EXPECT_TRUE((a[i].min == b[i].min && a[i].max == b[i].max) ||
                                    (a[i].min > a[i].max && b[i].min > b[i].max))
                            << "zone " << z << " variable " << v << " partition " << p
                            << (items == hdqfsloader::Items::Cells ? " cells " : " nodes ") << i
                            << ": [" << a[i].min << ", " << a[i].max << "] and [" << b[i].min
                            << ", " << b[i].max << "]";
                }
        }
}

TEST_P(Rewriting, ThroughTheOtherFormAndBackSaysTheSame)
{
    bool const wasText = file->description().isAscii() != 0;
    options.isText = !wasText;
    WrittenFile const other(dataSet, options);
    auto const otherFile = other.open();
    bool const isGrid = otherFile->type() != DataFileType_Solution;
    DataSet const between = dataSetFromFile(otherFile, isGrid ? otherFile : grid);
    DataSet const expected = reordered(dataSet, other.summary.variableOrder);
    expectEqual(expected, between, options.isText);

    options.isText = wasText;
    WrittenFile const back(between, options);
    auto const backFile = back.open();
    expectEqual(expected, dataSetFromFile(backFile, isGrid ? backFile : grid), true);
}

INSTANTIATE_TEST_SUITE_P(Samples, Rewriting, testing::ValuesIn(sampleFiles()), sampleName);

}
}
