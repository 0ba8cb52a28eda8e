#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

namespace varnox::hdqfsloader {

/// The unique ids by which the host names the variables of a data set, variable after variable.
class VariableIds
{
public:
    /// Of an id that occurs twice the first variable counts.
    explicit VariableIds(std::vector<long> const& ids)
    {
        for (std::size_t var = 0; var < ids.size(); ++var)
            m_vars.emplace(ids[var], var);
    }

    /// The index of a variable, or none.
    std::optional<std::size_t> find(long id) const
    {
        auto const found = m_vars.find(id);
        return found == m_vars.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::unordered_map<long, std::size_t> m_vars;
};

}
