#include "writer/ZoneMesh.h"

#include "writer/Hilbert.h"
#include "writer/SourceAnswers.h"
#include "writer/ValueTypes.h"
#include "writer/ZoneShape.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace varnox::hdqfswriter {

namespace {

Zone const& zoneWithCells(FilePlan const& plan, std::size_t zoneIndex)
{
    std::int32_t const from = plan.zone(zoneIndex).connectivityFrom;
    return plan.zone(from == -1 ? zoneIndex : static_cast<std::size_t>(from));
}

}

ZoneMesh::ZoneMesh(FilePlan const& plan, std::size_t zoneIndex)
    : m_order(plan.options.order), m_zone(zoneWithCells(plan, zoneIndex)), m_source(*m_zone.source),
      m_name(nameOf(plan.dataSet, zoneIndex)), m_firstNode{0}
{
    for (Partition const& partition : m_zone.partitions)
        m_firstNode.push_back(m_firstNode.back() + partition.numNodes);
    for (Section const& section : sectionsOf(m_zone))
        m_nodesPerCell.push_back(hdqfswriter::nodesPerCell(section));
}

std::uint32_t ZoneMesh::partitionOf(std::uint64_t node) const
{
    auto const next = std::upper_bound(m_firstNode.begin(), m_firstNode.end(), node);
    return static_cast<std::uint32_t>(next - m_firstNode.begin() - 1);
}

std::uint64_t const* ZoneMesh::cells(std::uint32_t partition, std::uint32_t section)
{
    std::size_t const count = std::size_t{numCells(partition, section)} * m_nodesPerCell[section];
    if (m_buffer.size() < count)
        m_buffer.resize(count);
    auto const* const nodes = answered<std::uint64_t>(
        m_zone, "cells", count, m_source.cells(partition, section, m_buffer.data()));
    for (std::size_t i = 0; i < count; ++i)
        if (nodes[i] >= m_firstNode.back())
            throw std::runtime_error("Cannot write " + m_name + ": a cell has node " +
                                     std::to_string(nodes[i] + 1) + " of " +
                                     std::to_string(m_firstNode.back()) + ".");
    return nodes;
}

/// Nodes of other partitions, whose positions aren't at hand, don't count.
std::vector<double> ZoneMesh::centersOf(std::uint32_t partition, std::uint32_t section,
                                        double const* positions)
{
    std::uint32_t const count = numCells(partition, section);
    std::uint32_t const size = m_nodesPerCell[section];
    std::uint64_t const first = firstNode(partition);
    std::uint64_t const end = endNode(partition);
    std::uint64_t const* nodes = cells(partition, section);
    std::vector<double> result(std::size_t{3} * count);
    for (std::size_t c = 0; c < count; ++c, nodes += size) {
        double sum[3] = {0, 0, 0};
        std::uint32_t numOwn = 0;
        for (std::uint32_t n = 0; n < size; ++n) {
            if (nodes[n] < first || nodes[n] >= end)
                continue;
            for (std::size_t axis = 0; axis < 3; ++axis)
                sum[axis] += positions[3 * (nodes[n] - first) + axis];
            ++numOwn;
        }
        for (std::size_t axis = 0; axis < 3; ++axis)
            result[3 * c + axis] =
                numOwn != 0 ? sum[axis] / numOwn : std::numeric_limits<double>::quiet_NaN();
    }
    return result;
}

PartitionOrder ZoneMesh::orderOf(std::uint32_t partition)
{
    PartitionOrder result;
    result.cells.resize(m_nodesPerCell.size());
    if (m_order == ItemOrder::Keep)
        return result;
    auto const numNodes = static_cast<std::uint32_t>(m_zone.partitions[partition].numNodes);
    Buffer<double> buffer(std::uint64_t{3} * numNodes);
    double const* const given = m_source.positions(partition, buffer.data());
    if (given == nullptr)
        return result;
    // What the source gave is valid until it is asked for cells.
    if (given != buffer.data())
        std::copy_n(given, std::size_t{3} * numNodes, buffer.data());
    result.nodes = hilbertOrder(buffer.data(), numNodes);
    for (std::uint32_t s = 0; s < m_nodesPerCell.size(); ++s)
        result.cells[s] =
            hilbertOrder(centersOf(partition, s, buffer.data()).data(), numCells(partition, s));
    return result;
}

std::vector<std::uint32_t> inverse(std::vector<std::uint32_t> const& order)
{
    std::vector<std::uint32_t> result(order.size());
    for (std::uint32_t i = 0; i < order.size(); ++i)
        result[order[i]] = i;
    return result;
}

ZoneBorder::ZoneBorder(ZoneMesh& mesh)
{
    auto const numPartitions = static_cast<std::uint32_t>(mesh.zone().partitions.size());
    if (numPartitions < 2)
        return;
    for (std::uint32_t p = 0; p < numPartitions; ++p)
        collect(mesh, p);
    renumber(mesh);
    std::stable_sort(m_references.begin(), m_references.end(),
                     [](Reference const& a, Reference const& b) { return a.node < b.node; });
}

void ZoneBorder::collect(ZoneMesh& mesh, std::uint32_t partition)
{
    for (std::uint32_t s = 0; s < mesh.numSections(); ++s) {
        std::uint64_t const* nodes = mesh.cells(partition, s);
        for (std::uint32_t c = 0; c < mesh.numCells(partition, s); ++c)
            for (std::uint32_t n = 0; n < mesh.nodesPerCell(s); ++n, ++nodes)
                if (*nodes < mesh.firstNode(partition) || *nodes >= mesh.endNode(partition)) {
                    m_references.push_back({*nodes, partition, s, c, c});
                    m_nodes.push_back(*nodes);
                }
    }
    std::sort(m_nodes.begin(), m_nodes.end());
    m_nodes.erase(std::unique(m_nodes.begin(), m_nodes.end()), m_nodes.end());
}

/// The references still stand in the order of their partitions.
void ZoneBorder::renumber(ZoneMesh& mesh)
{
    m_newNumbers.resize(m_nodes.size());
    auto reference = m_references.begin();
    std::size_t node = 0;
    for (std::uint32_t p = 0; p < mesh.zone().partitions.size(); ++p) {
        PartitionOrder const order = mesh.orderOf(p);
        std::vector<std::uint32_t> const newNodes = inverse(order.nodes);
        for (; node < m_nodes.size() && m_nodes[node] < mesh.endNode(p); ++node) {
            auto const number = static_cast<std::uint32_t>(m_nodes[node] - mesh.firstNode(p));
            m_newNumbers[node] = newNodes.empty() ? number : newNodes[number];
        }
        std::vector<std::vector<std::uint32_t>> newCells;
        for (auto const& cells : order.cells)
            newCells.push_back(inverse(cells));
        for (; reference != m_references.end() && reference->partition == p; ++reference)
            if (!newCells[reference->section].empty())
                reference->cell = newCells[reference->section][reference->sourceCell];
    }
}

std::uint32_t ZoneBorder::newNumberOf(std::uint64_t node) const
{
    auto const found = std::lower_bound(m_nodes.begin(), m_nodes.end(), node);
    if (found == m_nodes.end() || *found != node)
        throw std::runtime_error("A source gives other cells than before.");
    return m_newNumbers[static_cast<std::size_t>(found - m_nodes.begin())];
}

std::pair<ZoneBorder::Reference const*, ZoneBorder::Reference const*>
ZoneBorder::referencesTo(ZoneMesh const& mesh, std::uint32_t partition) const
{
    auto const firstOf = [&](std::uint64_t node) {
        auto const found = std::lower_bound(m_references.begin(), m_references.end(), node,
                                            [](Reference const& reference, std::uint64_t wanted) {
                                                return reference.node < wanted;
                                            });
        return m_references.data() + (found - m_references.begin());
    };
    return {firstOf(mesh.firstNode(partition)), firstOf(mesh.endNode(partition))};
}

}
