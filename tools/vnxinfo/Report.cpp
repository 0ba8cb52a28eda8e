#include "tools/vnxinfo/Report.h"

namespace varnox::tools {

void Report::members(Json const& object)
{
    m_tellsOfDamage = m_tellsOfDamage || object.contains("error") || object.contains("errors");
    takeMembers(object);
}

void Report::beginObject(std::string const& name)
{
    takeBegin(name, false, 0);
    m_path.push_back(name);
}

void Report::beginList(std::string const& name, std::size_t numItems)
{
    takeBegin(name, true, numItems);
    m_path.push_back(name);
}

void Report::item(Json const& value)
{
    takeItem(value);
}

void Report::end()
{
    takeEnd();
    m_path.pop_back();
}

std::string const& Report::nameAbove(std::size_t steps) const
{
    static std::string const none;
    return steps < m_path.size() ? m_path[m_path.size() - 1 - steps] : none;
}

}
