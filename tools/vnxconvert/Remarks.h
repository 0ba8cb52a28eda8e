#pragma once

#include <string>
#include <vector>

namespace varnox::convert {

/// What a person should know about a conversion that went well. Each is said once.
class Remarks
{
public:
    void add(std::string const& remark);
    std::vector<std::string> const& all() const { return m_all; }

private:
    std::vector<std::string> m_all;
};

/// "1 prism", "12 prisms".
std::string counted(unsigned long long count, std::string const& name);
/// Names in a list, with commas.
std::string joined(std::vector<std::string> const& names);

}
