#pragma once

#include "varnox/hdqfswriter/FileWriter.h"

#include "filedata/Numbers.h"
#include "writer/BlockWriter.h"

#include <cstdint>
#include <vector>

namespace varnox::hdqfswriter {

/// What is settled before the first byte: a data set that can be written, and how.
struct FilePlan
{
    /// Throws std::runtime_error for what no file of this kind can hold. The data set and the
    /// options must outlive the plan.
    FilePlan(DataSet const& dataSet, Options const& options);

    DataSet const& dataSet;
    Options const& options;
    std::uint32_t version;
    std::vector<std::uint32_t> variables; ///< By place in the file, the variable of the data set.

    Zone const& zone(std::size_t zoneIndex) const { return dataSet.zones[zoneIndex]; }
    ZoneVariable const& variable(std::size_t zoneIndex, std::size_t varIndex) const
    {
        return zone(zoneIndex).variables[variables[varIndex]];
    }
    bool isSolution() const { return options.fileType == FileType::Solution; }
    /// Whether records of its own tell the zone's cells.
    bool hasConnectivity(std::size_t zoneIndex) const;
};

/// Where a zone came to stand, and the ranges of its variables, in the order of the file.
struct ZoneRecord
{
    std::uint64_t headerFileLoc = 0;
    std::vector<hdqio::MinMax> ranges{};
    std::vector<std::vector<hdqio::MinMax>> partitionRanges{}; ///< By variable, then partition.
};

}
