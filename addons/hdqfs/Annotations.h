#pragma once

#include "addons/hdqfs/DataSet.h"

#include <string>

namespace varnox::hdqfsloader {

/// Hands the host the texts, geometries, custom labels and auxiliary data of all files, behind the
/// zones. Returns what had to be left out, in words for the user; empty if nothing.
std::string sendAnnotations(DataSet const& dataSet);

/// Hands the host the face neighbours of a zone, in pieces of at most 4 MiB. Throws
/// std::runtime_error with a text for the user.
void sendFaceNeighbors(DataSet const& dataSet, std::uint32_t zone, FaceNeighbor_s* handle);

}
