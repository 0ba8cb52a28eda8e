#pragma once

#include "tools/vnxinfo/Place.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace varnox::tools {

/// What is wrong with a file, where.
struct Fault
{
    std::string place;
    std::optional<std::uint64_t> fileLoc;
    std::string text;
};

/// The faults of a file. All are counted, the first ones are kept.
class Faults
{
public:
    static constexpr std::size_t MAX_KEPT = 1000;

    void add(Place const& place, std::string const& text) { add(place, {}, text); }
    void add(Place const& place, std::optional<std::uint64_t> fileLoc, std::string const& text)
    {
        if (++m_count <= MAX_KEPT)
            m_kept.push_back({textOf(place), fileLoc, text});
    }

    std::uint64_t count() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }
    std::vector<Fault> const& kept() const { return m_kept; }

private:
    std::vector<Fault> m_kept;
    std::uint64_t m_count = 0;
};

}
