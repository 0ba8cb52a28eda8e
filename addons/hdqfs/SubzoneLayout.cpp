#include "addons/hdqfs/SubzoneLayout.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace varnox::hdqfsloader {

namespace {

std::uint64_t numRuns(std::uint64_t items)
{
    return items / SubzoneLayout::ITEMS_PER_RUN + (items % SubzoneLayout::ITEMS_PER_RUN != 0);
}

/// First index of a brick. The first brick of an axis is short by the shift, the last one takes
/// what is left, and where an axis is shorter than its shift a brick holds nothing.
std::uint64_t brickBegin(SubzoneLayout::Axis const& axis, std::uint64_t brick)
{
    std::uint64_t const shifted = brick * axis.limit;
    return std::min(axis.size, shifted > axis.shift ? shifted - axis.shift : 0);
}

[[noreturn]] void throwNoSuchSubzone(std::uint32_t section, std::uint64_t subzone)
{
    throw std::out_of_range("There is no subzone " + std::to_string(subzone) + " in section " +
                            std::to_string(section) + " of this partition.");
}

}

SubzoneLayout SubzoneLayout::ofSections(std::vector<std::uint64_t> itemsPerSection)
{
    SubzoneLayout result;
    result.m_itemsPerSection = std::move(itemsPerSection);
    return result;
}

SubzoneLayout SubzoneLayout::ofBricks(std::array<Axis, 3> const& axes)
{
    SubzoneLayout result;
    result.m_isOrdered = true;
    result.m_axes = axes;
    return result;
}

std::uint32_t SubzoneLayout::numSections() const
{
    return m_isOrdered ? 1 : static_cast<std::uint32_t>(m_itemsPerSection.size());
}

std::uint64_t SubzoneLayout::numSubzones(std::uint32_t section) const
{
    if (m_isOrdered)
        return section != 0 ? 0 : m_axes[0].numBricks * m_axes[1].numBricks * m_axes[2].numBricks;
    return section < m_itemsPerSection.size() ? numRuns(m_itemsPerSection[section]) : 0;
}

std::uint64_t SubzoneLayout::numSubzones() const
{
    std::uint64_t total = 0;
    for (std::uint32_t section = 0; section < numSections(); ++section)
        total += numSubzones(section);
    return total;
}

std::uint64_t SubzoneLayout::numItems(std::uint32_t section) const
{
    if (m_isOrdered)
        return section != 0 ? 0 : m_axes[0].size * m_axes[1].size * m_axes[2].size;
    return section < m_itemsPerSection.size() ? m_itemsPerSection[section] : 0;
}

std::uint64_t SubzoneLayout::numItems() const
{
    std::uint64_t total = 0;
    for (std::uint32_t section = 0; section < numSections(); ++section)
        total += numItems(section);
    return total;
}

SubzoneLayout::Box SubzoneLayout::Box::intersection(Box const& other) const
{
    Box result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] = std::max(begin[axis], other.begin[axis]);
        result.end[axis] = std::max(result.begin[axis], std::min(end[axis], other.end[axis]));
    }
    return result;
}

SubzoneLayout::Box SubzoneLayout::brick(std::uint64_t subzone) const
{
    if (!m_isOrdered || subzone >= numSubzones(0))
        throwNoSuchSubzone(0, subzone);
    std::uint64_t const numI = m_axes[0].numBricks;
    std::uint64_t const numJ = m_axes[1].numBricks;
    std::array<std::uint64_t, 3> const place{subzone % numI, subzone / numI % numJ,
                                             subzone / (numI * numJ)};
    Box result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.begin[axis] = brickBegin(m_axes[axis], place[axis]);
        result.end[axis] = brickBegin(m_axes[axis], place[axis] + 1);
    }
    return result;
}

SubzoneLayout::Run SubzoneLayout::run(std::uint32_t section, std::uint64_t subzone) const
{
    if (section >= numSections() || subzone >= numSubzones(section))
        throwNoSuchSubzone(section, subzone);
    if (m_isOrdered) {
        // Ahead of a brick stand the whole layers below it, in its layer the whole rows before it,
        // in its row the bricks before it.
        Box const b = brick(subzone);
        std::uint64_t const first =
            b.begin[2] * m_axes[1].size * m_axes[0].size +
            b.extent(2) * (b.begin[1] * m_axes[0].size + b.extent(1) * b.begin[0]);
        return {first, b.numItems()};
    }
    std::uint64_t first = subzone * ITEMS_PER_RUN;
    std::uint64_t const left = m_itemsPerSection[section] - first;
    for (std::uint32_t s = 0; s < section; ++s)
        first += m_itemsPerSection[s];
    return {first, std::min<std::uint64_t>(left, ITEMS_PER_RUN)};
}

}
