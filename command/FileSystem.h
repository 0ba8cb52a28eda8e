#pragma once

#include <cstdio>
#include <string>

/// A small set of functions around the standard file functions.
namespace varnox::filesystem {

/// The result of fopen: null on failure, with errno set.
std::FILE* fileOpen(std::string const& path, std::string const& mode);
/// The result of freopen.
std::FILE* fileReopen(std::string const& path, std::string const& mode, std::FILE* file);
/// The result of rename: 0 on success.
int fileRename(std::string const& from, std::string const& to);
/// The result of remove: 0 on success.
int fileRemove(std::string const& path);
/// True with the size in bytes; false leaves the size alone.
bool fileSize(char const* path, unsigned long& size);
bool fileSize(std::string const& path, unsigned long& size);
/// HOME, or the folder below /home named by USERNAME or USER; empty if none of these has a value.
std::string homeDirectory();
/// Turns every backslash into a forward slash.
void convertPathDelimitersForOS(std::string& path);

}
