#pragma once

#include "tools/vnxinfo/CheckedFile.h"
#include "tools/vnxinfo/MeshCheck.h"
#include "tools/vnxinfo/VarCheck.h"

#include <memory>
#include <vector>

namespace varnox::tools {

/// Holds the cross ranges of zones to the values at the other end of the connectivity. take() gets
/// all cell subzones of the zone that has the connectivity; finish() follows.
class MeshRanges
{
public:
    /// Zones of a file that have values and lie on the same cells: the first may have them, and the
    /// others are cut alike. The cross ranges are of all zones of the file.
    MeshRanges(CheckedFile& file, std::vector<std::uint32_t> const& zones,
               std::vector<ZoneCrossRanges> const& cross);
    ~MeshRanges();

    void take(CheckedCells const& cells);
    void finish();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Whether a zone has a variable whose cross ranges were all read.
bool hasCrossRanges(ZoneCrossRanges const& cross);

}
