#include "filedata/DataSetHeader.h"

#include "filedata/Messages.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneTypes.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>
#include <new>

namespace varnox::hdqio {

namespace {

constexpr TagInfo dataSetHeaderTags[] = {
#define TAG(number, constant, name, presence) {number, name, TagPresence::presence},
#include "filedata/DataSetHeaderTags.def"
};

template <std::size_t N>
constexpr bool isStrictlyAscending(TagInfo const (&tags)[N])
{
    for (std::size_t i = 1; i < N; ++i)
        if (tags[i - 1].number >= tags[i].number)
            return false;
    return true;
}

static_assert(isStrictlyAscending(dataSetHeaderTags), "a tag twice or out of order");

TagNames const& tagNames()
{
    static TagNames const names = [] {
        TagNames result;
        for (TagInfo const& tag : dataSetHeaderTags)
            result[tag.number] = tag.name;
        return result;
    }();
    return names;
}

char checkRequiredTags(FileDescription const& description, TagMap const& tags)
{
    if (description.getFileVersion() >= FIRST_VERSION_WITH_SECTIONS)
        return 1;
    for (TagInfo const& tag : dataSetHeaderTags)
        if (tag.presence == TagPresence::RequiredBefore106 && !tags.contains(tag.number))
            return errorMessage("Missing required %s header tag %lu, '%s'.", "file",
                                std::uint64_t{tag.number}, tag.name);
    return 1;
}

template <typename T>
char retrieveRequiredNonZeroValue(TagMap const& tags, DataSetHeaderTag tag, T& out)
{
    char const* const name = tagNames().at(tag);
    auto const found = tags.find(tag);
    if (found == tags.end())
        return errorMessage("Missing value for '%s' while reading file header.", name);
    out = static_cast<T>(found->second);
    return out != 0 || errorMessage("Invalid value (0) for '%s' while reading file header.", name);
}

/// A limit is used as 16 bits, by which sizes are divided.
char checkSubzoneLimit(DataSetHeaderTag tag, std::int64_t limit)
{
    return (limit & 0xFFFF) != 0 ||
           errorMessage("Invalid value (%ld) for '%s' while reading file header.", limit,
                        tagNames().at(tag));
}

/// The least that the arrays of a header take: per zone, from its name to its shared connectivity,
/// and per variable and zone, from the type to the shared zone. In text a value takes two bytes.
constexpr std::uint64_t BINARY_ZONE_BYTES = 1 + 1 + 8 + 1 + 8 + 4 + 4 + 3 * 8 + 4;
constexpr std::uint64_t BINARY_VAR_ZONE_BYTES = 1 + 2 * 4 + 1 + 1 + 4;
constexpr std::uint64_t TEXT_ZONE_BYTES = std::uint64_t{11} * 2;
constexpr std::uint64_t TEXT_VAR_ZONE_BYTES = std::uint64_t{6} * 2;

/// Up to these the tables stay small, and a file may let arrays lie on each other.
constexpr std::uint64_t FEW_ZONES = 2048;
constexpr std::uint64_t FEW_VALUES = 65536;

/// Each variable has arrays and a name of its own, whatever the number of zones is.
constexpr std::uint64_t MANY_VARS = 100'000;
constexpr std::uint64_t BYTES_OF_EACH_OF_MANY_VARS = 256;

bool canHoldVars(std::uint64_t fileSize, std::uint64_t numVars)
{
    return numVars <= MANY_VARS || numVars <= fileSize / BYTES_OF_EACH_OF_MANY_VARS;
}

char refuseCounts(std::uint64_t numZones, std::uint64_t numVars)
{
    return errorMessage("The file is too short for the %lu zones and %lu variables it claims.",
                        numZones, numVars);
}

/// Where one of the arrays of a tag begins.
char seekToTag(FileReaderInterface& reader, TagMap const& tags, DataSetHeaderTag tag)
{
    return reader.seekToFileLoc(valueOrZero(tags, tag));
}

template <typename T, typename Vector>
char readZoneArray(FileReaderInterface& reader, TagMap const& tags, DataSetHeaderTag tag,
                   std::uint64_t numZones, Vector& out, char const* word)
{
    return seekToTag(reader, tags, tag) &&
           readValueArray<T, false, 0>(reader, 0, numZones, out, {word});
}

/// One array per variable, all following each other at the tag's location.
template <typename T, typename Vectors>
char readVarArrays(FileReaderInterface& reader, TagMap const& tags, DataSetHeaderTag tag,
                   ZoneVarMetadata const& metadata, Vectors& out, char const* word)
{
    if (!out.alloc(metadata.numVars))
        throw std::bad_alloc();
    if (!seekToTag(reader, tags, tag))
        return 0;
    for (std::size_t v = 0; v < metadata.numVars; ++v)
        if (!readValueArray<T, false, 0>(reader, 0, metadata.numZones, out[v],
                                         {word, static_cast<std::int32_t>(v)}))
            return 0;
    return 1;
}

/// One array per zone that has sections, all following each other at the tag's location.
template <typename T, typename Vectors>
char readZoneSecTaggedArray(FileReaderInterface& reader, TagMap const& tags, DataSetHeaderTag tag,
                            ZoneVarMetadata const& metadata, Vectors& out, char const* word)
{
    if (!seekToTag(reader, tags, tag))
        return 0;
    for (std::size_t z = 0; z < metadata.numZones; ++z)
        if (metadata.numSections[z] != 0 &&
            !readValueArray<T, false, 0>(reader, 0, metadata.numSections[z], out[z], {word}))
            return 0;
    return 1;
}

/// Element counts of 32 bits, widened.
char readNarrowElemCounts(FileReaderInterface& reader, TagMap const& tags,
                          ZoneVarMetadata& metadata)
{
    LightweightVector<PlainDataVector<std::uint32_t>> narrow;
    if (!narrow.alloc(metadata.numZones))
        throw std::bad_alloc();
    if (!readZoneSecTaggedArray<std::uint32_t>(reader, tags, ZONE_NUM_ELEMS_PER_SEC_FILE_LOC_TAG,
                                               metadata, narrow, "zoneNumElemsPerSecArray"))
        return 0;
    for (std::size_t z = 0; z < metadata.numZones; ++z) {
        if (!metadata.numElemsPerSection[z].alloc(metadata.numSections[z]))
            throw std::bad_alloc();
        std::copy_n(narrow[z].data(), metadata.numSections[z],
                    metadata.numElemsPerSection[z].data());
    }
    return 1;
}

void allocSectionLists(ZoneVarMetadata& metadata)
{
    if (!metadata.numElemsPerSection.alloc(metadata.numZones) ||
        !metadata.cellShapePerSection.alloc(metadata.numZones) ||
        !metadata.gridOrderPerSection.alloc(metadata.numZones) ||
        !metadata.basisFuncPerSection.alloc(metadata.numZones))
        throw std::bad_alloc();
}

char readSections(FileReaderInterface& reader, FileDescription const& description,
                  TagMap const& tags, ZoneVarMetadata& metadata)
{
    if (!readZoneArray<std::uint8_t>(reader, tags, ZONE_NUM_SECTIONS_FILE_LOC_TAG,
                                     metadata.numZones, metadata.numSections,
                                     "zoneNumSectionsArray"))
        return 0;
    allocSectionLists(metadata);
    char const haveElemCounts =
        description.getFileVersion() < FIRST_VERSION_WITH_64_BIT_COUNTS
            ? readNarrowElemCounts(reader, tags, metadata)
            : readZoneSecTaggedArray<std::int64_t>(
                  reader, tags, ZONE_NUM_ELEMS_PER_SEC_FILE_LOC_TAG, metadata,
                  metadata.numElemsPerSection, "zoneNumElemsPerSecArray");
    return haveElemCounts &&
           readZoneSecTaggedArray<std::uint8_t>(reader, tags, ZONE_CELL_SHAPE_PER_SEC_FILE_LOC_TAG,
                                                metadata, metadata.cellShapePerSection,
                                                "zoneCellShapePerSecArray") &&
           readZoneSecTaggedArray<std::uint8_t>(reader, tags, ZONE_GRID_ORDER_PER_SEC_FILE_LOC_TAG,
                                                metadata, metadata.gridOrderPerSection,
                                                "zoneGridOrderPerSecArray") &&
           readZoneSecTaggedArray<std::uint8_t>(reader, tags, ZONE_BASIS_FUNC_PER_SEC_FILE_LOC_TAG,
                                                metadata, metadata.basisFuncPerSection,
                                                "zoneCellBasisFuncPerSecArray");
}

void createEmptySections(ZoneVarMetadata& metadata)
{
    if (!metadata.numSections.isNull())
        return;
    if (!metadata.numSections.allocFilled(metadata.numZones, 0))
        throw std::bad_alloc();
    allocSectionLists(metadata);
}

/// The names, types and shapes of the zones.
char readZoneArrays(FileReaderInterface& reader, TagMap const& tags, ZoneVarMetadata& m)
{
    std::uint64_t const n = m.numZones;
    return seekToTag(reader, tags, ZONE_NAME_FILE_LOC_TAG) &&
           readStringArray(reader, 0, n, m.zoneNames, {"zoneNamesArray"}) &&
           readZoneArray<char>(reader, tags, ZONE_TYPE_FILE_LOC_TAG, n, m.zoneTypes,
                               "zoneTypesArray") &&
           readZoneArray<std::uint8_t>(reader, tags, ZONE_FACE_NEIGHBOR_MODE_FILE_LOC_TAG, n,
                                       m.faceNbrModes, "zoneFaceNbrModesArray") &&
           readZoneArray<double>(reader, tags, ZONE_SOLUTION_TIME_FILE_LOC_TAG, n, m.solutionTimes,
                                 "zoneSolutionTimesArray") &&
           readZoneArray<std::uint32_t>(reader, tags, ZONE_STRAND_ID_FILE_LOC_TAG, n, m.strandIDs,
                                        "zoneStrandIDsArray") &&
           readZoneArray<std::int32_t>(reader, tags, ZONE_PARENT_ZONE_FILE_LOC_TAG, n,
                                       m.parentZones, "zoneParentZonesArray") &&
           readZoneArray<std::uint64_t>(reader, tags, ZONE_IMAX_OR_NUM_NODES_FILE_LOC_TAG, n,
                                        m.iMaxOrNumNodes, "zoneIMaxOrNumNodesArray") &&
           readZoneArray<std::uint64_t>(reader, tags, ZONE_JMAX_OR_NUM_CELLS_FILE_LOC_TAG, n,
                                        m.jMaxOrNumCells, "zoneJMaxOrNumCellsArray") &&
           readZoneArray<std::uint64_t>(reader, tags, ZONE_KMAX_OR_NUM_CORNERS_FILE_LOC_TAG, n,
                                        m.kMaxOrNumFaces, "zoneKMaxOrNumFacesArray") &&
           readZoneArray<std::int32_t>(reader, tags, ZONE_SHARE_CONNECTIVITY_FILE_LOC_TAG, n,
                                       m.shareConnectivity, "zoneShareConnectivityArray");
}

char readZoneHeaderFileLocs(FileReaderInterface& reader, TagMap const& tags, std::uint64_t numZones,
                            LightweightVector<std::uint64_t>& locs)
{
    if (valueOrZero(tags, ZONE_HEADER_FILE_LOC_TAG) == 0)
        return errorMessage("File does not contain zone header file locations.");
    if (!seekToTag(reader, tags, ZONE_HEADER_FILE_LOC_TAG) ||
        !readValueArray<std::uint64_t, true, 0>(reader, 0, numZones, locs,
                                                {"zoneHeaderFileLocsArray"}))
        return 0;
    // Deliberate: only three entries are looked at.
    // Test: DataSetHeader.SpotCheckPassesAZeroBetweenItsThreeEntries
    for (std::uint64_t const zone : {std::uint64_t{0}, numZones / 2, numZones - 1})
        if (locs[zone] == 0 || locs[zone] == ABSENT_FILE_LOC)
            return errorMessage("This file has invalid zone file locations.");
    return 1;
}

char readZoneMinMaxes(FileReaderInterface& reader, TagMap const& tags, ZoneVarMetadata& metadata)
{
    // One wide variable widens the ranges of the whole file.
    bool isWide = false;
    for (auto const& types : metadata.fieldDataTypes)
        isWide = isWide || std::any_of(types.begin(), types.end(), [](std::uint8_t type) {
                     return type == FieldDataType_Double || type == FieldDataType_Int32;
                 });
    if (!metadata.zoneMinMaxes.alloc(metadata.numVars))
        throw std::bad_alloc();
    if (!seekToTag(reader, tags, VAR_ZONE_MIN_MAX_FILE_LOC_TAG))
        return 0;
    for (std::size_t v = 0; v < metadata.numVars; ++v) {
        IODescription const description{"zoneMinMaxes", static_cast<std::int32_t>(v)};
        if (!(isWide ? readMinMaxArray<double>(reader, 0, metadata.numZones,
                                               metadata.zoneMinMaxes[v], description)
                     : readMinMaxArray<float>(reader, 0, metadata.numZones,
                                              metadata.zoneMinMaxes[v], description)))
            return 0;
    }
    return 1;
}

void deriveNumDimensions(ZoneVarMetadata& metadata)
{
    for (std::size_t z = 0; z < metadata.numZones; ++z)
        metadata.numDimensions[z] = metadata.dimensionsOf(z);
}

char readVarNames(FileReaderInterface& reader, TagMap const& tags, std::uint64_t startVar,
                  LightweightVector<std::string>& varNames)
{
    std::uint64_t const numVars = valueOrZero(tags, NUM_VARS_TAG);
    if (numVars == 0)
        return 1;
    if (valueOrZero(tags, VAR_NAME_FILE_LOC_TAG) == 0)
        return errorMessage("Missing file header tag %lu '%s'.",
                            std::uint64_t{VAR_NAME_FILE_LOC_TAG},
                            tagNames().at(VAR_NAME_FILE_LOC_TAG));
    return seekToTag(reader, tags, VAR_NAME_FILE_LOC_TAG) &&
           readStringArray(reader, startVar, numVars, varNames, {"varNamesArray"});
}

/// The names of variables are read ahead of all else. Those of more than the file has bytes are
/// refused there.
char checkVarCount(FileReaderInterface& reader, std::uint64_t numZones, std::uint64_t numVars)
{
    if (!reader.seekToFileStart())
        return errorMessage("Can't read HDQFS file.");
    std::uint64_t const fileSize = bytesLeft(reader);
    return numVars > fileSize || canHoldVars(fileSize, numVars) || refuseCounts(numZones, numVars);
}

char readZonesAndVars(FileReaderInterface& reader, FileDescription const& description,
                      TagMap const& tags, ZoneVarMetadata& metadata,
                      LightweightVector<std::uint64_t>& zoneHeaderFileLocs)
{
    if (!checkZoneAndVarCounts(reader, metadata.numZones, metadata.numVars))
        return 0;
    bool const haveZones =
        readZoneHeaderFileLocs(reader, tags, metadata.numZones, zoneHeaderFileLocs) &&
        readZoneArrays(reader, tags, metadata);
    if (!haveZones || description.getFileVersion() < FIRST_VERSION_WITH_SECTIONS)
        createEmptySections(metadata);
    else if (!readSections(reader, description, tags, metadata))
        return 0;
    if (!haveZones)
        return 0;
    if (!metadata.numDimensions.allocFilled(metadata.numZones, 0))
        throw std::bad_alloc();
    if (metadata.numVars == 0)
        return 1;
    deriveNumDimensions(metadata);
    return readVarArrays<std::uint8_t>(reader, tags, VAR_ZONE_FIELD_DATA_TYPE_FILE_LOC_TAG,
                                       metadata, metadata.fieldDataTypes, "fieldDataTypes") &&
           readZoneMinMaxes(reader, tags, metadata) &&
           readVarArrays<std::uint8_t>(reader, tags, VAR_ZONE_VALUE_LOCATION_FILE_LOC_TAG, metadata,
                                       metadata.valueLocations, "valueLocations") &&
           readVarArrays<std::uint8_t>(reader, tags, VAR_ZONE_IS_PASSIVE_FILE_LOC_TAG, metadata,
                                       metadata.passive, "passiveVar") &&
           readVarArrays<std::int32_t>(reader, tags, VAR_ZONE_SHARE_FILE_LOC_TAG, metadata,
                                       metadata.shareVar, "shareVar");
}

}

char readDataSetHeaderTags(FileReaderInterface& reader, FileDescription& description, TagMap& tags)
{
    if (!readTagList(reader, tagNames(), tags) || !checkRequiredTags(description, tags))
        return 0;
    std::int64_t i = 0;
    std::int64_t j = 0;
    std::int64_t k = 0;
    std::uint16_t fe = 0;
    if (!retrieveRequiredNonZeroValue(tags, SUBZONE_MAX_I_SIZE_TAG, i) ||
        !retrieveRequiredNonZeroValue(tags, SUBZONE_MAX_J_SIZE_TAG, j) ||
        !retrieveRequiredNonZeroValue(tags, SUBZONE_MAX_K_SIZE_TAG, k) ||
        !retrieveRequiredNonZeroValue(tags, SUBZONE_MAX_FE_SIZE_TAG, fe) ||
        !checkSubzoneLimit(SUBZONE_MAX_I_SIZE_TAG, i) ||
        !checkSubzoneLimit(SUBZONE_MAX_J_SIZE_TAG, j) ||
        !checkSubzoneLimit(SUBZONE_MAX_K_SIZE_TAG, k))
        return 0;
    std::int64_t ij = 0;
    if (__builtin_mul_overflow(i, j, &ij))
        return errorMessage("Invalid values for '%s' and '%s' while reading file header.",
                            tagNames().at(SUBZONE_MAX_I_SIZE_TAG),
                            tagNames().at(SUBZONE_MAX_J_SIZE_TAG));
    description.setMaxIJKSubzoneSize({i, j, k, ij});
    description.setMaxFESubzoneSize(fe);
    return 1;
}

char applyDataSetHeaderScalarTagValues(TagMap const& tags, int& numVars, int& numZones)
{
    for (DataSetHeaderTag const tag : {NUM_VARS_TAG, NUM_ZONES_TAG})
        if (!tags.contains(tag))
            return errorMessage("Missing value for '%s' while reading file header.",
                                tagNames().at(tag));
    numVars = static_cast<int>(tags.at(NUM_VARS_TAG));
    numZones = static_cast<int>(tags.at(NUM_ZONES_TAG));
    if (numVars == 0x7FFFFFFF)
        return errorMessage("File exceeds HDQ variable limit");
    if (numZones == 0x7FFFFFFF)
        return errorMessage("File exceeds HDQ zone limit");
    if (numVars < 0 || numZones < 0 ||
        tags.at(NUM_VARS_TAG) != static_cast<std::uint64_t>(numVars) ||
        tags.at(NUM_ZONES_TAG) != static_cast<std::uint64_t>(numZones))
        return errorMessage("The file claims %lu zones and %lu variables, more than there can be.",
                            tags.at(NUM_ZONES_TAG), tags.at(NUM_VARS_TAG));
    return 1;
}

char checkZoneAndVarCounts(FileReaderInterface& reader, std::uint64_t numZones,
                           std::uint64_t numVars)
{
    std::uint64_t const zoneBytes = reader.isAscii() ? TEXT_ZONE_BYTES : BINARY_ZONE_BYTES;
    std::uint64_t const varZoneBytes =
        reader.isAscii() ? TEXT_VAR_ZONE_BYTES : BINARY_VAR_ZONE_BYTES;
    if (!reader.seekToFileStart())
        return errorMessage("Can't read HDQFS file.");
    std::uint64_t const fileSize = bytesLeft(reader);
    bool const fits = numZones <= fileSize && numVars <= fileSize &&
                      canHoldVars(fileSize, numVars) &&
                      (numZones <= FEW_ZONES || numZones <= fileSize / zoneBytes) &&
                      (numZones == 0 || numVars <= FEW_VALUES / numZones ||
                       numVars <= fileSize / varZoneBytes / numZones);
    return fits || refuseCounts(numZones, numVars);
}

char readDatasetTitle(FileReaderInterface& reader, TagMap const& tags, std::string& title)
{
    title.clear();
    auto const loc = tags.find(DATA_SET_TITLE_TAG);
    if (loc == tags.end())
        return 1;
    std::uint32_t length = 0;
    if (!reader.seekToFileLoc(loc->second) ||
        !readValue<std::uint32_t, false>(reader, length, {"dataSetTitleLength"}))
        return 0;
    if (length == 0)
        return 1;
    LightweightVector<char> text;
    if (!fileCanHold(reader, length, 1))
        return errorMessage("The file is too short for its title of %u bytes.", length);
    if (!text.alloc(length))
        throw std::bad_alloc();
    if (!readString(reader, length, text, {"dataSetTitle"}))
        return 0;
    title.assign(text.data(), text.size());
    return 1;
}

char readPerVarFileHeader(FileReaderInterface& reader, TagMap const& tags, int startVar,
                          LightweightVector<std::string>& varNames)
{
    try {
        return readVarNames(reader, tags, static_cast<std::uint64_t>(startVar), varNames);
    } catch (std::bad_alloc const&) {
        return errorMessage("Out-of-memory error while reading file header.");
    } catch (std::exception const&) {
        return errorMessage("Unrecoverable error while reading file header.");
    }
}

char readDataSetHeader(FileReaderInterface& reader, FileDescription const& description,
                       TagMap const& tags, std::string& title, ZoneVarMetadata& result,
                       LightweightVector<std::uint64_t>& zoneHeaderFileLocs)
{
    try {
        std::uint64_t const numZones = valueOrZero(tags, NUM_ZONES_TAG);
        if (!readDatasetTitle(reader, tags, title) ||
            !checkVarCount(reader, numZones, valueOrZero(tags, NUM_VARS_TAG)) ||
            !readVarNames(reader, tags, 0, result.varNames))
            return 0;
        if (numZones < 1)
            return 1;
        result.numZones = numZones;
        result.numVars = valueOrZero(tags, NUM_VARS_TAG);
        return readZonesAndVars(reader, description, tags, result, zoneHeaderFileLocs);
    } catch (std::bad_alloc const&) {
        return errorMessage("Out-of-memory error while reading data set header.");
    } catch (std::exception const&) {
        return errorMessage("Unrecoverable error while reading data set header.");
    }
}

}
