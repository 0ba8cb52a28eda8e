#pragma once

#include "tools/vnxconvert/ZoneLayout.h"

namespace varnox::convert {

/// Cuts an ordered zone in boxes of at most so many cells, by halving the longest side. A flat zone
/// can't be cut and stays whole, which is told.
void partitionOrdered(ZoneLayout& zone, std::uint64_t mostCells, Remarks& remarks);

/// Cuts a finite-element zone of one partition in pieces of at most so many cells that are compact
/// in space, or that follow each other in the file. A node goes to the first piece that has it.
void partitionCells(ZoneLayout& zone, std::uint64_t mostCells, bool keepOrder);

/// Calls f with section, nodes of the grid and kind of each cell of a zone, section by section.
template <typename F>
void forEachCell(ZoneLayout const& zone, F&& f)
{
    Cells const& cells = zone.cells;
    for (std::uint32_t s = 0; s < zone.cellNumbers.size(); ++s) {
        std::vector<std::uint32_t> const& numbers = zone.cellNumbers[s];
        std::size_t const count = numbers.empty() ? cells.count : numbers.size();
        for (std::size_t i = 0; i < count; ++i) {
            std::size_t const cell = numbers.empty() ? i : numbers[i];
            f(s, cells.nodes.get() + cells.offsets.get()[cell], cells.kinds.get()[cell]);
        }
    }
}

}
