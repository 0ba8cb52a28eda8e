#pragma once

#include <functional>
#include <string>

namespace varnox::socketutil {
class WriteCache;
}

namespace varnox::hdqremote {

/// The path without empty components, "." and "..", by its text alone: the disk isn't asked, and a
/// leading slash is given where there is none. The root is the empty string.
std::string getCanonicalPath(std::string const& path);

/// Adds a directory to a reply: its canonical path, the number of entries, and for each its name,
/// type, size and last write time. Hidden files, and what is neither a file nor a directory, are
/// left out; a directory that can't be read has no entries. Throws
/// boost::filesystem::filesystem_error.
///
/// Behind a name stand a zero byte and the entry's permission bits, the high byte first.
///
/// Of a directory that may not be seen nothing is listed, and neither is a link to what may not; an
/// empty function allows everything.
void addFileListing(socketutil::WriteCache& reply, std::string const& directory,
                    std::function<bool(std::string const&)> const& maySee = {});

}
