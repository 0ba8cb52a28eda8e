#pragma once

#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

enum class FileType : std::uint8_t { Full, Grid, Solution };

enum class ItemOrder : std::uint8_t {
    Hilbert, ///< Along a space-filling curve, where positions are known: subzones are compact.
    Keep     ///< As the source gives them.
};

struct Options
{
    FileType fileType = FileType::Full;
    bool isText = false;
    /// The oldest version that can hold the data set: 105, or 232 with mixed zones. On request any
    /// from 104 to 232.
    std::optional<std::uint32_t> version{};
    /// Largest subzone of ordered zones along I, J, K; 256 nodes in all at most.
    std::array<std::uint16_t, 3> subzoneSize{6, 6, 6};
    /// Of nodes and cells in the subzones of finite-element zones. Which number an item gets
    /// depends on positions and cells alone: a grid and its solution files agree.
    ItemOrder order = ItemOrder::Hilbert;
    /// Zones in partitions want variables in ascending width of their type. Variables that stand
    /// otherwise are put in that order, unless this is set; then it is an error.
    bool keepVariableOrder = false;
    /// Called after each variable of each partition with the bytes written so far. What it throws
    /// ends the writing.
    std::function<void(std::uint64_t numBytes)> progress{};
};

/// What has been written.
struct Summary
{
    std::uint32_t version = 0;
    std::uint64_t numBytes = 0;
    /// By place in the file, the variable of the data set.
    std::vector<std::uint32_t> variableOrder{};
};

/// Writes a file. It appears under its name when it is complete and on the disk: until then it
/// stands beside it, and an older file of that name stays as it is. Memory: the description of the
/// data set, one variable of one partition with its cells, and what partitions refer to in each
/// other. Throws std::runtime_error with a text for a person, std::bad_alloc, and what a source
/// throws; then there is no new file.
Summary writeFile(std::string const& path, DataSet const& dataSet, Options const& options = {});

}
