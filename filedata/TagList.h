#pragma once

#include "filedata/FileReaderInterface.h"

#include <cstdint>
#include <map>

namespace varnox::hdqio {

constexpr std::uint64_t ABSENT_FILE_LOC = 0xFFFFFFFFFFFFFFFF;

/// Tag number to value: the absolute location of an array, or the datum itself.
using TagMap = std::map<std::uint16_t, std::uint64_t>;
/// The tags that a reader knows.
using TagNames = std::map<std::uint16_t, char const*>;

/// Reads the directory at the head of a data set, zone or partition. A tag that the reader doesn't
/// know is announced and skipped; of a number that occurs twice the last counts.
char readTagList(FileReaderInterface& reader, TagNames const& names, TagMap& tags);

/// The value of a tag, 0 if it is absent.
std::uint64_t valueOrZero(TagMap const& tags, std::uint16_t tag);

}
