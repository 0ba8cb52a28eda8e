#include "tools/vnxconvert/FileReaders.h"

namespace varnox::convert {

namespace {

[[noreturn]] void fail(std::string const& path)
{
    failReading(path, "this vnxconvert was built without the CGNS library.",
                "Install it (Debian: libcgns-dev, or run scripts/bootstrap convert) and build "
                "again.");
}

}

std::vector<Grid> readCgnsFile(std::string const& path, ReadOptions const&)
{
    fail(path);
}

std::vector<double> timesInCgnsFile(std::string const& path)
{
    fail(path);
}

}
