#include "tests/vnxconvert/Served.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

namespace varnox::convert::tests {

namespace {

using Record = std::vector<std::uint64_t>;

std::uint64_t bitsOf(double number)
{
    std::uint64_t result = 0;
    std::memcpy(&result, &number, sizeof(result));
    return result;
}

std::vector<Record> recordsOf(std::map<std::string, std::vector<double>> const& values,
                              std::size_t count)
{
    std::vector<Record> result(count);
    for (auto const& [name, numbers] : values)
        for (std::size_t i = 0; i < count; ++i)
            result[i].push_back(bitsOf(numbers.at(i)));
    return result;
}

/// Which of the different nodes each one is, when they are sorted by all that they hold.
std::vector<std::uint64_t> ranksOf(std::vector<Record> const& nodes)
{
    std::vector<std::size_t> order(nodes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return nodes[a] < nodes[b]; });
    std::vector<std::uint64_t> result(nodes.size());
    std::uint64_t rank = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i != 0 && nodes[order[i]] != nodes[order[i - 1]])
            ++rank;
        result[order[i]] = rank;
    }
    return result;
}

std::vector<Record> cellsOf(Mesh const& mesh, std::vector<std::uint64_t> const& ranks)
{
    std::vector<Record> result = recordsOf(mesh.atCells, mesh.cells.size());
    for (std::size_t c = 0; c < mesh.cells.size(); ++c)
        for (std::uint32_t const node : mesh.cells[c])
            result[c].push_back(ranks.at(node));
    std::sort(result.begin(), result.end());
    return result;
}

std::vector<std::string> namesOf(std::map<std::string, std::vector<double>> const& values)
{
    std::vector<std::string> result;
    for (auto const& entry : values)
        result.push_back(entry.first);
    return result;
}

void expectSameInOrder(std::map<std::string, std::vector<double>> const& a,
                       std::map<std::string, std::vector<double>> const& b)
{
    for (auto const& [name, numbers] : a) {
        std::vector<double> const& others = b.at(name);
        ASSERT_EQ(numbers.size(), others.size()) << name;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            ASSERT_EQ(bitsOf(numbers[i]), bitsOf(others[i]))
                << name << "[" << i << "]: " << numbers[i] << " and " << others[i];
    }
}

std::vector<double> asDoubles(client::Values const& values)
{
    return std::visit(
        [](auto const& numbers) { return std::vector<double>(numbers.begin(), numbers.end()); },
        values);
}

}

void expectSame(Mesh const& a, Mesh const& b)
{
    EXPECT_EQ(a.isOrdered, b.isOrdered);
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.types, b.types);
    ASSERT_EQ(namesOf(a.atNodes), namesOf(b.atNodes));
    ASSERT_EQ(namesOf(a.atCells), namesOf(b.atCells));
    if (a.isOrdered) {
        expectSameInOrder(a.atNodes, b.atNodes);
        expectSameInOrder(a.atCells, b.atCells);
        return;
    }
    ASSERT_EQ(a.atNodes.at("X").size(), b.atNodes.at("X").size());
    ASSERT_EQ(a.cells.size(), b.cells.size());
    std::vector<Record> nodes[2] = {recordsOf(a.atNodes, a.atNodes.at("X").size()),
                                    recordsOf(b.atNodes, b.atNodes.at("X").size())};
    std::vector<Record> const cells[2] = {cellsOf(a, ranksOf(nodes[0])),
                                          cellsOf(b, ranksOf(nodes[1]))};
    for (std::vector<Record>& records : nodes)
        std::sort(records.begin(), records.end());
    EXPECT_TRUE(nodes[0] == nodes[1]) << "nodes differ";
    EXPECT_TRUE(cells[0] == cells[1]) << "cells differ";
}

Served::Served(std::vector<std::string> const& paths)
    : m_server(client::ServerProcess::startLocal(VNX_BIN_DIR "/vnxdataserver",
                                                 VNX_LIB_DIR "/vnxhdqfsloader.so")),
      m_engine(std::make_unique<client::Engine>(m_server->takeStream().release()))
{
    m_engine->load(paths);
}

Mesh Served::mesh(int number)
{
    client::Zone const& zone = dataSet().zones.at(static_cast<std::size_t>(number - 1));
    Mesh result;
    result.isOrdered = zone.isOrdered();
    if (result.isOrdered)
        result.size.assign(zone.size.begin(), zone.size.end());
    for (std::size_t v = 0; v < zone.variables.size(); ++v) {
        client::ZoneVariable const& variable = zone.variables[v];
        if (variable.isPassive)
            continue;
        std::string const& name = dataSet().variables.at(v).name;
        auto& target = variable.location == ValueLocation_Nodal ? result.atNodes : result.atCells;
        target[name] = asDoubles(m_engine->values(number, static_cast<int>(v) + 1));
        result.types[name] = variable.type;
    }
    if (result.isOrdered || !zone.isHdq)
        return result;
    std::vector<std::uint32_t> firstNode{0};
    for (client::PartitionShape const& partition : m_engine->shape(number).partitions)
        firstNode.push_back(firstNode.back() + static_cast<std::uint32_t>(partition.numNodes));
    m_engine->allCells(number, [&](client::CellSubzone const& subzone) {
        for (std::size_t c = 0; c < subzone.numCells; ++c) {
            result.cells.emplace_back();
            for (client::NodeAddress const node : subzone.nodesOf(c))
                result.cells.back().push_back(firstNode[node.subzoneAddress().partition()] +
                                              node.subzoneAddress().subzoneOffset() * 256 +
                                              node.itemOffset());
        }
    });
    return result;
}

}
