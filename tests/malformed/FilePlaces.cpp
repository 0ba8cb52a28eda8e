#include "tests/malformed/FilePlaces.h"

#include <cstring>
#include <map>
#include <stdexcept>

namespace varnox::malformed {

namespace {

constexpr std::size_t WORD = sizeof(std::uint64_t);

std::map<std::string, std::uint16_t> const& dataSetTags()
{
    static std::map<std::string, std::uint16_t> const tags{
#define TAG(number, constant, name, presence) {name, number},
#include "filedata/DataSetHeaderTags.def"
    };
    return tags;
}

std::map<std::string, std::uint16_t> const& zoneTags()
{
    static std::map<std::string, std::uint16_t> const tags{
#define TAG(number, constant, name) {name, number},
#include "filedata/ZoneHeaderTags.def"
    };
    return tags;
}

/// The name ahead of the last dot, and what is behind it.
std::pair<std::string, std::string> parted(std::string const& name)
{
    std::size_t const dot = name.rfind('.');
    if (dot == std::string::npos)
        return {"", name};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

bool isNumbered(std::string const& name, std::string const& word)
{
    return name.starts_with(word) && name.size() > word.size() &&
           name.find_first_not_of("0123456789", word.size()) == std::string::npos;
}

std::size_t numberBehind(std::string const& name, char const* word)
{
    return std::stoul(name.substr(std::strlen(word))) - 1;
}

}

std::uint64_t FilePlaces::wordAt(std::size_t place) const
{
    std::uint64_t result = 0;
    if (place > m_file.size() || m_file.size() - place < WORD)
        throw std::runtime_error("there is no word at " + std::to_string(place));
    std::memcpy(&result, m_file.data() + place, WORD);
    return result;
}

std::size_t FilePlaces::headerWord(std::string const& header) const
{
    std::size_t const start = m_file.find('\n') + 1;
    if (header == "dataSet")
        return start + WORD;
    auto const [owner, own] = parted(header);
    if (isNumbered(own, "zone"))
        return wordAt(of("dataSet.zoneHeaderFileLocs")) + WORD * numberBehind(own, "zone");
    if (isNumbered(own, "partition"))
        return wordAt(of(owner + ".partitionFileLocs")) + WORD * numberBehind(own, "partition");
    throw std::runtime_error("there is no header " + header);
}

FilePlaces::TagList FilePlaces::listAt(std::size_t headerWord) const
{
    std::size_t const start = wordAt(headerWord);
    std::uint16_t count = 0;
    if (start > m_file.size() || m_file.size() - start < sizeof count)
        throw std::runtime_error("there is no tag list at " + std::to_string(start));
    std::memcpy(&count, m_file.data() + start, sizeof count);
    return {headerWord, start, count};
}

FilePlaces::TagList FilePlaces::listOf(std::string const& tag) const
{
    return listAt(headerWord(parted(tag).first));
}

std::size_t FilePlaces::indexOf(std::string const& tag) const
{
    auto const [header, name] = parted(tag);
    auto const& tags = header == "dataSet" ? dataSetTags() : zoneTags();
    auto const number = tags.find(name);
    if (number == tags.end())
        throw std::runtime_error("no tag has the name " + name);
    TagList const list = listOf(tag);
    for (std::size_t i = 0; i < list.count; ++i) {
        std::uint16_t found = 0;
        std::memcpy(&found, m_file.data() + list.start + 2 + 2 * i, sizeof found);
        if (found == number->second)
            return i;
    }
    throw std::runtime_error("the file has no tag " + tag);
}

std::size_t FilePlaces::of(std::string const& name) const
{
    if (name == "byteOrder")
        return m_file.find('\n') + 1;
    auto const [owner, own] = parted(name);
    if (name == "dataSet" || isNumbered(own, "zone") || isNumbered(own, "partition"))
        return headerWord(name);
    if (own == "count")
        return wordAt(headerWord(owner));
    if (own == "number") {
        TagList const list = listOf(owner);
        return list.start + 2 + 2 * indexOf(owner);
    }
    TagList const list = listOf(name);
    return list.start + 2 + 2 * list.count + WORD * indexOf(name);
}

}
