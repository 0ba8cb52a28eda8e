#pragma once

#include "filedata/IODescription.h"
#include "filedata/Messages.h"
#include "filedata/ValueOutput.h"
#include "writer/OutputFile.h"
#include "writer/PlainNumbers.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

/// Appends the blocks of a file one by one, in either form. Every function gives the location of
/// its block. Failures are std::runtime_error.
class BlockWriter
{
public:
    static constexpr std::uint64_t VALUES_PER_LINE = 6;

    explicit BlockWriter(OutputFile& file) : m_file(file) {}

    bool isAscii() const { return m_file.isAscii() != 0; }
    std::uint64_t loc() { return m_file.fileLoc(); }
    std::string const& fileName() const { return m_file.fileName(); }

    /// An array of nothing takes no room; its location is that of what follows.
    template <typename T, bool hex = false, int base = 0>
    std::uint64_t array(hdqio::IODescription const& label, std::uint64_t count, T const* values)
    {
        std::uint64_t const start = loc();
        std::optional<PlainNumbers> plainNumbers;
        if (isAscii())
            plainNumbers.emplace();
        hdqio::DescriptionText const text(label);
        require(hdqio::writeValueArray<T, hex, base>(m_file, text.text(), hdqio::NO_ARRAY_INDEX,
                                                     count, values, VALUES_PER_LINE),
                text.text());
        return start;
    }
    template <typename T, bool hex = false, int base = 0>
    std::uint64_t array(hdqio::IODescription const& label, std::vector<T> const& values)
    {
        return array<T, hex, base>(label, values.size(), values.data());
    }
    template <typename T>
    std::uint64_t value(hdqio::IODescription const& label, T value)
    {
        return array<T>(label, 1, &value);
    }
    std::uint64_t hexValue(hdqio::IODescription const& label, std::uint64_t value)
    {
        return array<std::uint64_t, true>(label, 1, &value);
    }

    /// Bytes behind their word, without a length. Throws for those that the text form can't hold.
    std::uint64_t string(hdqio::IODescription const& label, std::string const& text);
    /// Throws for strings that an array can't hold.
    std::uint64_t strings(hdqio::IODescription const& label, std::vector<std::string> const& texts);
    /// A number that only text has.
    std::uint64_t marker(hdqio::IODescription const& label, std::uint32_t value);

    struct Tag
    {
        std::uint16_t number;
        std::uint64_t value;
    };
    /// A directory; the tags of all headers are known by their numbers.
    std::uint64_t tagList(std::vector<Tag> const& tags);

    /// Bytes as they are, for an array in a binary file that is written in pieces.
    void raw(void const* bytes, std::size_t numBytes) { m_file.fwrite(bytes, 1, numBytes); }
    /// Bytes at a place that has been written before.
    void overwrite(std::uint64_t fileLoc, void const* bytes, std::size_t numBytes)
    {
        m_file.overwrite(fileLoc, bytes, numBytes);
    }
    /// Fills up to a location with bytes that nobody reads.
    void padTo(std::uint64_t fileLoc);

private:
    void require(char written, char const* what) const;

    OutputFile& m_file;
};

}
