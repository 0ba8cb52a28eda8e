#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/hostapi/VnxUtil.h"

namespace varnox::hdqfsloader {

/// Values and nodes go to the client in pieces of at most this many bytes.
constexpr std::size_t LARGEST_PIECE = std::size_t{4} << 20;

/// Sends all values of a variable in a zone, both counted from 0, to the client that has asked for
/// them. Failures are exceptions.
void sendValues(DataSet& dataSet, std::uint32_t zone, std::uint32_t var, FieldData_s* handle);

/// Sends the node map of a plain finite-element zone. Nodes count from 1.
void sendNodeMap(DataSet& dataSet, std::uint32_t zone, ElemToNodeMap* handle);

}
