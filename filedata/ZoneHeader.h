#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"
#include "filedata/TagList.h"
#include "filedata/ZoneMetadata.h"

namespace varnox::hdqio {

enum ZoneHeaderTag : std::uint16_t {
#define TAG(number, constant, name) constant = number,
#include "filedata/ZoneHeaderTags.def"
};

using VarZoneMinMaxes = LightweightVector<LightweightVector<MinMax>>;
using VarZoneTypes = LightweightVector<LightweightVector<std::uint8_t>>;

/// Reads the markers and the tag list of a zone header, at which the stream stands.
char readZoneHeaderTags(FileReaderInterface& reader, int zone, TagMap& tags);

/// Completes a zone from its header, at which the stream stands: how it is cut into partitions and
/// subzones, and where its blocks begin. On failure the arrays of the record are free, so that a
/// later request can try again.
char readZoneHeaders(FileReaderInterface& reader, FileDescription const& description,
                     int zoneOffset, int zone, int varOffset, int numVars,
                     VarZoneMinMaxes const& zoneMinMaxes, VarZoneTypes const& fieldDataTypes,
                     ZoneMetadata& result);

}
