#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace varnox::hdqfsloader {

/// How the nodes, or the cells, of one partition lie in subzones, and in which order their values
/// stand in a variable's block: subzone after subzone, section after section, inside a subzone in
/// item order. All numbers count from 0.
class SubzoneLayout
{
public:
    static constexpr std::uint32_t ITEMS_PER_RUN = 256;

    /// A subzone's place in the stored order of values.
    struct Run
    {
        std::uint64_t firstItem;
        std::uint64_t size; ///< Above ITEMS_PER_RUN only in bricks of a damaged file.
    };

    /// Indices from begin up to but excluding end, along I, J, K.
    struct Box
    {
        std::array<std::uint64_t, 3> begin;
        std::array<std::uint64_t, 3> end;

        std::uint64_t extent(std::size_t axis) const { return end[axis] - begin[axis]; }
        std::uint64_t numItems() const { return extent(0) * extent(1) * extent(2); }
        /// What both cover; without items if they don't meet.
        Box intersection(Box const& other) const;
    };

    /// Along one axis of an ordered partition: index i lies in brick (i + shift) / limit.
    struct Axis
    {
        std::uint64_t size;
        std::uint64_t limit; ///< Not 0.
        std::uint64_t shift;
        std::uint64_t numBricks;
    };

    /// Finite elements: every section cut into runs of 256 items. Nodes are one section.
    static SubzoneLayout ofSections(std::vector<std::uint64_t> itemsPerSection);
    static SubzoneLayout ofBricks(std::array<Axis, 3> const& axes);

    bool isOrdered() const { return m_isOrdered; }
    std::uint32_t numSections() const;
    std::uint64_t numSubzones(std::uint32_t section) const;
    std::uint64_t numSubzones() const;
    std::uint64_t numItems() const;
    std::uint64_t numItems(std::uint32_t section) const;

    /// Throws std::out_of_range for a subzone that doesn't exist.
    Run run(std::uint32_t section, std::uint64_t subzone) const;
    /// The items of a subzone of an ordered partition, counted in the partition. One that holds
    /// nothing has begin equal to end on some axis. Throws like run().
    Box brick(std::uint64_t subzone) const;
    Axis const& axis(std::size_t axis) const { return m_axes[axis]; }

private:
    bool m_isOrdered = false;
    std::vector<std::uint64_t> m_itemsPerSection;
    std::array<Axis, 3> m_axes{};
};

}
