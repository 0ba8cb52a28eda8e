// The example that docs/writer.md shows.

#include "addons/hdqfs/DataFile.h"
#include "tests/writer/Comparison.h"
#include "tests/writer/DataSetFromFile.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace varnox::hdqfswriter::tests {
namespace {

std::string textOf(std::string const& path)
{
    std::ostringstream result;
    result << std::ifstream(VNX_SOURCE_DIR "/docs/" + path).rdbuf();
    return result.str();
}

TEST(WriterExample, WritesTheFileThatThePageTellsOf)
{
    TemporaryFolder const folder;
    std::string const path = folder.file("two-zones.hdqfs");
    std::string const output = folder.file("output");
    ASSERT_EQ(std::system((VNX_BIN_DIR "/vnx_write_example " + path + " > " + output).c_str()), 0);
    auto const file = std::make_shared<hdqfsloader::DataFile>(path);
    EXPECT_EQ(file->title(), "Two zones");
    EXPECT_EQ(file->headers().zoneNames[1], "row");
    EXPECT_EQ(file->zone(1).numPartitions, 2U);
    EXPECT_EQ(file->partition(1, 0).numRefPartitions, 2U);
    DataSet const dataSet = dataSetFromFile(file);
    expectExactRanges(file, dataSet);
    expectExactNodeRecords(file, dataSet);
}

TEST(WriterExample, StandsInThePageToTheLetter)
{
    std::string const example = textOf("examples/write.cpp");
    ASSERT_FALSE(example.empty());
    EXPECT_NE(textOf("writer.md").find("```cpp\n" + example + "```"), std::string::npos);
}

}
}
