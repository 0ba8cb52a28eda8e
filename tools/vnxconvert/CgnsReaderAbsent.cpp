#include "tools/vnxconvert/FileReaders.h"

namespace varnox::convert {

std::vector<Grid> readCgnsFile(std::string const& path, ReadOptions const&)
{
    failReading(
        path, "this vnxconvert was built without the CGNS library.",
        "Install it (Debian: libcgns-dev, or run scripts/bootstrap convert) and build again.");
}

}
