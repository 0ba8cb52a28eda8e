#include "writer/BlockWriter.h"

#include "filedata/DataSetHeader.h"
#include "filedata/ZoneHeader.h"

#include <algorithm>
#include <stdexcept>

namespace varnox::hdqfswriter {

namespace {

/// A reader takes an entry of a string array up to here.
constexpr std::size_t LONGEST_ENTRY = 499;
constexpr char END_OF_ENTRY = '\r';

char const* nameOfTag(std::uint16_t number)
{
    switch (number) {
#define TAG(tag, constant, name, presence)                                                         \
    case tag:                                                                                      \
        return name;
#include "filedata/DataSetHeaderTags.def"
#define TAG(tag, constant, name)                                                                   \
    case tag:                                                                                      \
        return name;
#include "filedata/ZoneHeaderTags.def"
    default:
        throw std::logic_error("There is no tag " + std::to_string(number) + ".");
    }
}

/// Readers of text skip these behind a description.
bool isSkipped(char c)
{
    return c == ' ' || c == '\r' || c == '\n';
}

[[noreturn]] void refuse(hdqio::IODescription const& label, std::string const& text,
                         std::string const& why)
{
    throw std::runtime_error("Cannot write '" + text.substr(0, 60) + "' (" + label.name +
                             "): " + why);
}

}

void BlockWriter::require(char written, char const* what) const
{
    if (!written)
        throw std::runtime_error("Cannot write " + m_file.fileName() + ": a value of " + what +
                                 " is too long for its text.");
}

std::uint64_t BlockWriter::string(hdqio::IODescription const& label, std::string const& text)
{
    std::uint64_t const start = loc();
    if (isAscii()) {
        if (!text.empty() && isSkipped(text.front()))
            refuse(label, text, "in the text form it can't begin with a blank or a line end.");
        m_file.fprintf("%-40s  ", hdqio::DescriptionText(label).text());
    }
    raw(text.data(), text.size());
    if (isAscii())
        raw("\r\n", 2);
    return start;
}

std::uint64_t BlockWriter::strings(hdqio::IODescription const& label,
                                   std::vector<std::string> const& texts)
{
    std::string all;
    for (std::string const& text : texts) {
        if (text.size() > LONGEST_ENTRY)
            refuse(label, text, "it is longer than 499 bytes.");
        if (text.find(END_OF_ENTRY) != std::string::npos)
            refuse(label, text, "it has a carriage return.");
        all += text + (isAscii() ? "\r\n" : "\r");
    }
    if (isAscii() && !texts.empty() && isSkipped(all.front()))
        refuse(label, texts.front(),
               "in the text form the first of a list can't be empty or begin with a blank or a "
               "line end.");
    std::uint64_t const start = value<std::uint64_t>(label.withSuffix("TotalSize"), all.size());
    if (isAscii())
        m_file.fprintf("%-40s\r\n", hdqio::DescriptionText(label).text());
    raw(all.data(), all.size());
    return start;
}

std::uint64_t BlockWriter::marker(hdqio::IODescription const& label, std::uint32_t number)
{
    return isAscii() ? value<std::uint32_t>(label, number) : loc();
}

std::uint64_t BlockWriter::tagList(std::vector<Tag> const& tags)
{
    std::vector<std::uint16_t> numbers;
    numbers.reserve(tags.size());
    for (Tag const& tag : tags)
        numbers.push_back(tag.number);
    std::uint64_t const start =
        value<std::uint16_t>({"numTags"}, static_cast<std::uint16_t>(tags.size()));
    array<std::uint16_t>({"tags"}, numbers);
    for (Tag const& tag : tags)
        hexValue({nameOfTag(tag.number)}, tag.value);
    return start;
}

void BlockWriter::padTo(std::uint64_t fileLoc)
{
    std::string const blanks(4096, isAscii() ? ' ' : '\0');
    while (loc() < fileLoc)
        raw(blanks.data(),
            static_cast<std::size_t>(std::min<std::uint64_t>(fileLoc - loc(), blanks.size())));
}

}
