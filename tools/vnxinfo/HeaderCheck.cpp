#include "tools/vnxinfo/HeaderCheck.h"

#include "filedata/DataFileHeader.h"
#include "filedata/DataSetGroups.h"
#include "filedata/DataSetHeader.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneTypes.h"
#include "tools/vnxinfo/Access.h"

#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <set>
#include <vector>

namespace varnox::tools {

using hdqio::FileReaderInterface;
using hdqio::TagMap;

namespace {

constexpr std::uint8_t MAX_SHAPE = 6;
constexpr std::uint8_t MAX_FIELD_DATA_TYPE = 6;
constexpr std::uint8_t AUX_DATA_OF_A_VARIABLE = 3;
/// An address has 4 bits for a section.
constexpr std::uint8_t MAX_SECTIONS = 16;

bool isMixed(CheckedFile const& file, std::uint32_t zone)
{
    return hdqio::zoneTypeFromFileChar(file.headers.zoneTypes[zone]) == ZoneType_FEMixed;
}

bool readStart(CheckedFile& file, std::uint64_t& headerLoc)
{
    std::string const reason = whyNotOpened(file.path);
    if (!reason.empty()) {
        file.faults.add({"file"}, "It can't be opened: " + reason + ".");
        return false;
    }
    Place const place{"first line"};
    return file.attempt(place, 0, [&] {
        std::uint64_t byteOrder = 0;
        return file.reader.open() &&
               hdqio::readDataFileHeader(file.reader, file.description, byteOrder, headerLoc);
    });
}

void checkSubzoneLimits(CheckedFile& file, std::uint64_t headerLoc)
{
    hdqio::IJK const limits = file.description.getMaxIJKSubzoneSize();
    if (limits.i < 1 || limits.j < 1 || limits.k < 1 ||
        !hdqio::FileDescription::validIJKSubzoneSize(limits))
        file.faults.add(
            {"data set header"}, headerLoc,
            "An ordered subzone has a side of no length, or may have more than 256 items.");
    // A reader takes 16 bits of this one.
    if (!hdqio::FileDescription::validFESubzoneSize(file.description.getMaxFESubzoneSize()) ||
        file.tags.at(hdqio::SUBZONE_MAX_FE_SIZE_TAG) != file.description.getMaxFESubzoneSize())
        file.faults.add({"data set header"}, headerLoc,
                        "The limit of finite-element subzones isn't from 1 to 256.");
}

/// Tags that lead to arrays of zones or variables, without which these can't be read.
void checkArrayTags(CheckedFile& file, std::uint64_t headerLoc, int numZones, int numVars)
{
    bool const hasSections =
        file.description.getFileVersion() >= hdqio::FIRST_VERSION_WITH_SECTIONS;
    auto const isNeeded = [&](int number) {
        bool const isOfSections = number >= hdqio::ZONE_NUM_SECTIONS_FILE_LOC_TAG &&
                                  number <= hdqio::ZONE_BASIS_FUNC_PER_SEC_FILE_LOC_TAG;
        if (number < hdqio::ZONE_NAME_FILE_LOC_TAG)
            return false;
        if (number >= hdqio::VAR_ZONE_MIN_MAX_FILE_LOC_TAG)
            return numZones > 0 && numVars > 0;
        if (number >= hdqio::VAR_NAME_FILE_LOC_TAG)
            return numVars > 0;
        return numZones > 0 && (!isOfSections || hasSections);
    };
#define TAG(number, constant, name, presence)                                                      \
    if (isNeeded(number) && !isLocation(hdqio::valueOrZero(file.tags, number)))                    \
        file.faults.add({"data set header"}, headerLoc,                                            \
                        std::string("Tag " #number " '") + name + "' leads nowhere.");
#include "filedata/DataSetHeaderTags.def"
}

bool readDataSet(CheckedFile& file, std::uint64_t headerLoc)
{
    Place const place{"data set header"};
    checkTagList(file, place, headerLoc, TagOwner::DataSet, 0);
    int numVars = 0;
    int numZones = 0;
    if (!file.attempt(place, headerLoc, [&] {
            return file.reader.seekToFileLoc(headerLoc) &&
                   hdqio::readDataSetHeaderTags(file.reader, file.description, file.tags) &&
                   hdqio::applyDataSetHeaderScalarTagValues(file.tags, numVars, numZones);
        }))
        return false;
    checkSubzoneLimits(file, headerLoc);
    checkArrayTags(file, headerLoc, numZones, numVars);
    return file.attempt({"arrays of the data set header"}, headerLoc, [&] {
        return hdqio::checkZoneAndVarCounts(file.reader, static_cast<std::uint64_t>(numZones),
                                            static_cast<std::uint64_t>(numVars)) &&
               hdqio::readDataSetHeader(file.reader, file.description, file.tags, file.title,
                                        file.headers, file.zoneHeaderFileLocs);
    });
}

/// The size that stands ahead of an array of strings, against the strings.
void checkNames(CheckedFile& file, hdqio::DataSetHeaderTag tag, char const* word,
                hdqio::LightweightVector<std::string> const& names)
{
    if (names.isNull())
        return;
    std::uint64_t const loc = hdqio::valueOrZero(file.tags, tag);
    hdqio::FileStreamReader& reader = file.reader.file();
    std::uint64_t claimed = 0;
    if (!reader.seekToFileLoc(loc) ||
        !hdqio::readValue<std::uint64_t, false>(reader, claimed,
                                                hdqio::IODescription{word}.withSuffix("TotalSize")))
        return;
    std::uint64_t size = 0;
    for (std::string const& name : names)
        size += name.size() + 1;
    // In text the line feeds may count as well.
    if (claimed != size && !(file.isAscii() && claimed == size + names.size()))
        file.faults.add({word}, loc,
                        "Its total size is " + std::to_string(claimed) + " and its strings have " +
                            std::to_string(size) + " bytes.");
}

void checkSections(CheckedFile& file, std::uint32_t z)
{
    Place const place{"sections", z};
    auto const& headers = file.headers;
    std::size_t const numSections = headers.numSections[z];
    if (numSections == 0 || numSections > MAX_SECTIONS) {
        file.faults.add(place, "A mixed zone has " + std::to_string(numSections) + " sections.");
        return;
    }
    std::int64_t cells = 0;
    for (std::size_t s = 0; s < numSections; ++s) {
        Place section = place;
        section.section = static_cast<std::int64_t>(s);
        if (headers.numElemsPerSection[z][s] < 0 ||
            __builtin_add_overflow(cells, headers.numElemsPerSection[z][s], &cells))
            file.faults.add(section, "It has an impossible number of cells.");
        if (headers.cellShapePerSection[z][s] > MAX_SHAPE)
            file.faults.add(section, "Its cells have the unknown shape " +
                                         std::to_string(headers.cellShapePerSection[z][s]) + ".");
        if (headers.gridOrderPerSection[z][s] == 0)
            file.faults.add(section, "Its grid order is 0.");
    }
    if (cells != static_cast<std::int64_t>(headers.jMaxOrNumCells[z]))
        file.faults.add(place, "They have " + std::to_string(cells) + " cells together, the zone " +
                                   std::to_string(headers.jMaxOrNumCells[z]) + ".");
}

/// A reference to another zone: -1, or a zone that isn't this one.
void checkZoneReference(CheckedFile& file, Place const& place, std::uint32_t z, std::int32_t other)
{
    if (other < -1 || other >= static_cast<std::int64_t>(file.numZones()))
        file.faults.add(place, "It refers to zone index " + std::to_string(other) + " of " +
                                   std::to_string(file.numZones()) + ".");
    else if (other == static_cast<std::int32_t>(z))
        file.faults.add(place, "It refers to its own zone.");
}

/// Where references from zone to zone end, of each zone: -1 where they don't. next is -1 for a zone
/// that refers to none. Each zone is passed once, however long the chains are.
std::vector<std::int32_t> endsOf(hdqio::PlainDataVector<std::int32_t> const& next,
                                 std::uint32_t numZones)
{
    constexpr std::int32_t ENDLESS = -1;
    constexpr std::int32_t UNKNOWN = -2;
    std::vector<std::int32_t> result(numZones, UNKNOWN);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t z = 0; z < numZones; ++z) {
        chain.clear();
        std::int32_t at = static_cast<std::int32_t>(z);
        std::int32_t end = UNKNOWN;
        while (end == UNKNOWN) {
            auto const zone = static_cast<std::uint32_t>(at);
            if (at < 0 || zone >= numZones) {
                end = ENDLESS;
            } else if (result[zone] != UNKNOWN) {
                end = result[zone];
            } else {
                chain.push_back(zone);
                result[zone] = ENDLESS; // if the chain comes back to it
                if (next[zone] == -1)
                    end = at;
                at = next[zone];
            }
        }
        for (std::uint32_t const link : chain)
            result[link] = end;
    }
    return result;
}

/// Of all zones.
struct ZoneEnds
{
    explicit ZoneEnds(CheckedFile const& file)
        : parents(endsOf(file.headers.parentZones, file.numZones())),
          connectivity(endsOf(file.headers.shareConnectivity, file.numZones()))
    {
    }

    std::vector<std::int32_t> parents;
    std::vector<std::int32_t> connectivity;
};

void checkZoneEntries(CheckedFile& file, std::uint32_t z, ZoneEnds const& ends)
{
    Place const place{"zone entry of the data set header", z};
    auto const& headers = file.headers;
    char const letter = headers.zoneTypes[z];
    if (std::strchr("orqtblgpm", std::tolower(static_cast<unsigned char>(letter))) == nullptr ||
        letter == '\0')
        file.faults.add(place, "Its type letter is none that is known.");
    if (!isLocation(file.zoneHeaderFileLocs[z]))
        file.faults.add(place, "It has no header.");
    if (!std::isfinite(headers.solutionTimes[z]))
        file.faults.add(place, "Its solution time is no finite number.");
    checkZoneReference(file, {"parent zone", z}, z, headers.parentZones[z]);
    checkZoneReference(file, {"shared connectivity", z}, z, headers.shareConnectivity[z]);
    if (ends.parents[z] == -1 || ends.connectivity[z] == -1)
        file.faults.add(place,
                        "Its parents, or the zones whose connectivity it shares, don't end.");
    if (isMixed(file, z))
        checkSections(file, z);
}

/// Values that a variable has in a zone, by its entries of the data set header.
std::array<std::uint64_t, 4> itemsOf(CheckedFile const& file, std::uint32_t z, std::uint32_t v)
{
    auto const& headers = file.headers;
    bool const isOrdered = hdqio::zoneTypeFromFileChar(headers.zoneTypes[z]) == ZoneType_Ordered;
    std::uint64_t const nodal = file.isNodal(z, v);
    if (isOrdered)
        return {nodal, headers.iMaxOrNumNodes[z], headers.jMaxOrNumCells[z],
                headers.kMaxOrNumFaces[z]};
    return {nodal, nodal != 0 ? headers.iMaxOrNumNodes[z] : headers.jMaxOrNumCells[z], 0, 0};
}

void checkSharedVariable(CheckedFile& file, Place const& place, std::uint32_t z, std::uint32_t v,
                         std::int32_t end)
{
    auto const& headers = file.headers;
    checkZoneReference(file, place, z, headers.shareVar[v][z]);
    if (end == -1) {
        file.faults.add(place, "The zones that share it don't end.");
        return;
    }
    auto const source = static_cast<std::uint32_t>(end);
    if (source == z)
        return;
    if (headers.fieldDataTypes[v][z] != headers.fieldDataTypes[v][source] ||
        itemsOf(file, z, v) != itemsOf(file, source, v))
        file.faults.add(place, "Its type or its number of values differs from those of zone " +
                                   std::to_string(source + 1) + ", from which it is shared.");
    hdqio::MinMax const& own = headers.zoneMinMaxes[v][z];
    hdqio::MinMax const& shared = headers.zoneMinMaxes[v][source];
    if (own.min != shared.min || own.max != shared.max)
        file.faults.add(place, "Its range differs from that of zone " + std::to_string(source + 1) +
                                   ", from which it is shared.");
}

/// end is the zone whose values they are, or -1.
void checkVarEntries(CheckedFile& file, std::uint32_t z, std::uint32_t v, std::int32_t end)
{
    Place const place{"variable entry of the data set header", z, -1, v};
    auto const& headers = file.headers;
    std::uint8_t const type = headers.fieldDataTypes[v][z];
    if (type == 0 || type > MAX_FIELD_DATA_TYPE)
        file.faults.add(place, "Its type " + std::to_string(type) + " is none that is known.");
    if (headers.valueLocations[v][z] > 1)
        file.faults.add(place, "Its value location is neither 0, cells, nor 1, nodes.");
    if (headers.passive[v][z] > 1)
        file.faults.add(place, "Its passive flag is neither 0 nor 1.");
    if (headers.shareVar[v][z] != -1)
        checkSharedVariable(file, place, z, v, end);
    hdqio::MinMax const& range = headers.zoneMinMaxes[v][z];
    if (headers.passive[v][z] != 0 && (range.min != 0 || range.max != 0))
        file.faults.add(place, "It is passive, and its range isn't 0 to 0.");
}

void checkEntries(CheckedFile& file)
{
    ZoneEnds const ends(file);
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        checkZoneEntries(file, z, ends);
    if (file.numZones() == 0)
        return;
    for (std::uint32_t v = 0; v < file.numVars(); ++v) {
        std::vector<std::int32_t> const endsOfVar =
            endsOf(file.headers.shareVar[v], file.numZones());
        for (std::uint32_t z = 0; z < file.numZones(); ++z)
            checkVarEntries(file, z, v, endsOfVar[z]);
    }
}

/// Reads one group by its two functions, if the file has it.
template <typename Entry, typename ReadCount, typename ReadEntries, typename CheckEntry>
void checkGroup(CheckedFile& file, char const* what, std::uint16_t tag, ReadCount const& readCount,
                ReadEntries const& readEntries, CheckEntry const& checkEntry)
{
    std::uint64_t const loc = hdqio::valueOrZero(file.tags, tag);
    if (!isLocation(loc))
        return;
    hdqio::LightweightVector<Entry> entries;
    // The count is read by itself first, so that it is watched but once.
    std::uint32_t count = 0;
    if (!file.attempt({what}, loc, [&] {
            file.reader.unwatch();
            return readCount(file.reader, file.tags, count) && entries.alloc(count);
        }))
        return;
    if (file.attempt({what}, loc, [&] { return readEntries(file.reader, file.tags, entries); }))
        for (Entry const& entry : entries)
            checkEntry(entry);
}

void checkGroups(CheckedFile& file)
{
    using Reader = FileReaderInterface;
    checkGroup<hdqio::AuxData>(
        file, "auxiliary data", hdqio::AUX_DATA_FILE_LOC_TAG, hdqio::readAuxDataCount,
        [](Reader& reader, TagMap const& tags, auto& out) {
            return hdqio::readAuxData(reader, tags, 0, 0, 0, out);
        },
        [&](hdqio::AuxData const& aux) {
            if (aux.auxDataLocation == AUX_DATA_OF_A_VARIABLE &&
                aux.auxDataEntity >= file.numVars())
                file.faults.add({"auxiliary data"}, "They refer to variable index " +
                                                        std::to_string(aux.auxDataEntity) + ".");
        });
    checkGroup<hdqio::Geom>(
        file, "geometries", hdqio::GEOMETRY_FILE_LOC_TAG, hdqio::readGeometriesCount,
        [](Reader& reader, TagMap const& tags, auto& out) {
            return hdqio::readGeometries(reader, tags, 0, out);
        },
        [](hdqio::Geom const&) {});
    checkGroup<hdqio::Text>(
        file, "texts", hdqio::TEXT_FILE_LOC_TAG, hdqio::readTextsCount,
        [](Reader& reader, TagMap const& tags, auto& out) {
            return hdqio::readTexts(reader, tags, 0, out);
        },
        [](hdqio::Text const&) {});
    checkGroup<hdqio::CustomLabelSet>(
        file, "custom labels", hdqio::CUSTOM_LABELS_FILE_LOC_TAG, hdqio::readCustomLabelsCount,
        [](Reader& reader, TagMap const& tags, auto& out) {
            std::uint32_t start = 0;
            return hdqio::readCustomLabels(reader, tags, start, out);
        },
        [](hdqio::CustomLabelSet const&) {});
}

}

void checkTagList(CheckedFile& file, Place const& place, std::uint64_t fileLoc, TagOwner owner,
                  std::uint32_t number)
{
    std::vector<RawTag> tags;
    if (!file.attempt(place, fileLoc, [&] {
            file.reader.unwatch();
            tags = readRawTags(file.reader.file(), fileLoc, owner, number);
            return true;
        }))
        return;
    std::set<std::uint16_t> seen;
    for (RawTag const& tag : tags) {
        if (tag.name.empty())
            file.faults.add(place, tag.valueLoc,
                            "Tag " + std::to_string(tag.number) + " is unknown.");
        if (!seen.insert(tag.number).second)
            file.faults.add(place, tag.valueLoc,
                            "Tag " + std::to_string(tag.number) + " occurs twice.");
    }
}

bool checkHeaders(CheckedFile& file)
{
    std::uint64_t headerLoc = 0;
    if (!readStart(file, headerLoc))
        return false;
    file.reader.seekToFileEnd();
    file.numBytes = file.reader.fileLoc();
    if (!readDataSet(file, headerLoc))
        return false;
    checkNames(file, hdqio::VAR_NAME_FILE_LOC_TAG, "varNamesArray", file.headers.varNames);
    checkNames(file, hdqio::ZONE_NAME_FILE_LOC_TAG, "zoneNamesArray", file.headers.zoneNames);
    std::uint64_t const before = file.faults.count();
    checkEntries(file);
    checkGroups(file);
    return file.faults.count() == before;
}

}
