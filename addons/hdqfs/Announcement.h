#pragma once

#include "addons/hdqfs/DataSet.h"

#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// The load-on-demand functions that the client may call later, and the number that each gets back
/// with the index of its object: of a zone, or of zone * numVars + var.
struct LoadFunctions
{
    char (*loadValues)(FieldData_s*);
    char (*unloadValues)(FieldData_s*);
    char (*loadNodeMap)(ElemToNodeMap*);
    char (*unloadNodeMap)(ElemToNodeMap*);
    char (*loadFaceNeighbors)(FaceNeighbor_s*);
    char (*unloadFaceNeighbors)(FaceNeighbor_s*);
    long clientData; ///< Added to each index.
};

/// Tells the client of a data set: its zones, its variables, their ranges, and what can be loaded
/// on demand. False if the client refused the data set. If it has HDQ zones, variableIds becomes the
/// client's unique id of each variable.
bool announce(DataSet const& dataSet, LoadFunctions const& functions,
              std::vector<long>& variableIds);

/// What of the data set can't be served, in words for the user; empty if there is nothing.
std::string unsupportedZones(DataSet const& dataSet);

}
