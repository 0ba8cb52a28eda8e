#include "tools/vnxconvert/Remarks.h"

#include <algorithm>

namespace varnox::convert {

void Remarks::add(std::string const& remark)
{
    if (std::find(m_all.begin(), m_all.end(), remark) == m_all.end())
        m_all.push_back(remark);
}

namespace {

std::string pluralOf(std::string const& name)
{
    // "strip of triangles" counts its first word.
    std::size_t const of = name.find(" of ");
    std::string const noun = name.substr(0, of);
    std::string const rest = of == std::string::npos ? "" : name.substr(of);
    if (noun == "vertex")
        return "vertices" + rest;
    if (noun.ends_with("hedron"))
        return noun.substr(0, noun.size() - 2) + "a" + rest;
    return noun + "s" + rest;
}

}

std::string counted(unsigned long long count, std::string const& name)
{
    return std::to_string(count) + " " + (count == 1 ? name : pluralOf(name));
}

std::string joined(std::vector<std::string> const& names)
{
    std::string result;
    for (std::string const& name : names)
        result += (result.empty() ? "" : ", ") + name;
    return result;
}

}
