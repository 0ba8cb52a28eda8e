#include "addons/hdqfs/Loading.h"

#include "tests/hdqfs/RecordingEngine.h"
#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace varnox::hdqfsloader {
namespace {

using tests::RecordingEngine;
using tests::sample;
using tests::samples;
using tests::TemporaryFile;

/// All values of a variable as the client gets them.
template <typename T>
std::vector<T> loadedValues(DataSet& dataSet, std::uint32_t zone, std::uint32_t var)
{
    RecordingEngine engine;
    engine.valueSize = sizeof(T);
    sendValues(dataSet, zone, var, nullptr);
    return engine.values<T>();
}

std::uint32_t varNamed(DataSet const& dataSet, std::string const& name)
{
    auto const& names = dataSet.varNames();
    return static_cast<std::uint32_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

TEST(Loading, CoordinatesOfARegularGridComeInIndexOrder)
{
    DataSet dataSet({sample("tankbox_partitions")});
    auto const x = loadedValues<float>(dataSet, 0, varNamed(dataSet, "X"));
    auto const y = loadedValues<float>(dataSet, 0, varNamed(dataSet, "Y"));
    auto const z = loadedValues<float>(dataSet, 0, varNamed(dataSet, "Z"));
    ASSERT_EQ(x.size(), 40U * 33 * 26);
    for (std::size_t n = 0; n < x.size(); ++n) {
        ASSERT_NEAR(x[n], 5e-7 + static_cast<double>(n % 40) * 0.025641, 1e-5) << n;
        ASSERT_NEAR(y[n], 5e-7 + static_cast<double>(n / 40 % 33) * 0.03124996875, 1e-5) << n;
        ASSERT_NEAR(z[n], 5e-7 + static_cast<double>(n / (40 * 33)) * 0.04, 1e-5) << n;
    }
}

TEST(Loading, CellsOfAnOrderedZoneAreOneFewerAlongEachAxis)
{
    DataSet dataSet({sample("tankbox_partitions")});
    std::uint32_t const var = varNamed(dataSet, "valid_cell");
    ASSERT_FALSE(dataSet.variable(0, var).isNodal);
    EXPECT_EQ(loadedValues<unsigned char>(dataSet, 0, var).size(), 39U * 32 * 25);
}

TEST(Loading, ValuesKeepTheirTypeAndRange)
{
    DataSet dataSet({sample("tankbox_partitions")});
    std::uint32_t const var = varNamed(dataSet, "alpha.water");
    ASSERT_EQ(dataSet.variable(0, var).type, ValueType::Double);
    auto const values = loadedValues<double>(dataSet, 0, var);
    auto const [low, high] = std::minmax_element(values.begin(), values.end());
    EXPECT_EQ(*low, dataSet.variable(0, var).range.min);
    EXPECT_EQ(*high, dataSet.variable(0, var).range.max);
}

TEST(Loading, FiniteElementValuesComeInTheFilesOrder)
{
    DataSet dataSet(samples({"tjunction_grid", "tjunction_t05"}));
    std::uint32_t const var = varNamed(dataSet, "p");
    auto const values = loadedValues<float>(dataSet, 0, var);
    ASSERT_EQ(values.size(), 5616U);
    DataSet::VariableInFile const place = dataSet.values(0, var);
    ValueReader reader(dataSet.descriptors());
    std::vector<float> stored(values.size());
    reader.readNative(place.file->values(place.zone, place.var, 0), 0, stored.size(),
                      stored.data());
    EXPECT_EQ(values, stored);
}

TEST(Loading, TextAndBinaryFormGiveTheSameValues)
{
    DataSet text(samples({"tjunction_ascii_grid", "tjunction_ascii_t05"}));
    DataSet binary(samples({"tjunction_grid", "tjunction_t05"}));
    for (char const* name : {"X", "Y", "Z", "p"}) {
        auto const a = loadedValues<float>(text, 0, varNamed(text, name));
        auto const b = loadedValues<float>(binary, 0, varNamed(binary, name));
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t n = 0; n < a.size(); ++n)
            ASSERT_NEAR(a[n], b[n], 1e-6 * std::abs(b[n])) << name << " " << n;
    }
}

TEST(Loading, FileCutInItsValuesGivesAMessageWithItsName)
{
    std::ifstream const original(sample("tjunction_t05"), std::ios::binary);
    std::ostringstream contents;
    contents << original.rdbuf();
    TemporaryFile const file(contents.str().substr(0, contents.str().size() - 1000));
    DataSet dataSet({sample("tjunction_grid"), file.path()});
    RecordingEngine const engine;
    std::string message;
    try {
        sendValues(dataSet, 0, varNamed(dataSet, "p_cell"), nullptr);
    } catch (std::runtime_error const& error) {
        message = error.what();
    }
    EXPECT_NE(message.find(file.path()), std::string::npos) << message;
}

TEST(Loading, ZoneInSubzonesHasNoNodeMap)
{
    DataSet dataSet({sample("tjunction_grid")});
    RecordingEngine const engine;
    EXPECT_THROW(sendNodeMap(dataSet, 0, nullptr), std::runtime_error);
    EXPECT_TRUE(engine.nodes.empty());
}

}
}
