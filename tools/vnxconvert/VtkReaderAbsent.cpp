#include "tools/vnxconvert/FileReaders.h"

namespace varnox::convert {

std::vector<Grid> readVtkFile(std::string const& path, ReadOptions const&)
{
    failReading(path, "this vnxconvert was built without VTK.",
                "Install VTK (Debian: libvtk9-dev, or run scripts/bootstrap convert) and build "
                "again.");
}

}
