#pragma once

#include <string>
#include <vector>

namespace varnox::hdqfsloader::tests {

inline std::string sample(std::string const& name)
{
    return VNX_SOURCE_DIR "/examples/data/" + name + ".hdqfs";
}

inline std::vector<std::string> samples(std::vector<std::string> const& names)
{
    std::vector<std::string> result;
    for (std::string const& name : names)
        result.push_back(sample(name));
    return result;
}

}
