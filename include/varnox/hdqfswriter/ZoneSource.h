#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// Nodes or cells of an ordered zone, from begin up to but excluding end along I, J, K.
struct Box
{
    std::array<std::uint64_t, 3> begin{};
    std::array<std::uint64_t, 3> end{};

    std::uint64_t extent(std::size_t axis) const { return end[axis] - begin[axis]; }
    std::uint64_t numItems() const { return extent(0) * extent(1) * extent(2); }
};

/// What a zone holds in bulk. The writer asks for one partition and one variable at a time, so that
/// neither side needs the whole zone in memory, and it asks again for what it needs again: of a
/// zone in partitions for all cells three times, and for the values of neighbouring partitions
/// once more. The answers must not change in between.
///
/// A function either fills the buffer, which is large enough, and returns it, or returns memory of
/// its own, valid until the next call. What it throws reaches the caller of writeFile, and no file
/// appears. All indices count from 0.
class ZoneSource
{
public:
    virtual ~ZoneSource();

    /// The values of a variable in a partition of a finite-element zone, in the variable's own
    /// type: one per node, or one per cell, section after section.
    virtual void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer);

    /// The values of a variable in a box of the nodes or cells of an ordered zone, I fastest. Of a
    /// zone that isn't partitioned the box is the whole zone.
    virtual void const* boxValues(Box const& box, std::uint32_t variable, void* buffer);

    /// The nodes of the cells of a section, cell after cell. Nodes count through the partitions of
    /// the zone; one of another partition makes a reference to that partition. Of a zone in
    /// subzones the cells are asked for in solution files too: those of the grid file.
    virtual std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                                       std::uint64_t* buffer);

    /// Where the nodes of a partition of a finite-element zone stand in space, three numbers each,
    /// by which they are put in order; null if that isn't known, which leaves the partition as it
    /// is. In solution files the same as in the grid file.
    virtual double const* positions(std::uint32_t partition, double* buffer);

    /// The user's face neighbours of the zone; none if it has none.
    virtual std::vector<std::int32_t> faceNeighbors();
};

}
