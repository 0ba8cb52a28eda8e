#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileReaderInterface.h"

namespace varnox::hdqio {

/// Reads the start of a file: its first line, the byte order value, which is dropped by all, and
/// the location of the data set header. Tells the reader the form and type of the file. On failure
/// both numbers are 0 and a message says why.
char readDataFileHeader(FileReaderInterface& reader, FileDescription& description,
                        std::uint64_t& byteOrderIndicator, std::uint64_t& dataSetHeaderFileLoc);

}
