#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"
#include "filedata/TagList.h"
#include "filedata/ZoneVarMetadata.h"

#include <string>

namespace varnox::hdqio {

enum class TagPresence { Optional, RequiredBefore106 };

struct TagInfo
{
    std::uint16_t number;
    char const* name;
    TagPresence presence;
};

enum DataSetHeaderTag : std::uint16_t {
#define TAG(number, constant, name, presence) constant = number,
#include "filedata/DataSetHeaderTags.def"
};

/// Reads the tag list at which the stream stands, checks it, and stores the subzone limits.
char readDataSetHeaderTags(FileReaderInterface& reader, FileDescription& description, TagMap& tags);

char applyDataSetHeaderScalarTagValues(TagMap const& tags, int& numVars, int& numZones);

/// Whether the file is long enough for the tables of its zones and variables, which cost memory
/// before anything of them is read. Leaves the stream at its start.
char checkZoneAndVarCounts(FileReaderInterface& reader, std::uint64_t numZones,
                           std::uint64_t numVars);

/// Reads what the tags lead to. The result is empty behind the title and the variable names if the
/// file has no zones.
char readDataSetHeader(FileReaderInterface& reader, FileDescription const& description,
                       TagMap const& tags, std::string& title, ZoneVarMetadata& result,
                       LightweightVector<std::uint64_t>& zoneHeaderFileLocs);

/// Empty, with success, if the file has none.
char readDatasetTitle(FileReaderInterface& reader, TagMap const& tags, std::string& title);

/// The names alone, stored from startVar on.
char readPerVarFileHeader(FileReaderInterface& reader, TagMap const& tags, int startVar,
                          LightweightVector<std::string>& varNames);

}
