#pragma once

#include <cstddef>
#include <cstdint>

namespace varnox::hdqio {

class FileReaderInterface;

/// The label of a value or array in a file: a base word and the indices that it is for. In the text
/// form it stands ahead of what it labels; in messages it names it.
struct IODescription
{
    static constexpr std::int32_t UNSET_INDEX = 0x7FFFFFFF;
    /// Deliberate: 23 bits, as wide as the partition of a subzone address.
    /// Test: IODescription.UnsetPartitionHas23Bits
    static constexpr std::uint32_t UNSET_PARTITION = 0x7FFFFF;
    static constexpr std::uint32_t UNSET_SEGMENT = 0xFFFFFFFF;

    char const* name = nullptr; ///< A star at its end stays at the end of the whole text.
    std::int32_t varIndex = UNSET_INDEX;
    std::int32_t zoneIndex = UNSET_INDEX;
    std::uint32_t partitionIndex = UNSET_PARTITION;
    std::uint32_t segmentIndex = UNSET_SEGMENT;
    char const* suffix = nullptr;
    /// In a file the name alone is accepted too, without indices.
    bool orBareName = false;

    IODescription withSuffix(char const* text) const
    {
        IODescription copy = *this;
        copy.suffix = text;
        return copy;
    }

    /// The text, with all numbers counted from one; cut to the buffer. True if anything fits.
    bool getFormattedDescription(char* buffer, std::size_t size) const;
};

/// A description as text, for messages.
class DescriptionText
{
public:
    explicit DescriptionText(IODescription const& description)
    {
        description.getFormattedDescription(m_text, sizeof(m_text));
    }
    char const* text() const { return m_text; }

private:
    char m_text[100];
};

/// Whether a word of a file is the description, whatever its case.
bool checkDescription(char const* found, IODescription const& expected);

/// Reads a word and the white space behind it. Also accepts the older names that files may bear.
/// Reports what is wrong.
char readAndVerifyDescription(FileReaderInterface& reader, IODescription const& description);

/// Skips line ends and blanks, but no tabs.
void skipWhitespace(FileReaderInterface& reader);

}
