#pragma once

#include "tools/vnxconvert/Grid.h"
#include "tools/vnxconvert/Remarks.h"

namespace varnox::convert {

struct CuttingRules
{
    bool polyhedra = false; ///< Polyhedra into tetrahedra, polygons into triangles.
};

/// Throws std::runtime_error unless every cell lies in its arrays and has nodes that exist.
void checkCells(Grid const& grid);

/// The cells with those in pieces that HDQFS files have no place for as a whole; cells of kinds
/// without a cut stay. The grid must have passed checkCells. A polyhedron is cut from its node of
/// the lowest number, each face likewise, so that neighbours agree on the triangles between them;
/// that is right where it is convex.
Cells cutUp(Grid const& grid, CuttingRules const& rules, Remarks& remarks);

/// Whether cutUp would cut something.
bool needsCutting(Cells const& cells, CuttingRules const& rules);

}
