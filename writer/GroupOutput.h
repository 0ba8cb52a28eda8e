#pragma once

#include "writer/BlockWriter.h"
#include "writer/FilePlan.h"

#include <vector>

namespace varnox::hdqfswriter {

/// Writes auxiliary data, geometries, texts and custom labels, each group also if it is empty, and
/// gives the tags of the data set header that lead to them.
std::vector<BlockWriter::Tag> writeGroups(FilePlan const& plan, BlockWriter& blocks);

}
