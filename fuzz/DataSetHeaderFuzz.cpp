#include "filedata/DataFileHeader.h"
#include "filedata/DataSetGroups.h"
#include "filedata/DataSetHeader.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"

#include <new>
#include <string>

namespace {

using namespace varnox;
using namespace varnox::hdqio;

template <typename Entry, typename ReadCount, typename Read>
void readGroup(FileReaderInterface& reader, TagMap const& tags, DataSetHeaderTag tag,
               ReadCount const& readCount, Read const& read)
{
    std::uint32_t count = 0;
    LightweightVector<Entry> out;
    if (tags.count(tag) != 0 && readCount(reader, tags, count) && out.alloc(count))
        read(out);
}

void readGroups(FileReaderInterface& reader, TagMap const& tags)
{
    readGroup<AuxData>(reader, tags, AUX_DATA_FILE_LOC_TAG, readAuxDataCount,
                       [&](auto& out) { readAuxData(reader, tags, 0, 0, 0, out); });
    readGroup<Geom>(reader, tags, GEOMETRY_FILE_LOC_TAG, readGeometriesCount,
                    [&](auto& out) { readGeometries(reader, tags, 0, out); });
    readGroup<Text>(reader, tags, TEXT_FILE_LOC_TAG, readTextsCount,
                    [&](auto& out) { readTexts(reader, tags, 0, out); });
    readGroup<CustomLabelSet>(reader, tags, CUSTOM_LABELS_FILE_LOC_TAG, readCustomLabelsCount,
                              [&](auto& out) {
                                  std::uint32_t first = 0;
                                  readCustomLabels(reader, tags, first, out);
                              });
}

void readFile(FileReaderInterface& reader)
{
    FileDescription description;
    std::uint64_t byteOrder = 0;
    std::uint64_t loc = 0;
    TagMap tags;
    if (!readDataFileHeader(reader, description, byteOrder, loc) || !reader.seekToFileLoc(loc) ||
        !readDataSetHeaderTags(reader, description, tags))
        return;
    readGroups(reader, tags);
    int numVars = 0;
    int numZones = 0;
    std::string title;
    ZoneVarMetadata table;
    LightweightVector<std::uint64_t> headerLocs;
    if (!applyDataSetHeaderScalarTagValues(tags, numVars, numZones) ||
        !readDataSetHeader(reader, description, tags, title, table, headerLocs))
        return;
    fuzz::expect(table.numZones == 0 || headerLocs.size() == table.numZones,
                 "not every zone has a header");
    for (std::size_t zone = 0; zone < table.numZones; ++zone)
        table.dimensionsOf(zone);
}

}

// An input is a file. Of its zones nothing is read but what the data set header says.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static fuzz::InputFile file;
    file.set(data, size);
    MessageCapture const quiet;
    FileStreamReader reader(file.path());
    fuzz::expect(reader.open(), "the file can't be opened");
    try {
        readFile(reader);
    } catch (std::bad_alloc const&) {
    }
    return 0;
}
