#pragma once

#include "addons/hdqfs/DataFile.h"

#include "filedata/DataSetGroups.h"

#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// What a file holds beside its zones and variables. Entities and zones count from 0 in the file.
struct FileAnnotations
{
    hdqio::LightweightVector<hdqio::AuxData> auxData;
    hdqio::LightweightVector<hdqio::Geom> geometries;
    hdqio::LightweightVector<hdqio::Text> texts;
    hdqio::LightweightVector<hdqio::CustomLabelSet> labelSets;
    /// Of each group that is damaged, and left out, a sentence for the user.
    std::vector<std::string> complaints;
};

FileAnnotations readAnnotations(DataFile const& file);

/// Whether each zone has face neighbours of its user's. A zone whose header is damaged has none: it
/// shows when its data are asked for.
std::vector<bool> zonesWithFaceNeighbors(DataFile const& file);

/// The numbers of a zone's face neighbours. Throws std::runtime_error with a text for a person.
std::vector<int> readFaceNeighbors(DataFile const& file, std::uint32_t zone);

}
