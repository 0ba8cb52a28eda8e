#include "tests/bounds/LyingFile.h"

#include <utility>

namespace varnox::hdqio::tests {

namespace {

template <typename T>
std::string repeated(T value, std::uint64_t count)
{
    std::string result;
    for (std::uint64_t i = 0; i < count; ++i)
        result.append(reinterpret_cast<char const*>(&value), sizeof(value));
    return result;
}

std::string bytesOf(std::vector<std::int32_t> const& values)
{
    return {reinterpret_cast<char const*>(values.data()), values.size() * sizeof(values[0])};
}

std::uint64_t addEmptyNames(FileBuilder& file, std::uint64_t count)
{
    std::uint64_t const start = file.value<std::uint64_t>("TotalSize", count);
    file.raw(std::string(count, '\r'));
    return start;
}

}

std::string LyingFile::contents() const
{
    FileBuilder file(version);
    std::uint64_t const headerLoc =
        header ? header(file) : headerOfVariables(file, numVars, ALL_ONES);
    std::uint64_t const numEntries = numZones * (numVars == 0 ? 1 : numVars);
    std::uint64_t const zeros = file.raw(std::string(8 * numEntries, '\0'));
    std::uint64_t const ones = file.raw(std::string(4 * numEntries, '\xFF'));
    std::vector<FileBuilder::Tag> tags{{1, "", numZones}, {2, "", numVars}, {3, "", 1},
                                       {4, "", 1},        {5, "", 1},       {6, "", 256}};
    for (std::uint16_t const group :
         {std::uint16_t{7}, std::uint16_t{8}, std::uint16_t{9}, std::uint16_t{10}})
        tags.push_back({group, "", ALL_ONES});
    auto const add = [&](std::uint16_t number, std::uint64_t loc) {
        tags.push_back({number, "", loc});
    };
    add(256, addEmptyNames(file, numZones));
    add(257, file.raw(std::string(numZones, letter)));
    add(258, file.raw(repeated(headerLoc, numZones)));
    add(259, zeros);
    add(260, zeros);
    add(261, zeros);
    add(262, ones);
    add(263, file.raw(repeated(i, numZones)));
    add(264, file.raw(repeated(j, numZones)));
    add(265, file.raw(repeated(k, numZones)));
    add(268, shareConnectivity.empty() ? ones : file.raw(bytesOf(shareConnectivity)));
    add(512, addEmptyNames(file, numVars));
    add(768, zeros);
    add(769, file.raw(std::string(numEntries, '\1')));
    add(770, file.raw(std::string(numEntries, static_cast<char>(valueType))));
    add(771, zeros);
    std::string shares;
    for (std::uint64_t v = 0; v < numVars && !shareVar.empty(); ++v)
        shares += bytesOf(shareVar);
    add(772, shareVar.empty() ? ones : file.raw(shares));
    if (groups) // of a tag that occurs twice the last counts
        for (FileBuilder::Tag const& tag : groups(file))
            tags.push_back(tag);
    return file.file(file.tagList(tags));
}

std::uint64_t headerOfVariables(FileBuilder& file, std::uint64_t numVars, std::uint64_t loc,
                                std::vector<FileBuilder::Tag> more)
{
    std::uint64_t const locs = file.raw(repeated(loc, numVars));
    more.push_back({1536, "varFileLocs", locs});
    return file.tagList(more);
}

}
