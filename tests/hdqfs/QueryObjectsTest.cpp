#include "addons/hdqfs/QueryObjects.h"

#include "addons/hdqfs/Loading.h"
#include "tests/hdqfs/RecordingEngine.h"
#include "tests/hdqfs/Registered.h"
#include "tests/hdqfs/Samples.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "varnox/eqn/VariableExpr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

namespace varnox::hdqfsloader {
namespace {

using tests::RecordingEngine;
using tests::Registered;
using tests::sample;
using tests::samples;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

std::vector<double> valuesOf(hdq::VarValueQueryInterface& object, SubzoneAddress const& subzone,
                             std::uint16_t size)
{
    std::vector<ItemAddress<long>> items;
    for (std::uint16_t i = 0; i < size; ++i)
        items.emplace_back(subzone, static_cast<std::uint8_t>(i));
    RawArray<ItemAddress<long>> const itemArray{nullptr, items.data(), size, size};
    double buffer[256];
    RawArray<double> values{nullptr, buffer, 256, 0};
    object.fieldValues(itemArray, values);
    EXPECT_EQ(values.size, size);
    return {buffer, buffer + size};
}

std::vector<double> arrayOf(std::function<void(RawArray<double>&)> const& fill)
{
    double* owner = nullptr;
    RawArray<double> array{&owner, nullptr, 0, 0};
    fill(array);
    std::vector<double> result(array.data, array.data + array.size);
    delete[] owner;
    return result;
}

std::vector<double> wholeVariable(DataSet& dataSet, std::uint32_t zone, std::uint32_t var)
{
    RecordingEngine engine;
    sendValues(dataSet, zone, var, nullptr);
    auto const values = engine.values<float>();
    return {values.begin(), values.end()};
}

TEST(QueryObjects, SubzonesOfAFiniteElementZoneAreRunsOfItsValues)
{
    Registered objects(samples({"tjunction_grid", "tjunction_t05"}));
    auto const& zone = objects.registration.zones.at(0);
    EXPECT_EQ(zone.ordered, nullptr);
    EXPECT_EQ(zone.nodes->numSubzones(), (5616 + 255) / 256);
    EXPECT_EQ(zone.cells->numSubzones(), (3875 + 255) / 256);
    std::vector<double> all;
    for (std::uint32_t s = 0; s < 22; ++s) {
        SubzoneAddress const subzone(0, 0, s);
        auto const part = valuesOf(*objects.registration.variables.at({0, 6}).nodal, subzone,
                                   zone.nodes->size(subzone));
        all.insert(all.end(), part.begin(), part.end());
    }
    EXPECT_EQ(all, wholeVariable(objects.dataSet, 0, 6));
}

TEST(QueryObjects, SubzonesOfOrderedPartitionsHoldEveryNodeOnce)
{
    Registered objects({sample("tankbox_partitions")});
    auto const& zone = objects.registration.zones.at(0);
    EXPECT_NE(zone.ordered, nullptr);
    auto const& names = objects.dataSet.varNames();
    auto const var = static_cast<int>(std::find(names.begin(), names.end(), "Z") - names.begin());
    auto const& variable = objects.registration.variables.at({0, var});
    DataFile& file = *objects.dataSet.grid(0).file;
    std::vector<double> all;
    long numSubzones = 0;
    for (std::uint32_t partition = 0; partition < 8; ++partition) {
        auto const ranges = arrayOf(
            [&](RawArray<double>& out) { variable.subzones->nodeSubzoneMinMaxes(partition, out); });
        auto const count =
            static_cast<std::uint32_t>(file.layout(0, partition, Items::Nodes).numSubzones());
        ASSERT_EQ(ranges.size(), 2 * count);
        numSubzones += count;
        for (std::uint32_t s = 0; s < count; ++s) {
            SubzoneAddress const subzone(partition, 0, s);
            auto const part = valuesOf(*variable.nodal, subzone, zone.nodes->size(subzone));
            for (double const value : part) {
                EXPECT_GE(value, ranges[2 * s]);
                EXPECT_LE(value, ranges[2 * s + 1]);
            }
            all.insert(all.end(), part.begin(), part.end());
        }
    }
    EXPECT_EQ(zone.nodes->numSubzones(), numSubzones);
    std::vector<double> expected =
        wholeVariable(objects.dataSet, 0, static_cast<std::uint32_t>(var));
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(all, expected);
}

TEST(QueryObjects, PartitionRangesJoinToTheZonesRange)
{
    Registered objects({sample("tankbox_partitions")});
    for (auto const& entry : objects.registration.variables) {
        auto const& variable = entry.second;
        auto const ranges =
            arrayOf([&](RawArray<double>& out) { variable.subzones->partitionMinMaxes(out); });
        ASSERT_EQ(ranges.size(), 16U);
        double low = ranges[0];
        double high = ranges[1];
        for (std::size_t n = 0; n < ranges.size(); n += 2) {
            low = std::min(low, ranges[n]);
            high = std::max(high, ranges[n + 1]);
        }
        double min = 0;
        double max = 0;
        variable.nodal->minMax(min, max);
        EXPECT_EQ(low, min) << entry.first.second;
        EXPECT_EQ(high, max) << entry.first.second;
    }
}

TEST(QueryObjects, RangesOfAWholeZoneAreOnePair)
{
    Registered objects({sample("tjunction_grid")});
    auto const& variable = objects.registration.variables.at({0, 0});
    auto const ranges =
        arrayOf([&](RawArray<double>& out) { variable.subzones->partitionMinMaxes(out); });
    double min = 0;
    double max = 0;
    variable.cellCentered->minMax(min, max);
    EXPECT_EQ(ranges, (std::vector<double>{min, max}));
}

TEST(QueryObjects, RangeOfAWholeZoneInTextHoldsItsValues)
{
    // The header of a text file can have other digits of a range than its values and the ranges of
    // their subzones have: one rounded up, the other down. Here the header's are one less.
    std::ifstream const original(sample("tjunction_ascii_t05"), std::ios::binary);
    std::ostringstream contents;
    contents << original.rdbuf();
    std::string text = contents.str();
    std::string const largest = "1.8592525e+01"; // in the header first
    ASSERT_NE(text.find(largest), std::string::npos);
    text.replace(text.find(largest), largest.size(), "1.8592524e+01");
    tests::TemporaryFile const file(text);
    Registered objects({sample("tjunction_ascii_grid"), file.path()});
    auto const& pressure = objects.registration.variables.at({0, 6});
    double min = 0;
    double max = 0;
    pressure.nodal->minMax(min, max);
    EXPECT_FLOAT_EQ(static_cast<float>(max), 18.592524F);
    EXPECT_LT(max, 18.592525);
    auto const zone =
        arrayOf([&](RawArray<double>& out) { pressure.subzones->partitionMinMaxes(out); });
    EXPECT_EQ(zone, (std::vector<double>{-9.9038896560668945, 18.592525482177734}));

    // What is calculated from it is bounded by its values, too.
    hdq::VarValueQueryInterface* cellCentred = nullptr;
    hdq::VarValueQueryInterface* nodal = nullptr;
    hdq::VarSubzoneQueryInterface* ranges = nullptr;
    objects.registration.identities.at(0)->createCalcVar(
        5000, 0, FieldDataType_Double, std::make_shared<eqn::VariableExpr>(1UL, 1006UL),
        cellCentred, nodal, ranges);
    nodal->minMax(min, max);
    EXPECT_GE(max, 18.592525482177734);
}

TEST(QueryObjects, SharedVariablesHaveNoObjectsOfTheirOwn)
{
    Registered objects(samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}));
    EXPECT_EQ(objects.registration.zones.size(), 2U);
    EXPECT_EQ(objects.registration.variables.count({0, 0}), 1U);
    EXPECT_EQ(objects.registration.variables.count({1, 0}), 0U);
    EXPECT_EQ(objects.registration.variables.count({1, 6}), 1U);
}

TEST(QueryObjects, VariablesExistByTheirUniqueIds)
{
    Registered objects(samples({"tjunction_grid", "tjunction_t00", "tjunction_t05"}));
    for (int zone = 0; zone < 2; ++zone) {
        auto* const identity = objects.registration.identities.at(zone);
        for (auto* const object :
             {identity, identity->duplicate(), identity->duplicate()->duplicate()}) {
            EXPECT_TRUE(object->varExists(1000)); // which zone 1 shares
            EXPECT_TRUE(object->varExists(1006));
            EXPECT_FALSE(object->varExists(999));
            EXPECT_FALSE(object->varExists(1000 + long{objects.dataSet.numVars()}));
            EXPECT_FALSE(object->varExists(-1));
        }
    }
}

TEST(QueryObjects, FormThatTheFileLacksSaysSo)
{
    Registered objects(samples({"tjunction_grid", "tjunction_t00"}));
    auto const& nodal = objects.registration.variables.at({0, 6});
    EXPECT_THROW(valuesOf(*nodal.cellCentered, SubzoneAddress(0, 0, 0), 1), std::runtime_error);
    RawArray<SubzoneAddress> none{nullptr, nullptr, 0, 0};
    EXPECT_THROW(nodal.cellCentered->checkout(none), std::runtime_error);
    EXPECT_NO_THROW(nodal.nodal->checkout(none));
}

TEST(QueryObjects, AddressesOutsideTheZoneAreErrors)
{
    Registered objects({sample("tjunction_grid")});
    auto const& zone = objects.registration.zones.at(0);
    auto const& variable = objects.registration.variables.at({0, 0});
    for (SubzoneAddress const subzone :
         {SubzoneAddress(0, 0, 22), SubzoneAddress(1, 0, 0), SubzoneAddress(0, 1, 0)}) {
        EXPECT_THROW(zone.nodes->size(subzone), std::out_of_range);
        EXPECT_THROW(valuesOf(*variable.nodal, subzone, 1), std::out_of_range);
    }
    // The last subzone is short.
    EXPECT_THROW(valuesOf(*variable.nodal, SubzoneAddress(0, 0, 21), 256), std::out_of_range);
}

}
}
