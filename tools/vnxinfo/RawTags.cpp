#include "tools/vnxinfo/RawTags.h"

#include "addons/hdqfs/FileReading.h"
#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/HeaderArrays.h"
#include "filedata/ValueInput.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>

namespace varnox::tools {

using hdqfsloader::DataFile;
using hdqio::FileStreamReader;
using hdqio::TagNames;

namespace {

constexpr std::uint32_t PARTITION_MARKER = 0x15161718;
constexpr std::uint32_t ZONE_MARKER = 0x02030405;

TagNames const& namesFor(TagOwner owner)
{
    static TagNames const dataSetNames = {
#define TAG(number, constant, name, presence) {std::uint16_t{number}, name},
#include "filedata/DataSetHeaderTags.def"
    };
    return owner == TagOwner::DataSet ? dataSetNames
           : owner == TagOwner::Zone  ? hdqio::zoneTagNames()
                                      : hdqio::partitionTagNames();
}

/// A line of a text file: a word and a hexadecimal number.
std::uint64_t readTextValue(FileStreamReader& reader)
{
    std::array<char, 128> line{};
    std::array<char, 100> word{};
    int wordEnd = 0;
    if (reader.fgets(line.data(), static_cast<int>(line.size())) == nullptr ||
        std::sscanf(line.data(), "%99s%n", word.data(), &wordEnd) != 1)
        throw std::runtime_error("A tag has no value.");
    char const* const number = line.data() + wordEnd;
    char* end = nullptr;
    std::uint64_t const value = std::strtoul(number, &end, 16);
    if (end == number)
        throw std::runtime_error("A tag has no value.");
    return value;
}

std::uint64_t readBinaryValue(FileStreamReader& reader)
{
    std::uint64_t value = 0;
    if (reader.fread(&value, sizeof(value), 1) != 1)
        throw std::runtime_error("The file ends inside a tag list.");
    return value;
}

/// Reads the two markers that text has ahead of a zone's or a partition's list.
bool skipMarkers(FileStreamReader& reader, TagOwner owner, std::uint32_t number)
{
    if (!reader.isAscii() || owner == TagOwner::DataSet)
        return true;
    bool const isZone = owner == TagOwner::Zone;
    return hdqio::readAndVerifyValue<std::uint32_t, false>(
               reader, isZone ? ZONE_MARKER : PARTITION_MARKER,
               {isZone ? "zoneMarker*" : "partitionMarker*"}) &&
           hdqio::readAndVerifyValue<std::uint32_t, false>(reader, number,
                                                           {isZone ? "zoneNum*" : "partitionNum*"});
}

/// Reads the lists of a file, which stays open from one to the next: there may be very many.
class ListReader
{
public:
    explicit ListReader(DataFile const& file) : m_file(file) {}

    std::vector<RawTag> read(std::uint64_t fileLoc, TagOwner owner, std::uint32_t number)
    {
        try {
            if (!m_reader) {
                m_reader.emplace(m_file.path());
                hdqfsloader::open(*m_reader, m_file.description());
            }
            return readRawTags(*m_reader, fileLoc, owner, number);
        } catch (std::runtime_error const&) {
            m_reader.reset(); // whatever state it is in
            throw;
        }
    }

private:
    DataFile const& m_file;
    std::optional<FileStreamReader> m_reader;
};

/// A list, or why it can't be read. What else is wrong goes before the latter.
void describeList(ListReader& lists, std::uint64_t fileLoc, TagOwner owner, std::uint32_t number,
                  std::string error, Report& out)
{
    std::vector<RawTag> tags;
    bool isRead = false;
    try {
        tags = lists.read(fileLoc, owner, number);
        isRead = true;
    } catch (std::runtime_error const& failure) {
        if (error.empty())
            error = failure.what();
    }
    if (!error.empty())
        out.members({{"error", error}});
    if (!isRead)
        return;
    out.beginList("tags", tags.size());
    // One object for all: there may be very many, and to make it takes longer than to write it.
    Json item = {{"tag", 0}, {"name", nullptr}, {"value", 0}, {"at", 0}};
    for (RawTag const& tag : tags) {
        item["tag"] = tag.number;
        item["name"] = tag.name.empty() ? Json() : Json(tag.name);
        item["value"] = tag.value;
        item["at"] = tag.valueLoc;
        out.item(item);
    }
    out.end();
}

std::uint64_t dataSetHeaderLoc(DataFile const& file)
{
    FileStreamReader reader(file.path());
    hdqfsloader::open(reader, file.description());
    hdqio::FileDescription description;
    std::uint64_t byteOrder = 0;
    std::uint64_t result = 0;
    hdqfsloader::require("Cannot read the start of " + file.path(), [&] {
        return hdqio::readDataFileHeader(reader, description, byteOrder, result);
    });
    return result;
}

void describeTagsOf(DataFile& file, ListReader& lists, std::uint32_t z, Report& out)
{
    hdqio::ZoneMetadata const* zone = nullptr;
    std::string error;
    try {
        zone = &file.zone(z);
    } catch (std::runtime_error const& failure) {
        error = failure.what();
    }
    out.beginObject();
    out.members({{"zone", z + 1}, {"at", file.zoneHeaderFileLoc(z)}});
    describeList(lists, file.zoneHeaderFileLoc(z), TagOwner::Zone, z + 1, error, out);
    std::uint32_t const numPartitions =
        zone == nullptr || zone->ptnFileLocs.isNull() ? 0 : zone->numPartitions;
    out.beginList("partitions", numPartitions);
    for (std::uint32_t p = 0; p < numPartitions; ++p) {
        out.beginObject();
        out.members({{"partition", p + 1}, {"at", zone->ptnFileLocs[p]}});
        describeList(lists, zone->ptnFileLocs[p], TagOwner::Partition, p + 1, "", out);
        out.end();
    }
    out.end();
    out.end();
}

}

std::vector<RawTag> readRawTags(FileStreamReader& reader, std::uint64_t fileLoc, TagOwner owner,
                                std::uint32_t number)
{
    std::uint16_t numTags = 0;
    hdqio::LightweightVector<std::uint16_t> numbers;
    hdqfsloader::require("Cannot read the tag list at " + std::to_string(fileLoc), [&] {
        return reader.seekToFileLoc(fileLoc) && skipMarkers(reader, owner, number) &&
               hdqio::readValue<std::uint16_t, false>(reader, numTags, {"numTags"}) &&
               hdqio::readValueArray<std::uint16_t, false, 0>(reader, 0, numTags, numbers,
                                                              {"tags"});
    });
    std::vector<RawTag> result;
    for (std::uint16_t const tag : numbers) {
        auto const name = namesFor(owner).find(tag);
        std::uint64_t const loc = reader.fileLoc();
        std::uint64_t const value =
            reader.isAscii() ? readTextValue(reader) : readBinaryValue(reader);
        result.push_back({tag, name == namesFor(owner).end() ? "" : name->second, value, loc});
    }
    return result;
}

void describeTags(DataFile& file, std::optional<std::uint32_t> onlyZone, Report& out)
{
    std::uint64_t const fileLoc = dataSetHeaderLoc(file);
    ListReader lists(file);
    out.beginObject();
    out.members({{"file", file.path()}});
    out.beginObject("dataSet");
    out.members({{"at", fileLoc}});
    describeList(lists, fileLoc, TagOwner::DataSet, 0, "", out);
    out.end();
    out.beginList("zones", file.numZones());
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        if (!onlyZone || *onlyZone == z)
            describeTagsOf(file, lists, z, out);
    out.end();
    out.end();
}

void TagsReport::takeMembers(Json const& object)
{
    if (object.contains("file"))
        m_output.write(shown(object["file"].get<std::string>()) +
                       "\n          at    tag  name                     value\n");
    if (object.contains("error"))
        m_output.write("  damaged: " + shown(object["error"].get<std::string>()) + "\n");
    if (!object.contains("at"))
        return;
    std::string title = "data set";
    if (object.contains("zone"))
        title = m_zone = "zone " + object["zone"].dump();
    else if (object.contains("partition"))
        title = m_zone + ", partition " + object["partition"].dump();
    m_output.write(title + ", tags at " + object["at"].dump() + "\n");
}

void TagsReport::takeItem(Json const& tag)
{
    std::array<char, 128> line{};
    auto const value = tag["value"].get<std::uint64_t>();
    std::string const name = tag["name"].is_null() ? "unknown" : tag["name"].get<std::string>();
    std::snprintf(line.data(), line.size(), "  %10lu  %5u  %-24s ", tag["at"].get<std::uint64_t>(),
                  tag["tag"].get<unsigned>(), name.c_str());
    m_output.write(
        line.data() +
        (value == hdqio::ABSENT_FILE_LOC ? std::string("absent") : std::to_string(value)) + "\n");
}

}
