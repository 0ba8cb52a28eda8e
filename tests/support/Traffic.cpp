#include "tests/support/Traffic.h"

#include <cstdlib>
#include <fstream>

namespace varnox::tests {

void recordTraffic(Speaker speaker, std::string const& bytes)
{
    char const* const path = std::getenv("VNX_TRAFFIC");
    if (path == nullptr || bytes.empty())
        return;
    std::ofstream file(path, std::ios::binary | std::ios::app);
    file << static_cast<char>(speaker) << bytes.size() << '\n' << bytes;
}

}
