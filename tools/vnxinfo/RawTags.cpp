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

Json listOf(std::vector<RawTag> const& tags)
{
    Json result = Json::array();
    for (RawTag const& tag : tags)
        result.push_back({{"tag", tag.number},
                          {"name", tag.name.empty() ? Json() : Json(tag.name)},
                          {"value", tag.value},
                          {"at", tag.valueLoc}});
    return result;
}

Json listAt(DataFile const& file, std::uint64_t fileLoc, TagOwner owner, std::uint32_t number)
{
    Json result = {{"at", fileLoc}};
    try {
        FileStreamReader reader(file.path());
        hdqfsloader::open(reader, file.description());
        result["tags"] = listOf(readRawTags(reader, fileLoc, owner, number));
    } catch (std::exception const& error) {
        result["error"] = error.what();
    }
    return result;
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

Json zoneLists(DataFile& file, std::uint32_t z)
{
    Json result = listAt(file, file.zoneHeaderFileLoc(z), TagOwner::Zone, z + 1);
    Json zone = {{"zone", z + 1}};
    zone.update(result);
    Json partitions = Json::array();
    try {
        hdqio::ZoneMetadata const& metadata = file.zone(z);
        for (std::uint32_t p = 0; !metadata.ptnFileLocs.isNull() && p < metadata.numPartitions;
             ++p) {
            Json partition = {{"partition", p + 1}};
            partition.update(listAt(file, metadata.ptnFileLocs[p], TagOwner::Partition, p + 1));
            partitions.push_back(partition);
        }
    } catch (std::exception const& error) {
        zone["error"] = error.what();
    }
    zone["partitions"] = partitions;
    return zone;
}

void writeList(std::string const& title, Json const& list, Output& output)
{
    output.write(title + ", tags at " + list["at"].dump() + "\n");
    if (list.contains("error"))
        output.write("  damaged: " + shown(list["error"].get<std::string>()) + "\n");
    if (!list.contains("tags"))
        return;
    for (Json const& tag : list["tags"]) {
        std::array<char, 128> line{};
        auto const value = tag["value"].get<std::uint64_t>();
        std::string const name = tag["name"].is_null() ? "unknown" : tag["name"].get<std::string>();
        std::snprintf(line.data(), line.size(), "  %10lu  %5u  %-24s ",
                      tag["at"].get<std::uint64_t>(), tag["tag"].get<unsigned>(), name.c_str());
        output.write(
            line.data() +
            (value == hdqio::ABSENT_FILE_LOC ? std::string("absent") : std::to_string(value)) +
            "\n");
    }
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

Json describeTags(DataFile& file, std::optional<std::uint32_t> onlyZone)
{
    Json result = {{"file", file.path()}};
    result["dataSet"] = listAt(file, dataSetHeaderLoc(file), TagOwner::DataSet, 0);
    Json zones = Json::array();
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        if (!onlyZone || *onlyZone == z)
            zones.push_back(zoneLists(file, z));
    result["zones"] = zones;
    return result;
}

void writeTags(Json const& file, Output& output)
{
    output.write(shown(file["file"].get<std::string>()) + "\n");
    output.write("          at    tag  name                     value\n");
    writeList("data set", file["dataSet"], output);
    for (Json const& zone : file["zones"]) {
        writeList("zone " + zone["zone"].dump(), zone, output);
        for (Json const& partition : zone["partitions"])
            writeList("zone " + zone["zone"].dump() + ", partition " +
                          partition["partition"].dump(),
                      partition, output);
    }
}

}
