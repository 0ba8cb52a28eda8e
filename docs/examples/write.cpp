// A file of two zones: a box of nodes, and a mesh of bricks in two partitions.
//
//     write OUTPUT

#include "varnox/hdqfswriter/FileWriter.h"

#include <cmath>
#include <exception>
#include <iostream>
#include <memory>
#include <vector>

namespace {

using namespace varnox::hdqfswriter;

constexpr std::uint64_t SIZE = 40;

double pressureAt(double x, double y, double z)
{
    return std::sin(x) * std::cos(y) + 0.1 * z;
}

/// A box of SIZE x SIZE x SIZE nodes, whose values are computed when they are asked for.
class BoxSource final : public ZoneSource
{
public:
    void const* boxValues(Box const& box, std::uint32_t variable, void* buffer) override
    {
        auto* out = static_cast<float*>(buffer);
        for (std::uint64_t k = box.begin[2]; k < box.end[2]; ++k)
            for (std::uint64_t j = box.begin[1]; j < box.end[1]; ++j)
                for (std::uint64_t i = box.begin[0]; i < box.end[0]; ++i) {
                    double const place[3] = {0.1 * static_cast<double>(i),
                                             0.1 * static_cast<double>(j),
                                             0.1 * static_cast<double>(k)};
                    double const value =
                        variable < 3 ? place[variable] : pressureAt(place[0], place[1], place[2]);
                    *out++ = static_cast<float>(value);
                }
        return buffer;
    }
};

/// A row of bricks along X. Partition 0 ends with a brick whose far side belongs to partition 1.
class RowSource final : public ZoneSource
{
public:
    static constexpr std::uint64_t BRICKS[2] = {600, 400};

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override
    {
        auto* out = static_cast<float*>(buffer);
        std::vector<double> places(3 * numNodes(partition));
        positions(partition, places.data());
        for (std::size_t n = 0; n < places.size(); n += 3)
            *out++ = static_cast<float>(variable < 3
                                            ? places[n + variable]
                                            : pressureAt(places[n], places[n + 1], places[n + 2]));
        return buffer;
    }

    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t,
                               std::uint64_t* buffer) override
    {
        std::uint64_t* out = buffer;
        std::uint64_t const first = partition == 0 ? 0 : BRICKS[0];
        for (std::uint64_t brick = first; brick < first + BRICKS[partition]; ++brick) {
            // Nodes count through all partitions, four in each plane: the bottom face, then the
            // top.
            std::uint64_t const near = 4 * brick;
            std::uint64_t const far = near + 4;
            for (std::uint64_t const node :
                 {near, far, far + 1, near + 1, near + 3, far + 3, far + 2, near + 2})
                *out++ = node;
        }
        return buffer;
    }

    double const* positions(std::uint32_t partition, double* buffer) override
    {
        double* out = buffer;
        std::uint64_t const first = partition == 0 ? 0 : BRICKS[0];
        for (std::uint64_t n = 0; n < numNodes(partition); ++n) {
            std::uint64_t const corner = n % 4;
            *out++ = 0.1 * static_cast<double>(first + n / 4);
            *out++ = corner == 1 || corner == 2 ? 0.1 : 0;
            *out++ = corner >= 2 ? 0.1 : 0;
        }
        return buffer;
    }

    /// Partition 1 has the last plane as well.
    static std::uint64_t numNodes(std::uint32_t partition)
    {
        return 4 * (BRICKS[partition] + partition);
    }
};

DataSet makeDataSet()
{
    DataSet dataSet;
    dataSet.title = "Two zones";
    dataSet.variableNames = {"X", "Y", "Z", "pressure"};

    Zone box;
    box.name = "box";
    box.size = {SIZE, SIZE, SIZE};
    box.variables.resize(4); // floats at nodes
    box.source = std::make_shared<BoxSource>();

    Zone row;
    row.name = "row";
    row.type = ZoneType::Brick;
    for (std::uint32_t p = 0; p < 2; ++p)
        row.partitions.push_back({{}, RowSource::numNodes(p), {RowSource::BRICKS[p]}});
    row.variables.resize(4);
    row.solutionTime = 0.5;
    row.source = std::make_shared<RowSource>();

    dataSet.zones = {box, row};
    return dataSet;
}

}

int main(int argc, char** argv)
try {
    if (argc != 2) {
        std::cerr << "usage: write OUTPUT\n";
        return 2;
    }
    Summary const summary = writeFile(argv[1], makeDataSet());
    std::cout << summary.numBytes << " bytes of version " << summary.version << '\n';
    return 0;
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
