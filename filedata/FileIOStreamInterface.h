#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <string>

namespace varnox::hdqio {

/// Counters that a stream keeps; nothing in this library counts in them.
struct IOStatistics
{
    std::uint64_t words[7];
};

/// What reading and writing a file have in common. Booleans are a char.
class FileIOStreamInterface
{
public:
    virtual char isOpen() const = 0;
    /// Without keepFile the file is removed.
    virtual char close(bool keepFile) = 0;
    virtual std::uint64_t fileLoc() = 0;
    virtual char seekToFileStart() = 0;
    virtual char seekToFileLoc(std::uint64_t loc) = 0;
    virtual char seekToFileEnd() = 0;
    virtual std::string const& fileName() const = 0;
    virtual void setIsAscii(char isAscii) = 0;
    virtual char isAscii() const = 0;
    virtual void setDataFileType(DataFileType_e type) = 0;
    virtual DataFileType_e dataFileType() const = 0;
    virtual IOStatistics* statistics() = 0;
    virtual ~FileIOStreamInterface() = default;
};

}
