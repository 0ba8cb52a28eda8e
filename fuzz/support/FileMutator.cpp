#include "fuzz/support/FileMutator.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace varnox::fuzz {

namespace {

constexpr std::size_t WORD = sizeof(std::uint64_t);
constexpr std::size_t MOST_WORDS = 4096;

std::uint16_t const scalarTags[] = {1, 2, 3, 4, 5, 6, 11, 1024, 1025, 1283, 1792};
/// Their blocks are locations themselves: of zone headers, connectivity records, variables, and
/// partition headers.
std::uint16_t const locationArrayTags[] = {258, 1280, 1281, 1536, 1794};
constexpr std::uint16_t HEADER_TAGS[] = {258, 1794};
constexpr std::uint16_t ZONE_TYPE_TAG = 257;
constexpr std::uint16_t FIELD_TYPE_TAG = 770;

template <std::size_t n>
bool contains(std::uint16_t const (&tags)[n], std::uint16_t tag)
{
    return std::find(std::begin(tags), std::end(tags), tag) != std::end(tags);
}

template <typename T>
T get(std::string const& file, std::size_t at)
{
    T result{};
    if (at < file.size())
        std::memcpy(&result, file.data() + at, std::min(sizeof result, file.size() - at));
    return result;
}

template <typename T>
void put(std::string& file, std::size_t at, T value)
{
    if (at < file.size())
        std::memcpy(file.data() + at, &value, std::min(sizeof value, file.size() - at));
}

}

/// What stands where in a binary file.
struct FileMutator::Map
{
    struct Tag
    {
        std::uint16_t number;
        std::size_t numberAt;
        std::size_t valueAt;
    };

    explicit Map(std::string const& contents) : file(contents)
    {
        std::size_t const lineEnd = file.find('\n');
        if (!file.starts_with("#!HDQFS ") || lineEnd > 127 || file.find('B') > lineEnd)
            return;
        headerLocAt = lineEnd + 1 + WORD;
        addLocation(headerLocAt);
        addTagList(get<std::uint64_t>(file, headerLocAt));
        // The arrays come when all tags are known, as a block ends where the next begins.
        for (std::size_t done = 0; done < tags.size(); ++done)
            if (contains(locationArrayTags, tags[done].number))
                addArray(Map::Tag(tags[done])); // which finds further tags
    }

    bool isUnderstood() const { return !tags.empty(); }

    /// The first byte behind the block that begins at a location.
    std::size_t endOf(std::uint64_t loc) const
    {
        auto const next = blocks.upper_bound(loc);
        return next == blocks.end() ? file.size() : static_cast<std::size_t>(*next);
    }

    std::string const& file;
    std::size_t headerLocAt = 0;
    std::vector<Tag> tags;
    std::set<std::size_t> locationsAt;
    std::set<std::uint64_t> blocks; ///< Where they begin.

private:
    void addLocation(std::size_t at)
    {
        auto const loc = get<std::uint64_t>(file, at);
        if (at + WORD > file.size() || locationsAt.size() >= MOST_WORDS)
            return;
        locationsAt.insert(at);
        if (loc < file.size() && loc != 0)
            blocks.insert(loc);
    }

    void addTagList(std::uint64_t loc)
    {
        if (loc == 0 || loc >= file.size() || tags.size() >= MOST_WORDS ||
            !lists.insert(loc).second)
            return;
        auto const start = static_cast<std::size_t>(loc);
        std::size_t const count = get<std::uint16_t>(file, start);
        std::size_t const numbers = start + 2;
        std::size_t const values = numbers + 2 * count;
        if (values + WORD * count > file.size())
            return;
        for (std::size_t i = 0; i < count; ++i) {
            Tag const tag{get<std::uint16_t>(file, numbers + 2 * i), numbers + 2 * i,
                          values + WORD * i};
            tags.push_back(tag);
            if (!contains(scalarTags, tag.number))
                addLocation(tag.valueAt);
        }
    }

    void addArray(Tag const& tag)
    {
        auto const start = get<std::uint64_t>(file, tag.valueAt);
        if (start == 0 || start >= file.size())
            return;
        std::size_t const end = endOf(start);
        for (auto at = static_cast<std::size_t>(start); at + WORD <= end; at += WORD) {
            addLocation(at);
            if (contains(HEADER_TAGS, tag.number))
                addTagList(get<std::uint64_t>(file, at));
        }
    }

    std::set<std::uint64_t> lists;
};

std::vector<std::size_t> FileMutator::locationWords(std::string const& file)
{
    Map const map(file);
    return {map.locationsAt.begin(), map.locationsAt.end()};
}

void FileMutator::mutate(std::string& file, std::size_t maxSize)
{
    std::size_t const numSteps = 1 + below(3);
    for (std::size_t i = 0; i < numSteps; ++i) {
        if (below(8) == 0)
            mutatePlainly(file, maxSize);
        else if (file.find('T') < file.find('\n'))
            mutateText(file, maxSize);
        else
            mutateBinary(file, maxSize);
    }
    if (file.size() > maxSize)
        file.resize(maxSize);
}

void FileMutator::mutateBinary(std::string& file, std::size_t maxSize)
{
    Map const map(file);
    if (!map.isUnderstood())
        return mutatePlainly(file, maxSize);
    switch (below(8)) {
    case 0:
        return changeScalar(file, map);
    case 1:
        return changeLocation(file, map);
    case 2:
        return changeTagNumber(file, map);
    case 3:
        return changeLetter(file, map);
    case 4:
        return changeFirstLine(file);
    case 5:
        return resizeBlock(file, map, maxSize);
    default:
        return changeInBlock(file, map);
    }
}

std::uint64_t FileMutator::interestingNumber(std::uint64_t present)
{
    switch (below(6)) {
    case 0:
        return present + 1;
    case 1:
        return present - 1;
    case 2:
        return below(10);
    case 3:
        return (std::uint64_t{1} << below(64)) - below(2);
    case 4:
        return present * 2;
    default:
        return m_random() >> below(64);
    }
}

void FileMutator::changeScalar(std::string& file, Map const& map)
{
    std::vector<Map::Tag> scalars;
    for (Map::Tag const& tag : map.tags)
        if (contains(scalarTags, tag.number))
            scalars.push_back(tag);
    if (scalars.empty())
        return;
    std::size_t const at = scalars[below(scalars.size())].valueAt;
    put(file, at, interestingNumber(get<std::uint64_t>(file, at)));
}

/// To another block, a block's middle, the end, nowhere, or into a circle.
void FileMutator::changeLocation(std::string& file, Map const& map)
{
    auto at = map.locationsAt.begin();
    std::advance(at, static_cast<std::ptrdiff_t>(below(map.locationsAt.size())));
    auto block = map.blocks.begin();
    std::advance(block, static_cast<std::ptrdiff_t>(below(map.blocks.size())));
    std::uint64_t const other = block == map.blocks.end() ? 0 : *block;
    std::uint64_t const choices[] = {other, other + below(64), file.size() - below(64),
                                     0,     ~std::uint64_t{0}, interestingNumber(other)};
    put(file, *at, choices[below(std::size(choices))]);
}

void FileMutator::changeTagNumber(std::string& file, Map const& map)
{
    Map::Tag const& tag = map.tags[below(map.tags.size())];
    Map::Tag const& other = map.tags[below(map.tags.size())];
    if (below(2) == 0) // a tag less, or one twice
        put(file, tag.numberAt, below(2) == 0 ? other.number : std::uint16_t{999});
    else { // two exchange their values
        auto const value = get<std::uint64_t>(file, tag.valueAt);
        put(file, tag.valueAt, get<std::uint64_t>(file, other.valueAt));
        put(file, other.valueAt, value);
    }
}

void FileMutator::changeInBlock(std::string& file, Map const& map)
{
    auto block = map.blocks.begin();
    std::advance(block, static_cast<std::ptrdiff_t>(below(map.blocks.size())));
    if (block == map.blocks.end())
        return;
    auto const start = static_cast<std::size_t>(*block);
    std::size_t const size = std::min<std::size_t>(map.endOf(*block) - start, 256);
    std::size_t const width = std::size_t{1} << below(4);
    std::size_t const at = start + below(size / width + 1) * width;
    switch (width) {
    case 1:
        return put(file, at,
                   static_cast<std::uint8_t>(interestingNumber(get<std::uint8_t>(file, at))));
    case 2:
        return put(file, at,
                   static_cast<std::uint16_t>(interestingNumber(get<std::uint16_t>(file, at))));
    case 4:
        return put(file, at,
                   static_cast<std::uint32_t>(interestingNumber(get<std::uint32_t>(file, at))));
    default:
        return put(file, at, interestingNumber(get<std::uint64_t>(file, at)));
    }
}

/// The types of zones and variables decide how everything else is read.
void FileMutator::changeLetter(std::string& file, Map const& map)
{
    constexpr char LETTERS[] = "OORQTBLMoorqtblmgp";
    for (Map::Tag const& tag : map.tags) {
        if (tag.number != ZONE_TYPE_TAG && tag.number != FIELD_TYPE_TAG)
            continue;
        auto const start = get<std::uint64_t>(file, tag.valueAt);
        if (start >= file.size() || below(2) == 0)
            continue;
        std::size_t const at = static_cast<std::size_t>(start) +
                               below(std::min<std::size_t>(map.endOf(start) - start, 8));
        put(file, at,
            tag.number == ZONE_TYPE_TAG ? LETTERS[below(sizeof LETTERS - 1)]
                                        : static_cast<char>(below(8)));
    }
}

void FileMutator::changeFirstLine(std::string& file)
{
    char const* const lines[] = {"104B",  "105BF", "105BG", "105BS", "106BF", "106BS",
                                 "231BF", "231BG", "232BF", "232BG", "232BS"};
    std::string const line = lines[below(std::size(lines))];
    std::size_t const end = file.find('\n');
    std::size_t const start = std::strlen("#!HDQFS ");
    // Of the same length only, as everything behind it would move.
    if (end == start + line.size())
        file.replace(start, line.size(), line);
}

/// Puts bytes into a block or takes some out, and moves all locations behind it.
void FileMutator::resizeBlock(std::string& file, Map const& map, std::size_t maxSize)
{
    if (map.blocks.empty())
        return;
    auto block = map.blocks.begin();
    std::advance(block, static_cast<std::ptrdiff_t>(below(map.blocks.size())));
    auto const start = static_cast<std::size_t>(*block);
    std::size_t const end = map.endOf(*block);
    std::size_t const width = std::size_t{1} << below(4);
    bool const grows = below(2) == 0;
    std::size_t const amount = std::min(width * (1 + below(16)), end - start);
    if (grows && file.size() + amount > maxSize)
        return;
    std::uint64_t const shift = grows ? amount : std::uint64_t{0} - amount;
    std::string result = file;
    for (std::size_t const at : map.locationsAt) {
        auto const loc = get<std::uint64_t>(file, at);
        if (loc >= end && loc <= file.size())
            put(result, at, loc + shift);
    }
    if (grows)
        result.insert(end, file, end - amount, amount);
    else
        result.erase(end - amount, amount);
    file = result;
}

/// A word of a text file, for another one.
void FileMutator::mutateText(std::string& file, std::size_t maxSize)
{
    constexpr char BLANKS[] = " \r\n";
    if (file.empty())
        return mutatePlainly(file, maxSize);
    std::size_t const start = file.find_first_not_of(BLANKS, below(file.size()));
    if (start == std::string::npos)
        return mutatePlainly(file, maxSize);
    std::size_t const end = std::min(file.find_first_of(BLANKS, start), file.size());
    std::string word = file.substr(start, end - start);
    std::string const number =
        std::to_string(interestingNumber(std::strtoull(word.c_str(), nullptr, 10)));
    // Numbers in every form, and beyond each of the types.
    char const* const words[] = {
        "0",      "-1", "+1",  "f",           "nan",   "inf", "1e308", "1e999",    "1e-99",
        "-1e999", "-",  "++1", "99999999999", "32768", "256", "",      "zoneNum*", number.c_str()};
    std::string other = words[below(std::size(words))];
    // Mostly in its columns, so that what follows stays where it was.
    if (below(4) != 0)
        other.resize(word.size(), other.size() == 1 ? other[0] : ' ');
    file.replace(start, word.size(), other);
}

void FileMutator::mutatePlainly(std::string& file, std::size_t maxSize)
{
    std::vector<std::uint8_t> bytes(file.begin(), file.end());
    if (bytes.size() > maxSize)
        bytes.resize(maxSize);
    std::size_t const size = bytes.size();
    bytes.resize(maxSize);
    bytes.resize(m_mutateBytes(bytes.data(), size, maxSize));
    file.assign(bytes.begin(), bytes.end());
}

}
