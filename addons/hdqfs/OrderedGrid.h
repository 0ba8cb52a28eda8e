#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/SubzoneLayout.h"

#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <array>
#include <cstdint>

namespace varnox::hdqfsloader {

/// The nodes and cells of an ordered HDQ zone by their indices along I, J, K, which count from 0 in
/// the whole zone, and by their addresses. Cell i lies between the nodes i and i + 1; a zone that
/// is flat along an axis has one cell there, both sides of which are node 0.
class OrderedGrid
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;
    using Indices = std::array<std::uint64_t, 3>;
    using Box = SubzoneLayout::Box;

    explicit OrderedGrid(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    DataSet::ZoneInFile const& place() const { return m_grid; }

    /// Nodes or cells along the axes.
    Indices size(Items items) const;

    /// The items of a subzone. Throws std::out_of_range for one that doesn't exist.
    Box box(SubzoneAddress const& subzone, Items items) const;

    /// Throws std::out_of_range for an item that doesn't exist.
    Indices indicesOf(ItemAddress<long> const& item, Items items) const;
    /// Throws std::out_of_range for an item that doesn't exist, and std::runtime_error for one that
    /// the file has forgotten.
    ItemAddress<long> addressOf(Indices const& indices, Items items) const;

    /// Items count I fastest, then J, then K.
    std::uint64_t numberOf(Indices const& indices, Items items) const;
    /// Throws std::out_of_range for a number that is too large.
    Indices indicesOf(std::uint64_t number, Items items) const;

    /// Appends the subzones that hold items of a box, in the order of their addresses.
    void appendSubzones(Box const& box, Items items, RawArray<SubzoneAddress>& result) const;

private:
    Indices origin(std::uint32_t partition) const;
    std::uint32_t partitionOf(Indices const& indices) const;
    void appendSubzones(std::uint32_t partition, Box const& box, Items items,
                        RawArray<SubzoneAddress>& result) const;

    DataSet::ZoneInFile m_grid;
    mutable std::uint32_t m_lastPartition = 0; ///< Neighbours mostly share their partition.
};

}
