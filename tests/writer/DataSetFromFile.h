#pragma once

#include "addons/hdqfs/DataFile.h"
#include "varnox/hdqfswriter/DataSet.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace varnox::hdqfswriter::tests {

/// Everything that a file holds as the writer takes it. The cells of a solution file are those of
/// its grid file. With coordinate variables, counted from 0 in the grid file, nodes have positions.
DataSet dataSetFromFile(std::shared_ptr<hdqfsloader::DataFile> const& file,
                        std::shared_ptr<hdqfsloader::DataFile> const& grid = nullptr,
                        std::optional<std::array<std::uint32_t, 3>> const& coordinates = {});

}
