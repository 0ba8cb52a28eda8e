#include "addons/hdqfs/AnnotationReader.h"

#include "filedata/DataSetHeader.h"
#include "filedata/FileStreamReader.h"
#include "filedata/HeaderBudget.h"
#include "filedata/Messages.h"
#include "filedata/ZoneHeader.h"

#include <stdexcept>

namespace varnox::hdqfsloader {

using hdqio::FileStreamReader;
using hdqio::LightweightVector;
using hdqio::TagMap;

namespace {

bool isLocation(std::uint64_t value)
{
    return value != 0 && value != hdqio::ABSENT_FILE_LOC;
}

/// A reader of the file's form, open; behind a failure it isn't.
struct OpenReader
{
    explicit OpenReader(DataFile const& file) : reader(file.path())
    {
        isOpen = reader.open() != 0;
        reader.setIsAscii(file.description().isAscii() == 1);
        reader.setDataFileType(file.description().dataFileType());
    }

    FileStreamReader reader;
    bool isOpen;
};

/// Reads one group by its two functions. A file without it has no entries.
template <typename Entry, typename ReadCount, typename ReadEntries>
void readGroup(DataFile const& file, std::uint16_t tag, char const* what,
               ReadCount const& readCount, ReadEntries const& readEntries,
               LightweightVector<Entry>& out, std::vector<std::string>& complaints)
{
    TagMap const& tags = file.tags();
    if (!isLocation(hdqio::valueOrZero(tags, tag)))
        return;
    hdqio::MessageCapture const messages;
    OpenReader opened(file);
    std::uint32_t count = 0;
    if (opened.isOpen && readCount(opened.reader, tags, count) && out.alloc(count) &&
        readEntries(opened.reader, tags))
        return;
    out.dealloc();
    complaints.push_back("The " + std::string(what) + " of " + file.path() +
                         " can't be read and are left out: " +
                         (messages.text().empty() ? "memory is short." : messages.text()));
}

[[noreturn]] void throwUnread(DataFile const& file, std::uint32_t zone,
                              hdqio::MessageCapture const& messages)
{
    throw std::runtime_error("Cannot read the face neighbours of zone " + std::to_string(zone + 1) +
                             " of " + file.path() +
                             (messages.text().empty() ? "." : ": " + messages.text()));
}

/// Where a zone's face neighbours stand, or 0. The messages are those of the reader.
std::uint64_t faceNeighborsLoc(FileStreamReader& reader, DataFile const& file, std::uint32_t zone,
                               hdqio::HeaderBudget& budget, hdqio::MessageCapture const& messages)
{
    std::uint64_t const header = file.zoneHeaderFileLoc(zone);
    if (!isLocation(header))
        return 0;
    TagMap tags;
    if (!reader.seekToFileLoc(header) ||
        !hdqio::readZoneHeaderTags(reader, static_cast<int>(zone), tags))
        throwUnread(file, zone, messages);
    if (!budget.take(reader, hdqio::bytesSince(reader, header)))
        throwUnread(file, zone, messages);
    std::uint64_t const loc = hdqio::valueOrZero(tags, hdqio::USER_FACE_NBR_FILE_LOC_TAG);
    return isLocation(loc) ? loc : 0;
}

}

FileAnnotations readAnnotations(DataFile const& file)
{
    using Reader = hdqio::FileReaderInterface;
    FileAnnotations result;
    readGroup(
        file, hdqio::AUX_DATA_FILE_LOC_TAG, "auxiliary data", hdqio::readAuxDataCount,
        [&](Reader& reader, TagMap const& tags) {
            return hdqio::readAuxData(reader, tags, 0, 0, 0, result.auxData);
        },
        result.auxData, result.complaints);
    readGroup(
        file, hdqio::GEOMETRY_FILE_LOC_TAG, "geometries", hdqio::readGeometriesCount,
        [&](Reader& reader, TagMap const& tags) {
            return hdqio::readGeometries(reader, tags, 0, result.geometries);
        },
        result.geometries, result.complaints);
    readGroup(
        file, hdqio::TEXT_FILE_LOC_TAG, "texts", hdqio::readTextsCount,
        [&](Reader& reader, TagMap const& tags) {
            return hdqio::readTexts(reader, tags, 0, result.texts);
        },
        result.texts, result.complaints);
    readGroup(
        file, hdqio::CUSTOM_LABELS_FILE_LOC_TAG, "custom labels", hdqio::readCustomLabelsCount,
        [&](Reader& reader, TagMap const& tags) {
            std::uint32_t start = 0;
            return hdqio::readCustomLabels(reader, tags, start, result.labelSets);
        },
        result.labelSets, result.complaints);
    return result;
}

std::vector<bool> zonesWithFaceNeighbors(DataFile const& file)
{
    hdqio::MessageCapture const messages;
    std::vector<bool> result(file.numZones());
    OpenReader opened(file);
    hdqio::HeaderBudget budget;
    for (std::uint32_t zone = 0; zone < file.numZones(); ++zone) {
        if (!opened.isOpen)
            throwUnread(file, zone, messages);
        result[zone] = faceNeighborsLoc(opened.reader, file, zone, budget, messages) != 0;
    }
    return result;
}

std::vector<int> readFaceNeighbors(DataFile const& file, std::uint32_t zone)
{
    hdqio::MessageCapture const messages;
    OpenReader opened(file);
    std::uint64_t count = 0;
    LightweightVector<int> neighbors;
    hdqio::HeaderBudget budget;
    std::uint64_t const loc =
        opened.isOpen ? faceNeighborsLoc(opened.reader, file, zone, budget, messages) : 0;
    if (loc == 0 || !opened.reader.seekToFileLoc(loc) ||
        !hdqio::readFaceNeighbors(opened.reader, static_cast<int>(zone), count, neighbors))
        throwUnread(file, zone, messages);
    return {neighbors.begin(), neighbors.end()};
}

}
