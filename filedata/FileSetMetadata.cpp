#include "filedata/FileSetMetadata.h"

#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/FileStreamReader.h"
#include "filedata/HeaderBudget.h"
#include "filedata/Messages.h"
#include "filedata/ValueInput.h"
#include "filedata/ZoneHeader.h"

#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace varnox::hdqio {

namespace {

struct FileInfo
{
    std::string fileName;
    FileDescription fileDescription;
    std::int32_t numZones = 0;
    std::int32_t numVars = 0;
    ZoneVarMetadata zoneVarMetadata;
    LightweightVector<std::uint64_t> zoneHeaderFileLocs;
    std::int32_t zoneOffset = 0; ///< Of its zones in the set.
    /// Records of the zones that were asked for. In a file of many zones those are few, and a
    /// record is larger than what the data set header says of a zone.
    std::unordered_map<int, ZoneMetadata> zoneMetadata;
    std::uint64_t numNodeEntries = 0; ///< In the node tables of the zones read so far.
    HeaderBudget headerBudget;
    std::unordered_set<int> countedZones; ///< In the budget: some are read again and again.
};

/// Node tables up to this are small enough for any file.
constexpr std::uint64_t FEW_NODE_ENTRIES = std::uint64_t{1} << 23;

void open(FileStreamReader& reader)
{
    if (!reader.open())
        throw std::runtime_error("Unable to open file " + reader.fileName() + " for reading.");
}

void readAndApplyHeader(FileReaderInterface& reader, FileDescription& description,
                        std::string const& fileName, TagMap& tags, int& numVars, int& numZones)
{
    std::uint64_t byteOrderIndicator = 0;
    std::uint64_t dataSetHeaderFileLoc = 0;
    if (!readDataFileHeader(reader, description, byteOrderIndicator, dataSetHeaderFileLoc) ||
        !reader.seekToFileLoc(dataSetHeaderFileLoc) ||
        !readDataSetHeaderTags(reader, description, tags) ||
        !applyDataSetHeaderScalarTagValues(tags, numVars, numZones))
        throw std::runtime_error("Failed to read HDQFS header: " + fileName);
}

/// Adds an offset to a zone number of a file, which may be a lie.
std::int32_t shifted(std::int32_t zone, std::int64_t offset)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(zone) +
                                     static_cast<std::uint32_t>(offset));
}

template <typename T>
char readPartitionRanges(FileReaderInterface& reader, std::uint32_t count, MinMaxTree& tree,
                         std::int32_t var)
{
    return readMinMaxArray<T>(reader, 0, count, tree.levels[0], {"partitionMinMaxes", var});
}

char readRangesOfType(FileReaderInterface& reader, std::uint8_t type, std::uint32_t count,
                      MinMaxTree& tree, std::int32_t var)
{
    switch (type) {
    case FieldDataType_Float:
        return readPartitionRanges<float>(reader, count, tree, var);
    case FieldDataType_Double:
        return readPartitionRanges<double>(reader, count, tree, var);
    case FieldDataType_Int32:
        return readPartitionRanges<std::int32_t>(reader, count, tree, var);
    case FieldDataType_Int16:
        return readPartitionRanges<std::int16_t>(reader, count, tree, var);
    case FieldDataType_Byte:
    case FieldDataType_Bit:
        return readPartitionRanges<std::uint8_t>(reader, count, tree, var);
    default:
        return 0;
    }
}

char readRanges(FileReaderInterface& reader, FileInfo const& file, ZoneMetadata const& zone,
                std::size_t var, MinMaxTree& tree)
{
    std::uint32_t const count = zone.numPartitions;
    std::uint8_t const type =
        file.zoneVarMetadata.fieldDataTypes[var][static_cast<std::size_t>(zone.zone)];
    if (!reader.seekToFileLoc(zone.varPtnMinMaxFileLocs[var]) ||
        !fileCanHold(reader, count, reader.isAscii() ? 2 : 1) || !tree.levels.isNull())
        return 0;
    if (!tree.alloc(count))
        return errorMessage("Cannot allocate memory for the ranges of %u partitions.", count);
    return readRangesOfType(reader, type, count, tree, static_cast<std::int32_t>(var));
}

/// The ranges of a variable in the partitions of a zone.
bool readPartitionTree(FileReaderInterface& reader, FileInfo const& file, ZoneMetadata& zone,
                       std::size_t var)
{
    MinMaxTree& tree = zone.varMinMaxTrees[var];
    if (!readRanges(reader, file, zone, var, tree)) {
        tree.levels.dealloc();
        return false;
    }
    tree.populateTree(zone.numPartitions);
    return true;
}

}

namespace {

/// The node table of each zone alone is no larger than its file can be made to pay for; together
/// they mustn't be either, or many zones without data would cost memory out of proportion to it.
/// The last ones have none then.
char holdZone(FileReaderInterface& reader, FileInfo& file, ZoneMetadata& zone)
{
    bool const isNew = file.countedZones.insert(zone.zone).second;
    if (isNew && !file.headerBudget.take(reader, bytesInFile(zone))) {
        zone.forgetZoneHeader();
        return 0;
    }
    if (zone.ijkPtnInfo.isNull())
        return 1;
    std::uint64_t const entries = file.numNodeEntries + zone.ijkPtnInfo[0].nodeSubzones.size();
    if (entries > FEW_NODE_ENTRIES && (!reader.seekToFileStart() || entries > bytesLeft(reader))) {
        std::vector<std::uint32_t>().swap(zone.ijkPtnInfo[0].nodeSubzones);
        return 1;
    }
    file.numNodeEntries = entries;
    return 1;
}

}

class FileSetMetadata::Impl
{
public:
    explicit Impl(std::vector<std::string> const& fileNames)
    {
        for (std::string const& name : fileNames) {
            files.push_back(std::make_unique<FileInfo>());
            files.back()->fileName = name;
        }
        if (files.empty())
            throw std::runtime_error("A file set needs at least one file.");
        readNumVarsAndZones();
        allocate();
        readVarZoneMetadata();
    }

    void readNumVarsAndZones()
    {
        for (std::size_t i = 0; i < files.size(); ++i) {
            FileInfo& file = *files[i];
            FileStreamReader reader(file.fileName);
            open(reader);
            TagMap tags;
            readAndApplyHeader(reader, file.fileDescription, file.fileName, tags, file.numVars,
                               file.numZones);
            // The records below are taken for all of them before anything else is read.
            if (!checkZoneAndVarCounts(reader, static_cast<std::uint64_t>(file.numZones),
                                       static_cast<std::uint64_t>(file.numVars)))
                throw std::runtime_error("Failed to read HDQFS header: " + file.fileName);
            if (i > 0 && file.numZones != files[0]->numZones)
                throw std::runtime_error("Number of zones in solution file, " + file.fileName +
                                         ", must match the grid file, " + files[0]->fileName);
            if (i > 1 && file.numVars != files[1]->numVars)
                throw std::runtime_error("Number of variables in solution file, " + file.fileName +
                                         ", must be the same in all associated solution files");
        }
        std::int64_t const copies =
            files.size() > 1 ? static_cast<std::int64_t>(files.size()) - 1 : 1;
        std::int64_t const numZones = copies * files[0]->numZones;
        std::int64_t const numVars =
            std::int64_t{files[0]->numVars} + (files.size() > 1 ? files[1]->numVars : 0);
        if (numZones >= 0x7FFFFFFF || numVars >= 0x7FFFFFFF)
            throw std::runtime_error("The file set of " + files[0]->fileName +
                                     " has more zones or variables than there can be.");
        numFileSetZones = static_cast<std::int32_t>(numZones);
        numFileSetVars = static_cast<std::int32_t>(numVars);
    }

    /// True if each file has all the zones of the set: there is no second solution file.
    bool isWholeSet() const { return files.size() <= 2; }

    void allocate()
    {
        auto const numZones = static_cast<std::uint64_t>(numFileSetZones);
        require(varZoneShareVar.alloc(static_cast<std::uint64_t>(numFileSetVars)));
        if (!isWholeSet())
            for (auto& shares : varZoneShareVar)
                require(shares.alloc(numZones)); // every entry is set when the files are merged
        require(zoneShareConnectivity.alloc(numZones));
    }

    void readVarZoneMetadata()
    {
        for (std::size_t i = 0; i < files.size(); ++i) {
            FileInfo& file = *files[i];
            FileStreamReader reader(file.fileName);
            open(reader);
            TagMap tags;
            int numVars = 0;
            int numZones = 0;
            readAndApplyHeader(reader, file.fileDescription, file.fileName, tags, numVars,
                               numZones);
            std::string title;
            if (numVars != file.numVars || numZones != file.numZones ||
                (numFileSetZones != 0 &&
                 !readDataSetHeader(reader, file.fileDescription, tags, title, file.zoneVarMetadata,
                                    file.zoneHeaderFileLocs)))
                throw std::runtime_error("Error reading file " + file.fileName + ".");
            mergeFile(i);
            applySubzoneLimits(i, tags);
        }
    }

    /// File 0 and file 1 both begin at zone 0; each solution file after that continues after the
    /// one before.
    void mergeFile(std::size_t i)
    {
        FileInfo& file = *files[i];
        ZoneVarMetadata& metadata = file.zoneVarMetadata;
        std::int32_t const gridZones = files[0]->numZones;
        std::int64_t const zoneOffset = i > 0 ? (static_cast<std::int64_t>(i) - 1) * gridZones : 0;
        std::size_t const varOffset = i > 0 ? static_cast<std::size_t>(files[0]->numVars) : 0;
        file.zoneOffset = static_cast<std::int32_t>(zoneOffset);
        auto const firstOut = static_cast<std::size_t>(zoneOffset);
        auto const numZones = static_cast<std::size_t>(gridZones);
        for (std::size_t z = 0; z < numZones; ++z)
            zoneShareConnectivity[firstOut + z] =
                i < 2 ? shifted(metadata.shareConnectivity[z], zoneOffset)
                      : static_cast<std::int32_t>(z);
        for (std::size_t v = 0; v < static_cast<std::size_t>(file.numVars); ++v) {
            PlainDataVector<std::int32_t>& out = varZoneShareVar[varOffset + v];
            if (isWholeSet() && numZones > 0) {
                out = std::move(metadata.shareVar[v]); // zone numbers of file and set are the same
                continue;
            }
            for (std::size_t z = 0; z < numZones; ++z) {
                std::int32_t const shared = metadata.shareVar[v][z];
                out[firstOut + z] = shared == -1 ? -1 : shifted(shared, zoneOffset);
            }
        }
        if (i < 2)
            return;
        for (std::size_t w = 0; w < static_cast<std::size_t>(files[0]->numVars); ++w)
            for (std::size_t z = 0; z < numZones; ++z)
                varZoneShareVar[w][firstOut + z] = static_cast<std::int32_t>(z);
    }

    void applySubzoneLimits(std::size_t i, TagMap const& tags)
    {
        std::string const& name = files[i]->fileName;
        if (!tags.contains(SUBZONE_MAX_I_SIZE_TAG) || !tags.contains(SUBZONE_MAX_J_SIZE_TAG) ||
            !tags.contains(SUBZONE_MAX_K_SIZE_TAG))
            throw std::runtime_error("File " + name +
                                     " has an unrecognized format. It is missing the ordered "
                                     "subzone max dimensions.");
        if (!tags.contains(SUBZONE_MAX_FE_SIZE_TAG))
            throw std::runtime_error(
                "File " + name +
                " has an unrecognized format. It is missing the FE subzone max "
                "size.");
        if (i != 0)
            return;
        subzoneMaxIJK = files[0]->fileDescription.getMaxIJKSubzoneSize();
        subzoneMaxFESize = files[0]->fileDescription.getMaxFESubzoneSize();
    }

    ZoneMetadata& zoneMetadataOf(std::uint32_t fileIndex, int zone)
    {
        if (fileIndex >= files.size() || zone < 0 || zone >= files[fileIndex]->numZones)
            throw std::out_of_range("There is no zone " + std::to_string(zone) + " in file " +
                                    std::to_string(fileIndex) + " of the file set.");
        FileInfo& file = *files[fileIndex];
        auto record = file.zoneMetadata.find(zone);
        if (record == file.zoneMetadata.end()) {
            ZoneMetadata stored;
            storeZoneMetadata(file.zoneVarMetadata, zone, file.zoneOffset, stored);
            record = file.zoneMetadata.emplace(zone, std::move(stored)).first;
        }
        ZoneMetadata& result = record->second;
        if (!result.numCellsPerSecPtn.isNull())
            return result;
        if (!file.headerBudget.requireMore(file.fileName))
            throw unreadableZone(zone);
        FileStreamReader reader(file.fileName);
        open(reader);
        readZone(reader, file, zone, result);
        return result;
    }

    static std::runtime_error unreadableZone(int zone)
    {
        return std::runtime_error("Error reading zone metadata for zone " + std::to_string(zone) +
                                  ".");
    }

    static void readZone(FileReaderInterface& reader, FileInfo& file, int zone,
                         ZoneMetadata& result)
    {
        TagMap tags;
        int numVars = 0;
        int numZones = 0;
        readAndApplyHeader(reader, file.fileDescription, file.fileName, tags, numVars, numZones);
        if (!reader.seekToFileLoc(file.zoneHeaderFileLocs[static_cast<std::size_t>(zone)]) ||
            !readZoneHeaders(reader, file.fileDescription, 0, zone, 0, file.numVars,
                             file.zoneVarMetadata.zoneMinMaxes, file.zoneVarMetadata.fieldDataTypes,
                             result))
            throw unreadableZone(zone);
        if (!holdZone(reader, file, result))
            throw unreadableZone(zone);
        if (!result.isHdqZone || result.numPartitions < 2)
            return;
        for (std::size_t v = 0; v < static_cast<std::size_t>(file.numVars); ++v) {
            if (!readPartitionTree(reader, file, result, v)) {
                result.forgetZoneHeader(); // so that a repeat reads it again
                throw std::runtime_error("Error reading zone min/maxes for zone " +
                                         std::to_string(zone) + ".");
            }
        }
    }

    std::int32_t numFileSetVars = 0;
    std::int32_t numFileSetZones = 0;
    std::vector<std::unique_ptr<FileInfo>> files;
    IJK subzoneMaxIJK{};
    std::uint16_t subzoneMaxFESize = 0;
    PlainDataVector<std::int32_t> zoneShareConnectivity;
    LightweightVector<PlainDataVector<std::int32_t>> varZoneShareVar;
};

FileSetMetadata::FileSetMetadata(std::vector<std::string> const& fileNames)
    : m_impl(std::make_unique<Impl>(fileNames))
{
}

FileSetMetadata::~FileSetMetadata() = default;

IJK FileSetMetadata::subzoneMaxIJK() const
{
    return m_impl->subzoneMaxIJK;
}

std::uint16_t FileSetMetadata::subzoneMaxSize() const
{
    return m_impl->subzoneMaxFESize;
}

std::uint32_t FileSetMetadata::numFilesInFileSet() const
{
    return static_cast<std::uint32_t>(m_impl->files.size());
}

std::int32_t FileSetMetadata::numFileSetVars() const
{
    return m_impl->numFileSetVars;
}

std::int32_t FileSetMetadata::numGridOrFullFileVars() const
{
    return m_impl->files[0]->numVars;
}

std::int32_t FileSetMetadata::numFileSetZones() const
{
    return m_impl->numFileSetZones;
}

std::int32_t FileSetMetadata::numGridOrFullFileZones() const
{
    return m_impl->files[0]->numZones;
}

PlainDataVector<std::int32_t> const& FileSetMetadata::zoneShareConnectivity() const
{
    return m_impl->zoneShareConnectivity;
}

LightweightVector<PlainDataVector<std::int32_t>> const& FileSetMetadata::varZoneShareVar() const
{
    return m_impl->varZoneShareVar;
}

ZoneMetadata& FileSetMetadata::zoneMetadata(std::uint32_t fileIndex, int zone)
{
    return m_impl->zoneMetadataOf(fileIndex, zone);
}

}
