// Samples of simulations, converted and served, are what VTK reads from them.

#include "tests/vnxconvert/Served.h"
#include "tests/vnxconvert/VtkMesh.h"
#include "tests/writer/WrittenFile.h"
#include "tools/vnxconvert/Conversion.h"
#include "tools/vnxinfo/Check.h"
#include "tools/support/Output.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace varnox::convert::tests {
namespace {

using hdqfswriter::tests::TemporaryFolder;

/// The repository's, and those of a folder that the environment names.
std::vector<std::string> samples()
{
    std::vector<std::string> folders{VNX_SOURCE_DIR "/examples/data"};
    if (char const* const more = std::getenv("VNX_SAMPLE_DATA"))
        folders.emplace_back(more);
    std::vector<std::string> result;
    for (std::string const& folder : folders)
        for (auto const& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".vtu" || entry.path().extension() == ".vti")
                result.push_back(entry.path().string());
    std::sort(result.begin(), result.end());
    return result;
}

std::string caseName(testing::TestParamInfo<std::string> const& info)
{
    std::string name = std::filesystem::path(info.param).filename().string();
    for (char& c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0)
            c = '_';
    return name + "_" + std::to_string(info.index);
}

class Samples : public testing::TestWithParam<std::string>
{
protected:
    void expectAsVtkReadsIt(ConversionOptions options)
    {
        TemporaryFolder const folder;
        options.inputs = {GetParam()};
        options.output = folder.file("sample.hdqfs");
        convert(options);
        tools::Output quiet("/dev/null");
        EXPECT_TRUE(tools::checkFiles({options.output}, false, quiet));
        Served served({options.output});
        ASSERT_EQ(served.dataSet().zones.size(), 1U);
        expectSame(served.mesh(1), readWithVtk(GetParam()));
    }
};

TEST_P(Samples, AreServedAsVtkReadsThem)
{
    expectAsVtkReadsIt({});
}

TEST_P(Samples, AreTheSameInPartitions)
{
    ConversionOptions options;
    options.partitionCells = 1000;
    expectAsVtkReadsIt(options);
}

TEST_P(Samples, AreTheSameInTheirOwnOrder)
{
    ConversionOptions options;
    options.keepOrder = true;
    expectAsVtkReadsIt(options);
}

INSTANTIATE_TEST_SUITE_P(Files, Samples, testing::ValuesIn(samples()), caseName);

}
}
