#include "filedata/IODescription.h"

#include "filedata/FileReaderInterface.h"
#include "filedata/Messages.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <locale>
#include <map>
#include <string>

namespace varnox::hdqio {

namespace {

/// Appends to a text in a buffer until it is full; what comes after that is dropped.
class TextBuffer
{
public:
    TextBuffer(char* buffer, std::size_t size) : m_buffer(buffer), m_size(size)
    {
        if (m_size > 0)
            m_buffer[0] = '\0';
    }

    void append(char const* format, ...) __attribute__((format(printf, 2, 3)))
    {
        if (m_length + 1 >= m_size)
            return;
        std::va_list arguments;
        va_start(arguments, format);
        int const length =
            std::vsnprintf(m_buffer + m_length, m_size - m_length, format, arguments);
        va_end(arguments);
        if (length > 0)
            m_length += static_cast<std::size_t>(length);
    }

private:
    char* m_buffer;
    std::size_t m_size;
    std::size_t m_length = 0;
};

/// The name now used and the older name that files may bear.
std::map<std::string, char const*> const& altTagDescriptions()
{
    static std::map<std::string, char const*> const table{
        {"nszConnFileLocs", "nszConnectivityFileLocs"},
        {"cszConnFileLocs", "cszConnectivityFileLocs"},
        {"nszConnFileLocsForZone", "nszConnectivityFileLocsForZone"},
        {"cszConnFileLocsForZone", "cszConnectivityFileLocsForZone"},
        {"passiveVar", "passive"},
        {"shareVar", "share"}};
    return table;
}

}

bool IODescription::getFormattedDescription(char* buffer, std::size_t size) const
{
    TextBuffer text(buffer, size);
    bool const isNamed = name != nullptr;
    std::size_t const length = isNamed ? std::strlen(name) : 0;
    bool const hasStar = length > 0 && name[length - 1] == '*';
    if (isNamed)
        text.append("%.*s", static_cast<int>(hasStar ? length - 1 : length), name);
    else
        text.append("unspecified");

    // "For" stands once, ahead of the first index.
    char const* prefix = isNamed ? "For" : "";
    auto const appendIndex = [&](char const* word, std::uint64_t index) {
        text.append("%s%s%lu", prefix, word, index + 1);
        prefix = "";
    };
    if (varIndex != UNSET_INDEX)
        appendIndex("Var", static_cast<std::uint64_t>(varIndex));
    if (zoneIndex != UNSET_INDEX)
        appendIndex("Zone", static_cast<std::uint64_t>(zoneIndex));
    if (partitionIndex != UNSET_PARTITION)
        appendIndex("Partition", partitionIndex);
    if (segmentIndex != UNSET_SEGMENT)
        appendIndex("Segment", segmentIndex);
    if (suffix != nullptr)
        text.append("%s", suffix);
    if (hasStar)
        text.append("*");
    return size > 1;
}

bool checkDescription(char const* found, IODescription const& expected)
{
    DescriptionText const description(expected);
    std::size_t const length = std::strlen(description.text());
    if (std::strlen(found) != length)
        return false;
    std::locale const locale;
    auto const& facet = std::use_facet<std::ctype<char>>(locale);
    for (std::size_t i = 0; i < length; ++i)
        if (facet.toupper(found[i]) != facet.toupper(description.text()[i]))
            return false;
    return true;
}

void skipWhitespace(FileReaderInterface& reader)
{
    while (!reader.feof()) {
        int const c = reader.getc();
        // Deliberate: a tab isn't skipped. Test: IODescription.TabIsNotSkipped
        if (c == '\n' || c == '\r' || c == ' ')
            continue;
        if (c >= 0)
            reader.ungetc(c);
        return;
    }
}

char readAndVerifyDescription(FileReaderInterface& reader, IODescription const& description)
{
    char word[100];
    if (reader.fscanf("%99s", word) != 1)
        return errorMessage("Cannot read description for %s.", DescriptionText(description).text());
    skipWhitespace(reader);

    IODescription candidate = description;
    for (;;) {
        if (checkDescription(word, candidate) ||
            (candidate.orBareName && checkDescription(word, {candidate.name})))
            return 1;
        auto const older = candidate.name != nullptr ? altTagDescriptions().find(candidate.name)
                                                     : altTagDescriptions().end();
        if (older == altTagDescriptions().end())
            break;
        candidate.name = older->second;
    }
    return errorMessage("Mismatched descriptions: looking for '%s', found '%s' instead.",
                        DescriptionText(description).text(), word);
}

}
