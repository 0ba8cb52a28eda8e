#pragma once

#include "varnox/hdqfswriter/FileWriter.h"

#include <cstdint>

namespace varnox::hdqfswriter {

/// Throws std::runtime_error, with a text for a person, for a data set that no file of this version
/// and these options can hold. What only the data show comes to light when they are written.
void checkDataSet(DataSet const& dataSet, Options const& options, std::uint32_t version);

}
