#pragma once

#include "filedata/FileDescription.h"
#include "filedata/FileStreamReader.h"

#include <functional>
#include <string>

namespace varnox::hdqfsloader {

/// Runs a read of the file layer, and turns a false of it into a std::runtime_error with its
/// messages behind what it was to do.
void require(std::string const& what, std::function<bool()> const& read);

/// Opens a file whose form is known. Throws std::runtime_error.
void open(hdqio::FileStreamReader& reader, hdqio::FileDescription const& description);

}
