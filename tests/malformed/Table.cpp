#include "tests/malformed/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace varnox::malformed {

namespace {

constexpr char GROUP[] = "== ";
constexpr char BASE[] = "base";
constexpr char EDIT[] = "edit";

bool isLead(std::string const& line)
{
    return line.empty() || line[0] == '#' || line.starts_with(GROUP);
}

/// "  key: value"
std::pair<std::string, std::string> entryOf(std::string const& line, std::string const& path)
{
    std::size_t const colon = line.find(": ");
    if (!line.starts_with("  ") || colon == std::string::npos)
        throw std::runtime_error(path + " has a line that isn't understood: " + line);
    return {line.substr(2, colon - 2), line.substr(colon + 2)};
}

}

Table::Table(std::string path) : m_path(std::move(path))
{
    std::ifstream file(m_path);
    if (!file)
        throw std::runtime_error(m_path + " can't be read.");
    std::string group;
    std::string lead;
    for (std::string line; std::getline(file, line);) {
        if (isLead(line)) {
            lead += line + "\n";
            if (line.starts_with(GROUP))
                group = line.substr(sizeof GROUP - 1);
        } else if (line[0] != ' ') {
            m_cases.push_back({lead, group, line, {}, {}, {}});
            lead.clear();
        } else {
            auto const [key, value] = entryOf(line, m_path);
            Case& current = m_cases.at(m_cases.size() - 1);
            if (key == BASE)
                current.base = value;
            else if (key == EDIT)
                current.edits.push_back(value);
            else
                current.said.emplace_back(key, value);
        }
    }
}

std::vector<std::string> Table::groups() const
{
    std::vector<std::string> result;
    for (Case const& each : m_cases)
        if (std::find(result.begin(), result.end(), each.group) == result.end())
            result.push_back(each.group);
    return result;
}

void Table::write() const
{
    std::ofstream file(m_path);
    for (Case const& each : m_cases) {
        file << each.lead << each.name << "\n  " << BASE << ": " << each.base << "\n";
        for (std::string const& edit : each.edits)
            file << "  " << EDIT << ": " << edit << "\n";
        for (auto const& [who, text] : each.said)
            file << "  " << who << ": " << text << "\n";
    }
    if (!file.flush())
        throw std::runtime_error(m_path + " can't be written.");
}

std::string shown(std::string const& text)
{
    std::string result;
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            result += "\\n";
        } else if (byte < 0x20 || byte > 0x7E) {
            std::array<char, 8> buffer;
            std::snprintf(buffer.data(), buffer.size(), "\\x%02x", byte);
            result += buffer.data();
        } else {
            result += c;
        }
    }
    return result;
}

}
