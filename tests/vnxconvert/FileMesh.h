#pragma once

#include "tests/vnxconvert/Served.h"
#include "varnox/hdqfswriter/DataSet.h"

namespace varnox::convert::tests {

/// The data set of a full file, or of a grid file and one solution file.
struct FileContents
{
    std::vector<hdqfswriter::DataSet> dataSets;

    explicit FileContents(std::vector<std::string> const& paths);

    std::size_t numZones() const { return dataSets.front().zones.size(); }
    hdqfswriter::Zone const& zone(std::size_t index) const { return dataSets.front().zones[index]; }
    /// Of a zone, counted from 0, with all that isn't passive.
    Mesh mesh(std::size_t zoneIndex) const;
};

}
