#pragma once

#include "filedata/FileWriterInterface.h"
#include "filedata/Numbers.h"
#include "filedata/ValueOutput.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace varnox::hdqio::tests {

/// Writes into a string.
class StringWriter : public FileWriterInterface
{
public:
    explicit StringWriter(bool isAscii) : m_isAscii(isAscii) {}

    std::string bytes;

    char isOpen() const override { return 1; }
    char close(bool) override { return 1; }
    std::uint64_t fileLoc() override { return bytes.size(); }
    char seekToFileStart() override { return 0; }
    char seekToFileLoc(std::uint64_t) override { return 0; }
    char seekToFileEnd() override { return 0; }
    std::string const& fileName() const override { return m_name; }
    void setIsAscii(char isAscii) override { m_isAscii = isAscii; }
    char isAscii() const override { return m_isAscii; }
    void setDataFileType(DataFileType_e) override {}
    DataFileType_e dataFileType() const override { return DataFileType_Full; }
    IOStatistics* statistics() override { return nullptr; }
    char open() override { return 1; }
    std::size_t fwrite(void const* buffer, std::size_t size, std::size_t count) override;
    int fprintf(char const* format, ...) override __attribute__((format(printf, 2, 3)));

private:
    char m_isAscii;
    std::string m_name;
};

/// Appends the blocks of a file one by one. Every function gives the location of its block.
class FileBuilder
{
public:
    /// The version with its letters, such as 105BF.
    explicit FileBuilder(std::string const& version);

    bool isAscii() const { return m_writer.isAscii() != 0; }
    std::uint64_t loc() const { return m_writer.bytes.size(); }

    template <typename T, bool hex = false>
    std::uint64_t array(char const* word, std::vector<T> const& values,
                        std::int64_t index = NO_ARRAY_INDEX)
    {
        std::uint64_t const start = loc();
        writeValueArray<T, hex, 0>(m_writer, word, index, values.size(), values.data(), 6);
        return start;
    }
    template <typename T>
    std::uint64_t value(char const* word, T value)
    {
        return array<T>(word, {value});
    }
    std::uint64_t hexValue(char const* word, std::uint64_t value)
    {
        return array<std::uint64_t, true>(word, {value});
    }
    template <typename T>
    std::uint64_t minMaxes(char const* word, std::vector<MinMax> const& values,
                           std::int64_t index = NO_ARRAY_INDEX)
    {
        std::uint64_t const start = loc();
        writeMinMaxArray<T>(m_writer, word, index, values.size(), values.data(), 6);
        return start;
    }
    /// The bytes behind their word, without a length.
    std::uint64_t string(char const* word, std::string const& text);
    std::uint64_t strings(std::string const& word, std::vector<std::string> const& texts);
    /// A marker, which only text has.
    std::uint64_t marker(char const* word, std::uint32_t value);
    std::uint64_t raw(std::string const& bytes);

    struct Tag
    {
        std::uint16_t number;
        char const* name;
        std::uint64_t value;
    };
    std::uint64_t tagList(std::vector<Tag> const& tags);

    /// The file, with the location of its data set header in place.
    std::string file(std::uint64_t dataSetHeaderFileLoc) const;

private:
    StringWriter m_writer;
    std::size_t m_headerLocPlace;
};

constexpr std::uint64_t ALL_ONES = 0xFFFFFFFFFFFFFFFF;

struct SectionSpec
{
    std::int64_t numElems;
    std::uint8_t cellShape = 4;
    std::uint8_t gridOrder = 1;
    std::uint8_t basisFunc = 0;
};

struct PartitionSpec
{
    std::uint64_t minNode = 0; ///< Of an ordered zone, as the next one.
    std::uint64_t maxNode = 0;
    std::uint64_t numNodes = 0;                ///< Of a volume zone.
    std::vector<std::uint64_t> numCells = {0}; ///< By section.
};

/// What a zone of a file is to be. Numbers count from 0 as in memory.
struct ZoneSpec
{
    char letter = 'O';
    std::uint64_t i = 4;
    std::uint64_t j = 3;
    std::uint64_t k = 2;
    std::string name = "zone";
    std::uint8_t faceNbrMode = 0;
    double solutionTime = 0;
    std::uint32_t strandID = 0;
    std::int32_t parentZone = -1;
    std::int32_t shareConnectivity = -1;
    std::vector<SectionSpec> sections{};
    std::vector<PartitionSpec> partitions{};
    bool hasConnectivity = true;
    std::map<std::uint16_t, std::uint64_t> forcedTags{}; ///< Of its header.
    std::set<std::uint16_t> omittedTags{};
    std::optional<std::uint64_t> forcedHeaderLoc{};
    /// Writes connectivity and partitions, and gives the tags of the zone header that lead to them.
    std::function<std::vector<FileBuilder::Tag>(FileBuilder&)> makeMesh{};
};

struct VarSpec
{
    std::string name = "v";
    std::uint8_t type = 1;
    std::uint8_t location = 1;
    std::uint8_t isPassive = 0;
    std::int32_t shareZone = -1;
    MinMax range{1, 2};
};

/// What a file is to be. Values and connectivity records are left out: the locations of variables
/// lead behind the end.
struct FileSpec
{
    std::string version = "105";
    bool isAscii = false;
    char type = 'F';
    std::vector<ZoneSpec> zones{ZoneSpec{}};
    std::vector<VarSpec> vars{VarSpec{}};
    std::uint64_t limits[4] = {6, 6, 6, 256};
    std::optional<std::string> title{};
    std::map<std::uint16_t, std::uint64_t> forcedTags{}; ///< Of the data set header.
    std::set<std::uint16_t> omittedTags{};
};

std::string build(FileSpec const& spec);

}
