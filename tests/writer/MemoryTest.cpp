// However large a file is, the writer needs memory for one partition of it.

#include "varnox/hdqfswriter/FileWriter.h"

#include "tests/filedata/AllocationMeter.h"
#include "tests/writer/WrittenFile.h"

#include <gtest/gtest.h>

namespace varnox::hdqfswriter::tests {
namespace {

/// Slabs of nodes across K, whose values are computed when they are asked for.
constexpr std::uint64_t ACROSS = 31;
constexpr std::uint64_t THICK = 12;
constexpr std::uint64_t NODES_OF_SLAB = ACROSS * ACROSS * THICK;
constexpr std::uint64_t BRICKS_OF_SLAB = (ACROSS - 1) * (ACROSS - 1) * (THICK - 1);

class Slabs final : public ZoneSource
{
public:
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        return fill(box.begin[2], variable, box.numItems(), buffer);
    }

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        return fill(partition, variable, NODES_OF_SLAB, buffer);
    }

    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t,
                               std::uint64_t* buffer) override
    {
        std::uint64_t* out = buffer;
        for (std::uint64_t k = 0; k + 1 < THICK; ++k)
            for (std::uint64_t j = 0; j + 1 < ACROSS; ++j)
                for (std::uint64_t i = 0; i + 1 < ACROSS; ++i) {
                    std::uint64_t const first =
                        partition * NODES_OF_SLAB + (k * ACROSS + j) * ACROSS + i;
                    for (std::uint64_t const layer : {first, first + ACROSS * ACROSS})
                        for (std::uint64_t const step : {std::uint64_t{0}, std::uint64_t{1},
                                                         ACROSS + 1, ACROSS})
                            *out++ = layer + step;
                }
        return buffer;
    }

    double const* positions(std::uint32_t partition, double* buffer) override
    {
        double* out = buffer;
        for (std::uint64_t n = 0; n < NODES_OF_SLAB; ++n) {
            *out++ = static_cast<double>(n % ACROSS);
            *out++ = static_cast<double>(n / ACROSS % ACROSS);
            *out++ = static_cast<double>(partition * THICK + n / (ACROSS * ACROSS));
        }
        return buffer;
    }

private:
    static void const* fill(std::uint64_t seed, std::uint32_t variable, std::uint64_t count,
                            void* buffer)
    {
        auto* const out = static_cast<double*>(buffer);
        for (std::uint64_t n = 0; n < count; ++n)
            out[n] = static_cast<double>((seed + variable) * count + n);
        return buffer;
    }
};

DataSet ofSlabs(ZoneType type, std::uint32_t numSlabs)
{
    Zone zone;
    zone.name = "slabs";
    zone.type = type;
    if (type == ZoneType::Ordered)
        zone.size = {ACROSS, ACROSS, THICK * numSlabs};
    for (std::uint64_t s = 0; s < numSlabs; ++s) {
        Partition partition;
        if (type == ZoneType::Ordered) {
            partition.nodes = {{0, 0, THICK * s}, {ACROSS, ACROSS, THICK * (s + 1)}};
        } else {
            partition.numNodes = NODES_OF_SLAB;
            partition.numCells = {BRICKS_OF_SLAB};
        }
        zone.partitions.push_back(partition);
    }
    zone.variables.resize(4);
    for (ZoneVariable& variable : zone.variables)
        variable.type = ValueType::Double;
    zone.source = std::make_shared<Slabs>();
    DataSet result;
    result.variableNames = {"a", "b", "c", "d"};
    result.zones = {zone};
    return result;
}

class WriterMemory : public testing::TestWithParam<ZoneType>
{
protected:
    struct Cost
    {
        std::size_t peak;
        std::uint64_t fileSize;
    };
    static Cost costOf(std::uint32_t numSlabs)
    {
        TemporaryFolder const folder;
        DataSet const dataSet = ofSlabs(GetParam(), numSlabs);
        hdqio::tests::AllocationMeter const meter;
        std::uint64_t const size = writeFile(folder.file("slabs.hdqfs"), dataSet).numBytes;
        return {meter.peak(), size};
    }
};

TEST_P(WriterMemory, IsThatOfAPartitionWhateverTheFilesSize)
{
    Cost const small = costOf(2);
    Cost const large = costOf(16);
    EXPECT_GT(large.fileSize, 7 * small.fileSize);
    EXPECT_LT(large.peak, small.peak + small.peak / 4)
        << small.peak << " bytes for a file of " << small.fileSize << ", " << large.peak
        << " bytes for a file of " << large.fileSize;
    RecordProperty("peak_small", std::to_string(small.peak));
    RecordProperty("peak_large", std::to_string(large.peak));
}

INSTANTIATE_TEST_SUITE_P(Zones, WriterMemory, testing::Values(ZoneType::Ordered, ZoneType::Brick),
                         [](auto const& row) {
                             return row.param == ZoneType::Ordered ? "Ordered" : "Bricks";
                         });

}
}
