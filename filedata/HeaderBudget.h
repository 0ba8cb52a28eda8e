#pragma once

#include "filedata/FileReaderInterface.h"

#include <cstdint>
#include <string>

namespace varnox::hdqio {

struct PartitionMetadata;
struct ZoneMetadata;

/// Holds the headers of a file's zones and partitions to the size of the file. In a sound file none
/// lies on another, so that together they have no more bytes than it; in another one many may lead
/// to the same tables, each of which would be read and kept for each of them.
class HeaderBudget
{
public:
    /// Counts what one header takes of the file. False, with a message, if it is too much with
    /// those before, and from then on always.
    char take(FileReaderInterface& reader, std::uint64_t byteCount);
    /// What a spent budget refuses needn't be read at all.
    char requireMore(std::string const& fileName) const;

private:
    std::uint64_t m_taken = 0;
    bool m_isSpent = false;
};

/// How far the reader has come from a place. 0 where it can't tell, since the file failed it: that
/// is no claim of the file, and the next try may succeed.
std::uint64_t bytesSince(FileReaderInterface& reader, std::uint64_t start);

/// What the header of a zone, or of a partition, takes of a binary file at least.
std::uint64_t bytesInFile(ZoneMetadata const& zone);
std::uint64_t bytesInFile(PartitionMetadata const& partition);

}
