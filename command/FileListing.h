#pragma once

#include <string>

namespace varnox::socketutil {
class WriteCache;
}

namespace varnox::hdqremote {

/// Adds a directory to a reply: its canonical path, the number of entries, and for each its name,
/// type, size and last write time. Hidden files, and what is neither a file nor a directory, are
/// left out; a directory that can't be read has no entries. Throws
/// boost::filesystem::filesystem_error.
///
/// Behind a name stand a zero byte and the entry's permission bits, the high byte first.
void addFileListing(socketutil::WriteCache& reply, std::string const& directory);

}
