#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace varnox::malformed {

/// Where the words of a binary file stand, by names as Edits.h has them.
class FilePlaces
{
public:
    explicit FilePlaces(std::string const& file) : m_file(file) {}

    /// Throws std::runtime_error if there is no such place.
    std::size_t of(std::string const& name) const;
    std::uint64_t wordAt(std::size_t place) const;

    struct TagList
    {
        std::size_t leadsTo; ///< The word that holds the list's location.
        std::size_t start;
        std::size_t count;
    };
    /// The list that a tag stands in.
    TagList listOf(std::string const& tag) const;
    /// A tag's index in its list.
    std::size_t indexOf(std::string const& tag) const;

private:
    /// The word that leads to a header.
    std::size_t headerWord(std::string const& header) const;
    TagList listAt(std::size_t headerWord) const;

    std::string const& m_file;
};

}
