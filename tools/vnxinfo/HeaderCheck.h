#pragma once

#include "tools/vnxinfo/CheckedFile.h"
#include "tools/vnxinfo/RawTags.h"

namespace varnox::tools {

/// Reads the first line, the data set header and the groups, and checks what they say by itself.
/// False if nothing behind them can be looked at.
bool checkHeaders(CheckedFile& file);

/// Checks a tag list for unknown and repeated tags.
void checkTagList(CheckedFile& file, Place const& place, std::uint64_t fileLoc, TagOwner owner,
                  std::uint32_t number);

}
