#include "tools/vnxinfo/JsonReport.h"

#include "tools/vnxinfo/Description.h"

namespace varnox::tools {

namespace {

/// A value of an object or a list that is being written, with the indentation of its depth.
std::string indented(Json const& json, std::size_t depth)
{
    if (!json.is_structured())
        return serialized(json);
    std::string result;
    for (char const c : serialized(json, 1)) {
        result += c;
        if (c == '\n')
            result.append(depth, ' ');
    }
    return result;
}

}

void JsonReport::beginEntry(std::string const& name)
{
    if (m_open.empty())
        return;
    std::string text = m_open.back().isEmpty ? "\n" : ",\n";
    text.append(m_open.size(), ' ');
    m_open.back().isEmpty = false;
    if (!m_open.back().isList)
        text += serialized(name) + ": ";
    m_output.write(text);
}

void JsonReport::takeMembers(Json const& object)
{
    for (auto const& [name, value] : object.items()) {
        beginEntry(name);
        m_output.write(indented(value, m_open.size()));
    }
}

void JsonReport::takeBegin(std::string const& name, bool isList, std::size_t)
{
    beginEntry(name);
    m_output.write(isList ? "[" : "{");
    m_open.push_back({isList});
}

void JsonReport::takeItem(Json const& value)
{
    beginEntry("");
    m_output.write(indented(value, m_open.size()));
}

void JsonReport::takeEnd()
{
    Open const ended = m_open.back();
    m_open.pop_back();
    if (!ended.isEmpty)
        m_output.write("\n" + std::string(m_open.size(), ' '));
    m_output.write(ended.isList ? "]" : "}");
}

void KeptReport::takeMembers(Json const& object)
{
    m_open.back()->update(object);
}

void KeptReport::takeBegin(std::string const& name, bool isList, std::size_t)
{
    Json begun = isList ? Json::array() : Json::object();
    if (m_open.empty()) {
        m_json = std::move(begun);
        m_open.push_back(&m_json);
    } else if (m_open.back()->is_array()) {
        m_open.back()->push_back(std::move(begun));
        m_open.push_back(&m_open.back()->back());
    } else {
        m_open.push_back(&((*m_open.back())[name] = std::move(begun)));
    }
}

void KeptReport::takeItem(Json const& value)
{
    m_open.back()->push_back(value);
}

void KeptReport::takeEnd()
{
    m_open.pop_back();
}

}
